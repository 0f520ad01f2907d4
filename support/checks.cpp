#include "support/checks.h"

namespace norv::internal {
namespace {

constexpr const char* kCheckChannel = "check";

/// Attributes the statement to the check's own place rather than to this file.
template <class... Values>
void writeFatal(const CheckSite& site, const Values&... values) {
  if (!isLoggerEnabled(kLogFatal, kCheckChannel)) return;
  LoggingStream statement(nullptr, kLogFatal, kCheckChannel, site.file, site.function, site.line,
                          site.state);
  (statement.stream() << ... << values);
}

}  // namespace

void reportFailedCheck(const char* expression, const CheckSite& site) {
  writeFatal(site, "Check failed ", expression, ' ');
}

void reportFailedComparison(const char* comparison, std::int64_t a, std::int64_t b,
                            const CheckSite& site) {
  writeFatal(site, "Check failed: ", comparison, " (", a, " vs. ", b, ") ");
}

}  // namespace norv::internal
