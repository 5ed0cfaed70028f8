// Non-zero count, scaled absolute value and overlap fusion as operators: what they hand to their kernels, and what they refuse.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

TEST(CountNonZeroCPU, CountsAGrayImageAndRefusesOthersInOrder) {
  const Image<uint8_t> src = Image<uint8_t>({17, 3, 17}).fill([](int32_t y, size_t i) { return y == 1 ? i : 0; });
  uint32_t count = 99;
  TamixParams params;
  initTamixParams(&params);
  params.input[0] = src.record(Tamix_GRAY, Tamix_UINT8);
  params.nonzero_count = &count;
  const RunningOperator running(TAMIX_OP_COUNT_NON_ZERO);
  LogCapture log;
  EXPECT_EQ(running.run(params), TAMIX_OK);
  EXPECT_EQ(count, 16u);
  EXPECT_EQ(log.messages(), std::vector<std::string>{"countNonZeroCPUUINT8 forward"});

  const std::string op = "runtime/cpu/op/countnonzero_cpu.cpp";
  const std::string kernel = "runtime/cpu/arm/uint8/countnonzero_cpu_uint8.cpp";
  expectRefusals(TAMIX_OP_COUNT_NON_ZERO, op, params,
                 {{"type first", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.input[0].format = Tamix_RGB; },
                   "Recieve unsupported data type: 8"},
                  {"then the format", [](auto& p) { p.input[0].format = Tamix_RGB, p.nonzero_count = nullptr; },
                   "Recieved unsupported format 2", "countNonZeroCPUUINT8"},
                  {"then the pointers", [](auto& p) { p.nonzero_count = nullptr, p.input[0].width_stride = 20; },
                   "Recieved null data pointer", "countNonZeroCPUUINT8", TAMIX_ERR_INVALID_IMAGE, kernel},
                  {"then padding", [](auto& p) { p.input[0].width_stride = 20, p.input[0].channel = 3; },
                   "Recieved unsupported stride 20", "countNonZeroCPUUINT8", TAMIX_ERR_UNSUPPORTED, kernel},
                  {"then channels", [](auto& p) { p.input[0].channel = 3; }, "Recieved unsupported channel",
                   "countNonZeroCPUUINT8", TAMIX_ERR_ILLEGAL_SHAPE, kernel}});
  EXPECT_EQ(count, 16u);
}

TEST(ConvertScaleAbsCPU, ScalesBytesAndFloats) {
  const Shape shape{19, 2, 20, 3};
  const RunningOperator op(TAMIX_OP_CONVERT_SCALE_ABS);
  const Image<uint8_t> bytes = randomImage<uint8_t>(shape);
  const Image<uint8_t> dst(shape);
  TamixParams params = recordOf(bytes, dst);
  params.abs_scale = -2;
  params.offset = 100;
  LogCapture log;
  EXPECT_EQ(op.run(params), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(shape).fill(
                                 [&](int32_t y, size_t i) { return std::min(255, std::abs(100 - 2 * bytes.row(y)[i])); })));
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{"Recieve scale -2.000000 and offset 100.000000", "convertScaleAbsCPUUINT8 forward"}));

  const Image<float> floats = randomImage<float>(shape);
  const Image<float> scaled(shape);
  params.input[0] = floats.record(Tamix_RGB, Tamix_FLOAT32);
  params.output[0] = scaled.record(Tamix_RGB, Tamix_FLOAT32);
  EXPECT_EQ(op.run(params), TAMIX_OK);
  const auto value = [&](int32_t y, size_t i) { return static_cast<float>(static_cast<double>(floats.row(y)[i]) * -2 + 100); };
  EXPECT_TRUE(sameBytes(scaled, Image<float>(shape).fill(value)));

  // An output of bytes has no room for the floats: they are converted on the way.
  const Image<uint8_t> narrow(shape);
  params.output[0] = narrow.record(Tamix_RGB, Tamix_UINT8);
  EXPECT_EQ(op.run(params), TAMIX_OK);
  EXPECT_TRUE(sameBytes(narrow, Image<uint8_t>(shape).fill([&](int32_t y, size_t i) {
    const bool in_block = i < shape.rowElements() / 16 * 16;
    const float x = value(y, i);
    return x < 0 && in_block ? 0 : static_cast<uint8_t>(static_cast<int32_t>(x));
  })));
  const FailingMemalign failing(0, true);
  EXPECT_EQ(op.run(params), TAMIX_ERR_NO_MEMORY);
}

