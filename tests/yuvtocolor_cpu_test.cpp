// YUVToColorCPU through the entry points: which kernel runs, and what is refused.
#include <algorithm>

#include "tamix/kernels.h"
#include "tests/support/log_capture.h"
#include "tests/support/yuv_frame.h"

namespace tamix::test {
namespace {

class YUVToColorCPU : public ::testing::Test {
 protected:
  YUVToColorCPU() {
    TamixConfig config{};
    initTamixConfig(&config);
    config.perf_level = -1;  // leave the affinity of the test alone
    EXPECT_EQ(initTamix(&handle_, &config), TAMIX_OK);
    EXPECT_EQ(registTamixOperator(handle_, TAMIX_OP_YUV_TO_COLOR), TAMIX_OK);
  }
  ~YUVToColorCPU() override { releaseTamix(&handle_); }

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
  int32_t run(TamixParams& params) const { return runTamix(handle_, TAMIX_OP_YUV_TO_COLOR, &params); }

  static constexpr FrameShape kShape = {46, 6, 52, 50};
  const Image<uint8_t> y_ = cameraPlane(kShape.luma(), 1);
  const Image<uint8_t> pairs_ = cameraPlane(kShape.pairs(), 2);
  const Image<uint8_t> u_ = cameraPlane(kShape.chroma(), 3);
  const Image<uint8_t> v_ = cameraPlane(kShape.chroma(), 4);

 private:
  TamixHandle handle_ = nullptr;
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
  const std::string operator_file = "runtime/cpu/op/yuvtocolor_cpu.cpp";
  const std::string i420_file = "runtime/cpu/arm/uint8/i420tocolor3_cpu_uint8.cpp";
  const auto format = [&](int value) {
    return errorLine(operator_file, "YUVToColorCPUUINT8", "Recieve unsupported format: " + std::to_string(value));
  };
  const struct {
    const char* what;
    void (*change)(TamixParams&);
    int32_t status;
    std::string line;
  } refusals[] = {
      {"float input before formats",
       [](TamixParams& p) {
         p.input[0].type = Tamix_FLOAT32;
         p.output[0].format = Tamix_GRAY;
       },
       TAMIX_ERR_UNSUPPORTED, errorLine(operator_file, "forward", "Recieve unsupported data type: 8")},
      {"output format", [](TamixParams& p) { p.output[0].format = 3; }, TAMIX_ERR_UNSUPPORTED, format(Tamix_NV12)},
      {"output format of I420",
       [](TamixParams& p) {
         p.input[0].format = Tamix_I420;
         p.output[0].format = Tamix_RGBA;
       },
       TAMIX_ERR_UNSUPPORTED, format(Tamix_I420)},
      {"input format", [](TamixParams& p) { p.input[0].format = Tamix_GRAY; }, TAMIX_ERR_UNSUPPORTED, format(Tamix_GRAY)},
      {"lower output", [](TamixParams& p) { p.output[0].height = p.output[0].height_stride = 4; }, TAMIX_ERR_UNSUPPORTED,
       errorLine(operator_file, "YUVToColorCPUUINT8", "Recieve unsupported input and output shape: (6, 46) and (4, 46)")},
      {"narrower output", [](TamixParams& p) { p.output[0].width = 45; }, TAMIX_ERR_UNSUPPORTED,
       errorLine(operator_file, "YUVToColorCPUUINT8", "Recieve unsupported input and output shape: (6, 46) and (6, 45)")},
      {"odd NV12 height where the output has no type",
       [](TamixParams& p) {
         p.input[0].height = 5;
         p.output[0].type = 0;
       },
       TAMIX_ERR_ILLEGAL_SHAPE, errorLine(operator_file, "YUVToColorCPUUINT8", "recieved illegal input shape [5x46].")},
      {"I420 without V",
       [](TamixParams& p) {
         p.input[0].format = Tamix_I420;
         p.input[0].data[2] = nullptr;
       },
       TAMIX_ERR_INVALID_IMAGE, errorLine(i420_file, "I420ToRGBCPUUINT8", "Recieved null data pointer")},
  };
  const Image<uint8_t> dst(kShape.packed()), untouched(kShape.packed());
  for (const auto& refusal : refusals) {
    SCOPED_TRACE(refusal.what);
    TamixParams params = record(y_, pairs_, v_, Tamix_NV12, dst, Tamix_RGB);
    refusal.change(params);
    const LogCapture log;
    EXPECT_EQ(run(params), refusal.status);
    EXPECT_EQ(log.errors(), std::vector{refusal.line});
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
