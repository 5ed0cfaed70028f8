// The number of non-zero bytes of a single-channel image.
#pragma once

#include <cstdint>

namespace tamix {

// Counts the non-zero bytes of an unpadded image, modulo 2^32. Returns TAMIX_OK, TAMIX_ERR_INVALID_IMAGE for a null plane or
// count, TAMIX_ERR_UNSUPPORTED for rows with padding, TAMIX_ERR_ILLEGAL_SHAPE for several channels. An empty image has none.
// num_threads is not read.
int32_t countNonZeroCPUUINT8(const uint8_t* src, uint32_t* count, int32_t height, int32_t width, int32_t src_width_stride,
                             int32_t channel, int32_t num_threads);

}  // namespace tamix
