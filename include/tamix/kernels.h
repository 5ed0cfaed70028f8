/** @file
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

/**
 * NV12 (pairs U, V) or NV21 (pairs V, U) to packed RGB or BGR; limited range, ITU-R BT.601. Every pixel (row r, column x) uses
 * the pair of chroma row r / 2, column x / 2.
 *
 * src_y: height rows of width bytes. src_uv: (height + 1) / 2 rows of (width + 1) / 2 pairs. Both src_width_stride bytes from
 * row to row. dst: height rows of width pixels of 3 bytes, dst_width_stride pixels from row to row. Any size; a size below 1
 * is an empty image.
 *
 * With u = U - 128, v = V - 128 and l = max(Y - 16, 0), each result saturated to 0..255: pixels of whole blocks of 16 in a
 * row, in rows that come in pairs, are
 *   R = (37 l + 51 v + 16) >> 5, G = (37 l - 13 u - 26 v + 16) >> 5, B = (37 l + 65 u + 16) >> 5;
 * the rest of a row, and the last row of an odd height, are
 *   R = (2383 l + 3268 v + 1024) >> 11, G = (2383 l - 800 u - 1665 v + 1024) >> 11, B = (2383 l + 4132 u + 1024) >> 11.
 *
 * Returns TAMIX_OK, or TAMIX_ERR_INVALID_IMAGE for a null pointer.
 */
TAMIX_API int32_t NV21ToRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);
/** As NV21ToRGBCPUUINT8, to BGR. */
TAMIX_API int32_t NV21ToBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);
/** As NV21ToRGBCPUUINT8, from NV12. */
TAMIX_API int32_t NV12ToRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);
/** As NV21ToRGBCPUUINT8, from NV12 to BGR. */
TAMIX_API int32_t NV12ToBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);

/**
 * I420 to packed RGB or BGR; limited range, ITU-R BT.601. Every pixel (row r, column x) uses the samples of chroma row r / 2,
 * column x / 2.
 *
 * src_y: height rows of width bytes, src_width_stride bytes from row to row. src_u, src_v: (height + 1) / 2 rows of
 * (width + 1) / 2 bytes, src_width_stride / 2 bytes from row to row (rounded down). dst: height rows of width pixels of 3
 * bytes, dst_width_stride pixels from row to row. Any size, odd ones included, except that nothing is converted where the width
 * is below 2 or the height below 1.
 *
 * With u = U - 128, v = V - 128 and l = max(Y - 16, 0), each result saturated to 0..255:
 *   R = (1220542 l + 1673527 v + 524288) >> 20, G = (1220542 l - 409993 u - 852492 v + 524288) >> 20,
 *   B = (1220542 l + 2116026 u + 524288) >> 20.
 *
 * Returns TAMIX_OK, or TAMIX_ERR_INVALID_IMAGE for a null pointer.
 */
TAMIX_API int32_t I420ToRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_u, const uint8_t* src_v, uint8_t* dst,
                                    int32_t width, int32_t height, int32_t src_width_stride, int32_t dst_width_stride);
/** As I420ToRGBCPUUINT8, to BGR. */
TAMIX_API int32_t I420ToBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_u, const uint8_t* src_v, uint8_t* dst,
                                    int32_t width, int32_t height, int32_t src_width_stride, int32_t dst_width_stride);

/**
 * Scales an NV21 (is_nv21 has bit 0 set) or NV12 frame to another size with bilinear interpolation and converts it to packed
 * RGB or BGR. Heights come before widths.
 *
 * src_y: src_height rows of src_width bytes. src_uv: src_height / 2 rows of src_width / 2 pairs. Both src_width_stride bytes
 * from row to row; at least 9x9 pixels. dst: dst_height rows of dst_width pixels of 3 bytes, dst_width_stride pixels from row
 * to row. Any destination size; one below 1 is an empty image. num_threads is not read.
 *
 * Pixel centres are aligned: destination row r lies at r * scale + (scale / 2 - 1 / 2) of the source, in single precision,
 * with scale = src_height / dst_height, and columns likewise. Chroma planes are sampled by themselves with the same scale:
 * destination pixel (r, x) uses the chroma interpolated for chroma position (r / 2, x / 2), also where the destination's size
 * is odd. Weights have 7 bits; the vertical blend comes first, and both blends truncate. Then, with u = U - 128, v = V - 128
 * and l = max(Y - 16, 0), each result saturated to 0..255:
 *   R = (1192 l + 1634 v) >> 10, G = (1192 l - 400 u - 833 v) >> 10, B = (1192 l + 2066 u) >> 10.
 *
 * Returns TAMIX_OK; TAMIX_ERR_INVALID_IMAGE for a null pointer, TAMIX_ERR_UNSUPPORTED for a source below 9x9,
 * TAMIX_ERR_NO_MEMORY without memory for the row buffers. Nothing is written then.
 */
