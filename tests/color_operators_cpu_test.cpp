// What the colour operators refuse, in which order and in which words, and that they hand records to the right kernels.
#include <gtest/gtest.h>

#include <functional>

#include "tamix/kernels.h"
#include "tamix/tamix.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/operator_run.h"

namespace tamix::test {
namespace {

// 16 x 4 pixels; planes big enough for every format.
constexpr int32_t kWidth = 16;
constexpr int32_t kHeight = 4;

constexpr Shape kShape = {kWidth, kHeight, kWidth, 4};
constexpr Shape kChromaShape = {kWidth, kHeight, kWidth, 1};

struct Planes {
  Image<uint8_t> src = randomImage<uint8_t>(kShape);
  Image<uint8_t> dst = randomImage<uint8_t>(kShape, 2);
  Image<uint8_t> chroma = randomImage<uint8_t>(kChromaShape, 3);
};

TamixImage imageOf(const Image<uint8_t>& plane, int32_t format, int32_t channel) {
  TamixImage image = plane.record(format, Tamix_UINT8);
  image.channel = channel;
  return image;
}

struct Refusal {
  const char* what;
  std::function<void(TamixImage& src, TamixImage& dst)> change;
  const char* function;
  const char* message;
};

// Every change of a record that works is refused with one line, and nothing is written.
void expectRefusals(int32_t type, const char* file, int32_t src_format, int32_t src_channel, int32_t dst_format,
                    int32_t dst_channel, const std::vector<Refusal>& refusals) {
  const RunningOperator color(type);
  const Planes planes;
  const auto prepare = [&] {
    TamixParams params = recordOf(planes.src, planes.dst);
    params.input[0] = imageOf(planes.src, src_format, src_channel);
    params.output[0] = imageOf(planes.dst, dst_format, dst_channel);
    params.output[0].data[1] = planes.chroma.data();
    return params;
  };
  const Planes untouched;
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.what);
    TamixParams params = prepare();
    refusal.change(params.input[0], params.output[0]);
    LogCapture log;
    EXPECT_EQ(color.run(params), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(std::string("runtime/cpu/op/") + file + "_cpu.cpp",
                                                               refusal.function, refusal.message)});
    EXPECT_TRUE(sameBytes(planes.dst, untouched.dst));
    EXPECT_TRUE(sameBytes(planes.chroma, untouched.chroma));
  }
  TamixParams params = prepare();
  LogCapture log;
  EXPECT_EQ(color.run(params), TAMIX_OK);
  EXPECT_TRUE(log.errors().empty());
}

const auto kFloatInput = [](TamixImage& src, TamixImage&) { src.type = Tamix_FLOAT32; };
const auto kShortOutput = [](TamixImage&, TamixImage& dst) { dst.height = dst.height_stride = kHeight - 2; };
const char kShapes[] = "Recieve unsupported input and output shape: (4, 16) and (2, 16)";

TEST(ColorToYUVCPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR_TO_YUV, "colortoyuv", Tamix_RGB, 3, Tamix_NV12, 1,
                 {{"float before formats",
                   [](TamixImage& src, TamixImage& dst) {
                     src.type = Tamix_FLOAT32;
                     dst.format = Tamix_RGB;
                   },
                   "forward", "Recieve unsupported data type: 8"},
                  {"output format", [](TamixImage&, TamixImage& dst) { dst.format = Tamix_I420; }, "colorToYUVCPUUINT8",
                   "Recieve unsupported format: 2"},
                  {"input format", [](TamixImage& src, TamixImage&) { src.format = Tamix_RGBA; }, "colorToYUVCPUUINT8",
                   "Recieve unsupported format: 7"},
                  {"BGR to another format",
                   [](TamixImage& src, TamixImage& dst) {
                     src.format = Tamix_BGR;
                     dst.format = Tamix_GRAY;
                   },
                   "colorToYUVCPUUINT8", "Recieve unsupported format: 1"},
                  {"output of fewer rows", kShortOutput, "colorToYUVCPUUINT8", kShapes},
                  {"room for luma, but not for chroma",
                   [](TamixImage&, TamixImage& dst) {
                     dst.width = dst.width_stride = 2;
                     dst.height = dst.height_stride = 12;
                   },
                   "colorToYUVCPUUINT8", "Recieve unsupported input and output shape: (4, 16) and (12, 2)"},
                  {"room for all of an odd row's chroma but its last byte",
                   [](TamixImage& src, TamixImage& dst) {
                     src.width = 9;
                     src.height = 2;
                     dst.width = dst.height = dst.height_stride = 4;
                     dst.width_stride = 5;
                   },
                   "colorToYUVCPUUINT8", "Recieve unsupported input and output shape: (2, 9) and (4, 4)"}});
}

