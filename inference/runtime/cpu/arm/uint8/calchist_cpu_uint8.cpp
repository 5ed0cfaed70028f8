#include "inference/runtime/cpu/arm/uint8/calchist_cpu_uint8.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "inference/runtime/cpu/arm/common/byte_histogram.h"
#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

HWY_BEFORE_NAMESPACE();
namespace tamix {
namespace {

constexpr int32_t kMostDims = 4;

// One dimension: which channel it reads, and which bin a value falls into.
struct Axis {
  size_t channel;
  int64_t span;
  int64_t step;
  int64_t last_bin;
  uint32_t stride;  // of its bins in the histogram

  uint32_t offset(int64_t value) const {
    if (value >= span) return 0;
    const int64_t bin = step == 0 ? last_bin : std::min(value / step, last_bin);
    return static_cast<uint32_t>(bin) * stride;
  }
};

struct Axes {
  std::array<Axis, kMostDims> axis;
  size_t count = 0;
  size_t bins = 1;

  const Axis* begin() const { return axis.data(); }
  const Axis* end() const { return axis.data() + count; }
};

// The offsets of all values of a dimension.
using Offsets = std::array<uint32_t, 256>;

Offsets offsetsOf(const Axis& axis) {
  Offsets offsets;
  for (size_t v = 0; v < offsets.size(); ++v) offsets[v] = axis.offset(static_cast<int64_t>(v));
  return offsets;
}

using AllOffsets = std::array<Offsets, kMostDims>;

AllOffsets offsetsOf(const Axes& axes) {
  AllOffsets offsets;
  for (size_t k = 0; k < axes.count; ++k) offsets[k] = offsetsOf(axes.axis[k]);
  return offsets;
}

// Any channels and bins, pixel by pixel.
void countPixels(const uint8_t* pixel, size_t n, size_t channels, const Axes& axes, const AllOffsets& offsets, uint32_t* hist) {
  for (size_t x = 0; x < n; ++x, pixel += channels) {
    uint32_t bin = 0;
    for (size_t k = 0; k < axes.count; ++k) bin += offsets[k][pixel[axes.axis[k].channel]];
    ++hist[bin];
  }
}

// A dimension as vectors compute it, in 16-bit lanes: bin = min((v or 2 * v) * factor >> 16, last_bin), v being 0 above limit.
// With factor = ceil(65536 / step) the quotient v / step is exact for every byte; step 1 doubles v, its factor being too large.
struct VectorAxis {
  size_t channel;
  uint8_t limit;
  uint16_t doubled;  // mask of what is added to v
  uint16_t factor;
  uint16_t last_bin;
  uint16_t stride;
};

// Whether every bin of the histogram has a 16-bit number and every dimension a step.
bool suitsVectors(const Axes& axes, int32_t channel) {
  return channel <= 4 && axes.bins <= 65536 &&
         std::all_of(axes.begin(), axes.end(), [](const Axis& axis) { return axis.step >= 1; });
}

VectorAxis vectorAxis(const Axis& axis) {
  const int64_t step = std::min<int64_t>(axis.step, 256);  // a byte is below every longer step
  return {axis.channel,
          static_cast<uint8_t>(std::min<int64_t>(axis.span - 1, 255)),
          static_cast<uint16_t>(step == 1 ? 0xFFFF : 0),
          static_cast<uint16_t>(step == 1 ? 32768 : (65536 + step - 1) / step),
          static_cast<uint16_t>(axis.last_bin),
          static_cast<uint16_t>(axis.stride)};
}

// Counts through several copies of the histogram in turn, so that an increment need not wait for the one before it when
// neighbours fall into the same bin.
class BinCounter {
 public:
  BinCounter(uint32_t* hist, size_t bins) : hist_(hist), bins_(bins) {
    while (copies_ > 1 && copies_ * bins > kCells) copies_ /= 2;
    if (copies_ > 1) std::fill_n(cells_.begin(), copies_ * bins, 0);
  }
  ~BinCounter() {
    for (size_t k = 0; copies_ > 1 && k < copies_; ++k) {
      for (size_t i = 0; i < bins_; ++i) hist_[i] += cells_[k * bins_ + i];
    }
  }
  BinCounter(const BinCounter&) = delete;
  BinCounter& operator=(const BinCounter&) = delete;

