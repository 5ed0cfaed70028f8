#include <cstring>

#include "inference/runtime/cpu/arm/common/area_columns.h"
#include "inference/runtime/cpu/arm/common/bilinear_axis.h"
#include "inference/runtime/cpu/arm/common/float_columns.h"
#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/scratch_parts.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"
#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

// q = a * I + b, where a and b fit p to the guide I in 5x5 windows of p's grid: a = cov(I, p) / (var(I) + 1), b = mean(p) - a *
// mean(I); their 5x5 means are enlarged to the guide's size. The three channels stay interleaved: what holds for an element
// holds for its neighbours three elements apart. Rows roll through windows of five, so that nothing but a reduced guide is
// ever held as a whole.
namespace tamix {
namespace {

constexpr int32_t kChannels = 3;
constexpr int32_t kRadius = 2;
constexpr int32_t kTaps = 2 * kRadius + 1;
// More floats than any machine has.
constexpr size_t kMostElements = size_t{1} << 60;
// Elements at a row's ends whose windows would leave the image.
constexpr size_t kFrame = size_t{kRadius} * kChannels;

// The last five rows of a plane that is produced from top to bottom.
class RowWindow {
 public:
  static size_t room(size_t n) { return ScratchParts::room<float>(n * kTaps); }
  RowWindow(ScratchParts& scratch, size_t n) : n_(n), rows_(scratch.take<float>(n * kTaps)) {}

  float* row(int32_t y) const { return rows_ + static_cast<size_t>(y % kTaps) * n_; }

 private:
  size_t n_;
  float* rows_;
};

// Copies what the frame of two pixels keeps of row y. False when nothing is left between kFrame and n - kFrame.
bool keepFrame(const RowWindow& window, int32_t y, int32_t height, size_t n, float* out) {
  const float* const middle = window.row(y);
  if (y < kRadius || y >= height - kRadius || n <= 2 * kFrame) {
    std::memcpy(out, middle, n * sizeof(float));
    return false;
  }
  std::memcpy(out, middle, kFrame * sizeof(float));
  std::memcpy(out + n - kFrame, middle + n - kFrame, kFrame * sizeof(float));
  return true;
}

// The 5x5 means of row y, summed in row-major order.
void orderedBox(const RowWindow& window, int32_t y, int32_t height, size_t n, float* HWY_RESTRICT out) {
  if (!keepFrame(window, y, height, n, out)) return;
  const float* rows[kTaps];
  for (int32_t k = 0; k < kTaps; ++k) rows[k] = window.row(y - kRadius + k);
  walkRow<float>(n - 2 * kFrame, [&](auto d, size_t i) {
    auto sum = hn::LoadU(d, rows[0] + i);
    for (size_t k = 0; k < kTaps; ++k) {
      for (size_t tap = k == 0 ? 1 : 0; tap < kTaps; ++tap) sum = hn::Add(sum, hn::LoadU(d, rows[k] + i + tap * kChannels));
    }
    hn::StoreU(hn::Div(sum, hn::Set(d, 25.0f)), d, out + kFrame + i);
  });
}

// The same for whole numbers whose sums stay below 2^24: exact in any order, so columns are summed once. column_sums: n floats.
void exactBox(const RowWindow& window, int32_t y, int32_t height, size_t n, float* HWY_RESTRICT column_sums,
              float* HWY_RESTRICT out) {
  if (!keepFrame(window, y, height, n, out)) return;
  const float* rows[kTaps];
  for (int32_t k = 0; k < kTaps; ++k) rows[k] = window.row(y - kRadius + k);
  walkRow<float>(n, [&](auto d, size_t i) {
    auto sum = hn::LoadU(d, rows[0] + i);
    for (size_t k = 1; k < kTaps; ++k) sum = hn::Add(sum, hn::LoadU(d, rows[k] + i));
    hn::StoreU(sum, d, column_sums + i);
  });
  walkRow<float>(n - 2 * kFrame, [&](auto d, size_t i) {
    auto sum = hn::LoadU(d, column_sums + i);
    for (size_t tap = 1; tap < kTaps; ++tap) sum = hn::Add(sum, hn::LoadU(d, column_sums + i + tap * kChannels));
    hn::StoreU(hn::Div(sum, hn::Set(d, 25.0f)), d, out + kFrame + i);
  });
}

void widenRow(const uint8_t* src, size_t n, float* HWY_RESTRICT out) {
  walkRow<float>(n, [&](auto d, size_t i) {
    const auto bytes = hn::LoadU(hn::Rebind<uint8_t, decltype(d)>(), src + i);
    hn::StoreU(hn::ConvertTo(d, hn::PromoteTo(hn::RebindToSigned<decltype(d)>(), bytes)), d, out + i);
  });
}

// The guide on p's grid: its own bytes where the sizes agree, otherwise an image of floats.
struct LowGuide {
  Plane<const uint8_t> bytes;
  Plane<const float> floats;  // null: the bytes
};

// Rows of the smoothed coefficients on p's grid, produced from top to bottom.
class Model {
 public:
  static size_t room(size_t n) { return kWindows * RowWindow::room(n) + kRows * ScratchParts::room<float>(n); }

