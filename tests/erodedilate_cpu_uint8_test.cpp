#include "inference/runtime/cpu/arm/uint8/erodedilate_cpu_uint8.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/morphology_model.h"

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;

constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

int32_t run(bool erodes, const Image<uint8_t>& src, const Image<uint8_t>& dst, const MorphologySettings& set,
            const void* anchor = nullptr) {
  const Shape& s = src.shape();
  const auto kernel = erodes ? erodeCPUUINT8 : dilateCPUUINT8;
  return kernel(src.data(), dst.data(), s.height, s.width, s.width_stride, dst.shape().width_stride, s.channel, set.rows,
                set.columns, set.kernel, anchor, set.border_type, set.border_value, set.iterations, 1);
}

// Into another image, and in place.
void expectModel(bool erodes, const Image<uint8_t>& src, const MorphologySettings& set, const Image<uint8_t>& expected) {
  SCOPED_TRACE(testing::Message() << (erodes ? "erode " : "dilate ") << src.shape() << " window " << set.rows << "x"
                                  << set.columns << " border " << set.border_type << " iterations " << set.iterations);
  const Shape& s = src.shape();
  const Image<uint8_t> dst(Shape{s.width, s.height, s.width + 2, 3});
  EXPECT_EQ(run(erodes, src, dst, set), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, withPaddingOf(Image<uint8_t>(dst.shape()), expected)));
  const Image<uint8_t> in_place(src);
  EXPECT_EQ(run(erodes, in_place, in_place, set), TAMIX_OK);
  EXPECT_TRUE(sameBytes(in_place, expected));
}

void expectModel(bool erodes, const Image<uint8_t>& src, const MorphologySettings& set) {
  expectModel(erodes, src, set, morphologyModel(src, erodes, set));
}

// Narrow rows, rows of a vector, of several and with an overlap; few rows, whole groups and single rows behind them.
const std::vector<Shape>& shapes() {
  static const std::vector<Shape> all = {{1, 1, 1, 3},  {2, 1, 2, 3},   {1, 5, 3, 3},   {4, 4, 4, 3},   {5, 3, 9, 3},
                                         {9, 11, 9, 3}, {22, 6, 22, 3}, {37, 9, 41, 3}, {66, 21, 66, 3}};
  return all;
}

TEST(ErodeAndDilateCPUUINT8, TakeRectanglesOfAnySizeAtEveryBorder) {
  uint32_t turn = 0;
  for (const auto& [rows, columns] : {std::pair{1, 1},
                                      {2, 2},
                                      {3, 3},
                                      {2, 3},
                                      {1, 4},
                                      {4, 1},
                                      {5, 5},
                                      {4, 6},
                                      {7, 7},
                                      {6, 15},
                                      {16, 2},
                                      {17, 3},
                                      {18, 9},
                                      {21, 33},
                                      {40, 1},
                                      {64, 64}}) {
    for (const Shape& shape : shapes()) {
      if (rows * columns > 700 && shape.width > 22) continue;  // the model's time
      for (int32_t border_type = -1; border_type < 5; ++border_type) {
        if (++turn % 2 == 0 && rows > 5) continue;
        const bool erodes = turn / 2 % 2 == 0;
        const MorphologySettings set{rows,        columns, nullptr,
                                     border_type, 100,     rows * columns > 50 ? 1 : 1 + static_cast<int32_t>(turn) % 3};
        expectModel(erodes, spottedImage(shape, erodes, turn), set);
      }
    }
  }
}

TEST(ErodeAndDilateCPUUINT8, TakeWideRowsInStripes) {
  for (const auto& [rows, columns] : {std::pair{3, 3}, {5, 5}, {2, 32}, {3, 33}, {19, 2}}) {
    for (const int32_t border_type : {0, 3, 4}) {
      expectModel(rows != 3, spottedImage({5500, 6, 5500, 3}, rows != 3, 4), {rows, columns, nullptr, border_type, 9, 1});
    }
  }
}

