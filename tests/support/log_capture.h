// Receives the library's log lines in place of standard error.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tamix::test {

struct LogLine {
  int priority;
  std::string tag;
  std::string text;
};

// Collects the lines printed while it lives, at log level 0 (everything is printed).
class LogCapture {
 public:
  explicit LogCapture(int32_t level = 0);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogLine>& lines() const { return lines_; }
  // The text of error lines, in order: "File: inference/..., Func: name() --- message".
  std::vector<std::string> errors() const;
  // The text of info and debug lines, in order.
  std::vector<std::string> messages() const;
  void clear() { lines_.clear(); }

  void add(LogLine line) { lines_.push_back(std::move(line)); }

 private:
  std::vector<LogLine> lines_;
  LogCapture* outer_;
  int32_t outer_level_;
};

// The error line a function of a file prints.
std::string errorLine(const std::string& file, const std::string& function, const std::string& message);

}  // namespace tamix::test
