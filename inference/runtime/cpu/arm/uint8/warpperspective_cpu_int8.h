// Warping an image through a plane transform.
#pragma once

#include <cstdint>

namespace tamix {

// dst(x, y) = src at the inverse image of (x, y). `matrix`: nine packed floats by row, source to destination, or with
// TAMIX_INTERPOLATION_INVERSE_MAP in `interpolation` destination to source. Strides count pixels. border_type: 0 constant, 1
// replicate (nearest and bilinear only). border_value: a byte per channel; null stands for zeros. Channels: 1 and 3, for
// nearest also 4, and 2 with replicated border; for other counts up to 4 one error line is logged, nothing is written and
// TAMIX_OK returned. Every other refusal, a singular matrix among them, is TAMIX_ERR_UNSUPPORTED.
//
// Positions are single precision, x times the first coefficient plus the row's term, over W. The nearest path divides, and so
// do the last dst_width % 4 columns of the others; the rest multiplies by 1 / W as an Arm reciprocal estimate with two
// refinement steps, on every machine. Where a position is NaN or infinite (W = 0), nearest takes NaN as 0 and infinity as
// outside, bilinear gives 0, bicubic takes NaN as 0.
int32_t warpPerspectiveCPUUINT8(const uint8_t* src, uint8_t* dst, const float* matrix, int32_t src_width, int32_t src_height,
                                int32_t src_stride, int32_t dst_width, int32_t dst_height, int32_t dst_stride, int32_t channels,
                                int32_t interpolation, int32_t border_type, const uint8_t* border_value, int32_t num_threads);

}  // namespace tamix
