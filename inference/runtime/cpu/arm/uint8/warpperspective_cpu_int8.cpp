#include "inference/runtime/cpu/arm/uint8/warpperspective_cpu_int8.h"

#include <array>

#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/uint8/remap_cpu_uint8.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

using Matrix = std::array<float, 9>;

Matrix loadMatrix(const float* m) {
  Matrix matrix;
  std::copy_n(m, matrix.size(), matrix.begin());
  return matrix;
}

// The adjugate over the determinant: cofactors in single precision, scaled in double precision. False when singular.
bool invert(Matrix& matrix) {
  const Matrix m = matrix;
  const auto minor = [&](size_t a, size_t b, size_t c, size_t d) { return m[a] * m[d] - m[b] * m[c]; };
  const float c0 = minor(4, 5, 7, 8);
  const float c1 = minor(3, 5, 6, 8);
  const float c2 = minor(3, 4, 6, 7);
  const float determinant = m[2] * c2 + (m[0] * c0 - m[1] * c1);
  if (determinant == 0.0f) return false;
  const double scale = 1.0 / static_cast<double>(determinant);
  const Matrix adjugate = {c0,  minor(2, 1, 8, 7), minor(1, 2, 4, 5),  //
                           -c1, minor(0, 2, 6, 8), minor(2, 0, 5, 3),  //
                           c2,  minor(1, 0, 7, 6), minor(0, 1, 3, 4)};
  for (size_t i = 0; i < matrix.size(); ++i) matrix[i] = static_cast<float>(static_cast<double>(adjugate[i]) * scale);
  return true;
}

// Homogeneous source coordinates of destination pixels: X = q0 x + (q1 y + q2), Y = q3 x + (q4 y + q5), W = q6 x + (q7 y + q8).
// The bracketed terms are those of the rows of one block.
class RowTerms {
 public:
  RowTerms(const Matrix& q, const BlockArea& area) : q_(q), area_(area) {
    for (int32_t i = 0; i < kGroup; ++i) {
      const int32_t row = area.layout == Layout::kStrip ? 0 : i / 4;
      const auto y = static_cast<float>(int64_t{area.y} + row);
      column_[i] = area.layout == Layout::kStrip ? i : i % 4;
      for (size_t k = 0; k < 3; ++k) terms_[k][i] = q[3 * k + 1] * y + q[3 * k + 2];
    }
  }

  // Calls body(d, entry, X, Y, W) for all entries of the block.
  template <class Body>
  HWY_INLINE void forEach(const Body& body) const {
    const hn::CappedTag<float, kGroup> d;
    const hn::RebindToSigned<decltype(d)> di;
    const auto q0 = hn::Set(d, q_[0]), q3 = hn::Set(d, q_[3]), q6 = hn::Set(d, q_[6]);
    for (size_t lane = 0; lane < kGroup; lane += hn::Lanes(d)) {
      const auto tx = hn::Load(d, terms_[0] + lane), ty = hn::Load(d, terms_[1] + lane), tw = hn::Load(d, terms_[2] + lane);
      auto column = hn::Add(hn::Load(di, column_ + lane), hn::Set(di, area_.x));
      for (size_t i = lane; i < static_cast<size_t>(area_.entries()); i += kGroup) {
        const auto x = hn::ConvertTo(d, column);
        body(d, i, hn::Add(hn::Mul(q0, x), tx), hn::Add(hn::Mul(q3, x), ty), hn::Add(hn::Mul(q6, x), tw));
        column = hn::Add(column, hn::Set(di, groupColumns(area_.layout)));
      }
    }
  }

  // Calls body(entry, X, Y, W) for the pixels of the last dst_width % 4 columns.
  template <class Body>
  void forTail(int32_t dst_width, const Body& body) const {
    for (int32_t c = std::max(0, dst_width - dst_width % 4 - area_.x); c < area_.columns; ++c) {
      for (int32_t r = 0; r < area_.rows; ++r) {
        const int32_t entry = entryOf(area_.layout, r, c);
        const auto x = static_cast<float>(area_.x + c);
        const auto lane = static_cast<size_t>(entry % kGroup);
        body(entry, q_[0] * x + terms_[0][lane], q_[3] * x + terms_[1][lane], q_[6] * x + terms_[2][lane]);
      }
    }
  }

