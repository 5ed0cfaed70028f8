// CIE L*a*b* to RGB.
#pragma once

#include <cstdint>

namespace tamix {

// The inverse of RGBToLABCPUUINT8. With four destination channels the last is 255; another number counts as three. Strides
// count pixels. In place is fine with three channels.
int32_t LABToRGBCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                         int32_t dst_width_stride, int32_t dst_channels, int32_t num_threads);

}  // namespace tamix
