#include "inference/runtime/cpu/arm/common/structuring_element.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "inference/runtime/cpu/arm/uint8/getstructuringelement_cpu_uint8.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/log_capture.h"
#include "tests/support/operator_run.h"

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;

// A size in memory of just its bytes.
struct Element {
  Element(int32_t element_rows, int32_t element_columns)
      : rows(element_rows), columns(element_columns), bytes(static_cast<size_t>(rows) * static_cast<size_t>(columns)) {}
  uint8_t* data() const { return static_cast<uint8_t*>(bytes.data()); }
  uint8_t& at(int32_t r, int32_t c) const { return data()[r * columns + c]; }
  // Rows of digits.
  std::string text() const {
    std::string all;
    for (int32_t r = 0; r < rows; ++r) {
      for (int32_t c = 0; c < columns; ++c) all += static_cast<char>('0' + at(r, c));
      all += r + 1 < rows ? " " : "";
    }
    return all;
  }

  int32_t rows;
  int32_t columns;
  GuardedBytes bytes;
};

std::string elementText(int32_t shape, int32_t rows, int32_t columns, int32_t anchor_x, int32_t anchor_y) {
  const Element element(rows, columns);
  EXPECT_EQ(getStructuringElementCPUUINT8(element.data(), shape, rows, columns, anchor_x, anchor_y, nullptr, 1), TAMIX_OK);
  return element.text();
}

TEST(GetStructuringElementCPUUINT8, DrawsRectanglesCrossesAndEllipses) {
  EXPECT_EQ(elementText(0, 2, 3, 0, 0), "111 111");
  EXPECT_EQ(elementText(1, 5, 5, 2, 2), "00100 00100 11111 00100 00100");
  EXPECT_EQ(elementText(1, 3, 4, 0, 2), "1000 1000 1111");
  EXPECT_EQ(elementText(1, 3, 1, 1, 1), "0 1 0");  // an arm beside the element
  EXPECT_EQ(elementText(1, 1, 3, 1, 1), "010");
  EXPECT_EQ(elementText(2, 3, 3, 1, 1), "010 111 010");
  EXPECT_EQ(elementText(2, 5, 5, 0, 0), "00100 01110 11111 01110 00100");
  EXPECT_EQ(elementText(2, 4, 6, 0, 0), "000100 011111 111111 011111");
  EXPECT_EQ(elementText(2, 1, 4, 0, 0), "0010");
  EXPECT_EQ(elementText(3, 2, 3, 1, 1), "100 000");
  EXPECT_EQ(elementText(-1, 2, 2, 1, 1), "10 00");
}

TEST(GetStructuringElementCPUUINT8, FollowsTheEllipseFormula) {
  for (int32_t rows = 1; rows < 24; ++rows) {
    for (const int32_t columns : {1, 2, 7, 12, 31}) {
      const Element expected(rows, columns);
      const int32_t r = rows / 2, c = columns / 2;
      for (int32_t i = 0; i < rows; ++i) {
        const double inverse = r == 0 ? 0.0 : 1.0 / (static_cast<double>(r) * r);
        const int32_t dy = i - r;
        const int32_t dx = static_cast<int32_t>(std::sqrt(inverse * (r * r - dy * dy)) * c);
        for (int32_t j = 0; j < columns; ++j) expected.at(i, j) = j >= c - dx && j < c + dx + 1 ? 1 : 0;
      }
      EXPECT_EQ(elementText(2, rows, columns, 0, 0), expected.text()) << rows << "x" << columns;
    }
  }
}

