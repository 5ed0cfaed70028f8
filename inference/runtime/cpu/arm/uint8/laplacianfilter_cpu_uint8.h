// The Laplacian of 8-bit interleaved images.
#pragma once

#include <cstdint>

namespace tamix {

// dst = clamp(sum, 0, 255), or min(|sum|, 255) where `absolute` is not 0: sum = corner * corners + edge * edges + centre *
// value, in 16 bits, with the weights kernel[0], kernel[1] and kernel[4] truncated to integers. Widths below 8 and heights
// below 2 are refused.
int32_t laplacianCPUUINT16toUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                                  int32_t dst_width_stride, int32_t channel, const float* kernel, int32_t border_type,
                                  int32_t border_value, int32_t absolute, int32_t num_threads);

// Filters with a kernel of size 1 ([0 1 0; 1 -4 1; 0 1 0] where `kernel` is null) or 3 ([2 0 2; 0 -8 0; 2 0 2]); both are 9
// floats. abs_output 1 writes absolute values. Where the image is too small for the fast paths, or its border cannot be made,
// dst = min(|scale * sum + delta|, 255) with a mirrored border, and the failure's status is returned all the same.
int32_t laplacianFilterCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                                int32_t dst_width_stride, int32_t channel, int32_t kernel_height, int32_t kernel_width,
                                const float* kernel, int32_t border_type, int32_t border_value, int32_t abs_output,
                                int32_t num_threads, float scale, float delta);

}  // namespace tamix
