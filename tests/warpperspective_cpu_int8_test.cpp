// The perspective warp against a scalar model.
#include "inference/runtime/cpu/arm/uint8/warpperspective_cpu_int8.h"

#include <array>
#include <cmath>

#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "inference/runtime/cpu/arm/common/sample_bicubic.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

constexpr uint8_t kBorder[4] = {31, 120, 222, 5};
constexpr int32_t kInverse = 16;

using Matrix = std::array<float, 9>;

// By cofactors of the transposed matrix, with wrapping indices: element (r, c) from rows and columns one and two further on.
Matrix inverted(const Matrix& m) {
  const auto at = [&](int r, int c) { return m[static_cast<size_t>(r % 3 * 3 + c % 3)]; };
  const auto cofactor = [&](int r, int c) { return at(r + 1, c + 1) * at(r + 2, c + 2) - at(r + 1, c + 2) * at(r + 2, c + 1); };
  const float determinant = m[2] * cofactor(0, 2) + (m[0] * cofactor(0, 0) + m[1] * cofactor(0, 1));
  Matrix result;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      result[static_cast<size_t>(3 * r + c)] = static_cast<float>(double{cofactor(c, r)} * (1.0 / double{determinant}));
    }
  }
  return result;
}

float reciprocal(float w) {
  const hn::CappedTag<float, 1> one;
  return hn::GetLane(refinedReciprocal(one, hn::Set(one, w)));
}

double roundedAway(float v) {
  if (std::isnan(v)) return 0;
  return std::fmin(std::fmax(std::round(double{v}), INT32_MIN), INT32_MAX);
}

struct Case {
  Shape src;
  Shape dst;
  Matrix matrix;
  int32_t interpolation;
  int32_t border_type;
  const uint8_t* border = kBorder;
};

std::ostream& operator<<(std::ostream& out, const Case& test) {
  out << "source " << test.src << ", destination " << test.dst << ", interpolation " << test.interpolation << ", border "
      << test.border_type << ", matrix";
  for (const float m : test.matrix) out << " " << m;
  return out;
}

class Model {
 public:
  Model(const Case& test, const Image<uint8_t>& src) : test_(test), src_(src) {
    inverse_ = (test.interpolation & kInverse) != 0 ? test.matrix : inverted(test.matrix);
  }

  uint8_t pixel(int x, int y, int c) const {
    const auto value = [&](int k) {
      return inverse_[static_cast<size_t>(k)] * static_cast<float>(x) +
             (inverse_[static_cast<size_t>(k + 1)] * static_cast<float>(y) + inverse_[static_cast<size_t>(k + 2)]);
    };
    const float w = value(6);
    const bool tail = x >= test_.dst.width - test_.dst.width % 4;
    switch (test_.interpolation & 7) {
      case 0:
        return static_cast<uint8_t>(sample(roundedAway(value(0) / w), roundedAway(value(3) / w), c));
      case 1: {
        const float r = reciprocal(w);
        return tail ? bilinear(value(0) / w, value(3) / w, c) : bilinear(value(0) * r, value(3) * r, c);
      }
      default: {
        const float r = tail ? 32.0f / w : 32.0f * reciprocal(w);
        return bicubic(static_cast<int>(roundedAway(value(0) * r)), static_cast<int>(roundedAway(value(3) * r)), c);
      }
    }
  }

 private:
  int sample(double x, double y, int c) const {
    const double right = src_.shape().width - 1;
    const double bottom = src_.shape().height - 1;
    if (test_.border_type == 0 && !(x >= 0 && x <= right && y >= 0 && y <= bottom)) {
      return test_.border == nullptr ? 0 : test_.border[c];
    }
    return src_.at(static_cast<int>(std::fmin(std::fmax(y, 0), bottom)), static_cast<int>(std::fmin(std::fmax(x, 0), right)),
                   c);
  }

