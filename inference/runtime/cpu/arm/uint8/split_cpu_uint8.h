// Separation of interleaved 8-bit channels.
#pragma once

#include <cstdint>

namespace tamix {

// Element 3k + j of src goes to element k of plane j, over width * height pixels as one run. Serves three channels and packed
// rows (width == width_stride) only; dst3 is not written.
int32_t splitCPUUINT8(const uint8_t* src, int32_t height, int32_t width, int32_t width_stride, uint8_t* dst0, uint8_t* dst1,
                      uint8_t* dst2, uint8_t* dst3, int32_t dst_width_stride, int32_t channels, int32_t num_threads);

}  // namespace tamix
