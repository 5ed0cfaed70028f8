#include "inference/runtime/cpu/arm/uint8/transpose_cpu_uint8.h"

#include <algorithm>
#include <cstring>

#include "inference/runtime/cpu/arm/common/transpose.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Tiles of pixels of kPixel bytes in lanes of T, in vectors of bytes D.
template <size_t kPixel, class T, class D>
class Tiles {
 public:
  static constexpr size_t kVector = hn::MaxLanes(D());
  // Columns of a tile, and so vectors of it; each holds a column as kRows pixels.
  static constexpr size_t kColumns = 16 / sizeof(T);
  static constexpr size_t kRows = kVector / sizeof(T);
  // Source rows of a band, whose cache lines stay near while neighbouring columns are taken from them.
  static constexpr size_t kBand = 256 / sizeof(T);
  // Columns that a row must have for 16 bytes to be read.
  static constexpr size_t kLeastColumns = (16 + kPixel - 1) / kPixel;

  Tiles(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst, size_t height, size_t width)
      : src_(src), dst_(dst), height_(height), width_(width) {}

  // height >= kRows, width >= kLeastColumns. The last tiles overlap those before them.
  void transpose() const {
    for (size_t band = 0; band < height_; band += kBand) {
      const size_t band_end = std::min(band + kBand, height_);
      for (size_t x = 0; x < width_; x += kColumns) transposeColumns(std::min(x, width_ - kColumns), band, band_end);
    }
  }

 private:
  using V = hn::Vec<D>;

  void transposeColumns(size_t x, size_t band, size_t band_end) const {
    // Four pixels of three bytes are found anywhere in 16 bytes that end with the row.
    const size_t start = std::min(x * kPixel, width_ * kPixel - 16);
    const V widen = wideningIndex(x * kPixel - start);
    const ptrdiff_t src_pitch = src_.pitch;
    const ptrdiff_t dst_pitch = dst_.pitch;
    const uint8_t* from = src_.row(static_cast<ptrdiff_t>(band)) + start;
    uint8_t* to = dst_.row(static_cast<ptrdiff_t>(x)) + band * kPixel;
    size_t y = band;
    for (; y + kRows <= band_end; y += kRows) {
      transposeTile(from, src_pitch, to, dst_pitch, y, widen);
      from += static_cast<ptrdiff_t>(kRows) * src_pitch;
      to += kRows * kPixel;
    }
    if (y == band_end) return;
    const size_t back = y + kRows - height_;
    transposeTile(from - static_cast<ptrdiff_t>(back) * src_pitch, src_pitch, to - back * kPixel, dst_pitch, y - back, widen);
  }

  // from, to: the tile's place in the images; y: its first source row.
  HWY_INLINE void transposeTile(const uint8_t* from, ptrdiff_t src_pitch, uint8_t* to, ptrdiff_t dst_pitch, size_t y,
                                V widen) const {
    const D d;
    const hn::Repartition<T, D> lanes;
    hn::Vec<decltype(lanes)> v[kColumns];
    unrolled<kColumns>([&](auto i) __attribute__((always_inline)) {
      V bytes = loadBlocks(d, from, static_cast<ptrdiff_t>(kColumns) * src_pitch);
      from += src_pitch;
      if constexpr (kPixel == 3) bytes = hn::TableLookupBytes(bytes, widen);
      v[i] = hn::BitCast(lanes, bytes);
    });
    transposeBlocks(lanes, v);
    // A vector is longer than its pixels of three bytes: what it writes behind them is still to come, except at a row's end.
    if (kPixel == 3 && y * kPixel + kVector > height_ * kPixel) {
      unrolled<kColumns>([&](auto i) __attribute__((always_inline)) {
        alignas(64) uint8_t last[kVector];
        hn::Store(dropEveryFourth(d, hn::BitCast(d, v[i])), d, last);
        std::memcpy(to, last, kRows * kPixel);
        to += dst_pitch;
      });
      return;
    }
    unrolled<kColumns>([&](auto i) __attribute__((always_inline)) {
      V bytes = hn::BitCast(d, v[i]);
      if constexpr (kPixel == 3) bytes = dropEveryFourth(d, bytes);
      hn::StoreU(bytes, d, to);
      to += dst_pitch;
    });
  }

  // Brings pixels of three bytes, `offset` bytes behind the start of each block, into four bytes each.
  static V wideningIndex(size_t offset) {
    alignas(16) uint8_t index[16];
    for (size_t i = 0; i < 16; ++i) index[i] = static_cast<uint8_t>(offset + i / 4 * 3 + std::min<size_t>(i % 4, 2));
    return hn::LoadDup128(D(), index);
  }

  Plane<const uint8_t> src_;
  Plane<uint8_t> dst_;
  size_t height_;
  size_t width_;
};

template <size_t kPixel>
void transposeSmall(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst, size_t height, size_t width) {
  for (size_t y = 0; y < height; ++y) {
    const uint8_t* const in = src.row(static_cast<ptrdiff_t>(y));
    for (size_t x = 0; x < width; ++x) {
      std::memmove(dst.row(static_cast<ptrdiff_t>(x)) + y * kPixel, in + x * kPixel, kPixel);
    }
  }
}

template <size_t kPixel, class T>
void transposePixelsOf(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst, size_t height, size_t width) {
  using Wide = Tiles<kPixel, T, hn::ScalableTag<uint8_t>>;
  using Narrow = Tiles<kPixel, T, hn::CappedTag<uint8_t, 16>>;
  if (width < Narrow::kLeastColumns || height < Narrow::kRows) return transposeSmall<kPixel>(src, dst, height, width);
  if (height < Wide::kRows) return Narrow(src, dst, height, width).transpose();
  Wide(src, dst, height, width).transpose();
}

}  // namespace

void transposePixels(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst, size_t src_height, size_t src_width,
                     int32_t channels) {
  switch (channels) {
    case 1:
      return transposePixelsOf<1, uint8_t>(src, dst, src_height, src_width);
    case 2:
      return transposePixelsOf<2, uint16_t>(src, dst, src_height, src_width);
    case 3:
      return transposePixelsOf<3, uint32_t>(src, dst, src_height, src_width);
    case 4:
      return transposePixelsOf<4, uint32_t>(src, dst, src_height, src_width);
    default:
      return;
  }
}

int32_t transposeCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t src_height, int32_t src_width, int32_t src_stride,
                          int32_t dst_stride, int32_t channels, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(channels == 3 || channels == 4, TAMIX_ERR_UNSUPPORTED, "Recieved unsupported channel %d", channels);
  transposePixels(plane(src, src_stride, channels), plane(dst, dst_stride, channels), rowElements(src_height),
                  rowElements(src_width), channels);
  return TAMIX_OK;
}

}  // namespace tamix
