// Nearest sampling of a strip: whole pixels are copied.
#pragma once

#include "inference/runtime/cpu/arm/common/sample_block.h"
#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// Copies a pixel. Three bytes: the fourth byte of `source` may be read and of `out` be written when kLoose.
template <int kChannels, bool kLoose>
HWY_INLINE void copyPixel(const uint8_t* source, uint8_t* out) {
  std::memmove(out, source, kChannels == 3 && kLoose ? 4 : kChannels);
}

// Fills the source offsets of a group. kInside: all its pixels lie inside (with replicated border they are moved there) and are
// far enough from the source's last byte for loose copies.
template <int kChannels, bool kConstant>
HWY_INLINE GroupKind groupOffsets(const SourceImage& src, const int32_t* xs, const int32_t* ys, int32_t* offsets) {
  const hn::CappedTag<int32_t, kGroup> di;
  const hn::RebindToUnsigned<decltype(di)> du;
  const auto width = hn::Set(di, src.width);
  const auto height = hn::Set(di, src.height);
  const auto zero = hn::Zero(di);
  const auto one = hn::Set(di, 1);
  const auto end = hn::Set(di, static_cast<int32_t>(src.bytes() - (kChannels == 3 ? 4 : kChannels) + 1));
  auto all = hn::MaskFromVec(hn::Set(di, -1));
  auto any = hn::MaskFromVec(hn::Set(di, kConstant ? 0 : -1));
  for (size_t i = 0; i < kGroup; i += hn::Lanes(di)) {
    auto x = hn::Load(di, xs + i);
    auto y = hn::Load(di, ys + i);
    if constexpr (kConstant) {
      const auto in_columns = hn::RebindMask(di, hn::Lt(hn::BitCast(du, x), hn::BitCast(du, width)));
      const auto in_rows = hn::RebindMask(di, hn::Lt(hn::BitCast(du, y), hn::BitCast(du, height)));
      const auto inside = hn::And(in_columns, in_rows);
      all = hn::And(all, inside);
      any = hn::Or(any, inside);
    } else {
      x = hn::Min(hn::Max(x, zero), hn::Sub(width, one));
      y = hn::Min(hn::Max(y, zero), hn::Sub(height, one));
    }
    const auto offset = hn::Add(hn::Mul(y, hn::Set(di, static_cast<int32_t>(src.pitch))), hn::Mul(x, hn::Set(di, kChannels)));
    all = hn::And(all, hn::Lt(offset, end));
    hn::Store(offset, di, offsets + i);
  }
  if (hn::AllTrue(di, all)) return GroupKind::kInside;
  return hn::AllFalse(di, any) ? GroupKind::kOutside : GroupKind::kMixed;
}

// out[i] = the source pixel at position i, for i < n. Positions outside take the border's pixel (kConstant), or else the
// nearest pixel of the source. `out` lies in one row; the source has kChannels interleaved channels.
template <int kChannels, bool kConstant>
void sampleNearest(const SourceImage& src, const WholePositions& at, uint8_t* out, int32_t n, const uint8_t* border) {
  const bool near = src.near() && src.pitch <= std::numeric_limits<int32_t>::max();
  alignas(64) int32_t offsets[kGroup];
  for (int32_t i = 0; i < n; i += kGroup, out += kGroup * kChannels) {
    const bool whole = near && i + kGroup <= n;
    const auto kind = whole ? groupOffsets<kChannels, kConstant>(src, at.x + i, at.y + i, offsets) : GroupKind::kMixed;
    if (kind == GroupKind::kInside) {
      for (int32_t k = 0; k < kGroup - 1; ++k) {
        copyPixel<kChannels, true>(src.data + offsets[k], out + k * kChannels);
      }
      copyPixel<kChannels, false>(src.data + offsets[kGroup - 1], out + (kGroup - 1) * kChannels);
    } else if (kind == GroupKind::kOutside) {
      for (int32_t k = 0; k < kGroup; ++k) copyPixel<kChannels, false>(border, out + k * kChannels);
    } else {
      for (int32_t k = 0; k < std::min(kGroup, n - i); ++k) {
        const int32_t x = at.x[i + k];
        const int32_t y = at.y[i + k];
        const uint8_t* const source = kConstant && !src.contains(x, y) ? border : src.nearestPixel(x, y);
        copyPixel<kChannels, false>(source, out + k * kChannels);
      }
    }
  }
}

}  // namespace tamix