TEST(GetStructuringElementCPUUINT8, RefusesInOrder) {
  uint8_t bytes[9] = {7, 7, 7, 7, 7, 7, 7, 7, 7};
  const std::string file = "runtime/cpu/arm/uint8/getstructuringelement_cpu_uint8.cpp";
  const auto line = [&](const std::string& message) {
    return Lines{errorLine(file, "getStructuringElementCPUUINT8", message)};
  };
  LogCapture log;
  EXPECT_EQ(getStructuringElementCPUUINT8(nullptr, 0, -3, 3, 1, 1, bytes, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(log.errors(), line("Recieved null data pointer"));
  log.clear();
  EXPECT_EQ(getStructuringElementCPUUINT8(bytes, 0, -3, 3, 1, 1, bytes, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), line("Recieve unsupported input anchor."));
  log.clear();
  EXPECT_EQ(getStructuringElementCPUUINT8(bytes, 0, -3, 3, 1, 1, nullptr, 1), TAMIX_ERR_NO_MEMORY);
  EXPECT_EQ(log.errors(), line("allocate memory failed"));
  EXPECT_EQ(getStructuringElementCPUUINT8(bytes, 0, -3, -3, 1, 1, nullptr, 1), TAMIX_OK);
  EXPECT_EQ(getStructuringElementCPUUINT8(bytes, 0, 0, 3, 1, 1, nullptr, 1), TAMIX_OK);
  for (const uint8_t byte : bytes) EXPECT_EQ(byte, 7);
}

TEST(StructuringElement, IsTheSameFromAShapeAndFromItsBytes) {
  for (int32_t shape = -1; shape < 4; ++shape) {
    for (int32_t rows = 1; rows < 12; ++rows) {
      for (const int32_t columns : {1, 2, 3, 6, 9}) {
        for (const int32_t anchor : {0, 1, 5}) {
          const Element bytes(rows, columns);
          getStructuringElementCPUUINT8(bytes.data(), shape, rows, columns, anchor, anchor, nullptr, 1);
          const StructuringElement a(bytes.data(), rows, columns);
          const StructuringElement b(ElementShape(shape, rows, columns, anchor, anchor));
          ASSERT_TRUE(a && b);
          const bool same = std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const ElementBox& x, const ElementBox& y) {
            return x.sameColumns(y) && x.row_begin == y.row_begin && x.row_end == y.row_end;
          });
          EXPECT_TRUE(same) << bytes.text();
          EXPECT_EQ(a.isRectangle(), bytes.text().find('0') == std::string::npos) << bytes.text();
        }
      }
    }
  }
}

TEST(GetStructuringElementCPU, ChecksShapeAndSizeAndCentresTheAnchor) {
  const RunningOperator element(TAMIX_OP_GET_STRUCTURING_ELEMENT);
  const Image<uint8_t> image({1, 1, 1, 1});
  const std::string file = "runtime/cpu/op/getstructuringelement_cpu.cpp";
  const Element bytes(3, 5);
  TamixParams params = recordOf(image, image, Tamix_GRAY);
  LogCapture log;
  EXPECT_EQ(element.run(params), TAMIX_ERR_UNSUPPORTED);
  params.morph_shape = 3;
  EXPECT_EQ(element.run(params), TAMIX_ERR_UNSUPPORTED);
  params.morph_shape = TAMIX_MORPH_CROSS;
  params.kernel_height = 3;
  EXPECT_EQ(element.run(params), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), (Lines{errorLine(file, "forward", "Recieve unsupported input shape: -1"),
                                 errorLine(file, "forward", "Recieve unsupported input shape: 3"),
                                 errorLine(file, "forward", "Recieve kernel_size is null.")}));
  params.kernel_width = 5;
  params.kernel = bytes.data();
  log.clear();
  EXPECT_EQ(element.run(params), TAMIX_OK);
  EXPECT_EQ(log.messages(), Lines{"getStructuringElementCPUUINT8 forward"});
  EXPECT_EQ(bytes.text(), "00100 11111 00100");
  params.kernel_height = params.kernel_width = 1;
  params.morph_shape = TAMIX_MORPH_ELLIPSE;
  EXPECT_EQ(element.run(params), TAMIX_OK);
  EXPECT_EQ(bytes.at(0, 0), 1);
  // A float input does not make floats of an output of bytes.
  params.input[0].type = Tamix_FLOAT32;
  EXPECT_EQ(element.run(params), TAMIX_OK);
  EXPECT_EQ(image.at(0, 0), 0xA5);
}

}  // namespace
}  // namespace tamix::test
