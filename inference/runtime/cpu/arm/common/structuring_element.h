// Structuring elements of morphology: their shapes, and their members as boxes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix {

// The members of one row of an element: columns [begin, end).
struct ElementSpan {
  int64_t begin;
  int64_t end;

  bool isEmpty() const { return begin >= end; }
  bool operator==(const ElementSpan&) const = default;
};

// A rectangle, cross or ellipse (TamixMorphShape) of rows x columns. The arms of a cross meet at the anchor. An ellipse spans
// the element around row rows / 2 and column columns / 2. Every other shape is the top left member alone.
class ElementShape {
 public:
  ElementShape(int32_t shape, int64_t rows, int64_t columns, int64_t anchor_x, int64_t anchor_y)
      : shape_(shape), rows_(rows), columns_(columns), anchor_x_(anchor_x), anchor_y_(anchor_y) {}

  int64_t rows() const { return rows_; }
  int64_t columns() const { return columns_; }

  // The members of a row.
  ElementSpan span(int64_t row) const;
  // The first row after `row` with other members.
  int64_t nextChange(int64_t row) const;

 private:
  // The row where spans stop growing and begin to shrink.
  int64_t middle() const;

  int32_t shape_;
  int64_t rows_;
  int64_t columns_;
  int64_t anchor_x_;
  int64_t anchor_y_;
};

// Members in rows [row_begin, row_end) and columns [column_begin, column_end), relative to the output pixel.
struct ElementBox {
  int64_t row_begin;
  int64_t row_end;
  int64_t column_begin;
  int64_t column_end;

  bool sameColumns(const ElementBox& other) const {
    return column_begin == other.column_begin && column_end == other.column_end;
  }
};

// An element as boxes, those of equal columns next to each other. Element row r lies r - rows / 2 rows below the output pixel,
// column c lies c - columns / 2 columns to the right.
class StructuringElement {
 public:
  // From bytes, rows * columns of them; those that are not 0 are members.
  StructuringElement(const uint8_t* members, int64_t rows, int64_t columns);
  // From a shape.
  explicit StructuringElement(const ElementShape& shape);
  // What an element looks at in an image of this size and border (a plain type): boxes far outside the image are replaced by
  // near ones that stand for the same samples. Its own size no longer counts.
  StructuringElement(const StructuringElement& element, int64_t height, int64_t width, int32_t border_type);

  // False without memory.
  explicit operator bool() const { return static_cast<bool>(boxes_); }
  const ElementBox* begin() const { return boxes_.data(); }
  const ElementBox* end() const { return boxes_.data() + count_; }
  // True when every pixel of the window is a member.
  bool isRectangle() const { return is_rectangle_; }
  int64_t rows() const { return rows_; }
  int64_t columns() const { return columns_; }

 private:
  // `forEachBox(take)` calls take(first row, row behind, span) for boxes in any order.
  template <class ForEachBox>
  void build(const ForEachBox& forEachBox);
  static ElementBox* dropContained(ElementBox* begin, ElementBox* end);

  int64_t rows_;
  int64_t columns_;
  size_t count_ = 0;
  bool is_rectangle_ = false;
  ScratchBuffer<ElementBox> boxes_;
};

}  // namespace tamix
