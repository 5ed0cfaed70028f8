// Minima and maxima over nested elements of few chords.
#pragma once

#include <cstring>
#include <type_traits>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/extremum_steps.h"
#include "inference/runtime/cpu/arm/common/nested_element.h"
#include "inference/runtime/cpu/arm/common/rectangle_pass.h"
#include "inference/runtime/cpu/arm/common/window_extremum.h"

namespace tamix::extremum {

// All passes of a nested element at once. A line begins with the rows of the longest chord; for every shorter chord the line is
// spread by what the chord lacks, and rows of that chord are added; in the end the line is spread by the shortest chord.
// Members outside the image are left out: what the border has is a member anyway, or a constant, which is added afterwards.
template <class Op>
class NestedPass {
 public:
  NestedPass(const MorphologyImage& image, const NestedElement& element)
      : image_(image),
        element_(element),
        n_(rowElements(image.width, kPixel)),
        wraps_(image.border_type == TAMIX_BORDER_WRAP),
        margin_((n_ + kPixel + kVectorBytes) / kVectorBytes * kVectorBytes),  // lines begin at whole vectors
        pitch_((n_ + 2 * margin_ + 3 * kVectorBytes) / kVectorBytes * kVectorBytes) {}

  // False without memory. The planes must not overlap.
  bool run() {
    const Plane<uint8_t>& dst = image_.dst;
    lines_ = ScratchBuffer<uint8_t>(pitch_ * 2 * kLines);
    if (!lines_ || !prepareTallest()) return false;
    for (int32_t y = 0; y < image_.height; y += kLines) {
      const int32_t lines = std::min(kLines, image_.height - y);
      std::fill_n(is_empty_, lines, true);
      std::fill_n(is_done_, lines, false);
      for (int32_t begin = 0; begin < element_.count();) {
        const int32_t end = endOfLevel(begin);
        for (int32_t k = 0; k < lines; ++k) addLevel(k, y + k, begin, end);
        begin = end;
      }
      for (int32_t k = 0; k < lines; ++k) {
        if (!is_done_[k]) spread(k, {0, 0}, nullptr, 0, dst.row(y + k));
      }
    }
    if (image_.border_type == TAMIX_BORDER_CONSTANT) addConstant(dst);
    return true;
  }

 private:
  // Lines that go through all chords together, while the rows they share are in the caches.
  static constexpr int32_t kLines = 16;
  // From this many rows of one chord on, those of the most frequent one are combined for the whole image.
  static constexpr int32_t kTallRows = 32;

  int32_t endOfLevel(int32_t begin) const {
    int32_t end = begin + 1;
    while (end < element_.count() && element_.chord(element_.row(end)) == element_.chord(element_.row(begin))) ++end;
    return end;
  }

  uint8_t* line(int32_t k) const { return lines_.data() + pitch_ * (2 * static_cast<size_t>(k) + current_[k]) + margin_; }
  uint8_t* otherLine(int32_t k) const {
    return lines_.data() + pitch_ * (2 * static_cast<size_t>(k) + 1 - current_[k]) + margin_;
  }

  // The rows of the most frequent chord and of all longer ones are neighbours: their extremum for every row of the image.
  bool prepareTallest() {
    int32_t most = kTallRows;
    for (int32_t begin = 0; begin < element_.count();) {
      const int32_t end = endOfLevel(begin);
      const auto [first, last] = std::minmax_element(&element_.order()[0], &element_.order()[end]);
      const int32_t rows = *last - *first + 1;
      if (end - begin > most && *first == -(rows / 2)) {
        most = end - begin;
        tallest_ = begin;
        tall_rows_ = rows;
      }
      begin = end;
    }
    if (tallest_ < 0) return true;
    tall_ = ScratchBuffer<uint8_t>(n_ * static_cast<size_t>(image_.height));
    MorphologyImage vertical = image_;
    vertical.border_type = wraps_ ? TAMIX_BORDER_WRAP : TAMIX_BORDER_REPLICATE;
    vertical.iterations = 1;
    RectanglePass<Op> pass(vertical, tall_rows_, 1, /*feeds_another=*/false);
    if (!tall_ || !pass.allocate()) return false;
    pass.image(image_.src, {tall_.data(), static_cast<ptrdiff_t>(n_)});
    return true;
  }

