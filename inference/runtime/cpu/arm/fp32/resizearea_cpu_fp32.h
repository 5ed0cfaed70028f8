// Area resize of float images.
#pragma once

#include <cstdint>

namespace tamix {

// Shrinks an interleaved image to dst_height x dst_width: every result is the mean of the source pixels that it covers, within
// its half of the rows, with the weights, order of additions and halves of resizeAreaCPUUINT8, without its rounding. Strides
// count pixels and are honoured. Where the destination is larger in either direction: resizeBilinearCPUFLOAT32. Returns
// TAMIX_OK, TAMIX_ERR_INVALID_IMAGE (null), TAMIX_ERR_NO_MEMORY, or TAMIX_ERR_BAD_ARGUMENT for channel counts other than 1 to 4
// (not logged).
int32_t resizeAreaCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_stride, float* dst,
                             int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels);

}  // namespace tamix
