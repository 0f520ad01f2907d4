#define NORV_LANES 4
#define NORV_KERNELS avx2
#include "support/camera/kernel_loops.h"

namespace norv::internal {

const Kernels kAvx2Kernels = avx2::kernelsNamed("avx2");

}  // namespace norv::internal
