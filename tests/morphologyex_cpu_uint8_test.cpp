#include "inference/runtime/cpu/arm/uint8/morphologyex_cpu_uint8.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "inference/runtime/cpu/arm/uint8/getstructuringelement_cpu_uint8.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/morphology_model.h"

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;

constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

int32_t run(int32_t type, const Image<uint8_t>& src, const Image<uint8_t>& dst, const MorphologySettings& set,
            int32_t shape = 0, const void* anchor = nullptr) {
  const Shape& s = src.shape();
  return morphologyExCPUUINT8(src.data(), dst.data(), s.height, s.width, s.width_stride, dst.shape().width_stride, s.channel,
                              type, set.rows, set.columns, set.kernel, anchor, set.border_type, set.border_value,
                              set.iterations, shape, 1);
}

Image<uint8_t> model(int32_t type, const Image<uint8_t>& src, const MorphologySettings& set) {
  const bool erodes_first = type == TAMIX_MORPH_ERODE || type == TAMIX_MORPH_OPEN;
  Image<uint8_t> result = morphologyModel(src, erodes_first, set);
  return type < TAMIX_MORPH_OPEN ? std::move(result) : morphologyModel(result, !erodes_first, set);
}

void expectModel(int32_t type, const Image<uint8_t>& src, const MorphologySettings& set, const MorphologySettings& modelled,
                 int32_t shape) {
  SCOPED_TRACE(testing::Message() << "type " << type << " " << src.shape() << " window " << set.rows << "x" << set.columns
                                  << " border " << set.border_type << " iterations " << set.iterations << " shape " << shape);
  const Image<uint8_t> expected = model(type, src, modelled);
  const Image<uint8_t> dst(Shape{src.shape().width, src.shape().height, src.shape().width + 1, 3});
  EXPECT_EQ(run(type, src, dst, set, shape), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, withPaddingOf(Image<uint8_t>(dst.shape()), expected)));
  const Image<uint8_t> in_place(src);
  EXPECT_EQ(run(type, in_place, in_place, set, shape), TAMIX_OK);
  EXPECT_TRUE(sameBytes(in_place, expected));
}

TEST(MorphologyExCPUUINT8, OpensAndClosesWithRectangles) {
  uint32_t turn = 0;
  for (const auto& [rows, columns] : {std::pair{1, 1}, {2, 2}, {3, 3}, {5, 5}, {3, 8}, {16, 2}, {6, 35}, {18, 3}}) {
    for (const Shape& shape : {Shape{1, 1, 1, 3}, {2, 9, 2, 3}, {7, 2, 7, 3}, {23, 13, 25, 3}, {40, 22, 40, 3}}) {
      for (int32_t border_type = 0; border_type < 5; ++border_type) {
        const int32_t type = static_cast<int32_t>(++turn % 4);
        const MorphologySettings set{rows,        columns, nullptr,
                                     border_type, 120,     rows * columns > 20 ? 1 : 1 + static_cast<int32_t>(turn % 3)};
        expectModel(type, spottedImage(shape, turn % 2 == 0, turn), set, set, TAMIX_MORPH_RECT);
      }
    }
  }
  for (const int32_t type : {TAMIX_MORPH_OPEN, TAMIX_MORPH_CLOSE}) {
    for (const int32_t border_type : {0, 4}) {
      const MorphologySettings set{4, 5, nullptr, border_type, 50, 1};
      expectModel(type, spottedImage({5600, 7, 5600, 3}, type == TAMIX_MORPH_OPEN, 4), set, set, TAMIX_MORPH_RECT);
    }
  }
}

TEST(MorphologyExCPUUINT8, BuildsDefaultElementsAroundAnchorOne) {
  const uint8_t cross[25] = {0, 1, 0, 0, 0, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0};
  const uint8_t ellipse[25] = {0, 0, 1, 0, 0, 0, 1, 1, 1, 0, 1, 1, 1, 1, 1, 0, 1, 1, 1, 0, 0, 0, 1, 0, 0};
  const uint8_t corner[25] = {1};
  for (int32_t type = 0; type < 4; ++type) {
    const Image<uint8_t> src = spottedImage({21, 9, 21, 3}, type % 2 == 0, 4);
    for (const auto& [shape, bytes] : {std::pair<int32_t, const uint8_t*>{1, cross}, {2, ellipse}, {3, corner}, {-5, corner}}) {
      for (const int32_t border_type : {0, 2, 3}) {
        expectModel(type, src, {5, 5, nullptr, border_type, 0, 2}, {5, 5, bytes, border_type, 0, 2}, shape);
        expectModel(type, src, {5, 5, bytes, border_type, 0, 1}, {5, 5, bytes, border_type, 0, 1}, 0);
      }
    }
  }
}

