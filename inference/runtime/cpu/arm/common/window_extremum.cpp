#include "inference/runtime/cpu/arm/common/window_extremum.h"

#include <cstring>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/nested_element.h"
#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {
namespace {

constexpr size_t kPixel = 3;  // bytes
constexpr size_t kVectorBytes = hn::MaxLanes(hn::ScalableTag<uint8_t>());

// Rows are processed in groups of this many, which share the minima of the rows that their windows have in common.
constexpr int kGroup = 4;
// Windows of up to this many rows are combined directly; the cost of higher ones no longer depends on the height.
constexpr int64_t kDirectRows = 16;
constexpr int64_t kMostPointers = kDirectRows + kGroup - 1;
// Bytes of a row that are taken through all steps at a time, so that a group's lines stay in the caches. Rows of pictures are
// shorter: whole rows are read and written in the order of memory.
constexpr size_t kStripe = 16384;
// Windows of more columns are processed in whole rows: the columns that neighbouring stripes share would cost too much.
constexpr int64_t kStripedColumns = 32;
// Loads combined by one pass over a line.
constexpr int64_t kTaps = 5;

struct Minimum {
  static constexpr uint8_t kNeutral = 255;
  using Other = struct Maximum;
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Min(a, b);
  }
};

struct Maximum {
  static constexpr uint8_t kNeutral = 0;
  using Other = Minimum;
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Max(a, b);
  }
};

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
Reach reachOf(int64_t size, int64_t n, const MorphologyImage& image) {
  const int64_t before = size / 2;
  const int64_t after = size - 1 - before;
  return {std::min(before * image.iterations, n), std::min(after * image.iterations, n),
          image.border_type == TAMIX_BORDER_REFLECT_101 && size % 2 == 0 && n > 1};
}

// Every byte below n by vectors, the last of which may overlap the one before it; by bytes where there are too few.
template <class Body>
HWY_INLINE void coverRow(size_t n, const Body& body) {
  const auto cover = [&](auto d) {
    const size_t lanes = hn::Lanes(d);
    if (n < lanes) return false;
    for (size_t i = 0; i < n - lanes; i += lanes) body(d, i);
    body(d, n - lanes);
    return true;
  };
  if (cover(hn::ScalableTag<uint8_t>()) || cover(hn::CappedTag<uint8_t, 16>())) return;
  for (size_t i = 0; i < n; ++i) body(hn::CappedTag<uint8_t, 1>(), i);
}

// lines[k] = extremum of rows[k] to rows[k + window - 1], for kRows lines of n bytes. kWindow: the window, or 0 for any
// that has at least kRows rows.
template <int kRows, int kWindow, class Op>
void combineRows(const Op& op, const uint8_t* const* rows, int64_t window, uint8_t* const* lines, size_t n) {
  constexpr bool kAny = kWindow == 0;
  const uint8_t* r[kAny ? kMostPointers : kWindow + kRows - 1];
  uint8_t* out[kRows];
  std::copy_n(rows, kAny ? window + kRows - 1 : kWindow + kRows - 1, r);
  std::copy_n(lines, kRows, out);
  coverRow(n, [&](auto d, size_t i) {
    const auto at = [&](int64_t k) { return hn::LoadU(d, r[k] + i); };
    const auto store = [&](int k, auto v) { hn::StoreU(v, d, out[k] + i); };
    const int64_t height = kAny ? window : kWindow;
    if constexpr (kRows == 1) {
      auto v = at(0);
      for (int64_t k = 1; k < height; ++k) v = op(v, at(k));
      store(0, v);
    } else if constexpr (kWindow == 1) {
      for (int k = 0; k < kRows; ++k) store(k, at(k));
    } else if constexpr (kWindow == 2) {
      for (int k = 0; k < kRows; ++k) store(k, op(at(k), at(k + 1)));
    } else if constexpr (kWindow == 3) {
      for (int k = 0; k < kRows; k += 2) {
        const auto both = op(at(k + 1), at(k + 2));
        store(k, op(at(k), both));
        store(k + 1, op(both, at(k + 3)));
      }
    } else {
      static_assert(kRows == 4);
      auto common = at(3);  // of all four windows
      for (int64_t k = 4; k < height; ++k) common = op(common, at(k));
      const auto from2 = op(at(2), common);
      const auto from1 = op(at(1), from2);
      const auto below1 = at(height);
      const auto below2 = op(below1, at(height + 1));
      const auto below3 = op(below2, at(height + 2));
      store(0, op(at(0), from1));
      store(1, op(from1, below1));
      store(2, op(from2, below2));
      store(3, op(common, below3));
    }
  });
}

