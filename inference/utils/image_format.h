// What a pixel format says about an image's planes.
#pragma once

#include <cstdint>

#include "tamix/tamix.h"

namespace tamix {

// Formats with a luma plane and a half-size plane of interleaved chroma pairs. I420 counts among them.
constexpr bool isTwoPlane(int32_t format) {
  return format == Tamix_I420 || (format >= Tamix_NV12 && format <= 20) || (format >= 4352 && format <= 8192);
}

}  // namespace tamix
