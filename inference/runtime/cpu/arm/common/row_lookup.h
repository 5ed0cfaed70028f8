// Tables that fetch scattered bytes of a row: a load, a whole-window permute and a store for a vector of results.
#pragma once

#include <type_traits>

#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/scratch_parts.h"

namespace tamix {

// Blocks of positions of a row. Each block loads one window of the row, in which its index bytes count; all blocks have
// windows of the same size, which stay inside the row.
class RowLookup {
 public:
  static constexpr size_t kMostWindow = 128;
  // Index bytes with this bit give zero (ByteWindow::lookupOr0); so windows end where it starts.
  static constexpr uint8_t kZero = kMostWindow;

  static size_t room(size_t blocks, size_t index_bytes) {
    return ScratchParts::room<size_t>(blocks) + ScratchParts::room<uint8_t>(blocks * index_bytes);
  }

  RowLookup(ScratchParts& scratch, size_t blocks, size_t index_bytes, size_t row_bytes)
      : start_(scratch.take<size_t>(blocks)),
        index_(scratch.take<uint8_t>(blocks * index_bytes)),
        blocks_(blocks),
        index_bytes_(index_bytes),
        row_bytes_(row_bytes) {}

  // positions: `per_block` of them for each block, of `reach` bytes each, all inside the row. fill(index, i, offset) writes the
  // index bytes of a block's i-th position, which is found at `offset` of the window.
  template <class Fill>
  void build(const size_t* positions, size_t per_block, size_t reach, const Fill& fill) {
    size_t span = 0;
    for (size_t k = 0; k < blocks_; ++k) {
      const auto [first, last] = range(positions + k * per_block, per_block);
      start_[k] = first;
      span = std::max(span, last - first + reach);
    }
    window_ = smallestWindow(span);
    if (window_ == 0) return;
    const size_t last_start = row_bytes_ - window_;
    for (size_t k = 0; k < blocks_; ++k) {
      start_[k] = std::min(start_[k], last_start);
      for (size_t i = 0; i < per_block; ++i) {
        fill(index_ + k * index_bytes_, i, static_cast<uint8_t>(positions[k * per_block + i] - start_[k]));
      }
    }
  }

  size_t blocks() const { return blocks_; }

  // Calls f with the number of 16-byte blocks of the windows as a constant: what ByteWindow takes, or 0 where the positions of
  // a block lie too far apart for any window, or the row is shorter than one.
  template <class F>
  void withWindow(const F& f) const {
    switch (window_) {
      case 16:
        if constexpr (kNarrowWindows) return f(std::integral_constant<size_t, 1>());
        break;
      case 32:
        if constexpr (kNarrowWindows) return f(std::integral_constant<size_t, 2>());
        break;
      case 48:
        if constexpr (kNarrowWindows) return f(std::integral_constant<size_t, 3>());
        break;
      case 64:
        return f(std::integral_constant<size_t, 4>());
      case 128:
        return f(std::integral_constant<size_t, 8>());
      default:
        return f(std::integral_constant<size_t, 0>());
    }
  }

  // Block k's window of a row.
  template <size_t kBlocks, class D>
  HWY_INLINE ByteWindow<D, kBlocks> window(D d, const uint8_t* row, size_t k) const {
    return ByteWindow<D, kBlocks>(d, row + start_[k]);
  }
  HWY_INLINE const uint8_t* index(size_t k) const { return index_ + k * index_bytes_; }

 private:
  struct Range {
    size_t first;
    size_t last;
  };

  // One load covers 64 bytes where vectors are that wide: nothing is gained by smaller windows.
  static constexpr bool kNarrowWindows = hn::MaxLanes(hn::ScalableTag<uint8_t>()) < 64;

  static Range range(const size_t* positions, size_t n) {
    Range r{positions[0], positions[0]};
    for (size_t i = 1; i < n; ++i) {
      r.first = std::min(r.first, positions[i]);
      r.last = std::max(r.last, positions[i]);
    }
    return r;
  }

  size_t smallestWindow(size_t span) const {
    for (const size_t window : {size_t{16}, size_t{32}, size_t{48}, size_t{64}, kMostWindow}) {
      if (span <= window && window <= row_bytes_ && (kNarrowWindows || window >= 64)) return window;
    }
    return 0;
  }

  size_t* start_;
  uint8_t* index_;
  size_t blocks_;
  size_t index_bytes_;
  size_t row_bytes_;
  size_t window_ = 0;
};

}  // namespace tamix
