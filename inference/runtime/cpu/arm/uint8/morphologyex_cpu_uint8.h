// Erosion, dilation, opening and closing of 3-channel 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// morph_type: TamixMorphType. `kernel` as for erodeCPUUINT8; null builds the element of `shape` (TamixMorphShape; others have
// the top left member only), whose cross goes through row 1 and column 1. An element that is no rectangle and has more than
// 2^31 - 1 bytes is out of memory. Opening erodes `iterations` times and then dilates as often, closing the other way round.
int32_t morphologyExCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                             int32_t dst_width_stride, int32_t channel, int32_t morph_type, int32_t kernel_height,
                             int32_t kernel_width, const uint8_t* kernel, const void* anchor, int32_t border_type,
                             int32_t border_value, int32_t iterations, int32_t shape, int32_t num_threads);

}  // namespace tamix
