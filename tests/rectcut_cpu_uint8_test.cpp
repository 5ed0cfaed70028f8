// The rectangle cut in both element types.
#include "inference/runtime/cpu/arm/uint8/rectcut_cpu_uint8.h"

#include <gtest/gtest.h>

#include <limits>

#include <vector>

#include "inference/runtime/cpu/arm/fp32/rectcut_cpu_fp32.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

template <class T, class Kernel>
void expectCut(Kernel kernel) {
  const Shape shape{41, 9, 44, 3};
  const auto src = randomImage<T>(shape);
  for (const Shape& part : std::vector<Shape>{{1, 1, 1, 3}, {41, 9, 41, 3}, {41, 2, 44, 3}, {13, 4, 20, 3}}) {
    const int32_t left = shape.width - part.width;
    const int32_t top = shape.height - part.height;
    const Image<T> dst(part);
    Image<T> expected(dst);
    expected.fill([&](int32_t y, size_t i) { return src.row(top + y)[static_cast<size_t>(left) * 3 + i]; });
    EXPECT_EQ(kernel(src.data(), shape.height, shape.width, shape.width_stride, dst.data(), part.height, part.width,
                     part.width_stride, 3, left, top, part.width, part.height, 1),
              TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, expected));
    LogCapture log;
    EXPECT_EQ(kernel(src.data(), 9, 41, 44, dst.data(), 0, 5, 5, 3, 0, 0, 5, 0, 1), TAMIX_OK);
    EXPECT_EQ(kernel(src.data(), 9, 41, 44, nullptr, 0, 5, 5, 3, 0, 0, 5, 0, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(nullptr, 9, 41, 44, dst.data(), 0, 5, 5, 3, 0, 0, 5, 0, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_TRUE(sameBytes(dst, expected));
  }
}

TEST(RectCutCPUUINT8, CopiesTheRectangleAndNothingElse) { expectCut<uint8_t>(rectCutCPUUINT8); }
TEST(RectCutCPUFLOAT32, CopiesTheRectangleAndNothingElse) { expectCut<float>(rectCutCPUFLOAT32); }

TEST(RectCutCPUUINT8, LeavesAnImageOfNegativeChannelsAlone) {
  uint8_t byte = 7;
  constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
  EXPECT_EQ(rectCutCPUUINT8(&byte, 23, 18, 8192, &byte, 1, 2, 8192, kLeast, 13, 13, 2, 1, 1), TAMIX_OK);
  EXPECT_EQ(byte, 7);
}

}  // namespace
}  // namespace tamix::test
