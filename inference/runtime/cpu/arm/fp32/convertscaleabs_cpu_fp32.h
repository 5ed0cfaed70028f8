// A scaled and shifted float image.
#pragma once

#include <cstdint>

namespace tamix {

// dst = src * scale + offset in double precision, stored as float; no absolute value is taken, nothing is clamped. Strides
// count pixels; the sizes of src and dst agree. Returns TAMIX_OK, or TAMIX_ERR_INVALID_IMAGE for null planes; a height below 1
// does nothing. In place is fine. num_threads is not read.
int32_t convertScaleAbsCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_width_stride, float* dst,
                                  int32_t dst_height, int32_t dst_width, int32_t dst_width_stride, double scale, double offset,
                                  int32_t channel, int32_t num_threads);

}  // namespace tamix
