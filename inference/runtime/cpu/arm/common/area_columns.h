// Weighted sums of the columns of a row, and of rows: the two halves of an area resize.
#pragma once

#include "inference/runtime/cpu/arm/common/area_axis.h"
#include "inference/runtime/cpu/arm/common/row_lookup.h"

namespace tamix {

// A vector holds consecutive elements of the smaller row; each lane adds its cell's elements in order, every product rounded
// on its own. Cells with fewer elements than the largest one add zeros, which change nothing.
template <class T>
class AreaColumns {
 public:
  using D = hn::ScalableTag<float>;
  static constexpr size_t kLanes = hn::MaxLanes(D());

  static size_t blocks(size_t n) { return (n + kLanes - 1) / kLanes; }

  // Most elements that a cell of this scale covers: whole ones and a part at either end.
  static size_t mostTaps(double scale) { return static_cast<size_t>(scale) + 3; }

  static size_t room(size_t n, double scale) {
    const size_t taps = blocks(n) * mostTaps(scale);
    return RowLookup::room(blocks(n), mostTaps(scale) * kIndexBytes) + ScratchParts::room<size_t>(taps * kLanes) +
           ScratchParts::room<float>(taps * kLanes);
  }

  AreaColumns(ScratchParts& scratch, int32_t src_width, int32_t dst_width, int32_t channels)
      : scale_(areaScale(src_width, dst_width)),
        taps_(largestCell(src_width, dst_width)),
        blocks_(blocks(rowElements(dst_width, channels))),
        lookup_(scratch, blocks_, taps_ * kIndexBytes, rowElements(src_width, channels) * sizeof(T)),
        position_(scratch.take<size_t>(blocks_ * taps_ * kLanes)),
        weight_(scratch.take<float>(blocks_ * taps_ * kLanes)) {
    const auto step = static_cast<size_t>(channels);
    AreaCell cell{};
    // Lanes beyond the last element repeat the last pixel's cell.
    for (size_t e = 0, x = 0, c = 0; e < blocks_ * kLanes; ++e) {
      if (c == 0 && x < static_cast<size_t>(dst_width)) cell = areaCell(static_cast<int32_t>(x), scale_, src_width);
      for (size_t t = 0; t < taps_; ++t) {
        const size_t at = (e / kLanes * taps_ + t) * kLanes + e % kLanes;
        const bool covered = t < static_cast<size_t>(cell.count);
        const size_t sample = static_cast<size_t>(cell.first) + (covered ? t : 0);
        position_[at] = (sample * step + c) * sizeof(T);
        weight_[at] = covered ? cell.weight(static_cast<ptrdiff_t>(t)) : 0.0f;
      }
      if (++c == step) {
        c = 0;
        ++x;
      }
    }
    size_t at = 0;
    lookup_.build(position_, taps_ * kLanes, sizeof(T), [&](uint8_t* index, size_t i, uint8_t offset) {
      const bool covered = weight_[at++] != 0.0f;
      for (size_t byte = 0; byte < sizeof(float); ++byte) {
        const bool read = covered && byte < sizeof(T);
        index[i * sizeof(float) + byte] = read ? static_cast<uint8_t>(offset + byte) : RowLookup::kZero;
      }
    });
  }

  size_t blocks() const { return blocks_; }
  const T* prepare(const T* row) { return reinterpret_cast<const T*>(lookup_.prepare(reinterpret_cast<const uint8_t*>(row))); }
  template <class F>
  void withWindow(const F& f) const {
    lookup_.withWindow(f);
  }

  // The sums of elements k * kLanes on.
  template <size_t kWindow>
  HWY_INLINE hn::Vec<D> sums(const T* prepared_row, size_t k) const {
    const D d;
    const float* const weights = weight_ + k * taps_ * kLanes;
    auto sum = hn::Zero(d);
    for (size_t t = 0; t < taps_; ++t) {
      sum = hn::Add(sum, hn::Mul(hn::Load(d, weights + t * kLanes), elements<kWindow>(prepared_row, k, t)));
    }
    return sum;
  }

 private:
  static constexpr size_t kIndexBytes = kLanes * sizeof(float);

  size_t largestCell(int32_t src_width, int32_t dst_width) const {
    ptrdiff_t largest = 1;
    for (int32_t x = 0; x < dst_width; ++x) largest = std::max(largest, areaCell(x, scale_, src_width).count);
    return static_cast<size_t>(largest);
  }

  // The t-th element of every lane's cell, 0 where it has none.
  template <size_t kWindow>
  HWY_INLINE hn::Vec<D> elements(const T* row, size_t k, size_t t) const {
    const D d;
    const hn::RebindToSigned<D> di;
    const auto* const bytes = reinterpret_cast<const uint8_t*>(row);
    if constexpr (kWindow == 0) {
      const size_t* const positions = position_ + (k * taps_ + t) * kLanes;
      const float* const weights = weight_ + (k * taps_ + t) * kLanes;
      alignas(64) float lanes[kLanes];
      for (size_t i = 0; i < kLanes; ++i) {
        T element;
        std::memcpy(&element, bytes + positions[i], sizeof(T));
        lanes[i] = weights[i] != 0.0f ? static_cast<float>(element) : 0.0f;
      }
      return hn::Load(d, lanes);
    } else {
      const hn::Repartition<uint8_t, D> d8;
      const auto lanes = lookup_.window<kWindow>(d8, bytes, k).lookupOr0(hn::Load(d8, lookup_.index(k) + t * kIndexBytes));
      if constexpr (sizeof(T) == 1) return hn::ConvertTo(d, hn::BitCast(di, lanes));
      if constexpr (sizeof(T) != 1) return hn::BitCast(d, lanes);
    }
  }

  double scale_;
  size_t taps_;
  size_t blocks_;
  RowLookup lookup_;
  size_t* position_;
  float* weight_;
};

// Averages the rows of one band. write(y, e, v) stores the vector v of elements e on of destination row y. carry has a lane for
// every element: the column sums of a source row that two destination rows share.
template <class T, class Write>
void averageBand(const AreaBand& band, double scale, Plane<const T> src, AreaColumns<T>& columns, float* HWY_RESTRICT carry,
                 const Write& write) {
  const hn::ScalableTag<float> d;
  constexpr size_t kLanes = AreaColumns<T>::kLanes;
  columns.withWindow([&](auto window) HWY_ATTR {
    ptrdiff_t carried = -1;
    for (int32_t y = 0; y < band.dst_count; ++y) {
      const AreaCell cell = areaCell(y, scale, band.src_count);
      const ptrdiff_t last = cell.first + cell.count - 1;
      const bool keeps_last = y + 1 < band.dst_count && areaCell(y + 1, scale, band.src_count).first == last;
      for (size_t k = 0; k < columns.blocks(); ++k) {
        auto sum = hn::Zero(d);
        for (ptrdiff_t i = 0; i < cell.count; ++i) {
          const ptrdiff_t row = cell.first + i;
          const bool is_carried = row == carried;
          const auto sums = is_carried ? hn::Load(d, carry + k * kLanes)
                                       : columns.template sums<window()>(columns.prepare(src.row(band.src_first + row)), k);
          sum = hn::Add(sum, hn::Mul(hn::Set(d, cell.weight(i)), sums));
          if (keeps_last && row == last) hn::Store(sums, d, carry + k * kLanes);
        }
        write(band.dst_first + y, k * kLanes, sum);
      }
      carried = keeps_last ? last : -1;
    }
  });
}

}  // namespace tamix