  uint8_t bilinear(float x, float y, int c) const {
    const float x0 = std::floor(x);
    const float y0 = std::floor(y);
    const auto s = [&](double dx, double dy) { return static_cast<float>(sample(x0 + dx, y0 + dy, c)); };
    const float top = (x - x0) * (s(1, 0) - s(0, 0)) + s(0, 0);
    const float bottom = (x - x0) * (s(1, 1) - s(0, 1)) + s(0, 1);
    const float v = top + (y - y0) * (bottom - top);
    if (std::isnan(v)) return 0;
    return static_cast<uint8_t>(test_.border_type == 0 ? std::nearbyint(v) : std::floor(v));
  }

  uint8_t bicubic(int x32, int y32, int c) const {
    const auto whole = [](int p) { return std::min(std::max(p >> 5, -32768), 32767); };
    int sum = 0;
    for (int k = 0; k < 4; ++k) {
      for (int l = 0; l < 4; ++l) {
        const int entry = (y32 & 31) * 32 + (x32 & 31);
        sum += bicubicTable().entries[entry][4 * k + l] * sample(whole(x32) - 1 + l, whole(y32) - 1 + k, c);
      }
    }
    return static_cast<uint8_t>(std::min(std::max((sum + 16384) >> 15, 0), 255));
  }

  const Case& test_;
  const Image<uint8_t>& src_;
  Matrix inverse_;
};

int32_t warp(const Case& test, const Image<uint8_t>& src, const Image<uint8_t>& dst) {
  return warpPerspectiveCPUUINT8(src.data(), dst.data(), test.matrix.data(), test.src.width, test.src.height,
                                 test.src.width_stride, test.dst.width, test.dst.height, test.dst.width_stride,
                                 test.src.channel, test.interpolation, test.border_type, test.border, 1);
}

void expectModel(const Case& test) {
  SCOPED_TRACE(testing::Message() << test);
  const auto src = randomImage<uint8_t>(test.src, 5, test.dst.width % 2 == 0 ? Guard::kBehind : Guard::kBefore);
  Image<uint8_t> actual(test.dst);
  Image<uint8_t> expected(test.dst);
  const Model model(test, src);
  for (int y = 0; y < test.dst.height; ++y) {
    for (int x = 0; x < test.dst.width; ++x) {
      for (int c = 0; c < test.src.channel; ++c) expected.at(y, x, c) = model.pixel(x, y, c);
    }
  }
  ASSERT_EQ(warp(test, src, actual), TAMIX_OK);
  ASSERT_TRUE(sameBytes(actual, expected));
}

const Matrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// Close to the identity, turned and enlarged, shrinking, mirrored with a line of W = 0 in the image, degenerate, far too large.
const std::vector<Matrix>& matrices() {
  static const std::vector<Matrix> all = {
      kIdentity,
      {0.9f, 0.08f, 1.3f, -0.06f, 0.92f, 2.1f, -0.001f, 0.0007f, 1},
      {0.5f, 0.8f, -3.0f, -0.8f, 0.5f, 30.0f, 0.002f, -0.001f, 1},
      {0.31f, 0.02f, 4.0f, 0.03f, 0.27f, 6.0f, 0, 0, 1},
      {-1, 0.1f, 30, 0.2f, 1, -4, 0.0625f, 0, -1},
      {1, 0, 0.5f, 0, 1, -0.5f, 0, 0, 1},
      {1e30f, 1e29f, -1e30f, 3e29f, 1e30f, 1, 0, 0, 1e-30f},
      {1e-30f, 0, 0, 0, 1e-30f, 0, 1e-30f, 0, 1e30f},
      {0, 0, 0, 0, 0, 0, 0, 0, 0},
      {NAN, 0, 0, 0, 1, 0, 0, 0, 1},
  };
  return all;
}