TEST(ConvertScaleAbsCPU, RefusesInOrder) {
  const Image<uint8_t> src({6, 4, 6, 3}), dst({6, 4, 6, 3});
  const std::string op = "runtime/cpu/op/convertscaleabs_cpu.cpp";
  expectRefusals(
      TAMIX_OP_CONVERT_SCALE_ABS, op, recordOf(src, dst),
      {{"channels first", [](auto& p) { p.output[0].channel = 1, p.output[0].width = 5; },
        "Recieve unsupported input and output channel: 3, 1"},
       {"then sizes", [](auto& p) { p.output[0].width = 5, p.input[0].type = 5; },
        "Recieve unsupported input and output shape: (4, 6) and (4, 5)"},
       {"then the type", [](auto& p) { p.input[0].type = 5; }, "Recieve unsupported data type: 5"},
       {"planes apart", [](auto& p) { p.input[0].channel = p.output[0].channel = 2, p.output[0].format = Tamix_I420; },
        "Recieve unsupported data format: 8 with 2 channels"}});
}

TEST(ImageFuseOverlapCPU, WritesTheJoinedImageAndItsSize) {
  const Image<uint8_t> a = randomImage<uint8_t>({10, 5, 10, 3}, 1), b = randomImage<uint8_t>({8, 5, 8, 3}, 2);
  std::vector<float> weights = {1, 1, 0, 0};
  for (const int32_t room : {14, 20}) {
    const Image<uint8_t> dst({room, 5, room, 3});
    TamixParams params = recordOf(a, dst);
    params.input[1] = b.record(Tamix_RGB, Tamix_UINT8);
    params.output[0].height = 3;  // of the 5 that there is room for
    params.fuse_overlap = 4;
    params.fuse_direction = 1;
    params.fuse_weights = weights.data();
    const RunningOperator running(TAMIX_OP_IMAGE_FUSE_OVERLAP);
    LogCapture log;
    EXPECT_EQ(running.run(params), TAMIX_OK);
    EXPECT_EQ(params.output[0].width, 14);
    EXPECT_EQ(params.output[0].height, 5);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"imageFuseOverlapCPUUINT8 forward"});
    for (int32_t y = 0; y < 5; ++y) {
      for (int32_t x = 0; x < 14; ++x) {
        const bool first = x < 6 || (x >= 8 && x < 10);
        for (int32_t c = 0; c < 3; ++c) {
          ASSERT_EQ(dst.data()[(y * 14 + x) * 3 + c], first ? a.at(y, x, c) : b.at(y, x - 6, c)) << y << " " << x;
        }
      }
    }
  }
}

TEST(ImageFuseOverlapCPU, RefusesInOrder) {
  const Image<uint8_t> a({10, 5, 10, 3}), b({8, 5, 8, 3}), dst({14, 5, 14, 3});
  std::vector<float> weights(4);
  TamixParams valid = recordOf(a, dst);
  valid.input[1] = b.record(Tamix_RGB, Tamix_UINT8);
  valid.fuse_overlap = 4;
  valid.fuse_direction = 1;
  valid.fuse_weights = weights.data();
  const std::string op = "runtime/cpu/op/imagefuseoverlap_cpu.cpp";
  const std::string kernel = "runtime/cpu/arm/uint8/imagefuseoverlap_cpu_uint8.cpp";
  const std::string function = "imageFuseOverlapCPUUINT8";
  expectRefusals(
      TAMIX_OP_IMAGE_FUSE_OVERLAP, op, valid,
      {{"type first", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.output[0].channel = 4; },
        "Recieve unsupported data type: 8"},
       {"then channels", [](auto& p) { p.output[0].channel = 4, p.output[0].format = Tamix_BGR; },
        "Recieve unsupported input and output channel: 3, 4"},
       {"of the second image too", [](auto& p) { p.input[1].channel = 1; },
        "Recieve unsupported input and output channel: 3, 3"},
       {"then formats", [](auto& p) { p.output[0].format = Tamix_BGR, p.fuse_weights = nullptr; },
        "Recieve unsupported input and output format: 2, 1"},
       {"then pointers", [](auto& p) { p.fuse_weights = nullptr, p.input[1].height = 4; }, "Recieved null data pointer",
        function, TAMIX_ERR_INVALID_IMAGE, kernel},
       {"then shapes", [](auto& p) { p.input[1].height = 4; },
        "recieve illegal shape: src0_rect: 0, 5, 6, 10 | src1_rect: 0, 4, 0, 4", function, TAMIX_ERR_ILLEGAL_RECT, kernel},
       {"an output that is too small", [](auto& p) { p.output[0].width = p.output[0].width_stride = 13; },
        "the joined image does not fit the output: 5, 13", "forward", TAMIX_ERR_ILLEGAL_RECT},
       {"four channels",
        [](TamixParams& p) {
          for (TamixImage* i : {&p.input[0], &p.input[1], &p.output[0]}) i->channel = 4;
        },
        "Recieve unsupported channel: 4", function, TAMIX_ERR_UNSUPPORTED, kernel}});
}

}  // namespace
}  // namespace tamix::test
