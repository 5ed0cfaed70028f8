// Nearest-neighbour resize of 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// Every destination pixel copies the source pixel whose cell holds its centre. 1, 3 or 4 interleaved channels; strides count
// pixels; num_threads is not read. Returns TAMIX_OK, TAMIX_ERR_INVALID_IMAGE (null), TAMIX_ERR_UNSUPPORTED (other channel
// counts) or TAMIX_ERR_NO_MEMORY.
int32_t resizeNearestCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                              int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels, int32_t num_threads);

// The same for the chroma pairs of NV12 and NV21 images; `channels` is 2.
int32_t resizeNearestPairsCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                                   int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels,
                                   int32_t num_threads);

}  // namespace tamix
