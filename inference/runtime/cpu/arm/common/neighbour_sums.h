// Weighted sums of an element of a row and its neighbour, for scattered elements: the horizontal half of a bilinear resize.
#pragma once

#include "inference/runtime/cpu/arm/common/byte_pairs.h"
#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/row_lookup.h"

namespace tamix {

// Pixels as the sums take them. kFlipped: with the top bit inverted, that is less 128, where products are formed by a
// multiply-add of unsigned weights and signed pixels; so weights may be as large as 128. NEON multiplies unsigned bytes.
enum class Pixels { kPlain, kFlipped };

// Two vectors of consecutive 16-bit lanes.
template <class V>
struct Consecutive {
  V first;
  V second;
};

// The vertical half in 128ths: (a * w + b * (128 - w) + 64) >> 7 of plain pixels, as Pixels::kFlipped.
class RowBlend {
 public:
  using D = hn::ScalableTag<uint8_t>;
  using V = hn::Vec<D>;

  // w: 0 to 128.
  explicit RowBlend(uint8_t w) : first_(hn::Set(D(), w)), second_(hn::Set(D(), static_cast<uint8_t>(128 - w))) {}

  HWY_INLINE V operator()(V a, V b) const {
    const D d;
#if HWY_TARGET == HWY_NEON
    const uint16x8_t lo =
        vmlal_u8(vmull_u8(vget_low_u8(a.raw), vget_low_u8(first_.raw)), vget_low_u8(b.raw), vget_low_u8(second_.raw));
    const uint16x8_t hi = vmlal_high_u8(vmull_high_u8(a.raw, first_.raw), b.raw, second_.raw);
    using V16 = hn::Vec<hn::Repartition<uint16_t, D>>;
    return roundShiftRightNarrowToUint8<7>(d, V16(lo), V16(hi));
#else
    const hn::RebindToSigned<D> di;
    const hn::Repartition<int16_t, D> d16;
    const auto weights = hn::InterleaveLower(d, first_, second_);
    const V flip = hn::Set(d, 0x80);
    const V fa = hn::Xor(a, flip);
    const V fb = hn::Xor(b, flip);
    const auto lo = multiplyAddPairs(d16, weights, hn::BitCast(di, hn::InterleaveLower(d, fa, fb)));
    const auto hi = multiplyAddPairs(d16, weights, hn::BitCast(di, hn::InterleaveUpper(d, fa, fb)));
    return hn::BitCast(d, narrowToInt8(di, hn::MulFixedPoint15(lo, in7Bits(d16)), hn::MulFixedPoint15(hi, in7Bits(d16))));
#endif
  }

  // The end of the horizontal half: (sum + 64) >> 7 of sums of flipped pixels with weights that add up to 128, as plain pixels.
  template <class V16>
  static HWY_INLINE V finish(const Consecutive<V16>& sums) {
    const D d;
#if HWY_TARGET == HWY_NEON
    return roundShiftRightNarrowToUint8<7>(d, sums.first, sums.second);
#else
    const hn::RebindToSigned<D> di;
    const auto scale = in7Bits(hn::Repartition<int16_t, D>());
    const auto v = narrowToInt8(di, hn::MulFixedPoint15(sums.first, scale), hn::MulFixedPoint15(sums.second, scale));
    return hn::Xor(narrowedInOrder(d, hn::BitCast(d, v)), hn::Set(d, 0x80));
#endif
  }

 private:
  // (v * 256 + 2^14) >> 15 is (v + 64) >> 7.
  template <class D16>
  static HWY_INLINE hn::Vec<D16> in7Bits(D16 d16) {
    return hn::Set(d16, 256);
  }

  V first_;
  V second_;
};

// sum[e] = row[p] * (total - w) + row[p + step] * w for n elements, each with a position p and a weight w. Fill in position()
// and weight(), then build(). With Pixels::kFlipped sums are signed and smaller by total * 128 (not on NEON).
class NeighbourSums {
 public:
  using D = hn::ScalableTag<uint8_t>;
  // Elements of a block.
  static constexpr size_t kBlock = hn::MaxLanes(D());

  static size_t room(size_t n) {
    const size_t blocks = blockCount(n);
    return RowLookup::room(blocks * kWindows, kIndexBytes) + ScratchParts::room<size_t>(blocks * kBlock) +
           ScratchParts::room<uint8_t>(blocks * kBlock) + ScratchParts::room<uint8_t>(blocks * kBlock * 2);
  }

  // n is at least 1.
  NeighbourSums(ScratchParts& scratch, size_t n, size_t row_bytes)
      : n_(n),
        blocks_(blockCount(n)),
        lookup_(scratch, blocks_ * kWindows, kIndexBytes, row_bytes),
        position_(scratch.take<size_t>(blocks_ * kBlock)),
        weight_(scratch.take<uint8_t>(blocks_ * kBlock)),
        weight_pairs_(scratch.take<uint8_t>(blocks_ * kBlock * 2)) {}

  size_t* position() const { return position_; }
  uint8_t* weight() const { return weight_; }

