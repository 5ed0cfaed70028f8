// Turns of 8-bit images by multiples of 90 degrees.
#pragma once

#include <cstdint>

namespace tamix {

// rotate_type 0: clockwise; 1: half a turn; 2: counter-clockwise. dst has src's size for half a turn, else src's height as its
// width and the other way round. A half turn takes 1, 3 or 4 channels, and src and dst may be the same image; a quarter turn
// takes up to 4 channels and is the nearest warp with a replicated border, refusals included. Not in place: a quarter turn.
int32_t rotateCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t src_width, int32_t src_height, int32_t src_stride,
                       int32_t dst_stride, int32_t channels, int32_t rotate_type, int32_t num_threads);

}  // namespace tamix