TAMIX_API int32_t resizeBilinearNV21toRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, int32_t is_nv21,
                                                  int32_t src_height, int32_t src_width, int32_t src_width_stride, uint8_t* dst,
                                                  int32_t dst_height, int32_t dst_width, int32_t dst_width_stride,
                                                  int32_t num_threads);
/** As resizeBilinearNV21toRGBCPUUINT8, to BGR. */
TAMIX_API int32_t resizeBilinearNV21toBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, int32_t is_nv21,
                                                  int32_t src_height, int32_t src_width, int32_t src_width_stride, uint8_t* dst,
                                                  int32_t dst_height, int32_t dst_width, int32_t dst_width_stride,
                                                  int32_t num_threads);

/**
 * 8-bit RGB or BGR to NV12 (chroma bytes U, V) or NV21 (V, U) with the full-range equations of ITU-R BT.601 (JPEG):
 * Y = 0.299 R + 0.587 G + 0.114 B, U = (B - Y) / 1.772 + 128, V = (R - Y) / 1.402 + 128, truncated. Blocks of 16 pixels of a
 * row use 11-bit fixed point (white has Y = 254 there), the rest of the row double precision. The chroma of a 2x2 block is
 * that of its top-left pixel.
 *
 * src_width_stride counts pixels of three bytes. dst_width_stride counts the bytes between rows of dst_y and also those of
 * dst_uv. The last row of an odd height is neither read nor written; an odd width makes a last chroma pair, so a chroma row
 * must then hold width + 1 bytes.
 */
TAMIX_API int32_t RGBToNV12CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);
/** As RGBToNV12CPUUINT8, from BGR. */
TAMIX_API int32_t BGRToNV12CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);
/** As RGBToNV12CPUUINT8, to NV21. */
TAMIX_API int32_t RGBToNV21CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);
/** As RGBToNV12CPUUINT8, from BGR to NV21. */
TAMIX_API int32_t BGRToNV21CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                                    int32_t src_width_stride, int32_t dst_width_stride);

/**
 * Smooths an image of interleaved 8-bit channels with a symmetric 3x3 kernel. `kernel`: 9 floats row by row, of which the
 * corner kernel[0], the edge kernel[1] and the centre kernel[4] count; null builds the sampled Gaussian of `sigma` (0: 0.8).
 * The weights times 4096, truncated and saturated to 16 bits, give floor(sum / 4096), clamped to 0..255. Kernels of another
 * size than 3x3 return TAMIX_OK and leave dst alone (TAMIX_ERR_NO_MEMORY where one side is negative and `kernel` null).
 * border_type: a TamixBorderType, -1 standing for TAMIX_BORDER_REFLECT_101.
 *
 * Widths below 8, heights below 2 of 3 mirrored channels, unknown borders (TAMIX_ERR_UNSUPPORTED), constant borders outside
 * 0..255 (TAMIX_ERR_INVALID_IMAGE) and failed allocations (TAMIX_ERR_NO_MEMORY) are reported, and dst is filled nevertheless,
 * in single precision with a mirrored border and all nine weights; a line or column that has no neighbour mirrors itself. More
 * than 4 channels are not filled then. In place is fine.
 */
TAMIX_API int32_t gaussianFilterCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width,
                                         int32_t src_width_stride, int32_t dst_width_stride, int32_t channel,
                                         int32_t kernel_height, int32_t kernel_width, const float* kernel, int32_t border_type,
                                         int32_t border_value, int32_t num_threads, float sigma);

