// RGBA and BGRA to HSV.
#include "inference/runtime/cpu/arm/uint8/color4tohsv_cpu_uint8.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

struct HSV {
  int32_t h, s, v;
  bool operator==(const HSV&) const = default;
};

struct Tables {
  Tables() {
    for (int32_t i = 1; i < 256; ++i) {
      saturation[i] = static_cast<int32_t>(1044480.0 / i);
      hue[i] = static_cast<int32_t>(737280.0 / (i * 6.0));
    }
  }
  int32_t saturation[256] = {};
  int32_t hue[256] = {};
};

HSV hsvModel(const Tables& tables, int32_t r, int32_t g, int32_t b) {
  const int32_t v = std::max({r, g, b});
  const int32_t diff = v - std::min({r, g, b});
  int32_t h = r - g + 4 * diff;
  if (v == r) {
    h = g - b;
  } else if (v == g) {
    h = b - r + 2 * diff;
  }
  const int32_t sum = h * tables.hue[diff] + 2048;
  return {(sum >> 12) + (sum < 0 ? 180 : 0), (diff * tables.saturation[v] + 2048) >> 12, v};
}

TEST(Color4ToHSV, TablesAreTruncatedQuotients) {
  const Tables tables;
  HSVTable saturation, hue;
  buildSaturationTable(saturation.data());
  buildHueTable(hue.data());
  for (size_t i = 0; i < 256; ++i) {
    EXPECT_EQ(saturation[i], tables.saturation[i]);
    EXPECT_EQ(hue[i], tables.hue[i]);
  }
  EXPECT_EQ(hue[253], 485);
  EXPECT_EQ(saturation[253], 4128);
}

TEST(Color4ToHSV, IsRightForEveryColour) {
  const Tables tables;
  Image<uint8_t> src({256, 256, 256, 4}), hsv({256, 256, 256, 3});
  for (int32_t r = 0; r < 256; ++r) {
    src.fill([r](int32_t y, size_t i) {
      return i % 4 == 0 ? static_cast<size_t>(r) : i % 4 == 1 ? static_cast<size_t>(y) : i / 4;
    });
    ASSERT_EQ(RGBAToHSVCPUUINT8(src.data(), hsv.data(), 256, 256, 256, 256, nullptr, nullptr, 1), TAMIX_OK);
    for (int32_t g = 0; g < 256; ++g) {
      for (int32_t b = 0; b < 256; ++b) {
        const uint8_t* const pixel = hsv.row(g) + 3 * b;
        const HSV expected = hsvModel(tables, r, g, b);
        ASSERT_TRUE((HSV{pixel[0], pixel[1], pixel[2]} == expected)) << r << " " << g << " " << b;
      }
    }
  }
}

// Tails of 1 to 15 pixels stand at the end of the whole image only.
TEST(Color4ToHSV, ConvertsTheImageAsOneRunWithAndWithoutTables) {
  const Tables tables;
  for (const int32_t width : {1, 3, 15, 16, 17, 37, 64, 65, 100}) {
    for (const int32_t height : {1, 2, 5}) {
      for (const int32_t blue : {0, 2}) {
        const auto src = randomImage<uint8_t>({width, height, width, 4}, static_cast<uint32_t>(width + height));
        Image<uint8_t> expected({width, height, width, 3});
        for (int32_t i = 0; i < width * height; ++i) {
          const uint8_t* const pixel = src.data() + 4 * i;
          const HSV hsv = hsvModel(tables, pixel[2 - blue], pixel[1], pixel[blue]);
          expected.data()[3 * i] = static_cast<uint8_t>(hsv.h);
          expected.data()[3 * i + 1] = static_cast<uint8_t>(hsv.s);
          expected.data()[3 * i + 2] = static_cast<uint8_t>(hsv.v);
        }
        const auto kernel = blue == 2 ? RGBAToHSVCPUUINT8 : BGRAToHSVCPUUINT8;
        for (const int32_t* hue : {tables.hue + 0, static_cast<const int32_t*>(nullptr)}) {
          Image<uint8_t> hsv({width, height, width, 3});
          ASSERT_EQ(kernel(src.data(), hsv.data(), width, height, width, width, tables.saturation, hue, 1), TAMIX_OK);
          ASSERT_TRUE(sameBytes(hsv, expected));
        }
        ASSERT_EQ(kernel(src.data(), src.data(), width, height, width, width, tables.saturation, tables.hue, 1), TAMIX_OK);
        ASSERT_EQ(std::memcmp(src.data(), expected.data(), expected.elements()), 0) << "in place";
      }
    }
  }
}

TEST(Color4ToHSV, KnownColours) {
  const struct {
    uint8_t rgba[4];
    uint8_t hsv[3];
  } known[] = {{{255, 0, 0, 9}, {0, 255, 255}},    {{0, 255, 0, 9}, {60, 255, 255}},    {{0, 0, 255, 9}, {120, 255, 255}},
               {{255, 255, 0, 9}, {30, 255, 255}}, {{255, 0, 128, 9}, {165, 255, 255}}, {{10, 20, 30, 9}, {105, 170, 30}},
               {{77, 77, 77, 9}, {0, 0, 77}}};
  for (const auto& k : known) {
    uint8_t hsv[3];
    ASSERT_EQ(RGBAToHSVCPUUINT8(k.rgba, hsv, 1, 1, 1, 1, nullptr, nullptr, 1), TAMIX_OK);
    EXPECT_EQ(std::memcmp(hsv, k.hsv, 3), 0) << +k.rgba[0] << " " << +k.rgba[1] << " " << +k.rgba[2];
  }
}

TEST(Color4ToHSV, RefusesNullPlanesAndStrides) {
  uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  const auto line = [](const char* message) {
    return errorLine("runtime/cpu/arm/uint8/color4tohsv_cpu_uint8.cpp", "Color4ToHSVUINT8Neon", message);
  };
  for (const auto kernel : {RGBAToHSVCPUUINT8, BGRAToHSVCPUUINT8}) {
    LogCapture log;
    EXPECT_EQ(kernel(nullptr, bytes, 1, 1, 1, 1, nullptr, nullptr, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(bytes, nullptr, 1, 1, 1, 1, nullptr, nullptr, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(bytes, bytes, 1, 1, 2, 1, nullptr, nullptr, 1), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(kernel(bytes, bytes, 1, 1, 1, 2, nullptr, nullptr, 1), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(kernel(bytes, bytes, 0, 1, 0, 0, nullptr, nullptr, 1), TAMIX_OK);
    EXPECT_EQ(kernel(bytes, bytes, 1, -1, 1, 1, nullptr, nullptr, 1), TAMIX_OK);
    EXPECT_EQ(log.errors(),
              (std::vector<std::string>{line("Recieved null data pointer"), line("Recieved null data pointer"),
                                        line("width stride is not supported."), line("width stride is not supported.")}));
  }
  EXPECT_EQ(bytes[0], 1);
}

}  // namespace
}  // namespace tamix::test