template <int kRows, class Op>
void combineRows(const Op& op, const uint8_t* const* rows, int64_t window, uint8_t* const* lines, size_t n) {
  if constexpr (kRows > 1) {
    if (window == 1) return combineRows<kRows, 1>(op, rows, window, lines, n);
    if (window == 2) return combineRows<kRows, 2>(op, rows, window, lines, n);
    if (window == 3) return combineRows<kRows, 3>(op, rows, window, lines, n);
    if (window == 5) return combineRows<kRows, 5>(op, rows, window, lines, n);
  }
  combineRows<kRows, 0>(op, rows, window, lines, n);
}

// out[i] = extremum of line[i], line[i + step], ... (`taps` of them, the last of which lies at `last` instead).
template <int kFixedTaps, bool kAccumulate, class Op>
void combineTaps(const Op& op, const uint8_t* line, size_t step, size_t last, uint8_t* out, size_t n) {
  coverRow(n, [&](auto d, size_t i) {
    auto v = hn::LoadU(d, line + i + last);
    for (int k = 0; k < kFixedTaps - 1; ++k) v = op(v, hn::LoadU(d, line + i + static_cast<size_t>(k) * step));
    if constexpr (kAccumulate) v = op(v, hn::LoadU(d, out + i));
    hn::StoreU(v, d, out + i);
  });
}

