#include "inference/runtime/cpu/arm/uint8/laplacianfilter_cpu_uint8.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "tests/support/border_model.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

using Kernel = std::array<float, 9>;
using Lines = std::vector<std::string>;

constexpr Kernel kApertures[2] = {{0, 1, 0, 1, -4, 1, 0, 1, 0}, {2, 0, 2, 0, -8, 0, 2, 0, 2}};

struct Settings {
  int32_t size = 1;
  int32_t border_type = 4;
  int32_t border_value = 0;
  int32_t abs_output = 0;
  float scale = 0.0f;
  float delta = 0.0f;
};

int32_t filter(const Image<uint8_t>& src, const Image<uint8_t>& dst, const float* kernel, const Settings& set) {
  const Shape& s = src.shape();
  return laplacianFilterCPUUINT8(src.data(), dst.data(), s.height, s.width, s.width_stride, dst.shape().width_stride, s.channel,
                                 set.size, set.size, kernel, set.border_type, set.border_value, set.abs_output, 1, set.scale,
                                 set.delta);
}

template <class Result>
Image<uint8_t> modelled(const Image<uint8_t>& src, int32_t size, int32_t border_type, int32_t border_value,
                        const Result& result) {
  Image<uint8_t> dst(src.shape());
  dst.fill([&](int32_t y, size_t i) {
    const int32_t channel = src.shape().channel;
    const auto x = static_cast<int32_t>(i) / channel;
    float sum = 0.0f;  // exact: whole weights
    for (int32_t k = 0; k < 9; ++k) {
      sum += kApertures[size / 2][static_cast<size_t>(k)] *
             static_cast<float>(
                 borderedAt(src, y + k / 3 - 1, x + k % 3 - 1, static_cast<int32_t>(i) % channel, border_type, border_value));
    }
    return result(sum);
  });
  return dst;
}

TEST(LaplacianFilterCPUUINT8, ClampsOrTakesAbsoluteValuesWithBothApertures) {
  int32_t turn = 0;
  for (const int32_t channel : {1, 2, 3, 4, 6}) {
    for (const int32_t width : {8, 9, 30, 70, 133}) {
      const Shape shape{width, 2 + width % 5, width + 1, channel};
      const Image<uint8_t> src = randomImage<uint8_t>(shape);
      for (int32_t border_type = -1; border_type < 5; ++border_type) {
        const Settings set{1 + turn % 2 * 2, border_type, 200, turn++ / 2 % 3, 3.0f, 50.0f};  // scale and delta do not count
        SCOPED_TRACE(testing::Message() << shape << " size " << set.size << " border " << border_type << " abs "
                                        << set.abs_output);
        const Image<uint8_t> dst(shape);
        EXPECT_EQ(filter(src, dst, turn % 4 == 0 ? nullptr : kApertures[set.size / 2].data(), set), TAMIX_OK);
        EXPECT_TRUE(sameBytes(dst, modelled(src, set.size, border_type, 200, [&](float sum) {
                                return std::min(set.abs_output == 1 ? std::abs(sum) : std::max(sum, 0.0f), 255.0f);
                              })));
      }
    }
  }
}

TEST(LaplacianFilterCPUUINT8, RespondsToABrightPixel) {
  Image<uint8_t> src = std::move(Image<uint8_t>({9, 5, 9, 1}).fill([](int32_t, size_t) { return 0; }));
  src.at(2, 4) = 255;
  const Image<uint8_t> clamped(src.shape()), absolute(src.shape());
  filter(src, clamped, nullptr, {});
  filter(src, absolute, nullptr, {1, 4, 0, 1});
  EXPECT_EQ(clamped.at(2, 4), 0);
  EXPECT_EQ(absolute.at(2, 4), 255);
  for (const Image<uint8_t>* dst : {&clamped, &absolute}) {
    EXPECT_EQ(dst->at(1, 4), 255);
    EXPECT_EQ(dst->at(2, 3), 255);
    EXPECT_EQ(dst->at(1, 3), 0);
  }
}

