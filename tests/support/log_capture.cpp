#include "tests/support/log_capture.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

#include "platform/android_log.h"
#include "tamix/framework.hpp"
#include "tests/support/allocation.h"

namespace {

tamix::test::LogCapture* current = nullptr;

}  // namespace

int __android_log_print(int priority, const char* tag, const char* format, ...) {
  char text[2048];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  const tamix::test::UndisturbedAllocations undisturbed;
  if (current != nullptr) current->add({priority, tag, text});
  return 1;
}

namespace tamix::test {

LogCapture::LogCapture(int32_t level)
    : outer_(std::exchange(current, this)), outer_level_(std::exchange(getLogLevel(), level)) {}

LogCapture::~LogCapture() {
  current = outer_;
  getLogLevel() = outer_level_;
}

std::vector<std::string> LogCapture::errors() const {
  std::vector<std::string> texts;
  for (const LogLine& line : lines_) {
    if (line.priority == 6) texts.push_back(line.text);
  }
  return texts;
}

std::vector<std::string> LogCapture::messages() const {
  std::vector<std::string> texts;
  for (const LogLine& line : lines_) {
    if (line.priority != 6) texts.push_back(line.text);
  }
  return texts;
}

std::string errorLine(const std::string& file, const std::string& function, const std::string& message) {
  return "File: inference/" + file + ", Func: " + function + "() --- " + message;
}

}  // namespace tamix::test
