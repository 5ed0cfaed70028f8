#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"

#include <cmath>

#include "tests/support/allocation.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"
#include "tests/support/resize.h"

namespace tamix::test {
namespace {

constexpr const char* kFile = "runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.cpp";

int32_t resize(const Image<float>& src, const Image<float>& dst) { return resized(resizeBilinearCPUFLOAT32, src, dst); }

struct Tap {
  int32_t a;
  int32_t b;
  float weight;
};

Tap tap(int32_t d, int32_t source, int32_t target) {
  if (source == 1) return {0, 0, 0.0f};
  const float scale = static_cast<float>(source) / static_cast<float>(target);
  const float f = static_cast<float>((d + 0.5) * static_cast<double>(scale) - 0.5);
  const int32_t i = static_cast<int32_t>(std::floor(f));
  if (i < 0) return {0, 1, 0.0f};
  if (i > source - 2) return {source - 2, source - 1, 1.0f};
  return {i, i + 1, f - static_cast<float>(i)};
}

float blend(float a, float b, float weight) {
  const float change = weight * (b - a);
  return a + change;
}

void model(const Image<float>& src, Image<float>& dst) {
  for (int32_t y = 0; y < dst.shape().height; ++y) {
    const Tap row = tap(y, src.shape().height, dst.shape().height);
    for (int32_t x = 0; x < dst.shape().width; ++x) {
      const Tap column = tap(x, src.shape().width, dst.shape().width);
      for (int32_t c = 0; c < dst.shape().channel; ++c) {
        const float h0 = blend(src.at(row.a, column.a, c), src.at(row.a, column.b, c), column.weight);
        const float h1 = blend(src.at(row.b, column.a, c), src.at(row.b, column.b, c), column.weight);
        dst.at(y, x, c) = blend(h0, h1, row.weight);
      }
    }
  }
}

TEST(ResizeBilinearCPUFLOAT32, BlendsRowsThenColumnsWithSeparatelyRoundedProducts) {
  for (const ResizeSizes& sizes : resizeSizes()) {
    for (const int32_t channels : {1, 2, 3, 4}) {
      for (const int32_t padding : {0, 5}) expectResized<float>(sizes, channels, padding, resize, model);
    }
  }
}

TEST(ResizeBilinearCPUFLOAT32, RefusesNullThenOtherChannelCounts) {
  const LogCapture log;
  const auto src = randomImage<float>({4, 4, 4, 4});
  Image<float> dst({4, 4, 4, 4});
  const Image<float> untouched(dst);
  expectNullsRefused(kFile, "resizeBilinearCPUFLOAT32", resizeBilinearCPUFLOAT32, src.data(), 4, 4, 4, dst.data(), 4, 4, 4, 5);
  for (const int32_t channels : {-1, 0, 5}) {
    EXPECT_EQ(resizeBilinearCPUFLOAT32(src.data(), 2, 2, 2, dst.data(), 2, 2, 2, channels), TAMIX_ERR_BAD_ARGUMENT);
  }
  EXPECT_EQ(resizeBilinearCPUFLOAT32(src.data(), 0, 2, 2, dst.data(), 2, 2, 2, 1), TAMIX_OK);
  EXPECT_EQ(resizeBilinearCPUFLOAT32(src.data(), 2, 2, 2, dst.data(), 2, -2, 2, 1), TAMIX_OK);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_TRUE(sameBytes(dst, untouched));
}

TEST(ResizeBilinearCPUFLOAT32, ReportsMissingMemory) {
  const auto src = randomImage<float>({4, 4, 4, 3});
  Image<float> dst({6, 6, 6, 3});
  const Image<float> untouched(dst);
  const LogCapture log;
  const FailingMemalign failing(0);
  EXPECT_EQ(resize(src, dst), TAMIX_ERR_NO_MEMORY);
  EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(kFile, "resizeBilinearCPUFLOAT32", "alloc memory failed!")});
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
