// The affine warp against a scalar model.
#include "inference/runtime/cpu/arm/uint8/warpaffine_cpu_uint8.h"

#include <cmath>

#include "tests/support/image.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

// Into an image that keeps what it holds where nothing is written.
void warpModel(const Image<uint8_t>& src, int angle, int scale, Image<uint8_t>& dst) {
  const int width = src.shape().width;
  const int height = src.shape().height;
  const double theta = angle * double{0.0174532925f};
  const double a = std::cos(theta) * scale;
  const double b = std::sin(theta) * scale;
  const double cx = 0.5 * width;
  const double cy = 0.5 * height;
  const double t0 = (1 - a) * cx - b * cy;
  const double t1 = b * cx + (1 - a) * cy;
  const double k = scale == 0 ? 0.0 : 1 / (a * a + b * b);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto sx = static_cast<float>(a * k * (x - t0) - b * k * (y - t1));
      const auto sy = static_cast<float>(b * k * (x - t0) + a * k * (y - t1));
      const auto x0 = static_cast<int>(std::floor(sx));
      const auto y0 = static_cast<int>(std::floor(sy));
      if (x0 < 0 || x0 >= width - 1 || y0 < 0 || y0 >= height - 1) continue;
      const auto wx = static_cast<int>((static_cast<float>(x0) - sx + 1.0f) * 2048.0f);
      const auto wy = static_cast<int>((static_cast<float>(y0) - sy + 1.0f) * 2048.0f);
      for (int c = 0; c < src.shape().channel; ++c) {
        const int left = src.at(y0, x0, c) * wy + src.at(y0 + 1, x0, c) * (2048 - wy);
        const int right = src.at(y0, x0 + 1, c) * wy + src.at(y0 + 1, x0 + 1, c) * (2048 - wy);
        dst.at(y, x, c) = static_cast<uint8_t>((left * wx + right * (2048 - wx)) >> 22);
      }
    }
  }
}

TEST(WarpAffineCPUUINT8, TurnsAboutTheCentreAndKeepsPixelsWithoutSource) {
  for (const int32_t channels : {1, 2, 3, 4, 5}) {
    for (const auto& [w, h] : std::vector<std::pair<int, int>>{
             {1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 3}, {7, 8}, {8, 8}, {16, 5}, {61, 47}, {530, 19}}) {
      const Shape shape{w, h, w, channels};
      const auto src = randomImage<uint8_t>(shape, 2, w % 2 == 0 ? Guard::kBehind : Guard::kBefore);
      for (const auto& [angle, scale] : std::vector<std::pair<int, int>>{{0, 1},
                                                                         {30, 1},
                                                                         {-7, 1},
                                                                         {45, 1},
                                                                         {90, 1},
                                                                         {180, 1},
                                                                         {10, 3},
                                                                         {200, -2},
                                                                         {33, 0},
                                                                         {720001, 2},
                                                                         {5, INT32_MAX}}) {
        SCOPED_TRACE(testing::Message() << shape << ", angle " << angle << ", scale " << scale);
        auto expected = randomImage<uint8_t>(shape, 9);
        const Image<uint8_t> actual(expected);
        warpModel(src, angle, scale, expected);
        // Strides have no effect: rows are packed.
        ASSERT_EQ(warpAffineCPUUINT8(src.data(), h, w, w + 9, actual.data(), h, w, -3, channels, angle, scale, 1), TAMIX_OK);
        ASSERT_TRUE(sameBytes(actual, expected));
      }
    }
  }
}

TEST(WarpAffineCPUUINT8, ZeroTurnCopiesAllButLastRowAndColumn) {
  const Shape shape{130, 40, 130, 3};
  const auto src = randomImage<uint8_t>(shape);
  Image<uint8_t> expected(shape);
  expected.fill([&](int32_t y, size_t i) { return y < 39 && i < 129 * 3 ? src.row(y)[i] : 0xA5; });
  const Image<uint8_t> actual(shape);
  ASSERT_EQ(warpAffineCPUUINT8(src.data(), 40, 130, 130, actual.data(), 40, 130, 130, 3, 0, 1, 1), TAMIX_OK);
  EXPECT_TRUE(sameBytes(actual, expected));
}

TEST(WarpAffineCPUUINT8, RefusesNullPlanes) {
  uint8_t pixel = 0;
  expectNullsRefused("runtime/cpu/arm/uint8/warpaffine_cpu_uint8.cpp", "warpAffineCPUUINT8", warpAffineCPUUINT8, &pixel, 1, 1,
                     1, &pixel, 1, 1, 1, 1, 0, 1, 1);
}

}  // namespace
}  // namespace tamix::test
