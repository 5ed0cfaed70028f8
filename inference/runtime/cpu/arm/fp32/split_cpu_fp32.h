// Separation of interleaved float channels.
#pragma once

#include <cstdint>

namespace tamix {

// Element 3k + j of src goes to element k of plane j, over width * height pixels as one run. Serves three channels and packed
// rows (width == width_stride) only; dst3 is not written.
int32_t splitCPUFLOAT32(const float* src, int32_t height, int32_t width, int32_t width_stride, float* dst0, float* dst1,
                        float* dst2, float* dst3, int32_t dst_width_stride, int32_t channels, int32_t num_threads);

}  // namespace tamix
