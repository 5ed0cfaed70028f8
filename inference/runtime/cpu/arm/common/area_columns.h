// Weighted sums of the columns of a row, and of rows: the two halves of an area resize.
#pragma once

#include <cstring>

#include "inference/runtime/cpu/arm/common/area_axis.h"
#include "inference/runtime/cpu/arm/common/row_lookup.h"

namespace tamix {

// A lane belongs to one element of the smaller row and adds its cell's elements in order, every product rounded on its own.
// Cells with fewer elements than the largest one add zeros, which change nothing.
template <class T>
class AreaColumns {
 public:
  using D = hn::ScalableTag<float>;
  using V = hn::Vec<D>;
  static constexpr size_t kLanes = hn::MaxLanes(D());
  // Vectors of a block, which share what a row costs.
  static constexpr size_t kVectors = 2;
  static constexpr size_t kBlock = kVectors * kLanes;

  static size_t blocks(size_t n) { return (n + kBlock - 1) / kBlock; }

  static size_t room(size_t n, double scale) {
    const size_t vectors = blocks(n) * kVectors;
    return RowLookup::room(vectors, mostTaps(scale) * kIndexBytes) +
           ScratchParts::room<size_t>(vectors * mostTaps(scale) * kLanes) +
           ScratchParts::room<float>(vectors * mostTaps(scale) * kLanes);
  }

