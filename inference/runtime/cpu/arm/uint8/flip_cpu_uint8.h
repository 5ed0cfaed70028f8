// Mirroring of 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// flip_code 0: upside down; positive: left to right; negative: both. Images of 1, 3 or 4 channels; src and dst may be the same
// image, with the same stride.
int32_t flipCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_stride, int32_t dst_stride,
                     int32_t channels, int32_t flip_code, int32_t num_threads);

}  // namespace tamix
