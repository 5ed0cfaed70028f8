// RGB to Lab and back.
#include <gtest/gtest.h>

#include <algorithm>

#include "inference/runtime/cpu/arm/common/lab_tables.h"
#include "inference/runtime/cpu/arm/uint8/colortolab_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/labtocolor_cpu_uint8.h"
#include "tests/support/image.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

uint8_t saturated(int32_t value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

void labModel(const uint8_t* rgb, uint8_t* lab) {
  const LabTables& tables = labTables();
  int32_t f[3];
  for (int row = 0; row < 3; ++row) {
    int32_t sum = 2048;
    for (int c = 0; c < 3; ++c) sum += kToXYZ[row][c] * tables.gamma[rgb[c]];
    f[row] = tables.cube_root[static_cast<size_t>(sum >> 12)];
  }
  lab[0] = saturated((296 * f[1] - 1320550) >> 15);
  lab[1] = saturated((500 * (f[0] - f[1]) + 4210688) >> 15);
  lab[2] = saturated((200 * (f[1] - f[2]) + 4210688) >> 15);
}

void rgbModel(const uint8_t* lab, uint8_t* rgb) {
  const LabTables& tables = labTables();
  const auto y = static_cast<int32_t>(tables.lightness[lab[0]] & 0xFFFF);
  const auto fy = static_cast<int32_t>(tables.lightness[lab[0]] >> 16);
  // Indices of the curve's table, whose entry 0 belongs to -8145.
  const int32_t x = inverseLabCurve(fy + ((268435 * lab[1] + 128) >> 13) + 3951 - 8145);
  const int32_t z = inverseLabCurve(fy + 10484 - ((41943 * lab[2] + 16) >> 9) + 8145 - 8145);
  for (int k = 0; k < 3; ++k) {
    const int32_t s = (kFromXYZ[k][0] * x + kFromXYZ[k][1] * y + kFromXYZ[k][2] * z + 8192) >> 14;
    rgb[k] = saturated(tables.inverse_gamma[static_cast<size_t>(std::clamp(s, 0, 4095))]);
  }
}

// Every third value of the first channel, every value of the others: with each of its steps the first channel passes all of the
// tables' indices.
template <class Kernel, class Model>
void expectManyColours(const Kernel& kernel, const Model& model) {
  Image<uint8_t> src({256, 256, 256, 3}), dst({256, 256, 256, 3});
  for (size_t first = 0; first < 256; first += 3) {
    src.fill([first](int32_t y, size_t i) { return i % 3 == 0 ? first : i % 3 == 1 ? static_cast<size_t>(y) : i / 3; });
    ASSERT_EQ(kernel(src.data(), dst.data(), 256, 256, 256, 256, 3, 1), TAMIX_OK);
    for (int32_t y = 0; y < 256; ++y) {
      for (int32_t x = 0; x < 256; ++x) {
        uint8_t expected[3];
        model(&src.at(y, x), expected);
        ASSERT_EQ(std::memcmp(&dst.at(y, x), expected, 3), 0) << first << " " << y << " " << x;
      }
    }
  }
}

TEST(RGBToLAB, IsRightForManyColours) { expectManyColours(RGBToLABCPUUINT8, labModel); }

TEST(LABToRGB, IsRightForManyColours) { expectManyColours(LABToRGBCPUUINT8, rgbModel); }

// Widths around vectors and strips, padded rows, in place.
TEST(Lab, ConvertsEveryPartOfARow) {
  for (const int32_t width : {1, 2, 5, 15, 16, 17, 63, 64, 65, 100, 255, 256, 257, 300, 513}) {
    for (const int32_t padding : {0, 3}) {
      SCOPED_TRACE(width);
      const auto src = randomImage<uint8_t>({width, 3, width + padding, 3}, static_cast<uint32_t>(width));
      Image<uint8_t> lab({width, 3, width + 1, 3}), rgb({width, 3, width + 1, 3}), rgba({width, 3, width + 2, 4});
      Image<uint8_t> expected_lab(lab), expected_rgb(rgb), expected_rgba(rgba), in_place(src), expected_in_place(src);
      for (int32_t y = 0; y < 3; ++y) {
        for (int32_t x = 0; x < width; ++x) {
          labModel(&src.at(y, x), &expected_lab.at(y, x));
          labModel(&src.at(y, x), &expected_in_place.at(y, x));
          rgbModel(&src.at(y, x), &expected_rgb.at(y, x));
          rgbModel(&src.at(y, x), &expected_rgba.at(y, x));
          expected_rgba.at(y, x, 3) = 255;
        }
      }
      const int32_t stride = width + padding;
      ASSERT_EQ(RGBToLABCPUUINT8(src.data(), lab.data(), width, 3, stride, width + 1, 3, 1), TAMIX_OK);
      ASSERT_TRUE(sameBytes(lab, expected_lab));
      ASSERT_EQ(LABToRGBCPUUINT8(src.data(), rgb.data(), width, 3, stride, width + 1, 3, 1), TAMIX_OK);
      ASSERT_TRUE(sameBytes(rgb, expected_rgb));
      ASSERT_EQ(LABToRGBCPUUINT8(src.data(), rgba.data(), width, 3, stride, width + 2, 4, 1), TAMIX_OK);
      ASSERT_TRUE(sameBytes(rgba, expected_rgba));
      ASSERT_EQ(RGBToLABCPUUINT8(in_place.data(), in_place.data(), width, 3, stride, stride, 3, 1), TAMIX_OK);
      ASSERT_TRUE(sameBytes(in_place, expected_in_place));
    }
  }
}

TEST(Lab, BlackAndWhite) {
  const uint8_t black[3] = {0, 0, 0}, white[3] = {255, 255, 255}, black_lab[3] = {0, 128, 128}, white_lab[3] = {255, 128, 128};
  uint8_t pixel[3];
  ASSERT_EQ(RGBToLABCPUUINT8(black, pixel, 1, 1, 1, 1, 3, 1), TAMIX_OK);
  EXPECT_EQ(std::memcmp(pixel, black_lab, 3), 0);
  ASSERT_EQ(RGBToLABCPUUINT8(white, pixel, 1, 1, 1, 1, 3, 1), TAMIX_OK);
  EXPECT_EQ(std::memcmp(pixel, white_lab, 3), 0);
  ASSERT_EQ(LABToRGBCPUUINT8(black_lab, pixel, 1, 1, 1, 1, 3, 1), TAMIX_OK);
  EXPECT_EQ(std::memcmp(pixel, black, 3), 0);
}

TEST(Lab, RefusesNullPlanesAndIgnoresEmptySizes) {
  uint8_t bytes[4] = {7, 7, 7, 7};
  const struct {
    decltype(&RGBToLABCPUUINT8) kernel;
    const char* name;
    const char* file;
  } kernels[] = {{RGBToLABCPUUINT8, "RGBToLABCPUUINT8", "colortolab"}, {LABToRGBCPUUINT8, "LABToRGBCPUUINT8", "labtocolor"}};
  for (const auto& k : kernels) {
    const std::string file = std::string("runtime/cpu/arm/uint8/") + k.file + "_cpu_uint8.cpp";
    expectNullsRefused(file, k.name, k.kernel, bytes, bytes, 1, 0, 1, 1, 3, 1);
    for (const auto& [width, height] : {std::pair{1, 0}, {1, -1}, {0, 1}, {-1, 1}}) {
      EXPECT_EQ(k.kernel(bytes, bytes, width, height, 1, 1, 3, 1), TAMIX_OK);
    }
  }
  EXPECT_EQ(bytes[0], 7);
}

}  // namespace
}  // namespace tamix::test
