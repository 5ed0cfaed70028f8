// Mean filter of float images.
#pragma once

#include <cstdint>

namespace tamix {

// Mean of the kernel_size x kernel_size window (3 or 5) around every pixel of one channel: the single-precision sum of the
// window, row by row from the top left, divided by 9 or 25. Size 3 mirrors the image at its edges without repeating the edge
// pixel; size 5 copies the two outermost rows and columns of each side. Rows are packed, whatever the strides say: row y
// starts at element y * width. dst may overlap src. At least 2x2 pixels for size 3, 5x5 for size 5.
// TAMIX_ERR_INVALID_IMAGE: null pointers. TAMIX_ERR_UNSUPPORTED: other channel counts or kernel sizes, smaller images, a dst of
// another size. TAMIX_ERR_NO_MEMORY: no memory for the copy that an overlap needs.
int32_t meanFilterCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_width_stride, float* dst,
                             int32_t dst_height, int32_t dst_width, int32_t dst_width_stride, int32_t channel,
                             int32_t kernel_size, int32_t num_threads);

}  // namespace tamix
