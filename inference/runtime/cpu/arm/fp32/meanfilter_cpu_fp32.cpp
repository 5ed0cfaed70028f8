#include "inference/runtime/cpu/arm/fp32/meanfilter_cpu_fp32.h"

#include <algorithm>
#include <array>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/float_nan.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/window_sums.h"
#include "inference/utils/tamix_log.h"

HWY_BEFORE_NAMESPACE();
namespace tamix {
namespace {

// Destination rows that are computed together: each row of their windows is loaded once for all of them.
constexpr size_t kRowsTogether = 6;

// Where a window's rows begin: row k of the window of destination row r is rows[r + k].
template <size_t kSize, size_t kRows>
using Windows = std::array<const float*, kRows + kSize - 1>;

// Means of the windows whose left columns are x to x + Lanes(d) - 1, for kRows rows at once.
template <size_t kSize, size_t kRows, class D>
HWY_INLINE void meansAt(D d, const Windows<kSize, kRows>& rows, const std::array<float*, kRows>& out, size_t x) {
  hn::Vec<D> sum[kRows];
  windowSums<kSize, 1>(d, rows.data(), x, sum);
  const auto terms = hn::Set(d, static_cast<float>(kSize * kSize));
  for (size_t r = 0; r < kRows; ++r) hn::StoreU(withPositiveNaN(d, hn::Div(sum[r], terms)), d, out[r] + x);
}

// The first n windows of kRows rows.
template <size_t kSize, size_t kRows>
void meansOfRows(const Windows<kSize, kRows>& rows, const std::array<float*, kRows>& out, size_t n) {
  const hn::ScalableTag<float> d;
  const hn::CappedTag<float, 1> one;
  size_t x = 0;
  for (; x + hn::Lanes(d) <= n; x += hn::Lanes(d)) meansAt<kSize, kRows>(d, rows, out, x);
  if (x == n) return;
  if (n >= hn::Lanes(d)) return meansAt<kSize, kRows>(d, rows, out, n - hn::Lanes(d));
  for (; x < n; ++x) meansAt<kSize, kRows>(one, rows, out, x);
}

// Rows y to y + kRows - 1 of the pixels whose columns do not need a border.
template <size_t kSize, size_t kRows>
void filterRows(Plane<const float> src, Plane<float> dst, int32_t y, int32_t height, size_t width) {
  constexpr int32_t kReach = kSize / 2;
  Windows<kSize, kRows> rows;
  std::array<float*, kRows> out;
  for (size_t k = 0; k < rows.size(); ++k) {
    rows[k] = src.row(borderIndex(int64_t{y} - kReach + static_cast<int64_t>(k), height, TAMIX_BORDER_REFLECT_101));
  }
  for (size_t r = 0; r < kRows; ++r) out[r] = dst.row(y + static_cast<int32_t>(r)) + kReach;
  meansOfRows<kSize, kRows>(rows, out, width - 2 * kReach);
}

template <size_t kSize>
void filterRange(Plane<const float> src, Plane<float> dst, int32_t first, int32_t last, int32_t height, size_t width) {
  int32_t y = first;
  for (; y + static_cast<int32_t>(kRowsTogether) <= last; y += static_cast<int32_t>(kRowsTogether)) {
    filterRows<kSize, kRowsTogether>(src, dst, y, height, width);
  }
  for (; y < last; ++y) filterRows<kSize, 1>(src, dst, y, height, width);
}

// The mean of a 3x3 window that reaches over an edge.
float mirroredMean3x3(Plane<const float> src, int32_t y, int32_t x, int32_t height, int32_t width) {
  float sum = -0.0f;  // leaves the first term as it is
  for (int32_t r = y - 1; r <= y + 1; ++r) {
    const float* const row = src.row(borderIndex(r, height, TAMIX_BORDER_REFLECT_101));
    for (int32_t c = x - 1; c <= x + 1; ++c) sum += row[borderIndex(c, width, TAMIX_BORDER_REFLECT_101)];
  }
  const hn::CappedTag<float, 1> one;
  return hn::GetLane(withPositiveNaN(one, hn::Set(one, sum / 9.0f)));
}

void filter3x3(Plane<const float> src, Plane<float> dst, int32_t height, int32_t width) {
  filterRange<3>(src, dst, 0, height, height, static_cast<size_t>(width));
  for (int32_t y = 0; y < height; ++y) {
    for (const int32_t x : {0, width - 1}) dst.row(y)[x] = mirroredMean3x3(src, y, x, height, width);
  }
}

void filter5x5(Plane<const float> src, Plane<float> dst, int32_t height, int32_t width) {
  for (int32_t y = 0; y < height; ++y) {
    const bool inside = y >= 2 && y < height - 2;
    const float* const in = src.row(y);
    float* const out = dst.row(y);
    std::copy_n(in, inside ? 2 : width, out);
    if (inside) std::copy_n(in + width - 2, 2, out + width - 2);
  }
  filterRange<5>(src, dst, 2, height - 2, height, static_cast<size_t>(width));
}

}  // namespace

int32_t meanFilterCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t /*src_width_stride*/, float* dst,
                             int32_t dst_height, int32_t dst_width, int32_t /*dst_width_stride*/, int32_t channel,
                             int32_t kernel_size, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(channel == 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d", channel);
  TAMIX_REQUIRE(kernel_size == 3 || kernel_size == 5, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported kernnel size: %d",
                kernel_size);
  const int32_t least = kernel_size == 3 ? 2 : 5;
  TAMIX_REQUIRE(src_height >= least && src_width >= least && src_height == dst_height && src_width == dst_width,
                TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output shape: (%d, %d) and (%d, %d)", src_height,
                src_width, dst_height, dst_width);

  const auto to = plane(dst, src_width);
  const StableSource<float> from(plane(src, src_width), to, src_height, static_cast<size_t>(src_width));
  TAMIX_REQUIRE(from, TAMIX_ERR_NO_MEMORY, "failed to allocate memory for mean filter");
  if (kernel_size == 3) {
    filter3x3(from.plane(), to, src_height, src_width);
  } else {
    filter5x5(from.plane(), to, src_height, src_width);
  }
  return TAMIX_OK;
}

}  // namespace tamix
HWY_AFTER_NAMESPACE();