TEST(ColorToGrayCPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR_TO_GRAY, "colortogray", Tamix_RGBA, 4, Tamix_GRAY, 1,
                 {{"shape first",
                   [](TamixImage& src, TamixImage& dst) {
                     dst.width = 15;
                     dst.channel = 2;
                     src.type = Tamix_FLOAT32;
                   },
                   "forward", "Recieve unsupported input and output shape: (4, 16) and (4, 15)"},
                  {"height", [](TamixImage&, TamixImage& dst) { dst.height = 3; }, "forward",
                   "Recieve unsupported input and output shape: (4, 16) and (3, 16)"},
                  {"channel before type",
                   [](TamixImage& src, TamixImage& dst) {
                     dst.channel = 3;
                     src.type = Tamix_FLOAT32;
                   },
                   "forward", "Recieve unsupported output channel: 3"},
                  {"type before formats",
                   [](TamixImage& src, TamixImage& dst) {
                     src.type = Tamix_FLOAT32;
                     dst.format = Tamix_RGB;
                   },
                   "forward", "Recieve unsupported data type: 8"},
                  {"output format before input format",
                   [](TamixImage& src, TamixImage& dst) {
                     src.format = Tamix_LAB;
                     dst.format = Tamix_RGB;
                   },
                   "ColorToGrayCPUUINT8", "Recieve unsupported dst format: 2"},
                  {"input format", [](TamixImage& src, TamixImage&) { src.format = Tamix_GRAY; }, "ColorToGrayCPUUINT8",
                   "Recieve unsupported src format: 9"}});
}

TEST(ColorToHSVCPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR_TO_HSV, "colortohsv", Tamix_RGBA, 4, Tamix_RGB, 3,
                 {{"type before format",
                   [](TamixImage& src, TamixImage&) {
                     src.type = Tamix_FLOAT32;
                     src.format = Tamix_RGB;
                   },
                   "forward", "Recieve unsupported data type: 8"},
                  {"input format", [](TamixImage& src, TamixImage&) { src.format = Tamix_RGB; }, "colorToHSVCPUUINT8",
                   "Recieve unsupported format: 2"},
                  {"output of fewer rows", kShortOutput, "colorToHSVCPUUINT8", kShapes}});
}

// The kernel refuses strides, with a line of its own, before an output of fewer rows could matter.
TEST(ColorToHSVCPU, RefusesPaddedRows) {
  const RunningOperator color(TAMIX_OP_COLOR_TO_HSV);
  const Planes planes;
  for (const bool pad_src : {true, false}) {
    TamixParams params = recordOf(planes.src, planes.dst, Tamix_BGRA);
    params.output[0].height = 1;
    (pad_src ? params.input[0] : params.output[0]).width_stride = 20;
    LogCapture log;
    EXPECT_EQ(color.run(params), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine("runtime/cpu/arm/uint8/color4tohsv_cpu_uint8.cpp",
                                                               "Color4ToHSVUINT8Neon", "width stride is not supported.")});
  }
}

TEST(ColorToHSVCPU, IsNotRegisteredWithoutMemoryForItsTables) {
  TamixConfig config;
  initTamixConfig(&config);
  config.perf_level = -1;
  TamixHandle handle = nullptr;
  ASSERT_EQ(initTamix(&handle, &config), TAMIX_OK);
  for (const int64_t failing : {0, 1}) {
    LogCapture log;
    int32_t status;
    {
      const FailingMemalign failure(failing);
      status = registTamixOperator(handle, TAMIX_OP_COLOR_TO_HSV);
      EXPECT_TRUE(failure.struck());
    }
    EXPECT_EQ(status, TAMIX_ERR_CREATE_OPERATOR);
    ASSERT_EQ(log.errors().size(), 2u);
    EXPECT_EQ(log.errors()[0], errorLine("runtime/cpu/op/colortohsv_cpu.cpp", "ColorToHSVCPU", "failed to allocate memory"));
  }
  EXPECT_EQ(registTamixOperator(handle, TAMIX_OP_COLOR_TO_HSV), TAMIX_OK);
  releaseTamix(&handle);
}

const auto kOddStrides = [](TamixImage& src, TamixImage& dst) {
  // An unused output slot is not checked before.
  dst.type = 0;
  src.width_stride = 17;
  dst.width_stride = 15;
};

