// Transposition of 8-bit images.
#pragma once

#include <cstdint>

#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix {

// dst pixel (x, y) = src pixel (y, x). Images of 3 or 4 channels; dst is src_width rows of src_height pixels and not src
// itself.
int32_t transposeCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t src_height, int32_t src_width, int32_t src_stride,
                          int32_t dst_stride, int32_t channels, int32_t num_threads);

// The same for pixels of 1 to 4 bytes and rows in any order: with the rows of src or dst upside down it is a quarter turn.
void transposePixels(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst, size_t src_height, size_t src_width,
                     int32_t channels);

}  // namespace tamix
