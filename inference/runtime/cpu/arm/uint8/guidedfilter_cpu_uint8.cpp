#include <cstring>

#include "inference/runtime/cpu/arm/common/area_columns.h"
#include "inference/runtime/cpu/arm/common/bilinear_axis.h"
#include "inference/runtime/cpu/arm/common/float_columns.h"
#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/scratch_parts.h"
#include "inference/runtime/cpu/arm/common/window_sums.h"
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

// Elements behind a row of scratch memory that whole vectors may read and write.
constexpr size_t kOverhang = 64;
static_assert(hn::MaxLanes(hn::ScalableTag<uint8_t>()) <= kOverhang);

// The last kRows rows of a plane that is produced from top to bottom; zeros stand above the first one.
template <class T, int32_t kRows>
class RowRing {
 public:
  static size_t room(size_t n) { return ScratchParts::room<T>((n + kOverhang) * kRows); }
  RowRing(ScratchParts& scratch, size_t n) : pitch_(n + kOverhang), rows_(scratch.take<T>(pitch_ * kRows)) {
    std::fill_n(rows_, pitch_ * kRows, T{0});
  }

  T* row(int32_t y) const { return rows_ + static_cast<size_t>(y % kRows) * pitch_; }

 private:
  size_t pitch_;
  T* rows_;
};

using FloatWindow = RowRing<float, kTaps>;

// False where the windows of a row would leave the image: means are their pixels' own values there.
bool hasWindows(int32_t y, int32_t height, size_t n) { return y >= kRadius && y < height - kRadius && n > 2 * kFrame; }

void widenRow(const uint8_t* src, size_t n, float* HWY_RESTRICT out) {
  walkRow<float>(n, [&](auto d, size_t i) {
    const auto bytes = hn::LoadU(hn::Rebind<uint8_t, decltype(d)>(), src + i);
    hn::StoreU(hn::ConvertTo(d, hn::PromoteTo(hn::RebindToSigned<decltype(d)>(), bytes)), d, out + i);
  });
}

// The 5x5 means of p, of the guide I on p's grid, of I * I and of I * p. Rows are read from top to bottom; then means(y, f)
// calls f(d, e, mean_i, mean_p, mean_ii, mean_ip) for whole vectors of row y from element kFrame on, row y + kRadius being the
// last one read.

// I in bytes: all sums are whole numbers below 2^24, exact in floats in any order. Columns are summed as the window moves down.
class ByteMeans {
 public:
  static size_t room(size_t n) {
    return 2 * Bytes::room(n) + 2 * ScratchParts::room<uint16_t>(n + kOverhang) +
           2 * ScratchParts::room<uint32_t>(n + kOverhang);
  }
  ByteMeans(ScratchParts& scratch, size_t n)
      : n_(n),
        i_(scratch, n),
        p_(scratch, n),
        sum_i_(zeros<uint16_t>(scratch)),
        sum_p_(zeros<uint16_t>(scratch)),
        sum_ii_(zeros<uint32_t>(scratch)),
        sum_ip_(zeros<uint32_t>(scratch)) {}

  void readRow(int32_t y, const uint8_t* guide, const uint8_t* p) {
    const uint8_t* const i_new = static_cast<uint8_t*>(std::memcpy(i_.row(y), guide, n_));
    const uint8_t* const p_new = static_cast<uint8_t*>(std::memcpy(p_.row(y), p, n_));
    const uint8_t* const i_old = i_.row(y + 1);
    const uint8_t* const p_old = p_.row(y + 1);
    const D16 d16;
    const hn::Rebind<uint8_t, D16> d8;
    for (size_t e = 0; e < n_; e += hn::Lanes(d16)) {
      const auto wide = [&](const uint8_t* row) HWY_ATTR { return hn::PromoteTo(d16, hn::LoadU(d8, row + e)); };
      const auto i1 = wide(i_new), i0 = wide(i_old), p1 = wide(p_new), p0 = wide(p_old);
      add(sum_i_ + e, i1, i0);
      add(sum_p_ + e, p1, p0);
      addHalves(sum_ii_ + e, hn::Mul(i1, i1), hn::Mul(i0, i0));
      addHalves(sum_ip_ + e, hn::Mul(i1, p1), hn::Mul(i0, p0));
    }
  }

  template <class F>
  void means(int32_t /*y*/, const F& f) const {
    const D16 d16;
    const D32 d32;
    const hn::Half<D16> half;
    for (size_t e = 0; e < n_ - 2 * kFrame; e += hn::Lanes(d16)) {
      const auto i = window(d16, sum_i_ + e);
      const auto p = window(d16, sum_p_ + e);
      const auto pass = [&](size_t at, auto i_half, auto p_half) HWY_ATTR {
        f(DF(), at + kFrame, mean(hn::PromoteTo(d32, i_half)), mean(hn::PromoteTo(d32, p_half)),
          mean(window(d32, sum_ii_ + at)), mean(window(d32, sum_ip_ + at)));
      };
      pass(e, hn::LowerHalf(half, i), hn::LowerHalf(half, p));
      pass(e + hn::Lanes(d32), hn::UpperHalf(half, i), hn::UpperHalf(half, p));
    }
  }

