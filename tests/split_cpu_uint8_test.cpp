// Split in both element types, and merge.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inference/runtime/cpu/arm/fp32/split_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/merge_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/split_cpu_uint8.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

// Runs shorter than a block, whole blocks, several vectors, and remains; rows joined to one run.
const std::vector<Shape> kShapes = {{1, 1, 1},   {3, 1, 3},   {5, 3, 5},   {16, 1, 16},  {17, 1, 17},  {7, 9, 7},
                                    {64, 1, 64}, {65, 1, 65}, {79, 1, 79}, {50, 10, 50}, {333, 3, 333}};

template <class T, class Kernel>
void expectSplit(Kernel kernel) {
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(testing::Message() << shape);
    const auto src = randomImage<T>({shape.width, shape.height, shape.width, 3});
    std::vector<Image<T>> planes;
    for (int i = 0; i < 3; ++i) planes.emplace_back(shape);
    EXPECT_EQ(kernel(src.data(), shape.height, shape.width, shape.width, planes[0].data(), planes[1].data(), planes[2].data(),
                     nullptr, shape.width, 3, 1),
              TAMIX_OK);
    for (int32_t c = 0; c < 3; ++c) {
      Image<T> expected(shape);
      expected.fill([&](int32_t y, size_t x) { return src.at(y, static_cast<int32_t>(x), c); });
      EXPECT_TRUE(sameBytes(planes[static_cast<size_t>(c)], expected)) << "plane " << c;
    }
  }
}

TEST(SplitCPUUINT8, PutsEveryChannelIntoItsPlane) { expectSplit<uint8_t>(splitCPUUINT8); }
TEST(SplitCPUFLOAT32, PutsEveryChannelIntoItsPlane) { expectSplit<float>(splitCPUFLOAT32); }

TEST(MergeCPUUINT8, InterleavesThePlanes) {
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(testing::Message() << shape);
    std::vector<Image<uint8_t>> planes;
    for (uint32_t i = 0; i < 3; ++i) planes.push_back(randomImage<uint8_t>(shape, i + 1));
    const Image<uint8_t> dst({shape.width, shape.height, shape.width, 3});
    Image<uint8_t> expected(dst);
    expected.fill([&](int32_t y, size_t i) { return planes[i % 3].row(y)[i / 3]; });
    EXPECT_EQ(mergeCPUUINT8(planes[0].data(), planes[1].data(), planes[2].data(), nullptr, shape.height, shape.width,
                            shape.width, dst.data(), 3, 1),
              TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, expected));
  }
}

struct Refusal {
  std::vector<bool> given;  // the interleaved image, then planes 0 to 3
  int32_t width, stride, channels, status;
  std::string message;
};

template <class T, class Kernel>
void expectSplitRefusals(Kernel kernel, const std::string& file, const std::string& function) {
  const std::vector<Refusal> refusals = {
      {{false, true, false, true, true}, 4, 5, 0, TAMIX_ERR_INVALID_IMAGE, "Recieved null input data pointer"},
      {{true, true, false, true, true}, 4, 5, 0, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 0"},
      {{true, true, false, true, true}, 4, 5, 2, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer"},
      {{true, true, true, false, true}, 4, 5, 3, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer"},
      {{true, true, true, true, false}, 4, 5, 4, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer"},
      {{true, true, true, true, true}, 4, 5, 4, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 4"},
      {{true, true, true, true, true}, 4, 5, 99, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 99"},
      {{true, true, false, false, false}, 4, 5, 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 1"},
      {{true, false, true, true, false}, 4, 4, 3, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer"},
      {{true, true, true, true, false},
       4,
       5,
       3,
       TAMIX_ERR_UNSUPPORTED,
       "Recieve unsupported src_width 4 and src_width_stride: 5"},
  };
  T src[15] = {};
  T planes[4][5] = {};
  for (const Refusal& r : refusals) {
    LogCapture log;
    const auto given = [&](size_t i) { return r.given[i + 1] ? planes[i] : nullptr; };
    EXPECT_EQ(kernel(r.given[0] ? src : nullptr, 1, r.width, r.stride, given(0), given(1), given(2), given(3), r.stride,
                     r.channels, 1),
              r.status);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(file, function, r.message)});
  }
}

TEST(SplitCPUUINT8, RefusesInTheOrderOfItsChecks) {
  expectSplitRefusals<uint8_t>(splitCPUUINT8, "runtime/cpu/arm/uint8/split_cpu_uint8.cpp", "splitCPUUINT8");
}
TEST(SplitCPUFLOAT32, RefusesInTheOrderOfItsChecks) {
  expectSplitRefusals<float>(splitCPUFLOAT32, "runtime/cpu/arm/fp32/split_cpu_fp32.cpp", "splitCPUFLOAT32");
}

TEST(MergeCPUUINT8, RefusesInTheOrderOfItsChecks) {
  const std::vector<Refusal> refusals = {
      {{false, true, true, false, true}, 4, 5, 3, TAMIX_ERR_INVALID_IMAGE, "Recieved null input data pointer"},
      {{false, false, true, true, true}, 4, 5, 9, TAMIX_ERR_INVALID_IMAGE, "Recieved null input data pointer"},
      {{false, true, true, true, true}, 4, 5, 9, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer"},
      {{true, true, true, true, true}, 4, 5, 4, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 4"},
      {{true, true, false, false, false}, 4, 5, 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 1"},
      {{true, true, true, true, false},
       4,
       5,
       3,
       TAMIX_ERR_UNSUPPORTED,
       "Recieve unsupported dst_width 4 and dst_width_stride: 5"},
  };
  uint8_t dst[15] = {};
  uint8_t planes[4][5] = {};
  for (const Refusal& r : refusals) {
    LogCapture log;
    const auto given = [&](size_t i) { return r.given[i + 1] ? planes[i] : nullptr; };
    EXPECT_EQ(
        mergeCPUUINT8(given(0), given(1), given(2), given(3), 1, r.width, r.stride, r.given[0] ? dst : nullptr, r.channels, 1),
        r.status);
    EXPECT_EQ(log.errors(),
              std::vector<std::string>{errorLine("runtime/cpu/arm/uint8/merge_cpu_uint8.cpp", "mergeCPUUINT8", r.message)});
  }
}

}  // namespace
}  // namespace tamix::test
