// Cutting of a rectangle out of an 8-bit image.
#pragma once

#include <cstdint>

namespace tamix {

// Copies the rectangle of width x height pixels at (left, top) of src, which must hold it, to the first rows of dst.
int32_t rectCutCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                        int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels, int32_t left, int32_t top,
                        int32_t width, int32_t height, int32_t num_threads);

}  // namespace tamix