 private:
  using Bytes = RowRing<uint8_t, kTaps + 1>;  // the row that comes into the window, and the one that leaves it
  using D16 = hn::ScalableTag<uint16_t>;
  using D32 = hn::ScalableTag<uint32_t>;
  using DF = hn::ScalableTag<float>;

  template <class T>
  T* zeros(ScratchParts& scratch) const {
    T* const sums = scratch.take<T>(n_ + kOverhang);
    std::fill_n(sums, n_ + kOverhang, T{0});
    return sums;
  }

  static HWY_INLINE void add(uint16_t* sum, hn::Vec<D16> in, hn::Vec<D16> out) {
    hn::StoreU(hn::Sub(hn::Add(hn::LoadU(D16(), sum), in), out), D16(), sum);
  }
  static HWY_INLINE void addHalves(uint32_t* sum, hn::Vec<D16> in, hn::Vec<D16> out) {
    const D32 d32;
    const hn::Half<D16> half;
    const auto add = [&](uint32_t* to, auto in_half, auto out_half) HWY_ATTR {
      const auto grown = hn::Add(hn::LoadU(d32, to), hn::PromoteTo(d32, in_half));
      hn::StoreU(hn::Sub(grown, hn::PromoteTo(d32, out_half)), d32, to);
    };
    add(sum, hn::LowerHalf(half, in), hn::LowerHalf(half, out));
    add(sum + hn::Lanes(d32), hn::UpperHalf(half, in), hn::UpperHalf(half, out));
  }

  // Sums of five columns' sums.
  template <class D>
  static HWY_INLINE hn::Vec<D> window(D d, const hn::TFromD<D>* sums) {
    auto sum = hn::LoadU(d, sums);
    for (size_t t = 1; t < kTaps; ++t) sum = hn::Add(sum, hn::LoadU(d, sums + t * kChannels));
    return sum;
  }
  static HWY_INLINE hn::Vec<DF> mean(hn::Vec<D32> sum) {
    return dividedBy<kTaps * kTaps>(DF(), hn::ConvertTo(DF(), hn::BitCast(hn::RebindToSigned<D32>(), sum)));
  }

  size_t n_;
  Bytes i_;
  Bytes p_;
  uint16_t* sum_i_;
  uint16_t* sum_p_;
  uint32_t* sum_ii_;
  uint32_t* sum_ip_;
};

// I in floats: the order of its sums counts. Those of p are exact in any order.
class FloatMeans {
 public:
  static size_t room(size_t n) { return 4 * FloatWindow::room(n); }
  FloatMeans(ScratchParts& scratch, size_t n) : n_(n), i_(scratch, n), p_(scratch, n), ii_(scratch, n), ip_(scratch, n) {}

  void readRow(int32_t y, const float* guide, const uint8_t* p) {
    const float* const i_row = static_cast<float*>(std::memcpy(i_.row(y), guide, n_ * sizeof(float)));
    float* const p_row = p_.row(y);
    float* const ii_row = ii_.row(y);
    float* const ip_row = ip_.row(y);
    widenRow(p, n_, p_row);
    const D d;
    for (size_t e = 0; e < n_; e += hn::Lanes(d)) {
      const auto i = hn::LoadU(d, i_row + e);
      hn::StoreU(hn::Mul(i, i), d, ii_row + e);
      hn::StoreU(hn::Mul(i, hn::LoadU(d, p_row + e)), d, ip_row + e);
    }
  }

  template <class F>
  void means(int32_t y, const F& f) const {
    const D d;
    for (size_t e = 0; e < n_ - 2 * kFrame; e += hn::Lanes(d)) {
      const auto mean = [&](const FloatWindow& window) HWY_ATTR {
        const float* rows[kTaps];
        for (int32_t k = 0; k < kTaps; ++k) rows[k] = window.row(y - kRadius + k);
        hn::Vec<D> sum[1];
        windowSums<kTaps, kChannels>(d, rows, e, sum);
        return dividedBy<kTaps * kTaps>(d, sum[0]);
      };
      f(d, e + kFrame, mean(i_), mean(p_), mean(ii_), mean(ip_));
    }
  }

 private:
  using D = hn::ScalableTag<float>;

  size_t n_;
  FloatWindow i_;
  FloatWindow p_;
  FloatWindow ii_;
  FloatWindow ip_;
};

