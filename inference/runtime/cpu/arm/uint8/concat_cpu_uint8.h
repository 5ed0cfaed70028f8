// Joining of up to four 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// Both join the first image_count images. Rows are packed on both sides: `width * channels` bytes each, whatever the images'
// strides say. Refuse null planes among those images, counts above 4 or below 0, and sizes that do not add up to the output's.
// Images of negative size are empty, and nothing is written behind the output.

// One below the other: images of one width, which is the output's.
int32_t hconcatCPUUINT8(const uint8_t* src0, int32_t height0, const uint8_t* src1, int32_t height1, const uint8_t* src2,
                        int32_t height2, const uint8_t* src3, int32_t height3, int32_t width, uint8_t* dst, int32_t dst_height,
                        int32_t dst_width, int32_t channels, int32_t image_count, int32_t num_threads);

// Side by side: images of one height, which is the output's.
int32_t vconcatCPUUINT8(const uint8_t* src0, int32_t width0, const uint8_t* src1, int32_t width1, const uint8_t* src2,
                        int32_t width2, const uint8_t* src3, int32_t width3, int32_t height, uint8_t* dst, int32_t dst_height,
                        int32_t dst_width, int32_t channels, int32_t image_count, int32_t num_threads);

}  // namespace tamix
