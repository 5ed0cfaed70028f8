// Statistics of 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// Mean and standard deviation of each of 1, 3 or 4 channels. src_width_stride counts pixels; three channels need unpadded
// rows. std = sqrt(s - mean * mean) in floats, s being the mean of the squares, truncated to an integer for three channels;
// NaN where that difference is negative. Sums are 64 bits wide. Nothing is written for an empty image.
// TAMIX_ERR_INVALID_IMAGE: null pointers. TAMIX_ERR_UNSUPPORTED: other channel counts, padded rows of three channels.
int32_t meanSTDCPUUINT8(const uint8_t* src, int32_t width, int32_t height, int32_t src_width_stride, int32_t channel,
                        float* mean, float* std, int32_t num_threads);

}  // namespace tamix
