// Conversion of a plane between 8-bit and float elements.
#pragma once

#include <cstdint>

#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix {

// Both convert height rows of width * channels elements; strides count pixels. `copy` reads from a private copy of the source,
// so that src and dst may be the same memory. Return TAMIX_OK, TAMIX_ERR_INVALID_IMAGE (null) or TAMIX_ERR_NO_MEMORY.

// dst = low 8 bits of src truncated toward zero: to an unsigned 32-bit integer in a row's whole blocks of 16 elements, to a
// signed one in the rest, where -1.0 gives 255 instead of 0.
int32_t dataFLOAT32ToUINT8(const float* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_stride,
                           int32_t dst_stride, int32_t channels, bool copy);

// dst = src, exactly.
int32_t dataUINT8ToFLOAT32(const uint8_t* src, float* dst, int32_t height, int32_t width, int32_t src_stride,
                           int32_t dst_stride, int32_t channels, bool copy);

// The conversions alone, of n elements in each of height rows; the planes do not overlap.
void convertRows(Plane<const float> src, Plane<uint8_t> dst, int32_t height, size_t n);
void convertRows(Plane<const uint8_t> src, Plane<float> dst, int32_t height, size_t n);

}  // namespace tamix
