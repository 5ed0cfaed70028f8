// Operators on one frame of 20,000 x 20,000 bytes: the last rows and columns are where 32-bit arithmetic would have wrapped.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/support/count.h"
#include "tests/support/operator_run.h"

namespace tamix::test {
namespace {

// Emulated processors take a strip of the frame unless asked for more.
#ifdef __aarch64__
constexpr long kShort = 200;
#else
constexpr long kShort = 20000;
#endif
const auto kRows = static_cast<int32_t>(countFromEnvironment("TAMIX_TEST_LARGE_ROWS", kShort));
constexpr int32_t kColumns = 20000;
constexpr int32_t kEnd = 64;  // rows at the end, of noise; the others are white
constexpr int32_t kBorder = 3;

// White but for its end.
const Image<uint8_t>& source() {
  static const Image<uint8_t> frame = [] {
    Image<uint8_t> made({kColumns, kRows, kColumns});
    std::memset(made.data(), 255, made.elements());
    const auto noise = randomImage<uint8_t>({kColumns, kEnd, kColumns});
    std::memcpy(made.row(kRows - kEnd), noise.data(), noise.elements());
    return made;
  }();
  return frame;
}

// Memory of results.
uint8_t* result() {
  static const GuardedBytes memory(static_cast<size_t>(kColumns + 2 * kBorder) * static_cast<size_t>(kRows + 2 * kBorder));
  return static_cast<uint8_t*>(memory.data());
}

TamixImage gray(uint8_t* data, int32_t width, int32_t height) {
  TamixImage image = imageRecord(Tamix_GRAY, Tamix_UINT8, width, height, 1);
  image.data[0] = data;
  return image;
}

// The frame and a result of width x height.
TamixParams frame(int32_t width, int32_t height) {
  TamixParams params;
  initTamixParams(&params);
  params.input[0] = gray(source().data(), kColumns, kRows);
  params.output[0] = gray(result(), width, height);
  return params;
}

// The frame's last rows are what its end gives by itself. The result is `shrunk` times smaller in both directions.
void expectEndOfItsOwn(int32_t type, int32_t shrunk, void (*set)(TamixParams&)) {
  SCOPED_TRACE("operator " + std::to_string(type));
  const RunningOperator instance(type);
  const int32_t width = kColumns / shrunk, height = kRows / shrunk, end_height = kEnd / shrunk;
  TamixParams params = frame(width, height);
  set(params);
  ASSERT_EQ(instance.run(params), TAMIX_OK);
  const Image<uint8_t> end({width, end_height, width});
  params.input[0] = gray(source().row(kRows - kEnd), kColumns, kEnd);
  params.output[0] = gray(end.data(), width, end_height);
  ASSERT_EQ(instance.run(params), TAMIX_OK);
  const int32_t compared = end_height / 2;  // an edge's neighbours are others in the frame
  const uint8_t* const last = result() + int64_t{height - compared} * width;
  EXPECT_EQ(std::memcmp(last, end.row(end_height - compared), static_cast<size_t>(compared * width)), 0);
}

TEST(LargeFrame, IsFilteredResizedAndMappedToItsEnd) {
  const auto nothing = [](TamixParams&) {};
  const auto window = [](TamixParams& p) { p.kernel_size = 3, p.scale = 1; };
  const auto threshold = [](TamixParams& p) {
    static double level = 100;
    p.thresh = &level;
    p.thresh_type = TAMIX_THRESH_BINARY;
    p.maxval = 200;
  };
  expectEndOfItsOwn(TAMIX_OP_GAUSSIAN_FILTER, 1, window);
  expectEndOfItsOwn(TAMIX_OP_LAPLACIAN_FILTER, 1, window);
  expectEndOfItsOwn(TAMIX_OP_THRESHOLD, 1, threshold);
  expectEndOfItsOwn(TAMIX_OP_RESIZE_BILINEAR, 2, nothing);
  expectEndOfItsOwn(TAMIX_OP_RESIZE_NEAREST, 2, nothing);
  expectEndOfItsOwn(TAMIX_OP_RESIZE_AREA, 4, nothing);
}

TEST(LargeFrame, IsTurnedAndBordered) {
  TamixParams params = frame(kColumns, kRows);
  params.op_mode = -1;
  ASSERT_EQ(RunningOperator(TAMIX_OP_FLIP).run(params), TAMIX_OK);
  for (int32_t y = 0; y < kEnd; ++y) {
    const uint8_t* const row = source().row(kRows - 1 - y);
    ASSERT_TRUE(std::equal(row, row + kColumns, std::make_reverse_iterator(result() + int64_t{y + 1} * kColumns))) << y;
  }

  params = frame(kRows, kColumns);
  params.op_mode = 2;  // counter-clockwise
  ASSERT_EQ(RunningOperator(TAMIX_OP_ROTATE).run(params), TAMIX_OK);
  for (int32_t x = 0; x < kColumns; ++x) {
    const uint8_t* const row = result() + int64_t{kColumns - 1 - x} * kRows;
    for (int32_t y = kRows - kEnd; y < kRows; ++y) ASSERT_EQ(row[y], source().at(y, x)) << x << ", " << y;
  }

  const int32_t width = kColumns + 2 * kBorder, height = kRows + 2 * kBorder;
  params = frame(width, height);
  std::fill_n(params.border_params, 4, kBorder);
  params.geom_border_type = TAMIX_BORDER_REPLICATE;
  ASSERT_EQ(RunningOperator(TAMIX_OP_COPY_MAKE_BORDER).run(params), TAMIX_OK);
  for (int32_t y = height - kEnd; y < height; ++y) {
    const uint8_t* const row = source().row(std::min(y - kBorder, kRows - 1));
    const uint8_t* const made = result() + int64_t{y} * width;
    ASSERT_EQ(std::memcmp(made + kBorder, row, kColumns), 0) << y;
    ASSERT_EQ(made[width - 1], row[kColumns - 1]) << y;
  }
}

TEST(LargeFrame, IsCounted) {
  uint64_t counts[256] = {};
  for (int32_t y = kRows - kEnd; y < kRows; ++y) std::for_each_n(source().row(y), kColumns, [&](uint8_t v) { ++counts[v]; });
  counts[255] += uint64_t{kColumns} * static_cast<uint64_t>(kRows - kEnd);
  double sum = 0, squares = 0;
  for (size_t v = 0; v < 256; ++v) {
    sum += static_cast<double>(counts[v] * v);
    squares += static_cast<double>(counts[v] * v * v);
  }
  const double all = double{kColumns} * kRows, mean = sum / all;

  TamixParams params = frame(256, 1);
  params.hist_dims = 1;
  params.hist_size[0] = params.hrange_max[0] = 256;
  ASSERT_EQ(RunningOperator(TAMIX_OP_CALC_HIST).run(params), TAMIX_OK);
  uint32_t bins[256];
  std::memcpy(bins, result(), sizeof(bins));
  EXPECT_TRUE(std::equal(bins, bins + 256, counts));

  params = frame(1, 1);
  uint32_t nonzero = 0;
  params.nonzero_count = &nonzero;
  ASSERT_EQ(RunningOperator(TAMIX_OP_COUNT_NON_ZERO).run(params), TAMIX_OK);
  EXPECT_EQ(nonzero, static_cast<uint64_t>(all) - counts[0]);

  float mean_out = 0, std_out = 0;
  params = frame(1, 1);
  params.mean_out = &mean_out;
  params.std_out = &std_out;
  ASSERT_EQ(RunningOperator(TAMIX_OP_MEAN_STD).run(params), TAMIX_OK);
  EXPECT_NEAR(mean_out, mean, 1e-4);
  EXPECT_NEAR(std_out, std::sqrt(squares / all - mean * mean), 1e-2);
}

}  // namespace
}  // namespace tamix::test