  Model(ScratchParts& scratch, const LowGuide& guide, Plane<const uint8_t> p, int32_t height, int32_t width)
      : guide_(guide),
        p_(p),
        height_(height),
        width_(width),
        n_(rowElements(width, kChannels)),
        i_values_(scratch, n_),
        p_values_(scratch, n_),
        ii_values_(scratch, n_),
        ip_values_(scratch, n_),
        a_(scratch, n_),
        b_(scratch, n_),
        mean_i_(scratch.take<float>(n_)),
        mean_p_(scratch.take<float>(n_)),
        mean_ii_(scratch.take<float>(n_)),
        mean_ip_(scratch.take<float>(n_)),
        column_sums_(scratch.take<float>(n_)) {}

  // The means of a and b in row y. Rows are asked for from top to bottom; the last one may be asked for again.
  void smoothedRow(int32_t y, float* mean_a, float* mean_b) {
    for (const int32_t last = std::min(y + kRadius, height_ - 1); fitted_rows_ <= last; ++fitted_rows_) fitRow(fitted_rows_);
    orderedBox(a_, y, height_, n_, mean_a);
    orderedBox(b_, y, height_, n_, mean_b);
  }

 private:
  static constexpr size_t kWindows = 6;
  static constexpr size_t kRows = 5;

  void readRow(int32_t y) {
    float* const i_row = i_values_.row(y);
    float* const p_row = p_values_.row(y);
    float* const ii_row = ii_values_.row(y);
    float* const ip_row = ip_values_.row(y);
    if (guide_.floats.data == nullptr) {
      widenRow(guide_.bytes.row(y), n_, i_row);
    } else {
      std::memcpy(i_row, guide_.floats.row(y), n_ * sizeof(float));
    }
    widenRow(p_.row(y), n_, p_row);
    walkRow<float>(n_, [&](auto d, size_t k) {
      const auto i = hn::LoadU(d, i_row + k);
      hn::StoreU(hn::Mul(i, i), d, ii_row + k);
      hn::StoreU(hn::Mul(i, hn::LoadU(d, p_row + k)), d, ip_row + k);
    });
  }

  void box(const RowWindow& window, int32_t y, float* out) {
    if (guide_.floats.data == nullptr) {
      exactBox(window, y, height_, n_, column_sums_, out);
    } else {
      orderedBox(window, y, height_, n_, out);
    }
  }

