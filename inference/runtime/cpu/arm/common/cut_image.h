// A rectangle of an interleaved image as an image of its own.
#pragma once

#include "inference/runtime/cpu/arm/common/stream.h"

namespace tamix {

// Copies `height` rows of `width` pixels from row `top` and column `left` on. Strides count pixels.
template <class T>
void cutImage(const T* src, int32_t src_stride, T* dst, int32_t dst_stride, int32_t channels, int32_t left, int32_t top,
              int32_t width, int32_t height) {
  const size_t n = rowElements(width, channels);
  if (n == 0) return;  // strides of negative channels lead anywhere
  copyImage(plane(src, src_stride, channels).from(top, ptrdiff_t{left} * channels), plane(dst, dst_stride, channels), height,
            n);
}

}  // namespace tamix
