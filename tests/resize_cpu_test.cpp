// The resize operators: refusals in their order, planes of YUV images, element types.
#include <gtest/gtest.h>

#include <map>

#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/resizenearest_cpu_uint8.h"
#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/refusals.h"
#include "tests/support/resize.h"

namespace tamix::test {
namespace {

// Operators with two bands.
class ResizeOperators : public testing::Test {
 protected:
  void SetUp() override {
    TamixConfig config;
    initTamixConfig(&config);
    config.perf_level = -1;
    config.num_threads = 2;
    config.log_level = 5;
    ASSERT_EQ(initTamix(&handle_, &config), TAMIX_OK);
    for (const int32_t type : {TAMIX_OP_RESIZE_AREA, TAMIX_OP_RESIZE_NEAREST, TAMIX_OP_RESIZE_BILINEAR}) {
      ASSERT_EQ(registTamixOperator(handle_, type), TAMIX_OK);
    }
    initTamixParams(&params_);
  }
  void TearDown() override { releaseTamix(&handle_); }

  int32_t run(int32_t type, const TamixImage& src, const TamixImage& dst) {
    params_.input[0] = src;
    params_.output[0] = dst;
    return runTamix(handle_, type, &params_);
  }

  TamixHandle handle_ = nullptr;
  TamixParams params_;
};

using Kernel = decltype(&resizeBilinearCPUUINT8);

// Expects `dst` to hold what the kernel makes of `src`.
void expectResized(Kernel kernel, const Image<uint8_t>& src, const Image<uint8_t>& dst, const Image<uint8_t>& before) {
  Image<uint8_t> expected(before);
  ASSERT_EQ(resized(kernel, src, expected, 2), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, expected));
}

struct Operator {
  int32_t type;
  Kernel kernel;
  Kernel pairs;
  const char* message;
};

constexpr Operator kOperators[] = {
    {TAMIX_OP_RESIZE_AREA, resizeAreaCPUUINT8, resizeAreaCPUUINT8, "resizeAreaCPUUINT8 forward"},
    {TAMIX_OP_RESIZE_NEAREST, resizeNearestCPUUINT8, resizeNearestPairsCPUUINT8, "resizeNearestCPUUINT8 forward"},
    {TAMIX_OP_RESIZE_BILINEAR, resizeBilinearCPUUINT8, resizeBilinearCPUUINT8, "resizeBilinearCPUUINT8 forward"}};

TEST_F(ResizeOperators, ResizePackedImages) {
  for (const Operator& op : kOperators) {
    for (const auto& [format, channels] : std::map<int32_t, int32_t>{{Tamix_GRAY, 1}, {Tamix_BGR, 3}, {Tamix_RGBA, 4}}) {
      const auto src = randomImage<uint8_t>({40, 23, 43, channels});
      Image<uint8_t> dst({26, 14, 27, channels});
      const Image<uint8_t> before(dst);
      const LogCapture log;
      ASSERT_EQ(run(op.type, src.record(format, Tamix_UINT8), dst.record(format, Tamix_UINT8)), TAMIX_OK);
      EXPECT_EQ(log.messages(), std::vector<std::string>{op.message});
      expectResized(op.kernel, src, dst, before);
    }
  }
}

TEST_F(ResizeOperators, ResizeLumaAndPairsOfChroma) {
  for (const Operator& op : kOperators) {
    for (const int32_t format : {8, 17, 18, 19, 20, 4352, 8192}) {
      const auto luma = randomImage<uint8_t>({40, 20, 46, 1}, 1);
      const auto chroma = randomImage<uint8_t>({20, 10, 23, 2}, 2);
      Image<uint8_t> dst_luma({26, 14, 26, 1});
      Image<uint8_t> dst_chroma({13, 7, 13, 2});
      const Image<uint8_t> before_luma(dst_luma);
      const Image<uint8_t> before_chroma(dst_chroma);
      TamixImage src = luma.record(format, Tamix_UINT8);
      TamixImage dst = dst_luma.record(format, Tamix_UINT8);
      src.channel = dst.channel = 0;
      src.data[1] = chroma.data();
      dst.data[1] = dst_chroma.data();
      ASSERT_EQ(run(op.type, src, dst), TAMIX_OK);
      expectResized(op.kernel, luma, dst_luma, before_luma);
      expectResized(op.pairs, chroma, dst_chroma, before_chroma);
    }
  }
}

TEST_F(ResizeOperators, ResizeThreePlanesOfI420) {
  for (const Operator& op : kOperators) {
    const auto luma = randomImage<uint8_t>({40, 20, 46, 1}, 1);
    const auto u = randomImage<uint8_t>({20, 10, 23, 1}, 2);
    const auto v = randomImage<uint8_t>({20, 10, 23, 1}, 3);
    Image<uint8_t> dst_luma({26, 14, 26, 1});
    Image<uint8_t> dst_u({13, 7, 13, 1});
    Image<uint8_t> dst_v({13, 7, 13, 1});
    const Image<uint8_t> before(dst_u);
    TamixImage src = luma.record(Tamix_I420, Tamix_UINT8);
    TamixImage dst = dst_luma.record(Tamix_I420, Tamix_UINT8);
    src.data[1] = u.data();
    src.data[2] = v.data();
    dst.data[1] = dst_u.data();
    dst.data[2] = dst_v.data();
    ASSERT_EQ(run(op.type, src, dst), TAMIX_OK);
    expectResized(op.kernel, u, dst_u, before);
    expectResized(op.kernel, v, dst_v, before);

    dst.data[2] = nullptr;
    EXPECT_EQ(run(op.type, src, dst), TAMIX_ERR_UNSUPPORTED);
  }
}

TEST_F(ResizeOperators, StopAtTheFirstPlaneThatFails) {
  for (const Operator& op : kOperators) {
    const auto luma = randomImage<uint8_t>({16, 8, 16, 1});
    Image<uint8_t> dst_luma({12, 6, 12, 1});
    TamixImage src = luma.record(19, Tamix_UINT8);
    TamixImage dst = dst_luma.record(19, Tamix_UINT8);
    const LogCapture log;
    EXPECT_EQ(run(op.type, src, dst), TAMIX_ERR_INVALID_IMAGE);  // no chroma planes
    EXPECT_EQ(log.errors().size(), 1u);
    const FailingMemalign failing(0);
    EXPECT_EQ(run(op.type, src, dst), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(log.errors().size(), 2u);
  }
}

TEST(ResizeOperatorsRefuse, InTheirOrder) {
  const auto image = randomImage<uint8_t>({64, 16, 64, 3});
  const Image<uint8_t> result({64, 16, 64, 3});
  TamixParams served = recordOf(image, result);
  served.input[0].width = served.output[0].height = 8;
  served.output[0].width = served.input[0].height = 5;
  const std::string planes = "runtime/cpu/op/resize_planes.h";
  expectRefusals(
      TAMIX_OP_RESIZE_AREA, "runtime/cpu/op/resizearea_cpu.cpp", served,
      {{"channels before type", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.output[0].channel = 1; },
        "Recieve unsupported input and output channel: 3, 1"},
       {"float", [](auto& p) { p.input[0].type = Tamix_FLOAT32; }, "Recieve unsupported data type: 8", "resizeAreaCPUFLOAT32"},
       {"unknown type", [](auto& p) { p.input[0].type = 2; }, "Recieve unsupported data type: 2"},
       {"packed to two planes", [](auto& p) { p.output[0].format = 19; }, "Recieve unsupported input and output channel: 3, 3",
        "resizePlanes", TAMIX_ERR_UNSUPPORTED, planes},
       {"planes to pixels without channels",
        [](auto& p) { p.input[0].format = 19, p.input[0].channel = p.output[0].channel = -2; },
        "Recieve unsupported input and output channel: -2, -2", "resizePlanes", TAMIX_ERR_UNSUPPORTED, planes},
       {"planes to pixels with a second plane",
        [](auto& p) { p.input[0].format = 19, p.input[0].data[1] = p.output[0].data[1] = p.input[0].data[0]; },
        "Recieve unsupported input and output format: 19, 2", "resizePlanes", TAMIX_ERR_UNSUPPORTED, planes}});
  expectRefusals(
      TAMIX_OP_RESIZE_NEAREST, "runtime/cpu/op/resizenearest_cpu.cpp", served,
      {{"channels before formats", [](auto& p) { p.output[0].format = Tamix_GRAY, p.output[0].channel = 1; },
        "Recieve unsupported input and output channel: 3, 1"},
       {"formats before types", [](auto& p) { p.output[0].format = Tamix_BGR, p.output[0].type = Tamix_FLOAT32; },
        "Recieve unsupported input and output format: 2, 1"},
       {"output type, names the input's", [](auto& p) { p.output[0].type = Tamix_FLOAT32; },
        "Recieve unsupported data type: 1"},
       {"float input", [](auto& p) { p.input[0].type = Tamix_FLOAT32; }, "Recieve unsupported data type: 8"},
       {"two packed channels", [](auto& p) { p.input[0].channel = p.output[0].channel = 2; }, "Recieved unsupported channel 2",
        "resizeNearestNeighborIntrinsic", TAMIX_ERR_UNSUPPORTED, "runtime/cpu/arm/uint8/resizenearest_cpu_uint8.cpp"}});
  expectRefusals(TAMIX_OP_RESIZE_BILINEAR, "runtime/cpu/op/resizebilinear_cpu.cpp", served,
                 {{"unknown type before formats", [](auto& p) { p.input[0].type = 9, p.output[0].format = Tamix_BGR; },
                   "Recieve unsupported data type: 9"},
                  {"formats", [](auto& p) { p.output[0].format = Tamix_BGR; },
                   "Recieved unsupported format conversion from 2 to 1", "resizeBilinearCPUUINT8"},
                  {"fewer channels", [](auto& p) { p.output[0].channel = 1; },
                   "Recieve unsupported input and output channel: 3, 1", "resizePlanes", TAMIX_ERR_UNSUPPORTED, planes},
                  {"float with fewer channels",
                   [](auto& p) { p.input[0].type = p.output[0].type = Tamix_FLOAT32, p.output[0].channel = 1; },
                   "Recieve unsupported input and output channel: 3, 1", "resizeBilinearCPUFLOAT32"}});
}

TEST_F(ResizeOperators, AreaServesOtherFormatsOfTheSameChannels) {
  const auto src = randomImage<uint8_t>({40, 22, 40, 3});
  Image<uint8_t> dst({20, 11, 20, 3});
  const Image<uint8_t> before(dst);
  ASSERT_EQ(run(TAMIX_OP_RESIZE_AREA, src.record(Tamix_RGB, Tamix_UINT8), dst.record(Tamix_BGR, Tamix_UINT8)), TAMIX_OK);
  expectResized(resizeAreaCPUUINT8, src, dst, before);
}

TEST_F(ResizeOperators, BilinearServesFloatsOfAnyFormatAndKeepsByteOutputsInside) {
  const auto src = randomImage<float>({20, 9, 21, 3});
  Image<float> dst({31, 14, 33, 3});
  Image<float> expected(dst);
  ASSERT_EQ(resizeBilinearCPUFLOAT32(src.data(), 9, 20, 21, expected.data(), 14, 31, 33, 3), TAMIX_OK);
  ASSERT_EQ(run(TAMIX_OP_RESIZE_BILINEAR, src.record(Tamix_RGB, Tamix_FLOAT32), dst.record(Tamix_BGR, Tamix_FLOAT32)),
            TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, expected));

