// Turning and scaling an image about its centre.
#pragma once

#include <cstdint>

namespace tamix {

// Rotates by `angle` degrees and scales by `scale` about the source's centre, bilinear with 11-bit weights. Rows are packed:
// the pitch of an image is channels * its width, and the strides have no effect. The walk covers src_height rows of src_width
// pixels. Pixels whose four neighbours do not all lie inside the source are not written; a scale of 0 takes all pixels from
// the first one. src and dst must not overlap. Any number of channels. Sine and cosine are those of the C library in double
// precision; where two libraries differ in their last bit, a position can differ in the last bit of its single precision.
int32_t warpAffineCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                           int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels, int32_t angle,
                           int32_t scale, int32_t num_threads);

}  // namespace tamix
