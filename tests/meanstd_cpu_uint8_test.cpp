// Mean and standard deviation against sums of 128 bits.
#include "inference/runtime/cpu/arm/uint8/meanstd_cpu_uint8.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

struct Result {
  float mean[4] = {-1, -1, -1, -1};
  float std[4] = {-2, -2, -2, -2};
};

Result model(const Image<uint8_t>& image) {
  const Shape& s = image.shape();
  Result result;
  for (int32_t c = 0; c < s.channel; ++c) {
    unsigned __int128 sum = 0, squares = 0;
    for (int32_t y = 0; y < s.height; ++y) {
      for (int32_t x = 0; x < s.width; ++x) {
        const unsigned v = image.at(y, x, c);
        sum += v;
        squares += v * v;
      }
    }
    const auto n = static_cast<uint64_t>(s.width) * static_cast<uint64_t>(s.height);
    result.mean[c] = static_cast<float>(static_cast<double>(sum) / static_cast<double>(n));
    const float square_mean = s.channel == 3 ? static_cast<float>(static_cast<uint64_t>(squares / n))
                                             : static_cast<float>(static_cast<double>(squares) / static_cast<double>(n));
    const float product = result.mean[c] * result.mean[c];
    const float difference = square_mean - product;
    // A square root of a negative number is NaN, with the bits that Arm gives it.
    result.std[c] =
        difference < 0 ? std::bit_cast<float>(0x7FC00000u) : static_cast<float>(std::sqrt(static_cast<double>(difference)));
  }
  return result;
}

void expectSame(const Image<uint8_t>& image) {
  const Shape& s = image.shape();
  Result actual;
  ASSERT_EQ(meanSTDCPUUINT8(image.data(), s.width, s.height, s.width_stride, s.channel, actual.mean, actual.std, 1), TAMIX_OK);
  const Result expected = model(image);
  for (int c = 0; c < 4; ++c) {
    EXPECT_EQ(std::bit_cast<uint32_t>(actual.mean[c]), std::bit_cast<uint32_t>(expected.mean[c])) << s << " mean " << c;
    EXPECT_EQ(std::bit_cast<uint32_t>(actual.std[c]), std::bit_cast<uint32_t>(expected.std[c])) << s << " std " << c;
  }
}

TEST(MeanSTDCPUUINT8, SumsEveryPartOfARow) {
  for (Shape shape : shapesAround(256, {1, 3, 4})) {
    if (shape.channel == 3) shape.width_stride = shape.width;
    expectSame(randomImage<uint8_t>(shape));
    expectSame(randomImage<uint8_t>(shape, 2, Guard::kBefore));
  }
}

TEST(MeanSTDCPUUINT8, KeepsItsSumsOfTheBrightestImages) {
  for (const Shape& shape :
       {Shape{2000, 700, 2000, 1}, Shape{1200, 700, 1203, 1}, Shape{700, 700, 700, 3}, Shape{700, 500, 704, 4}}) {
    expectSame(Image<uint8_t>(shape).fill([&](int32_t y, size_t i) { return i % 97 == 0 && y % 3 == 0 ? 254 : 255; }));
  }
}

TEST(MeanSTDCPUUINT8, TruncatesTheSquareMeanOfThreeChannels) {
  // Squares 0, 0, 1: 1/3 is cut to 0, so the difference 0 - 1/9 is negative.
  const Image<uint8_t> image = Image<uint8_t>({3, 1, 3, 3}).fill([](int32_t, size_t i) { return i == 0 ? 1 : i % 3 * 10; });
  expectSame(image);
  Result result;
  ASSERT_EQ(meanSTDCPUUINT8(image.data(), 3, 1, 3, 3, result.mean, result.std, 1), TAMIX_OK);
  EXPECT_TRUE(std::isnan(result.std[0]));
  EXPECT_EQ(result.std[1], 0.0f);
}

TEST(MeanSTDCPUUINT8, RefusesNullPaddedThreeChannelsAndOtherChannels) {
  const std::string file = "runtime/cpu/arm/uint8/meanstd_cpu_uint8.cpp";
  const uint8_t pixels[64] = {};
  struct Refusal {
    bool null_src, null_mean, null_std;
    int32_t width_stride, channel, status;
    std::string line;
  };
  const std::string null = errorLine(file, "meanSTDCPUUINT8", "recieved null mean or std or data");
  const Refusal refusals[] = {
      {true, false, false, 2, 1, TAMIX_ERR_INVALID_IMAGE, null},
      {false, true, false, 2, 2, TAMIX_ERR_INVALID_IMAGE, null},
      {false, false, true, 3, 3, TAMIX_ERR_INVALID_IMAGE, null},
      {false, false, false, 3, 3, TAMIX_ERR_UNSUPPORTED, errorLine(file, "sqsum3c", "width stride is not supported")},
      {false, false, false, 3, 2, TAMIX_ERR_UNSUPPORTED, errorLine(file, "meanSTDCPUUINT8", "recieved unsupported channel 2")},
      {false, false, false, 2, 5, TAMIX_ERR_UNSUPPORTED, errorLine(file, "meanSTDCPUUINT8", "recieved unsupported channel 5")},
  };
  for (const Refusal& r : refusals) {
    LogCapture log;
    Result result;
    EXPECT_EQ(meanSTDCPUUINT8(r.null_src ? nullptr : pixels, 2, 2, r.width_stride, r.channel,
                              r.null_mean ? nullptr : result.mean, r.null_std ? nullptr : result.std, 1),
              r.status);
    EXPECT_EQ(log.errors(), std::vector<std::string>{r.line});
    EXPECT_EQ(result.mean[0], -1);
  }
  Result result;
  EXPECT_EQ(meanSTDCPUUINT8(pixels, -2, -2, -2, 3, result.mean, result.std, 1), TAMIX_OK);
  EXPECT_EQ(result.mean[0], -1) << "an empty image has no statistics";
}

}  // namespace
}  // namespace tamix::test
