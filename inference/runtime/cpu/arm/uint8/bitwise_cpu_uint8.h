// Bitwise and, or, exclusive or of two interleaved images and an optional mask, which is one more operand.
//
// Strides count pixels. The mask (null: none) has src2's pitch and channels. All return TAMIX_OK, or TAMIX_ERR_INVALID_IMAGE
// for null planes; a height below 1 does nothing. In place is fine; where planes overlap otherwise, bytes are taken one at a
// time, in order. num_threads is not read.
#pragma once

#include <cstdint>

namespace tamix {

int32_t bitwiseAndCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                           int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                           const uint8_t* mask, int32_t num_threads);
int32_t bitwiseOrCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                          int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                          const uint8_t* mask, int32_t num_threads);
int32_t bitwiseXorCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                           int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                           const uint8_t* mask, int32_t num_threads);

}  // namespace tamix
