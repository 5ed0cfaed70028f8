// The complement of an interleaved image, and with an optional mask.
#pragma once

#include <cstdint>

namespace tamix {

// dst = ~src, or mask & ~src. Strides count pixels; the mask (null: none) is packed, width * channel bytes a row. Returns
// TAMIX_OK, or TAMIX_ERR_INVALID_IMAGE for null planes; a height below 1 does nothing. In place is fine. num_threads is not
// read.
int32_t bitwiseNotCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                           int32_t dst_width_stride, int32_t channel, const uint8_t* mask, int32_t num_threads);

}  // namespace tamix
