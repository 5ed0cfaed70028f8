// Minima and maxima over elements of any boxes.
#pragma once

#include <bit>
#include <cstring>
#include <tuple>
#include <type_traits>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/extremum_steps.h"
#include "inference/runtime/cpu/arm/common/structuring_element.h"
#include "inference/runtime/cpu/arm/common/window_extremum.h"

namespace tamix::extremum {

// Calls visit(first, last) for the samples that positions [begin, end) stand for, some perhaps more than once. True where a
// constant border is among them.
template <class Visit>
bool visitSamples(int64_t begin, int64_t end, int64_t n, int32_t border_type, const Visit& visit) {
  if (border_type == TAMIX_BORDER_CONSTANT) {
    const int64_t first = std::max<int64_t>(begin, 0);
    const int64_t last = std::min(end, n) - 1;
    if (first <= last) visit(first, last);
    return begin < 0 || end > n;
  }
  if (border_type == TAMIX_BORDER_REPLICATE) {
    visit(std::clamp<int64_t>(begin, 0, n - 1), std::clamp<int64_t>(end - 1, 0, n - 1));
    return false;
  }
  if (end - begin >= 2 * n) {  // a whole period
    visit(0, n - 1);
    return false;
  }
  // Neighbours stay neighbours up to the next edge.
  const int64_t cell = std::max<int64_t>(border_type == TAMIX_BORDER_REFLECT_101 ? n - 1 : n, 1);
  while (begin < end) {
    const int64_t into_cell = (begin % cell + cell) % cell;
    const int64_t behind = std::min(begin + cell - into_cell, end);
    const auto [first, last] = std::minmax({borderIndex(begin, n, border_type), borderIndex(behind - 1, n, border_type)});
    visit(first, last);
    begin = behind;
  }
  return false;
}

// One pass of an element. A box is the union of up to four windows whose sides are powers of two, and which may overlap: a
// table has the extremum of the window of one size that begins at every pixel. Boxes come in the order of their windows'
// widths, so that a table of twice the width is made of the one before it.
template <class Op>
class BoxPass {
  // Output rows that look at the same boxes one after the other, while the tables' rows that they share are in the caches.
  static constexpr int32_t kLines = 64;
  static constexpr int32_t kBoxesAtOnce = 16;
  // A box's rows are up to four pieces of the image, four windows each.
  static constexpr int32_t kMostWindows = kBoxesAtOnce * 16;
  // Small elements are taken through bands of the image whose tables stay in the caches.
  static constexpr int64_t kBandRows = 64;

 public:
  // With inside_only, positions outside the image are left out, whatever the border.
  BoxPass(const MorphologyImage& image, bool inside_only)
      : height_(image.height),
        width_(image.width),
        n_(rowElements(image.width, kPixel)),
        border_type_(inside_only ? kNoBorder : image.border_type),
        border_value_(inside_only ? Op::kNeutral : static_cast<uint8_t>(image.border_value)) {}

  // False without memory.
  bool allocate(const ElementBox* begin, const ElementBox* end) {
    boxes_ = ScratchBuffer<ElementBox>(static_cast<size_t>(end - begin));
    if (!boxes_) return false;
    boxes_end_ = std::copy(begin, end, boxes_.data());
    const auto order = [](const ElementBox& box) {
      return std::tuple(windowWidth(box), powerBelow(box.row_end - box.row_begin), box.row_begin, box.column_begin);
    };
    std::sort(boxes_.data(), boxes_end_, [&](const ElementBox& a, const ElementBox& b) { return order(a) < order(b); });
    int64_t left = 0;
    int64_t right = 0;
    int64_t tallest = 0;
    for (const ElementBox* box = boxes_.data(); box < boxes_end_; ++box) {
      left = std::max(left, -box->column_begin);
      right = std::max(right, box->column_end - 1);
      up_ = std::max(up_, -box->row_begin);
      down_ = std::max(down_, box->row_end - 1);
      tallest = std::max(tallest, box->row_end - box->row_begin);
    }
    left_ = static_cast<size_t>(left) * kPixel;
    right_ = static_cast<size_t>(right) * kPixel;
    margin_ = (left_ + kVectorBytes - 1) / kVectorBytes * kVectorBytes;
    pitch_ = (margin_ + n_ + right_ + 2 * kVectorBytes) / kVectorBytes * kVectorBytes;
    band_ = std::max(kBandRows, up_ + down_);
    if (2 * (band_ + up_ + down_) > height_) band_ = height_;
    int64_t most_rows = 0;
    for (int64_t y = 0; y < height_; y += band_) most_rows = std::max(most_rows, sourceRows(y).count());
    if (pitch_ > std::numeric_limits<size_t>::max() / static_cast<size_t>(most_rows)) return false;
    wide_ = ScratchBuffer<uint8_t>(pitch_ * static_cast<size_t>(most_rows));
    if (tallest > 1) high_ = ScratchBuffer<uint8_t>(pitch_ * static_cast<size_t>(most_rows));
    windows_ = ScratchBuffer<Windows>(kLines);
    return wide_ && (tallest <= 1 || high_) && windows_;
  }