TEST(ErodeAndDilateCPUUINT8, TakeAnyElementAtEveryBorder) {
  std::mt19937 random(7);
  uint32_t turn = 0;
  for (const auto& [rows, columns] : {std::pair{1, 1}, {3, 3}, {2, 2}, {5, 5}, {4, 7}, {20, 3}, {3, 40}, {1, 9}, {23, 24}}) {
    for (const uint32_t sparsity : {1u, 2u, 6u, 1000u}) {
      std::vector<uint8_t> kernel(static_cast<size_t>(rows * columns));
      for (uint8_t& member : kernel) member = random() % sparsity == 0 ? 200 : 0;
      for (const Shape& shape : shapes()) {
        if (rows * columns > 100 && shape.width > 22) continue;
        const int32_t border_type = static_cast<int32_t>(++turn % 6) - 1;
        const bool erodes = turn % 4 < 2;
        const int32_t iterations = rows * columns > 100 ? 1 : 1 + static_cast<int32_t>(turn % 5);
        expectModel(erodes, spottedImage(shape, erodes, turn), {rows, columns, kernel.data(), border_type, 60, iterations});
      }
    }
  }
}

TEST(ErodeAndDilateCPUUINT8, TakeTallElementsOnOneSide) {
  std::vector<uint8_t> kernel(150 * 3);
  for (size_t row = 0; row < 150; ++row) kernel[3 * row] = row % 70 != 5;
  kernel[2] = 1;
  for (int32_t border_type = 0; border_type < 5; ++border_type) {
    for (const int32_t height : {1, 16, 70, 101}) {
      const bool erodes = height != 70;
      expectModel(erodes, spottedImage({5, height, 6, 3}, erodes, 4), {150, 3, kernel.data(), border_type, 90, 1});
    }
  }
}

// Diamonds of many chords, and elements with gaps on images of several bands.
TEST(ErodeAndDilateCPUUINT8, TakeElementsAsBoxes) {
  for (const int32_t size : {69, 72}) {
    std::vector<uint8_t> diamond(static_cast<size_t>(size * size));
    for (int32_t i = 0; i < size * size; ++i)
      diamond[static_cast<size_t>(i)] = std::abs(i / size - size / 2) + std::abs(i % size - size / 2) <= size / 2;
    for (int32_t border_type = 0; border_type < 5; ++border_type) {
      expectModel(size % 2 == 0, spottedImage({50, 21, 50, 3}, size % 2 == 0, 3),
                  {size, size, diamond.data(), border_type, 9, 1});
    }
  }
  std::vector<uint8_t> gaps(9 * 11);
  for (size_t i = 0; i < gaps.size(); ++i) gaps[i] = i % 7 != 3 && i % 5 != 1;
  for (int32_t border_type = 0; border_type < 5; ++border_type) {
    const bool erodes = border_type % 2 == 0;
    expectModel(erodes, spottedImage({20, 260, 23, 3}, erodes, 6), {9, 11, gaps.data(), border_type, 100, 2});
  }
}

TEST(ErodeAndDilateCPUUINT8, EndTwoBillionPassesEarly) {
  const Shape shape{11, 6, 13, 3};
  const uint8_t cross[9] = {0, 1, 0, 1, 1, 1, 0, 1, 0};
  const uint8_t shift_right[3] = {1, 0, 0};
  for (const bool erodes : {true, false}) {
    const Image<uint8_t> src = spottedImage(shape, erodes, 8);
    for (int32_t border_type = 0; border_type < 5; ++border_type) {
      MorphologySettings set{2, 2, nullptr, border_type, 30, 40};  // 40 passes cross the image
      for (const auto& [rows, columns, kernel] :
           {std::tuple<int32_t, int32_t, const uint8_t*>{2, 2, nullptr}, {4, 3, nullptr}, {3, 3, cross}}) {
        set.rows = rows;
        set.columns = columns;
        set.kernel = kernel;
        set.iterations = 40;
        const Image<uint8_t> expected = morphologyModel(src, erodes, set);
        set.iterations = kMost;
        expectModel(erodes, src, set, expected);
      }
    }
    // Elements that move the image around for ever: a ring of 11 columns, and two columns that change places at the mirror.
    for (const auto& [border_type, period] : {std::pair{3, 11}, {4, 2}}) {
      MorphologySettings set{1, 3, shift_right, border_type, 0, kMost % period + 4 * 11 * period};
      const Image<uint8_t> expected = morphologyModel(src, erodes, set);
      set.iterations = kMost;
      expectModel(erodes, src, set, expected);
    }
  }
}