  // n: a multiple of 8.
  void count(const uint16_t* bins, size_t n) {
    if (copies_ == 8) return countIn<8>(cells_.data(), bins, n);
    if (copies_ == 4) return countIn<4>(cells_.data(), bins, n);
    if (copies_ == 2) return countIn<2>(cells_.data(), bins, n);
    countIn<1>(hist_, bins, n);
  }

 private:
  static constexpr size_t kCells = 4096;

  template <size_t kCopies>
  void countIn(uint32_t* cells, const uint16_t* bins, size_t n) const {
    for (size_t i = 0; i < n; i += 8) {
      for (size_t k = 0; k < 8; ++k) ++cells[k % kCopies * bins_ + bins[i + k]];
    }
  }

  uint32_t* hist_;
  size_t bins_;
  size_t copies_ = 8;
  std::array<uint32_t, kCells> cells_;
};

// One to four interleaved channels: the bins of a strip of pixels are computed in vectors first, then counted.
template <size_t kChannels>
void countStrips(Plane<const uint8_t> src, int32_t height, size_t width, const Axes& axes, uint32_t* hist) {
  constexpr size_t kStrip = 512;
  const hn::ScalableTag<uint8_t> d;
  const hn::RepartitionToWide<decltype(d)> d16;
  const size_t lanes = hn::Lanes(d);
  const AllOffsets offsets = offsetsOf(axes);
  std::array<VectorAxis, kMostDims> vector_axes;
  std::transform(axes.begin(), axes.end(), vector_axes.begin(), vectorAxis);
  BinCounter counter(hist, axes.bins);
  alignas(64) uint16_t bins[kStrip];  // in any order

  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* const row = src.row(y);
    size_t x = 0;
    while (x + lanes <= width) {
      size_t filled = 0;
      for (; filled + lanes <= kStrip && x + lanes <= width; filled += lanes, x += lanes) {
        hn::Vec<decltype(d)> v[4];
        const uint8_t* const p = row + x * kChannels;
        if constexpr (kChannels == 1) v[0] = hn::LoadU(d, p);
        if constexpr (kChannels == 2) hn::LoadInterleaved2(d, p, v[0], v[1]);
        if constexpr (kChannels == 3) hn::LoadInterleaved3(d, p, v[0], v[1], v[2]);
        if constexpr (kChannels == 4) hn::LoadInterleaved4(d, p, v[0], v[1], v[2], v[3]);
        alignas(64) uint8_t planes[kChannels][hn::MaxLanes(d)];
        for (size_t c = 0; c < kChannels; ++c) hn::Store(v[c], d, planes[c]);

        auto low = hn::Zero(d16);
        auto high = hn::Zero(d16);
        for (size_t k = 0; k < axes.count; ++k) {
          const VectorAxis& axis = vector_axes[k];
          const auto all = hn::Load(d, planes[axis.channel]);
          const auto value = hn::IfThenZeroElse(hn::Gt(all, hn::Set(d, axis.limit)), all);
          const auto add = [&](auto sum, auto wide) {
            const auto scaled = hn::Add(wide, hn::And(wide, hn::Set(d16, axis.doubled)));
            const auto bin = hn::Min(hn::MulHigh(scaled, hn::Set(d16, axis.factor)), hn::Set(d16, axis.last_bin));
            return hn::Add(sum, hn::Mul(bin, hn::Set(d16, axis.stride)));
          };
          low = add(low, widenLower(d, value));
          high = add(high, widenUpper(d, value));
        }
        hn::Store(low, d16, bins + filled);
        hn::Store(high, d16, bins + filled + lanes / 2);
      }
      counter.count(bins, filled);
    }
    countPixels(row + x * kChannels, width - x, kChannels, axes, offsets, hist);
  }
}

void countInterleaved(Plane<const uint8_t> src, int32_t height, size_t width, int32_t channel, const Axes& axes,
                      uint32_t* hist) {
  const auto channels = static_cast<size_t>(channel);
  size_t n = width * channels;
  joinRows(height, n, src);
  width = n / channels;
  if (!suitsVectors(axes, channel)) {
    const AllOffsets offsets = offsetsOf(axes);
    for (int32_t y = 0; y < height; ++y) countPixels(src.row(y), width, channels, axes, offsets, hist);
    return;
  }
  constexpr decltype(&countStrips<1>) kByChannels[4] = {countStrips<1>, countStrips<2>, countStrips<3>, countStrips<4>};
  kByChannels[channels - 1](src, height, width, axes, hist);
}

// One channel into one dimension: the bytes are counted first, then shared out among the bins.
void countGray(Plane<const uint8_t> src, int32_t height, int32_t width, const Axis& axis, uint32_t* hist) {
  const ByteCounts counts = countBytes(src, height, rowElements(width));
  for (size_t v = 0; v < counts.size(); ++v) hist[axis.offset(static_cast<int64_t>(v))] += static_cast<uint32_t>(counts[v]);
}

}  // namespace

