// Minima and maxima over rectangles.
#pragma once

#include <cstring>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/extremum_steps.h"
#include "inference/runtime/cpu/arm/common/window_extremum.h"

namespace tamix::extremum {

// Bytes of a row that are taken through all steps at a time, so that a group's lines stay in the caches. Rows of pictures are
// shorter: whole rows are read and written in the order of memory.
inline constexpr size_t kStripe = 16384;
// Windows of more columns are processed in whole rows: the columns that neighbouring stripes share would cost too much.
inline constexpr int64_t kStripedColumns = 32;

// How far windows reach along an axis of n samples, all passes together.
struct Reach {
  int64_t before;
  int64_t after;
  bool first_like_second;

  int64_t window() const { return before + after + 1; }
};

// k passes of a window [p - a, p + b] look at [p - k * a, p + k * b]. With a - b in {0, 1}, mirrored samples are already among
// those inside, so that outside ones need not be looked at, with one exception: where the edge is not repeated and a = b + 1,
// sample 0 sees one sample more on the right, exactly those that sample 1 sees. A constant border counts wherever the long
// window leaves the image, a ring closes around it.
inline Reach reachOf(int64_t size, int64_t n, const MorphologyImage& image) {
  const int64_t before = size / 2;
  const int64_t after = size - 1 - before;
  return {std::min(before * image.iterations, n), std::min(after * image.iterations, n),
          image.border_type == TAMIX_BORDER_REFLECT_101 && size % 2 == 0 && n > 1};
}

// The passes of one extremum over a rectangle, as one pass.
template <class Op>
class RectanglePass {
  static constexpr size_t roundUp(size_t bytes) { return (bytes + kVectorBytes - 1) / kVectorBytes * kVectorBytes; }

 public:
  // A pass that feeds another one of the same reach gives as many columns beside a stripe as that one reads.
  RectanglePass(const MorphologyImage& image, int64_t rows, int64_t columns, bool feeds_another)
      : height_(image.height),
        n_(rowElements(image.width, kPixel)),
        y_(reachOf(rows, image.height, image)),
        x_(reachOf(columns, image.width, image)),
        left_(static_cast<size_t>(x_.before) * kPixel),
        right_(static_cast<size_t>(x_.after) * kPixel),
        border_type_(image.border_type),
        border_(image.border_type == TAMIX_BORDER_CONSTANT ? static_cast<uint8_t>(image.border_value) : Op::kNeutral) {
    const bool striped = isDirect() && x_.window() <= kStripedColumns && border_type_ != TAMIX_BORDER_WRAP;
    const size_t stripes = striped ? (n_ + kStripe - 1) / kStripe : 1;
    stripe_ = std::min(n_, roundUp((n_ + stripes - 1) / stripes));
    pitch_ = roundUp(left_) + roundUp(stripe_ + (feeds_another ? 2 : 1) * (left_ + right_)) + 2 * kVectorBytes;
  }

  const Reach& y() const { return y_; }
  size_t stripe() const { return stripe_; }
  // Bytes of a line that holds a stripe and the columns beside it.
  size_t pitch() const { return pitch_; }
  bool isDirect() const { return y_.window() <= kDirectRows; }
  // Columns of the source that results in columns [begin, end) depend on.
  size_t sourceBegin(size_t begin) const { return begin - std::min(begin, left_); }
  size_t sourceEnd(size_t end) const { return std::min(n_, end + right_); }

  // Lines and a row of the border; once, before the results.
  bool allocate() {
    const size_t lines = isDirect() ? kGroup : static_cast<size_t>(y_.window()) + 2;
    if (pitch_ > std::numeric_limits<size_t>::max() / (lines + 1)) return false;
    memory_ = ScratchBuffer<uint8_t>(pitch_ * (lines + 1));
    if (!memory_) return false;
    std::fill_n(borderRow(), pitch_, border_);
    return true;
  }

  // How many rows from y on make the next group.
  int groupSize(int64_t y) const { return (y == 0 && y_.first_like_second) || height_ - y < kGroup ? 1 : kGroup; }

  // Columns [begin, end) of a group's rows. source(p): sourceBegin(begin) in row p of the image; row(k): `begin` in the group's
  // output row k.
  template <class Source, class Out>
  void group(int64_t y, size_t begin, size_t end, const Source& source, const Out& row) const {
    if (groupSize(y) == 1) return groupOf<1>(y, begin, end, source, row);
    groupOf<kGroup>(y, begin, end, source, row);
  }

  void image(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst) const {
    if (!isDirect()) return tall(src, dst);
    for (size_t begin = 0; begin < n_; begin += stripe_) {
      const size_t end = std::min(n_, begin + stripe_);
      for (int64_t y = 0; y < height_; y += groupSize(y)) {
        group(
            y, begin, end, [&](int64_t p) { return src.row(p) + sourceBegin(begin); },
            [&](int64_t k) { return dst.row(y + k) + begin; });
      }
    }
  }