  void build(uint8_t total, size_t step) {
    step_ = step;
    total_ = total;
    for (size_t e = n_; e < blocks_ * kBlock; ++e) {
      position_[e] = position_[n_ - 1];
      weight_[e] = weight_[n_ - 1];
    }
    lookup_.build(position_, kPerWindow, step + 1, [step](uint8_t* index, size_t i, uint8_t offset) {
      index[left(i)] = offset;
      index[right(i)] = static_cast<uint8_t>(offset + step);
    });
    for (size_t e = 0; e < blocks_ * kBlock; ++e) {
      uint8_t* const pairs = weight_pairs_ + e / kPerWindow * kIndexBytes;
      pairs[left(e % kPerWindow)] = static_cast<uint8_t>(total - weight_[e]);
      pairs[right(e % kPerWindow)] = weight_[e];
    }
  }

  size_t blocks() const { return blocks_; }

  // Calls f with the constant that sums() takes.
  template <class F>
  void withWindow(const F& f) const {
    lookup_.withWindow(f);
  }

  // The sums of elements block * kBlock on.
  template <size_t kWindow, Pixels kPixels>
  HWY_INLINE auto sums(const uint8_t* row, size_t block) const {
    const D d;
#if HWY_TARGET == HWY_NEON
    using V = hn::Vec<hn::Repartition<uint16_t, D>>;
    if constexpr (kWindow == 0) return oneByOne<hn::Repartition<uint16_t, D>, false>(row, block);
    if constexpr (kWindow != 0) {
      const auto window = lookup_.window<kWindow>(d, row, block);
      const uint8_t* const index = lookup_.index(block);
      const uint8_t* const weights = weight_pairs_ + block * kIndexBytes;
      const uint8x16_t a = window.lookup(hn::Load(d, index)).raw;
      const uint8x16_t b = window.lookup(hn::Load(d, index + kBlock)).raw;
      const uint8x16_t wa = hn::Load(d, weights).raw;
      const uint8x16_t wb = hn::Load(d, weights + kBlock).raw;
      return Consecutive<V>{V(vmlal_u8(vmull_u8(vget_low_u8(a), vget_low_u8(wa)), vget_low_u8(b), vget_low_u8(wb))),
                            V(vmlal_high_u8(vmull_high_u8(a, wa), b, wb))};
    }
#else
    const hn::RebindToSigned<D> di;
    using D16 = std::conditional_t<kPixels == Pixels::kFlipped, hn::Repartition<int16_t, D>, hn::Repartition<uint16_t, D>>;
    if constexpr (kWindow == 0) return oneByOne<D16, kPixels == Pixels::kFlipped>(row, block);
    if constexpr (kWindow != 0) {
      const auto half = [&](size_t k) {
        const auto pixels = lookup_.window<kWindow>(d, row, k).lookup(hn::Load(d, lookup_.index(k)));
        const auto weights = hn::Load(d, weight_pairs_ + k * kIndexBytes);
        if constexpr (kPixels == Pixels::kFlipped) {
          return multiplyAddPairs(D16(), weights, hn::BitCast(di, pixels));
        } else {
          return hn::BitCast(D16(), multiplyAddPairs(hn::RebindToSigned<D16>(), pixels, hn::BitCast(di, weights)));
        }
      };
      return Consecutive<hn::Vec<D16>>{half(block * 2), half(block * 2 + 1)};
    }
#endif
  }

 private:
#if HWY_TARGET == HWY_NEON
  static constexpr size_t kWindows = 1;
#else
  static constexpr size_t kWindows = 2;
#endif
  static constexpr size_t kPerWindow = kBlock / kWindows;
  static constexpr size_t kIndexBytes = 2 * kPerWindow;
  static constexpr size_t left(size_t i) { return pairLane(i, 0, kIndexBytes); }
  static constexpr size_t right(size_t i) { return pairLane(i, 1, kIndexBytes); }

  static size_t blockCount(size_t n) { return (n + kBlock - 1) / kBlock; }

  template <class D16, bool kSigned>
  HWY_INLINE Consecutive<hn::Vec<D16>> oneByOne(const uint8_t* row, size_t block) const {
    const D16 d16;
    const auto value = [](uint8_t byte) { return kSigned ? static_cast<int8_t>(byte) : int32_t{byte}; };
    alignas(64) hn::TFromD<D16> sums[kBlock];
    for (size_t i = 0; i < kBlock; ++i) {
      const size_t e = block * kBlock + i;
      const uint8_t* const pixel = row + position_[e];
      sums[i] = static_cast<hn::TFromD<D16>>(value(pixel[0]) * (total_ - weight_[e]) + value(pixel[step_]) * weight_[e]);
    }
    return {hn::Load(d16, sums), hn::Load(d16, sums + kHalf)};
  }
  static constexpr size_t kHalf = kBlock / 2;

  size_t n_;
  size_t blocks_;
  RowLookup lookup_;
  size_t* position_;
  uint8_t* weight_;
  uint8_t* weight_pairs_;
  size_t step_ = 0;
  uint8_t total_ = 0;
};

}  // namespace tamix
