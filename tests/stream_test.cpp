// Writing past the caches, and the kernels that do so for large images.
#include "inference/runtime/cpu/arm/common/stream.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "inference/runtime/cpu/arm/uint8/copymakeborder_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/flip_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/merge_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/rectcut_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/split_cpu_uint8.h"
#include "tests/support/image.h"

namespace tamix::test {
namespace {

TEST(Stream, CopiesAnyNumberOfBytesToAnyAddress) {
  const auto src = randomImage<uint8_t>({400, 1, 400});
  for (const Guard guard : {Guard::kBehind, Guard::kBefore}) {
    for (int32_t n = 0; n < 200; n += n < 70 ? 1 : 13) {
      for (const int32_t offset : {0, 1, 31, 63}) {
        const Image<uint8_t> dst({n + offset + 1, 1, n + offset + 1}, guard);
        Image<uint8_t> expected(dst);
        std::memcpy(expected.data() + offset, src.data() + 7, static_cast<size_t>(n));
        streamBytes(dst.data() + offset, src.data() + 7, static_cast<size_t>(n), n % 2 == 0 ? 128 : 0);
        finishStreaming();
        ASSERT_TRUE(sameBytes(dst, expected)) << n << " bytes at " << offset;
      }
    }
  }
}

// An image of three channels that is written past the caches where any is; odd sizes put rows at all places of cache lines.
class LargeImage : public testing::Test {
 protected:
  static constexpr int32_t kWidth = 2053;
  static constexpr int32_t kHeight = 2731;
  static constexpr size_t kRow = size_t{3} * kWidth;

  void SetUp() override {
    if (!isStreamed(kRow * kHeight)) GTEST_SKIP() << "this processor streams by itself";
  }
  static uint8_t value(size_t row, size_t column, size_t channel) {
    return static_cast<uint8_t>(row * 31 + column * 7 + (column >> 8) * 3 + channel * 101);
  }
  // Compares row y of the output; at(x) is the value of its pixel x, channel c.
  template <class At>
  static void expectRow(const uint8_t* row, size_t width, const At& at) {
    std::vector<uint8_t> expected(3 * width);
    for (size_t i = 0; i < expected.size(); ++i) expected[i] = at(i / 3, i % 3);
    ASSERT_EQ(std::memcmp(row, expected.data(), expected.size()), 0);
  }

  const Image<uint8_t> src_ = [] {
    Image<uint8_t> image({kWidth, kHeight, kWidth, 3});
    image.fill([](int32_t y, size_t i) { return value(static_cast<size_t>(y), i / 3, i % 3); });
    return image;
  }();
};

TEST_F(LargeImage, IsFlipped) {
  const Image<uint8_t> dst(src_.shape());
  for (const int32_t code : {0, -1, 1}) {
    ASSERT_EQ(flipCPUUINT8(src_.data(), dst.data(), kHeight, kWidth, kWidth, kWidth, 3, code, 1), TAMIX_OK);
    for (int32_t y = 0; y < kHeight; y += 13) {
      const auto row = static_cast<size_t>(code <= 0 ? kHeight - 1 - y : y);
      expectRow(dst.row(y), kWidth, [&](size_t x, size_t c) { return value(row, code != 0 ? kWidth - 1 - x : x, c); });
    }
  }
}

TEST_F(LargeImage, IsSplitAndMerged) {
  for (const size_t offset : {0u, 1u}) {  // planes that lie alike in their cache lines, or not
    constexpr size_t kPixels = size_t{kWidth} * kHeight;
    std::array<Image<uint8_t>, 3> planes{Image<uint8_t>({kWidth, kHeight + 1, kWidth}),
                                         Image<uint8_t>({kWidth, kHeight + 1, kWidth}),
                                         Image<uint8_t>({kWidth, kHeight + 1, kWidth})};
    uint8_t* const third = planes[2].data() + offset;
    ASSERT_EQ(
        splitCPUUINT8(src_.data(), kHeight, kWidth, kWidth, planes[0].data(), planes[1].data(), third, nullptr, kWidth, 3, 1),
        TAMIX_OK);
    for (size_t k = 0; k < kPixels; k += 61) {
      ASSERT_EQ(planes[0].data()[k], src_.data()[3 * k]);
      ASSERT_EQ(planes[1].data()[k], src_.data()[3 * k + 1]);
      ASSERT_EQ(third[k], src_.data()[3 * k + 2]);
    }
    ASSERT_EQ(third[kPixels], 0xA5);
    const Image<uint8_t> dst(src_.shape());
    ASSERT_EQ(mergeCPUUINT8(planes[0].data(), planes[1].data(), third, nullptr, kHeight, kWidth, kWidth, dst.data(), 3, 1),
              TAMIX_OK);
    ASSERT_EQ(std::memcmp(dst.data(), src_.data(), kRow * kHeight), 0);
  }
}

TEST_F(LargeImage, GetsABorderAndLosesItAgain) {
  const Image<uint8_t> bordered({kWidth + 5, kHeight + 3, kWidth + 5, 3});
  const Image<uint8_t> dst(src_.shape());
  for (const int32_t type : {0, 1, 4}) {
    ASSERT_EQ(
        copyMakeBorderCPUUINT8(src_.data(), bordered.data(), kHeight, kWidth, kWidth, kWidth + 5, 3, 1, 2, 3, 2, type, 9, 1),
        TAMIX_OK);
    const uint8_t left = type == 0 ? uint8_t{9} : value(7, type == 1 ? 0 : 3, 0);
    EXPECT_EQ(bordered.at(8, 0), left);
    ASSERT_EQ(rectCutCPUUINT8(bordered.data(), kHeight + 3, kWidth + 5, kWidth + 5, dst.data(), kHeight, kWidth, kWidth, 3, 3,
                              1, kWidth, kHeight, 1),
              TAMIX_OK);
    ASSERT_EQ(std::memcmp(dst.data(), src_.data(), kRow * kHeight), 0);
  }
}

}  // namespace
}  // namespace tamix::test
