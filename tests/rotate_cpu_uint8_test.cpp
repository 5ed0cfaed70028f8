// Quarter turns and transposition, which share their tiles.
#include "inference/runtime/cpu/arm/uint8/rotate_cpu_uint8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inference/runtime/cpu/arm/uint8/transpose_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/warpperspective_cpu_int8.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

// Smaller than a tile in one or both directions, whole tiles, overlapping last tiles, and more rows than a band.
std::vector<Shape> shapes(const std::vector<int32_t>& channels) {
  std::vector<Shape> all;
  for (const int32_t channel : channels) {
    for (const int32_t width : {1, 3, 5, 6, 7, 16, 19, 40}) {
      for (const int32_t height : {1, 3, 4, 7, 15, 16, 33, 64, 67}) {
        all.push_back({width, height, width + width % 3, channel});
      }
    }
    all.push_back({18, 256, 18, channel});
    all.push_back({9, 547, 11, channel});
  }
  return all;
}

// The image that `source(x, y)` describes: the source column and row of each output pixel.
template <class Source>
Image<uint8_t> turned(const Image<uint8_t>& src, const Image<uint8_t>& onto, const Source& source) {
  Image<uint8_t> expected(onto);
  const int32_t channel = src.shape().channel;
  expected.fill([&](int32_t y, size_t i) {
    const auto [column, row] = source(static_cast<int32_t>(i) / channel, y);
    return src.at(row, column, static_cast<int32_t>(i) % channel);
  });
  return expected;
}

Image<uint8_t> outputFor(const Shape& shape, bool quarter) {
  const int32_t width = quarter ? shape.height : shape.width;
  return Image<uint8_t>({width, quarter ? shape.width : shape.height, width + 2, shape.channel});
}

int32_t rotate(const Image<uint8_t>& src, const Image<uint8_t>& dst, int32_t type) {
  const Shape& s = src.shape();
  return rotateCPUUINT8(src.data(), dst.data(), s.width, s.height, s.width_stride, dst.shape().width_stride, s.channel, type,
                        1);
}

TEST(RotateCPUUINT8, TurnsByAQuarter) {
  for (const Shape& shape : shapes({1, 2, 3, 4})) {
    const auto src = randomImage<uint8_t>(shape);
    for (const int32_t type : {0, 2}) {
      const auto dst = outputFor(shape, true);
      const auto expected = turned(src, dst, [&](int32_t x, int32_t y) {
        return type == 0 ? std::pair{y, shape.height - 1 - x} : std::pair{shape.width - 1 - y, x};
      });
      EXPECT_EQ(rotate(src, dst, type), TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, expected)) << "from " << shape << " type " << type;
    }
  }
}

TEST(RotateCPUUINT8, ClockwiseThePreviousFirstColumnReadsUpwardsInTheTopRow) {
  const uint8_t src[] = {1, 2, 3, 4, 5, 6};
  uint8_t dst[6];
  EXPECT_EQ(rotateCPUUINT8(src, dst, 3, 2, 3, 2, 1, 0, 1), TAMIX_OK);
  EXPECT_EQ(std::vector<uint8_t>(dst, dst + 6), (std::vector<uint8_t>{4, 1, 5, 2, 6, 3}));
}

TEST(RotateCPUUINT8, GivesTheBytesOfTheNearestWarp) {
  for (const Shape& shape : shapes({1, 3, 4})) {
    const auto src = randomImage<uint8_t>(shape);
    const auto last_row = static_cast<float>(shape.height - 1);
    const float clockwise[9] = {0, 1, 0, -1, 0, last_row, 0, 0, 1};
    const auto dst = outputFor(shape, true);
    const auto warped = outputFor(shape, true);
    EXPECT_EQ(warpPerspectiveCPUUINT8(src.data(), warped.data(), clockwise, shape.width, shape.height, shape.width_stride,
                                      shape.height, shape.width, warped.shape().width_stride, shape.channel, 16, 1, nullptr, 1),
              TAMIX_OK);
    EXPECT_EQ(rotate(src, dst, 0), TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, warped));
  }
}

