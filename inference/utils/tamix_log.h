// Logging in the caller's name, and refusals that log and return.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/android_log.h"
#include "tamix/tamix.h"

namespace tamix {

// True when a line of this level is printed. Atomic, though hosts may hold a plain reference to the level.
bool logsBelow(int32_t level);

// Sets the process-wide log level.
void setLogLevel(int32_t level);

// The part of a source path from "inference/" on, whatever folder the build runs in.
consteval const char* sourcePath(const char* file) {
  const size_t start = std::string_view(file).rfind("inference/");
  return start == std::string_view::npos ? file : file + start;
}

// The function that a line of code shared by several names as its own.
struct LogPlace {
  const char* file;
  const char* function;
};

template <class... Pointers>
constexpr bool anyNull(const Pointers*... pointers) {
  return ((pointers == nullptr) || ...);
}

}  // namespace tamix

#define TAMIX_LOG_TAG "_X_TAMIX-"

// A LogPlace: this function, or another name for a part of it.
#define TAMIX_PLACE(function) (tamix::LogPlace{tamix::sourcePath(__FILE__), function})
#define TAMIX_HERE TAMIX_PLACE(static_cast<const char*>(__func__))

// One error line: where it happened, then the message.
#define TAMIX_ERROR_AT(place, format, ...)                                                    \
  do {                                                                                        \
    if (tamix::logsBelow(5)) {                                                                \
      __android_log_print(6, TAMIX_LOG_TAG, "File: %s, Func: %s() --- " format, (place).file, \
                          (place).function __VA_OPT__(, ) __VA_ARGS__);                       \
    }                                                                                         \
  } while (false)
#define TAMIX_ERROR(...) TAMIX_ERROR_AT(TAMIX_HERE, __VA_ARGS__)

#define TAMIX_INFO(...)                                                          \
  do {                                                                           \
    if (tamix::logsBelow(3)) __android_log_print(4, TAMIX_LOG_TAG, __VA_ARGS__); \
  } while (false)

#define TAMIX_DEBUG(...)                                                         \
  do {                                                                           \
    if (tamix::logsBelow(2)) __android_log_print(3, TAMIX_LOG_TAG, __VA_ARGS__); \
  } while (false)

// Unless the condition holds: logs the message in the place's (the caller's) name and returns the status.
#define TAMIX_REQUIRE_AT(place, condition, status, ...) \
  do {                                                  \
    if (!(condition)) {                                 \
      TAMIX_ERROR_AT(place, __VA_ARGS__);               \
      return status;                                    \
    }                                                   \
  } while (false)
#define TAMIX_REQUIRE(condition, status, ...) TAMIX_REQUIRE_AT(TAMIX_HERE, condition, status, __VA_ARGS__)

// Refuses null planes.
#define TAMIX_REQUIRE_DATA(...) \
  TAMIX_REQUIRE(!tamix::anyNull(__VA_ARGS__), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer")

// Passes on a failing status that is already logged.
#define TAMIX_TRY(call)                                                                     \
  do {                                                                                      \
    if (const int32_t tamix_status = (call); tamix_status != TAMIX_OK) return tamix_status; \
  } while (false)
