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
  const hn::ScalableTag<uint8_t> d;
  const auto n = static_cast<size_t>(columns);
  size_t i = 0;
  for (; i + hn::Lanes(d) <= n; i += hn::Lanes(d)) {
    hn::StoreInterleaved3(hn::LoadU(d, r + i), hn::LoadU(d, g + i), hn::LoadU(d, b + i), d, out + 3 * i);
  }
  for (; i < n; ++i) {
    out[3 * i] = r[i];
    out[3 * i + 1] = g[i];
    out[3 * i + 2] = b[i];
  }
}

// Samples one channel at the positions of a block in tiles, which are overwritten. Neighbours outside the source are the
// border's, or without one the nearest pixel of the source.
template <BlendRounding kRounding>
void sampleBilinearGray(const SourceImage& src, FloatPositions& position, const BlockArea& area, const BlockTarget& target,
                        const uint8_t* border) {
  const hn::CappedTag<float, kGroup> d;
  const hn::RebindToSigned<decltype(d)> di;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  Neighbourhoods at;
  GrayNeighbours samples;
  alignas(64) uint8_t out[kBlockPixels];
  splitPositions(position, at, area.entries());
  at.classify(src, area.groups(), 2);
  samples.fetch(src, at, area.groups(), border);
  for (size_t g = 0; g < static_cast<size_t>(area.entries()); g += kGroup) {
    for (size_t i = g; i < g + kGroup; i += hn::Lanes(d)) {
      const auto sample = [&](size_t which) {
        return hn::PromoteTo(di, hn::LoadU(d8, samples.bytes + 3 * g + which * kGroup + i));
      };
      const auto blend = blendFloat<kRounding>(d, hn::Load(d, position.x + i), hn::Load(d, position.y + i), sample(0),
                                               sample(1), sample(2), sample(3));
      storeLowBytes(di, blend, out + i);
    }
  }
  storeTiles(out, target);
}

// The same for three channels and a strip.
template <BlendRounding kRounding>
void sampleBilinearRgb(const SourceImage& src, FloatPositions& position, const BlockArea& area, const BlockTarget& target,
                       const uint8_t* border) {
  const hn::CappedTag<float, kGroup> d;
  const hn::RebindToSigned<decltype(d)> di;
  const hn::RebindToUnsigned<decltype(d)> du;
  const hn::Repartition<uint8_t, decltype(d)> d8;
  Neighbourhoods at;
  RgbNeighbours samples;
  alignas(64) uint8_t out[3][kBlockPixels];
  splitPositions(position, at, area.entries());
  at.classify(src, area.groups(), 8);
  samples.fetch(src, at, area.groups(), border);
  const auto byte = hn::Set(du, 0xFF);
  for (size_t i = 0; i < static_cast<size_t>(area.entries()); i += hn::Lanes(d)) {
    const auto ax = hn::Load(d, position.x + i);
    const auto ay = hn::Load(d, position.y + i);
    const auto halves = [&](const uint8_t* pairs, auto& low, auto& high) {
      const auto first = hn::BitCast(du, hn::Load(d8, pairs + 8 * i));
      const auto second = hn::BitCast(du, hn::Load(d8, pairs + 8 * i + hn::Lanes(d8)));
      low = hn::ConcatEven(du, second, first);  // left 0, left 1, left 2, right 0
      high = hn::ConcatOdd(du, second, first);  // right 1, right 2
    };
    hn::Vec<decltype(du)> upper, upper_right, lower, lower_right;
    halves(samples.upper, upper, upper_right);
    halves(samples.lower, lower, lower_right);
    const auto channel = [&](auto s00, auto s01, auto s10, auto s11, uint8_t* plane) {
      const auto cut = [&](auto v) { return hn::BitCast(di, hn::And(v, byte)); };
      storeLowBytes(di, blendFloat<kRounding>(d, ax, ay, cut(s00), cut(s01), cut(s10), cut(s11)), plane + i);
    };
    channel(upper, hn::ShiftRight<24>(upper), lower, hn::ShiftRight<24>(lower), out[0]);
    channel(hn::ShiftRight<8>(upper), upper_right, hn::ShiftRight<8>(lower), lower_right, out[1]);
    channel(hn::ShiftRight<16>(upper), hn::ShiftRight<8>(upper_right), hn::ShiftRight<16>(lower),
            hn::ShiftRight<8>(lower_right), out[2]);
  }
  storeStrip3(out[0], out[1], out[2], target.data, target.columns);
}

}  // namespace tamix
