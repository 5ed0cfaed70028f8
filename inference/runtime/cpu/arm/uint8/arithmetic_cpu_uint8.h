// Element-wise arithmetic of two interleaved images: dst[i] = f(src1[i], src2[i]) for every i below width * channel of a row.
#pragma once

#include <cstdint>

namespace tamix {

// Widths count pixels, strides pixels from a row to the next. Returns TAMIX_OK, or TAMIX_ERR_INVALID_IMAGE for null planes; a
// height below 1 does nothing. In place is fine. num_threads is not read.
template <class In, class Out, class In2 = In>
using ArithmeticKernel = int32_t(const In* src1, const In2* src2, Out* dst, int32_t height, int32_t width,
                                 int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride,
                                 int32_t channel, int32_t num_threads);

// min(a + b, 255) and max(a - b, 0).
ArithmeticKernel<uint8_t, uint8_t> addCPUUINT8, subtractCPUUINT8;

// Single precision. Division multiplies by the refined reciprocal in a row's whole blocks of 8 elements and divides in its
// tail.
ArithmeticKernel<float, float> addCPUFLOAT32, subtractCPUFLOAT32, multipleCPUFLOAT32, divideCPUFLOAT32;

// The exact integer result as a float; division of the floats as above, with blocks of 32 elements.
ArithmeticKernel<uint8_t, float> addCPUUINT8toFLOAT32, subtractCPUUINT8toFLOAT32, multipleCPUUINT8toFLOAT32,
    divideCPUUINT8toFLOAT32;

// The single-precision result truncated and saturated to 0..255; NaN gives 0.
ArithmeticKernel<float, uint8_t> addCPUFLOAT32toUINT8, subtractCPUFLOAT32toUINT8, multipleCPUFLOAT32toUINT8,
    divideCPUFLOAT32toUINT8;

// As the kernels of floats alone, with bytes for one of the inputs; they must not share memory with dst.
ArithmeticKernel<uint8_t, float, float> addBytesAndFloats, subtractBytesAndFloats, multiplyBytesAndFloats, divideBytesAndFloats;
ArithmeticKernel<float, float, uint8_t> addFloatsAndBytes, subtractFloatsAndBytes, multiplyFloatsAndBytes, divideFloatsAndBytes;

}  // namespace tamix
