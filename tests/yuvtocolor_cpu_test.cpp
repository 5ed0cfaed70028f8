// YUVToColorCPU through the entry points: which kernel runs, and what is refused.
#include <algorithm>

#include "tamix/kernels.h"
#include "tests/support/refusals.h"
#include "tests/support/yuv_frame.h"

namespace tamix::test {
namespace {

class YUVToColorCPU : public ::testing::Test {
 protected:
  // A record of the frame in one of the three layouts and of a packed image in `to`.
  TamixParams record(const Image<uint8_t>& y, const Image<uint8_t>& second, const Image<uint8_t>& third, int32_t format,
                     const Image<uint8_t>& dst, int32_t to) const {
    TamixParams params;
    initTamixParams(&params);
    params.input[0] = y.record(format, Tamix_UINT8);
    params.input[0].channel = 0;
    params.input[0].data[1] = second.data();
    params.input[0].data[2] = third.data();
    params.output[0] = dst.record(to, Tamix_UINT8);
    return params;
  }
  int32_t run(TamixParams& params) const { return operator_.run(params); }

  static constexpr FrameShape kShape = {46, 6, 52, 50};
  const Image<uint8_t> y_ = cameraPlane(kShape.luma(), 1);
  const Image<uint8_t> pairs_ = cameraPlane(kShape.pairs(), 2);
  const Image<uint8_t> u_ = cameraPlane(kShape.chroma(), 3);
  const Image<uint8_t> v_ = cameraPlane(kShape.chroma(), 4);

 private:
  const RunningOperator operator_{TAMIX_OP_YUV_TO_COLOR};
};

TEST_F(YUVToColorCPU, RunsTheKernelOfTheFormats) {
  const auto two_plane = [&](auto kernel) {
    return [&, kernel](uint8_t* to) { kernel(y_.data(), pairs_.data(), to, kShape.width, kShape.height, 52, 50); };
  };
  const auto planar = [&](auto kernel) {
    return [&, kernel](uint8_t* to) { kernel(y_.data(), u_.data(), v_.data(), to, kShape.width, kShape.height, 52, 50); };
  };
  const auto expectSame = [&](int32_t format, int32_t to, auto kernel) {
    const Image<uint8_t> dst(kShape.packed()), expected(kShape.packed());
    const bool i420 = format == Tamix_I420;
    TamixParams params = record(y_, i420 ? u_ : pairs_, v_, format, dst, to);
    const LogCapture log;
    EXPECT_EQ(run(params), TAMIX_OK);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"YUVToColorCPUUINT8 forward"});
    kernel(expected.data());
    EXPECT_TRUE(sameBytes(dst, expected)) << format << " to " << to;
  };
  expectSame(Tamix_NV21, Tamix_RGB, two_plane(NV21ToRGBCPUUINT8));
  expectSame(Tamix_NV21, Tamix_BGR, two_plane(NV21ToBGRCPUUINT8));
  expectSame(Tamix_NV12, Tamix_RGB, two_plane(NV12ToRGBCPUUINT8));
  expectSame(Tamix_NV12, Tamix_BGR, two_plane(NV12ToBGRCPUUINT8));
  expectSame(Tamix_I420, Tamix_RGB, planar(I420ToRGBCPUUINT8));
  expectSame(Tamix_I420, Tamix_BGR, planar(I420ToBGRCPUUINT8));
}

TEST_F(YUVToColorCPU, LeavesTheRestOfALargerOutputAlone) {
  Shape larger = kShape.packed();
  larger.height += 2;
  larger.width += 3;
  const Image<uint8_t> dst(larger), expected(larger);
  TamixParams params = record(y_, pairs_, v_, Tamix_NV21, dst, Tamix_RGB);
  EXPECT_EQ(run(params), TAMIX_OK);
  NV21ToRGBCPUUINT8(y_.data(), pairs_.data(), expected.data(), kShape.width, kShape.height, 52, 50);
  EXPECT_TRUE(sameBytes(dst, expected));
}

TEST_F(YUVToColorCPU, RefusesInOrder) {
  const Image<uint8_t> dst(kShape.packed());
  const char function[] = "YUVToColorCPUUINT8";
  const auto format = [](int value) { return "Recieve unsupported format: " + std::to_string(value); };
  expectRefusals(
      TAMIX_OP_YUV_TO_COLOR, "runtime/cpu/op/yuvtocolor_cpu.cpp", record(y_, pairs_, v_, Tamix_NV12, dst, Tamix_RGB),
      {{"float input before formats", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.output[0].format = Tamix_GRAY; },
        "Recieve unsupported data type: 8"},
       {"output format", [](auto& p) { p.output[0].format = 3; }, format(Tamix_NV12), function},
       {"output format of I420", [](auto& p) { p.input[0].format = Tamix_I420, p.output[0].format = Tamix_RGBA; },
        format(Tamix_I420), function},
       {"input format", [](auto& p) { p.input[0].format = Tamix_GRAY; }, format(Tamix_GRAY), function},
       {"lower output", [](auto& p) { p.output[0].height = p.output[0].height_stride = 4; },
        "Recieve unsupported input and output shape: (6, 46) and (4, 46)", function},
       {"narrower output", [](auto& p) { p.output[0].width = 45; },
        "Recieve unsupported input and output shape: (6, 46) and (6, 45)", function},
       {"odd NV12 height where the output has no type", [](auto& p) { p.input[0].height = 5, p.output[0].type = 0; },
        "recieved illegal input shape [5x46].", function, TAMIX_ERR_ILLEGAL_SHAPE},
       {"I420 without V", [](auto& p) { p.input[0].format = Tamix_I420, p.input[0].data[2] = nullptr; },
        "Recieved null data pointer", "I420ToRGBCPUUINT8", TAMIX_ERR_INVALID_IMAGE,
        "runtime/cpu/arm/uint8/i420tocolor3_cpu_uint8.cpp"}});
}

}  // namespace
}  // namespace tamix::test