TEST(Color3ToColor4CPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR3_TO_COLOR4, "color3tocolor4", Tamix_BGR, 3, Tamix_BGRA, 4,
                 {{"type", kFloatInput, "forward", "Recieve unsupported data type: 8"},
                  {"strides", kOddStrides, "color3ToColor4CPUUINT8", "Recieve unsupported stride: 17 15"},
                  {"output of fewer rows", kShortOutput, "color3ToColor4CPUUINT8", kShapes}});
}

TEST(Color4ToColor3CPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR4_TO_COLOR3, "color4tocolor3", Tamix_BGRA, 4, Tamix_RGB, 3,
                 {{"type", kFloatInput, "forward", "Recieve unsupported data type: 8"},
                  {"strides before formats",
                   [](TamixImage& src, TamixImage& dst) {
                     kOddStrides(src, dst);
                     dst.format = Tamix_GRAY;
                   },
                   "color4ToColor3CPUUINT8", "Recieve unsupported stride: 17 15"},
                  {"output format", [](TamixImage&, TamixImage& dst) { dst.format = Tamix_RGBA; }, "color4ToColor3CPUUINT8",
                   "Recieve unsupported format: 4 7"},
                  {"input format", [](TamixImage& src, TamixImage&) { src.format = Tamix_BGR; }, "color4ToColor3CPUUINT8",
                   "Recieve unsupported format: 1 2"},
                  {"output of fewer rows", kShortOutput, "color4ToColor3CPUUINT8", kShapes}});
}

TEST(ColorToLabCPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR_TO_LAB, "colortolab", Tamix_RGB, 3, Tamix_LAB, 3,
                 {{"type", kFloatInput, "forward", "Recieve unsupported data type: 8"},
                  {"output format before input format",
                   [](TamixImage& src, TamixImage& dst) {
                     src.format = Tamix_BGR;
                     dst.format = Tamix_RGB;
                   },
                   "ColorToLabCPUUINT8", "Recieve unsupported dst format: 2"},
                  {"input format", [](TamixImage& src, TamixImage&) { src.format = Tamix_BGR; }, "ColorToLabCPUUINT8",
                   "Recieve unsupported src format: 1"},
                  {"output of fewer rows", kShortOutput, "ColorToLabCPUUINT8", kShapes}});
}

TEST(LabToColorCPU, Refuses) {
  expectRefusals(TAMIX_OP_LAB_TO_COLOR, "labtocolor", Tamix_LAB, 3, Tamix_RGB, 3,
                 {{"channels first",
                   [](TamixImage& src, TamixImage& dst) {
                     dst.channel = 4;
                     dst.width = 15;
                     src.type = Tamix_FLOAT32;
                   },
                   "forward", "Recieve unsupported input and output channel: 3, 4"},
                  {"shape before type",
                   [](TamixImage& src, TamixImage& dst) {
                     dst.width = 15;
                     src.type = Tamix_FLOAT32;
                   },
                   "forward", "Recieve unsupported input and output shape: (4, 16) and (4, 15)"},
                  {"type before formats",
                   [](TamixImage& src, TamixImage&) {
                     src.type = Tamix_FLOAT32;
                     src.format = Tamix_RGB;
                   },
                   "forward", "Recieve unsupported data type: 8"},
                  {"input format before output format",
                   [](TamixImage& src, TamixImage& dst) {
                     src.format = Tamix_RGB;
                     dst.format = Tamix_BGR;
                   },
                   "LabToColorCPUUINT8", "Recieve unsupported src format: 2"},
                  {"output format", [](TamixImage&, TamixImage& dst) { dst.format = Tamix_BGR; }, "LabToColorCPUUINT8",
                   "Recieve unsupported dst format: 1"}});
}

// One pixel, (100, 150, 200) as R, G, B in the input's order, through each pair of formats.
struct Conversion {
  const char* what;
  int32_t type, src_format, dst_format;
  std::vector<uint8_t> pixel, converted;
};