// Elements whose rows grow towards the output pixel, even on both sides or not, all passes of which are taken at once.
TEST(ErodeAndDilateCPUUINT8, TakeManyPassesOverNestedElements) {
  std::mt19937 random(3);
  const auto below = [&](int32_t n) { return static_cast<int32_t>(random() % static_cast<uint32_t>(n)); };
  for (uint32_t turn = 0; turn < 60; ++turn) {
    SCOPED_TRACE("element " + std::to_string(turn));
    const int32_t rows = 1 + below(turn % 10 == 0 ? 90 : 9), columns = 1 + below(12);
    std::vector<uint8_t> kernel(static_cast<size_t>(rows * columns));
    // From both ends to the middle row; a third of the elements are their own mirror image.
    const bool is_mirrored = turn % 3 == 0;
    int32_t left[2] = {columns / 2, columns / 2}, right[2] = {columns / 2 + 1, columns / 2 + 1};
    for (int32_t far = std::max(rows / 2, rows - 1 - rows / 2); far >= 0; --far) {
      for (const int32_t side : {0, 1}) {
        if (below(3) == 0) left[side] = std::max(0, left[side] - below(3));
        if (below(3) == 0) right[side] = std::min(columns, right[side] + below(3));
        if (is_mirrored) left[side] = left[0], right[side] = columns - (columns + 1) % 2 - left[0];
        if (far == 0) left[side] = std::min(left[0], left[1]), right[side] = std::max(right[0], right[1]);
        const int32_t row = side == 0 ? rows / 2 - far : rows / 2 + far;
        if (row < 0 || row >= rows) continue;
        for (int32_t c = left[side]; c < right[side]; ++c) kernel[static_cast<size_t>(row * columns + c)] = 1;
      }
    }
    const bool erodes = turn % 2 == 0;
    const Shape shape{1 + below(24), 1 + below(16), 26, 3};
    const Image<uint8_t> src = spottedImage(shape, erodes, turn);
    for (int32_t border_type = 0; border_type < 5; ++border_type) {
      MorphologySettings set{rows, columns, kernel.data(), border_type, below(256), 1 + below(4)};
      expectModel(erodes, src, set);
      set.iterations = 40;
      const Image<uint8_t> expected = morphologyModel(src, erodes, set);
      expectModel(erodes, src, set, expected);
    }
  }
}

TEST(ErodeAndDilateCPUUINT8, TakeElementsThatReachFarBeyondTheImage) {
  std::mt19937 random(11);
  const auto below = [&](int32_t n) { return static_cast<int32_t>(random() % static_cast<uint32_t>(n)); };
  for (uint32_t turn = 0; turn < 300; ++turn) {
    SCOPED_TRACE("element " + std::to_string(turn));
    const int32_t rows = 1 + below(9), columns = 1 + below(4);
    std::vector<uint8_t> kernel(static_cast<size_t>(rows * columns));
    for (uint8_t& member : kernel) member = below(2) == 0;
    const bool erodes = turn % 2 == 0;
    const Image<uint8_t> src = spottedImage({1 + below(4), 1 + below(4), 5, 3}, erodes, turn);
    for (int32_t border_type = 0; border_type < 5; ++border_type) {
      expectModel(erodes, src, {rows, columns, kernel.data(), border_type, below(256), 1 + below(4)});
    }
  }
}