  // a and b of row y.
  void fitRow(int32_t y) {
    for (const int32_t last = std::min(y + kRadius, height_ - 1); read_rows_ <= last; ++read_rows_) readRow(read_rows_);
    exactBox(p_values_, y, height_, n_, column_sums_, mean_p_);
    box(i_values_, y, mean_i_);
    box(ii_values_, y, mean_ii_);
    box(ip_values_, y, mean_ip_);
    float* const a_row = a_.row(y);
    float* const b_row = b_.row(y);
    const auto fit = [&](auto d, size_t k, const auto& quotient) {
      const auto i = hn::LoadU(d, mean_i_ + k);
      const auto p = hn::LoadU(d, mean_p_ + k);
      const auto var = hn::Sub(hn::LoadU(d, mean_ii_ + k), hn::Mul(i, i));
      const auto cov = hn::Sub(hn::LoadU(d, mean_ip_ + k), hn::Mul(i, p));
      const auto a = quotient(cov, hn::Add(var, hn::Set(d, 1.0f)));
      hn::StoreU(a, d, a_row + k);
      hn::StoreU(hn::Sub(p, hn::Mul(a, i)), d, b_row + k);
    };
    walkRow<float>(n_, [&](auto d, size_t k) { fit(d, k, [d](auto u, auto v) { return refinedQuotient(d, u, v); }); });
    // A channel's plane is divided in groups of four elements; the fewer than four left over are divided exactly.
    const int64_t in_groups = int64_t{height_} * width_ / 4 * 4 - int64_t{y} * width_;
    for (int64_t x = std::clamp<int64_t>(in_groups, 0, width_); x < width_; ++x) {
      for (int64_t c = 0; c < kChannels; ++c) {
        fit(hn::CappedTag<float, 1>(), static_cast<size_t>(x * kChannels + c), [](auto u, auto v) { return hn::Div(u, v); });
      }
    }
  }

  LowGuide guide_;
  Plane<const uint8_t> p_;
  int32_t height_;
  int32_t width_;
  size_t n_;
  RowWindow i_values_;
  RowWindow p_values_;
  RowWindow ii_values_;
  RowWindow ip_values_;
  RowWindow a_;
  RowWindow b_;
  float* mean_i_;
  float* mean_p_;
  float* mean_ii_;
  float* mean_ip_;
  float* column_sums_;
  int32_t read_rows_ = 0;
  int32_t fitted_rows_ = 0;
};

// Two rows of a and of b at full width, and the weight of the second ones.
struct FullRow {
  const float* a0;
  const float* a1;
  const float* b0;
  const float* b1;
  float weight;

  template <class D>
  HWY_INLINE hn::Vec<D> a(D d, size_t i) const {
    return blend(d, a0 + i, a1 + i);
  }
  template <class D>
  HWY_INLINE hn::Vec<D> b(D d, size_t i) const {
    return blend(d, b0 + i, b1 + i);
  }

 private:
  template <class D>
  HWY_INLINE hn::Vec<D> blend(D d, const float* h0, const float* h1) const {
    const auto v = hn::LoadU(d, h0);
    return hn::Add(v, hn::Mul(hn::Set(d, weight), hn::Sub(hn::LoadU(d, h1), v)));
  }
};

// The low 16 bits of v * 64 truncated toward zero.
template <class D, class V>
HWY_INLINE auto sixBitFraction(D d, V v) {
  const hn::RebindToSigned<D> d32;
  const auto fixed = hn::ConvertTo(d32, hn::Mul(v, hn::Set(d, 64.0f)));
  return hn::DemoteTo(hn::Rebind<int16_t, D>(), hn::ShiftRight<16>(hn::ShiftLeft<16>(fixed)));
}

// q = (b + a * I) >> 6 in 16 bits that wrap around, a and b with 6 fractional bits; saturated to bytes.
void evaluateFixed(const FullRow& row, const uint8_t* guide, size_t n, uint8_t* dst) {
  walkRow<float>(n, [&](auto d, size_t i) {
    const hn::Rebind<int16_t, decltype(d)> d16;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const auto pixels = hn::PromoteTo(d16, hn::LoadU(d8, guide + i));
    const auto a = sixBitFraction(d, row.a(d, i));
    const auto b = sixBitFraction(d, row.b(d, i));
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<6>(hn::Add(b, hn::Mul(pixels, a)))), d8, dst + i);
  });
}

