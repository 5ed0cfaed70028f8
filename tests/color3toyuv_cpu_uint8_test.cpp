// RGB and BGR to NV12 and NV21: both arithmetics, every layout.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tamix/kernels.h"
#include "tests/support/image.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

using Kernel = decltype(&RGBToNV12CPUUINT8);

struct Variant {
  const char* name;
  Kernel kernel;
  int32_t red;
  bool v_first;
};

constexpr Variant kVariants[] = {{"RGBToNV12", RGBToNV12CPUUINT8, 0, false},
                                 {"BGRToNV12", BGRToNV12CPUUINT8, 2, false},
                                 {"RGBToNV21", RGBToNV21CPUUINT8, 0, true},
                                 {"BGRToNV21", BGRToNV21CPUUINT8, 2, true}};

struct YUV {
  int32_t y, u, v;
};

int32_t clamped(int64_t value, int64_t most) { return static_cast<int32_t>(std::clamp<int64_t>(value, 0, most)); }

YUV blockModel(int32_t r, int32_t g, int32_t b) {
  const int32_t y = std::min(612 * r + 1202 * g + 233 * b, 522240) >> 11;
  return {y, clamped(262144 + 1155 * (b - y), 522240) >> 11, clamped(262144 + 1460 * (r - y), 522240) >> 11};
}

YUV tailModel(int32_t r, int32_t g, int32_t b) {
  const double red = r * 0.299, green = g * 0.587, blue = b * 0.114;
  const auto y = static_cast<int32_t>((red + green) + blue);
  const auto u = static_cast<int32_t>((b - y) / 1.772 + 128.0);
  const auto v = static_cast<int32_t>((r - y) / 1.402 + 128.0);
  return {clamped(y, 255), clamped(u, 255), clamped(v, 255)};
}

// Rows of the image and of the planes as their pitches lay them out, one row pair after the other.
void convertModel(const Variant& variant, const Image<uint8_t>& src, Image<uint8_t>& luma, Image<uint8_t>& chroma) {
  const auto [width, height, stride, channel] = src.shape();
  for (int32_t row = 0; row < height / 2 * 2; ++row) {
    for (int32_t x = 0; x < width; ++x) {
      const int32_t r = src.at(row, x, variant.red), g = src.at(row, x, 1), b = src.at(row, x, 2 - variant.red);
      const YUV yuv = x < width / 16 * 16 ? blockModel(r, g, b) : tailModel(r, g, b);
      luma.at(row, x) = static_cast<uint8_t>(yuv.y);
      if (row % 2 != 0 || x % 2 != 0) continue;
      chroma.at(row / 2, x) = static_cast<uint8_t>(variant.v_first ? yuv.v : yuv.u);
      chroma.at(row / 2, x + 1) = static_cast<uint8_t>(variant.v_first ? yuv.u : yuv.v);
    }
  }
}

TEST(Color3ToYUV, ConvertsBlocksTailsAndOddSizesAndLeavesTheRestAlone) {
  std::vector<int32_t> widths = {1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 96, 111, 128, 150};
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    for (const int32_t width : widths) {
      for (const int32_t height : {1, 2, 3, 5, 6}) {
        for (const int32_t padding : {0, 2, 9}) {
          const auto src = randomImage<uint8_t>({width, height, width + padding, 3}, static_cast<uint32_t>(width));
          const int32_t even_width = width + width % 2;
          const int32_t pitch = even_width + padding;
          const Image<uint8_t> untouched({even_width, std::max(height / 2, 1), pitch});
          Image<uint8_t> luma({width, height, pitch}), chroma(untouched);
          Image<uint8_t> expected_luma(luma), expected_chroma(untouched);
          convertModel(variant, src, expected_luma, expected_chroma);
          ASSERT_EQ(variant.kernel(src.data(), luma.data(), chroma.data(), width, height, width + padding, pitch), TAMIX_OK);
          ASSERT_TRUE(sameBytes(luma, expected_luma));
          ASSERT_TRUE(sameBytes(chroma, expected_chroma));
        }
      }
    }
  }
}

