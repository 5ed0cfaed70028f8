// The area resize kernels of both element types.
#include <algorithm>
#include <cmath>

#include "inference/runtime/cpu/arm/fp32/resizearea_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"
#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"
#include "tests/support/resize.h"

namespace tamix::test {
namespace {

constexpr const char* kFile = "runtime/cpu/arm/uint8/resizearea_cpu_uint8.cpp";

int32_t resize(const Image<uint8_t>& src, const Image<uint8_t>& dst) { return resized(resizeAreaCPUUINT8, src, dst, 1); }
int32_t resize(const Image<float>& src, const Image<float>& dst) { return resized(resizeAreaCPUFLOAT32, src, dst); }

struct Entry {
  int32_t source;
  int32_t target;
  float weight;
};

std::vector<Entry> table(int32_t source, int32_t target, double scale) {
  std::vector<Entry> entries;
  for (int32_t d = 0; d < target; ++d) {
    const double begin = d * scale;
    const double end = begin + scale;
    const double cell = std::min(scale, source - begin);
    int32_t sx1 = static_cast<int32_t>(std::ceil(begin));
    const int32_t sx2 = std::min(static_cast<int32_t>(std::floor(end)), source - 1);
    sx1 = std::min(sx1, sx2);
    if (sx1 - begin > 0.001) entries.push_back({sx1 - 1, d, static_cast<float>((sx1 - begin) / cell)});
    for (int32_t sx = sx1; sx < sx2; ++sx) entries.push_back({sx, d, static_cast<float>(1.0 / cell)});
    if (end - sx2 > 0.001) entries.push_back({sx2, d, static_cast<float>(std::min(std::min(end - sx2, 1.0), cell) / cell)});
  }
  return entries;
}

// Row by row as the tables list them.
template <class T, class Convert>
void model(const Image<T>& src, Image<T>& dst, const Convert& convert) {
  const Shape& from = src.shape();
  const Shape& to = dst.shape();
  const double scale_x = static_cast<float>(from.width) / static_cast<float>(to.width);
  const double scale_y = static_cast<float>(from.height) / static_cast<float>(to.height);
  const std::vector<Entry> columns = table(from.width, to.width, scale_x);
  const int32_t src_half = (from.height + 1) / 2;
  const int32_t dst_half = (to.height + 1) / 2;
  for (int32_t band = 0; band < 2; ++band) {
    const int32_t src_rows = std::min((band + 1) * src_half, from.height) - band * src_half;
    const int32_t dst_rows = std::min((band + 1) * dst_half, to.height) - band * dst_half;
    std::vector<std::vector<float>> sums(static_cast<size_t>(std::max(dst_rows, 0)), std::vector<float>(to.rowElements()));
    for (const Entry& row : table(src_rows, dst_rows, scale_y)) {
      std::vector<float> buffer(to.rowElements());
      for (const Entry& column : columns) {
        for (int32_t c = 0; c < to.channel; ++c) {
          const float product = column.weight * static_cast<float>(src.at(band * src_half + row.source, column.source, c));
          buffer[static_cast<size_t>(column.target * to.channel + c)] += product;
        }
      }
      for (size_t k = 0; k < buffer.size(); ++k) {
        const float product = row.weight * buffer[k];
        sums[static_cast<size_t>(row.target)][k] += product;
      }
    }
    for (int32_t y = 0; y < dst_rows; ++y) {
      for (size_t k = 0; k < to.rowElements(); ++k) {
        dst.row(band * dst_half + y)[k] = convert(sums[static_cast<size_t>(y)][k]);
      }
    }
  }
}

uint8_t rounded(float v) { return static_cast<uint8_t>(std::clamp(std::round(v), 0.0f, 255.0f)); }

template <class T, class Convert>
void expectAverages(const std::vector<int32_t>& channel_counts, const Convert& convert) {
  const auto run = [](const auto& src, const auto& dst) { return resize(src, dst); };
  for (const ResizeSizes& sizes : resizeSizes()) {
    if (sizes.src_width < sizes.dst_width || sizes.src_height < sizes.dst_height) continue;
    for (const int32_t channels : channel_counts) {
      for (const int32_t padding : {0, 3}) {
        expectResized<T>(sizes, channels, padding, run, [&](const auto& src, auto& dst) { model(src, dst, convert); });
      }
    }
  }
}

TEST(ResizeAreaCPUUINT8, AveragesWhatEachPixelCoversWithinItsHalfOfTheRows) {
  expectAverages<uint8_t>({1, 2, 3, 4, 5}, rounded);
}

TEST(ResizeAreaCPUFLOAT32, AveragesLikeTheByteKernelWithoutRounding) {
  expectAverages<float>({1, 3, 4}, [](float v) { return v; });
}

TEST(ResizeAreaCPUUINT8, RoundsHalvesUpAndDropsRowsBetweenTheHalves) {
  Image<uint8_t> src({2, 6, 2, 1});
  src.fill([](int32_t y, size_t) { return y * 10; });
  src.at(0, 0) = 2;
  Image<uint8_t> dst({1, 3, 1, 1});
  EXPECT_EQ(resize(src, dst), TAMIX_OK);
  EXPECT_EQ(dst.at(0, 0), 6);   // (2 + 0 + 10 + 10) / 4 = 5.5
  EXPECT_EQ(dst.at(1, 0), 20);  // the first half's last row alone
  EXPECT_EQ(dst.at(2, 0), 35);  // row 5 is not used
}

TEST(ResizeAreaCPUFLOAT32, LeavesOutNeighboursThatAreNotNumbers) {
  Image<float> src({7, 4, 7, 1});
  src.fill([](int32_t, size_t i) { return i == 3 ? NAN : 1.0f; });
  Image<float> dst({5, 2, 5, 1});
  ASSERT_EQ(resize(src, dst), TAMIX_OK);
  for (const int32_t x : {0, 1, 3, 4}) EXPECT_NEAR(dst.at(0, x), 1.0f, 1e-6f) << x;
  EXPECT_TRUE(std::isnan(dst.at(0, 2)));
}

// Both directions, each enlarged alone too.
TEST(ResizeArea, EnlargesLikeTheBilinearResize) {
  for (const ResizeSizes& sizes : {ResizeSizes{20, 10, 30, 9}, {20, 10, 18, 13}, {9, 9, 30, 31}}) {
    for (const int32_t channels : {1, 3, 4}) {
      SCOPED_TRACE(testing::Message() << sizes << ", channels " << channels);
      const auto src = randomImage<uint8_t>(sourceShape(sizes, channels, 2));
      Image<uint8_t> dst(resultShape(sizes, channels, 1));
      Image<uint8_t> expected(dst);
      for (const int32_t num_threads : {1, 3}) {
        ASSERT_EQ(resized(resizeAreaCPUUINT8, src, dst, num_threads), TAMIX_OK);
        ASSERT_EQ(resized(resizeBilinearCPUUINT8, src, expected, num_threads), TAMIX_OK);
        ASSERT_TRUE(sameBytes(dst, expected));
      }

      const auto float_src = randomImage<float>(sourceShape(sizes, channels, 2));
      Image<float> float_dst(resultShape(sizes, channels, 1));
      Image<float> float_expected(float_dst);
      ASSERT_EQ(resize(float_src, float_dst), TAMIX_OK);
      ASSERT_EQ(resized(resizeBilinearCPUFLOAT32, float_src, float_expected), TAMIX_OK);
      ASSERT_TRUE(sameBytes(float_dst, float_expected));
    }
  }
}

TEST(ResizeArea, RefusesNullAndDoesNothingForEmptySizes) {
  const auto src = randomImage<uint8_t>({4, 4, 4, 1});
  Image<uint8_t> dst({2, 2, 2, 1});
  const Image<uint8_t> untouched(dst);
  expectNullsRefused(kFile, "resizeAreaCPUUINT8", resizeAreaCPUUINT8, src.data(), 4, 4, 4, dst.data(), 2, 2, 2, 1, 1);
  for (const int32_t none : {0, -1, INT32_MIN}) {
    EXPECT_EQ(resizeAreaCPUUINT8(src.data(), none, 4, 4, dst.data(), 2, 2, 2, 1, 1), TAMIX_OK);
    EXPECT_EQ(resizeAreaCPUUINT8(src.data(), 4, none, 4, dst.data(), 2, 2, 2, 1, 1), TAMIX_OK);
    EXPECT_EQ(resizeAreaCPUUINT8(src.data(), 4, 4, 4, dst.data(), none, 2, 2, 1, 1), TAMIX_OK);
    EXPECT_EQ(resizeAreaCPUUINT8(src.data(), 4, 4, 4, dst.data(), 2, none, 2, 1, 1), TAMIX_OK);
    EXPECT_EQ(resizeAreaCPUUINT8(src.data(), 4, 4, 4, dst.data(), 2, 2, 2, none, 1), TAMIX_OK);
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

TEST(ResizeArea, ReportsMissingMemory) {
  const auto src = randomImage<uint8_t>({10, 10, 10, 3});
  const std::string tables = errorLine(kFile, "resizeAreaGeneral", "resizeAreaGeneral alloc memory failed!");
  const std::string sums = errorLine(kFile, "resizeAreaImp", "resizeAreaImp alloc memory failed!");
  for (const auto& [nth, size, line] :
       {std::tuple{0, 4, tables}, std::tuple{0, 5, tables}, std::tuple{1, 4, sums}, std::tuple{2, 4, sums}}) {
    Image<uint8_t> dst({size, size, size, 3});
    Image<uint8_t> expected({size, size, size, 3});
    if (nth == 2) {
      // The second half's failure leaves the first half.
      ASSERT_EQ(resize(src, expected), TAMIX_OK);
      const Image<uint8_t> untouched(dst);
      for (int32_t y = size / 2; y < size; ++y) std::copy_n(untouched.row(y), dst.shape().rowElements(), expected.row(y));
    }
    const LogCapture log;
    const FailingMemalign failing(nth);
    EXPECT_EQ(resize(src, dst), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(log.errors(), std::vector<std::string>{line});
    EXPECT_TRUE(sameBytes(dst, expected));
  }
  const LogCapture log;
  const FailingMemalign failing(0);
  const auto float_src = randomImage<float>({10, 10, 10, 3});
  Image<float> dst({4, 4, 4, 3});
  EXPECT_EQ(resize(float_src, dst), TAMIX_ERR_NO_MEMORY);
  EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine("runtime/cpu/arm/fp32/resizearea_cpu_fp32.cpp",
                                                             "resizeAreaCPUFLOAT32", "alloc memory failed!")});
}

}  // namespace
}  // namespace tamix::test
