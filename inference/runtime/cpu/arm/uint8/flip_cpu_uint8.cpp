#include "inference/runtime/cpu/arm/uint8/flip_cpu_uint8.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/stream.h"
#include "inference/runtime/cpu/arm/common/unrolled.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// A vector of whole pixels, mirrored. Vectors that pixels do not fill have kSpare bytes: unused ones before the pixels where
// they are read, arbitrary ones behind them where they are written.
template <size_t kPixel, class D>
class PixelMirror {
 public:
  static constexpr size_t kPixels = hn::MaxLanes(D()) / kPixel;
  static constexpr size_t kSpare = hn::MaxLanes(D()) - kPixels * kPixel;

  PixelMirror() : index_(hn::Load(D(), kIndex.data())) {}

  // The kPixels pixels at src, of which the bytes before are readable too.
  HWY_INLINE hn::Vec<D> operator()(const uint8_t* src) const {
    const ByteWindow<D, hn::MaxLanes(D()) / 16> window(D(), src - kSpare);
    return window.lookup(index_);
  }

 private:
  alignas(64) static constexpr auto kIndex = [] {
    std::array<uint8_t, hn::MaxLanes(D())> index{};
    for (size_t i = 0; i < kPixels * kPixel; ++i) {
      index[i] = static_cast<uint8_t>(kSpare + (kPixels - 1 - i / kPixel) * kPixel + i % kPixel);
    }
    return index;
  }();
  hn::Vec<D> index_;
};

// dst pixel i = src pixel n - 1 - i, by vectors as far as they go; returns the number of pixels written, from the first on.
template <size_t kPixel, class D>
size_t mirrorVectors(D d, const uint8_t* HWY_RESTRICT src, uint8_t* HWY_RESTRICT dst, size_t n) {
  using Mirror = PixelMirror<kPixel, D>;
  constexpr size_t kStep = Mirror::kPixels;
  // One pixel more than a vector where its spare bytes need room.
  constexpr size_t kLeast = kStep + (Mirror::kSpare > 0 ? 1 : 0);
  if (n < kLeast) return 0;
  const Mirror mirrored;
  const auto from = [&](size_t i) { return src + (n - i - kStep) * kPixel; };
  const auto to = [&](size_t i) { return dst + i * kPixel; };
  size_t i = 0;
  constexpr size_t kUnroll = hn::MaxLanes(d) == 16 ? 8 : 4;
  for (; i + (kUnroll - 1) * kStep + kLeast <= n; i += kUnroll * kStep) {
    hn::Vec<D> v[kUnroll];
    unrolled<kUnroll>([&](auto k) __attribute__((always_inline)) { v[k] = mirrored(from(i + k * kStep)); });
    unrolled<kUnroll>([&](auto k) __attribute__((always_inline)) { hn::StoreU(v[k], d, to(i + k * kStep)); });
  }
  for (; i + kLeast <= n; i += kStep) hn::StoreU(mirrored(from(i)), d, to(i));
  if (i + (kLeast - kStep) < n) hn::StoreU(mirrored(from(n - kLeast)), d, to(n - kLeast));
  return n - (kLeast - kStep);
}

