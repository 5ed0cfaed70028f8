// A pixel of a bordered image, looked up one axis at a time, for models of the filters.
#pragma once

#include <cstdint>

#include "tamix/tamix.h"
#include "tests/support/image.h"

namespace tamix::test {

// Steps from p into 0..n-1 the way a mirror, a ring or an edge leads; -1 for a constant border.
inline int32_t modelIndex(int32_t p, int32_t n, int32_t border_type) {
  while (p < 0 || p >= n) {
    switch (border_type == -1 ? int32_t{TAMIX_BORDER_REFLECT_101} : border_type & 15) {
      case TAMIX_BORDER_REPLICATE:
        p = p < 0 ? 0 : n - 1;
        break;
      case TAMIX_BORDER_REFLECT:
        p = p < 0 ? -1 - p : 2 * n - 1 - p;
        break;
      case TAMIX_BORDER_WRAP:
        p += p < 0 ? n : -n;
        break;
      case TAMIX_BORDER_REFLECT_101:
        p = n == 1 ? 0 : p < 0 ? -p : 2 * n - 2 - p;
        break;
      default:
        return -1;
    }
  }
  return p;
}

inline int32_t borderedAt(const Image<uint8_t>& image, int32_t y, int32_t x, int32_t c, int32_t border_type,
                          int32_t border_value) {
  const int32_t row = modelIndex(y, image.shape().height, border_type);
  const int32_t column = modelIndex(x, image.shape().width, border_type);
  return row < 0 || column < 0 ? border_value : image.at(row, column, c);
}

}  // namespace tamix::test