 private:
  const Matrix& q_;
  const BlockArea& area_;
  alignas(64) float terms_[3][kGroup];
  alignas(64) int32_t column_[kGroup];
};

void nearestPositions(const Matrix& q, const BlockArea& area, WholePositions& at) {
  RowTerms(q, area).forEach([&](auto d, size_t i, auto x, auto y, auto w) {
    const hn::RebindToSigned<decltype(d)> di;
    hn::Store(roundAwayToInt32(d, hn::Div(x, w)), di, at.x + i);
    hn::Store(roundAwayToInt32(d, hn::Div(y, w)), di, at.y + i);
  });
}

void bilinearPositions(const Matrix& q, const BlockArea& area, int32_t dst_width, FloatPositions& at) {
  const RowTerms terms(q, area);
  terms.forEach([&](auto d, size_t i, auto x, auto y, auto w) {
    const auto reciprocal = refinedReciprocal(d, w);
    hn::Store(hn::Mul(x, reciprocal), d, at.x + i);
    hn::Store(hn::Mul(y, reciprocal), d, at.y + i);
  });
  terms.forTail(dst_width, [&](int32_t i, float x, float y, float w) {
    at.x[i] = x / w;
    at.y[i] = y / w;
  });
}

// In 1/32 pixels.
void bicubicPositions(const Matrix& q, const BlockArea& area, int32_t dst_width, WholePositions& at) {
  const RowTerms terms(q, area);
  const auto store = [&](auto d, size_t i, auto x, auto y, auto scale) {
    const hn::RebindToSigned<decltype(d)> di;
    hn::Store(roundAwayToInt32(d, hn::Mul(x, scale)), di, at.x + i);
    hn::Store(roundAwayToInt32(d, hn::Mul(y, scale)), di, at.y + i);
  };
  terms.forEach([&](auto d, size_t i, auto x, auto y, auto w) {
    store(d, i, x, y, hn::Mul(hn::Set(d, 32.0f), refinedReciprocal(d, w)));
  });
  terms.forTail(dst_width, [&](int32_t i, float x, float y, float w) {
    const hn::CappedTag<float, 1> one;
    store(one, static_cast<size_t>(i), hn::Set(one, x), hn::Set(one, y), hn::Set(one, 32.0f / w));
  });
}

struct Warp {
  Matrix matrix;  // destination to source
  SourceImage src;
  Plane<uint8_t> dst;
  int32_t width;
  int32_t height;
  const uint8_t* border;  // null: replicated

  BlockTarget target(const BlockArea& area) const {
    return {dst.row(area.y) + ptrdiff_t{area.x} * src.channels, dst.pitch, area.columns, area.rows};
  }
};

void warpNearest(const Warp& warp) {
  WholePositions at;
  forEachBlock(Layout::kStrip, warp.width, warp.height, [&](const BlockArea& area) {
    nearestPositions(warp.matrix, area, at);
    const BlockTarget out = warp.target(area);
    return warp.border != nullptr ? remapNearestNeighborConst_(warp.src, at, out, warp.border)
                                  : remapNearestNeighborReplicate_(warp.src, at, out);
  });
}

void warpLinear(const Warp& warp) {
  FloatPositions at;
  forEachBlock(bilinearLayout(warp.src.channels), warp.width, warp.height, [&](const BlockArea& area) {
    bilinearPositions(warp.matrix, area, warp.width, at);
    const BlockTarget out = warp.target(area);
    return warp.border != nullptr ? remapLinearConst_(warp.src, at, area, out, warp.border)
                                  : remapLinearReplicate_(warp.src, at, area, out);
  });
}

