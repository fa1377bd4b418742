// Formatting that does not depend on the process's locale: decimal points stay points and system
// messages stay English, whatever setlocale was called with, in any thread.
#ifndef OPRJ_TOOLKIT_C_LOCALE_H
#define OPRJ_TOOLKIT_C_LOCALE_H

#include <locale.h>
#include <string.h>

#include <cstdarg>
#include <cstdio>

namespace orvik::toolkit {

/// The "C" locale, made once and kept for the life of the process.
inline locale_t classicLocale() {
  static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
  return classic;
}

/// Gives the calling thread the "C" locale for a block.
class ClassicLocale {
 public:
  ClassicLocale() : previous_(uselocale(classicLocale())) {}
  ~ClassicLocale() { uselocale(previous_); }
  ClassicLocale(const ClassicLocale &) = delete;
  ClassicLocale &operator=(const ClassicLocale &) = delete;

 private:
  locale_t previous_;
};

/// vsnprintf in the "C" locale that leaves `values` usable for a second call.
inline int formatInto(char *buffer, size_t size, const char *format, va_list values) {
  ClassicLocale classic;
  va_list copy;
  va_copy(copy, values);
  const int length = std::vsnprintf(buffer, size, format, copy);
  va_end(copy);
  return length;
}

/// The system's reason for an errno value.
inline const char *systemReason(int error) { return strerror_l(error, classicLocale()); }

}  // namespace orvik::toolkit

#endif
