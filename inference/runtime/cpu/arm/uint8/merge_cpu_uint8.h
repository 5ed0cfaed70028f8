// Interleaving of 8-bit planes.
#pragma once

#include <cstdint>

namespace tamix {

// Element k of plane j goes to element 3k + j of dst, over width * height pixels as one run. Serves three channels and packed
// rows (width == width_stride) only; src3 is not read.
int32_t mergeCPUUINT8(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2, const uint8_t* src3, int32_t height,
                      int32_t width, int32_t width_stride, uint8_t* dst, int32_t channels, int32_t num_threads);

}  // namespace tamix
