// Fetching the four neighbours of sampled positions: (x, y), (x + 1, y), (x, y + 1) and (x + 1, y + 1).
#pragma once

#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/sample_block.h"

namespace tamix {

// The upper left neighbours of a block's pixels: whole positions, which may lie outside, and what is known of each group.
struct Neighbourhoods {
  alignas(64) int32_t x[kBlockPixels];
  alignas(64) int32_t y[kBlockPixels];
  alignas(64) int32_t offset[kBlockPixels];  // bytes from the source's first; kInside groups only
  GroupKind kind[kBlockPixels / kGroup];     // kInside: all neighbours of all pixels lie inside; kOutside: none of them

  // Replicated borders: pixels below the source, moved up by a row; not 0 where both their rows are the lower one.
  alignas(64) int32_t below[kBlockPixels];
  bool any_below = false;

  bool allInside(int32_t groups) const {
    return std::all_of(kind, kind + groups, [](GroupKind k) { return k == GroupKind::kInside; });
  }

  // Fills offset and kind from x and y. `margin`: bytes that must be readable from the lower left neighbour on.
  HWY_INLINE void classify(const SourceImage& src, int32_t groups, int32_t margin);
};

HWY_INLINE void Neighbourhoods::classify(const SourceImage& src, int32_t groups, int32_t margin) {
  const hn::CappedTag<int32_t, kGroup> di;
  const hn::RebindToUnsigned<decltype(di)> du;
  if (!src.near() || src.width < 2 || src.height < 2 || src.bytes() < src.pitch + margin) {
    std::fill_n(kind, groups, GroupKind::kMixed);
    return;
  }
  const auto one = hn::Set(di, 1);
  // As unsigned numbers, so that negative positions fail too.
  const auto inner_width = hn::Set(du, static_cast<uint32_t>(src.width) - 1);
  const auto inner_height = hn::Set(du, static_cast<uint32_t>(src.height) - 1);
  const auto outer_width = hn::Set(du, static_cast<uint32_t>(src.width) + 1);
  const auto outer_height = hn::Set(du, static_cast<uint32_t>(src.height) + 1);
  const auto end = hn::Set(di, static_cast<int32_t>(src.bytes() - src.pitch - margin + 1));
  const auto pitch = hn::Set(di, static_cast<int32_t>(src.pitch));
  const auto channels = hn::Set(di, src.channels);
  for (int32_t g = 0; g < groups; ++g) {
    auto all = hn::MaskFromVec(hn::Set(di, -1));
    auto any = hn::MaskFromVec(hn::Zero(di));
    for (size_t i = static_cast<size_t>(g) * kGroup; i < static_cast<size_t>(g + 1) * kGroup; i += hn::Lanes(di)) {
      const auto vx = hn::Load(di, x + i);
      const auto vy = hn::Load(di, y + i);
      const auto inside = hn::And(hn::RebindMask(di, hn::Lt(hn::BitCast(du, vx), inner_width)),
                                  hn::RebindMask(di, hn::Lt(hn::BitCast(du, vy), inner_height)));
      const auto touching = hn::And(hn::RebindMask(di, hn::Lt(hn::BitCast(du, hn::Add(vx, one)), outer_width)),
                                    hn::RebindMask(di, hn::Lt(hn::BitCast(du, hn::Add(vy, one)), outer_height)));
      const auto offsets = hn::Add(hn::Mul(vy, pitch), hn::Mul(vx, channels));
      hn::Store(offsets, di, offset + i);
      all = hn::And(all, hn::And(inside, hn::Lt(offsets, end)));
      any = hn::Or(any, touching);
    }
    kind[g] = hn::AllTrue(di, all) ? GroupKind::kInside : hn::AllFalse(di, any) ? GroupKind::kOutside : GroupKind::kMixed;
  }
}

// How one pixel lies to the source: kInside when all four neighbours lie inside.
inline GroupKind pixelKind(const SourceImage& src, int64_t x, int64_t y) {
  if (x >= 0 && x < src.width - 1 && y >= 0 && y < src.height - 1) return GroupKind::kInside;
  return x < -1 || x >= src.width || y < -1 || y >= src.height ? GroupKind::kOutside : GroupKind::kMixed;
}

// One neighbour of a pixel, wherever it lies: outside it is the border's pixel, or without one the nearest of the source.
inline const uint8_t* neighbour(const SourceImage& src, int64_t x, int64_t y, const uint8_t* border) {
  return border != nullptr && !src.contains(x, y) ? border : src.nearestPixel(x, y);
}

// One channel: for each group the 16 upper left neighbours, the 16 upper right, the lower left and the lower right ones.
struct GrayNeighbours {
  alignas(64) uint8_t bytes[4 * kBlockPixels];