// Rows of every blue twice, so that each colour has a chroma pair.
TEST(Color3ToYUV, BlocksAreRightForEveryColour) {
  Image<uint8_t> src({512, 2, 512, 3}), luma({512, 2, 512}), chroma({512, 1, 512});
  for (int32_t r = 0; r < 256; ++r) {
    for (int32_t g = 0; g < 256; ++g) {
      for (int32_t x = 0; x < 512; ++x) {
        src.at(0, x, 0) = static_cast<uint8_t>(r);
        src.at(0, x, 1) = static_cast<uint8_t>(g);
        src.at(0, x, 2) = static_cast<uint8_t>(x / 2);
      }
      ASSERT_EQ(RGBToNV12CPUUINT8(src.data(), luma.data(), chroma.data(), 512, 2, 512, 512), TAMIX_OK);
      for (int32_t b = 0; b < 256; ++b) {
        const YUV yuv = blockModel(r, g, b);
        ASSERT_EQ(luma.at(0, 2 * b), yuv.y) << r << " " << g << " " << b;
        ASSERT_EQ(chroma.at(0, 2 * b), yuv.u) << r << " " << g << " " << b;
        ASSERT_EQ(chroma.at(0, 2 * b + 1), yuv.v) << r << " " << g << " " << b;
      }
    }
  }
}

TEST(Color3ToYUV, KnownColoursInBlockAndTail) {
  struct Known {
    int32_t r, g, b;
    YUV block, tail;
  };
  const Known known[] = {
      {255, 255, 255, {254, 128, 128}, {255, 128, 128}}, {0, 0, 0, {0, 128, 128}, {0, 128, 128}},
      {128, 128, 128, {127, 128, 128}, {127, 128, 128}}, {255, 0, 0, {76, 85, 255}, {76, 85, 255}},
      {0, 255, 0, {149, 43, 21}, {149, 43, 21}},         {0, 0, 255, {29, 255, 107}, {29, 255, 107}},
      {100, 150, 200, {140, 161, 99}, {140, 161, 99}},
  };
  for (const Known& k : known) {
    Image<uint8_t> src({18, 2, 18, 3}), luma({18, 2, 18}), chroma({18, 1, 18});
    src.fill([&](int32_t, size_t i) { return i % 3 == 0 ? k.r : i % 3 == 1 ? k.g : k.b; });
    ASSERT_EQ(RGBToNV21CPUUINT8(src.data(), luma.data(), chroma.data(), 18, 2, 18, 18), TAMIX_OK);
    for (const auto& [x, yuv] : {std::pair{0, k.block}, std::pair{16, k.tail}}) {
      EXPECT_EQ(luma.at(0, x), yuv.y);
      EXPECT_EQ(chroma.at(0, x), yuv.v);
      EXPECT_EQ(chroma.at(0, x + 1), yuv.u);
    }
  }
}

// With a pitch of an odd width a row's last chroma byte lies where the next row begins.
TEST(Color3ToYUV, WritesRowsInOrderWhereTheyOverlap) {
  for (const int32_t width : {17, 33}) {
    const auto src = randomImage<uint8_t>({width, 4, width, 3});
    Image<uint8_t> luma({width, 4, width}), chroma({2 * width + 1, 1, 2 * width + 1});
    ASSERT_EQ(BGRToNV12CPUUINT8(src.data(), luma.data(), chroma.data(), width, 4, width, width), TAMIX_OK);
    const YUV second = blockModel(src.at(2, 0, 2), src.at(2, 0, 1), src.at(2, 0, 0));
    EXPECT_EQ(chroma.at(0, width), second.u);
  }
}

TEST(Color3ToYUV, RefusesNullPlanesAndIgnoresEmptySizes) {
  uint8_t byte = 7;
  for (const Variant& variant : kVariants) {
    expectNullsRefused("runtime/cpu/arm/uint8/color3toyuv_cpu_uint8.cpp", "Color3ToYUV", variant.kernel, &byte, &byte, &byte, 4,
                       0, 4, 4);
    for (const auto& [width, height] : {std::pair{4, 1}, {4, 0}, {4, -2}, {0, 4}, {-3, INT32_MAX}}) {
      EXPECT_EQ(variant.kernel(&byte, &byte, &byte, width, height, 4, 4), TAMIX_OK);
    }
  }
  EXPECT_EQ(byte, 7);
}

}  // namespace
}  // namespace tamix::test