// out[i] = extremum of the `window` bytes line[i], line[i + 3], ..., for n bytes; with kAccumulate also of out[i]. The line
// holds n + 3 * (window - 1) bytes and kVectorBytes of slack, and is used up.
template <bool kAccumulate, class Op>
void combineColumns(const Op& op, uint8_t* line, int64_t window, uint8_t* out, size_t n) {
  const hn::ScalableTag<uint8_t> d;
  int64_t covered = 1;  // pixels that a byte of the line stands for
  while (window > kTaps * covered) {
    const size_t step = static_cast<size_t>(covered) * kPixel;
    covered *= 4;
    const size_t used = n + static_cast<size_t>(window - covered) * kPixel;
    // Ahead of the writes: every vector reads from its own place on.
    for (size_t i = 0; i < used; i += hn::Lanes(d)) {
      const auto at = [&](size_t k) { return hn::LoadU(d, line + i + k * step); };
      const auto v = op(op(at(0), at(1)), op(at(2), at(3)));
      hn::StoreU(v, d, line + i);
    }
  }
  const size_t step = static_cast<size_t>(covered) * kPixel;
  const size_t last = static_cast<size_t>(window - covered) * kPixel;
  switch ((window + covered - 1) / covered) {
    case 1:
      return combineTaps<1, kAccumulate>(op, line, step, last, out, n);
    case 2:
      return combineTaps<2, kAccumulate>(op, line, step, last, out, n);
    case 3:
      return combineTaps<3, kAccumulate>(op, line, step, last, out, n);
    case 4:
      return combineTaps<4, kAccumulate>(op, line, step, last, out, n);
    default:
      return combineTaps<5, kAccumulate>(op, line, step, last, out, n);
  }
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
    combineColumns<false>(Op(), line, x_.window(), out, end - begin);
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

template <class Op>
bool fillNeutral(const MorphologyImage& image) {
  for (int32_t y = 0; y < image.height; ++y) std::memset(image.dst.row(y), Op::kNeutral, rowElements(image.width, kPixel));
  return true;
}

template <class Op>
bool rectangle(const MorphologyImage& image, int64_t rows, int64_t columns) {
  if (rows < 1 || columns < 1) return fillNeutral<Op>(image);
  const StableSource<uint8_t> source(image.src, image.dst, image.height, rowElements(image.width, kPixel));
  RectanglePass<Op> pass(image, rows, columns, /*feeds_another=*/false);
  if (!source || !pass.allocate()) return false;
  pass.image(source.plane(), image.dst);
  return true;
}

// Both extrema stripe by stripe: the first one's rows go through a ring of as many as the second one's windows need.
template <class Op>
bool bothExtrema(const MorphologyImage& image, int64_t rows, int64_t columns) {
  const size_t n = rowElements(image.width, kPixel);
  RectanglePass<Op> first(image, rows, columns, /*feeds_another=*/true);
  RectanglePass<typename Op::Other> second(image, rows, columns, /*feeds_another=*/false);
  // High windows, and rings that need the last row first.
  if (!first.isDirect() || image.border_type == TAMIX_BORDER_WRAP) return false;
  const StableSource<uint8_t> source(image.src, image.dst, image.height, n);
  // Behind the rows that a group of the second needs, a group of the first may reach further.
  const int64_t ring_rows = first.y().window() + 2 * kGroup;
  const ScratchBuffer<uint8_t> ring(first.pitch() * static_cast<size_t>(ring_rows));
  if (!source || !ring || !first.allocate() || !second.allocate()) return false;
  const auto ringRow = [&](int64_t p) { return ring.data() + static_cast<size_t>(p % ring_rows) * first.pitch(); };

  for (size_t begin = 0; begin < n; begin += first.stripe()) {
    const size_t end = std::min(n, begin + first.stripe());
    const size_t from = second.sourceBegin(begin);
    const size_t to = second.sourceEnd(end);
    int64_t made = 0;
    for (int64_t y = 0; y < image.height; y += second.groupSize(y)) {
      const int64_t needed = std::min<int64_t>(image.height, std::max<int64_t>(y, 1) + second.groupSize(y) + second.y().after);
      while (made < needed) {
        first.group(
            made, from, to, [&](int64_t p) { return source.plane().row(p) + first.sourceBegin(from); },
            [&](int64_t k) { return ringRow(made + k); });
        made += first.groupSize(made);
      }
      second.group(y, begin, end, ringRow, [&](int64_t k) { return image.dst.row(y + k) + begin; });
    }
  }
  return true;
}

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

// One pass of an element: every group of boxes with equal columns is combined row by row into a line, then across the line.
template <class Op>
class ElementPass {
  // From this many rows on, whole blocks of rows are combined first.
  static constexpr int64_t kTallBoxes = 64;

 public:
  ElementPass(const MorphologyImage& image, const StructuringElement& element)
      : height_(image.height),
        width_(image.width),
        n_(rowElements(image.width, kPixel)),
        border_type_(image.border_type),
        border_value_(static_cast<uint8_t>(image.border_value)),
        element_(element) {}

  bool allocate() {
    int64_t most_pointers = 1;
    int64_t margin = 0;
    forEachGroup([&](const ElementBox* begin, const ElementBox* end) {
      int64_t pointers = 0;
      for (const ElementBox* box = begin; box < end; ++box) {
        pointers += std::min(box->row_end - box->row_begin, 2 * height_) + 1;
      }
      most_pointers = std::max(most_pointers, pointers);
      margin = std::max({margin, -begin->column_begin, begin->column_end - 1});
    });
    margin_ = static_cast<size_t>(margin) * kPixel;
    pointers_ = ScratchBuffer<const uint8_t*>(static_cast<size_t>(most_pointers));
    if (most_pointers > kTallBoxes) {
      blocks_ = ScratchBuffer<uint8_t>(n_ * static_cast<size_t>(height_ / kDirectRows + 1));
      if (!blocks_) return false;
    }
    line_ = ScratchBuffer<uint8_t>(n_ + 2 * margin_ + 2 * kVectorBytes);
    border_row_ = ScratchBuffer<uint8_t>(n_);
    if (!pointers_ || !line_ || !border_row_) return false;
    std::fill_n(border_row_.data(), n_, border_value_);
    return true;
  }

  // The planes must not overlap.
  void run(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst) const {
    for (int64_t y = 0; blocks_ && y + kDirectRows <= height_; y += kDirectRows) {
      const uint8_t* rows[kDirectRows];
      for (int64_t k = 0; k < kDirectRows; ++k) rows[k] = src.row(y + k);
      uint8_t* const out = block(y);
      combineRows<1>(Op(), rows, kDirectRows, &out, n_);
    }
    for (int64_t y = 0; y < height_; ++y) {
      uint8_t* const out = dst.row(y);
      std::memset(out, Op::kNeutral, n_);
      forEachGroup([&](const ElementBox* begin, const ElementBox* end) {
        combineBoxes(src, y, begin, end);
        const ElementSpan span{begin->column_begin, begin->column_end};
        fillMargins(span);
        uint8_t* const line = line_.data() + static_cast<ptrdiff_t>(margin_) + span.begin * static_cast<ptrdiff_t>(kPixel);
        combineColumns<true>(Op(), line, span.end - span.begin, out, n_);
      });
    }
  }

 private:
  template <class Visit>
  void forEachGroup(const Visit& visit) const {
    for (const ElementBox* begin = element_.begin(); begin < element_.end();) {
      const ElementBox* end = begin + 1;
      while (end < element_.end() && end->sameColumns(*begin)) ++end;
      visit(begin, end);
      begin = end;
    }
  }

  // The rows of the boxes, combined into the line.
  void combineBoxes(const Plane<const uint8_t>& src, int64_t y, const ElementBox* begin, const ElementBox* end) const {
    int64_t count = 0;
    for (const ElementBox* box = begin; box < end; ++box) {
      const auto take = [&](const uint8_t* row) { pointers_[static_cast<size_t>(count++)] = row; };
      const bool sees_border =
          visitSamples(y + box->row_begin, y + box->row_end, height_, border_type_, [&](int64_t first, int64_t last) {
            for (int64_t p = first; p <= last;) {
              const bool is_block = blocks_ && p % kDirectRows == 0 && p + kDirectRows - 1 <= last;
              take(is_block ? block(p) : src.row(p));
              p += is_block ? kDirectRows : 1;
            }
          });
      if (sees_border) take(border_row_.data());
    }
    uint8_t* const middle = line_.data() + margin_;
    const uint8_t** rows = pointers_.data();
    // More rows than one step takes are added to the line, which is then one of the rows.
    int64_t taken = std::min(count, kDirectRows);
    combineRows<1>(Op(), rows, taken, &middle, n_);
    while (taken < count) {
      const int64_t more = std::min(count - taken, kDirectRows - 1);
      rows[taken - 1] = middle;
      combineRows<1>(Op(), rows + taken - 1, more + 1, &middle, n_);
      taken += more;
    }
  }

  // The extremum of the kDirectRows rows from y on.
  uint8_t* block(int64_t y) const { return blocks_.data() + static_cast<size_t>(y / kDirectRows) * n_; }

  void fillMargins(const ElementSpan& span) const {
    uint8_t* const middle = line_.data() + margin_;
    const auto fill = [&](int64_t x) {
      uint8_t* const at = middle + x * static_cast<int64_t>(kPixel);
      const int64_t from = borderIndex(x, width_, border_type_);
      if (from < 0) {
        std::memset(at, border_value_, kPixel);
      } else {
        std::memcpy(at, middle + from * static_cast<int64_t>(kPixel), kPixel);
      }
    };
    for (int64_t x = std::min<int64_t>(span.begin, 0); x < 0; ++x) fill(x);
    for (int64_t x = width_; x < width_ + span.end - 1; ++x) fill(x);
  }

  int64_t height_;
  int64_t width_;
  size_t n_;
  int32_t border_type_;
  uint8_t border_value_;
  const StructuringElement& element_;
  size_t margin_ = 0;
  ScratchBuffer<const uint8_t*> pointers_;
  ScratchBuffer<uint8_t> blocks_;  // where boxes are high
  ScratchBuffer<uint8_t> line_;
  ScratchBuffer<uint8_t> border_row_;
};

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
  bool run(const Plane<const uint8_t>& src, const Plane<uint8_t>& dst) {
    lines_ = ScratchBuffer<uint8_t>(pitch_ * 2 * kLines);
    if (!lines_ || !prepareTallest(src)) return false;
    for (int32_t y = 0; y < image_.height; y += kLines) {
      const int32_t lines = std::min(kLines, image_.height - y);
      for (int32_t k = 0; k < lines; ++k) {
        std::fill_n(line(k), n_, Op::kNeutral);
        unspread_[k] = element_.chord(element_.row(0));
      }
      for (int32_t begin = 0; begin < element_.count();) {
        const int32_t end = endOfLevel(begin);
        for (int32_t k = 0; k < lines; ++k) addLevel(src, k, y + k, begin, end);
        begin = end;
      }
      for (int32_t k = 0; k < lines; ++k) spread(k, {0, 0}, nullptr, 0, dst.row(y + k));
    }
    if (image_.border_type == TAMIX_BORDER_CONSTANT) addConstant(dst);
    return true;
  }

 private:
  // Lines that go through all chords together, while the rows they share are in the caches.
  static constexpr int32_t kLines = 4;
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
  bool prepareTallest(const Plane<const uint8_t>& src) {
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
    pass.image(src, {tall_.data(), static_cast<ptrdiff_t>(n_)});
    return true;
  }

  // Line k and the rows [begin, end) of a chord, if any lies in the image.
  void addLevel(const Plane<const uint8_t>& src, int32_t k, int32_t y, int32_t begin, int32_t end) {
    const uint8_t* rows[kDirectRows];
    int64_t count = 0;
    const auto flush = [&] {
      const Chord& chord = element_.chord(element_.row(begin));
      spread(k, chord, rows, count, otherLine(k));
      current_[k] = 1 - current_[k];
      unspread_[k] = chord;
      count = 0;
    };
    const auto add = [&](const uint8_t* row) {
      rows[count++] = row;
      if (count == kDirectRows) flush();
    };
    if (begin == tallest_) {
      add(tall_.data() + static_cast<size_t>(y) * n_);
    } else {
      for (int32_t i = begin; i < end; ++i) {
        const int64_t row = int64_t{y} + element_.row(i);
        if (row >= 0 && row < image_.height) {
          add(src.row(row));
        } else if (wraps_) {
          add(src.row(borderIndex(row, image_.height, TAMIX_BORDER_WRAP)));
        }
      }
    }
    if (count > 0) flush();
  }

  // out = line k spread until only the chord is left to be spread, and the rows.
  void spread(int32_t k, const Chord& chord, const uint8_t* const* rows, int64_t count, uint8_t* out) const {
    const int32_t left = unspread_[k].left - chord.left;
    const int32_t right = unspread_[k].right - chord.right;
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
    if (window == 3 && count == 2) return combine<3, 2>(first, window, rows, count, out);
    if (window == 3 && count == 1) return combine<3, 1>(first, window, rows, count, out);
    if (window <= kTaps) return combine<0, 0>(first, window, rows, count, out);
    combineColumns<false>(Op(), first, window, out, n_);
    if (count > 0) combine<0, 0>(out, 1, rows, count, out);
  }

  // For short windows; the sizes may be given as constants.
  template <int kWindow, int kRows>
  void combine(const uint8_t* first, int64_t window, const uint8_t* const* rows, int64_t count, uint8_t* out) const {
    const Op op;
    coverRow(n_, [&](auto d, size_t i) {
      auto v = hn::LoadU(d, first + i);
      for (int64_t x = 1; x < (kWindow > 0 ? kWindow : window); ++x) {
        v = op(v, hn::LoadU(d, first + i + static_cast<size_t>(x) * kPixel));
      }
      for (int64_t r = 0; r < (kRows > 0 ? kRows : count); ++r) v = op(v, hn::LoadU(d, rows[r] + i));
      hn::StoreU(v, d, out + i);
    });
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
  Chord unspread_[kLines];  // what the lines are still to be spread by
  ScratchBuffer<uint8_t> lines_;
  ScratchBuffer<uint8_t> tall_;
};

bool sameRows(const Plane<const uint8_t>& a, const Plane<const uint8_t>& b, int32_t height, size_t n) {
  for (int32_t y = 0; y < height; ++y) {
    if (std::memcmp(a.row(y), b.row(y), n) != 0) return false;
  }
  return true;
}

Plane<const uint8_t> readable(const Plane<uint8_t>& plane) { return {plane.data, plane.pitch}; }

template <class Op>
bool elementPasses(const MorphologyImage& image, const StructuringElement& element) {
  const size_t n = rowElements(image.width, kPixel);
  const size_t bytes = n * static_cast<size_t>(image.height);
  const auto packed = [n](const ScratchBuffer<uint8_t>& buffer) {
    return Plane<uint8_t>{buffer.data(), static_cast<ptrdiff_t>(n)};
  };
  const StableSource<uint8_t> source(image.src, image.dst, image.height, n);
  const NestedElement nested(element, image.height, image.width, image.border_type, image.iterations);
  if (!source || !nested) return false;
  if (nested.isNested()) return NestedPass<Op>(image, nested).run(source.plane(), image.dst);
  const StructuringElement near_element(element, image.height, image.width, image.border_type);
  if (!near_element) return false;
  ElementPass<Op> pass(image, near_element);
  if (!pass.allocate()) return false;
  pass.run(source.plane(), image.dst);
  if (image.iterations == 1) return true;

  // The results go back and forth between dst and another image. A snapshot, taken ever more rarely, finds out when they
  // repeat.
  const ScratchBuffer<uint8_t> other(bytes);
  if (!other) return false;
  Plane<uint8_t> current = image.dst;
  Plane<uint8_t> next = packed(other);
  ScratchBuffer<uint8_t> snapshot;
  constexpr int64_t kFirstSnapshot = 16;
  int64_t snapshot_at = 0;
  int64_t passes = image.iterations;
  for (int64_t done = 1; done < passes; ++done) {
    if (done == kFirstSnapshot) snapshot = ScratchBuffer<uint8_t>(bytes);
    if (snapshot && done >= kFirstSnapshot && (done & (done - 1)) == 0) {
      copyRows(readable(current), packed(snapshot), image.height, n);
      snapshot_at = done;
    }
    pass.run(readable(current), next);
    std::swap(current, next);
    if (sameRows(readable(current), readable(next), image.height, n)) break;
    if (snapshot_at != 0 && sameRows(readable(current), readable(packed(snapshot)), image.height, n)) {
      const int64_t period = done + 1 - snapshot_at;
      passes = done + 1 + (passes - done - 1) % period;
      snapshot_at = 0;
      snapshot = ScratchBuffer<uint8_t>();
    }
  }
  if (current.data != image.dst.data) copyRows(readable(current), image.dst, image.height, n);
  return true;
}

bool isEmpty(const MorphologyImage& image) { return image.height < 1 || image.width < 1 || image.iterations < 1; }

}  // namespace

bool rectangleExtremum(Extremum extremum, const MorphologyImage& image, int64_t rows, int64_t columns) {
  if (isEmpty(image)) return true;
  return extremum == Extremum::kMinimum ? rectangle<Minimum>(image, rows, columns) : rectangle<Maximum>(image, rows, columns);
}

bool rectangleExtrema(Extremum first, const MorphologyImage& image, int64_t rows, int64_t columns) {
  if (isEmpty(image)) return true;
  if (rows < 1 || columns < 1) return first == Extremum::kMinimum ? fillNeutral<Maximum>(image) : fillNeutral<Minimum>(image);
  return first == Extremum::kMinimum ? bothExtrema<Minimum>(image, rows, columns) : bothExtrema<Maximum>(image, rows, columns);
}

bool elementExtremum(Extremum extremum, const MorphologyImage& image, const StructuringElement& element) {
  if (element.isRectangle()) return rectangleExtremum(extremum, image, element.rows(), element.columns());
  if (isEmpty(image)) return true;
  return extremum == Extremum::kMinimum ? elementPasses<Minimum>(image, element) : elementPasses<Maximum>(image, element);
}

}  // namespace tamix
