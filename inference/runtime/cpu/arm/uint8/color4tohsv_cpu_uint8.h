// RGBA and BGRA to HSV with the hue in 0..179.
#pragma once

#include <array>
#include <cstdint>

namespace tamix {

// Quotients in 12-bit fixed point: entry i is 255 * 4096 / i for the saturation and 180 * 4096 / (6 i) for the hue, truncated;
// entry 0 is 0.
using HSVTable = std::array<int32_t, 256>;
void buildSaturationTable(int32_t* table);
void buildHueTable(int32_t* table);

// Four bytes a pixel to H, S, V; alpha is ignored. Strides count pixels and must equal the width: the image is one run of
// pixels. Tables that are null are built for the call. In place is fine.
int32_t RGBAToHSVCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                          int32_t dst_width_stride, const int32_t* saturation, const int32_t* hue, int32_t num_threads);
int32_t BGRAToHSVCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                          int32_t dst_width_stride, const int32_t* saturation, const int32_t* hue, int32_t num_threads);

}  // namespace tamix
