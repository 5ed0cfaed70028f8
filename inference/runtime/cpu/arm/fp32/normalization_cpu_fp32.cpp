#include "inference/runtime/cpu/arm/fp32/normalization_cpu_fp32.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/float_nan.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

HWY_BEFORE_NAMESPACE();
namespace tamix {
namespace {

const hn::ScalableTag<float> kFloats;
constexpr size_t kMostLanes = hn::MaxLanes(kFloats);

// The NaN of an invalid operation is positive on Arm; x86 makes a negative one.
constexpr bool kInvalidIsNegative = HWY_TARGET != HWY_NEON;

float asOnArm(float result, float a, float b) {
  const hn::CappedTag<float, 1> one;
  return hn::GetLane(withArmNaN(one, hn::Set(one, result), hn::Set(one, a), hn::Set(one, b)));
}

// What is taken from a channel's values, and what the difference is multiplied by.
struct Scale {
  float mean;
  float factor;

  float operator()(float value) const { return (value - mean) * factor; }
  // The same with Arm's NaN everywhere.
  float onArm(float value) const {
    const float difference = asOnArm(value - mean, value, mean);
    return asOnArm(difference * factor, difference, factor);
  }
  // Whether it may make infinity less infinity, or zero times infinity.
  bool mayBeInvalid() const { return !std::isfinite(mean) || !std::isfinite(factor) || factor == 0.0f; }
};

// Four vectors of consecutive elements as floats.
template <class D>
HWY_INLINE void loadFour(D d, const float* HWY_RESTRICT src, hn::Vec<D> (&out)[4]) {
  for (size_t k = 0; k < 4; ++k) out[k] = hn::LoadU(d, src + k * hn::Lanes(d));
}

template <class D>
HWY_INLINE void loadFour(D d, const uint8_t* HWY_RESTRICT src, hn::Vec<D> (&out)[4]) {
  const hn::RebindToSigned<D> di;
#if HWY_TARGET == HWY_NEON
  const hn::Full128<uint8_t> d8;
  const hn::RepartitionToWide<decltype(d8)> d16;
  const auto bytes = hn::LoadU(d8, src);
  const auto lo = widenLower(d8, bytes);
  const auto hi = widenUpper(d8, bytes);
  out[0] = hn::ConvertTo(d, hn::BitCast(di, widenLower(d16, lo)));
  out[1] = hn::ConvertTo(d, hn::BitCast(di, widenUpper(d16, lo)));
  out[2] = hn::ConvertTo(d, hn::BitCast(di, widenLower(d16, hi)));
  out[3] = hn::ConvertTo(d, hn::BitCast(di, widenUpper(d16, hi)));
#else
  const hn::Rebind<uint8_t, D> d8;
  for (size_t k = 0; k < 4; ++k) {
    out[k] = hn::ConvertTo(d, hn::PromoteTo(di, hn::LoadU(d8, src + k * hn::Lanes(d))));
  }
#endif
}

// Interleaved: element i belongs to channel i % kChannels. Three vectors hold a whole number of pixels.
template <size_t kChannels, class T>
void normalizeInterleaved(const T* src, float* dst, size_t n, const std::array<Scale, kChannels>& scales) {
  const auto d = kFloats;
  const size_t lanes = hn::Lanes(d);
  std::array<float, 3 * kMostLanes> means;
  std::array<float, 3 * kMostLanes> factors;
  for (size_t i = 0; i < 3 * lanes; ++i) {
    means[i] = scales[i % kChannels].mean;
    factors[i] = scales[i % kChannels].factor;
  }
  hn::Vec<decltype(d)> mean[3];
  hn::Vec<decltype(d)> factor[3];
  for (size_t k = 0; k < 3; ++k) {
    mean[k] = hn::LoadU(d, &means[k * lanes]);
    factor[k] = hn::LoadU(d, &factors[k * lanes]);
  }
  size_t i = 0;
  for (; i + 12 * lanes <= n; i += 12 * lanes) {
    HWY_UNROLL(3)
    for (size_t group = 0; group < 3; ++group) {
      hn::Vec<decltype(d)> v[4];
      loadFour(d, src + i + 4 * group * lanes, v);
      HWY_UNROLL(4)
      for (size_t k = 0; k < 4; ++k) {
        const size_t phase = (4 * group + k) % 3;
        hn::StoreU(hn::Mul(hn::Sub(v[k], mean[phase]), factor[phase]), d, dst + i + (4 * group + k) * lanes);
      }
    }
  }
  for (; i < n; ++i) dst[i] = scales[i % kChannels](static_cast<float>(src[i]));
}

// Three channels into three planes of n floats.
void normalizePlanar(const float* src, const std::array<float*, 3>& planes, size_t n, const std::array<Scale, 3>& scales) {
  const auto d = kFloats;
  const size_t lanes = hn::Lanes(d);
  size_t x = 0;
  for (; x + lanes <= n; x += lanes) {
    hn::Vec<decltype(d)> v[3];
    hn::LoadInterleaved3(d, src + 3 * x, v[0], v[1], v[2]);
    for (size_t c = 0; c < 3; ++c) {
      hn::StoreU(hn::Mul(hn::Sub(v[c], hn::Set(d, scales[c].mean)), hn::Set(d, scales[c].factor)), d, planes[c] + x);
    }
  }
  for (; x < n; ++x) {
    for (size_t c = 0; c < 3; ++c) planes[c][x] = scales[c](src[3 * x + c]);
  }
}

void normalizePlanar(const uint8_t* src, const std::array<float*, 3>& planes, size_t n, const std::array<Scale, 3>& scales) {
  const hn::ScalableTag<uint8_t> d8;
  const auto d = kFloats;
  const size_t lanes = hn::Lanes(d);
  size_t x = 0;
  for (; x + hn::Lanes(d8) <= n; x += hn::Lanes(d8)) {
    alignas(64) uint8_t bytes[3][hn::MaxLanes(d8)];
    hn::Vec<decltype(d8)> v0, v1, v2;
    hn::LoadInterleaved3(d8, src + 3 * x, v0, v1, v2);
    hn::Store(v0, d8, bytes[0]);
    hn::Store(v1, d8, bytes[1]);
    hn::Store(v2, d8, bytes[2]);
    for (size_t c = 0; c < 3; ++c) {
      hn::Vec<decltype(d)> v[4];
      loadFour(d, bytes[c], v);
      for (size_t k = 0; k < 4; ++k) {
        hn::StoreU(hn::Mul(hn::Sub(v[k], hn::Set(d, scales[c].mean)), hn::Set(d, scales[c].factor)), d,
                   planes[c] + x + k * lanes);
      }
    }
  }
  for (; x < n; ++x) {
    for (size_t c = 0; c < 3; ++c) planes[c][x] = scales[c](static_cast<float>(src[3 * x + c]));
  }
}

// Element by element; channel c of pixel x goes to planes[c][x * step].
template <class T>
void normalizeAsOnArm(const T* src, const std::array<float*, 3>& planes, size_t step, size_t pixels, size_t channels,
                      const std::array<Scale, 3>& scales) {
  for (size_t x = 0; x < pixels; ++x) {
    for (size_t c = 0; c < channels; ++c) planes[c][x * step] = scales[c].onArm(static_cast<float>(src[channels * x + c]));
  }
}

// An unpadded image is one run of pixels.
template <class T>
void normalize(const T* src, float* dst, size_t pixels, int32_t channel, const float* mean, const float* std, bool planar,
               bool same_order) {
  const auto channels = static_cast<size_t>(channel);
  std::array<Scale, 3> scales{};
  for (size_t c = 0; c < channels; ++c) scales[c] = {mean[c], 1.0f / std[c]};
  float* const first = same_order ? dst : dst + 2 * pixels;
  float* const last = same_order ? dst + 2 * pixels : dst;
  const bool has_planes = planar && channel == 3;
  if (kInvalidIsNegative && std::any_of(scales.begin(), scales.begin() + channel, std::mem_fn(&Scale::mayBeInvalid))) {
    if (has_planes) return normalizeAsOnArm(src, {first, dst + pixels, last}, 1, pixels, channels, scales);
    return normalizeAsOnArm(src, {dst, dst + 1, dst + 2}, channels, pixels, channels, scales);
  }
  if (channel == 1) return normalizeInterleaved<1>(src, dst, pixels, {scales[0]});
  if (!has_planes) return normalizeInterleaved<3>(src, dst, 3 * pixels, scales);
  normalizePlanar(src, {first, dst + pixels, last}, pixels, scales);
}

// Elements as the caller's sizes say, negative ones included.
int64_t length(int32_t height, int32_t width, int32_t channel) {
  return static_cast<int64_t>(static_cast<uint64_t>(int64_t{height} * width) * static_cast<uint64_t>(int64_t{channel}));
}

bool isEmpty(int32_t height, int32_t width, int32_t channel) {
  return height < 1 || width < 1 || length(height, width, channel) < 1;
}

}  // namespace

bool isNormalizable(int32_t height, int32_t width, int32_t src_width_stride, int32_t dst_width_stride, int32_t channel,
                    const float* std) {
  return !isEmpty(height, width, channel) && std[0] != 0.0f && src_width_stride == width && dst_width_stride == width &&
         (channel == 1 || channel == 3);
}

int32_t normalizationCPUFLOAT32(const float* src, float* dst, int32_t height, int32_t width, int32_t src_width_stride,
                                int32_t dst_width_stride, int32_t channel, const float* mean, const float* std, int32_t reorder,
                                int32_t src_format, int32_t dst_format, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(!isEmpty(height, width, channel) && std[0] != 0.0f, TAMIX_ERR_INVALID_ARGUMENT,
                "normalizeNeon input params is invalid, src_data:%p, data_len:%d, std:%f \n", static_cast<const void*>(src),
                static_cast<int32_t>(length(height, width, channel)), static_cast<double>(std[0]));
  TAMIX_REQUIRE(src_width_stride == width && dst_width_stride == width, TAMIX_ERR_UNSUPPORTED,
                "Recieved unsupported channel %d, src_width_stride %d, dst_width_stride %d", channel, src_width_stride,
                dst_width_stride);
  TAMIX_REQUIRE(isNormalizable(height, width, src_width_stride, dst_width_stride, channel, std), TAMIX_ERR_UNSUPPORTED,
                "Recieved unsupported channel %d", channel);
  const bool planar = channel == 3 && reorder == 1;
  const size_t pixels = static_cast<size_t>(height) * static_cast<size_t>(width);
  ScratchBuffer<float> copy;
  if (planar && src == dst) {
    copy = ScratchBuffer<float>(3 * pixels);
    TAMIX_REQUIRE(copy, TAMIX_ERR_NO_MEMORY, "failed to memory allocation");
    std::memcpy(copy.data(), src, 3 * pixels * sizeof(float));
    src = copy.data();
  }
  normalize(src, dst, pixels, channel, mean, std, planar, src_format == dst_format);
  return TAMIX_OK;
}

void normalizeBytes(const uint8_t* src, float* dst, int32_t height, int32_t width, int32_t channel, const float* mean,
                    const float* std, int32_t reorder, int32_t src_format, int32_t dst_format) {
  normalize(src, dst, static_cast<size_t>(height) * static_cast<size_t>(width), channel, mean, std, reorder == 1,
            src_format == dst_format);
}

}  // namespace tamix
HWY_AFTER_NAMESPACE();