TEST(MorphologyExCPUUINT8, TakesHugeElements) {
  const Image<uint8_t> src = spottedImage({8, 5, 8, 3}, true, 4);
  const Image<uint8_t> dst(src.shape());
  const Image<uint8_t> minima = morphologyModel(src, true, {31, 31, nullptr, 1, 0, 1});
  for (const auto& [rows, columns, shape] :
       {std::tuple{kMost, kMost, 0}, {30000, 40000, 2}, {kMost, 1, 2}, {1, kMost, 2}, {2000, 9, 2}}) {
    EXPECT_EQ(run(TAMIX_MORPH_ERODE, src, dst, {rows, columns, nullptr, 1, 0, 1}, shape), TAMIX_OK);
    if (rows > 10000 && columns > 10000) {
      EXPECT_TRUE(sameBytes(dst, minima));
    }
  }
  // An ellipse of hundreds of rows, most of them far outside the image.
  std::vector<uint8_t> bytes(700 * 90);
  getStructuringElementCPUUINT8(bytes.data(), 2, 700, 90, 0, 0, nullptr, 1);
  for (int32_t border_type = 0; border_type < 5; ++border_type) {
    expectModel(TAMIX_MORPH_ERODE, src, {700, 90, nullptr, border_type, 200, 1}, {700, 90, bytes.data(), border_type, 200, 1},
                2);
    bytes[12345] = 0;
    expectModel(TAMIX_MORPH_DILATE, src, {700, 90, bytes.data(), border_type, 9, 1}, {700, 90, bytes.data(), border_type, 9, 1},
                0);
    bytes[12345] = 1;
  }
  LogCapture log;
  for (const auto& [rows, columns, shape] : {std::tuple{kMost, kMost, 2}, {50000, 50000, 1}, {-2, 3, 0}, {3, -2, 1}}) {
    log.clear();
    EXPECT_EQ(run(TAMIX_MORPH_ERODE, src, dst, {rows, columns, nullptr, 1, 0, 1}, shape), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(log.errors(), Lines{errorLine("runtime/cpu/arm/uint8/morphologyex_cpu_uint8.cpp", "morphologyExCPUUINT8",
                                            "build default kernel fail.")});
  }
}

TEST(MorphologyExCPUUINT8, NamesTheStepThatFails) {
  const std::string file = "runtime/cpu/arm/uint8/morphologyex_cpu_uint8.cpp";
  const std::string step_file = "runtime/cpu/arm/uint8/erodedilate_cpu_uint8.cpp";
  const auto line = [&](const std::string& message) { return errorLine(file, "morphologyExCPUUINT8", message); };
  const Image<uint8_t> src = randomImage<uint8_t>({9, 5, 9, 3});
  const Image<uint8_t> four = randomImage<uint8_t>({9, 5, 9, 4});
  const Image<uint8_t> dst(src.shape());
  const Image<uint8_t> four_dst(four.shape());
  LogCapture log;
  struct Step {
    int32_t type;
    const char *kernel, *message;
  };
  for (const Step& step :
       {Step{2, "erodeCPUUINT8", "morph_open erode fail."}, {3, "dilateCPUUINT8", "morph_close dilate fail."}}) {
    log.clear();
    EXPECT_EQ(run(step.type, four, four_dst, {}), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), (Lines{errorLine(step_file, step.kernel, "Recieved unsupported channel 4"), line(step.message)}));
    log.clear();
    EXPECT_EQ(run(step.type, src, dst, {3, 3, nullptr, 0, 300, 1}), TAMIX_ERR_UNSUPPORTED);
    ASSERT_EQ(log.errors().size(), 3u);
    EXPECT_EQ(log.errors()[1],
              errorLine(step_file, "filterKernelCompareCPUUINT8", "failed to expand the border for filter2x2"));
    EXPECT_EQ(log.errors()[2], line(step.message));
    log.clear();
    EXPECT_EQ(run(step.type, src, dst, {}, 0, &src), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), Lines{line(step.message)});
  }
  EXPECT_EQ(run(TAMIX_MORPH_DILATE, src, dst, {3, 3, nullptr, 0, 300, 1}), TAMIX_ERR_INVALID_IMAGE);
  log.clear();
  EXPECT_EQ(run(4, src, dst, {}), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), Lines{line("unsupported morphological operation.")});
  EXPECT_EQ(log.messages(), (Lines{"Recieve kernel is null, build default kernel.", "morphologyes op type: 4."}));
  for (const int32_t iterations : {0, -1}) {
    EXPECT_EQ(run(TAMIX_MORPH_OPEN, src, dst, {3, 3, nullptr, 99, 0, iterations}), TAMIX_OK);
  }
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(src.shape())));
}

TEST(MorphologyExCPUUINT8, ReportsEveryFailedAllocation) {
  const Image<uint8_t> src = randomImage<uint8_t>({30, 8, 30, 3});
  for (const auto& [rows, shape, type] : {std::tuple{3, 0, 2}, {18, 0, 3}, {5, 1, 2}}) {
    for (const bool all_later : {false, true}) {
      for (int64_t n = 0;; ++n) {
        const Image<uint8_t> dst(src.shape());
        const FailingMemalign failing(n, all_later);
        const int32_t status = run(type, src, dst, {rows, 3, nullptr, 1, 0, 3}, shape);
        if (!failing.struck()) break;
        if (all_later || n == 0) {
          EXPECT_NE(status, TAMIX_OK) << n;
        }
        ASSERT_LT(n, 100);
      }
    }
  }
}

}  // namespace
}  // namespace tamix::test
