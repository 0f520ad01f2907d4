#define NORV_LANES 8
#define NORV_KERNELS avx512
#include "support/camera/kernel_loops.h"

namespace norv::internal {

const Kernels kAvx512Kernels = avx512::kernelsNamed("avx512");

}  // namespace norv::internal