  // The planes must not overlap.
  void run(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst) {
    for (int64_t y = 0; y < height_; y += band_) {
      const int64_t end = std::min(y + band_, height_);
      for (int64_t row = y; row < end; ++row) std::memset(dst.row(row), neutralOf(row), n_);
      rows_ = sourceRows(y);
      for (int64_t row = rows_.begin; row < rows_.end; ++row) fillRow(src.row(row), rowOf(wide_, row));
      int64_t width = 1;
      for (const ElementBox* box = boxes_.data(); box < boxes_end_;) {
        for (; width < windowWidth(*box); width *= 2) widen(width);
        const ElementBox* behind = box;
        while (behind < boxes_end_ && windowWidth(*behind) == width) ++behind;
        addBoxes(box, behind, width, y, end, dst);
        box = behind;
      }
    }
  }

 private:
  static constexpr int32_t kNoBorder = -1;

  struct Rows {
    int64_t begin;
    int64_t end;
    int64_t count() const { return end - begin; }
  };

  // The windows that an output row looks at, as pointers to those of its first byte.
  struct Windows {
    const uint8_t* at[kMostWindows];
    int32_t count;
  };

  static int64_t powerBelow(int64_t n) { return static_cast<int64_t>(std::bit_floor(static_cast<uint64_t>(n))); }
  static int64_t windowWidth(const ElementBox& box) { return powerBelow(box.column_end - box.column_begin); }

  // The rows of the source that stand for positions [begin, end).
  template <class Visit>
  void visitRows(int64_t begin, int64_t end, const Visit& visit) const {
    const int64_t first = std::max<int64_t>(begin, 0);
    const int64_t last = std::min(end, height_) - 1;
    const bool is_inside = first == begin && last == end - 1;
    if (!is_inside && border_type_ != kNoBorder) {
      visitSamples(begin, end, height_, border_type_, visit);
    } else if (first <= last) {
      visit(first, last);
    }
  }

  // All rows that the band from y on looks at, and those between them; at least one.
  Rows sourceRows(int64_t y) const {
    Rows rows{y, y + 1};
    visitRows(y - up_, std::min(y + band_, height_) + down_, [&](int64_t first, int64_t last) {
      rows = {std::min(rows.begin, first), std::max(rows.end, last + 1)};
    });
    return rows;
  }

  // What an output row begins with: a constant border that it sees.
  uint8_t neutralOf(int64_t y) const {
    const bool sees_border = y < up_ || height_ - 1 - y < down_;
    return border_type_ == TAMIX_BORDER_CONSTANT && sees_border ? border_value_ : Op::kNeutral;
  }

  // Where pixel 0 of a source row is in a table.
  uint8_t* rowOf(const ScratchBuffer<uint8_t>& table, int64_t row) const {
    return table.data() + static_cast<size_t>(row - rows_.begin) * pitch_ + margin_;
  }

  void fillRow(const uint8_t* src, uint8_t* row) const {
    std::memcpy(row, src, n_);
    if (border_type_ == kNoBorder || border_type_ == TAMIX_BORDER_CONSTANT) {
      std::memset(row - left_, border_value_, left_);
      std::memset(row + n_, border_value_, right_);
      return;
    }
    const auto fill = [&](int64_t x) {
      const int64_t from = borderIndex(x, width_, border_type_);
      std::memcpy(row + x * static_cast<int64_t>(kPixel), src + from * static_cast<int64_t>(kPixel), kPixel);
    };
    for (int64_t x = -static_cast<int64_t>(left_ / kPixel); x < 0; ++x) fill(x);
    for (int64_t x = width_; x < width_ + static_cast<int64_t>(right_ / kPixel); ++x) fill(x);
  }

  // Windows twice as wide. Bytes behind the first pixel of the last one do not matter.
  void widen(int64_t width) const {
    const hn::ScalableTag<uint8_t> d;
    const size_t step = static_cast<size_t>(width) * kPixel;
    const size_t all = left_ + n_ + right_;
    for (int64_t y = rows_.begin; y < rows_.end; ++y) {
      uint8_t* const row = rowOf(wide_, y) - left_;
      for (size_t i = 0; i + 2 * step < all + kPixel; i += hn::Lanes(d)) {
        hn::StoreU(Op()(hn::LoadU(d, row + i), hn::LoadU(d, row + i + step)), d, row + i);
      }
    }
  }

  // Windows twice as high, from those of `table`.
  void heighten(const ScratchBuffer<uint8_t>& table, int64_t height) const {
    for (int64_t y = rows_.begin; y + 2 * height <= rows_.end; ++y) {
      const uint8_t* const from[] = {rowOf(table, y) - left_, rowOf(table, y + height) - left_};
      uint8_t* const out = rowOf(high_, y) - left_;
      combineRows<1>(Op(), from, 2, &out, left_ + n_ + right_);
    }
  }

