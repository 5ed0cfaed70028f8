#include "platform/android_log.h"

#ifndef __ANDROID__
#include <cstdarg>
#include <cstddef>
#include <cstdio>

__attribute__((weak)) int __android_log_print(int priority, const char* tag, const char* format, ...) {
  static const char kLetters[] = "??VDIWEF";
  const bool known = priority >= 0 && static_cast<size_t>(priority) < sizeof(kLetters) - 1;
  // One call per line: lines of several threads do not mix.
  char message[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof(message), format, arguments);
  va_end(arguments);
  return std::fprintf(stderr, "%c %s: %s\n", known ? kLetters[priority] : '?', tag, message);
}
#endif
