// Interleaved colour to gray.
#pragma once

#include <cstdint>

namespace tamix {

// Red is byte red_index of a pixel (0 to 2), green byte 1, blue byte 2 - red_index; a fourth channel is ignored. Strides count
// pixels. In place is fine.
int32_t color3ToGRAYCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                             int32_t dst_width_stride, int32_t red_index, int32_t num_threads);
int32_t color4ToGRAYCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                             int32_t dst_width_stride, int32_t red_index, int32_t num_threads);

}  // namespace tamix
