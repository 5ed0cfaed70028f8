// Erosion and dilation by definition, one pass after the other.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/support/border_model.h"
#include "tests/support/image.h"

namespace tamix::test {

struct MorphologySettings {
  int32_t rows = 3;
  int32_t columns = 3;
  const uint8_t* kernel = nullptr;  // null: the whole window
  int32_t border_type = 1;
  int32_t border_value = 0;
  int32_t iterations = 1;
};

// Only pixels change; padding is the source's.
inline Image<uint8_t> morphologyModel(const Image<uint8_t>& src, bool erodes, const MorphologySettings& set) {
  // Where position p - size / 2 of an axis lies.
  const auto positions = [&](int32_t size, int32_t n) {
    std::vector<int32_t> found;
    for (int32_t p = 0; p < n + std::max(size, 0); ++p) found.push_back(modelIndex(p - size / 2, n, set.border_type));
    return found;
  };
  const std::vector<int32_t> row_at = positions(set.rows, src.shape().height);
  const std::vector<int32_t> column_at = positions(set.columns, src.shape().width);
  Image<uint8_t> result(src);
  for (int32_t pass = 0; pass < set.iterations; ++pass) {
    const Image<uint8_t> before(result);
    result.fill([&](int32_t y, size_t i) {
      int32_t value = erodes ? 255 : 0;
      for (int32_t r = 0; r < set.rows; ++r) {
        const int32_t row = row_at[static_cast<size_t>(y + r)];
        for (int32_t k = 0; k < set.columns; ++k) {
          if (set.kernel != nullptr && set.kernel[r * set.columns + k] == 0) continue;
          const int32_t column = column_at[i / 3 + static_cast<size_t>(k)];
          const int32_t seen = row < 0 || column < 0 ? set.border_value : before.at(row, column, static_cast<int32_t>(i % 3));
          value = erodes ? std::min(value, seen) : std::max(value, seen);
        }
      }
      return value;
    });
  }
  return result;
}

// Few pixels of many values on white (black), so that every pixel of a large window can decide its minimum (maximum); noise for
// every third seed.
inline Image<uint8_t> spottedImage(const Shape& shape, bool on_white, uint32_t seed) {
  Image<uint8_t> image = randomImage<uint8_t>(shape, seed);
  if (seed % 3 == 0) return image;
  std::mt19937 random(seed);
  for (size_t i = 0; i < image.elements(); ++i) {
    if (random() % 24 != 0) image.data()[i] = on_white ? 255 : 0;
  }
  return image;
}

// The pixels of `result` on the padding of `padding`.
inline Image<uint8_t> withPaddingOf(const Image<uint8_t>& padding, const Image<uint8_t>& result) {
  Image<uint8_t> image(padding);
  return std::move(image.fill([&](int32_t y, size_t i) { return result.row(y)[i]; }));
}

}  // namespace tamix::test
