#include <cmath>

#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"
#include "tests/support/resize.h"

namespace tamix::test {
namespace {

constexpr const char* kFile = "runtime/cpu/arm/uint8/resizebilinear_cpu_uint8.cpp";

int32_t resize(const Image<uint8_t>& src, const Image<uint8_t>& dst, int32_t num_threads) {
  return resized(resizeBilinearCPUUINT8, src, dst, num_threads);
}

// Two samples and the second one's weight.
struct Tap {
  int32_t a;
  int32_t b;
  int32_t weight;
};

Tap tapInSixteenths(int32_t d, int32_t source, int32_t target) {
  if (source == 1) return {0, 0, 0};
  const float scale = static_cast<float>(source) / static_cast<float>(target);
  const float f = static_cast<float>((d + 0.5) * static_cast<double>(scale) - 0.5);
  int32_t i = static_cast<int32_t>(std::floor(f));
  const float fraction = f - static_cast<float>(i);
  int32_t w = static_cast<int32_t>(static_cast<double>(fraction * 16.0f) + 0.5);
  if (i < 0) i = w = 0;
  if (i > source - 2) {
    i = source - 2;
    w = 16;
  }
  return {i, i + 1, w};
}

void modelInSixteenths(const Image<uint8_t>& src, Image<uint8_t>& dst) {
  for (int32_t y = 0; y < dst.shape().height; ++y) {
    const Tap row = tapInSixteenths(y, src.shape().height, dst.shape().height);
    for (int32_t x = 0; x < dst.shape().width; ++x) {
      const Tap column = tapInSixteenths(x, src.shape().width, dst.shape().width);
      for (int32_t c = 0; c < dst.shape().channel; ++c) {
        const auto h = [&](int32_t r) {
          return src.at(r, column.a, c) * (16 - column.weight) + src.at(r, column.b, c) * column.weight;
        };
        dst.at(y, x, c) = static_cast<uint8_t>((h(row.a) * (16 - row.weight) + h(row.b) * row.weight + 128) >> 8);
      }
    }
  }
}

// The weight is that of sample b.
Tap columnIn128ths(int32_t d, int32_t source, int32_t target) {
  const float scale = static_cast<float>(source) / static_cast<float>(target);
  const float off = scale * 0.5f - 0.5f;
  const float sx = off + scale * static_cast<float>(d);
  int32_t c = static_cast<int32_t>(sx);
  if (static_cast<float>(c) < sx) ++c;
  return {std::max(c - 1, 0), std::min(c, source - 1), 128 - static_cast<int32_t>((static_cast<float>(c) - sx) * 128)};
}

Tap rowIn128ths(int32_t d, int32_t source, int32_t target) {
  const float scale = static_cast<float>(source) / static_cast<float>(target);
  const float off = scale * 0.5f - 0.5f;
  const float fy = off + scale * static_cast<float>(d);
  const int32_t y0 = static_cast<int32_t>(std::floor(fy));
  const int32_t w = static_cast<int32_t>((static_cast<float>(y0 + 1) - fy) * 128);
  return {std::max(y0, 0), y0 + 1 >= source ? source - 1 : y0 + 1, 128 - w};
}

void modelIn128ths(const Image<uint8_t>& src, Image<uint8_t>& dst, int32_t num_threads) {
  const int32_t bands = num_threads < 1 ? 2 : num_threads;
  const int32_t src_band = (src.shape().height + bands - 1) / bands;
  const int32_t dst_band = (dst.shape().height + bands - 1) / bands;
  const auto blend = [](int32_t a, int32_t b, int32_t weight) { return (a * (128 - weight) + b * weight + 64) >> 7; };
  for (int32_t band = 0; band < bands; ++band) {
    const int32_t src_first = band * src_band;
    const int32_t src_rows = std::min(src_first + src_band, src.shape().height) - src_first;
    const int32_t dst_first = band * dst_band;
    const int32_t dst_rows = std::min(dst_first + dst_band, dst.shape().height) - dst_first;
    for (int32_t y = 0; y < dst_rows; ++y) {
      Tap row = {src.shape().height - 1, src.shape().height - 1, 0};  // without source rows of its own
      if (src_rows > 0) {
        row = rowIn128ths(y, src_rows, dst_rows);
        row = {row.a + src_first, row.b + src_first, row.weight};
      }
      for (int32_t x = 0; x < dst.shape().width; ++x) {
        const Tap column = columnIn128ths(x, src.shape().width, dst.shape().width);
        for (int32_t c = 0; c < 4; ++c) {
          const auto v = [&](int32_t k) { return blend(src.at(row.a, k, c), src.at(row.b, k, c), row.weight); };
          dst.at(dst_first + y, x, c) = static_cast<uint8_t>(blend(v(column.a), v(column.b), column.weight));
        }
      }
    }
  }
}

TEST(ResizeBilinearCPUUINT8, BlendsInSixteenthsWithOneRounding) {
  const auto run = [](const auto& src, const auto& dst) { return resize(src, dst, 1); };
  for (const ResizeSizes& sizes : resizeSizes()) {
    for (const int32_t channels : {1, 2, 3, 5, 150}) {
      if (channels == 150 && sizes.src_width > 10) continue;
      for (const int32_t padding : {0, 3}) expectResized<uint8_t>(sizes, channels, padding, run, modelInSixteenths);
    }
  }
}

TEST(ResizeBilinearCPUUINT8, KeepsExtremeValuesInEveryPath) {
  for (const int32_t channels : {1, 3, 4}) {
    for (const int32_t value : {0, 1, 254, 255}) {
      Image<uint8_t> src({50, 20, 50, channels});
      src.fill([&](int32_t, size_t) { return value; });
      Image<uint8_t> dst({80, 33, 80, channels});
      Image<uint8_t> expected({80, 33, 80, channels});
      expected.fill([&](int32_t, size_t) { return value; });
      ASSERT_EQ(resize(src, dst, 3), TAMIX_OK);
      ASSERT_TRUE(sameBytes(dst, expected));
    }
  }
}

TEST(ResizeBilinearCPUUINT8, ResizesBandsOfFourChannelsByThemselves) {
  const LogCapture log;
  for (const ResizeSizes& sizes : resizeSizes()) {
    for (const int32_t num_threads : {-1, 0, 1, 2, 3, 4, 9}) {
      SCOPED_TRACE(num_threads);
      expectResized<uint8_t>(
          sizes, 4, num_threads == 1 ? 0 : 3, [&](const auto& src, const auto& dst) { return resize(src, dst, num_threads); },
          [&](const auto& src, auto& dst) { modelIn128ths(src, dst, num_threads); });
    }
  }
}

TEST(ResizeBilinearCPUUINT8, LogsOddWidthsOfFourChannelsOncePerBand) {
  const auto src = randomImage<uint8_t>({8, 40, 8, 4});
  const std::string line =
      errorLine(kFile, "resizeBilinearChannelImp", "tamix: resizeBilinearChannelImp has not support the size undivisible by 8");
  for (const int32_t num_threads : {0, 1, 3, 50}) {
    const LogCapture log;
    Image<uint8_t> dst({7, 40, 7, 4});
    EXPECT_EQ(resize(src, dst, num_threads), TAMIX_OK);
    EXPECT_EQ(log.errors(), std::vector<std::string>(num_threads == 0 ? 2 : static_cast<size_t>(num_threads), line));
  }
  const LogCapture log;
  Image<uint8_t> even({6, 40, 6, 4});
  EXPECT_EQ(resize(src, even, 1), TAMIX_OK);
  EXPECT_TRUE(log.errors().empty());
}

TEST(ResizeBilinearCPUUINT8, RefusesNullAndDoesNothingForEmptySizes) {
  const auto src = randomImage<uint8_t>({4, 4, 4, 3});
  Image<uint8_t> dst({6, 6, 6, 3});
  const Image<uint8_t> untouched(dst);
  expectNullsRefused(kFile, "resizeBilinearCPUUINT8", resizeBilinearCPUUINT8, src.data(), 4, 4, 4, dst.data(), 6, 6, 6, 3, 1);
  for (const int32_t none : {0, -1, INT32_MIN}) {
    for (const int32_t channels : {1, 3, 4}) {
      EXPECT_EQ(resizeBilinearCPUUINT8(src.data(), none, 4, 4, dst.data(), 6, 6, 6, channels, 1), TAMIX_OK);
      EXPECT_EQ(resizeBilinearCPUUINT8(src.data(), 4, none, 4, dst.data(), 6, 6, 6, channels, 1), TAMIX_OK);
      EXPECT_EQ(resizeBilinearCPUUINT8(src.data(), 4, 4, 4, dst.data(), none, 6, 6, channels, 1), TAMIX_OK);
      EXPECT_EQ(resizeBilinearCPUUINT8(src.data(), 4, 4, 4, dst.data(), 6, none, 6, channels, 1), TAMIX_OK);
    }
    EXPECT_EQ(resizeBilinearCPUUINT8(src.data(), 4, 4, 4, dst.data(), 6, 6, 6, none, 1), TAMIX_OK);
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

TEST(ResizeBilinearCPUUINT8, ReportsMissingMemoryOfEveryPath) {
  struct Case {
    ResizeSizes sizes;
    int32_t channels;
    const char* function;
  };
  const Case cases[] = {{{8, 8, 16, 16}, 1, "resizeBilinearCPUUINT8"},
                        {{8, 8, 16, 16}, 3, "resizeBilinearC3CPUUINT8"},
                        {{8, 8, 16, 8}, 3, "resizebilinearNarrow3ChannelIntrisic"},
                        {{16, 16, 8, 8}, 3, "resizebilinearNarrow3ChannelIntrisic"},
                        {{8, 8, 16, 16}, 4, "resizeBilinearChannelImp"}};
  for (const Case& c : cases) {
    const auto src = randomImage<uint8_t>(sourceShape(c.sizes, c.channels, 0));
    Image<uint8_t> dst(resultShape(c.sizes, c.channels, 0));
    const Image<uint8_t> untouched(dst);
    const LogCapture log;
    const FailingMemalign failing(0);
    EXPECT_EQ(resize(src, dst, 1), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(kFile, c.function, "alloc memory failed!")});
    EXPECT_TRUE(sameBytes(dst, untouched));
  }
}

}  // namespace
}  // namespace tamix::test