// Both forms of a matrix where it can be inverted.
void expectModelOfAll(const Shape& src, const Shape& dst, int32_t interpolation, int32_t border_type) {
  for (const Matrix& matrix : matrices()) {
    expectModel({src, dst, matrix, interpolation | kInverse, border_type});
    if (std::abs(matrix[0]) <= 1.0f && matrix[0] != 0.0f && matrix[8] != 1e30f) {
      expectModel({src, dst, matrix, interpolation, border_type});
    }
  }
}

std::vector<std::pair<Shape, Shape>> sizes(int32_t channels) {
  std::vector<std::pair<Shape, Shape>> result;
  for (const auto& [w, h] : std::vector<std::pair<int, int>>{{1, 1}, {3, 1}, {1, 5}, {4, 4}, {9, 8}, {43, 39}}) {
    for (const auto& [dw, dh] : std::vector<std::pair<int, int>>{{1, 1}, {3, 5}, {16, 4}, {39, 33}}) {
      result.push_back({{w, h, w + h % 2, channels}, {dw, dh, dw + dh % 3, channels}});
    }
  }
  result.push_back({{301, 40, 303, channels}, {542, 6, 542, channels}});
  return result;
}

TEST(WarpPerspectiveCPUUINT8, NearestDividesAndRoundsTiesAway) {
  for (const int32_t channels : {1, 2, 3, 4}) {
    for (const auto& [src, dst] : sizes(channels)) {
      expectModelOfAll(src, dst, 0, 1);
      if (channels != 2) expectModelOfAll(src, dst, 0, 0);
    }
  }
}

TEST(WarpPerspectiveCPUUINT8, BilinearUsesRefinedReciprocalAndDividesInLastColumns) {
  for (const int32_t channels : {1, 3}) {
    for (const auto& [src, dst] : sizes(channels)) {
      expectModelOfAll(src, dst, 1, 0);
      expectModelOfAll(src, dst, 1, 1);
    }
  }
}

TEST(WarpPerspectiveCPUUINT8, BicubicTakesSixteenNeighbours) {
  for (const int32_t channels : {1, 3}) {
    for (const auto& [src, dst] : sizes(channels)) expectModelOfAll(src, dst, 2, 0);
  }
}

TEST(WarpPerspectiveCPUUINT8, BicubicLimitsPositionsTo16Bits) {
  const Matrix far_right = {1, 0, 32760, 0, 1, 0, 0, 0, 1};
  expectModel({{32790, 6, 32790}, {24, 6, 24}, far_right, 2 | kInverse, 0});
}

TEST(WarpPerspectiveCPUUINT8, TakesZerosForMissingBorderValue) {
  for (const int32_t interpolation : {0, 1, 2}) {
    expectModel({{20, 12, 20, 3}, {40, 30, 40, 3}, matrices()[1], interpolation, 0, nullptr});
  }
}

TEST(WarpPerspectiveCPUUINT8, IdentityCopies) {
  for (const int32_t interpolation : {0, 1, 2}) {
    const Shape shape{65, 9, 70, 3};
    const auto src = randomImage<uint8_t>(shape);
    Image<uint8_t> expected(shape);
    expected.fill([&](int32_t y, size_t i) { return src.row(y)[i]; });
    const Image<uint8_t> actual(shape);
    ASSERT_EQ(warp({shape, shape, kIdentity, interpolation, 0}, src, actual), TAMIX_OK);
    EXPECT_TRUE(sameBytes(actual, expected));
  }
}