TEST(ErodeAndDilateCPUUINT8, TakeHugeAndEmptyWindows) {
  const Image<uint8_t> src = spottedImage({9, 5, 9, 3}, true, 5);
  Image<uint8_t> expected = morphologyModel(src, true, {19, 19, nullptr, 4, 0, 1});
  for (const int32_t iterations : {1, kMost}) {
    for (const int32_t size : {999, kMost - 1, kMost})
      expectModel(true, src, {size, size, nullptr, 4, 0, iterations}, expected);
  }
  for (const bool erodes : {true, false}) {
    expected.fill([&](int32_t, size_t) { return erodes ? 255 : 0; });
    const uint8_t none[4] = {};
    expectModel(erodes, src, {0, 3, nullptr, 1, 0, 1}, withPaddingOf(src, expected));
    expectModel(erodes, src, {-7, -7, none, 1, 0, kMost}, withPaddingOf(src, expected));
    expectModel(erodes, src, {2, 2, none, 1, 0, 2}, withPaddingOf(src, expected));
  }
}

TEST(ErodeAndDilateCPUUINT8, RefuseInOrder) {
  const std::string file = "runtime/cpu/arm/uint8/erodedilate_cpu_uint8.cpp";
  const Shape shape{9, 5, 9, 3};
  const Image<uint8_t> src = randomImage<uint8_t>(shape);
  const Image<uint8_t> dst(shape);
  const uint8_t members[9] = {1, 0, 1};
  LogCapture log;
  for (const bool erodes : {true, false}) {
    const std::string name = erodes ? "erodeCPUUINT8" : "dilateCPUUINT8";
    const auto kernel = erodes ? erodeCPUUINT8 : dilateCPUUINT8;
    log.clear();
    EXPECT_EQ(kernel(src.data(), nullptr, 5, 9, 9, 9, 1, 3, 3, nullptr, nullptr, 9, 0, 1, 1), TAMIX_ERR_INVALID_IMAGE);
    EXPECT_EQ(kernel(src.data(), dst.data(), 5, 9, 9, 9, 4, 5, 5, nullptr, members, 9, 0, 1, 1), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), (Lines{errorLine(file, name, "Recieved null data pointer"),
                                   errorLine(file, name, "Recieved unsupported channel 4")}));
    log.clear();
    EXPECT_EQ(run(erodes, src, dst, {5, 5, nullptr, 9, 0, 0}, members), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(run(erodes, src, dst, {3, 3, members, 1, 0, 1}, members), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(run(erodes, src, dst, {3, 3, nullptr, 9, 0, 0}, members), TAMIX_OK);
    EXPECT_EQ(run(erodes, src, dst, {5, 5, members, 9, 0, -1}), TAMIX_OK);
    EXPECT_EQ(log.errors(), Lines{});

    struct Body {
      int32_t size;
      const uint8_t* kernel;
      const char *name, *filter;
    };
    for (const Body& body : {Body{2, nullptr, "filter2x2C3KernelCompareCPUUINT8", "filter2x2"},
                             {3, nullptr, "filter3x3C3KernelCompareCPUUINT8", "filter3x3"},
                             {5, nullptr, "filterKernelCompareCPUUINT8", "filter2x2"},
                             {3, members, "filterKernelCompareCPUUINT8", "filter2x2"}}) {
      for (const auto& [type, value, status] : {std::tuple{5, 0, -3}, {0, 256, -15}, {16, -1, -15}}) {
        log.clear();
        EXPECT_EQ(run(erodes, src, dst, {body.size, body.size, body.kernel, type, value, 1}), status);
        EXPECT_EQ(log.errors().size(), 2u);
        EXPECT_EQ(log.errors().back(),
                  errorLine(file, body.name, std::string("failed to expand the border for ") + body.filter));
      }
      log.clear();
      const FailingMemalign failing(0, /*all_later=*/true);
      EXPECT_EQ(run(erodes, src, dst, {body.size, body.size, body.kernel, 1, 0, 1}), TAMIX_ERR_NO_MEMORY);
      EXPECT_EQ(log.errors(), Lines{errorLine(file, body.name, "failed to allocate memory for expanded image")});
    }
  }
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(shape)));
  EXPECT_EQ(run(true, src, dst, {3, 3, nullptr, 4, 0, 1}, members), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, withPaddingOf(dst, morphologyModel(src, true, {3, 3, nullptr, 4, 0, 1}))));
}

}  // namespace
}  // namespace tamix::test
