// Which samples an averaged one covers, and how much of each.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace tamix {

// Consecutive samples with their shares, which add up to 1.
struct AreaCell {
  ptrdiff_t first;
  ptrdiff_t count;
  float first_weight;
  float inner_weight;
  float last_weight;

  float weight(ptrdiff_t i) const { return i == 0 ? first_weight : i + 1 == count ? last_weight : inner_weight; }
};

// The cell of sample d of an axis shrunk by `scale`, of which `length` samples can be used. Slivers up to a thousandth of a
// sample do not count.
inline AreaCell areaCell(int32_t d, double scale, int32_t length) {
  constexpr double kSliver = 0.001;
  const double begin = static_cast<double>(d) * scale;
  const double end = begin + scale;
  const double size = std::min(scale, static_cast<double>(length) - begin);
  const int64_t whole_end = std::min(static_cast<int64_t>(std::floor(end)), int64_t{length} - 1);
  const int64_t whole_begin = std::min(static_cast<int64_t>(std::ceil(begin)), whole_end);
  const double head = static_cast<double>(whole_begin) - begin;
  const double tail = end - static_cast<double>(whole_end);
  const bool has_head = head > kSliver;
  const bool has_tail = tail > kSliver;

  const auto inner = static_cast<float>(1.0 / size);
  const auto head_weight = static_cast<float>(head / size);
  const auto tail_weight = static_cast<float>(std::min({tail, 1.0, size}) / size);
  AreaCell cell{whole_begin - (has_head ? 1 : 0), whole_end - whole_begin + (has_head ? 1 : 0) + (has_tail ? 1 : 0), inner,
                inner, inner};
  if (has_tail) cell.last_weight = tail_weight;
  // A cell of one sample is asked for its first weight.
  if (has_head) cell.first_weight = head_weight;
  if (!has_head && has_tail && cell.count == 1) cell.first_weight = tail_weight;
  return cell;
}

// One half of an image's rows: rows are averaged within their half only.
struct AreaBand {
  int32_t src_first;
  int32_t src_count;
  int32_t dst_first;
  int32_t dst_count;
};

inline AreaBand areaBand(int32_t b, int32_t src_height, int32_t dst_height) {
  const int32_t src_half = src_height - src_height / 2;
  const int32_t dst_half = dst_height - dst_height / 2;
  return b == 0 ? AreaBand{0, src_half, 0, dst_half}
                : AreaBand{src_half, src_height - src_half, dst_half, dst_height - dst_half};
}

// The scale of an axis: a division in single precision.
inline double areaScale(int32_t source, int32_t target) {
  return static_cast<double>(static_cast<float>(source) / static_cast<float>(target));
}

}  // namespace tamix
