// RGB to CIE L*a*b*.
#pragma once

#include <cstdint>

namespace tamix {

// Three bytes R, G, B of sRGB to L * 255 / 100, a + 128, b + 128 with the D65 white point. Strides count pixels. In place is
// fine.
int32_t RGBToLABCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                         int32_t dst_width_stride, int32_t channels, int32_t num_threads);

}  // namespace tamix
