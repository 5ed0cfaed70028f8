#include "inference/runtime/cpu/arm/uint8/resizenearest_cpu_uint8.h"

#include <cmath>

#include "tests/support/allocation.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"
#include "tests/support/resize.h"

namespace tamix::test {
namespace {

constexpr const char* kFile = "runtime/cpu/arm/uint8/resizenearest_cpu_uint8.cpp";

int32_t resize(const Image<uint8_t>& src, const Image<uint8_t>& dst) {
  return resized(src.shape().channel == 2 ? resizeNearestPairsCPUUINT8 : resizeNearestCPUUINT8, src, dst, 1);
}

int32_t nearest(int32_t d, int32_t source, int32_t target) {
  const float scale = static_cast<float>(source) / static_cast<float>(target);
  return static_cast<int32_t>(std::floor(scale * (static_cast<float>(d) + 0.5f)));
}

void model(const Image<uint8_t>& src, Image<uint8_t>& dst) {
  const Shape& from = src.shape();
  const Shape& to = dst.shape();
  dst.fill([&](int32_t y, size_t i) {
    const auto x = static_cast<int32_t>(i) / to.channel;
    return src.at(nearest(y, from.height, to.height), nearest(x, from.width, to.width), static_cast<int32_t>(i) % to.channel);
  });
}

TEST(ResizeNearestCPUUINT8, CopiesThePixelAtEachCentre) {
  for (const ResizeSizes& sizes : resizeSizes()) {
    for (const int32_t channels : {1, 2, 3, 4}) {
      for (const int32_t padding : {0, 3}) expectResized<uint8_t>(sizes, channels, padding, resize, model);
    }
  }
}

TEST(ResizeNearestCPUUINT8, HalvesToOddPixelsAndRows) {
  Image<uint8_t> src({8, 4, 8, 1});
  src.fill([](int32_t y, size_t i) { return y * 16 + static_cast<int32_t>(i); });
  Image<uint8_t> dst({4, 2, 4, 1});
  ASSERT_EQ(resize(src, dst), TAMIX_OK);
  EXPECT_EQ(dst.at(0, 0), 17);
  EXPECT_EQ(dst.at(1, 3), 55);
}

TEST(ResizeNearestCPUUINT8, StaysInsideRowsWhereRoundingLeadsPastTheEnd) {
  // The last column's centre, 2^23 + 1.5, rounds to the width.
  const auto src = randomImage<uint8_t>({5, 1, 5, 1});
  constexpr int32_t kWidth = (1 << 23) + 2;
  Image<uint8_t> dst({kWidth, 1, kWidth, 1});
  ASSERT_EQ(resize(src, dst), TAMIX_OK);
  EXPECT_EQ(dst.at(0, kWidth - 1), src.at(0, 4));
}

TEST(ResizeNearestCPUUINT8, RefusesNullThenChannelsAndDoesNothingForEmptySizes) {
  const LogCapture log;
  const auto src = randomImage<uint8_t>({4, 4, 4, 4});
  Image<uint8_t> dst({4, 4, 4, 4});
  const Image<uint8_t> untouched(dst);
  expectNullsRefused(kFile, "resizeNearestCPUUINT8", resizeNearestCPUUINT8, src.data(), 4, 4, 4, dst.data(), 2, 2, 2, 2, 1);
  std::vector<std::string> lines;
  for (const int32_t channels : {-1, 0, 2, 5}) {
    EXPECT_EQ(resizeNearestCPUUINT8(src.data(), 4, 4, 4, dst.data(), 2, 2, 2, channels, 1), TAMIX_ERR_UNSUPPORTED);
    lines.push_back(
        errorLine(kFile, "resizeNearestNeighborIntrinsic", "Recieved unsupported channel " + std::to_string(channels)));
  }
  for (const int32_t none : {0, -1, INT32_MIN}) {
    EXPECT_EQ(resizeNearestCPUUINT8(src.data(), none, 4, 4, dst.data(), 2, 2, 2, 1, 1), TAMIX_OK);
    EXPECT_EQ(resizeNearestCPUUINT8(src.data(), 4, none, 4, dst.data(), 2, 2, 2, 3, 1), TAMIX_OK);
    EXPECT_EQ(resizeNearestCPUUINT8(src.data(), 4, 4, 4, dst.data(), none, 2, 2, 4, 1), TAMIX_OK);
    EXPECT_EQ(resizeNearestPairsCPUUINT8(src.data(), 4, 4, 4, dst.data(), 2, none, 2, 2, 1), TAMIX_OK);
  }
  EXPECT_EQ(log.errors(), lines);
  EXPECT_TRUE(sameBytes(dst, untouched));
}

TEST(ResizeNearestCPUUINT8, ReportsMissingMemory) {
  const auto src = randomImage<uint8_t>({4, 4, 4, 3});
  Image<uint8_t> dst({6, 6, 6, 3});
  const Image<uint8_t> untouched(dst);
  const LogCapture log;
  const FailingMemalign failing(0);
  EXPECT_EQ(resize(src, dst), TAMIX_ERR_NO_MEMORY);
  EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(kFile, "resizeNearestIntrinsic", "alloc memory failed!")});
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
