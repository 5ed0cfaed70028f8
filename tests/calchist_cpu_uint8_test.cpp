// Histogram kernel against bins found by their bounds.
#include "inference/runtime/cpu/arm/uint8/calchist_cpu_uint8.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

struct Bins {
  int32_t dims;
  int32_t channels[4];
  int32_t size[4];
  int32_t min[4] = {0, 0, 0, 0};
  int32_t max[4] = {255, 255, 255, 255};

  size_t count() const {
    size_t product = 1;
    for (int i = 0; i < dims; ++i) product *= static_cast<size_t>(size[i]);
    return product;
  }
};

// Looks for the bin whose bounds hold the value.
size_t binModel(int64_t value, int64_t min, int64_t max, int64_t size) {
  const int64_t span = max - min + 1;
  const int64_t step = span / size;
  for (int64_t k = 0; k < size; ++k) {
    const int64_t end = k == size - 1 ? span : (k + 1) * step;
    if (k * step <= value && value < end) return static_cast<size_t>(k);
  }
  return 0;
}

std::vector<uint32_t> histogramModel(const Image<uint8_t>& image, const Bins& bins) {
  std::vector<uint32_t> hist(bins.count(), 0);
  for (int32_t y = 0; y < image.shape().height; ++y) {
    for (int32_t x = 0; x < image.shape().width; ++x) {
      size_t index = 0;
      for (int i = bins.dims - 1; i >= 0; --i) {
        index = index * static_cast<size_t>(bins.size[i]) +
                binModel(image.at(y, x, bins.channels[i]), bins.min[i], bins.max[i], bins.size[i]);
      }
      ++hist[index];
    }
  }
  return hist;
}

std::vector<uint32_t> histogram(const Image<uint8_t>& image, const Bins& bins) {
  const GuardedBytes hist(bins.count() * sizeof(uint32_t));
  std::memset(hist.data(), 0x5A, hist.size());
  const Shape& s = image.shape();
  EXPECT_EQ(calcHistCPUUINT8(image.data(), static_cast<uint32_t*>(hist.data()), s.height, s.width, s.width_stride, s.channel,
                             bins.dims, bins.channels, bins.max, bins.min, bins.size, 1),
            TAMIX_OK);
  const auto* const first = static_cast<const uint32_t*>(hist.data());
  return {first, first + bins.count()};
}

// Images below and above the size from which rows are counted another way.
std::vector<Shape> shapes(int32_t channel) {
  return {{1, 1, 1, channel},     {2, 3, 7, channel},     {63, 2, 63, channel},    {64, 1, 64, channel},
          {131, 5, 140, channel}, {700, 3, 700, channel}, {517, 100, 520, channel}};
}

TEST(CalcHistCPUUINT8, CountsEveryLayoutOfBins) {
  const std::vector<std::pair<int32_t, Bins>> cases = {
      {1, {0, {}, {}}},
      {1, {1, {0}, {256}}},
      {1, {1, {0}, {10}, {100}, {199}}},
      {1, {1, {0}, {3}}},
      {1, {1, {0}, {1}}},
      {1, {1, {0}, {7}, {-1000}, {1000}}},
      {1, {1, {0}, {300}}},  // more bins than values: a step of 0, all values in the last bin
      {1, {2, {0, 0}, {16, 4}}},
      {2, {2, {0, 1}, {16, 5}}},
      {2, {1, {1}, {256}}},
      {3, {3, {0, 1, 2}, {8, 8, 8}}},
      {3, {3, {2, 0, 1}, {7, 9, 255}, {0, 20, 3}, {255, 219, 254}}},
      {3, {3, {0, 1, 2}, {256, 200, 3}}},  // more bins than 16 bits can number
      {3, {1, {2}, {31}}},
      {3, {2, {2, 1}, {256, 128}}},
      {3, {4, {0, 1, 2, 0}, {4, 3, 5, 2}}},
      {4, {4, {0, 1, 2, 3}, {8, 4, 6, 9}}},
      {4, {3, {3, 1, 0}, {300, 2, 3}}},
      {4, {2, {1, 3}, {254, 127}, {0, 0}, {253, 126}}},
      {5, {2, {4, 1}, {5, 6}}},
  };
  for (const auto& [channel, bins] : cases) {
    for (const Shape& shape : shapes(channel)) {
      SCOPED_TRACE(testing::Message() << shape << ", dims " << bins.dims << ", sizes " << bins.size[0] << " " << bins.size[1]);
      const Image<uint8_t> image = randomImage<uint8_t>(shape);
      EXPECT_EQ(histogram(image, bins), histogramModel(image, bins));
    }
  }
}

