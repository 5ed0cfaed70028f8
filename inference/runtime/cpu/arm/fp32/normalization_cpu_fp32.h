// Normalization to floats.
#pragma once

#include <cstdint>

namespace tamix {

// dst = (src - mean[c]) * (1 / std[c]) for every channel c of 1 or 3. Rows are unpadded: both strides equal the width. Three
// channels with reorder 1 become three planes, in the order of the channels where the formats are equal, else last channel
// first; otherwise pixels stay interleaved. dst may be src. A zero of std beyond std[0] gives infinities.
// TAMIX_ERR_INVALID_IMAGE: null pointers. TAMIX_ERR_INVALID_ARGUMENT: an empty image, or std[0] is 0. TAMIX_ERR_UNSUPPORTED:
// padded rows, other channel counts. TAMIX_ERR_NO_MEMORY: no memory for the copy that reordering in place needs.
int32_t normalizationCPUFLOAT32(const float* src, float* dst, int32_t height, int32_t width, int32_t src_width_stride,
                                int32_t dst_width_stride, int32_t channel, const float* mean, const float* std, int32_t reorder,
                                int32_t src_format, int32_t dst_format, int32_t num_threads);

// Whether normalizationCPUFLOAT32 takes an image of this layout.
bool isNormalizable(int32_t height, int32_t width, int32_t src_width_stride, int32_t dst_width_stride, int32_t channel,
                    const float* std);

// The same from bytes, for an image that isNormalizable and a dst apart from src.
void normalizeBytes(const uint8_t* src, float* dst, int32_t height, int32_t width, int32_t channel, const float* mean,
                    const float* std, int32_t reorder, int32_t src_format, int32_t dst_format);

}  // namespace tamix
