#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "inference/runtime/cpu/arm/fp32/convertscaleabs_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/convertscaleabs_cpu_uint8.h"
#include "tests/support/image.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

uint8_t absModel(uint8_t value, double scale, double offset, bool in_block) {
  if (in_block) {
    const float product = static_cast<float>(value) * static_cast<float>(scale);
    const float x = product + static_cast<float>(offset);
    if (std::isnan(x)) return 0;
    return std::abs(x) >= 255 ? 255 : static_cast<uint8_t>(std::abs(static_cast<int>(x)));
  }
  const double product = value * scale;
  const double x = product + offset;
  if (std::isnan(x)) return 0;
  return static_cast<uint8_t>(std::abs(std::min(std::max(x, -255.0), 255.0)));
}

struct Setting {
  double scale;
  double offset;
};

// 0.1 * 250 and its like are whole in single precision and just below in double, or the other way round.
const Setting kSettings[] = {{1.5, -120}, {-1, 0},         {2, 10},      {0.5, 0},      {0, 0},       {0.1, 0.0},
                             {0.7, 0.3},  {1.0 / 3, -7.1}, {0.01, 0.99}, {1e9, -1},     {-1e30, 5},   {0, 1e300},
                             {1, -1e20},  {NAN, 0},        {1, NAN},     {kInf, -kInf}, {kInf, 0},    {0.2, 0.4},
                             {1.1, -110}, {-0.3, 45},      {1e-320, -3}, {2.55, -300},  {1, -254.999}};

TEST(ConvertScaleAbsCPUUINT8, UsesSinglePrecisionInBlocksAndDoubleInTails) {
  size_t different = 0;
  for (const Setting& s : kSettings) {
    SCOPED_TRACE(testing::Message() << s.scale << " " << s.offset);
    std::vector<Shape> shapes = shapesAround(16, {1, 3});
    shapes.push_back({256, 4, 256});    // all bytes in blocks
    shapes.push_back({15, 300, 15});    // all in tails
    shapes.push_back({1023, 9, 1030});  // large enough for tables
    for (const Shape& shape : shapes) {
      SCOPED_TRACE(shape);
      const Image<uint8_t> src = randomImage<uint8_t>(shape);
      if (shape.width == 256) {
        for (size_t i = 0; i < src.elements(); ++i) src.data()[i] = static_cast<uint8_t>(i);
      }
      const Shape dst_shape{shape.width, shape.height, shape.width_stride + 3, shape.channel};
      const size_t blocks_end = shape.rowElements() / 16 * 16;
      Image<uint8_t> expected(dst_shape);
      expected.fill([&](int32_t y, size_t i) {
        const uint8_t value = src.row(y)[i];
        different += absModel(value, s.scale, s.offset, true) != absModel(value, s.scale, s.offset, false);
        return absModel(value, s.scale, s.offset, i < blocks_end);
      });
      Image<uint8_t> dst(dst_shape);
      EXPECT_EQ(convertScaleAbsCPUUINT8(src.data(), shape.height, shape.width, shape.width_stride, dst.data(), shape.height,
                                        shape.width, dst_shape.width_stride, s.scale, s.offset, shape.channel, 1),
                TAMIX_OK);
      ASSERT_TRUE(sameBytes(dst, expected));
      Image<uint8_t> in_place = src;
      EXPECT_EQ(convertScaleAbsCPUUINT8(in_place.data(), shape.height, shape.width, shape.width_stride, in_place.data(),
                                        shape.height, shape.width, shape.width_stride, s.scale, s.offset, shape.channel, 1),
                TAMIX_OK);
      for (int32_t y = 0; y < shape.height; ++y) {
        ASSERT_EQ(std::memcmp(in_place.row(y), expected.row(y), shape.rowElements()), 0) << "in place";
      }
    }
  }
  EXPECT_GT(different, 100u) << "the settings must tell the two precisions apart";
}

TEST(ConvertScaleAbsCPUFLOAT32, ScalesInDoublePrecisionWithoutClamping) {
  const float special[] = {3.5f, -0.0f, INFINITY, -INFINITY, NAN, 1e-45f, 3.4e38f, 16777217.0f, 0.1f};
  for (const Setting& s : kSettings) {
    SCOPED_TRACE(testing::Message() << s.scale << " " << s.offset);
    for (const Shape& shape : shapesAround(16, {1, 3})) {
      SCOPED_TRACE(shape);
      const Image<float> src = randomImage<float>(shape);
      for (size_t i = 0; i < src.elements(); i += 3) src.data()[i] = special[(i / 3) % std::size(special)];
      Image<float> expected(shape);
      expected.fill([&](int32_t y, size_t i) {
        const double product = static_cast<double>(src.row(y)[i]) * s.scale;
        const auto result = static_cast<float>(product + s.offset);
        const bool invalid = std::isnan(result) && !std::isnan(src.row(y)[i]) && !std::isnan(s.scale) && !std::isnan(s.offset);
        return invalid ? std::numeric_limits<float>::quiet_NaN() : result;
      });
      Image<float> dst(shape);
      EXPECT_EQ(convertScaleAbsCPUFLOAT32(src.data(), shape.height, shape.width, shape.width_stride, dst.data(), shape.height,
                                          shape.width, shape.width_stride, s.scale, s.offset, shape.channel, 1),
                TAMIX_OK);
      for (int32_t y = 0; y < shape.height; ++y) {
        for (size_t i = 0; i < shape.rowElements(); ++i) {
          // Which of two NaNs goes through is the processor's choice.
          if (std::isnan(src.row(y)[i]) || std::isnan(s.scale) || std::isnan(s.offset)) {
            ASSERT_TRUE(std::isnan(dst.row(y)[i]));
            dst.row(y)[i] = expected.row(y)[i];
          }
        }
      }
      ASSERT_TRUE(sameBytes(dst, expected));
    }
  }
}

TEST(ConvertScaleAbsCPU, RefusesNullPlanes) {
  uint8_t byte = 1;
  float value = 1;
  expectNullsRefused("runtime/cpu/arm/uint8/convertscaleabs_cpu_uint8.cpp", "convertScaleAbsCPUUINT8", convertScaleAbsCPUUINT8,
                     &byte, 0, 1, 1, &byte, 0, 1, 1, 1, 0, 1, 1);
  expectNullsRefused("runtime/cpu/arm/fp32/convertscaleabs_cpu_fp32.cpp", "convertScaleAbsCPUFLOAT32",
                     convertScaleAbsCPUFLOAT32, &value, 1, 1, 1, &value, 1, 1, 1, 1, 0, 1, 1);
  EXPECT_EQ(convertScaleAbsCPUUINT8(&byte, 0, 1, 1, &byte, 0, 1, 1, 9, 0, 1, 1), TAMIX_OK);
  EXPECT_EQ(byte, 1);
}

}  // namespace
}  // namespace tamix::test
