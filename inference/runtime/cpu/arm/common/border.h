// Which pixel stands for one outside the image.
#pragma once

#include <algorithm>
#include <cstdint>

#include "tamix/tamix.h"

namespace tamix {

// The border type that a border argument stands for: the flag 16 is ignored, -1 asks for the default, TAMIX_BORDER_REFLECT_101.
// -1 for arguments that name none.
constexpr int32_t plainBorderType(int32_t border_type) {
  if (border_type == -1 || border_type == -17) return TAMIX_BORDER_REFLECT_101;
  const int32_t plain = border_type & ~16;
  return plain >= TAMIX_BORDER_CONSTANT && plain <= TAMIX_BORDER_REFLECT_101 ? plain : -1;
}

// True for borders that can be made: a known type and, where it is constant, a value that is a byte.
constexpr bool isBorder(int32_t border_type, int32_t border_value) {
  const int32_t plain = plainBorderType(border_type);
  return plain == TAMIX_BORDER_CONSTANT ? border_value >= 0 && border_value <= 255 : plain != -1;
}

// Source index of position p on an axis of n samples (n >= 1); positions inside stand for themselves. Any p: mirroring and
// wrapping go on periodically. TAMIX_BORDER_CONSTANT has no source: -1 outside. Unknown types count as constant.
constexpr int64_t borderIndex(int64_t p, int64_t n, int32_t border_type) {
  if (p >= 0 && p < n) return p;
  const auto wrap = [](int64_t value, int64_t period) {
    const int64_t rest = value % period;
    return rest < 0 ? rest + period : rest;
  };
  switch (border_type) {
    case TAMIX_BORDER_REPLICATE:
      return std::clamp<int64_t>(p, 0, n - 1);
    case TAMIX_BORDER_REFLECT: {
      const int64_t q = wrap(p, 2 * n);
      return q < n ? q : 2 * n - 1 - q;
    }
    case TAMIX_BORDER_WRAP:
      return wrap(p, n);
    case TAMIX_BORDER_REFLECT_101: {
      if (n == 1) return 0;
      const int64_t q = wrap(p, 2 * n - 2);
      return q < n ? q : 2 * n - 2 - q;
    }
    default:
      return -1;
  }
}

}  // namespace tamix