  AreaColumns(ScratchParts& scratch, int32_t src_width, int32_t dst_width, int32_t channels)
      : scale_(areaScale(src_width, dst_width)),
        taps_(largestCell(src_width, dst_width)),
        blocks_(blocks(rowElements(dst_width, channels))),
        lookup_(scratch, blocks_ * kVectors, taps_ * kIndexBytes, rowElements(src_width, channels) * sizeof(T)),
        position_(scratch.take<size_t>(blocks_ * kBlock * taps_)),
        weight_(scratch.take<float>(blocks_ * kBlock * taps_)) {
    const auto step = static_cast<size_t>(channels);
    AreaCell cell{};
    // Lanes beyond the last element repeat the last pixel's cell.
    for (size_t e = 0, x = 0, c = 0; e < blocks_ * kBlock; ++e) {
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

  // Calls f with the constants that a Block takes: its window, and its taps or 0 for any number of them.
  template <class F>
  void withShape(const F& f) const {
    lookup_.withWindow([&](auto window) {
      switch (taps_) {
        case 2:
          return f(window, std::integral_constant<size_t, 2>());
        case 3:
          return f(window, std::integral_constant<size_t, 3>());
        case 4:
          return f(window, std::integral_constant<size_t, 4>());
        default:
          return f(window, std::integral_constant<size_t, 0>());
      }
    });
  }

  // Column sums of elements k * kBlock on, for row after row: few taps stay in registers.
  template <size_t kWindow, size_t kTaps>
  class Block {
   public:
    HWY_INLINE Block(const AreaColumns& columns, size_t k) : columns_(columns), first_(k * kVectors) {
      if constexpr (kInRegisters) {
        for (size_t v = 0; v < kVectors; ++v) {
          for (size_t t = 0; t < kTaps; ++t) {
            index_[v][t] = hn::Load(D8(), columns.index(first_ + v, t));
            weight_[v][t] = hn::Load(D(), columns.weight(first_ + v, t));
          }
        }
      }
    }

    // The sums of vector v.
    HWY_INLINE V sums(const T* row, size_t v) const {
      const auto* const bytes = reinterpret_cast<const uint8_t*>(row);
      auto sum = hn::Zero(D());
      if constexpr (kWindow == 0) {
        for (size_t t = 0; t < columns_.taps_; ++t) {
          const auto elements = columns_.oneByOne(bytes, first_ + v, t);
          sum = hn::Add(sum, hn::Mul(hn::Load(D(), columns_.weight(first_ + v, t)), elements));
        }
      } else {
        const auto window = columns_.lookup_.template window<kWindow>(D8(), bytes, first_ + v);
        const auto product = [&](auto index, auto weight)
                                 HWY_ATTR { return hn::Mul(weight, toFloat(window.lookupOr0(index))); };
        if constexpr (kInRegisters) {
          for (size_t t = 0; t < kTaps; ++t) sum = hn::Add(sum, product(index_[v][t], weight_[v][t]));
        } else {
          for (size_t t = 0; t < columns_.taps_; ++t) {
            sum = hn::Add(
                sum, product(hn::Load(D8(), columns_.index(first_ + v, t)), hn::Load(D(), columns_.weight(first_ + v, t))));
          }
        }
      }
      return sum;
    }

   private:
    using D8 = hn::Repartition<uint8_t, D>;
    static constexpr bool kInRegisters = kWindow != 0 && kTaps != 0;

    static HWY_INLINE V toFloat(hn::Vec<D8> lanes) {
      if constexpr (sizeof(T) == 1) {
        return hn::ConvertTo(D(), hn::BitCast(hn::RebindToSigned<D>(), lanes));
      } else {
        return hn::BitCast(D(), lanes);
      }
    }

    const AreaColumns& columns_;
    size_t first_;
    hn::Vec<D8> index_[kVectors][kInRegisters ? kTaps : 1];
    V weight_[kVectors][kInRegisters ? kTaps : 1];
  };

 private:
  static constexpr size_t kIndexBytes = kLanes * sizeof(float);

  // Most elements that a cell of this scale covers: whole ones and a part at either end.
  static size_t mostTaps(double scale) { return static_cast<size_t>(scale) + 3; }

  size_t largestCell(int32_t src_width, int32_t dst_width) const {
    ptrdiff_t largest = 1;
    for (int32_t x = 0; x < dst_width; ++x) largest = std::max(largest, areaCell(x, scale_, src_width).count);
    return static_cast<size_t>(largest);
  }

  const uint8_t* index(size_t vector, size_t t) const { return lookup_.index(vector) + t * kIndexBytes; }
  const float* weight(size_t vector, size_t t) const { return weight_ + (vector * taps_ + t) * kLanes; }

  // The t-th element of every lane's cell, 0 where it has none.
  V oneByOne(const uint8_t* row, size_t vector, size_t t) const {
    const size_t* const positions = position_ + (vector * taps_ + t) * kLanes;
    alignas(64) float lanes[kLanes];
    for (size_t i = 0; i < kLanes; ++i) {
      T element;
      std::memcpy(&element, row + positions[i], sizeof(T));
      lanes[i] = weight(vector, t)[i] != 0.0f ? static_cast<float>(element) : 0.0f;
    }
    return hn::Load(D(), lanes);
  }

  double scale_;
  size_t taps_;
  size_t blocks_;
  RowLookup lookup_;
  size_t* position_;
  float* weight_;
};

// The rows of one band, strip by strip: a block's tables are loaded once for a strip, whose source rows stay in the near cache.
template <class T>
class AreaRows {
 public:
  static size_t room(size_t n, double scale_y) {
    return ScratchParts::room<float>(paddedTo(n)) + ScratchParts::room<Step>(mostSteps(scale_y));
  }

  AreaRows(ScratchParts& scratch, size_t n, double scale_y)
      : scale_(scale_y), carry_(scratch.take<float>(paddedTo(n))), steps_(scratch.take<Step>(mostSteps(scale_y))) {}

  // write(y, e, v0, v1) stores two vectors, the elements from e on of destination row y.
  template <class Write>
  void average(const AreaBand& band, Plane<const T> src, const AreaColumns<T>& columns, const Write& write) const {
    columns.withShape([&](auto window, auto taps) HWY_ATTR {
      ptrdiff_t carried = -1;
      for (int32_t y = 0; y < band.dst_count; y += kStrip) {
        const int32_t rows = std::min(kStrip, band.dst_count - y);
        carried = listSteps(band, src, y, rows, carried);
        for (size_t k = 0; k < columns.blocks(); ++k)
          averageBlock<window(), taps()>(columns, k, band.dst_first + y, rows, write);
      }
    });
  }

 private:
  using Columns = AreaColumns<T>;
  static constexpr int32_t kStrip = 8;

  // A source row's part in a destination row.
  struct Step {
    const T* row;  // null: the row of the step before
    float weight;
    bool ends_row;
  };

  static size_t paddedTo(size_t n) { return Columns::blocks(n) * Columns::kBlock; }
  static size_t mostSteps(double scale) { return kStrip * (static_cast<size_t>(scale) + 3); }

  // Lists the steps of a strip; `carried` is the source row of the step before. Returns that of the last step.
  ptrdiff_t listSteps(const AreaBand& band, Plane<const T> src, int32_t y0, int32_t rows, ptrdiff_t carried) const {
    Step* step = steps_;
    for (int32_t y = y0; y < y0 + rows; ++y) {
      const AreaCell cell = areaCell(y, scale_, band.src_count);
      for (ptrdiff_t i = 0; i < cell.count; ++i) {
        const ptrdiff_t row = cell.first + i;
        *step++ = {row == carried ? nullptr : src.row(band.src_first + row), cell.weight(i), i + 1 == cell.count};
        carried = row;
      }
    }
    return carried;
  }

  template <size_t kWindow, size_t kTaps, class Write>
  HWY_INLINE void averageBlock(const Columns& columns, size_t k, int32_t y0, int32_t rows, const Write& write) const {
    const typename Columns::D d;
    const typename Columns::template Block<kWindow, kTaps> block(columns, k);
    float* const carry = carry_ + k * Columns::kBlock;
    auto sums0 = hn::Load(d, carry);
    auto sums1 = hn::Load(d, carry + Columns::kLanes);
    const Step* step = steps_;
    for (int32_t y = y0; y < y0 + rows; ++y) {
      auto total0 = hn::Zero(d);
      auto total1 = hn::Zero(d);
      for (bool ends_row = false; !ends_row; ++step) {
        if (step->row != nullptr) {
          sums0 = block.sums(step->row, 0);
          sums1 = block.sums(step->row, 1);
        }
        const auto weight = hn::Set(d, step->weight);
        total0 = hn::Add(total0, hn::Mul(weight, sums0));
        total1 = hn::Add(total1, hn::Mul(weight, sums1));
        ends_row = step->ends_row;
      }
      write(y, k * Columns::kBlock, total0, total1);
    }
    hn::Store(sums0, d, carry);
    hn::Store(sums1, d, carry + Columns::kLanes);
  }

  double scale_;
  float* carry_;
  Step* steps_;
};

}  // namespace tamix
