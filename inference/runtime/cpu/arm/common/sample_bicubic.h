// Bicubic sampling of a strip with 15-bit coefficients; outside the source lies the border.
#pragma once

#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/pair_sums.h"
#include "inference/runtime/cpu/arm/common/sample_block.h"

namespace tamix {

// Coefficients of the 4x4 neighbours by row, for every pair of 5-bit fractions: entry fraction y * 32 + fraction x. The
// sixteen of an entry sum to 32768.
struct BicubicTable {
  static constexpr int32_t kSteps = 32;
  static constexpr int32_t kTaps = 16;
  alignas(64) int16_t entries[kSteps * kSteps][kTaps];

  BicubicTable();
};

// The one table of the process, built at load.
const BicubicTable& bicubicTable();

constexpr int32_t kBicubicHalf = 1 << 14;
constexpr int32_t kBicubicShift = 15;

// Upper left neighbour of a position in 1/32 pixels; whole positions have 16 bits.
constexpr int32_t bicubicFirst(int32_t position) { return std::clamp(position >> 5, -32768, 32767) - 1; }

// What the vector part of a group needs: coefficients and the byte of the upper left neighbour.
struct BicubicGroup {
  alignas(64) int32_t offset[kGroup];
  alignas(64) int32_t entry[kGroup];