// Rows of the smoothed coefficients on p's grid, produced from top to bottom, kTogether at once. Guide: uint8_t or float.
template <class Guide>
class Model {
  using Means = std::conditional_t<std::is_same_v<Guide, float>, FloatMeans, ByteMeans>;

 public:
  static size_t room(size_t n) { return Means::room(n) + 2 * Coefficients::room(n) + 2 * Smoothed::room(n); }

  Model(ScratchParts& scratch, Plane<const Guide> guide, Plane<const uint8_t> p, int32_t height, int32_t width)
      : guide_(guide),
        p_(p),
        height_(height),
        n_(rowElements(width, kChannels)),
        means_(scratch, n_),
        a_(scratch, n_),
        b_(scratch, n_),
        mean_a_(scratch, n_),
        mean_b_(scratch, n_) {}

  // Makes row y of the means of a and b, which stays until a later row than the kTogether - 1 following ones is made.
  void smooth(int32_t y) {
    for (; smoothed_rows_ <= y; smoothed_rows_ += kTogether) {
      const int32_t last = std::min(smoothed_rows_ + kTogether - 1 + kRadius, height_ - 1);
      for (; fitted_rows_ <= last; ++fitted_rows_) fitRow(fitted_rows_);
      smoothRows(a_, mean_a_);
      smoothRows(b_, mean_b_);
    }
  }
  const float* meanA(int32_t y) const { return mean_a_.row(y); }
  const float* meanB(int32_t y) const { return mean_b_.row(y); }

 private:
  static constexpr int32_t kTogether = 4;
  static constexpr int32_t kReach = kTogether + kTaps - 1;
  using Coefficients = RowRing<float, kReach>;
  using Smoothed = RowRing<float, kTogether>;

  // a = cov(I, p) / (var(I) + 1) and b = mean(p) - a * mean(I) of row y.
  void fitRow(int32_t y) {
    for (const int32_t last = std::min(y + kRadius, height_ - 1); read_rows_ <= last; ++read_rows_) {
      means_.readRow(read_rows_, guide_.row(read_rows_), p_.row(read_rows_));
    }
    float* const a_row = a_.row(y);
    float* const b_row = b_.row(y);
    // Without variance p is its own mean.
    const auto keep = [&](size_t begin, size_t n) {
      std::fill_n(a_row + begin, n, 0.0f);
      widenRow(p_.row(y) + begin, n, b_row + begin);
    };
    if (!hasWindows(y, height_, n_)) return keep(0, n_);
    means_.means(y, [&](auto d, size_t e, auto i, auto p, auto ii, auto ip) HWY_ATTR {
      const auto var = hn::Sub(ii, hn::Mul(i, i));
      const auto cov = hn::Sub(ip, hn::Mul(i, p));
      const auto a = refinedQuotient(d, cov, hn::Add(var, hn::Set(d, 1.0f)));
      hn::StoreU(a, d, a_row + e);
      hn::StoreU(hn::Sub(p, hn::Mul(a, i)), d, b_row + e);
    });
    keep(0, kFrame);
    keep(n_ - kFrame, kFrame);
  }

  // The means of the next kTogether rows; those that have none keep their values.
  void smoothRows(const Coefficients& from, const Smoothed& to) const {
    const hn::ScalableTag<float> d;
    const float* rows[kReach];
    for (int32_t k = 0; k < kReach; ++k) rows[k] = from.row(std::max(smoothed_rows_ - kRadius + k, 0));
    for (size_t e = 0; e + 2 * kFrame < n_; e += hn::Lanes(d)) {
      hn::Vec<decltype(d)> sum[kTogether];
      windowSums<kTaps, kChannels>(d, rows, e, sum);
      for (int32_t r = 0; r < kTogether; ++r) {
        hn::StoreU(dividedBy<kTaps * kTaps>(d, sum[r]), d, to.row(smoothed_rows_ + r) + kFrame + e);
      }
    }
    for (int32_t y = smoothed_rows_; y < std::min(smoothed_rows_ + kTogether, height_); ++y) {
      const size_t kept = hasWindows(y, height_, n_) ? kFrame : n_;
      std::copy_n(from.row(y), kept, to.row(y));
      std::copy_n(from.row(y) + n_ - kept, kept, to.row(y) + n_ - kept);
    }
  }

