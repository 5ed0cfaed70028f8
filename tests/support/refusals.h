// What an operator refuses: a table of changes to a record that it serves.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/operator_run.h"

namespace tamix::test {

// One line, or several.
struct Messages : std::vector<std::string> {
  Messages(const char* line) : vector{line} {}                    // NOLINT(google-explicit-constructor)
  Messages(std::string line) : vector{std::move(line)} {}         // NOLINT(google-explicit-constructor)
  Messages(std::vector<std::string> l) : vector(std::move(l)) {}  // NOLINT(google-explicit-constructor)
};

// A change to the record, and what comes of it.
struct Refusal {
  const char* what;
  std::function<void(TamixParams&)> change;
  Messages messages;
  std::string function = "forward";
  int32_t status = TAMIX_ERR_UNSUPPORTED;
  std::string file = {};  // empty: the operator's
};

// Each change alone is refused, and output 0 stays as it is; the first of several that are wrong decides. The record itself
// is served. `file`: the operator's.
inline void expectRefusals(int32_t type, const std::string& file, const TamixParams& served,
                           const std::vector<Refusal>& refusals) {
  const RunningOperator op(type);
  const TamixImage& out = served.output[0];
  const Shape shape{out.width, out.height, out.width_stride == 0 ? out.width : out.width_stride, std::max(out.channel, 1)};
  // Of planes 0 and 1.
  const auto bytes = [&] {
    std::vector<uint8_t> all;
    const auto add = [&](const void* plane, size_t size) {
      const auto* const data = static_cast<const uint8_t*>(plane);
      if (data != nullptr) all.insert(all.end(), data, data + size);
    };
    add(out.data[0], shape.elements() * (out.type == Tamix_FLOAT32 ? 4 : 1));
    add(out.data[1], static_cast<size_t>(shape.width) * static_cast<size_t>(shape.height / 2));
    return all;
  };
  const std::vector<uint8_t> before = bytes();
  for (const Refusal& r : refusals) {
    SCOPED_TRACE(file + ": " + r.what);
    TamixParams params = served;
    r.change(params);
    const LogCapture log(1);
    EXPECT_EQ(op.run(params), r.status);
    std::vector<std::string> lines;
    for (const std::string& message : r.messages)
      lines.push_back(errorLine(r.file.empty() ? file : r.file, r.function, message));
    EXPECT_EQ(log.errors(), lines);
    EXPECT_EQ(bytes(), before);
  }
  TamixParams params = served;
  const LogCapture log(1);
  EXPECT_EQ(op.run(params), TAMIX_OK);
  EXPECT_TRUE(log.errors().empty());
}

}  // namespace tamix::test
