/*
 * The three planes of an Android Image (YUV_420_888) as a TamixImage: as they lie in memory where a record can say that, copied
 * into packed planes otherwise. Plain C99 and C++11.
 */
#ifndef TAMIX_EXAMPLES_ANDROID_IMAGE_H_
#define TAMIX_EXAMPLES_ANDROID_IMAGE_H_

#include <stdint.h>
#include <string.h>
#include <tamix/tamix.h>

/* What AImage_getPlaneData, AImage_getPlaneRowStride and AImage_getPlanePixelStride give of Y, U and V. */
typedef struct AndroidPlanes {
  const uint8_t* data[3];
  int32_t row_stride[3];
  int32_t pixel_stride[3];
  int32_t width;  /* even */
  int32_t height; /* even */
} AndroidPlanes;

/* The format whose record describes the planes without a copy; 0: there is none. */
static inline int32_t androidImageFormat(const AndroidPlanes* planes) {
  const int32_t stride = planes->row_stride[0];
  const uint8_t* const u = planes->data[1];
  const uint8_t* const v = planes->data[2];
  if (planes->pixel_stride[0] != 1 || planes->width % 2 != 0 || planes->height % 2 != 0) return 0;
  if (planes->row_stride[1] != planes->row_stride[2] || planes->pixel_stride[1] != planes->pixel_stride[2]) return 0;
  /* One plane of pairs must have the luma plane's stride; two planes must have half of it. */
  if (planes->pixel_stride[1] == 2 && planes->row_stride[1] == stride) {
    if ((uintptr_t)v == (uintptr_t)u + 1) return Tamix_NV12;
    if ((uintptr_t)u == (uintptr_t)v + 1) return Tamix_NV21;
  }
  if (planes->pixel_stride[1] == 1 && stride % 2 == 0 && planes->row_stride[1] == stride / 2) return Tamix_I420;
  return 0;
}

/* Bytes that androidImage needs for a copy: packed NV12 planes. */
static inline size_t androidCopyBytes(const AndroidPlanes* planes) {
  return (size_t)planes->width * (size_t)planes->height * 3 / 2;
}

/*
 * Describes the planes. Where that takes a copy, it goes to `copy` as NV12; null: then the result has format 0 and type 0.
 * The record points to the planes or the copy, which must outlive it; as an input it is only read.
 */
static inline TamixImage androidImage(const AndroidPlanes* planes, uint8_t* copy) {
  TamixImage image;
  const int32_t format = androidImageFormat(planes);
  memset(&image, 0, sizeof(image));
  if (format == 0 && (copy == NULL || planes->width % 2 != 0 || planes->height % 2 != 0)) return image;
  image.format = format;
  image.type = Tamix_UINT8;
  image.width = planes->width;
  image.height = planes->height;
  image.width_stride = planes->row_stride[0];
  image.data[0] = (void*)planes->data[0];
  if (format == Tamix_NV12) image.data[1] = (void*)planes->data[1];
  if (format == Tamix_NV21) image.data[1] = (void*)planes->data[2];
  if (format == Tamix_I420) {
    image.data[1] = (void*)planes->data[1];
    image.data[2] = (void*)planes->data[2];
  }
  if (format != 0) return image;

  image.format = Tamix_NV12;
  image.width_stride = planes->width;
  image.data[0] = copy;
  image.data[1] = copy + (size_t)planes->width * (size_t)planes->height;
  for (int32_t k = 0; k < 3; ++k) {
    uint8_t* out = k == 0 ? copy : (uint8_t*)image.data[1] + (k - 1);
    const int32_t part = k == 0 ? 1 : 2;
    for (int32_t y = 0; y < planes->height / part; ++y) {
      const uint8_t* const row = planes->data[k] + (size_t)y * (size_t)planes->row_stride[k];
      for (int32_t x = 0; x < planes->width / part; ++x, out += part) *out = row[(size_t)x * (size_t)planes->pixel_stride[k]];
    }
  }
  return image;
}

#endif /* TAMIX_EXAMPLES_ANDROID_IMAGE_H_ */
