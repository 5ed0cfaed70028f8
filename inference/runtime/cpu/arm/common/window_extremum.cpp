#include "inference/runtime/cpu/arm/common/window_extremum.h"

#include <cstring>

#include "inference/runtime/cpu/arm/common/box_pass.h"
#include "inference/runtime/cpu/arm/common/nested_element.h"
#include "inference/runtime/cpu/arm/common/nested_pass.h"
#include "inference/runtime/cpu/arm/common/rectangle_pass.h"

namespace tamix {
namespace {

using namespace extremum;

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

bool sameRows(const Plane<const uint8_t>& a, const Plane<const uint8_t>& b, int32_t height, size_t n) {
  for (int32_t y = 0; y < height; ++y) {
    if (std::memcmp(a.row(y), b.row(y), n) != 0) return false;
  }
  return true;
}

Plane<const uint8_t> readable(const Plane<uint8_t>& plane) { return {plane.data, plane.pitch}; }

// Nested elements of more chords are faster as boxes.
constexpr int32_t kFewLevels = 32;

// All passes that a nested element stands for. The planes must not overlap.
template <class Op>
bool nestedPasses(const MorphologyImage& image, const NestedElement& nested) {
  if (nested.countLevels() <= kFewLevels) return NestedPass<Op>(image, nested).run();
  const ScratchBuffer<ElementBox> boxes(static_cast<size_t>(nested.count()));
  if (!boxes) return false;
  const bool sees_border = image.border_type == TAMIX_BORDER_CONSTANT || image.border_type == TAMIX_BORDER_WRAP;
  BoxPass<Op> pass(image, /*inside_only=*/!sees_border);
  if (!pass.allocate(boxes.data(), nested.copyBoxes(boxes.data()))) return false;
  pass.run(image.src, image.dst);
  return true;
}

// Pass after pass. The planes must not overlap, but the source may be `other`, of the destination's size, which passes after
// the first one need.
template <class Op>
bool boxPasses(const MorphologyImage& image, const StructuringElement& element, const Plane<uint8_t>& other) {
  const StructuringElement near_element(element, image.height, image.width, image.border_type);
  if (!near_element) return false;
  BoxPass<Op> pass(image, /*inside_only=*/false);
  if (!pass.allocate(near_element.begin(), near_element.end())) return false;
  pass.run(image.src, image.dst);

  // The results go back and forth between dst and the other image. A snapshot, taken ever more rarely, finds out when they
  // repeat.
  const size_t n = rowElements(image.width, kPixel);
  Plane<uint8_t> current = image.dst;
  Plane<uint8_t> next = other;
  ScratchBuffer<uint8_t> snapshot;
  const auto snapshotRows = [&] { return Plane<uint8_t>{snapshot.data(), static_cast<ptrdiff_t>(n)}; };
  constexpr int64_t kFirstSnapshot = 16;
  int64_t snapshot_at = 0;
  int64_t passes = image.iterations;
  for (int64_t done = 1; done < passes; ++done) {
    if (done == kFirstSnapshot) snapshot = ScratchBuffer<uint8_t>(n * static_cast<size_t>(image.height));
    if (snapshot && done >= kFirstSnapshot && (done & (done - 1)) == 0) {
      copyRows(readable(current), snapshotRows(), image.height, n);
      snapshot_at = done;
    }
    pass.run(readable(current), next);
    std::swap(current, next);
    if (sameRows(readable(current), readable(next), image.height, n)) break;
    if (snapshot_at != 0 && sameRows(readable(current), readable(snapshotRows()), image.height, n)) {
      const int64_t period = done + 1 - snapshot_at;
      passes = done + 1 + (passes - done - 1) % period;
      snapshot_at = 0;
      snapshot = ScratchBuffer<uint8_t>();
    }
  }
  if (current.data != image.dst.data) copyRows(readable(current), image.dst, image.height, n);
  return true;
}

template <class Op>
bool elementPasses(MorphologyImage image, const StructuringElement& element) {
  const size_t n = rowElements(image.width, kPixel);
  const StableSource<uint8_t> source(image.src, image.dst, image.height, n);
  const NestedElement nested(element, image.height, image.width, image.border_type, image.iterations);
  if (!source || !nested) return false;
  image.src = source.plane();
  if (nested.fit() == NestedElement::Fit::kAll) return nestedPasses<Op>(image, nested);
  const ScratchBuffer<uint8_t> memory(image.iterations > 1 ? n * static_cast<size_t>(image.height) : 0);
  if (!memory) return false;
  const Plane<uint8_t> other{memory.data(), static_cast<ptrdiff_t>(n)};
  if (nested.fit() == NestedElement::Fit::kBehindEdges && image.iterations > 2) {
    MorphologyImage first = image;
    first.dst = other;
    if (!nestedPasses<Op>(first, nested)) return false;
    image.src = readable(other);
    image.iterations = 2;
  }
  return boxPasses<Op>(image, element, other);
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
