// What a pixel format says about an image's planes.
#pragma once

#include <cstdint>

#include "tamix/tamix.h"

namespace tamix {

// Formats with a luma plane and a half-size plane of interleaved chroma pairs. I420 counts among them.
constexpr bool isTwoPlane(int32_t format) {
  return format == Tamix_I420 || (format >= Tamix_NV12 && format <= 20) || (format >= 4352 && format <= 8192);
}

// True of an I420 image that brings its third plane: it has two half-size planes of single samples, not one of pairs.
inline bool hasThreePlanes(const TamixImage& image) { return image.format == Tamix_I420 && image.data[2] != nullptr; }

// Interleaved channels of a format's pixel.
constexpr int32_t channelsOfFormat(int32_t format) {
  if (format == Tamix_BGR || format == Tamix_RGB || (format >= 4096 && format <= 4351)) return 3;
  if (format == Tamix_GRAY || (format >= 21 && format <= 4095)) return 1;
  if (format >= 4352 && format <= 8192) return 2;
  if (format == Tamix_BGRA || format == 6 || format == Tamix_RGBA) return 4;
  if (format == Tamix_I420 || (format >= Tamix_NV12 && format <= 20)) return 2;
  return 1;
}

}  // namespace tamix
