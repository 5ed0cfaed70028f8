// Colour to gray.
#include "inference/runtime/cpu/arm/uint8/colortogray_cpu_uint8.h"

#include <gtest/gtest.h>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

uint8_t grayModel(uint32_t r, uint32_t g, uint32_t b) {
  return static_cast<uint8_t>(std::min((9617 * g + 4899 * r + 1868 * b + 8192) >> 14, 255u));
}

auto kernelOf(int32_t channel) { return channel == 3 ? color3ToGRAYCPUUINT8 : color4ToGRAYCPUUINT8; }

TEST(ColorToGray, ConvertsEveryPartOfARowForEveryRedIndex) {
  for (const int32_t channel : {3, 4}) {
    for (const int32_t red : {0, 1, 2}) {
      for (const Shape& shape : shapesAround(64 * channel, {channel})) {
        SCOPED_TRACE(shape);
        const auto src = randomImage<uint8_t>(shape);
        Image<uint8_t> gray({shape.width, shape.height, shape.width + 3});
        Image<uint8_t> expected(gray);
        for (int32_t y = 0; y < shape.height; ++y) {
          for (int32_t x = 0; x < shape.width; ++x) {
            expected.at(y, x) = grayModel(src.at(y, x, red), src.at(y, x, 1), src.at(y, x, 2 - red));
          }
        }
        ASSERT_EQ(
            kernelOf(channel)(src.data(), gray.data(), shape.width, shape.height, shape.width_stride, shape.width + 3, red, 1),
            TAMIX_OK);
        ASSERT_TRUE(sameBytes(gray, expected));
      }
    }
  }
}

TEST(ColorToGray, IsRightForEveryColour) {
  Image<uint8_t> src({256, 256, 256, 3}), gray({256, 256, 256});
  for (uint32_t r = 0; r < 256; ++r) {
    src.fill([r](int32_t y, size_t i) { return i % 3 == 0 ? r : i % 3 == 1 ? static_cast<uint32_t>(y) : i / 3; });
    ASSERT_EQ(color3ToGRAYCPUUINT8(src.data(), gray.data(), 256, 256, 256, 256, 0, 1), TAMIX_OK);
    for (uint32_t g = 0; g < 256; ++g) {
      const uint8_t* const row = gray.row(static_cast<int32_t>(g));
      for (uint32_t b = 0; b < 256; ++b) ASSERT_EQ(row[b], grayModel(r, g, b)) << r << " " << g << " " << b;
    }
  }
}

TEST(ColorToGray, WorksInPlace) {
  auto image = randomImage<uint8_t>({150, 2, 150, 4});
  const Image<uint8_t> original(image);
  ASSERT_EQ(color4ToGRAYCPUUINT8(image.data(), image.data(), 150, 2, 150, 150, 2, 1), TAMIX_OK);
  for (int32_t i = 0; i < 300; ++i) {
    const uint8_t* const pixel = original.data() + 4 * i;
    ASSERT_EQ(image.data()[i], grayModel(pixel[2], pixel[1], pixel[0])) << i;
  }
}

TEST(ColorToGray, RefusesNullPlanesThenRedIndices) {
  uint8_t byte = 7;
  for (const int32_t channel : {3, 4}) {
    const auto kernel = kernelOf(channel);
    LogCapture log;
    EXPECT_EQ(kernel(nullptr, &byte, 1, 1, 1, 1, 3, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(&byte, nullptr, 1, 0, 1, 1, 0, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(&byte, &byte, 1, 0, 1, 1, 3, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(&byte, &byte, 1, 0, 1, 1, -1, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(&byte, &byte, 1, 0, 1, 1, 1, 1), TAMIX_OK);
    EXPECT_EQ(kernel(&byte, &byte, -1, 1, 1, 1, 1, 1), TAMIX_OK);
    const auto line = [&](const char* message) {
      return errorLine("runtime/cpu/arm/uint8/colortogray_cpu_uint8.cpp",
                       channel == 3 ? "color3ToGRAYCPUUINT8" : "color4ToGRAYCPUUINT8", message);
    };
    EXPECT_EQ(log.errors(),
              (std::vector<std::string>{line("Recieved null data pointer"), line("Recieved null data pointer"),
                                        line("Recieved illegal red index 3"), line("Recieved illegal red index -1")}));
  }
  EXPECT_EQ(byte, 7);
}

}  // namespace
}  // namespace tamix::test