#if HWY_TARGET == HWY_NEON
// The same for whole blocks of 16 pixels of three bytes, channel by channel: fewer instructions where loads and stores
// de-interleave. Returns the number of pixels written.
inline size_t mirrorBlocks(const uint8_t* HWY_RESTRICT src, uint8_t* HWY_RESTRICT dst, size_t n) {
  const hn::CappedTag<uint8_t, 16> d;
  alignas(16) static constexpr uint8_t kReversed[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
  const auto reversed = hn::Load(d, kReversed);
  // A load takes a step backwards along only if the compiler does not know the step.
  ptrdiff_t step = -48;
  asm("" : "+r"(step));
  const uint8_t* from = src + 3 * n - 48;
  for (size_t left = n / 16; left > 0; --left) {
    hn::Vec<decltype(d)> c0, c1, c2;
    hn::LoadInterleaved3(d, from, c0, c1, c2);
    from += step;
    hn::StoreInterleaved3(hn::TableLookupBytes(c0, reversed), hn::TableLookupBytes(c1, reversed),
                          hn::TableLookupBytes(c2, reversed), d, dst);
    dst += 48;
  }
  return n - n % 16;
}
#endif

// dst pixel i = src pixel n - 1 - i. Neither touches anything outside the n pixels; where they overlap, the result is open.
template <size_t kPixel>
void mirrorRun(const uint8_t* src, uint8_t* dst, size_t n) {
#if HWY_TARGET == HWY_NEON
  if constexpr (kPixel == 3) {
    const size_t done = n < 16 ? 0 : mirrorBlocks(src, dst, n);
    dst += done * kPixel;
    n -= done;
  }
#endif
  size_t i = mirrorVectors<kPixel>(hn::ScalableTag<uint8_t>(), src, dst, n);
  if (i == 0) i = mirrorVectors<kPixel>(hn::CappedTag<uint8_t, 16>(), src, dst, n);
  for (; i < n; ++i) std::memmove(dst + i * kPixel, src + (n - 1 - i) * kPixel, kPixel);
}

// The same past the caches. The next row, `ahead` bytes behind this one, is asked for early: it is not found by itself.
template <size_t kPixel>
void streamMirrored(const uint8_t* HWY_RESTRICT src, uint8_t* HWY_RESTRICT dst, size_t n, ptrdiff_t ahead) {
  constexpr size_t kPiece = 1024;
  alignas(64) uint8_t piece[kPiece * kPixel];
  for (size_t i = 0; i < n; i += kPiece) {
    const size_t count = std::min(kPiece, n - i);
    const uint8_t* const from = src + (n - i - count) * kPixel;
    for (size_t line = 0; line < count * kPixel; line += 64) hwy::Prefetch(from + static_cast<ptrdiff_t>(line) + ahead);
    mirrorRun<kPixel>(from, piece, count);
    streamBytes(dst + i * kPixel, piece, count * kPixel);
  }
}

// a pixel i = old b pixel n - 1 - i, and the other way round.
template <size_t kPixel>
void exchangeMirrored(uint8_t* a, uint8_t* b, size_t n) {
  constexpr size_t kPiece = 1024;
  uint8_t old_a[kPiece * kPixel];
  for (size_t i = 0; i < n; i += kPiece) {
    const size_t piece = std::min(kPiece, n - i);
    uint8_t* const in_a = a + i * kPixel;
    uint8_t* const in_b = b + (n - i - piece) * kPixel;
    std::memcpy(old_a, in_a, piece * kPixel);
    mirrorRun<kPixel>(in_b, in_a, piece);
    mirrorRun<kPixel>(old_a, in_b, piece);
  }
}

template <size_t kPixel>
void mirrorInPlace(uint8_t* row, size_t n) {
  const size_t half = n / 2;
  exchangeMirrored<kPixel>(row, row + (n - half) * kPixel, half);
}

template <size_t kPixel>
void flipInPlace(const Plane<uint8_t>& image, int32_t height, size_t width, int32_t flip_code) {
  if (flip_code > 0) {
    for (int32_t y = 0; y < height; ++y) mirrorInPlace<kPixel>(image.row(y), width);
    return;
  }
  for (int32_t y = 0; y < height / 2; ++y) {
    uint8_t* const upper = image.row(y);
    uint8_t* const lower = image.row(height - 1 - y);
    if (flip_code == 0) {
      std::swap_ranges(upper, upper + width * kPixel, lower);
    } else {
      exchangeMirrored<kPixel>(upper, lower, width);
    }
  }
  if (flip_code < 0 && height % 2 != 0) mirrorInPlace<kPixel>(image.row(height / 2), width);
}

template <size_t kPixel>
void flip(Plane<const uint8_t> src, const Plane<uint8_t>& dst, int32_t height, size_t width, int32_t flip_code) {
  if (height < 1 || width == 0) return;
  if (src.data == dst.data) return flipInPlace<kPixel>(dst, height, width, flip_code);
  if (flip_code <= 0) src = upsideDown(src, height);
  if (flip_code == 0) return copyImage(src, dst, height, width * kPixel);
  // Half a turn reads the whole image backwards, which processors follow well enough.
  const bool streamed = flip_code > 0 && isStreamed(static_cast<size_t>(height) * width * kPixel);
  for (int32_t y = 0; y < height; ++y) {
    if (streamed) {
      streamMirrored<kPixel>(src.row(y), dst.row(y), width, src.pitch);
    } else {
      mirrorRun<kPixel>(src.row(y), dst.row(y), width);
    }
  }
  if (streamed) finishStreaming();
}

}  // namespace

int32_t flipCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_stride, int32_t dst_stride,
                     int32_t channels, int32_t flip_code, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  const auto from = plane(src, src_stride, channels);
  const auto to = plane(dst, dst_stride, channels);
  switch (channels) {
    case 1:
      flip<1>(from, to, height, rowElements(width), flip_code);
      return TAMIX_OK;
    case 3:
      flip<3>(from, to, height, rowElements(width), flip_code);
      return TAMIX_OK;
    case 4:
      flip<4>(from, to, height, rowElements(width), flip_code);
      return TAMIX_OK;
    default:
      TAMIX_ERROR("Recieved unsupported channel %d", channels);
      return TAMIX_ERR_UNSUPPORTED;
  }
}

}  // namespace tamix