 private:
  uint8_t* borderRow() const { return memory_.data(); }
  // The image begins at a whole vector, behind the left margin.
  uint8_t* line(int64_t k) const { return memory_.data() + static_cast<size_t>(k + 1) * pitch_ + (roundUp(left_) - left_); }
  int64_t firstRow(int64_t y) const { return (y == 0 && y_.first_like_second ? 1 : y) - y_.before; }

  // The row at a position that may lie outside. Where the border has no rows of its own, any that does not matter.
  template <class Source>
  const uint8_t* sourceRow(int64_t p, const Source& source) const {
    if (p >= 0 && p < height_) return source(p);
    if (border_type_ == TAMIX_BORDER_WRAP) return source(borderIndex(p, height_, TAMIX_BORDER_WRAP));
    return borderRow();
  }

  template <int kRows, class Source, class Out>
  void groupOf(int64_t y, size_t begin, size_t end, const Source& source, const Out& row) const {
    const size_t from = sourceBegin(begin);
    const size_t to = sourceEnd(end);
    const size_t margin = left_ - (begin - from);
    const uint8_t* rows[kMostPointers];
    uint8_t* lines[kRows];
    for (int64_t k = 0; k < y_.window() + kRows - 1; ++k) rows[k] = sourceRow(firstRow(y) + k, source);
    for (int k = 0; k < kRows; ++k) lines[k] = line(k) + margin;
    for (int k = 0; k < kRows; ++k) fillMargin(line(k), margin);
    combineRows<kRows>(Op(), rows, y_.window(), lines, to - from);
    for (int k = 0; k < kRows; ++k) finishLine(line(k), margin, to - from, begin, end, row(k));
  }

  // At least `bytes` of the border, in whole vectors.
  void fillMargin(uint8_t* at, size_t bytes) const {
    const hn::ScalableTag<uint8_t> d;
    const auto v = hn::Set(d, border_);
    for (size_t i = 0; i < bytes; i += hn::Lanes(d)) hn::StoreU(v, d, at + i);
  }

  // Columns [begin, end) of an output row from a line that holds `filled` bytes of the image behind the margin, which is
  // filled.
  void finishLine(uint8_t* line, size_t margin, size_t filled, size_t begin, size_t end, uint8_t* out) const {
    const size_t total = end - begin + left_ + right_;
    if (border_type_ == TAMIX_BORDER_WRAP) {
      std::memcpy(line, line + n_, left_);
      std::memcpy(line + left_ + n_, line + left_, right_);
    } else {
      fillMargin(line + margin + filled, total - margin - filled);
    }
    combineColumns<0>(Op(), line, x_.window(), nullptr, out, end - begin);
    if (begin == 0 && x_.first_like_second) std::memcpy(out, out + kPixel, kPixel);
  }

  // High windows: source positions are cut into blocks of a window's height, so that every window is the end of one block and
  // the beginning of the next. suffix(i): extremum from row i of a block to its end; the beginning grows row by row.
  void tall(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst) const {
    const int64_t window = y_.window();
    const auto suffix = [&](int64_t i) { return line(i) + left_; };
    const auto source = [&](int64_t p) { return sourceRow(p, [&](int64_t inside) { return src.row(inside); }); };
    const auto combine = [&](const uint8_t* a, const uint8_t* b, uint8_t* out) {
      const uint8_t* const rows[2] = {a, b};
      combineRows<1>(Op(), rows, 2, &out, n_);
    };
    uint8_t* const prefix = line(window) + left_;
    uint8_t* const result = line(window + 1) + left_;
    const int64_t first = y_.first_like_second ? 1 : 0;
    for (int64_t block = first - y_.before; block < height_ - y_.before; block += window) {
      std::memcpy(suffix(window - 1), source(block + window - 1), n_);
      for (int64_t i = window - 2; i >= 0; --i) combine(source(block + i), suffix(i + 1), suffix(i));
      for (int64_t i = 0; i < window; ++i) {
        const int64_t y = block + i + y_.before;
        if (y >= height_) break;
        fillMargin(result - left_, left_);
        if (i == 0) {
          std::memcpy(result, suffix(0), n_);
        } else {
          const uint8_t* const next = source(block + window + i - 1);
          if (i == 1) {
            std::memcpy(prefix, next, n_);
          } else {
            combine(prefix, next, prefix);
          }
          combine(suffix(i), prefix, result);
        }
        finishLine(result - left_, left_, n_, 0, n_, dst.row(y));
      }
    }
    if (first == 1) std::memcpy(dst.row(0), dst.row(1), n_);
  }

  int64_t height_;
  size_t n_;
  Reach y_;
  Reach x_;
  size_t left_;
  size_t right_;
  int32_t border_type_;
  uint8_t border_;
  size_t stripe_;
  size_t pitch_;
  ScratchBuffer<uint8_t> memory_;
};

}  // namespace tamix::extremum
