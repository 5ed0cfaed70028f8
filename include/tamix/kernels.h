/*
 * The exported kernels of Tamix Camera: plain pointers in, status out, no instance needed. C99 and C++11.
 *
 * Every kernel checks its pointers first ("Recieved null data pointer", TAMIX_ERR_INVALID_IMAGE). Sizes are in pixels. A
 * plane of h rows is (h - 1) * pitch + row bytes long; padding is neither read nor written. Empty sizes do nothing.
 */
#ifndef TAMIX_KERNELS_H_
#define TAMIX_KERNELS_H_

#include "tamix/tamix.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Smooths an image of interleaved 8-bit channels with a symmetric 3x3 kernel. `kernel`: 9 floats row by row, of which the
 * corner kernel[0], the edge kernel[1] and the centre kernel[4] count; null builds the sampled Gaussian of `sigma` (0: 0.8).
 * The weights times 4096, truncated and saturated to 16 bits, give floor(sum / 4096), clamped to 0..255. Kernels of another size
 * than 3x3 return TAMIX_OK and leave dst alone. border_type: a TamixBorderType, -1 standing for TAMIX_BORDER_REFLECT_101.
 *
 * Widths below 8, heights below 2 of 3 mirrored channels, unknown borders (TAMIX_ERR_UNSUPPORTED), constant borders outside
 * 0..255 (TAMIX_ERR_INVALID_IMAGE) and failed allocations (TAMIX_ERR_NO_MEMORY) are reported, and dst is filled nevertheless, in
 * single precision with a mirrored border and all nine weights; a line or column that has no neighbour mirrors itself. More than
 * 4 channels are not filled then. In place is fine.
 */
TAMIX_API int32_t gaussianFilterCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width,
                                         int32_t src_width_stride, int32_t dst_width_stride, int32_t channel,
                                         int32_t kernel_height, int32_t kernel_width, const float* kernel, int32_t border_type,
                                         int32_t border_value, int32_t num_threads, float sigma);

#ifdef __cplusplus
}
#endif

#endif /* TAMIX_KERNELS_H_ */
