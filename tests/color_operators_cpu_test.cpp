// What the colour operators refuse, in which order and in which words, and that they hand records to the right kernels.
#include <gtest/gtest.h>

#include "tamix/kernels.h"
#include "tamix/tamix.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/refusals.h"

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

// A record that works has planes of these formats; of refused ones nothing is written.
void expectRefusals(int32_t type, const char* name, int32_t src_format, int32_t src_channel, int32_t dst_format,
                    int32_t dst_channel, const std::vector<Refusal>& refusals) {
  const Planes planes;
  TamixParams served = recordOf(planes.src, planes.dst);
  served.input[0] = imageOf(planes.src, src_format, src_channel);
  served.output[0] = imageOf(planes.dst, dst_format, dst_channel);
  served.output[0].data[1] = planes.chroma.data();
  expectRefusals(type, std::string("runtime/cpu/op/") + name + "_cpu.cpp", served, refusals);
}

const auto kFloatInput = [](TamixParams& p) { p.input[0].type = Tamix_FLOAT32; };
const auto kShortOutput = [](TamixParams& p) { p.output[0].height = p.output[0].height_stride = kHeight - 2; };
const char kShapes[] = "Recieve unsupported input and output shape: (4, 16) and (2, 16)";

TEST(ColorToYUVCPU, Refuses) {
  expectRefusals(
      TAMIX_OP_COLOR_TO_YUV, "colortoyuv", Tamix_RGB, 3, Tamix_NV12, 1,
      {{"float before formats", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.output[0].format = Tamix_RGB; },
        "Recieve unsupported data type: 8"},
       {"output format", [](auto& p) { p.output[0].format = Tamix_I420; }, "Recieve unsupported format: 2",
        "colorToYUVCPUUINT8"},
       {"input format", [](auto& p) { p.input[0].format = Tamix_RGBA; }, "Recieve unsupported format: 7", "colorToYUVCPUUINT8"},
       {"BGR to another format", [](auto& p) { p.input[0].format = Tamix_BGR, p.output[0].format = Tamix_GRAY; },
        "Recieve unsupported format: 1", "colorToYUVCPUUINT8"},
       {"output of fewer rows", kShortOutput, kShapes, "colorToYUVCPUUINT8"},
       {"room for luma, but not for chroma",
        [](auto& p) { p.output[0].width = p.output[0].width_stride = 2, p.output[0].height = p.output[0].height_stride = 12; },
        "Recieve unsupported input and output shape: (4, 16) and (12, 2)", "colorToYUVCPUUINT8"},
       {"room for all of an odd row's chroma but its last byte",
        [](auto& p) {
          p.input[0].width = 9, p.input[0].height = 2, p.output[0].width = p.output[0].height = p.output[0].height_stride = 4,
          p.output[0].width_stride = 5;
        },
        "Recieve unsupported input and output shape: (2, 9) and (4, 4)", "colorToYUVCPUUINT8"}});
}

TEST(ColorToGrayCPU, Refuses) {
  expectRefusals(
      TAMIX_OP_COLOR_TO_GRAY, "colortogray", Tamix_RGBA, 4, Tamix_GRAY, 1,
      {{"shape first", [](auto& p) { p.output[0].width = 15, p.output[0].channel = 2, p.input[0].type = Tamix_FLOAT32; },
        "Recieve unsupported input and output shape: (4, 16) and (4, 15)"},
       {"height", [](auto& p) { p.output[0].height = 3; }, "Recieve unsupported input and output shape: (4, 16) and (3, 16)"},
       {"channel before type", [](auto& p) { p.output[0].channel = 3, p.input[0].type = Tamix_FLOAT32; },
        "Recieve unsupported output channel: 3"},
       {"type before formats", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.output[0].format = Tamix_RGB; },
        "Recieve unsupported data type: 8"},
       {"output format before input format", [](auto& p) { p.input[0].format = Tamix_LAB, p.output[0].format = Tamix_RGB; },
        "Recieve unsupported dst format: 2", "ColorToGrayCPUUINT8"},
       {"input format", [](auto& p) { p.input[0].format = Tamix_GRAY; }, "Recieve unsupported src format: 9",
        "ColorToGrayCPUUINT8"}});
}