int32_t calcHistCPUUINT8(const uint8_t* src, uint32_t* hist, int32_t height, int32_t width, int32_t src_width_stride,
                         int32_t channel, int32_t hist_dims, const int32_t* hist_channels, const int32_t* hrange_max,
                         const int32_t* hrange_min, const int32_t* hist_size, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, hist);
  TAMIX_REQUIRE(hist_dims >= 0 && hist_dims <= kMostDims, TAMIX_ERR_INVALID_IMAGE, "Recieve unsupported hist_dims %d",
                hist_dims);
  Axes axes;
  for (; axes.count < static_cast<size_t>(hist_dims); ++axes.count) {
    const size_t i = axes.count;
    TAMIX_REQUIRE(hist_channels[i] >= 0 && hist_channels[i] < channel && hist_size[i] > 0, TAMIX_ERR_INVALID_IMAGE,
                  "Recieve unsupported channel %d or hist_size %d from index %d", hist_channels[i], hist_size[i],
                  static_cast<int32_t>(i));
    const int64_t span = int64_t{hrange_max[i]} - hrange_min[i] + 1;
    axes.axis[i] = {static_cast<size_t>(hist_channels[i]), span, std::max<int64_t>(span, 0) / hist_size[i],
                    int64_t{hist_size[i]} - 1, static_cast<uint32_t>(axes.bins)};
    axes.bins *= static_cast<size_t>(hist_size[i]);
    TAMIX_REQUIRE(axes.bins <= std::numeric_limits<int32_t>::max(), TAMIX_ERR_INVALID_IMAGE,
                  "Recieve unsupported hist_size %d from index %d", hist_size[i], static_cast<int32_t>(i));
  }

  std::memset(hist, 0, axes.bins * sizeof(uint32_t));
  const auto from = plane(src, src_width_stride, channel);
  const uint64_t pixels = static_cast<uint64_t>(std::max(height, 0)) * rowElements(width);
  if (axes.count == 0) {
    hist[0] = static_cast<uint32_t>(pixels);
  } else if (pixels == 0) {
    // Nothing to count, however many rows.
  } else if (axes.count == 1 && channel == 1) {
    countGray(from, height, width, axes.axis[0], hist);
  } else {
    countInterleaved(from, height, rowElements(width), channel, axes, hist);
  }

  uint64_t sum = 0;
  for (size_t i = 0; i < axes.bins; ++i) sum += hist[i];
  // An image of a negative size has no pixels, but a product of sizes.
  const int64_t area = int64_t{height} * width;
  TAMIX_REQUIRE(static_cast<int64_t>(sum) == area, TAMIX_ERR_INVALID_CALL, "number_sum != height * width: %d != %d",
                static_cast<int32_t>(sum), static_cast<int32_t>(area));
  return TAMIX_OK;
}

}  // namespace tamix
HWY_AFTER_NAMESPACE();