TEST(WarpPerspectiveCPUUINT8, RefusesInOrder) {
  struct Refusal {
    const char* what;
    int32_t channels, interpolation, border_type, src_stride;
    const float* matrix;
    int32_t status;
    const char* function;
    const char* message;
    bool dumps;
  };
  const Matrix singular = {1, 2, 3, 2, 4, 6, 0, 0, 1};
  const float* const good = kIdentity.data();
  const std::string kernel_file = "runtime/cpu/arm/uint8/warpperspective_cpu_int8.cpp";
  const std::string block_file = "runtime/cpu/arm/uint8/remap_cpu_uint8.cpp";
  const char* const kernel = "warpPerspectiveCPUUINT8";
  const Refusal refusals[] = {
      {"singular, and all else wrong", 7, 3, 9, 1, singular.data(), -3, kernel, "warpPerspectiveCPUUINT8 invert failed", false},
      {"singular is fine as inverse, but no matrix", 1, 16, 0, 9, nullptr, -3, kernel,
       "warpPerspectiveNearestConstCPUUINT8 params error! \n", true},
      {"no matrix to invert", 1, 1, 1, 9, nullptr, -3, kernel, "warpPerspectiveLinearReplicateCPUUINT8 params error! \n", true},
      {"unknown interpolation", 7, 3, 9, 1, good, -3, kernel, "warpPerspectiveCPUUINT8 unsupported interpolation type: 3",
       false},
      {"nearest border", 7, 0, 2, 1, good, -3, kernel, "warpPerspectiveCPUUINT8 NEAREST unsupported borderType type: 2", false},
      {"bilinear border", 7, 17, 4, 1, good, -3, kernel, "warpPerspectiveCPUUINT8 LINEAR unsupported borderType type: 4",
       false},
      {"bicubic border", 7, 2, 1, 1, good, -3, kernel, "warpPerspectiveCPUUINT8 CUBIC unsupported borderType type: 1", false},
      {"five channels", 5, 0, 1, 9, good, -3, kernel, "warpPerspectiveNearestReplicateCPUUINT8 params error! \n", true},
      {"short rows", 1, 1, 0, 8, good, -3, kernel, "warpPerspectiveNearestConstCPUUINT8 params error! \n", true},
      {"short rows, bicubic", 1, 2, 0, 8, good, -3, kernel, "warpPerspectiveNearestConstCPUUINT8 params error! \n", true},
      {"two channels, nearest", 2, 0, 0, 9, good, 0, "remapNearestNeighborConst_",
       "remapNearestNeighborConst dosen't support channel = 2 \n", false},
      {"four channels, constant", 4, 1, 0, 9, good, 0, "remapLinearConst_", "remapLinearConst dosen't support channel = 4 \n",
       false},
      {"two channels, replicated", 2, 1, 1, 9, good, 0, "remapLinearReplicate_",
       "remapLinearReplicate dosen't support channel = 2 \n", false},
      {"two channels, bicubic", 2, 2, 0, 9, good, 0, "remapBicubicConst_", "remapBicubicConst dosen't support channel = 2 \n",
       false},
  };
  std::vector<uint8_t> src(9 * 9 * 7), dst(9 * 9 * 7, 17);
  for (const Refusal& r : refusals) {
    SCOPED_TRACE(r.what);
    LogCapture log;
    EXPECT_EQ(warpPerspectiveCPUUINT8(src.data(), dst.data(), r.matrix, 9, 9, r.src_stride, 9, 9, 9, r.channels,
                                      r.interpolation, r.border_type, kBorder, 1),
              r.status);
    std::vector<std::string> expected = {errorLine(r.function == kernel ? kernel_file : block_file, r.function, r.message)};
    if (r.dumps) {
      char dump[256];
      std::snprintf(dump, sizeof(dump),
                    " src: %p, src_width: 9, src_height: 9, trans_matrix %p,src_stride %d,dst: %p, dst_width: 9, dst_height: 9 "
                    ",dst_stride 9, channels: %d \n",
                    static_cast<void*>(src.data()), static_cast<const void*>(r.matrix), r.src_stride,
                    static_cast<void*>(dst.data()), r.channels);
      expected.push_back(errorLine(kernel_file, kernel, dump));
    }
    EXPECT_EQ(log.errors(), expected);
    EXPECT_EQ(dst, std::vector<uint8_t>(dst.size(), 17));
  }
}

}  // namespace
}  // namespace tamix::test