// q = b + a * I, clamped and truncated.
void evaluateFloat(const FullRow& row, const uint8_t* guide, size_t begin, size_t end, uint8_t* dst) {
  const hn::CappedTag<float, 1> d;
  for (size_t i = begin; i < end; ++i) {
    const float q = hn::GetLane(row.b(d, i)) + hn::GetLane(row.a(d, i)) * static_cast<float>(guide[i]);
    dst[i] = static_cast<uint8_t>(std::clamp(q, 0.0f, 255.0f));
  }
}

// A channel's plane is evaluated in blocks of this many pixels; the fewer pixels at its end are evaluated in floats.
constexpr int64_t kBlock = 16;

// A smaller guide: averages of its pixels, in both halves of the rows on their own. False without memory.
bool shrinkGuide(Plane<const uint8_t> guide, int32_t height, int32_t width, Plane<float> low, int32_t low_height,
                 int32_t low_width) {
  using Columns = AreaColumns<uint8_t>;
  const size_t n = rowElements(low_width, kChannels);
  const double scale = areaScale(height, low_height);
  ScratchParts scratch(Columns::room(n, areaScale(width, low_width)) + AreaRows<uint8_t>::room(n, scale));
  if (!scratch) return false;
  const Columns columns(scratch, width, low_width, kChannels);
  const AreaRows<uint8_t> rows(scratch, n, scale);
  for (const int32_t b : {0, 1}) {
    rows.average(areaBand(b, height, low_height), guide, columns, [&](int32_t y, size_t e, auto first, auto second) HWY_ATTR {
      const hn::ScalableTag<float> d;
      hn::StoreU(first, d, low.row(y) + e);
      hn::StoreU(second, d, low.row(y) + e + Columns::kLanes);
    });
  }
  return true;
}

// A guide that is smaller than p in a direction is enlarged in floats, as the area resize does. False without memory.
bool enlargeGuide(Plane<const uint8_t> guide, int32_t height, int32_t width, Plane<float> low, int32_t low_height,
                  int32_t low_width) {
  const size_t n = rowElements(width, kChannels);
  const ScratchBuffer<float> full(planeElements(height, width, width, kChannels));
  const ScratchBuffer<float> enlarged(planeElements(low_height, low_width, low_width, kChannels));
  if (!full || !enlarged) return false;
  for (int32_t y = 0; y < height; ++y) widenRow(guide.row(y), n, full.data() + static_cast<size_t>(y) * n);
  if (resizeBilinearCPUFLOAT32(full.data(), height, width, width, enlarged.data(), low_height, low_width, low_width,
                               kChannels) != TAMIX_OK) {
    return false;
  }
  copyRows(plane<const float>(enlarged.data(), low_width, kChannels), low, low_height, rowElements(low_width, kChannels));
  return true;
}

}  // namespace
}  // namespace tamix

