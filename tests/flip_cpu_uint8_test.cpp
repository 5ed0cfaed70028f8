#include "inference/runtime/cpu/arm/uint8/flip_cpu_uint8.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

const std::string kFile = "runtime/cpu/arm/uint8/flip_cpu_uint8.cpp";

int32_t run(const uint8_t* src, const Image<uint8_t>& dst, int32_t src_stride, int32_t code) {
  const Shape& s = dst.shape();
  return flipCPUUINT8(src, dst.data(), s.height, s.width, src_stride, s.width_stride, s.channel, code, 1);
}

Image<uint8_t> flipped(const Image<uint8_t>& src, const Image<uint8_t>& onto, int32_t code) {
  const Shape& s = src.shape();
  Image<uint8_t> expected(onto);
  expected.fill([&](int32_t y, size_t i) {
    const int32_t x = static_cast<int32_t>(i) / s.channel;
    return src.at(code <= 0 ? s.height - 1 - y : y, code != 0 ? s.width - 1 - x : x, static_cast<int32_t>(i) % s.channel);
  });
  return expected;
}

// Rows around vectors of 16, 32 and 64 bytes, around four of them, and longer than the pieces exchanged in place.
std::vector<Shape> shapes() {
  std::vector<Shape> all;
  for (const int32_t channel : {1, 3, 4}) {
    for (const int32_t width : {1, 2, 4, 5, 6, 7, 10, 16, 17, 21, 22, 23, 33, 63, 64, 65, 85, 88, 127, 257, 300, 2051}) {
      const int32_t height = width < 100 ? 1 + width % 3 : 2;
      all.push_back({width, height, width, channel});
      all.push_back({width, height, width + 3, channel});
    }
  }
  return all;
}

TEST(FlipCPUUINT8, MirrorsInEitherDirectionAndBoth) {
  for (const Shape& shape : shapes()) {
    const auto src = randomImage<uint8_t>(shape);
    for (const Guard guard : {Guard::kBehind, Guard::kBefore}) {
      const auto guarded = randomImage<uint8_t>(shape, 1, guard);
      for (const int32_t code : {0, 1, -1}) {
        const Image<uint8_t> dst({shape.width, shape.height, shape.width + 1, shape.channel}, guard);
        const auto expected = flipped(src, dst, code);
        EXPECT_EQ(run(guarded.data(), dst, shape.width_stride, code), TAMIX_OK);
        EXPECT_TRUE(sameBytes(dst, expected)) << shape << " code " << code;
      }
    }
  }
}

TEST(FlipCPUUINT8, WorksInPlace) {
  for (const Shape& shape : shapes()) {
    for (const int32_t code : {0, 1, -1}) {
      const auto image = randomImage<uint8_t>(shape);
      const auto expected = flipped(image, image, code);
      EXPECT_EQ(run(image.data(), image, shape.width_stride, code), TAMIX_OK);
      EXPECT_TRUE(sameBytes(image, expected)) << shape << " code " << code;
    }
  }
}

TEST(FlipCPUUINT8, OnlyTheSignOfTheCodeMatters) {
  const auto src = randomImage<uint8_t>({40, 3, 40, 3});
  for (const int32_t code : {5, -7, INT32_MAX, INT32_MIN}) {
    const Image<uint8_t> dst(src.shape());
    EXPECT_EQ(run(src.data(), dst, 40, code), TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, flipped(src, dst, code > 0 ? 1 : -1)));
  }
}

TEST(FlipCPUUINT8, RefusesNullPlanesThenChannels) {
  const auto src = randomImage<uint8_t>({4, 2, 4, 5});
  const Image<uint8_t> dst(src.shape());
  const Image<uint8_t> untouched(dst);
  for (const int32_t channel : {-1, 0, 2, 5}) {
    expectNullsRefused(kFile, "flipCPUUINT8", flipCPUUINT8, src.data(), dst.data(), 2, 4, 4, 4, channel, 1, 1);
    LogCapture log;
    EXPECT_EQ(flipCPUUINT8(src.data(), dst.data(), 2, 4, 4, 4, channel, 1, 1), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), std::vector<std::string>{
                                errorLine(kFile, "flipCPUUINT8", "Recieved unsupported channel " + std::to_string(channel))});
  }
  EXPECT_EQ(flipCPUUINT8(src.data(), dst.data(), -2, 4, 4, 4, 1, -1, 1), TAMIX_OK);
  EXPECT_EQ(flipCPUUINT8(src.data(), dst.data(), 2, -4, 4, 4, 1, -1, 1), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
