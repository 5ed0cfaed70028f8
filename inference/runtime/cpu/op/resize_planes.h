// How the resize operators walk the planes of an image.
#pragma once

#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/utils/image_format.h"

namespace tamix {

// Packed images by one call of `resize` with the image's channels; two-plane images by one call for the luma plane and, where
// that succeeded, one of `resize_pairs` for the half-size plane of chroma pairs. An I420 image that brings its third plane has
// two half-size planes of single samples instead.
// Refuses records that declare less memory for the output than the input's layout takes.
template <class Kernel>
int32_t resizePlanes(const TamixImage& src, const TamixImage& dst, Kernel resize, Kernel resize_pairs, int32_t num_threads) {
  const auto plane = [&](Kernel kernel, int32_t k, int32_t divisor, int32_t channels) {
    return kernel(data<const uint8_t>(src, k), src.height / divisor, src.width / divisor, src.width_stride / divisor,
                  data<uint8_t>(dst, k), dst.height / divisor, dst.width / divisor, dst.width_stride / divisor, channels,
                  num_threads);
  };
  // A null plane is refused by the kernel.
  const int32_t channel = dst.channel == 0 ? channelsOfFormat(dst.format) : dst.channel;
  if (!isTwoPlane(src.format)) {
    const bool fits = !isTwoPlane(dst.format) && channel >= src.channel;
    TAMIX_REQUIRE(fits || dst.data[0] == nullptr, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output channel: %d, %d",
                  src.channel, channel);
    return plane(resize, 0, 1, src.channel);
  }
  TAMIX_REQUIRE(isTwoPlane(dst.format) || channel >= 1 || dst.data[0] == nullptr, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output channel: %d, %d", src.channel, channel);
  // Pixels have one plane only.
  const bool has_planes = isTwoPlane(dst.format) || dst.data[1] == nullptr;
  TAMIX_REQUIRE(has_planes && hasThreePlanes(src) == hasThreePlanes(dst), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output format: %d, %d", src.format, dst.format);
  TAMIX_TRY(plane(resize, 0, 1, 1));
  if (!hasThreePlanes(src)) return plane(resize_pairs, 1, 2, 2);
  TAMIX_TRY(plane(resize, 1, 2, 1));
  return plane(resize, 2, 2, 1);
}

}  // namespace tamix