TEST(ColorOperators, ReadAndWriteTheFormatsOrder) {
  const Conversion conversions[] = {
      {"gray", TAMIX_OP_COLOR_TO_GRAY, Tamix_RGB, Tamix_GRAY, {100, 150, 200}, {141}},
      {"gray", TAMIX_OP_COLOR_TO_GRAY, Tamix_BGR, Tamix_GRAY, {200, 150, 100}, {141}},
      {"gray", TAMIX_OP_COLOR_TO_GRAY, Tamix_RGBA, Tamix_GRAY, {100, 150, 200, 9}, {141}},
      {"gray", TAMIX_OP_COLOR_TO_GRAY, Tamix_BGRA, Tamix_GRAY, {200, 150, 100, 9}, {141}},
      {"HSV", TAMIX_OP_COLOR_TO_HSV, Tamix_RGBA, Tamix_RGB, {10, 20, 30, 9}, {105, 170, 30}},
      {"HSV", TAMIX_OP_COLOR_TO_HSV, Tamix_BGRA, Tamix_RGB, {30, 20, 10, 9}, {105, 170, 30}},
      {"3 to 4", TAMIX_OP_COLOR3_TO_COLOR4, Tamix_BGR, Tamix_RGBA, {1, 2, 3}, {1, 2, 3, 0}},
      {"4 to 3", TAMIX_OP_COLOR4_TO_COLOR3, Tamix_RGBA, Tamix_BGR, {1, 2, 3, 4}, {3, 2, 1}},
      {"4 to 3", TAMIX_OP_COLOR4_TO_COLOR3, Tamix_RGBA, Tamix_RGB, {1, 2, 3, 4}, {1, 2, 3}},
      {"4 to 3", TAMIX_OP_COLOR4_TO_COLOR3, Tamix_BGRA, Tamix_BGR, {1, 2, 3, 4}, {1, 2, 3}},
      {"4 to 3", TAMIX_OP_COLOR4_TO_COLOR3, Tamix_BGRA, Tamix_RGB, {1, 2, 3, 4}, {3, 2, 1}},
      {"to Lab", TAMIX_OP_COLOR_TO_LAB, Tamix_RGB, Tamix_LAB, {255, 255, 255}, {255, 128, 128}},
      {"from Lab", TAMIX_OP_LAB_TO_COLOR, Tamix_LAB, Tamix_RGB, {0, 128, 128}, {0, 0, 0}},
  };
  for (const Conversion& c : conversions) {
    SCOPED_TRACE(testing::Message() << c.what << " " << c.src_format << " to " << c.dst_format);
    const RunningOperator color(c.type);
    Image<uint8_t> src({1, 1, 1, static_cast<int32_t>(c.pixel.size())});
    Image<uint8_t> dst({1, 1, 1, static_cast<int32_t>(c.converted.size())});
    src.fill([&](int32_t, size_t i) { return c.pixel[i]; });
    TamixParams params = recordOf(src, dst, c.src_format);
    params.output[0].format = c.dst_format;
    ASSERT_EQ(color.run(params), TAMIX_OK);
    EXPECT_EQ(std::vector<uint8_t>(dst.data(), dst.data() + dst.elements()), c.converted);
  }
}

TEST(ColorToYUVCPU, PicksTheKernelOfTheFormats) {
  const struct {
    int32_t src_format, dst_format;
    decltype(&RGBToNV12CPUUINT8) kernel;
  } pairs[] = {{Tamix_RGB, Tamix_NV12, RGBToNV12CPUUINT8},
               {Tamix_RGB, Tamix_NV21, RGBToNV21CPUUINT8},
               {Tamix_BGR, Tamix_NV12, BGRToNV12CPUUINT8},
               {Tamix_BGR, Tamix_NV21, BGRToNV21CPUUINT8}};
  for (const auto& pair : pairs) {
    SCOPED_TRACE(testing::Message() << pair.src_format << " to " << pair.dst_format);
    const RunningOperator color(TAMIX_OP_COLOR_TO_YUV);
    // The last row is not converted, so a frame of an even height has room.
    const auto src = randomImage<uint8_t>({17, 5, 19, 3});
    Image<uint8_t> luma({18, 4, 22}), chroma({18, 2, 22}), expected_luma(luma), expected_chroma(chroma);
    ASSERT_EQ(pair.kernel(src.data(), expected_luma.data(), expected_chroma.data(), 17, 5, 19, 22), TAMIX_OK);
    TamixParams params = recordOf(src, luma, pair.src_format);
    params.output[0].format = pair.dst_format;
    params.output[0].data[1] = chroma.data();
    LogCapture log;
    ASSERT_EQ(color.run(params), TAMIX_OK);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"ColorToYUVCPUUINT8 forward"});
    EXPECT_TRUE(sameBytes(luma, expected_luma));
    EXPECT_TRUE(sameBytes(chroma, expected_chroma));
  }
}

}  // namespace
}  // namespace tamix::test