  Image<float> positive(src.shape());
  positive.fill([](int32_t y, size_t i) { return static_cast<float>((static_cast<size_t>(y) * 31 + i * 7) % 256); });
  ASSERT_EQ(resizeBilinearCPUFLOAT32(positive.data(), 9, 20, 21, expected.data(), 14, 31, 33, 3), TAMIX_OK);
  Image<uint8_t> bytes(dst.shape());
  Image<uint8_t> expected_bytes(bytes);
  expected_bytes.fill([&](int32_t y, size_t i) { return static_cast<uint8_t>(expected.row(y)[i]); });
  ASSERT_EQ(run(TAMIX_OP_RESIZE_BILINEAR, positive.record(Tamix_RGB, Tamix_FLOAT32), bytes.record(Tamix_RGB, Tamix_UINT8)),
            TAMIX_OK);
  EXPECT_TRUE(sameBytes(bytes, expected_bytes));

  TamixImage five = src.record(Tamix_RGB, Tamix_FLOAT32);
  five.channel = 5;
  EXPECT_EQ(run(TAMIX_OP_RESIZE_BILINEAR, five, dst.record(Tamix_RGB, Tamix_FLOAT32)), TAMIX_ERR_BAD_ARGUMENT);
  TamixImage unused = dst.record(Tamix_RGB, 0);
  unused.data[0] = nullptr;
  EXPECT_EQ(run(TAMIX_OP_RESIZE_BILINEAR, src.record(Tamix_RGB, Tamix_FLOAT32), unused), TAMIX_ERR_INVALID_IMAGE);
}

TEST_F(ResizeOperators, BilinearConvertsFramesToRGB) {
  for (const int32_t from : {Tamix_NV12, Tamix_NV21}) {
    for (const int32_t to : {Tamix_RGB, Tamix_BGR}) {
      const auto luma = randomImage<uint8_t>({40, 20, 46, 1}, 1);
      const auto chroma = randomImage<uint8_t>({20, 10, 23, 2}, 2);
      Image<uint8_t> dst({26, 14, 27, 3});
      Image<uint8_t> expected(dst);
      const auto kernel = to == Tamix_RGB ? resizeBilinearNV21toRGBCPUUINT8 : resizeBilinearNV21toBGRCPUUINT8;
      ASSERT_EQ(kernel(luma.data(), chroma.data(), from == Tamix_NV21, 20, 40, 46, expected.data(), 14, 26, 27, 2), TAMIX_OK);
      TamixImage src = luma.record(from, Tamix_UINT8);
      src.data[1] = chroma.data();
      ASSERT_EQ(run(TAMIX_OP_RESIZE_BILINEAR, src, dst.record(to, Tamix_UINT8)), TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, expected));
    }
  }
}

}  // namespace
}  // namespace tamix::test
