// 3x3 filters of 8-bit interleaved images whose four corner weights are equal, and whose four edge weights are equal.
//
// For the neighbourhood of a byte (its neighbours are `channel` bytes and one row away):
//   corners = sum of the 4 diagonal neighbours, edges = sum of the 4 direct ones, centre = the byte itself,
//   sum = corner weight * corners + edge weight * edges + centre weight * centre.
#pragma once

#include <algorithm>
#include <cstdint>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix {

// dst = clamp(floor(sum / 4096), 0, 255) in 32-bit arithmetic with the weights kernel[0], kernel[1] and kernel[4] times 4096,
// truncated and saturated to 16 bits. `kernel`: 9 floats. In place is fine. Widths below 8 are refused.
int32_t filter3x3SymmetricalKernelCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width,
                                           int32_t src_width_stride, int32_t dst_width_stride, int32_t channel,
                                           const float* kernel, int32_t border_type, int32_t border_value, int32_t num_threads);

// The same for 3 channels and TAMIX_BORDER_REFLECT_101. Heights below 2, which have no row to mirror, are refused too.
int32_t filter3x3Channel3SymmetricalKernelBorderCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width,
                                                         int32_t src_width_stride, int32_t dst_width_stride,
                                                         const float* kernel);

// Weights of filter3x3Integer, whose sums must fit 16 bits to be exact; they wrap otherwise.
struct IntegerWeights {
  int16_t corner;
  int16_t edge;
  int16_t centre;
};

// dst = clamp(sum, 0, 255), or min(|sum|, 255) where `absolute`. False without memory; the border must be one that isBorder().
bool filter3x3Integer(Plane<const uint8_t> src, Plane<uint8_t> dst, int32_t height, int32_t width, int32_t channel,
                      IntegerWeights weights, bool absolute, int32_t border_type, int32_t border_value);

// dst = byte(finish(sum)), the sum over all nine weights in single precision, row by row from the top left, the border being
// TAMIX_BORDER_REFLECT_101; `finish` gives 0..255. Slow: for images that the fixed-point forms refuse. False without memory.
template <class Finish>
bool filter3x3Float(Plane<const uint8_t> src, Plane<uint8_t> dst, int32_t height, int32_t width, int32_t channel,
                    const float* kernel, const Finish& finish) {
  if (rowElements(width, channel) == 0) return true;  // empty rows may lie anywhere
  const StableSource<uint8_t> source(src, dst, height, rowElements(width, channel));
  if (!source) return false;
  const auto inside = [](int64_t p, int64_t n) { return borderIndex(p, n, TAMIX_BORDER_REFLECT_101); };
  for (int64_t y = 0; y < height; ++y) {
    const uint8_t* rows[3];
    for (int r = 0; r < 3; ++r) rows[r] = source.plane().row(inside(y + r - 1, height));
    uint8_t* const out = dst.row(y);
    for (int64_t x = 0; x < width; ++x) {
      const int64_t columns[3] = {inside(x - 1, width) * channel, x * channel, inside(x + 1, width) * channel};
      for (int64_t c = 0; c < channel; ++c) {
        float sum = 0.0f;
        for (int k = 0; k < 9; ++k) sum += kernel[k] * static_cast<float>(rows[k / 3][columns[k % 3] + c]);
        const float value = finish(sum);
        out[columns[1] + c] = value > 0.0f ? static_cast<uint8_t>(value) : uint8_t{0};
      }
    }
  }
  return true;
}

}  // namespace tamix