  // Adds the rows [begin, end) of a chord, those that lie in the image, to line k; the last ones straight to the result, where
  // the line need not be spread any more.
  void addLevel(int32_t k, int32_t y, int32_t begin, int32_t end) {
    const Chord& chord = element_.chord(element_.row(begin));
    const uint8_t* rows[kDirectRows];
    int64_t count = 0;
    const auto flush = [&] {
      spread(k, chord, rows, count, otherLine(k));
      current_[k] = 1 - current_[k];
      count = 0;
    };
    const auto add = [&](const uint8_t* row) {
      if (count == kDirectRows) flush();
      rows[count++] = row;
    };
    if (begin == tallest_) {
      add(tall_.data() + static_cast<size_t>(y) * n_);
    } else {
      for (int32_t i = begin; i < end; ++i) {
        const int64_t row = int64_t{y} + element_.row(i);
        if (row >= 0 && row < image_.height) {
          add(image_.src.row(row));
        } else if (wraps_) {
          add(image_.src.row(borderIndex(row, image_.height, TAMIX_BORDER_WRAP)));
        }
      }
    }
    if (count == 0) return;
    is_done_[k] = end == element_.count() && chord == Chord{0, 0};
    if (is_done_[k]) return spread(k, chord, rows, count, image_.dst.row(y));
    flush();
  }

  // out = line k spread until only the chord is left to be spread, and the rows. The first rows, among them row 0, are the
  // line.
  void spread(int32_t k, const Chord& chord, const uint8_t* const* rows, int64_t count, uint8_t* out) {
    if (is_empty_[k]) {
      combineRows<1>(Op(), rows, count, &out, n_);
      is_empty_[k] = false;
      unspread_[k] = chord;
      return;
    }
    const int32_t left = unspread_[k].left - chord.left;
    const int32_t right = unspread_[k].right - chord.right;
    unspread_[k] = chord;
    const size_t left_bytes = static_cast<size_t>(left) * kPixel;
    const size_t right_bytes = static_cast<size_t>(right) * kPixel;
    uint8_t* const middle = line(k);
    if (wraps_) {
      std::memcpy(middle - left_bytes, middle + n_ - left_bytes, left_bytes);
      std::memcpy(middle + n_, middle, right_bytes);
    } else {
      std::memset(middle - left_bytes, Op::kNeutral, left_bytes);
      std::memset(middle + n_, Op::kNeutral, right_bytes);
    }
    uint8_t* const first = middle - left_bytes;
    const int64_t window = int64_t{left} + right + 1;
    const auto combine = [&](auto fixed_count) {
      combineColumns<fixed_count()>(Op(), first, window, rows, out, n_);
      return fixed_count();
    };
    int64_t combined = 0;
    if (count >= 4) {
      combined = combine(std::integral_constant<int, 4>());
    } else if (count == 3) {
      combined = combine(std::integral_constant<int, 3>());
    } else if (count == 2) {
      combined = combine(std::integral_constant<int, 2>());
    } else if (count == 1) {
      combined = combine(std::integral_constant<int, 1>());
    } else {
      combine(std::integral_constant<int, 0>());
    }
    if (combined == count) return;
    const uint8_t* more[kDirectRows];
    more[0] = out;
    std::copy(rows + combined, rows + count, more + 1);
    combineRows<1>(Op(), more, count - combined + 1, &out, n_);
  }

  // The constant border, where the element reaches over an edge.
  void addConstant(const Plane<uint8_t>& dst) const {
    const auto value = static_cast<uint8_t>(image_.border_value);
    const Chord& longest = element_.chord(0);
    const auto add = [&](uint8_t* out, size_t n) {
      coverRow(n, [&](auto d, size_t i) { hn::StoreU(Op()(hn::LoadU(d, out + i), hn::Set(d, value)), d, out + i); });
    };
    for (int32_t y = 0; y < image_.height; ++y) {
      uint8_t* const out = dst.row(y);
      if (y < element_.up() || image_.height - 1 - y < element_.down()) {
        add(out, n_);
        continue;
      }
      const size_t left = static_cast<size_t>(std::min(longest.left, image_.width)) * kPixel;
      const size_t right = static_cast<size_t>(std::min(longest.right, image_.width)) * kPixel;
      add(out, left);
      add(out + n_ - right, right);
    }
  }

  const MorphologyImage& image_;
  const NestedElement& element_;
  size_t n_;
  bool wraps_;
  size_t margin_;
  size_t pitch_;
  int32_t tallest_ = -1;  // the first row, in the order of chords, of the chord that is combined for the whole image
  int32_t tall_rows_ = 0;
  size_t current_[kLines] = {};
  bool is_empty_[kLines];
  bool is_done_[kLines];
  Chord unspread_[kLines];  // what the lines are still to be spread by
  ScratchBuffer<uint8_t> lines_;
  ScratchBuffer<uint8_t> tall_;
};

}  // namespace tamix::extremum