TEST(ColorToHSVCPU, Refuses) {
  expectRefusals(
      TAMIX_OP_COLOR_TO_HSV, "colortohsv", Tamix_RGBA, 4, Tamix_RGB, 3,
      {{"type before format", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.input[0].format = Tamix_RGB; },
        "Recieve unsupported data type: 8"},
       {"input format", [](auto& p) { p.input[0].format = Tamix_RGB; }, "Recieve unsupported format: 2", "colorToHSVCPUUINT8"},
       {"output of fewer rows", kShortOutput, kShapes, "colorToHSVCPUUINT8"}});
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

// An unused output slot is not checked before.
const auto kOddStrides = [](TamixParams& p) {
  p.output[0].type = 0;
  p.input[0].width_stride = 17;
  p.output[0].width_stride = 15;
};

TEST(Color3ToColor4CPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR3_TO_COLOR4, "color3tocolor4", Tamix_BGR, 3, Tamix_BGRA, 4,
                 {{"type", kFloatInput, "Recieve unsupported data type: 8"},
                  {"strides", kOddStrides, "Recieve unsupported stride: 17 15", "color3ToColor4CPUUINT8"},
                  {"output of fewer rows", kShortOutput, kShapes, "color3ToColor4CPUUINT8"}});
}

TEST(Color4ToColor3CPU, Refuses) {
  expectRefusals(TAMIX_OP_COLOR4_TO_COLOR3, "color4tocolor3", Tamix_BGRA, 4, Tamix_RGB, 3,
                 {{"type", kFloatInput, "Recieve unsupported data type: 8"},
                  {"strides before formats", [](auto& p) { kOddStrides(p), p.output[0].format = Tamix_GRAY; },
                   "Recieve unsupported stride: 17 15", "color4ToColor3CPUUINT8"},
                  {"output format", [](auto& p) { p.output[0].format = Tamix_RGBA; }, "Recieve unsupported format: 4 7",
                   "color4ToColor3CPUUINT8"},
                  {"input format", [](auto& p) { p.input[0].format = Tamix_BGR; }, "Recieve unsupported format: 1 2",
                   "color4ToColor3CPUUINT8"},
                  {"output of fewer rows", kShortOutput, kShapes, "color4ToColor3CPUUINT8"}});
}

TEST(ColorToLabCPU, Refuses) {
  expectRefusals(
      TAMIX_OP_COLOR_TO_LAB, "colortolab", Tamix_RGB, 3, Tamix_LAB, 3,
      {{"type", kFloatInput, "Recieve unsupported data type: 8"},
       {"output format before input format", [](auto& p) { p.input[0].format = Tamix_BGR, p.output[0].format = Tamix_RGB; },
        "Recieve unsupported dst format: 2", "ColorToLabCPUUINT8"},
       {"input format", [](auto& p) { p.input[0].format = Tamix_BGR; }, "Recieve unsupported src format: 1",
        "ColorToLabCPUUINT8"},
       {"output of fewer rows", kShortOutput, kShapes, "ColorToLabCPUUINT8"}});
}

TEST(LabToColorCPU, Refuses) {
  expectRefusals(
      TAMIX_OP_LAB_TO_COLOR, "labtocolor", Tamix_LAB, 3, Tamix_RGB, 3,
      {{"channels first", [](auto& p) { p.output[0].channel = 4, p.output[0].width = 15, p.input[0].type = Tamix_FLOAT32; },
        "Recieve unsupported input and output channel: 3, 4"},
       {"shape before type", [](auto& p) { p.output[0].width = 15, p.input[0].type = Tamix_FLOAT32; },
        "Recieve unsupported input and output shape: (4, 16) and (4, 15)"},
       {"type before formats", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.input[0].format = Tamix_RGB; },
        "Recieve unsupported data type: 8"},
       {"input format before output format", [](auto& p) { p.input[0].format = Tamix_RGB, p.output[0].format = Tamix_BGR; },
        "Recieve unsupported src format: 2", "LabToColorCPUUINT8"},
       {"output format", [](auto& p) { p.output[0].format = Tamix_BGR; }, "Recieve unsupported dst format: 1",
        "LabToColorCPUUINT8"}});
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
