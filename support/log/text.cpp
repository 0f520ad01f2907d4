#include "support/log/text.h"

#include <clocale>
#include <cstdio>

#include <locale.h>

namespace norv::internal {
namespace {

/// Switches this thread to the "C" locale for its scope.
class ScopedClassicLocale {
 public:
  ScopedClassicLocale() : previous_(::uselocale(classic())) {}
  ScopedClassicLocale(const ScopedClassicLocale&) = delete;
  ScopedClassicLocale& operator=(const ScopedClassicLocale&) = delete;
  ~ScopedClassicLocale() { ::uselocale(previous_); }

 private:
  static ::locale_t classic() {
    static const ::locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  ::locale_t previous_;
};

/// `length` characters of what printf writes, and the null character that ends them.
__attribute__((format(printf, 2, 0))) std::string print(int length, const char* format,
                                                        std::va_list arguments) {
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  if (std::vsnprintf(text.data(), text.size(), format, arguments) != length) throw std::bad_alloc();
  text.pop_back();
  return text;
}

}  // namespace

std::string formatText(const char* format, std::va_list arguments) {
  const ScopedClassicLocale classic;
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text = textUnlessOutOfMemory(
      [&] { return length >= 0 ? print(length, format, again) : std::string(format); });
  va_end(again);
  return text;
}

}  // namespace norv::internal
