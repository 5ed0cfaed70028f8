// Histograms of 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// Counts the pixels of an interleaved image into a histogram of hist_dims (0 to 4) dimensions. Dimension i reads channel
// hist_channels[i], whose values v below span = hrange_max[i] - hrange_min[i] + 1 fall into hist_size[i] bins of
// step = span / hist_size[i] values; the last bin takes the rest up to span, bin 0 takes values from span on. A pixel counts in
// hist[bin_0 + hist_size[0] * (bin_1 + hist_size[1] * (bin_2 + ...))]. src_width_stride counts pixels.
// TAMIX_ERR_INVALID_IMAGE: null pointers; settings out of range; a histogram of 2^31 bins or more. TAMIX_ERR_INVALID_CALL: a
// bin overflowed (2^32 pixels).
int32_t calcHistCPUUINT8(const uint8_t* src, uint32_t* hist, int32_t height, int32_t width, int32_t src_width_stride,
                         int32_t channel, int32_t hist_dims, const int32_t* hist_channels, const int32_t* hrange_max,
                         const int32_t* hrange_min, const int32_t* hist_size, int32_t num_threads);

}  // namespace tamix