  HWY_INLINE GroupKind locate(const SourceImage& src, const int32_t* xs, const int32_t* ys, int32_t margin);
};

// kInside when all neighbours of all pixels lie inside and `margin` bytes can be read from the first of the lowest row's on;
// kOutside when none lies inside.
HWY_INLINE GroupKind BicubicGroup::locate(const SourceImage& src, const int32_t* xs, const int32_t* ys, int32_t margin) {
  const hn::CappedTag<int32_t, kGroup> di;
  const hn::RebindToUnsigned<decltype(di)> du;
  const int64_t last = src.bytes() - 3 * src.pitch - margin;
  if (!src.near() || src.width < 4 || src.height < 4 || last < 0) return GroupKind::kMixed;
  const auto least = hn::Set(di, -32768);
  const auto most = hn::Set(di, 32767);
  const auto one = hn::Set(di, 1);
  const auto fraction = hn::Set(di, BicubicTable::kSteps - 1);
  const auto inner_width = hn::Set(du, static_cast<uint32_t>(src.width) - 3);
  const auto inner_height = hn::Set(du, static_cast<uint32_t>(src.height) - 3);
  const auto end = hn::Set(di, static_cast<int32_t>(last + 1));
  // As unsigned numbers: left + 3 of a pixel with any neighbour inside is 0 to width + 2.
  const auto three = hn::Set(di, 3);
  const auto outer_width = hn::Set(du, static_cast<uint32_t>(src.width) + 3);
  const auto outer_height = hn::Set(du, static_cast<uint32_t>(src.height) + 3);
  auto all = hn::MaskFromVec(hn::Set(di, -1));
  auto any = hn::MaskFromVec(hn::Zero(di));
  for (size_t i = 0; i < kGroup; i += hn::Lanes(di)) {
    const auto x = hn::Load(di, xs + i);
    const auto y = hn::Load(di, ys + i);
    const auto left = hn::Sub(hn::Min(hn::Max(hn::ShiftRight<5>(x), least), most), one);
    const auto top = hn::Sub(hn::Min(hn::Max(hn::ShiftRight<5>(y), least), most), one);
    const auto at =
        hn::Add(hn::Mul(top, hn::Set(di, static_cast<int32_t>(src.pitch))), hn::Mul(left, hn::Set(di, src.channels)));
    const auto inside = hn::And(hn::RebindMask(di, hn::Lt(hn::BitCast(du, left), inner_width)),
                                hn::RebindMask(di, hn::Lt(hn::BitCast(du, top), inner_height)));
    all = hn::And(all, hn::And(inside, hn::Lt(at, end)));
    any = hn::Or(any, hn::And(hn::RebindMask(di, hn::Lt(hn::BitCast(du, hn::Add(left, three)), outer_width)),
                              hn::RebindMask(di, hn::Lt(hn::BitCast(du, hn::Add(top, three)), outer_height))));
    hn::Store(at, di, offset + i);
    hn::Store(hn::Add(hn::ShiftLeft<5>(hn::And(y, fraction)), hn::And(x, fraction)), di, entry + i);
  }
  if (hn::AllTrue(di, all)) return GroupKind::kInside;
  return hn::AllFalse(di, any) ? GroupKind::kOutside : GroupKind::kMixed;
}

// One pixel anywhere.
template <int kChannels>
void sampleBicubicPixel(const SourceImage& src, const BicubicTable& table, int32_t x, int32_t y, uint8_t* out,
                        const uint8_t* border) {
  const int32_t left = bicubicFirst(x);
  const int32_t top = bicubicFirst(y);
  const int16_t* const coefficients = table.entries[(y & 31) * 32 + (x & 31)];
  int32_t sums[kChannels] = {};
  for (int32_t tap = 0; tap < BicubicTable::kTaps; ++tap) {
    const int32_t sx = left + tap % 4;
    const int32_t sy = top + tap / 4;
    const uint8_t* const pixel = src.contains(sx, sy) ? src.pixel(sx, sy) : border;
    for (int c = 0; c < kChannels; ++c) sums[c] += coefficients[tap] * pixel[c];
  }
  for (int c = 0; c < kChannels; ++c) {
    out[c] = static_cast<uint8_t>(std::clamp((sums[c] + kBicubicHalf) >> kBicubicShift, 0, 255));
  }
}

using BicubicSum = hn::Vec<hn::FixedTag<int32_t, 4>>;

// Four vectors of sums, rounded, as 16 bytes in order.
HWY_INLINE hn::Vec<hn::FixedTag<uint8_t, 16>> roundBicubicSums(BicubicSum a, BicubicSum b, BicubicSum c, BicubicSum e) {
  const hn::FixedTag<int32_t, 4> d32;
  const hn::FixedTag<int16_t, 8> d16;
  const hn::FixedTag<uint8_t, 16> d8;
  const auto round = [&](BicubicSum v) { return hn::ShiftRight<kBicubicShift>(hn::Add(v, hn::Set(d32, kBicubicHalf))); };
  return narrowToUint8(d8, narrowToInt16(d16, round(a), round(b)), narrowToInt16(d16, round(c), round(e)));
}

// Products of 16 neighbours of one channel, row by row, and their coefficients, as four sums to be added.
HWY_INLINE BicubicSum bicubicGraySum(const SourceImage& src, int32_t offset, const int16_t* coefficients) {
  const hn::FixedTag<int32_t, 4> d32;
  const hn::FixedTag<int16_t, 8> d16;
  const hn::FixedTag<uint8_t, 16> d8;
  const uint8_t* const first = src.data + offset;
  const hn::FixedTag<uint32_t, 4> du;
  const auto row = [&](int32_t r) { return hn::Set(du, loadBytes<uint32_t>(first + r * src.pitch)); };
  const auto upper = hn::InterleaveLower(du, row(0), row(1));
  const auto lower = hn::InterleaveLower(du, row(2), row(3));
  const auto pixels = hn::BitCast(d8, hn::ConcatLowerLower(du, lower, upper));
  auto sum0 = hn::Zero(d32);
  auto sum1 = hn::Zero(d32);
  sum0 = hn::ReorderWidenMulAccumulate(d32, hn::BitCast(d16, widenLower(d8, pixels)), hn::Load(d16, coefficients), sum0, sum1);
  sum0 =
      hn::ReorderWidenMulAccumulate(d32, hn::BitCast(d16, widenUpper(d8, pixels)), hn::Load(d16, coefficients + 8), sum0, sum1);
  return joinPairSums(d32, sum0, sum1);
}

// The sums of red, green and blue (and a 0) of one pixel.
HWY_INLINE BicubicSum bicubicRgbSum(const SourceImage& src, int32_t offset, const int16_t* coefficients) {
  const hn::FixedTag<int32_t, 4> d32;
  const hn::FixedTag<int16_t, 8> d16;
  const hn::FixedTag<uint8_t, 16> d8;
  constexpr uint8_t o = 0x80;  // a zero byte
  alignas(16) static constexpr uint8_t kRedGreen[16] = {0, o, 3, o, 6, o, 9, o, 1, o, 4, o, 7, o, 10, o};
  alignas(16) static constexpr uint8_t kBlue[16] = {2, o, 5, o, 8, o, 11, o, o, o, o, o, o, o, o, o};
  const auto red_green = hn::Load(d8, kRedGreen);
  const auto blue = hn::Load(d8, kBlue);
  const uint8_t* const first = src.data + offset;
  auto rg0 = hn::Zero(d32), rg1 = hn::Zero(d32), b0 = hn::Zero(d32), b1 = hn::Zero(d32);
  for (int32_t r = 0; r < 4; ++r) {
    const auto pixels = hn::LoadU(d8, first + r * src.pitch);
    const hn::FixedTag<int64_t, 2> d64;
    const auto weights =
        hn::BitCast(d16, hn::Set(d64, loadBytes<int64_t>(reinterpret_cast<const uint8_t*>(coefficients + 4 * r))));
    rg0 = hn::ReorderWidenMulAccumulate(d32, hn::BitCast(d16, hn::TableLookupBytesOr0(pixels, red_green)), weights, rg0, rg1);
    b0 = hn::ReorderWidenMulAccumulate(d32, hn::BitCast(d16, hn::TableLookupBytesOr0(pixels, blue)), weights, b0, b1);
  }
  return addNeighbours(d32, joinPairSums(d32, rg0, rg1), joinPairSums(d32, b0, b1));
}

// A group whose neighbours all lie inside.
template <int kChannels>
HWY_INLINE void sampleBicubicGroup(const SourceImage& src, const BicubicTable& table, const BicubicGroup& group, uint8_t* out) {
  const hn::FixedTag<int32_t, 4> d32;
  const hn::FixedTag<uint8_t, 16> d8;
  if constexpr (kChannels == 1) {
    const auto four = [&](int32_t k) {
      const auto sum = [&](int32_t i) { return bicubicGraySum(src, group.offset[i], table.entries[group.entry[i]]); };
      return addNeighbours(d32, addNeighbours(d32, sum(k), sum(k + 1)), addNeighbours(d32, sum(k + 2), sum(k + 3)));
    };
    hn::StoreU(roundBicubicSums(four(0), four(4), four(8), four(12)), d8, out);
  } else {
    alignas(16) static constexpr uint8_t kThree[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
    for (int32_t k = 0; k < kGroup; k += 4) {
      const auto sum = [&](int32_t i) { return bicubicRgbSum(src, group.offset[i], table.entries[group.entry[i]]); };
      const auto pixels = roundBicubicSums(sum(k), sum(k + 1), sum(k + 2), sum(k + 3));  // r g b 0 r g b 0 ...
      alignas(16) uint8_t packed[16];
      hn::Store(hn::TableLookupBytesOr0(pixels, hn::Load(d8, kThree)), d8, packed);
      std::memcpy(out + 3 * k, packed, 12);
    }
  }
}

// Samples a strip at positions in 1/32 pixels.
template <int kChannels>
void sampleBicubic(const SourceImage& src, const WholePositions& at, uint8_t* out, int32_t n, const uint8_t* border) {
  const BicubicTable& table = bicubicTable();
  BicubicGroup group;
  for (int32_t i = 0; i < n; i += kGroup, out += kGroup * kChannels) {
    const bool whole = i + kGroup <= n;
    const GroupKind kind = whole ? group.locate(src, at.x + i, at.y + i, kChannels == 3 ? 16 : 4) : GroupKind::kMixed;
    if (kind == GroupKind::kInside) {
      sampleBicubicGroup<kChannels>(src, table, group, out);
      continue;
    }
    if (kind == GroupKind::kOutside) {
      // The coefficients sum to one.
      for (int32_t k = 0; k < kGroup; ++k) std::memcpy(out + k * kChannels, border, kChannels);
      continue;
    }
    for (int32_t k = 0; k < std::min(kGroup, n - i); ++k) {
      sampleBicubicPixel<kChannels>(src, table, at.x[i + k], at.y[i + k], out + k * kChannels, border);
    }
  }
}

}  // namespace tamix