void warpBicubic(const Warp& warp) {
  WholePositions at;
  forEachBlock(Layout::kStrip, warp.width, warp.height, [&](const BlockArea& area) {
    bicubicPositions(warp.matrix, area, warp.width, at);
    return remapBicubicConst_(warp.src, at, warp.target(area), warp.border);
  });
}

// The name under which a path refuses its parameters.
const char* pathName(int32_t sampling, bool constant) {
  if (constant) return "warpPerspectiveNearestConstCPUUINT8";
  return sampling == TAMIX_INTERPOLATION_BILINEAR ? "warpPerspectiveLinearReplicateCPUUINT8"
                                                  : "warpPerspectiveNearestReplicateCPUUINT8";
}

}  // namespace

int32_t warpPerspectiveCPUUINT8(const uint8_t* src, uint8_t* dst, const float* matrix, int32_t src_width, int32_t src_height,
                                int32_t src_stride, int32_t dst_width, int32_t dst_height, int32_t dst_stride, int32_t channels,
                                int32_t interpolation, int32_t border_type, const uint8_t* border_value,
                                int32_t /*num_threads*/) {
  Matrix inverse{};
  if (matrix != nullptr) {
    inverse = loadMatrix(matrix);
    TAMIX_REQUIRE((interpolation & TAMIX_INTERPOLATION_INVERSE_MAP) != 0 || invert(inverse), TAMIX_ERR_UNSUPPORTED,
                  "warpPerspectiveCPUUINT8 invert failed");
  }
  const int32_t sampling = interpolation & 7;
  static constexpr const char* kNames[] = {"NEAREST", "LINEAR", "CUBIC"};
  TAMIX_REQUIRE(sampling <= TAMIX_INTERPOLATION_BICUBIC, TAMIX_ERR_UNSUPPORTED,
                "warpPerspectiveCPUUINT8 unsupported interpolation type: %d", sampling);
  const bool constant = border_type == TAMIX_BORDER_CONSTANT;
  const bool replicate = border_type == TAMIX_BORDER_REPLICATE && sampling != TAMIX_INTERPOLATION_BICUBIC;
  TAMIX_REQUIRE(constant || replicate, TAMIX_ERR_UNSUPPORTED, "warpPerspectiveCPUUINT8 %s unsupported borderType type: %d",
                kNames[sampling], border_type);
  const int64_t src_pitch = int64_t{src_stride} * channels;
  const int64_t dst_pitch = int64_t{dst_stride} * channels;
  if (anyNull(src, dst) || matrix == nullptr || channels > 4 || src_pitch < src_width || dst_pitch < dst_width) {
    TAMIX_ERROR("%s params error! \n", pathName(sampling, constant));
    TAMIX_ERROR(
        " src: %p, src_width: %d, src_height: %d, trans_matrix %p,src_stride %d,dst: %p, dst_width: %d, dst_height: %d "
        ",dst_stride %d, channels: %d \n",
        static_cast<const void*>(src), src_width, src_height, static_cast<const void*>(matrix), src_stride,
        static_cast<const void*>(dst), dst_width, dst_height, dst_stride, channels);
    return TAMIX_ERR_UNSUPPORTED;
  }
  static constexpr uint8_t kZeros[4] = {};
  const uint8_t* const border = border_value != nullptr ? border_value : kZeros;
  const Warp warp{inverse,          {src, src_width, src_height, src_pitch, channels},
                  {dst, dst_pitch}, dst_width,
                  dst_height,       constant ? border : nullptr};
  if (warp.src.empty()) return TAMIX_OK;
  switch (sampling) {
    case TAMIX_INTERPOLATION_NEAREST:
      warpNearest(warp);
      break;
    case TAMIX_INTERPOLATION_BILINEAR:
      warpLinear(warp);
      break;
    default:
      warpBicubic(warp);
      break;
  }
  return TAMIX_OK;
}

}  // namespace tamix
