// The absolute value of a scaled and shifted image.
#pragma once

#include <cstdint>

namespace tamix {

// dst = |src * scale + offset|, truncated and saturated to 255: in single precision in a row's whole blocks of 16 bytes, in
// double precision in its tail. NaN gives 0. Strides count pixels; the sizes of src and dst agree. Returns TAMIX_OK, or
// TAMIX_ERR_INVALID_IMAGE for null planes; a height below 1 does nothing. In place is fine. num_threads is not read.
int32_t convertScaleAbsCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_width_stride,
                                uint8_t* dst, int32_t dst_height, int32_t dst_width, int32_t dst_width_stride, double scale,
                                double offset, int32_t channel, int32_t num_threads);

}  // namespace tamix
