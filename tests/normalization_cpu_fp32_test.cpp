// Normalization of floats and bytes, interleaved and planar.
#include "inference/runtime/cpu/arm/fp32/normalization_cpu_fp32.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

const float kMean[3] = {123.675f, 116.28f, -103.53f};
const float kStd[3] = {58.395f, -57.12f, 57.375f};

// One element, `from` being its channel.
template <class T>
float model(T value, size_t from) {
  const float reciprocal = 1.0f / kStd[from];
  const float difference = static_cast<float>(value) - kMean[from];
  return difference * reciprocal;
}

template <class T>
Image<float> expected(const Image<T>& src, bool planar, bool swapped) {
  const Shape& s = src.shape();
  const size_t channels = static_cast<size_t>(s.channel);
  const size_t pixels = static_cast<size_t>(s.width) * static_cast<size_t>(s.height);
  Image<float> out(s);
  for (size_t i = 0; i < src.elements(); ++i) {
    const size_t c = i % channels;
    const size_t plane = swapped ? 2 - c : c;
    out.data()[planar ? plane * pixels + i / channels : i] = model(src.data()[i], c);
  }
  return out;
}

int32_t run(const Image<float>& src, const Image<float>& dst, int32_t reorder, int32_t src_format, int32_t dst_format) {
  const Shape& s = src.shape();
  return normalizationCPUFLOAT32(src.data(), dst.data(), s.height, s.width, s.width, s.width, s.channel, kMean, kStd, reorder,
                                 src_format, dst_format, 1);
}

int32_t run(const Image<uint8_t>& src, const Image<float>& dst, int32_t reorder, int32_t src_format, int32_t dst_format) {
  const Shape& s = src.shape();
  normalizeBytes(src.data(), dst.data(), s.height, s.width, s.channel, kMean, kStd, reorder, src_format, dst_format);
  return TAMIX_OK;
}

template <class T>
void expectNormalized() {
  for (const int32_t channel : {1, 3}) {
    for (const int32_t width : {1, 2, 3, 5, 15, 16, 17, 63, 64, 65, 191, 192, 193, 450}) {
      const Shape shape{width, 2, width, channel};
      const Image<T> src = randomImage<T>(shape);
      for (const int32_t reorder : {0, 1, -3}) {
        for (const auto& [src_format, dst_format] : {std::pair{2, 2}, std::pair{2, 1}}) {
          SCOPED_TRACE(testing::Message() << shape << " reorder " << reorder << " to format " << dst_format);
          Image<float> dst(shape);
          ASSERT_EQ(run(src, dst, reorder, src_format, dst_format), TAMIX_OK);
          const bool planar = channel == 3 && reorder == 1;
          EXPECT_TRUE(sameBytes(dst, expected(src, planar, planar && src_format != dst_format)));
        }
      }
    }
  }
}

TEST(NormalizationCPUFLOAT32, ScalesFloats) { expectNormalized<float>(); }

TEST(NormalizationCPUFLOAT32, ScalesBytes) { expectNormalized<uint8_t>(); }

TEST(NormalizationCPUFLOAT32, WorksInPlaceEvenWhenItReorders) {
  const Image<float> src = randomImage<float>({77, 3, 77, 3});
  for (const int32_t reorder : {0, 1}) {
    Image<float> both(src);
    ASSERT_EQ(run(both, both, reorder, 1, 2), TAMIX_OK);
    EXPECT_TRUE(sameBytes(both, expected(src, reorder == 1, reorder == 1)));
  }
  Image<float> both(src);
  const FailingMemalign failing(0);
  EXPECT_EQ(run(both, both, 1, 1, 1), TAMIX_ERR_NO_MEMORY);
  EXPECT_TRUE(sameBytes(both, src));
}

TEST(NormalizationCPUFLOAT32, GivesInfinitiesForALaterZeroDeviation) {
  const Image<float> src = Image<float>({1, 1, 1, 3}).fill([](int32_t, size_t i) { return 5.0f + static_cast<float>(i); });
  Image<float> dst(src.shape());
  const float std[3] = {1, 0, -0.0f};
  const float mean[3] = {0, 0, 0};
  EXPECT_EQ(normalizationCPUFLOAT32(src.data(), dst.data(), 1, 1, 1, 1, 3, mean, std, 0, 1, 1, 1), TAMIX_OK);
  EXPECT_EQ(dst.at(0, 0, 0), 5.0f);
  EXPECT_EQ(dst.at(0, 0, 1), INFINITY);
  EXPECT_EQ(dst.at(0, 0, 2), -INFINITY);
}

