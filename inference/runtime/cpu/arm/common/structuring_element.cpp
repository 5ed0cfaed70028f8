#include "inference/runtime/cpu/arm/common/structuring_element.h"

#include <cmath>
#include <tuple>

#include "tamix/tamix.h"

namespace tamix {
namespace {

// Positions [begin, end) relative to any of n samples, moved by whole periods or shortened to where they stand for the same
// samples but lie around 0.
ElementSpan nearPositions(int64_t begin, int64_t end, int64_t n, int32_t border_type) {
  if (border_type == TAMIX_BORDER_CONSTANT || border_type == TAMIX_BORDER_REPLICATE || n == 1) {
    return {std::clamp(begin, -n, n), std::clamp(end - 1, -n, n) + 1};
  }
  if (end - begin >= 2 * n) return {0, 2 * n};
  const int64_t period = border_type == TAMIX_BORDER_WRAP ? n : border_type == TAMIX_BORDER_REFLECT ? 2 * n : 2 * n - 2;
  const int64_t middle = begin + (end - begin) / 2;
  const int64_t shift = (middle + (middle < 0 ? -period : period) / 2) / period * period;
  return {begin - shift, end - shift};
}

}  // namespace

int64_t ElementShape::middle() const { return shape_ == TAMIX_MORPH_CROSS ? anchor_y_ : rows_ / 2; }

ElementSpan ElementShape::span(int64_t row) const {
  if (shape_ == TAMIX_MORPH_RECT) return {0, columns_};
  if (shape_ == TAMIX_MORPH_CROSS) {
    if (row == anchor_y_) return {0, columns_};
    return {anchor_x_, std::min(anchor_x_ + 1, columns_)};
  }
  if (shape_ != TAMIX_MORPH_ELLIPSE) return row == 0 ? ElementSpan{0, std::min<int64_t>(1, columns_)} : ElementSpan{0, 0};

  const int64_t r = rows_ / 2;
  const int64_t c = columns_ / 2;
  const int64_t dy = row - r;
  if (std::abs(dy) > r) return {0, 0};
  const double inverse = r == 0 ? 0.0 : 1.0 / (static_cast<double>(r) * static_cast<double>(r));
  const auto dx = static_cast<int64_t>(std::sqrt(inverse * static_cast<double>(r * r - dy * dy)) * static_cast<double>(c));
  return {std::max<int64_t>(c - dx, 0), std::min(c + dx + 1, columns_)};
}

int64_t ElementShape::nextChange(int64_t row) const {
  // Spans grow up to the middle row and shrink behind it (only row 0 of an unknown shape stands alone): up to the bound,
  // rows that are equal follow each other.
  const int64_t middle_row = middle();
  const bool stands_alone = shape_ < TAMIX_MORPH_RECT || shape_ > TAMIX_MORPH_ELLIPSE;
  int64_t bound = rows_;
  if (stands_alone) {
    if (row == 0) bound = std::min<int64_t>(1, rows_);
  } else if (row < middle_row) {
    bound = std::min(middle_row, rows_);
  }
  const ElementSpan here = span(row);
  int64_t low = row + 1;
  while (low < bound) {
    const int64_t probe = low + (bound - low) / 2;
    if (span(probe) == here) {
      low = probe + 1;
    } else {
      bound = probe;
    }
  }
  return low;
}

// Leaves out boxes that lie within others of the same rows; returns the new end.
ElementBox* StructuringElement::dropContained(ElementBox* begin, ElementBox* end) {
  std::sort(begin, end, [](const ElementBox& a, const ElementBox& b) {
    return std::tie(a.row_begin, a.row_end, a.column_begin, b.column_end) <
           std::tie(b.row_begin, b.row_end, b.column_begin, a.column_end);
  });
  ElementBox* kept = begin;
  for (const ElementBox* box = begin + 1; box < end; ++box) {
    const bool contained =
        box->row_begin == kept->row_begin && box->row_end == kept->row_end && box->column_end <= kept->column_end;
    if (!contained) *++kept = *box;
  }
  return kept + 1;
}

template <class ForEachBox>
void StructuringElement::build(const ForEachBox& forEachBox) {
  size_t most = 0;
  forEachBox([&](int64_t, int64_t, ElementSpan) { ++most; });
  boxes_ = ScratchBuffer<ElementBox>(most);
  if (!boxes_) return;
  ElementBox* end = boxes_.data();
  forEachBox([&](int64_t first, int64_t last, ElementSpan span) {
    *end++ = {first - rows_ / 2, last - rows_ / 2, span.begin - columns_ / 2, span.end - columns_ / 2};
  });
  ElementBox* const begin = boxes_.data();
  if (begin == end) return;
  end = dropContained(begin, end);
  std::sort(begin, end, [](const ElementBox& a, const ElementBox& b) {
    return std::tie(a.column_begin, a.column_end, a.row_begin) < std::tie(b.column_begin, b.column_end, b.row_begin);
  });
  // Boxes that touch become one.
  ElementBox* kept = begin;
  for (const ElementBox* box = begin + 1; box < end; ++box) {
    if (box->sameColumns(*kept) && box->row_begin == kept->row_end) {
      kept->row_end = box->row_end;
    } else {
      *++kept = *box;
    }
  }
  count_ = static_cast<size_t>(kept - begin) + 1;
  is_rectangle_ =
      count_ == 1 && begin->row_end - begin->row_begin == rows_ && begin->column_end - begin->column_begin == columns_;
}

StructuringElement::StructuringElement(const uint8_t* members, int64_t rows, int64_t columns) : rows_(rows), columns_(columns) {
  build([&](const auto& take) {
    if (columns < 1) return;  // however many rows
    for (int64_t r = 0; r < rows; ++r) {
      const uint8_t* const row = members + r * columns;
      for (int64_t c = 0; c < columns; ++c) {
        if (row[c] == 0) continue;
        const int64_t first = c;
        while (c < columns && row[c] != 0) ++c;
        take(r, r + 1, ElementSpan{first, c});
      }
    }
  });
}

StructuringElement::StructuringElement(const ElementShape& shape) : rows_(shape.rows()), columns_(shape.columns()) {
  build([&](const auto& take) {
    if (columns_ < 1) return;
    for (int64_t r = 0; r < rows_;) {
      const int64_t next = shape.nextChange(r);
      if (const ElementSpan span = shape.span(r); !span.isEmpty()) take(r, next, span);
      r = next;
    }
  });
}

StructuringElement::StructuringElement(const StructuringElement& element, int64_t height, int64_t width, int32_t border_type)
    : rows_(0), columns_(0) {
  build([&](const auto& take) {
    for (const ElementBox& box : element) {
      const ElementSpan rows = nearPositions(box.row_begin, box.row_end, height, border_type);
      take(rows.begin, rows.end, nearPositions(box.column_begin, box.column_end, width, border_type));
    }
  });
}

}  // namespace tamix
