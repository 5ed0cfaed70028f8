// Bytes of a pixel in the conversions of colours, where formats decide and not the record's channel count.
#pragma once

#include <cstdint>

#include "tamix/tamix.h"

namespace tamix::test {

// 0: as the record says.
inline int32_t colorChannels(int32_t operator_type, bool is_input, int32_t format) {
  const bool has_alpha = format == Tamix_BGRA || format == Tamix_RGBA;
  switch (operator_type) {
    case TAMIX_OP_COLOR_TO_HSV:
    case TAMIX_OP_COLOR4_TO_COLOR3:
      return is_input ? 4 : 3;
    case TAMIX_OP_COLOR3_TO_COLOR4:
      return is_input ? 3 : 4;
    case TAMIX_OP_COLOR_TO_GRAY:
      return is_input ? (has_alpha ? 4 : 3) : 1;
    case TAMIX_OP_COLOR_TO_LAB:
    case TAMIX_OP_LAB_TO_COLOR:
      return 3;
    case TAMIX_OP_COLOR_TO_YUV:
      return is_input ? 3 : 0;
    case TAMIX_OP_YUV_TO_COLOR:
      return is_input ? 0 : 3;
    default:
      return 0;
  }
}

}  // namespace tamix::test
