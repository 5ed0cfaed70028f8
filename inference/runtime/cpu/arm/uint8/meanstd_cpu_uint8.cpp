#include "inference/runtime/cpu/arm/uint8/meanstd_cpu_uint8.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/byte_moments.h"
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

// Sums whole vectors of pixels; what is left of a run of pixels is summed one by one.
template <size_t kChannels>
class Summer {
 public:
  explicit Summer(Moments& moments) : moments_(moments) {}
  ~Summer() { drain(); }
  Summer(const Summer&) = delete;
  Summer& operator=(const Summer&) = delete;

  void add(const uint8_t* run, size_t pixels) {
    size_t left = pixels;
    while (left * kChannels >= kRead) {
      const size_t steps = std::min((left * kChannels - kRead) / kStep + 1, Vectors::kMost - added_);
      addVectors(run, steps);
      run += steps * kStep;
      left -= steps * (kStep / kChannels);
      added_ += steps;
      if (added_ == Vectors::kMost) drain();
    }
    for (size_t i = 0; i < left * kChannels; ++i) {
      const uint64_t v = run[i];
      moments_.sum[i % kChannels] += v;
      moments_.squares[i % kChannels] += v * v;
    }
  }

 private:
#if HWY_TARGET == HWY_NEON
  // One vector a channel.
  using D = hn::Full128<uint8_t>;
  using Vectors = ByteMoments<D>;
  static constexpr size_t kSets = kChannels;
  static constexpr size_t kStep = 16 * kChannels;  // bytes from one step to the next
  static constexpr size_t kRead = kStep;           // bytes that a step reads

  void addVectors(const uint8_t* p, size_t steps) {
    auto sets = sets_;
    for (; steps > 0; --steps, p += kStep) {
      hn::Vec<D> v[4];
      if constexpr (kChannels == 1) v[0] = hn::LoadU(D(), p);
      if constexpr (kChannels == 3) hn::LoadInterleaved3(D(), p, v[0], v[1], v[2]);
      if constexpr (kChannels == 4) hn::LoadInterleaved4(D(), p, v[0], v[1], v[2], v[3]);
      for (size_t c = 0; c < kChannels; ++c) sets[c].add(v[c]);
    }
    sets_ = sets;
  }

  void drain() {
    for (size_t c = 0; c < kSets; ++c) {
      sets_[c].drain([&](size_t /*lane*/, uint64_t sum, uint64_t squares) {
        moments_.sum[c] += sum;
        moments_.squares[c] += squares;
      });
    }
    added_ = 0;
  }
#else
  // Vectors whose 128-bit blocks hold four pixels, channel by channel: r r r r g g g g b b b b (a a a a). They are added to
  // four sets in turn, so that no addition waits for the one before it.
  static constexpr bool kThirds = kChannels == 3;
  static constexpr bool kWindow = kThirds && TAMIX_BYTE_PERMUTATIONS;  // 48 bytes in one lookup
  using D = hn::CappedTag<uint8_t, kThirds && !kWindow ? 16 : 64>;
  using Vectors = ByteMoments<D>;
  static constexpr size_t kSets = 4;
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static constexpr size_t kStep = kThirds ? kLanes / 4 * 3 : kLanes;
  static constexpr size_t kRead = kThirds && !kWindow ? 16 : kStep;

  static std::array<uint8_t, kLanes> pattern() {
    std::array<uint8_t, kLanes> index = {};
    for (size_t i = 0; i < kLanes; ++i) {
      const size_t block = i / 16;
      const size_t channel = i % 16 / 4;
      const size_t pixel = i % 4;
      if (channel >= kChannels) continue;  // its lanes are never looked at
      index[i] = static_cast<uint8_t>(channel + pixel * kChannels + (kWindow ? 12 * block : 0));
    }
    return index;
  }

  HWY_INLINE static hn::Vec<D> grouped(const uint8_t* p, hn::Vec<D> index) {
    if constexpr (kChannels == 1) return hn::LoadU(D(), p);
    if constexpr (kWindow) return ByteWindow < D, kWindow ? 3 : 1 > (D(), p).lookup(index);
    return hn::TableLookupBytes(hn::LoadU(D(), p), index);
  }

  void addVectors(const uint8_t* p, size_t steps) {
    const auto index = hn::LoadU(D(), pattern().data());
    auto sets = sets_;
    for (; steps >= kSets; steps -= kSets, p += kSets * kStep) {
      for (size_t k = 0; k < kSets; ++k) sets[k].add(grouped(p + k * kStep, index));
    }
    for (; steps > 0; --steps, p += kStep) sets[0].add(grouped(p, index));
    sets_ = sets;
  }

  void drain() {
    for (Vectors& set : sets_) {
      set.drain([&](size_t lane, uint64_t sum, uint64_t squares) {
        const size_t channel = kChannels == 1 ? 0 : lane % 4;
        if (channel >= kChannels) return;
        moments_.sum[channel] += sum;
        moments_.squares[channel] += squares;
      });
    }
    added_ = 0;
  }
#endif

  Moments& moments_;
  std::array<Vectors, kSets> sets_;
  size_t added_ = 0;  // vectors since the last drain, at most
};

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
  Summer<3>(moments).add(src, count);
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
  {
    auto rows = plane(src, src_width_stride, kChannels);
    size_t n = rowElements(width, kChannels);
    joinRows(height, n, rows);
    Summer<kChannels> summer(moments);
    for (int32_t y = 0; y < height; ++y) summer.add(rows.row(y), n / kChannels);
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