TEST(NormalizationCPUFLOAT32, GivesThePositiveNaNForInvalidOperations) {
  const float values[4] = {INFINITY, 2.0f, -INFINITY, 0.0f};
  const float settings[3][2] = {{INFINITY, 1.0f}, {0.0f, INFINITY}, {INFINITY, -INFINITY}};
  for (const int32_t channel : {1, 3}) {
    Image<float> src({40, 1, 40, channel}), dst({40, 1, 40, channel});
    src.fill([&](int32_t, size_t i) { return values[i % 4]; });
    for (const auto& [mean, std] : settings) {
      const float means[3] = {mean, mean, mean}, stds[3] = {std, std, std};
      ASSERT_EQ(normalizationCPUFLOAT32(src.data(), dst.data(), 1, 40, 40, 40, channel, means, stds, 0, 1, 1, 1), TAMIX_OK);
      for (size_t i = 0; i < dst.elements(); ++i) {
        const float value = (values[i % 4] - mean) * (1.0f / std);
        const uint32_t bits = std::isnan(value) ? 0x7FC00000 : std::bit_cast<uint32_t>(value);
        ASSERT_EQ(std::bit_cast<uint32_t>(dst.data()[i]), bits) << values[i % 4] << " " << mean << " " << std;
      }
    }
  }
}

TEST(NormalizationCPUFLOAT32, ChecksInOrder) {
  const std::string file = "runtime/cpu/arm/fp32/normalization_cpu_fp32.cpp";
  Image<float> image({4, 2, 4, 4});
  const Image<float> before(image);
  const float zero[4] = {-0.0f, 1, 1, 1};
  const float one[4] = {1, 1, 1, 1};
  const auto invalid = [&](int length, const char* std) {
    char text[200];
    std::snprintf(text, sizeof(text), "normalizeNeon input params is invalid, src_data:%p, data_len:%d, std:%s \n",
                  static_cast<void*>(image.data()), length, std);
    return std::string(text);
  };
  struct Refusal {
    bool null;
    int32_t height, width, src_stride, dst_stride, channel;
    const float* std;
    int32_t status;
    std::string message;
  };
  const Refusal refusals[] = {
      {true, 0, 0, 9, 9, 2, zero, TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer"},
      {false, 0, 4, 9, 9, 2, one, TAMIX_ERR_INVALID_ARGUMENT, invalid(0, "1.000000")},
      {false, -2, 4, 9, 9, 2, one, TAMIX_ERR_INVALID_ARGUMENT, invalid(-16, "1.000000")},
      {false, 2, 4, 9, 9, 2, zero, TAMIX_ERR_INVALID_ARGUMENT, invalid(16, "-0.000000")},
      {false, 2, 3, 4, 3, 2, one, TAMIX_ERR_UNSUPPORTED,
       "Recieved unsupported channel 2, src_width_stride 4, dst_width_stride 3"},
      {false, 2, 3, 3, 4, 1, one, TAMIX_ERR_UNSUPPORTED,
       "Recieved unsupported channel 1, src_width_stride 3, dst_width_stride 4"},
      {false, 2, 4, 4, 4, 2, one, TAMIX_ERR_UNSUPPORTED, "Recieved unsupported channel 2"},
      {false, 2, 4, 4, 4, 4, one, TAMIX_ERR_UNSUPPORTED, "Recieved unsupported channel 4"},
  };
  for (const Refusal& r : refusals) {
    SCOPED_TRACE(r.message);
    LogCapture log;
    EXPECT_EQ(normalizationCPUFLOAT32(image.data(), r.null ? nullptr : image.data(), r.height, r.width, r.src_stride,
                                      r.dst_stride, r.channel, one, r.std, 0, 1, 1, 1),
              r.status);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(file, "normalizationCPUFLOAT32", r.message)});
  }
  EXPECT_TRUE(sameBytes(image, before));
}

}  // namespace
}  // namespace tamix::test
