#include <cstddef>
#include <cstdlib>
#include <string_view>

#include "support/camera/kernels.h"
#include "support/logging.h"

namespace norv::internal {
namespace {

const Kernels& choose() {
  const char* const wanted = std::getenv("NORV_CPU");
  const Kernels* fastest = &kBaselineKernels;
  for (const Kernels* one : runnableKernels()) {
    if (one == nullptr) break;
    if (wanted != nullptr && std::string_view(one->name) == wanted) return *one;
    fastest = one;
  }
  if (wanted != nullptr) {
    NORV_LOG(kLogWarning, "camera_parameters")
        << "NORV_CPU=" << wanted << " names nothing that this processor runs; using "
        << fastest->name;
  }
  return *fastest;
}

}  // namespace

std::array<const Kernels*, 3> runnableKernels() {
  std::array<const Kernels*, 3> runnable = {&kBaselineKernels};
#ifdef NORV_HAS_X86_KERNELS
  std::size_t count = 1;
  if (__builtin_cpu_supports("avx2")) runnable[count++] = &kAvx2Kernels;
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw")) {
    runnable[count++] = &kAvx512Kernels;
  }
#endif
  return runnable;
}

const Kernels& kernels() {
  static const Kernels& chosen = choose();
  return chosen;
}

}  // namespace norv::internal