TEST(LaplacianFilterCPUUINT8, ScalesInFloatsWhereThePathFails) {
  struct Case {
    Shape shape;
    Settings set;
    int32_t status;
  };
  for (const Case& c :
       {Case{{4, 3, 6, 1}, {1, 4, 0, 0, 0.0f, 0.0f}, -3}, Case{{7, 6, 7, 3}, {3, -1, 0, 0, -0.37f, 12.5f}, -3},
        Case{{1, 1, 1, 5}, {3, 4, 0, 1, 2.0f, -3.0f}, -3}, Case{{40, 1, 40, 3}, {1, 4, 0, 0, 0.5f, 0.0f}, -3},
        Case{{40, 1, 40, 1}, {1, 1, 0, 0, 0.5f, 0.0f}, -3}, Case{{40, 3, 44, 1}, {1, 7, 0, 1, 1e-16f, 1.0f}, -3},
        Case{{40, 3, 40, 4}, {3, 0, 256, 0, 1e30f, 0.0f}, -15}, Case{{3, 3, 3, 1}, {3, 4, 0, 0, 1.0f, NAN}, -3}}) {
    SCOPED_TRACE(c.shape);
    const Image<uint8_t> src = randomImage<uint8_t>(c.shape);
    const Image<uint8_t> dst(c.shape);
    EXPECT_EQ(filter(src, dst, nullptr, c.set), c.status);
    const float scale = std::abs(c.set.scale) < 1e-15f ? 1.0f : c.set.scale;
    EXPECT_TRUE(sameBytes(dst, modelled(src, c.set.size, 4, 0, [&](float sum) {
                            const float value = std::abs(scale * sum + c.set.delta);
                            return std::isnan(value) ? 0.0f : value > 255.0f ? 255.0f : std::trunc(value);
                          })));
  }
}

TEST(LaplacianFilterCPUUINT8, RefusesInOrder) {
  const std::string file = "runtime/cpu/arm/uint8/laplacianfilter_cpu_uint8.cpp";
  const Shape shape{8, 3, 8, 1};
  const Image<uint8_t> src = randomImage<uint8_t>(shape);
  const Image<uint8_t> dst(shape);
  LogCapture log;
  const auto run = [&](const uint8_t* from, int32_t rows, int32_t columns) {
    log.clear();
    return laplacianFilterCPUUINT8(from, dst.data(), 3, 8, 8, 8, 1, rows, columns, nullptr, 4, 0, 0, 1, 1.0f, 0.0f);
  };
  EXPECT_EQ(run(nullptr, 5, 5), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(log.errors(), Lines{errorLine(file, "laplacianFilterCPUUINT8", "Recieved null data pointer")});
  for (const auto& [rows, columns] : {std::pair{5, 5}, {1, 3}, {3, 1}, {0, 0}, {-1, -1}}) {
    EXPECT_EQ(run(src.data(), rows, columns), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(),
              Lines{errorLine(file, "laplacianFilterCPUUINT8",
                              "Recieved unsupported kernel size " + std::to_string(rows) + ", " + std::to_string(columns))});
  }
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(shape)));

  const auto integer = [&](const uint8_t* from, int32_t width, int32_t height, int32_t border_type) {
    log.clear();
    return laplacianCPUUINT16toUINT8(from, dst.data(), height, width, 8, 8, 1, kApertures[0].data(), border_type, 0, 0, 1);
  };
  const auto line = [&](const std::string& message) { return errorLine(file, "laplacianCPUUINT16toUINT8", message); };
  EXPECT_EQ(integer(nullptr, 7, 1, 9), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(log.errors(), Lines{line("Recieved null data pointer")});
  EXPECT_EQ(integer(src.data(), 7, 1, 9), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), Lines{line("Recieved unsupport width 7")});
  EXPECT_EQ(integer(src.data(), 8, 1, 9), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), Lines{line("Recieved unsupport height 1")});
  EXPECT_EQ(integer(src.data(), 8, 3, 9), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors().back(), line("failed to expand the border for filter3x3"));
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(shape)));
}

}  // namespace
}  // namespace tamix::test
