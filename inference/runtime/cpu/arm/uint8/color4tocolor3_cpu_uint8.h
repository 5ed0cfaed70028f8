// Interleaved colour without its fourth channel.
#pragma once

#include <cstdint>

namespace tamix {

// Writes a pixel's byte src_red_index to dst_red_index, then byte 1 to byte 1, then byte 2 - src_red_index to
// 2 - dst_red_index. Red indices are 0 to 2. Strides count pixels. In place is fine.
int32_t color4ToColor3CPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                               int32_t dst_width_stride, int32_t src_red_index, int32_t dst_red_index, int32_t num_threads);

}  // namespace tamix