/**
 * Resizes an interleaved 8-bit image with bilinear interpolation. Heights come before widths; strides count pixels. Any
 * number of channels from 1 on; any size, down to one row or column. A size or channel count below 1 is an empty image.
 *
 * Other channel counts than 4: with scale = src_width / dst_width in single precision, column x lies at f = (x + 0.5) * scale -
 * 0.5 (in double precision, then rounded to single), between columns i = floor(f) and i + 1, with the weight w of column i + 1
 * being f - i in sixteenths, rounded half up; positions before the first and after the last column's centre take that column.
 * Rows likewise. Each result is the sum of its four weighted pixels, (sum + 128) >> 8.
 *
 * 4 channels: source and destination are cut into num_threads bands of rows (2 where num_threads is below 1), each of
 * ceil(height / bands) rows as far as there are any, and each band is resized as an image of its own; a destination band
 * without source rows takes the last row of the source. Positions are x * scale + (scale / 2 - 1 / 2) in single precision,
 * weights have 7 bits and are truncated in favour of the second pixel; rows are blended first, and both blends round half up.
 * For an odd dst_width every band logs an error line, but is resized all the same.
 *
 * Returns TAMIX_OK, TAMIX_ERR_INVALID_IMAGE (null) or TAMIX_ERR_NO_MEMORY; nothing is written then.
 */
TAMIX_API int32_t resizeBilinearCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride,
                                         uint8_t* dst, int32_t dst_height, int32_t dst_width, int32_t dst_stride,
                                         int32_t channels, int32_t num_threads);

/**
 * Shrinks an interleaved 8-bit image: each result is the mean of the source pixels weighted by how much of each it covers.
 * Heights come before widths; strides count pixels and are honoured. Any number of channels from 1 on; a size or channel count
 * below 1 is an empty image. Where the destination is larger in either direction: resizeBilinearCPUUINT8 with all arguments.
 *
 * Rows: the first ceil(src_height / 2) source rows make the first ceil(dst_height / 2) destination rows, the other source
 * rows the other destination rows; no row of one half enters the other. The scale is that of the whole image, a single
 * precision division. Columns are summed first, then rows, in order and in single precision; shares below a thousandth of a
 * pixel are left out. Results are rounded to the nearest integer, ties away from zero.
 *
 * Returns TAMIX_OK, TAMIX_ERR_INVALID_IMAGE (null) or TAMIX_ERR_NO_MEMORY (the first half of the rows may be written then).
 */
TAMIX_API int32_t resizeAreaCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride,
                                     uint8_t* dst, int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels,
                                     int32_t num_threads);

/**
 * Checks the arguments of a mean filter over bytes and refuses them all: only float images can be averaged, by the operator
 * TAMIX_OP_MEAN_FILTER. Heights come before widths. Nothing is read or written.
 *
 * Returns TAMIX_ERR_INVALID_IMAGE for a null pointer, otherwise TAMIX_ERR_UNSUPPORTED, logged where the channel count is not 1
 * or the kernel size neither 3 nor 5.
 */
TAMIX_API int32_t meanFilterCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_width_stride,
                                     uint8_t* dst, int32_t dst_height, int32_t dst_width, int32_t dst_width_stride,
                                     int32_t channel, int32_t kernel_size, int32_t num_threads);

/**
 * Edge-preserving smoothing of a 3-channel image `src` (p) under a 3-channel guide (I), usually of the same or a larger size:
 * in every channel dst = a * I + b, where a = cov(I, p) / (var(I) + 1) and b = mean(p) - a * mean(I) over 5x5 windows of p's
 * grid, and a and b are smoothed by the same windows and enlarged bilinearly. The two outermost rows and columns of p's grid
 * keep their own values. dst has the guide's size; strides count pixels and are honoured. dst may be the guide or src.
 * kernel_size is 5 or -1, channel 3. Returns TAMIX_ERR_UNSUPPORTED for other values and sizes, TAMIX_ERR_NO_MEMORY without
 * scratch memory.
 */
TAMIX_API int32_t guidedFilterCPUUINT8(const uint8_t* guide, int32_t guide_height, int32_t guide_width,
                                       int32_t guide_width_stride, const uint8_t* src, int32_t src_height, int32_t src_width,
                                       int32_t src_width_stride, uint8_t* dst, int32_t dst_height, int32_t dst_width,
                                       int32_t dst_width_stride, int32_t channel, int32_t kernel_size, int32_t num_threads);

#ifdef __cplusplus
}
#endif

#endif /* TAMIX_KERNELS_H_ */
