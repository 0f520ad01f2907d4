#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

#include "support/camera/kernels.h"
#include "support/logging.h"

namespace norv::internal {
namespace {

/// The names of what this processor runs, as a sentence lists them.
std::string listRunnable() {
  std::string names;
  for (const Kernels* one : runnableKernels()) {
    if (one != nullptr) names += (names.empty() ? "" : ", ") + std::string(one->name);
  }
  return names;
}

const Kernels& choose() {
  const char* const variable = std::getenv("NORV_CPU");
  const std::string_view wanted = variable == nullptr ? "" : variable;
  const Kernels* fastest = &kBaselineKernels;
  for (const Kernels* one : runnableKernels()) {
    if (one == nullptr) break;
    if (wanted == one->name) return *one;
    fastest = one;
  }
  if (!wanted.empty()) {
    NORV_LOG(kLogWarning, "camera_parameters")
        << "NORV_CPU=" << wanted << " names nothing that this processor runs (" << listRunnable()
        << "); using " << fastest->name;
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