// More than 65536 equal pairs, in a row and apart, in a large gray image.
TEST(CalcHistCPUUINT8, CountsMoreEqualPairsThanSixteenBits) {
  const Image<uint8_t> image = Image<uint8_t>({1024, 512, 1024}).fill([](int32_t y, size_t i) {
    return y < 256 ? 7 + i % 2 : i % 8 < 6 ? 20 + i % 2 : 90;
  });
  const Bins bins = {1, {0}, {256}};
  EXPECT_EQ(histogram(image, bins), histogramModel(image, bins));
}

TEST(CalcHistCPUUINT8, DividesByEveryStepExactly) {
  const Image<uint8_t> image = Image<uint8_t>({256, 2, 256, 3}).fill([](int32_t, size_t i) { return i / 3 + i % 3 * 85; });
  for (int32_t size = 1; size <= 256; ++size) {
    const Bins bins = {3, {0, 1, 2}, {size, 2, 1}, {0, 0, 0}, {255, size, 1}};
    ASSERT_EQ(histogram(image, bins), histogramModel(image, bins)) << size;
  }
}

TEST(CalcHistCPUUINT8, CountsNothingInAnImageOfNegativeSizes) {
  const uint8_t byte = 1;
  uint32_t hist[2] = {7, 7};
  const int32_t zero = 0, one = 1, two = 2;
  const LogCapture log;
  EXPECT_EQ(calcHistCPUUINT8(&byte, hist, -5, -4, 4, 1, 1, &zero, &one, &zero, &two, 1), TAMIX_ERR_INVALID_CALL);
  EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine("runtime/cpu/arm/uint8/calchist_cpu_uint8.cpp", "calcHistCPUUINT8",
                                                             "number_sum != height * width: 0 != 20")});
  EXPECT_EQ(hist[0] + hist[1], 0u);
  // Nor where the product is 2^32.
  EXPECT_EQ(calcHistCPUUINT8(&byte, hist, -65536, -65536, 1, 1, 1, &zero, &one, &zero, &two, 1), TAMIX_ERR_INVALID_CALL);
  // Any number of empty rows takes no time.
  const int32_t most = std::numeric_limits<int32_t>::max();
  EXPECT_EQ(calcHistCPUUINT8(&byte, hist, most, -4, 70, 3, 1, &two, &one, &zero, &two, 1), TAMIX_ERR_INVALID_CALL);
  EXPECT_EQ(hist[0] + hist[1], 0u);
}

TEST(CalcHistCPUUINT8, RefusesWhatItCannotCount) {
  const uint8_t pixel[4] = {};
  uint32_t hist[2] = {7, 7};
  const int32_t most = std::numeric_limits<int32_t>::max();
  struct Refusal {
    const char* what;
    const uint8_t* src;
    Bins bins;
  };
  const Refusal refusals[] = {
      {"null image", nullptr, {1, {0}, {2}}},
      {"five dimensions", pixel, {5, {0}, {1, 1, 1, 1}}},
      {"negative dimensions", pixel, {-1, {0}, {2}}},
      {"negative channel", pixel, {1, {-1}, {2}}},
      {"channel beyond the image", pixel, {1, {4}, {2}}},
      {"no bins", pixel, {1, {0}, {0}}},
      {"2^31 bins", pixel, {2, {0, 1}, {65536, 32768}}},
      {"2^64 bins", pixel, {4, {0, 1, 2, 3}, {65536, 65536, 65536, 65536}}},
      {"2^124 bins", pixel, {4, {0, 1, 2, 3}, {most, most, most, most}}},
  };
  for (const auto& [what, src, bins] : refusals) {
    SCOPED_TRACE(what);
    LogCapture log;
    EXPECT_EQ(calcHistCPUUINT8(src, hist, 1, 1, 1, 4, bins.dims, bins.channels, bins.max, bins.min, bins.size, 1),
              TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(log.errors().size(), 1u);
    EXPECT_EQ(hist[0], 7u);
  }
}

}  // namespace
}  // namespace tamix::test
