// A fourth channel for interleaved colour.
#pragma once

#include <cstdint>

namespace tamix {

// Copies three bytes of every pixel and sets the fourth to 0. Strides count pixels.
int32_t color3ToColor4CPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                               int32_t dst_width_stride, int32_t num_threads);

}  // namespace tamix
