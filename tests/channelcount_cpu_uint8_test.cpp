// Three channels to four and back.
#include <gtest/gtest.h>

#include "inference/runtime/cpu/arm/uint8/color3tocolor4_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/color4tocolor3_cpu_uint8.h"
#include "tamix/tamix.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

TEST(Color3ToColor4, CopiesThreeBytesAndClearsTheFourth) {
  for (const Shape& shape : shapesAround(64 * 3, {3})) {
    SCOPED_TRACE(shape);
    const auto src = randomImage<uint8_t>(shape);
    Image<uint8_t> dst({shape.width, shape.height, shape.width + 2, 4});
    Image<uint8_t> expected(dst);
    expected.fill([&](int32_t y, size_t i) { return i % 4 == 3 ? 0 : src.row(y)[i / 4 * 3 + i % 4]; });
    ASSERT_EQ(color3ToColor4CPUUINT8(src.data(), dst.data(), shape.height, shape.width, shape.width_stride, shape.width + 2, 1),
              TAMIX_OK);
    ASSERT_TRUE(sameBytes(dst, expected));
  }
}

// The three assignments of a pixel in their order: where both indices are 1, bytes 0 and 2 stay.
void dropModel(const uint8_t* src, uint8_t* dst, int32_t src_red, int32_t dst_red) {
  dst[dst_red] = src[src_red];
  dst[1] = src[1];
  dst[2 - dst_red] = src[2 - src_red];
}

TEST(Color4ToColor3, PutsEveryRedIndexInItsPlace) {
  for (const Shape& shape : shapesAround(64 * 4, {4})) {
    SCOPED_TRACE(shape);
    for (int32_t indices = 0; indices < 9; ++indices) {
      const int32_t src_red = indices / 3, dst_red = indices % 3;
      const auto src = randomImage<uint8_t>(shape);
      Image<uint8_t> dst({shape.width, shape.height, shape.width + 2, 3});
      Image<uint8_t> expected(dst);
      for (int32_t y = 0; y < shape.height; ++y) {
        for (int32_t x = 0; x < shape.width; ++x) dropModel(&src.at(y, x), &expected.at(y, x), src_red, dst_red);
      }
      ASSERT_EQ(color4ToColor3CPUUINT8(src.data(), dst.data(), shape.height, shape.width, shape.width_stride, shape.width + 2,
                                       src_red, dst_red, 1),
                TAMIX_OK);
      ASSERT_TRUE(sameBytes(dst, expected)) << src_red << " to " << dst_red;
    }
  }
}

TEST(Color4ToColor3, WorksInPlace) {
  for (const int32_t dst_red : {0, 2}) {
    const auto image = randomImage<uint8_t>({333, 2, 333, 4});
    Image<uint8_t> expected(image);
    for (int32_t i = 0; i < 666; ++i) {
      uint8_t pixel[3];
      dropModel(image.data() + 4 * i, pixel, 0, dst_red);
      std::memcpy(expected.data() + 3 * i, pixel, 3);
    }
    ASSERT_EQ(color4ToColor3CPUUINT8(image.data(), image.data(), 2, 333, 333, 333, 0, dst_red, 1), TAMIX_OK);
    ASSERT_TRUE(sameBytes(image, expected));
  }
}

TEST(ChannelCount, RefusesNullPlanesThenRedIndicesAndIgnoresEmptySizes) {
  uint8_t byte = 7;
  LogCapture log;
  EXPECT_EQ(color3ToColor4CPUUINT8(nullptr, &byte, 1, 1, 1, 1, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(color3ToColor4CPUUINT8(&byte, nullptr, 0, 1, 1, 1, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(color4ToColor3CPUUINT8(nullptr, &byte, 1, 1, 1, 1, 3, 3, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(color4ToColor3CPUUINT8(&byte, &byte, 0, 1, 1, 1, 4, 3, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(color4ToColor3CPUUINT8(&byte, &byte, 0, 1, 1, 1, 2, -1, 1), TAMIX_ERR_INVALID_IMAGE);
  const std::string null = "Recieved null data pointer";
  const std::string three = "runtime/cpu/arm/uint8/color3tocolor4_cpu_uint8.cpp";
  const std::string four = "runtime/cpu/arm/uint8/color4tocolor3_cpu_uint8.cpp";
  EXPECT_EQ(log.errors(), (std::vector<std::string>{
                              errorLine(three, "color3ToColor4CPUUINT8", null),
                              errorLine(three, "color3ToColor4CPUUINT8", null), errorLine(four, "color4ToColor3CPUUINT8", null),
                              errorLine(four, "color4ToColor3CPUUINT8", "Recieved illegal red index 4"),
                              errorLine(four, "color4ToColor3CPUUINT8", "Recieved illegal red index -1")}));
  for (const auto& [height, width] : {std::pair{0, 1}, {-1, 1}, {INT32_MAX, 0}, {INT32_MAX, -1}}) {
    EXPECT_EQ(color3ToColor4CPUUINT8(&byte, &byte, height, width, 1, 1, 1), TAMIX_OK);
    EXPECT_EQ(color4ToColor3CPUUINT8(&byte, &byte, height, width, 1, 1, 0, 0, 1), TAMIX_OK);
  }
  EXPECT_EQ(byte, 7);
}

}  // namespace
}  // namespace tamix::test