  // Those of kInside groups only, or of all.
  template <bool kInsideOnly = false>
  HWY_INLINE void fetch(const SourceImage& src, const Neighbourhoods& at, int32_t groups, const uint8_t* border);

  void repeatLower(const Neighbourhoods& at, int32_t entries) {
    for (int32_t i = 0; i < entries; ++i) {
      uint8_t* const upper = bytes + i / kGroup * 4 * kGroup + i % kGroup;
      if (at.below[i] == 0) continue;
      upper[0] = upper[32];
      upper[16] = upper[48];
    }
  }

 private:
  // Windows of 8 rows by 8 columns of the source, one per group, as long as they cover what the group needs.
  HWY_INLINE bool fetchWindow(const SourceImage& src, const int32_t* xs, const int32_t* ys, uint8_t* out, uint8_t* index);
  HWY_INLINE static void pickFromWindow(uint8_t* window, const uint8_t* index);
  static void fetchPixel(const SourceImage& src, int64_t x, int64_t y, const uint8_t* border, uint8_t* out);
};

inline void GrayNeighbours::fetchPixel(const SourceImage& src, int64_t x, int64_t y, const uint8_t* border, uint8_t* out) {
  const GroupKind kind = pixelKind(src, x, y);
  if (kind == GroupKind::kInside) {
    const uint8_t* const upper = src.pixel(x, y);
    const uint8_t* const lower = upper + src.pitch;
    out[0] = upper[0];
    out[16] = upper[1];
    out[32] = lower[0];
    out[48] = lower[1];
  } else if (kind == GroupKind::kOutside && border != nullptr) {
    out[0] = out[16] = out[32] = out[48] = *border;
  } else {
    out[0] = *neighbour(src, x, y, border);
    out[16] = *neighbour(src, x + 1, y, border);
    out[32] = *neighbour(src, x, y + 1, border);
    out[48] = *neighbour(src, x + 1, y + 1, border);
  }
}

// Loads the window and the positions of the 16 upper left neighbours in it, row * 8 + column.
HWY_INLINE bool GrayNeighbours::fetchWindow(const SourceImage& src, const int32_t* xs, const int32_t* ys, uint8_t* out,
                                            uint8_t* index) {
  const hn::CappedTag<int32_t, kGroup> di;
  const hn::RebindToUnsigned<decltype(di)> du;
  const hn::Rebind<uint8_t, decltype(di)> d8;
  if (src.width < 8 || src.height < 8) return false;
  // Pixels 5 and 10 are the middle of a tile; the window reaches three pixels to each side of it, and one further.
  const int32_t left = std::clamp((xs[5] + xs[10]) / 2 - 3, 0, src.width - 8);
  const int32_t top = std::clamp((ys[5] + ys[10]) / 2 - 3, 0, src.height - 8);
  const auto limit = hn::Set(du, 7);
  auto covered = hn::MaskFromVec(hn::Set(du, ~0u));
  for (size_t i = 0; i < kGroup; i += hn::Lanes(di)) {
    const auto column = hn::BitCast(du, hn::Sub(hn::Load(di, xs + i), hn::Set(di, left)));
    const auto row = hn::BitCast(du, hn::Sub(hn::Load(di, ys + i), hn::Set(di, top)));
    covered = hn::And(covered, hn::And(hn::Lt(column, limit), hn::Lt(row, limit)));
    hn::StoreU(hn::U8FromU32(hn::And(hn::Add(hn::ShiftLeft<3>(row), column), hn::Set(du, 0xFF))), d8, index + i);
  }
  if (!hn::AllTrue(du, covered)) return false;
  const uint8_t* const source = src.pixel(left, top);
  for (int32_t r = 0; r < 8; ++r) std::memcpy(out + 8 * r, source + r * src.pitch, 8);
  return true;
}

HWY_INLINE void GrayNeighbours::pickFromWindow(uint8_t* window, const uint8_t* index) {
  const hn::CappedTag<uint8_t, 64> d;
  alignas(64) static constexpr uint8_t kSteps[64] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1,
                                                     1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8,
                                                     8, 8, 8, 8, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
  const ByteWindow<decltype(d), 4> bytes(d, window);
  const auto upper_left = hn::LoadDup128(d, index);
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) {
    hn::Store(bytes.lookup(hn::Add(upper_left, hn::Load(d, kSteps + i))), d, window + i);
  }
}