TEST(RotateCPUUINT8, HalfATurnMirrorsInBothDirectionsAndWorksInPlace) {
  for (const int32_t channel : {1, 3, 4}) {
    const auto src = randomImage<uint8_t>({37, 5, 39, channel});
    const auto dst = outputFor(src.shape(), false);
    const auto model = [](int32_t x, int32_t y) { return std::pair{36 - x, 4 - y}; };
    const auto expected = turned(src, dst, model);
    const auto in_place = turned(src, src, model);
    EXPECT_EQ(rotate(src, dst, 1), TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, expected));
    EXPECT_EQ(rotate(src, src, 1), TAMIX_OK);
    EXPECT_TRUE(sameBytes(src, in_place));
  }
}

TEST(RotateCPUUINT8, RefusesAsTheKernelsThatItIsMadeOf) {
  const auto src = randomImage<uint8_t>({4, 4, 4, 4});
  const Image<uint8_t> dst({4, 4, 4, 5});
  const Image<uint8_t> untouched(dst);
  LogCapture log;
  EXPECT_EQ(rotateCPUUINT8(src.data(), dst.data(), 4, 4, 4, 4, 1, 3, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(rotateCPUUINT8(src.data(), dst.data(), 4, 4, 4, 4, 1, -1, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(rotateCPUUINT8(src.data(), dst.data(), 4, 4, 4, 4, 2, 1, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), (std::vector<std::string>{errorLine("runtime/cpu/arm/uint8/rotate_cpu_uint8.cpp", "rotateCPUUINT8",
                                                              "rotateCPUUINT8 dosen't support rotate type 3"),
                                                    errorLine("runtime/cpu/arm/uint8/rotate_cpu_uint8.cpp", "rotateCPUUINT8",
                                                              "rotateCPUUINT8 dosen't support rotate type -1"),
                                                    errorLine("runtime/cpu/arm/uint8/flip_cpu_uint8.cpp", "flipCPUUINT8",
                                                              "Recieved unsupported channel 2")}));
  log.clear();
  EXPECT_NE(rotateCPUUINT8(nullptr, dst.data(), 4, 4, 4, 4, 1, 0, 1), TAMIX_OK);
  EXPECT_NE(rotateCPUUINT8(src.data(), dst.data(), 4, 4, 4, 4, 5, 2, 1), TAMIX_OK);
  EXPECT_FALSE(log.errors().empty());
  EXPECT_TRUE(sameBytes(dst, untouched));
}

TEST(TransposeCPUUINT8, ExchangesRowsAndColumns) {
  for (const Shape& shape : shapes({3, 4})) {
    const auto src = randomImage<uint8_t>(shape);
    const auto dst = outputFor(shape, true);
    const auto expected = turned(src, dst, [](int32_t x, int32_t y) { return std::pair{y, x}; });
    EXPECT_EQ(transposeCPUUINT8(src.data(), dst.data(), shape.height, shape.width, shape.width_stride, dst.shape().width_stride,
                                shape.channel, 1),
              TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, expected)) << "from " << shape;
  }
}

TEST(TransposeCPUUINT8, RefusesNullPlanesThenChannels) {
  const auto src = randomImage<uint8_t>({4, 4, 4, 4});
  const Image<uint8_t> dst({4, 4, 4, 5});
  const Image<uint8_t> untouched(dst);
  const std::string file = "runtime/cpu/arm/uint8/transpose_cpu_uint8.cpp";
  for (const int32_t channel : {-1, 0, 1, 2, 5}) {
    expectNullsRefused(file, "transposeCPUUINT8", transposeCPUUINT8, src.data(), dst.data(), 4, 4, 4, 4, channel, 1);
    LogCapture log;
    EXPECT_EQ(transposeCPUUINT8(src.data(), dst.data(), 4, 4, 4, 4, channel, 1), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(file, "transposeCPUUINT8",
                                                               "Recieved unsupported channel " + std::to_string(channel))});
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