  // Boxes whose windows have the width of the table, in output rows [y, end).
  void addBoxes(const ElementBox* begin, const ElementBox* behind, int64_t width, int64_t y, int64_t end,
                const Plane<uint8_t>& dst) {
    int64_t tallest = 0;
    for (const ElementBox* box = begin; box < behind; ++box) tallest = std::max(tallest, box->row_end - box->row_begin);
    tallest = std::min(tallest, rows_.count());
    for (int64_t height = 1; height <= tallest; height *= 2) {
      if (height > 1) heighten(height == 2 ? wide_ : high_, height / 2);
      while (begin->row_end - begin->row_begin < height) ++begin;  // lower boxes have no windows as high
      const ScratchBuffer<uint8_t>& table = height == 1 ? wide_ : high_;
      for (int64_t first = y; first < end; first += kLines) {
        const auto lines = static_cast<int32_t>(std::min<int64_t>(kLines, end - first));
        for (const ElementBox* box = begin; box < behind; box += kBoxesAtOnce) {
          const ElementBox* const box_end = box + std::min<int64_t>(kBoxesAtOnce, behind - box);
          for (int32_t k = 0; k < lines; ++k)
            listWindows(box, box_end, width, height, table, first + k, windows_[static_cast<size_t>(k)]);
          combineWindows(dst, first, lines);
        }
      }
    }
  }

  // The windows of one size that make up the boxes at an output row.
  void listWindows(const ElementBox* begin, const ElementBox* end, int64_t width, int64_t height,
                   const ScratchBuffer<uint8_t>& table, int64_t y, Windows& windows) const {
    int32_t count = 0;
    for (const ElementBox* box = begin; box < end; ++box) {
      visitRows(y + box->row_begin, y + box->row_end, [&](int64_t first, int64_t last) {
        const int64_t rows = last - first + 1;
        if (rows < height || rows >= 2 * height) return;
        const auto take = [&](int64_t row, int64_t column) {
          windows.at[count++] = rowOf(table, row) + column * static_cast<int64_t>(kPixel);
        };
        const auto takeRow = [&](int64_t row) {
          take(row, box->column_begin);
          if (box->column_end - box->column_begin > width) take(row, box->column_end - width);
        };
        takeRow(first);
        if (rows > height) takeRow(last + 1 - height);
      });
    }
    windows.count = count;
  }

  // Adds its windows to every one of the rows.
  void combineWindows(const Plane<uint8_t>& dst, int64_t first, int32_t lines) const {
    const auto add = [&](auto d, auto vectors, size_t x) {
      constexpr size_t kVectors = vectors();
      using V = hn::Vec<decltype(d)>;
      const size_t lanes = hn::Lanes(d);
      for (int32_t k = 0; k < lines; ++k) {
        const Windows& windows = windows_[static_cast<size_t>(k)];
        if (windows.count == 0) continue;
        uint8_t* const out = dst.row(first + k) + x;
        V v[kVectors];
        for (size_t j = 0; j < kVectors; ++j) v[j] = hn::LoadU(d, out + j * lanes);
        if (isFinal(d, v)) continue;
        for (int32_t i = 0; i < windows.count; ++i) {
          const uint8_t* const at = windows.at[i] + x;
          for (size_t j = 0; j < kVectors; ++j) v[j] = Op()(v[j], hn::LoadU(d, at + j * lanes));
        }
        for (size_t j = 0; j < kVectors; ++j) hn::StoreU(v[j], d, out + j * lanes);
      }
    };
    constexpr size_t kTile = 4;
    const hn::ScalableTag<uint8_t> d;
    const size_t tile = kTile * hn::Lanes(d);
    if (n_ < tile) {
      coverRow(n_, [&](auto any, size_t x) { add(any, std::integral_constant<size_t, 1>(), x); });
      return;
    }
    const std::integral_constant<size_t, kTile> vectors;
    for (size_t x = 0; x < n_ - tile; x += tile) add(d, vectors, x);
    add(d, vectors, n_ - tile);
  }

  // True where no window can change anything any more.
  template <class D, class V, size_t kVectors>
  static bool isFinal(D d, const V (&v)[kVectors]) {
    V all = v[0];
    for (size_t j = 1; j < kVectors; ++j) all = typename Op::Other()(all, v[j]);
    return hn::AllTrue(d, hn::Eq(all, hn::Set(d, Op::Other::kNeutral)));
  }

  int64_t height_;
  int64_t width_;
  size_t n_;
  int32_t border_type_;
  uint8_t border_value_;
  ScratchBuffer<ElementBox> boxes_;
  ElementBox* boxes_end_ = nullptr;
  // How far the boxes reach: rows, and bytes of a row.
  int64_t up_ = 0;
  int64_t down_ = 0;
  size_t left_ = 0;
  size_t right_ = 0;
  size_t margin_ = 0;  // bytes before pixel 0 in a table
  size_t pitch_ = 0;   // of tables
  int64_t band_ = 0;   // output rows that are made from one table
  Rows rows_{0, 0};    // what the tables have
  ScratchBuffer<uint8_t> wide_;
  ScratchBuffer<uint8_t> high_;
  ScratchBuffer<Windows> windows_;
};

}  // namespace tamix::extremum