template <bool kInsideOnly>
HWY_INLINE void GrayNeighbours::fetch(const SourceImage& src, const Neighbourhoods& at, int32_t groups, const uint8_t* border) {
  alignas(64) uint8_t index[kBlockPixels];
  bool windowed[kBlockPixels / kGroup];
  // Loads first, lookups after them: a wide load right after the narrow stores that fill it would wait for them.
  for (int32_t g = 0; g < groups; ++g) {
    const int32_t first = g * kGroup;
    uint8_t* const out = bytes + 4 * first;
    windowed[g] = false;
    if (kInsideOnly && at.kind[g] != GroupKind::kInside) continue;
    if (at.kind[g] == GroupKind::kInside) {
      windowed[g] = fetchWindow(src, at.x + first, at.y + first, out, index + first);
      if (windowed[g]) continue;
      for (int32_t k = 0; k < kGroup; ++k) {
        const uint8_t* const upper = src.data + at.offset[first + k];
        const uint8_t* const lower = upper + src.pitch;
        out[k] = upper[0];
        out[k + 16] = upper[1];
        out[k + 32] = lower[0];
        out[k + 48] = lower[1];
      }
    } else if (at.kind[g] == GroupKind::kOutside && border != nullptr) {
      std::memset(out, *border, 4 * kGroup);
    } else {
      for (int32_t k = 0; k < kGroup; ++k) fetchPixel(src, at.x[first + k], at.y[first + k], border, out + k);
    }
  }
  for (int32_t g = 0; g < groups; ++g) {
    if (windowed[g]) pickFromWindow(bytes + 4 * g * kGroup, index + g * kGroup);
  }
}

// Three channels: for each pixel eight bytes, the left and the right neighbour side by side and two without meaning.
struct RgbNeighbours {
  alignas(64) uint8_t upper[8 * kBlockPixels];
  alignas(64) uint8_t lower[8 * kBlockPixels];

  template <bool kInsideOnly = false>
  HWY_INLINE void fetch(const SourceImage& src, const Neighbourhoods& at, int32_t groups, const uint8_t* border);

  void repeatLower(const Neighbourhoods& at, int32_t entries) {
    for (int32_t i = 0; i < entries; ++i) {
      if (at.below[i] != 0) std::memcpy(upper + 8 * i, lower + 8 * i, 8);
    }
  }

 private:
  static void join(const uint8_t* left, const uint8_t* right, uint8_t* out) {
    std::memcpy(out, left, 3);
    std::memcpy(out + 3, right, 3);
    std::memset(out + 6, 0, 2);
  }
  void fetchPixel(const SourceImage& src, int64_t x, int64_t y, const uint8_t* border, int32_t i);
};

inline void RgbNeighbours::fetchPixel(const SourceImage& src, int64_t x, int64_t y, const uint8_t* border, int32_t i) {
  const GroupKind kind = pixelKind(src, x, y);
  uint8_t* const above = upper + 8 * i;
  uint8_t* const below = lower + 8 * i;
  if (kind == GroupKind::kInside) {
    const uint8_t* const left = src.pixel(x, y);
    join(left, left + 3, above);
    join(left + src.pitch, left + src.pitch + 3, below);
  } else if (kind == GroupKind::kOutside && border != nullptr) {
    join(border, border, above);
    join(border, border, below);
  } else {
    join(neighbour(src, x, y, border), neighbour(src, x + 1, y, border), above);
    join(neighbour(src, x, y + 1, border), neighbour(src, x + 1, y + 1, border), below);
  }
}

template <bool kInsideOnly>
HWY_INLINE void RgbNeighbours::fetch(const SourceImage& src, const Neighbourhoods& at, int32_t groups, const uint8_t* border) {
  for (int32_t g = 0; g < groups; ++g) {
    const bool inside = at.kind[g] == GroupKind::kInside;
    if (kInsideOnly && !inside) continue;
    const bool outside = at.kind[g] == GroupKind::kOutside && border != nullptr;
    for (int32_t i = g * kGroup; i < (g + 1) * kGroup; ++i) {
      if (inside) {
        const uint8_t* const left = src.data + at.offset[i];
        std::memcpy(upper + 8 * i, left, 8);
        std::memcpy(lower + 8 * i, left + src.pitch, 8);
      } else if (outside) {
        join(border, border, upper + 8 * i);
        join(border, border, lower + 8 * i);
      } else {
        fetchPixel(src, at.x[i], at.y[i], border, i);
      }
    }
  }
}

}  // namespace tamix
