// Two images joined side by side or one below the other, with a blended band where they overlap.
#pragma once

#include <cstdint>

namespace tamix {

// direction 1: src1 to the right of src0, otherwise below. The band takes the last `overlap` columns (rows) of src0 and the
// first of src1; in its column (row) k a channel becomes trunc(w * s1) + trunc((1 - w) * s0) with w = weights[k], saturated to
// 0..255; the products are formed in single precision, and NaN gives 0.
//
// All images are packed and have three channels. The joined size, in pixels, is written to dst_height and dst_width once the
// pointers are known to be there. Returns TAMIX_OK, TAMIX_ERR_INVALID_IMAGE for null pointers, TAMIX_ERR_ILLEGAL_RECT where the
// sizes along the join differ, or where the band is negative or larger than an image, TAMIX_ERR_UNSUPPORTED for other channel
// counts. num_threads is not read.
int32_t imageFuseOverlapCPUUINT8(const uint8_t* src0, int32_t height0, int32_t width0, const uint8_t* src1, int32_t height1,
                                 int32_t width1, uint8_t* dst, int32_t* dst_height, int32_t* dst_width, int32_t channel,
                                 const float* weights, int32_t overlap, int32_t direction, int32_t num_threads);

}  // namespace tamix
