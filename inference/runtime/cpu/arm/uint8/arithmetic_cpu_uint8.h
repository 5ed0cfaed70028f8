// Element-wise arithmetic of two interleaved images: dst[i] = f(src1[i], src2[i]) for every i below width * channel of a row.
//
// Widths count pixels, strides pixels from a row to the next. All return TAMIX_OK, or TAMIX_ERR_INVALID_IMAGE for null planes;
// a height below 1 does nothing. In place is fine. num_threads is not read.
#pragma once

#include <cstdint>

namespace tamix {

// min(a + b, 255) and max(a - b, 0).
int32_t addCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                    int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                    int32_t num_threads);
int32_t subtractCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                         int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                         int32_t num_threads);

// Single precision. Division multiplies by the refined reciprocal in a row's whole blocks of 8 elements and divides in its
// tail.
int32_t addCPUFLOAT32(const float* src1, const float* src2, float* dst, int32_t height, int32_t width,
                      int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                      int32_t num_threads);
int32_t subtractCPUFLOAT32(const float* src1, const float* src2, float* dst, int32_t height, int32_t width,
                           int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                           int32_t num_threads);
int32_t multipleCPUFLOAT32(const float* src1, const float* src2, float* dst, int32_t height, int32_t width,
                           int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                           int32_t num_threads);
int32_t divideCPUFLOAT32(const float* src1, const float* src2, float* dst, int32_t height, int32_t width,
                         int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                         int32_t num_threads);

// The exact integer result as a float; division of the floats as above, with blocks of 32 elements.
int32_t addCPUUINT8toFLOAT32(const uint8_t* src1, const uint8_t* src2, float* dst, int32_t height, int32_t width,
                             int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                             int32_t num_threads);
int32_t subtractCPUUINT8toFLOAT32(const uint8_t* src1, const uint8_t* src2, float* dst, int32_t height, int32_t width,
                                  int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride,
                                  int32_t channel, int32_t num_threads);
int32_t multipleCPUUINT8toFLOAT32(const uint8_t* src1, const uint8_t* src2, float* dst, int32_t height, int32_t width,
                                  int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride,
                                  int32_t channel, int32_t num_threads);
int32_t divideCPUUINT8toFLOAT32(const uint8_t* src1, const uint8_t* src2, float* dst, int32_t height, int32_t width,
                                int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                                int32_t num_threads);

// The single-precision result truncated and saturated to 0..255; NaN gives 0.
int32_t addCPUFLOAT32toUINT8(const float* src1, const float* src2, uint8_t* dst, int32_t height, int32_t width,
                             int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                             int32_t num_threads);
int32_t subtractCPUFLOAT32toUINT8(const float* src1, const float* src2, uint8_t* dst, int32_t height, int32_t width,
                                  int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride,
                                  int32_t channel, int32_t num_threads);
int32_t multipleCPUFLOAT32toUINT8(const float* src1, const float* src2, uint8_t* dst, int32_t height, int32_t width,
                                  int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride,
                                  int32_t channel, int32_t num_threads);
int32_t divideCPUFLOAT32toUINT8(const float* src1, const float* src2, uint8_t* dst, int32_t height, int32_t width,
                                int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                                int32_t num_threads);

}  // namespace tamix
