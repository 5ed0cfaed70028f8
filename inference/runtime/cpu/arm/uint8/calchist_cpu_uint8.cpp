#include "inference/runtime/cpu/arm/uint8/calchist_cpu_uint8.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "inference/runtime/cpu/arm/common/byte_histogram.h"
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

// Any channels and bins, pixel by pixel.
void countPixels(Plane<const uint8_t> src, int32_t height, int32_t width, size_t channels, const Axes& axes, uint32_t* hist) {
  std::array<Offsets, kMostDims> offsets;
  for (size_t k = 0; k < axes.count; ++k) offsets[k] = offsetsOf(axes.axis[k]);
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* pixel = src.row(y);
    for (int32_t x = 0; x < width; ++x, pixel += channels) {
      uint32_t bin = 0;
      for (size_t k = 0; k < axes.count; ++k) bin += offsets[k][pixel[axes.axis[k].channel]];
      ++hist[bin];
    }
  }
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
  } else if (axes.count == 1 && channel == 1) {
    countGray(from, height, width, axes.axis[0], hist);
  } else {
    countPixels(from, height, width, static_cast<size_t>(channel), axes, hist);
  }

  uint64_t sum = 0;
  for (size_t i = 0; i < axes.bins; ++i) sum += hist[i];
  TAMIX_REQUIRE(sum == pixels, TAMIX_ERR_INVALID_CALL, "number_sum != height * width: %d != %d", static_cast<int32_t>(sum),
                static_cast<int32_t>(pixels));
  return TAMIX_OK;
}

}  // namespace tamix
HWY_AFTER_NAMESPACE();
