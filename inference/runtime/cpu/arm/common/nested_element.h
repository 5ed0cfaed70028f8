// Elements whose rows' members lie in one piece around the output pixel, rows further up or down within all nearer ones:
// crosses, ellipses, diamonds. Many passes over such an element are one pass over a larger one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/structuring_element.h"

namespace tamix {

// The members of a row: columns -left to right.
struct Chord {
  int32_t left;
  int32_t right;

  bool contains(const Chord& other) const { return left >= other.left && right >= other.right; }
  bool operator==(const Chord&) const = default;
};

// The rows of a nested element from the longest chord to the shortest, reaching at most to the neighbouring image in each
// direction. Adding two of them gives their Minkowski sum, row by row the longest sum of chords whose rows add up: since chords
// shrink to both sides, no rows of opposite directions need to be added.
class NestedElement {
 public:
  // Which pixels see no other members than those inside the image (or a constant border, or the other side of a ring).
  enum class Fit {
    kNone,
    kAll,
    kBehindEdges,  // all but those of row 0 and column 0, which may see one row or column more, mirrored
  };

  // All passes over the element, in an image of this size and border (a plain type); with kBehindEdges all but the last two,
  // after which the first row and column are as if no pass had looked beyond the edges.
  NestedElement(const StructuringElement& element, int32_t height, int32_t width, int32_t border_type, int32_t passes);

  // False without memory.
  explicit operator bool() const { return static_cast<bool>(order_); }
  // kNone for elements that are not nested, too.
  Fit fit() const { return fit_; }

  int32_t up() const { return chords_.up; }
  int32_t down() const { return chords_.down; }
  // Rows in the order of their chords; of equal ones, any.
  int32_t count() const { return chords_.up + chords_.down + 1; }
  const int32_t* order() const { return order_.data(); }
  int32_t row(int32_t i) const { return order_[static_cast<size_t>(i)]; }
  const Chord& chord(int32_t row) const { return chords_[row]; }
  // How many different chords there are.
  int32_t countLevels() const;
  // The members as boxes, at most count(); returns the end.
  ElementBox* copyBoxes(ElementBox* to) const;

 private:
  // Chords of the rows -up to down.
  struct Chords {
    int32_t height;
    int32_t up = 0;
    int32_t down = 0;
    ScratchBuffer<Chord> memory;

    explicit Chords(int32_t image_height) : height(image_height), memory(2 * static_cast<size_t>(image_height) + 1) {}
    Chord& operator[](int32_t row) const { return memory[static_cast<size_t>(row + height)]; }
  };

  bool readChords(const StructuringElement& element, int32_t width);
  static void add(const Chords& a, const Chords& b, int32_t width, Chords& sum);
  bool multiply(int32_t passes, int32_t width);
  bool sort();
  Fit fitOf(int32_t border_type) const;

  Fit fit_ = Fit::kNone;
  Chords chords_;
  ScratchBuffer<int32_t> order_;
};

}  // namespace tamix
