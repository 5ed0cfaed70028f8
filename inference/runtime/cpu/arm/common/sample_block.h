// Blocks of destination pixels that are sampled from arbitrary positions of a source image.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace tamix {

// An interleaved 8-bit image; the pitch counts bytes.
struct SourceImage {
  const uint8_t* data;
  int32_t width;
  int32_t height;
  ptrdiff_t pitch;
  int32_t channels;

  bool empty() const { return width < 1 || height < 1; }
  bool contains(int64_t x, int64_t y) const { return x >= 0 && x < width && y >= 0 && y < height; }
  const uint8_t* pixel(int64_t x, int64_t y) const { return data + y * pitch + x * channels; }
  const uint8_t* nearestPixel(int64_t x, int64_t y) const {
    return pixel(std::clamp<int64_t>(x, 0, width - 1), std::clamp<int64_t>(y, 0, height - 1));
  }
  // Bytes from the first pixel to the last.
  int64_t bytes() const { return int64_t{height - 1} * pitch + int64_t{width} * channels; }
  // True when offsets of pixels can be formed in 32-bit lanes.
  bool near() const { return bytes() <= std::numeric_limits<int32_t>::max(); }
};

// Entries of a block; a multiple of a group.
constexpr int32_t kBlockPixels = 256;
// Pixels that take the same way through the sampling.
constexpr int32_t kGroup = 16;

// Which entry a pixel of a block is.
enum class Layout {
  kStrip,  // one row: the pixel of column c is entry c
  kTiles,  // up to four rows, in tiles of 4x4: the pixel of row r and column c is entry c / 4 * 16 + r * 4 + c % 4
};

constexpr int32_t blockRows(Layout layout) { return layout == Layout::kStrip ? 1 : 4; }
// Columns that a group spans.
constexpr int32_t groupColumns(Layout layout) { return kGroup / blockRows(layout); }
constexpr int32_t entryOf(Layout layout, int32_t row, int32_t column) {
  return layout == Layout::kStrip ? column : column / 4 * 16 + row * 4 + column % 4;
}

// The destination pixels of a block: `rows` times `columns` from column x of row y on. Entries of the last group that are no
// pixels of the destination hold positions like the others and are sampled, but not written.
struct BlockArea {
  int32_t x;
  int32_t y;
  int32_t columns;
  int32_t rows;
  Layout layout;

  int32_t groups() const { return (columns + groupColumns(layout) - 1) / groupColumns(layout); }
  int32_t entries() const { return groups() * kGroup; }
};

// Where a block's pixels go; the pitch counts bytes.
struct BlockTarget {
  uint8_t* data;
  ptrdiff_t pitch;
  int32_t columns;
  int32_t rows;
};

// Calls body(area) for blocks that cover a destination, left to right and top to bottom, until it returns false.
template <class Body>
void forEachBlock(Layout layout, int32_t width, int32_t height, const Body& body) {
  const int32_t rows = blockRows(layout);
  const int32_t columns = kBlockPixels / rows;
  for (int64_t y = 0; y < height; y += rows) {
    for (int64_t x = 0; x < width; x += columns) {
      const BlockArea area{static_cast<int32_t>(x), static_cast<int32_t>(y),
                           static_cast<int32_t>(std::min<int64_t>(columns, width - x)),
                           static_cast<int32_t>(std::min<int64_t>(rows, height - y)), layout};
      if (!body(area)) return;
    }
  }
}

// How a group lies to the source.
enum class GroupKind : uint8_t { kMixed, kInside, kOutside };

// Whole source positions, one per pixel; in 1/32 pixels for bicubic sampling.
struct WholePositions {
  alignas(64) int32_t x[kBlockPixels];
  alignas(64) int32_t y[kBlockPixels];
};

// Positions between the source's pixels.
struct FloatPositions {
  alignas(64) float x[kBlockPixels];
  alignas(64) float y[kBlockPixels];
};

template <class T>
T loadBytes(const uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return value;
}

}  // namespace tamix
