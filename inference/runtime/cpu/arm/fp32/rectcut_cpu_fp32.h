// Cutting of a rectangle out of a float image.
#pragma once

#include <cstdint>

namespace tamix {

// Copies the rectangle of width x height pixels at (left, top) of src, which must hold it, to the first rows of dst.
int32_t rectCutCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_stride, float* dst,
                          int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels, int32_t left,
                          int32_t top, int32_t width, int32_t height, int32_t num_threads);

}  // namespace tamix