int32_t guidedFilterCPUUINT8(const uint8_t* guide, int32_t guide_height, int32_t guide_width, int32_t guide_width_stride,
                             const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_width_stride, uint8_t* dst,
                             int32_t dst_height, int32_t dst_width, int32_t dst_width_stride, int32_t channel,
                             int32_t kernel_size, int32_t /*num_threads*/) {
  using namespace tamix;
  TAMIX_REQUIRE_DATA(src, guide, dst);
  TAMIX_REQUIRE(channel == kChannels, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input channel: %d", channel);
  TAMIX_REQUIRE(dst_height == guide_height && dst_width == guide_width, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported unequal input and output shape: (%d, %d)(%d, %d)", guide_height, guide_width, dst_height,
                dst_width);
  TAMIX_REQUIRE(kernel_size == -1 || kernel_size == kTaps, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported kernel size: %d",
                kernel_size);
  if (guide_height < 1 || guide_width < 1 || src_height < 1 || src_width < 1) return TAMIX_OK;

  const size_t low_n = rowElements(src_width, kChannels);
  const size_t n = rowElements(guide_width, kChannels);
  const size_t padded = FloatColumns::padded(n);

  // In place of the guide, a row is written after the guide's row of that number was read, and before later ones are.
  const Plane<const uint8_t> full_guide = plane(guide, guide_width_stride, kChannels);
  const Plane<uint8_t> to = plane(dst, dst_width_stride, kChannels);
  const bool in_place = guide == dst && guide_width_stride == dst_width_stride;
  const MemoryRange written = memoryOf(to, dst_height, n);
  const StableSource<uint8_t> stable_guide(full_guide, guide_height, n, in_place ? MemoryRange{0, 0} : written);
  const StableSource<uint8_t> stable_src(plane(src, src_width_stride, kChannels), src_height, low_n, written);
  TAMIX_REQUIRE(stable_guide && stable_src, TAMIX_ERR_NO_MEMORY, "allocate memory failed");
  const Plane<const uint8_t> from = stable_guide.plane();
  ScratchParts scratch(Model::room(low_n) + 2 * ScratchParts::room<float>(low_n) + FloatColumns::room(n) +
                       2 * ScratchParts::room<float>(2 * padded));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "allocate memory failed");
  TAMIX_DEBUG("guidedFilterCPUUINT8 Image Split");

  // Whole blocks are written to its rows.
  const size_t low_pitch = AreaColumns<uint8_t>::blocks(low_n) * AreaColumns<uint8_t>::kBlock;
  LowGuide low_guide{from, {nullptr, static_cast<ptrdiff_t>(low_pitch)}};
  ScratchBuffer<float> resized;
  if (src_height != guide_height || src_width != guide_width) {
    resized = ScratchBuffer<float>(low_pitch > kMostElements / static_cast<size_t>(src_height)
                                       ? kMostElements
                                       : low_pitch * static_cast<size_t>(src_height));
    const Plane<float> low{resized.data(), static_cast<ptrdiff_t>(low_pitch)};
    const bool shrinks = src_height <= guide_height && src_width <= guide_width;
    TAMIX_REQUIRE(
        resized && (shrinks ? shrinkGuide : enlargeGuide)(from, guide_height, guide_width, low, src_height, src_width),
        TAMIX_ERR_NO_MEMORY, "allocate memory failed");
    low_guide.floats.data = resized.data();
  }
  for (int32_t c = 0; c < kChannels; ++c) {
    TAMIX_DEBUG("guidedFilterCPUUINT8 Image Down Resize");
    TAMIX_DEBUG("guidedFilterCPUUINT8 Image Box Filter");
    TAMIX_DEBUG("guidedFilterCPUUINT8 Image Up Resize");
  }

  Model model(scratch, low_guide, stable_src.plane(), src_height, src_width);
  float* const mean_a = scratch.take<float>(low_n);
  float* const mean_b = scratch.take<float>(low_n);
  FloatColumns columns(scratch, BilinearAxis(src_width, guide_width), src_width, guide_width, kChannels);
  float* const first = scratch.take<float>(2 * padded);
  RowPair<float> rows(first, scratch.take<float>(2 * padded));
  const BilinearAxis axis(src_height, guide_height);
  const int64_t blocks_end = int64_t{guide_height} * guide_width / kBlock * kBlock;
  for (int32_t y = 0; y < guide_height; ++y) {
    const AxisPosition at = axis[y];
    rows.moveTo(at.index, axis.step(), [&](ptrdiff_t row, float* full) {
      model.smoothedRow(static_cast<int32_t>(row), mean_a, mean_b);
      columns.blend(mean_a, full);
      columns.blend(mean_b, full + padded);
    });
    const FullRow row{rows.upper(), rows.lower(), rows.upper() + padded, rows.lower() + padded, at.fraction};
    const int64_t in_blocks = std::clamp<int64_t>(blocks_end - int64_t{y} * guide_width, 0, guide_width);
    const size_t fixed_end = rowElements(static_cast<int32_t>(in_blocks), kChannels);
    evaluateFixed(row, from.row(y), fixed_end, to.row(y));
    evaluateFloat(row, from.row(y), fixed_end, n, to.row(y));
  }
  TAMIX_DEBUG("guidedFilterCPUUINT8 Finish");
  return TAMIX_OK;
}