  Plane<const Guide> guide_;
  Plane<const uint8_t> p_;
  int32_t height_;
  size_t n_;
  Means means_;
  Coefficients a_;
  Coefficients b_;
  Smoothed mean_a_;
  Smoothed mean_b_;
  int32_t read_rows_ = 0;
  int32_t fitted_rows_ = 0;
  int32_t smoothed_rows_ = 0;
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

// What of a filter is written, and the image that guides it.
struct Guided {
  Plane<const uint8_t> guide;
  Plane<uint8_t> dst;
  int32_t height;
  int32_t width;
};

// low_guide: the guide on p's grid. False without memory.
template <class Guide>
bool filter(const Guided& full, Plane<const Guide> low_guide, Plane<const uint8_t> p, int32_t low_height, int32_t low_width) {
  const size_t low_n = rowElements(low_width, kChannels);
  const size_t n = rowElements(full.width, kChannels);
  const size_t padded = FloatColumns::padded(n);
  ScratchParts scratch(Model<Guide>::room(low_n) + FloatColumns::room(n) + 2 * ScratchParts::room<float>(2 * padded));
  if (!scratch) return false;
  Model<Guide> model(scratch, low_guide, p, low_height, low_width);
  FloatColumns columns(scratch, BilinearAxis(low_width, full.width), low_width, full.width, kChannels);
  float* const first = scratch.take<float>(2 * padded);
  RowPair<float> rows(first, scratch.take<float>(2 * padded));
  const BilinearAxis axis(low_height, full.height);
  const int64_t blocks_end = int64_t{full.height} * full.width / kBlock * kBlock;
  for (int32_t y = 0; y < full.height; ++y) {
    const AxisPosition at = axis[y];
    rows.moveTo(at.index, axis.step(), [&](ptrdiff_t low_row, float* enlarged) {
      const auto low_y = static_cast<int32_t>(low_row);
      model.smooth(low_y);
      columns.blend(model.meanA(low_y), enlarged);
      columns.blend(model.meanB(low_y), enlarged + padded);
    });
    const FullRow row{rows.upper(), rows.lower(), rows.upper() + padded, rows.lower() + padded, at.fraction};
    const int64_t in_blocks = std::clamp<int64_t>(blocks_end - int64_t{y} * full.width, 0, full.width);
    const size_t fixed_end = rowElements(static_cast<int32_t>(in_blocks), kChannels);
    evaluateFixed(row, full.guide.row(y), fixed_end, full.dst.row(y));
    evaluateFloat(row, full.guide.row(y), fixed_end, n, full.dst.row(y));
  }
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

  // In place of the guide, a row is written after the guide's row of that number was read, and before later ones are.
  const Plane<const uint8_t> full_guide = plane(guide, guide_width_stride, kChannels);
  const Plane<uint8_t> to = plane(dst, dst_width_stride, kChannels);
  const bool in_place = guide == dst && guide_width_stride == dst_width_stride;
  const MemoryRange written = memoryOf(to, dst_height, n);
  const StableSource<uint8_t> stable_guide(full_guide, guide_height, n, in_place ? MemoryRange{0, 0} : written);
  const StableSource<uint8_t> stable_src(plane(src, src_width_stride, kChannels), src_height, low_n, written);
  TAMIX_REQUIRE(stable_guide && stable_src, TAMIX_ERR_NO_MEMORY, "allocate memory failed");
  const Plane<const uint8_t> from = stable_guide.plane();
  TAMIX_DEBUG("guidedFilterCPUUINT8 Image Split");
  for (int32_t c = 0; c < kChannels; ++c) {
    TAMIX_DEBUG("guidedFilterCPUUINT8 Image Down Resize");
    TAMIX_DEBUG("guidedFilterCPUUINT8 Image Box Filter");
    TAMIX_DEBUG("guidedFilterCPUUINT8 Image Up Resize");
  }

  const Guided full{from, to, guide_height, guide_width};
  if (src_height == guide_height && src_width == guide_width) {
    TAMIX_REQUIRE(filter(full, from, stable_src.plane(), src_height, src_width), TAMIX_ERR_NO_MEMORY, "allocate memory failed");
  } else {
    // Whole blocks are written to its rows.
    const size_t low_pitch = AreaColumns<uint8_t>::blocks(low_n) * AreaColumns<uint8_t>::kBlock;
    const ScratchBuffer<float> resized(low_pitch > kMostElements / static_cast<size_t>(src_height)
                                           ? kMostElements
                                           : low_pitch * static_cast<size_t>(src_height));
    const Plane<float> low{resized.data(), static_cast<ptrdiff_t>(low_pitch)};
    const auto resize = src_height <= guide_height && src_width <= guide_width ? shrinkGuide : enlargeGuide;
    TAMIX_REQUIRE(resized && resize(from, guide_height, guide_width, low, src_height, src_width) &&
                      filter(full, Plane<const float>{low.data, low.pitch}, stable_src.plane(), src_height, src_width),
                  TAMIX_ERR_NO_MEMORY, "allocate memory failed");
  }
  TAMIX_DEBUG("guidedFilterCPUUINT8 Finish");
  return TAMIX_OK;
}
