// Bilinear resize of float images.
#pragma once

#include <cstdint>

namespace tamix {

// Resizes an interleaved image of 1 to 4 channels to dst_height x dst_width; strides count pixels. Weights are floats: h = a +
// wx * (b - a) along the rows, then h0 + wy * (h1 - h0). Returns TAMIX_OK, TAMIX_ERR_INVALID_IMAGE (null), TAMIX_ERR_NO_MEMORY,
// or TAMIX_ERR_BAD_ARGUMENT for other channel counts (not logged).
int32_t resizeBilinearCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_stride, float* dst,
                                 int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels);

}  // namespace tamix
