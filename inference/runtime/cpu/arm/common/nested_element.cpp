#include "inference/runtime/cpu/arm/common/nested_element.h"

#include <numeric>
#include <utility>

#include "tamix/tamix.h"

namespace tamix {

NestedElement::NestedElement(const StructuringElement& element, int32_t height, int32_t width, int32_t border_type,
                             int32_t passes)
    : chords_(height), order_(2 * static_cast<size_t>(height) + 1) {
  if (!chords_.memory || !order_) {
    order_ = {};
    return;
  }
  if (!readChords(element, width) || !sort()) return;
  const Fit fit = fitOf(border_type);
  if (fit == Fit::kNone) return;
  if (fit == Fit::kBehindEdges) passes = std::max(passes - 2, 0);
  if (passes != 1 && !multiply(passes, width)) {
    order_ = {};
    return;
  }
  if (sort()) fit_ = fit;
}

// False where a row has no piece around the output pixel, or several, or one that a nearer row does not contain.
bool NestedElement::readChords(const StructuringElement& element, int32_t width) {
  constexpr Chord kNone{-1, -1};
  const int64_t height = chords_.height;
  std::fill_n(chords_.memory.data(), 2 * height + 1, kNone);
  const auto chordOf = [width](const ElementBox& box) {
    return Chord{static_cast<int32_t>(std::min<int64_t>(-box.column_begin, width)),
                 static_cast<int32_t>(std::min<int64_t>(box.column_end - 1, width))};
  };
  for (const ElementBox& box : element) {
    if (box.column_begin > 0 || box.column_end < 1) return false;
    const Chord chord = chordOf(box);
    for (int64_t row = std::max(box.row_begin, -height); row < std::min(box.row_end, height + 1); ++row) {
      Chord& at = chords_[static_cast<int32_t>(row)];
      if (at != kNone) return false;
      at = chord;
    }
  }
  if (chords_[0] == kNone) return false;
  const auto reach = [&](int32_t step) {
    int32_t row = 0;
    while (row != step * chords_.height && chords_[row + step] != kNone && chords_[row].contains(chords_[row + step]))
      row += step;
    return row;
  };
  chords_.up = -reach(-1);
  chords_.down = reach(1);
  const auto members = std::count_if(chords_.memory.data(), chords_.memory.data() + 2 * height + 1,
                                     [&](const Chord& chord) { return chord != kNone; });
  if (members != count()) return false;
  // Rows further away add nothing where all nearer ones are members and contain them.
  const Chord& top = chords_[-chords_.height];
  const Chord& bottom = chords_[chords_.height];
  for (const ElementBox& box : element) {
    const Chord chord = chordOf(box);
    if (box.row_begin < -height && (top == kNone || !top.contains(chord))) return false;
    if (box.row_end > height + 1 && (bottom == kNone || !bottom.contains(chord))) return false;
  }
  return true;
}

void NestedElement::add(const Chords& a, const Chords& b, int32_t width, Chords& sum) {
  sum.up = std::min(a.up + b.up, sum.height);
  sum.down = std::min(a.down + b.down, sum.height);
  const auto addRows = [&](int32_t step, int32_t a_reach, int32_t b_reach, int32_t reach) {
    for (int32_t row = 0; row <= reach; ++row) {
      int32_t left = 0;
      int32_t right = 0;
      for (int32_t k = std::max(0, row - b_reach); k <= std::min(row, a_reach); ++k) {
        left = std::max(left, a[step * k].left + b[step * (row - k)].left);
        right = std::max(right, a[step * k].right + b[step * (row - k)].right);
      }
      sum[step * row] = {std::min(left, width), std::min(right, width)};
    }
  };
  addRows(-1, a.up, b.up, sum.up);
  addRows(1, a.down, b.down, sum.down);
}

// False without memory.
bool NestedElement::multiply(int32_t passes, int32_t width) {
  Chords power(chords_.height), sum(chords_.height);
  if (!power.memory || !sum.memory) return false;
  std::swap(power, chords_);
  chords_.up = chords_.down = 0;
  chords_[0] = {0, 0};
  // Every pass that adds anything adds at least a row or a column.
  for (int32_t rest = std::min(passes, int32_t{1} << 30); rest > 0; rest /= 2) {
    if (rest % 2 != 0) {
      add(chords_, power, width, sum);
      std::swap(chords_, sum);
    }
    add(power, power, width, sum);
    const bool is_full =
        sum.up == power.up && sum.down == power.down && std::equal(&power[-power.up], &power[power.down] + 1, &sum[-sum.up]);
    std::swap(power, sum);
    if (is_full && rest > 1) {
      std::swap(chords_, power);
      break;
    }
  }
  return true;
}

// False where the chords do not contain each other.
bool NestedElement::sort() {
  int32_t* const begin = order_.data();
  std::iota(begin, begin + count(), -up());
  const auto length = [&](int32_t row) { return int64_t{chords_[row].left} + chords_[row].right; };
  std::sort(begin, begin + count(), [&](int32_t a, int32_t b) { return length(a) > length(b); });
  for (int32_t i = 1; i < count(); ++i) {
    if (!chord(row(i - 1)).contains(chord(row(i)))) return false;
  }
  return true;
}

int32_t NestedElement::countLevels() const {
  int32_t levels = 1;
  for (int32_t i = 1; i < count(); ++i) levels += chord(row(i)) == chord(row(i - 1)) ? 0 : 1;
  return levels;
}

ElementBox* NestedElement::copyBoxes(ElementBox* to) const {
  for (int32_t first = -up(); first <= down();) {
    int32_t behind = first + 1;
    while (behind <= down() && chord(behind) == chord(first)) ++behind;
    *to++ = {first, behind, -chord(first).left, int64_t{chord(first).right} + 1};
    first = behind;
  }
  return to;
}

// Pixels outside the image that repeat the nearest edge pixel, or that a constant stands for, are none of its members' pixels
// that matter. A member mirrored around an edge must meet another one; a mirror that repeats the edge brings it one pixel
// nearer, one that does not brings it two pixels nearer to pixels behind the edge.
NestedElement::Fit NestedElement::fitOf(int32_t border_type) const {
  if (border_type != TAMIX_BORDER_REFLECT && border_type != TAMIX_BORDER_REFLECT_101) return Fit::kAll;
  const int32_t nearer = border_type == TAMIX_BORDER_REFLECT ? 1 : 0;
  const bool spares_edge = nearer == 0;
  Fit fit = Fit::kAll;
  for (int32_t row = -up(); row <= down(); ++row) {
    const Chord& here = chord(row);
    if (here.right - here.left > nearer || here.left - here.right > 1) return Fit::kNone;
    if (spares_edge && here.left > here.right) fit = Fit::kBehindEdges;
    const int32_t mirrored = row < 0 ? -row - nearer : std::min(0, -row + nearer);
    if (spares_edge && row < 0 && mirrored == down() + 1) {
      fit = Fit::kBehindEdges;
    } else if (mirrored < -up() || mirrored > down() || !chord(mirrored).contains(here)) {
      return Fit::kNone;
    }
  }
  return fit;
}

}  // namespace tamix
