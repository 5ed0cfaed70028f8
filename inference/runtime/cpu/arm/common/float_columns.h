// The horizontal half of a bilinear resize of floats.
#pragma once

#include "inference/runtime/cpu/arm/common/bilinear_axis.h"
#include "inference/runtime/cpu/arm/common/row_lookup.h"
#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix {

// Blends every element of a row with its neighbour, for the elements that a destination row is made of.
class FloatColumns {
 public:
  // Floats that blend() writes for n elements.
  static size_t padded(size_t n) { return (n + kLanes - 1) / kLanes * kLanes; }

  static size_t room(size_t n) {
    return RowLookup::room(padded(n) / kLanes, kIndexBytes) + ScratchParts::room<size_t>(padded(n)) +
           ScratchParts::room<float>(padded(n));
  }

  FloatColumns(ScratchParts& scratch, const BilinearAxis& axis, int32_t src_width, int32_t dst_width, int32_t channels)
      : step_(static_cast<size_t>(axis.step()) * static_cast<size_t>(channels)),
        blocks_(padded(rowElements(dst_width, channels)) / kLanes),
        lookup_(scratch, blocks_, kIndexBytes, rowElements(src_width, channels) * sizeof(float)),
        position_(scratch.take<size_t>(blocks_ * kLanes)),
        weight_(scratch.take<float>(blocks_ * kLanes)) {
    size_t e = 0;
    for (int32_t x = 0; x < dst_width; ++x) {
      const AxisPosition at = axis[x];
      for (int32_t c = 0; c < channels; ++c, ++e) {
        position_[e] = static_cast<size_t>(at.index * channels + c) * sizeof(float);
        weight_[e] = at.fraction;
      }
    }
    for (; e < blocks_ * kLanes; ++e) {
      position_[e] = position_[e - 1];
      weight_[e] = weight_[e - 1];
    }
    lookup_.build(position_, kLanes, (step_ + 1) * sizeof(float), [](uint8_t* index, size_t i, uint8_t offset) {
      for (size_t byte = 0; byte < sizeof(float); ++byte) index[i * sizeof(float) + byte] = static_cast<uint8_t>(offset + byte);
    });
  }

  // h[e] = a + w * (b - a), whole vectors.
  void blend(const float* row, float* HWY_RESTRICT h) const {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(row);
    lookup_.withWindow([&](auto window) HWY_ATTR {
      const D d;
      for (size_t k = 0; k < blocks_; ++k) {
        const auto [a, b] = neighbours<window()>(bytes, k);
        const auto change = hn::Mul(hn::Load(d, weight_ + k * kLanes), hn::Sub(b, a));
        hn::Store(hn::Add(a, change), d, h + k * kLanes);
      }
    });
  }

 private:
  using D = hn::ScalableTag<float>;
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static constexpr size_t kIndexBytes = kLanes * sizeof(float);
  struct Neighbours {
    hn::Vec<D> a;
    hn::Vec<D> b;
  };

  template <size_t kWindow>
  HWY_INLINE Neighbours neighbours(const uint8_t* row, size_t k) const {
    const D d;
    if constexpr (kWindow == 0) {
      alignas(64) float a[kLanes];
      alignas(64) float b[kLanes];
      for (size_t i = 0; i < kLanes; ++i) {
        const uint8_t* const first = row + position_[k * kLanes + i];
        std::memcpy(a + i, first, sizeof(float));
        std::memcpy(b + i, first + step_ * sizeof(float), sizeof(float));
      }
      return {hn::Load(d, a), hn::Load(d, b)};
    } else {
      const hn::Repartition<uint8_t, D> d8;
      const auto window = lookup_.window<kWindow>(d8, row, k);
      const auto index = hn::Load(d8, lookup_.index(k));
      const auto step = hn::Set(d8, static_cast<uint8_t>(step_ * sizeof(float)));
      return {hn::BitCast(d, window.lookup(index)), hn::BitCast(d, window.lookup(hn::Add(index, step)))};
    }
  }

  size_t step_;
  size_t blocks_;
  RowLookup lookup_;
  size_t* position_;
  float* weight_;
};

}  // namespace tamix
