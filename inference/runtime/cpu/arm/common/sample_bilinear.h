// Bilinear sampling of a block with float weights.
#pragma once

#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/sample_pairs.h"

namespace tamix {

// How a blend becomes a byte.
enum class BlendRounding { kNearestEven, kDown };

// Splits positions into whole ones and weights, which replace the positions: at = floor(position) + weight. Positions beyond
// the integers are taken to the ends of their range; NaN and infinity have whole part 0 or an end, and weight NaN.
HWY_INLINE void splitPositions(FloatPositions& position, Neighbourhoods& at, int32_t entries) {
  const hn::CappedTag<float, kGroup> d;
  const hn::RebindToSigned<decltype(d)> di;
  const auto split = [&](float* values, int32_t* whole) {
    const auto v = hn::Load(d, values);
    const auto floor = hn::Floor(v);
    hn::Store(truncateToInt32(d, floor), di, whole);
    hn::Store(hn::Sub(v, floor), d, values);
  };
  for (size_t i = 0; i < static_cast<size_t>(entries); i += hn::Lanes(d)) {
    split(position.x + i, at.x + i);
    split(position.y + i, at.y + i);
  }
}

// top = ax (s01 - s00) + s00, bottom = ax (s11 - s10) + s10, top + ay (bottom - top), every step rounded to single precision,
// then rounded to an integer: 0..255, or for a NaN weight one whose low byte is 0.
template <BlendRounding kRounding, class D, class V, class VI>
HWY_INLINE VI blendFloat(D d, V ax, V ay, VI s00, VI s01, VI s10, VI s11) {
  const auto top = hn::Add(hn::Mul(ax, hn::ConvertTo(d, hn::Sub(s01, s00))), hn::ConvertTo(d, s00));
  const auto bottom = hn::Add(hn::Mul(ax, hn::ConvertTo(d, hn::Sub(s11, s10))), hn::ConvertTo(d, s10));
  const auto blend = hn::Add(top, hn::Mul(ay, hn::Sub(bottom, top)));
  // The blend is never negative, so truncation rounds it down.
  return kRounding == BlendRounding::kNearestEven ? roundInRange(d, blend) : truncateInRange(d, blend);
}

// The low bytes of 32-bit lanes.
template <class D, class VI>
HWY_INLINE void storeLowBytes(D /*di*/, VI v, uint8_t* out) {
  const hn::RebindToUnsigned<D> du;
  const hn::Rebind<uint8_t, D> d8;
  hn::StoreU(hn::U8FromU32(hn::And(hn::BitCast(du, v), hn::Set(du, 0xFF))), d8, out);
}

// Writes a block of bytes, given in tiles, to its rows.
inline void storeTiles(const uint8_t* tiles, const BlockTarget& target) {
  for (int32_t r = 0; r < target.rows; ++r) {
    uint8_t* const out = target.data + r * target.pitch;
    const uint8_t* const row = tiles + 4 * r;
    int32_t c = 0;
    for (; c + 4 <= target.columns; c += 4) std::memcpy(out + c, row + 4 * c, 4);
    for (; c < target.columns; ++c) out[c] = row[c / 4 * 16 + c % 4];
  }
}

// Interleaves a strip of three planes.
inline void storeStrip3(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out, int32_t columns) {
  const hn::ScalableTag<uint8_t> wide;
  const hn::FixedTag<uint8_t, 16> narrow;
  const auto n = static_cast<size_t>(columns);
  const auto store = [&](auto d, size_t i) {
    hn::StoreInterleaved3(hn::LoadU(d, r + i), hn::LoadU(d, g + i), hn::LoadU(d, b + i), d, out + 3 * i);
  };
  size_t i = 0;
  for (; i + hn::Lanes(wide) <= n; i += hn::Lanes(wide)) store(wide, i);
  for (; i + hn::Lanes(narrow) <= n; i += hn::Lanes(narrow)) store(narrow, i);
  for (; i < n; ++i) {
    out[3 * i] = r[i];
    out[3 * i + 1] = g[i];
    out[3 * i + 2] = b[i];
  }
}

// For a replicated border: moves pixels outside to the last neighbours inside. To the left and right a weight of 0 or 1 picks
// one of the two exactly. Above, a weight of 0 picks the upper row; below, the rows are marked, since top + (bottom - top) is
// not always the bottom. Weights that are NaN stay NaN. For sources of two rows and columns at least.
HWY_INLINE void moveInside(const SourceImage& src, FloatPositions& weight, Neighbourhoods& at, int32_t entries) {
  const hn::CappedTag<float, kGroup> d;
  const hn::RebindToSigned<decltype(d)> di;
  const auto origin = hn::Zero(di);
  const auto last_x = hn::Set(di, src.width - 2);
  const auto last_y = hn::Set(di, src.height - 2);
  auto any_below = hn::MaskFromVec(origin);
  for (size_t i = 0; i < static_cast<size_t>(entries); i += hn::Lanes(d)) {
    const auto x = hn::Load(di, at.x + i);
    const auto y = hn::Load(di, at.y + i);
    const auto ax = hn::Load(d, weight.x + i);
    const auto ay = hn::Load(d, weight.y + i);
    const auto none_x = hn::Mul(ax, hn::Zero(d));  // 0 or NaN
    const auto none_y = hn::Mul(ay, hn::Zero(d));
    const auto right = hn::RebindMask(d, hn::Gt(x, last_x));
    const auto below = hn::Gt(y, last_y);
    const auto from_x = hn::IfThenElse(right, hn::Add(none_x, hn::Set(d, 1.0f)), ax);
    const auto outside_y = hn::Or(hn::Lt(y, origin), below);
    hn::Store(hn::IfThenElse(hn::RebindMask(d, hn::Lt(x, origin)), none_x, from_x), d, weight.x + i);
    hn::Store(hn::IfThenElse(hn::RebindMask(d, outside_y), none_y, ay), d, weight.y + i);
    hn::Store(hn::Min(hn::Max(x, origin), last_x), di, at.x + i);
    hn::Store(hn::Min(hn::Max(y, origin), last_y), di, at.y + i);
    hn::Store(hn::VecFromMask(di, below), di, at.below + i);
    any_below = hn::Or(any_below, below);
  }
  at.any_below = !hn::AllFalse(di, any_below);
}

// Whole positions, weights (in place of the positions) and kinds of a block.
HWY_INLINE void locate(const SourceImage& src, FloatPositions& position, const BlockArea& area, int32_t margin,
                       const uint8_t* border, Neighbourhoods& at) {
  splitPositions(position, at, area.entries());
  at.classify(src, area.groups(), margin);
  if (border != nullptr || src.width < 2 || src.height < 2 || at.allInside(area.groups())) return;
  moveInside(src, position, at, area.entries());
  at.classify(src, area.groups(), margin);
}

// One group of one channel: out[k] = the low byte of blend(d, entry, s00, s01, s10, s11), which gets the neighbours in 32-bit
// lanes.
template <class Blend>
HWY_INLINE void blendGrayGroup(const GrayNeighbours& samples, int32_t group, uint8_t* out, const Blend& blend) {
  const hn::CappedTag<float, kGroup> d;
  const hn::RebindToSigned<decltype(d)> di;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const size_t first = static_cast<size_t>(group) * kGroup;
  const uint8_t* const bytes = samples.bytes + 4 * first;
  for (size_t i = 0; i < kGroup; i += hn::Lanes(d)) {
    const auto sample = [&](size_t which) { return hn::PromoteTo(di, hn::LoadU(d8, bytes + which * kGroup + i)); };
    storeLowBytes(di, blend(d, first + i, sample(0), sample(1), sample(2), sample(3)), out + i);
  }
}

// The same for three channels, to three planes.
template <class Blend>
HWY_INLINE void blendRgbGroup(const RgbNeighbours& samples, int32_t group, uint8_t* red, uint8_t* green, uint8_t* blue,
                              const Blend& blend) {
  const hn::CappedTag<float, kGroup> d;
  const hn::RebindToSigned<decltype(d)> di;
  const hn::RebindToUnsigned<decltype(d)> du;
  const hn::Repartition<uint8_t, decltype(d)> d8;
  const auto byte = hn::Set(du, 0xFF);
  const size_t first = static_cast<size_t>(group) * kGroup;
  for (size_t k = 0; k < kGroup; k += hn::Lanes(d)) {
    const size_t i = first + k;
    const auto halves = [&](const uint8_t* pairs, auto& low, auto& high) {
      const auto lower_pixels = hn::BitCast(du, hn::Load(d8, pairs + 8 * i));
      const auto upper_pixels = hn::BitCast(du, hn::Load(d8, pairs + 8 * i + hn::Lanes(d8)));
      low = hn::ConcatEven(du, upper_pixels, lower_pixels);  // left 0, left 1, left 2, right 0
      high = hn::ConcatOdd(du, upper_pixels, lower_pixels);  // right 1, right 2
    };
    hn::Vec<decltype(du)> upper, upper_right, lower, lower_right;
    halves(samples.upper, upper, upper_right);
    halves(samples.lower, lower, lower_right);
    const auto channel = [&](auto s00, auto s01, auto s10, auto s11, uint8_t* plane) {
      const auto cut = [&](auto v) { return hn::BitCast(di, hn::And(v, byte)); };
      storeLowBytes(di, blend(d, i, cut(s00), cut(s01), cut(s10), cut(s11)), plane + k);
    };
    channel(upper, hn::ShiftRight<24>(upper), lower, hn::ShiftRight<24>(lower), red);
    channel(hn::ShiftRight<8>(upper), upper_right, hn::ShiftRight<8>(lower), lower_right, green);
    channel(hn::ShiftRight<16>(upper), hn::ShiftRight<8>(upper_right), hn::ShiftRight<16>(lower),
            hn::ShiftRight<8>(lower_right), blue);
  }
}

// Samples one channel at the positions of a block in tiles, which are overwritten. Neighbours outside the source are the
// border's, or without one the nearest pixel of the source.
template <BlendRounding kRounding>
void sampleBilinearGray(const SourceImage& src, FloatPositions& position, const BlockArea& area, const BlockTarget& target,
                        const uint8_t* border) {
  Neighbourhoods at;
  GrayNeighbours samples;
  alignas(64) uint8_t out[kBlockPixels];
  locate(src, position, area, 2, border, at);
  samples.fetch(src, at, area.groups(), border);
  if (at.any_below) samples.repeatLower(at, area.entries());
  for (int32_t g = 0; g < area.groups(); ++g) {
    blendGrayGroup(samples, g, out + g * kGroup, [&](auto d, size_t i, auto s00, auto s01, auto s10, auto s11) {
      return blendFloat<kRounding>(d, hn::Load(d, position.x + i), hn::Load(d, position.y + i), s00, s01, s10, s11);
    });
  }
  storeTiles(out, target);
}

// The same for three channels and a strip.
template <BlendRounding kRounding>
void sampleBilinearRgb(const SourceImage& src, FloatPositions& position, const BlockArea& area, const BlockTarget& target,
                       const uint8_t* border) {
  Neighbourhoods at;
  RgbNeighbours samples;
  alignas(64) uint8_t out[3][kBlockPixels];
  locate(src, position, area, 8, border, at);
  samples.fetch(src, at, area.groups(), border);
  if (at.any_below) samples.repeatLower(at, area.entries());
  for (int32_t g = 0; g < area.groups(); ++g) {
    blendRgbGroup(samples, g, out[0] + g * kGroup, out[1] + g * kGroup, out[2] + g * kGroup,
                  [&](auto d, size_t i, auto s00, auto s01, auto s10, auto s11) {
                    return blendFloat<kRounding>(d, hn::Load(d, position.x + i), hn::Load(d, position.y + i), s00, s01, s10,
                                                 s11);
                  });
  }
  storeStrip3(out[0], out[1], out[2], target.data, target.columns);
}

}  // namespace tamix
