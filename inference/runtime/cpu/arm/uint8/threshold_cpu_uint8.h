// Threshold of 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// dst = rule(src, t) for every byte of rows of width * channel bytes; strides count pixels; dst may be src. The low 3 bits of
// thresh_type are the rule: 0 s > t ? m : 0, 1 s > t ? 0 : m, 2 min(s, t), 3 s > t ? s : 0, 4 s > t ? 0 : s; rules 5 to 7 are
// refused. The rest is the source of the threshold: 8 Otsu's and 16 the triangle method, which store what they find in *thresh,
// anything else *thresh itself. t = floor(*thresh), m = maxval rounded half away from zero and saturated to a byte; NaN counts
// as 0. Null pointers and undefined rules give TAMIX_ERR_UNSUPPORTED.
int32_t thresholdCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t channel,
                          int32_t src_width_stride, int32_t dst_width_stride, double* thresh, int32_t thresh_type,
                          int32_t num_threads, double maxval);

}  // namespace tamix
