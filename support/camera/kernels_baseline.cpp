#define NORV_LANES 2
#define NORV_KERNELS baseline
#include "support/camera/kernel_loops.h"

namespace norv::internal {

const Kernels kBaselineKernels = baseline::kernelsNamed("baseline");

}  // namespace norv::internal
