#include "inference/runtime/cpu/arm/uint8/meanstd_cpu_uint8.h"

#include <array>
#include <cmath>
#include <limits>

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

HWY_BEFORE_NAMESPACE();
namespace tamix {
namespace {

// Sums of the values and of their squares, per channel.
struct Moments {
  std::array<uint64_t, 4> sum = {};
  std::array<uint64_t, 4> squares = {};
};

// Adds the moments of rows of `width` pixels.
template <size_t kChannels>
void addMoments(Plane<const uint8_t> src, int32_t height, size_t width, Moments& moments) {
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* const row = src.row(y);
    for (size_t x = 0; x < width; ++x) {
      for (size_t c = 0; c < kChannels; ++c) {
        const uint64_t v = row[x * kChannels + c];
        moments.sum[c] += v;
        moments.squares[c] += v * v;
      }
    }
  }
}

// sqrt(mean_square - mean^2), NaN (of Arm's default bits) below 0.
float deviation(float mean_square, float mean) {
  const float variance = mean_square - mean * mean;
  if (!(variance >= 0.0f)) return std::numeric_limits<float>::quiet_NaN();
  return static_cast<float>(std::sqrt(static_cast<double>(variance)));
}

float quotient(uint64_t sum, uint64_t count) {
  return static_cast<float>(static_cast<double>(sum) / static_cast<double>(count));
}

// Three channels: unpadded rows only, the mean of the squares truncated.
int32_t sqsum3c(const uint8_t* src, int32_t width, int32_t height, int32_t src_width_stride, float* mean,
                std::array<float, 4>& mean_squares) {
  TAMIX_REQUIRE(src_width_stride == width, TAMIX_ERR_UNSUPPORTED, "width stride is not supported");
  if (width < 1 || height < 1) return TAMIX_OK;
  const uint64_t count = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
  Moments moments;
  addMoments<3>({src, 0}, 1, count, moments);
  for (size_t c = 0; c < 3; ++c) {
    mean[c] = quotient(moments.sum[c], count);
    mean_squares[c] = static_cast<float>(moments.squares[c] / count);
  }
  return TAMIX_OK;
}

// One or four channels, padded or not.
template <size_t kChannels>
void sqsum(const uint8_t* src, int32_t width, int32_t height, int32_t src_width_stride, float* mean,
           std::array<float, 4>& mean_squares) {
  if (width < 1 || height < 1) return;
  const uint64_t count = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
  Moments moments;
  if (src_width_stride == width) {
    addMoments<kChannels>({src, 0}, 1, count, moments);
  } else {
    addMoments<kChannels>(plane(src, src_width_stride, kChannels), height, static_cast<size_t>(width), moments);
  }
  for (size_t c = 0; c < kChannels; ++c) {
    mean[c] = quotient(moments.sum[c], count);
    mean_squares[c] = quotient(moments.squares[c], count);
  }
}

}  // namespace

int32_t meanSTDCPUUINT8(const uint8_t* src, int32_t width, int32_t height, int32_t src_width_stride, int32_t channel,
                        float* mean, float* std, int32_t /*num_threads*/) {
  TAMIX_REQUIRE(!anyNull(src, mean, std), TAMIX_ERR_INVALID_IMAGE, "recieved null mean or std or data");
  std::array<float, 4> mean_squares = {};
  switch (channel) {
    case 1:
      sqsum<1>(src, width, height, src_width_stride, mean, mean_squares);
      break;
    case 3:
      TAMIX_TRY(sqsum3c(src, width, height, src_width_stride, mean, mean_squares));
      break;
    case 4:
      sqsum<4>(src, width, height, src_width_stride, mean, mean_squares);
      break;
    default:
      TAMIX_ERROR("recieved unsupported channel %d", channel);
      return TAMIX_ERR_UNSUPPORTED;
  }
  if (width < 1 || height < 1) return TAMIX_OK;
  for (size_t c = 0; c < static_cast<size_t>(channel); ++c) std[c] = deviation(mean_squares[c], mean[c]);
  return TAMIX_OK;
}

}  // namespace tamix
HWY_AFTER_NAMESPACE();
