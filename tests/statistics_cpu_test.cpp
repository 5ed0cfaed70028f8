// The operators over statistics and levels: refusals in their order, what they hand to their kernels, and output types.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>
#include <vector>

#include "tamix/tamix.h"
#include "tests/support/image.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

TamixParams defaults() {
  TamixParams params;
  initTamixParams(&params);
  return params;
}

// --- threshold -------------------------------------------------------------------------------------------------------

TEST(ThresholdCPU, RefusesInOrder) {
  const Image<uint8_t> src({6, 4, 6, 3}), dst({6, 4, 6, 3});
  double t = 10;
  TamixParams valid = defaults();
  valid.input[0] = src.record(Tamix_RGB, Tamix_UINT8);
  valid.output[0] = dst.record(Tamix_RGB, Tamix_UINT8);
  valid.thresh = &t;
  valid.thresh_type = TAMIX_THRESH_BINARY;
  const std::string file = "runtime/cpu/op/threshold_cpu.cpp";
  expectRefusals(TAMIX_OP_THRESHOLD, file, valid,
                 {{"channels first", [](auto& p) { p.output[0].channel = 1, p.output[0].width = 5, p.input[0].type = 5; },
                   "ThresholdCPU dosen't support input channel 3, output channel 1\n"},
                  {"then sizes", [](auto& p) { p.output[0].height = 3, p.input[0].type = 5; },
                   "Recieve unsupported input and output shape: (4, 6) and (3, 6)"},
                  {"then the type", [](auto& p) { p.input[0].type = Tamix_FLOAT32; }, "Recieve unsupported data type: 8"},
                  {"null threshold", [](auto& p) { p.thresh = nullptr; }, "thresholdCPUUINT8 illegal input data",
                   "thresholdCPUUINT8", TAMIX_ERR_UNSUPPORTED, "runtime/cpu/arm/uint8/threshold_cpu_uint8.cpp"}});
}

TEST(ThresholdCPU, HandsItsSettingsOver) {
  const Image<uint8_t> src =
      Image<uint8_t>({20, 3, 23, 3}).fill([](int32_t y, size_t i) { return (i % 3 == 0) ? 200 + y : 50; });
  Image<uint8_t> dst({20, 3, 21, 3});
  Image<uint8_t> expected(dst);
  expected.fill([&](int32_t y, size_t i) { return src.row(y)[i] > 50 ? 77 : 0; });
  double t = 0;
  TamixParams params = defaults();
  params.input[0] = src.record(Tamix_RGB, Tamix_UINT8);
  params.output[0] = dst.record(Tamix_RGB, Tamix_UINT8);
  params.thresh = &t;
  params.thresh_type = TAMIX_THRESH_OTSU;
  params.maxval = 77;
  EXPECT_EQ(RunningOperator(TAMIX_OP_THRESHOLD).run(params), TAMIX_OK);
  EXPECT_EQ(t, 50);
  EXPECT_TRUE(sameBytes(dst, expected));
}

// --- histogram -------------------------------------------------------------------------------------------------------

TamixParams histogramRecord(const Image<uint8_t>& src, void* hist, int32_t bins, int32_t type) {
  TamixParams params = defaults();
  params.input[0] = src.record(src.shape().channel == 3 ? Tamix_RGB : Tamix_GRAY, Tamix_UINT8);
  params.output[0].format = Tamix_GRAY;
  params.output[0].type = type;
  params.output[0].width = bins;
  params.output[0].height = 1;
  params.output[0].data[0] = hist;
  params.hist_dims = src.shape().channel;
  for (int32_t& size : params.hist_size) size = 2;
  return params;
}

TEST(CalcHistCPU, RefusesInOrder) {
  Image<uint8_t> src({6, 4, 6, 3});
  std::vector<uint32_t> hist(8, 7);
  const TamixParams valid = histogramRecord(src, hist.data(), 8, Tamix_FLOAT32);
  const std::string file = "runtime/cpu/op/calchist_cpu.cpp";
  const auto two_dims = [](auto change) {
    return [change](TamixParams& p) {
      p.hist_dims = 2;
      p.input[0].type = 5;
      change(p);
    };
  };
  expectRefusals(
      TAMIX_OP_CALC_HIST, file, valid,
      {{"channel before the sizes of the same dimension", two_dims([](auto& p) { p.hist_channels[1] = 3, p.hist_size[1] = 0; }),
        "Recieve unsupported channel 3 from index 1", "forward", TAMIX_ERR_INVALID_IMAGE},
       {"negative channel", two_dims([](auto& p) { p.hist_channels[0] = -1; }), "Recieve unsupported channel -1 from index 0",
        "forward", TAMIX_ERR_INVALID_IMAGE},
       {"size before the range", two_dims([](auto& p) { p.hist_size[0] = 0, p.hrange_min[0] = 255, p.hist_channels[1] = 9; }),
        "Recieve unsupported hist_size 0 from index 0", "forward", TAMIX_ERR_INVALID_IMAGE},
       {"empty range", two_dims([](auto& p) { p.hrange_min[1] = 255; }),
        "Recieve unsupported hrange_min 255 and hrange_max 255 from index 1", "forward", TAMIX_ERR_INVALID_IMAGE},
       {"then the type", two_dims([](TamixParams&) {}), "Recieve unsupported data type: 5"},
       {"five dimensions", [](auto& p) { p.hist_dims = p.input[0].channel = 5; }, "Recieve unsupported hist_dims 5", "forward",
        TAMIX_ERR_INVALID_IMAGE}});
}

TEST(CalcHistCPU, WritesCountsOrFloats) {
  const Image<uint8_t> src =
      Image<uint8_t>({50, 3, 51, 3}).fill([](int32_t y, size_t i) { return i % 3 == 1 && y == 1 ? 200 : 3; });
  const RunningOperator op(TAMIX_OP_CALC_HIST);
  for (const int32_t type : {int32_t{Tamix_UINT8}, int32_t{Tamix_FLOAT32}, 0}) {
    std::vector<uint32_t> hist(9, 7);
    TamixParams params = histogramRecord(src, hist.data(), 8, type);
    params.hist_channels[0] = 2;  // as many dimensions as channels: each reads its own, whatever the record says
    ASSERT_EQ(op.run(params), TAMIX_OK);
    EXPECT_EQ(params.hist_channels[0], 0);
    EXPECT_EQ(params.hist_channels[3], 3);
    const auto bits = [&](float count) {
      return type == Tamix_FLOAT32 ? std::bit_cast<uint32_t>(count) : static_cast<uint32_t>(count);
    };
    EXPECT_EQ(hist, (std::vector<uint32_t>{bits(100), 0, bits(50), 0, 0, 0, 0, 0, 7}));
  }
}

TEST(CalcHistCPU, CountsAllPixelsWithoutDimensions) {
  const Image<uint8_t> src({5, 3, 5, 1});
  uint32_t count = 0;
  TamixParams params = histogramRecord(src, &count, 1, Tamix_UINT8);
  params.hist_dims = 0;
  EXPECT_EQ(RunningOperator(TAMIX_OP_CALC_HIST).run(params), TAMIX_OK);
  EXPECT_EQ(count, 15u);
}

// --- mean and standard deviation --------------------------------------------------------------------------------------

TEST(MeanSTDCPU, RefusesInOrderAndWritesResults) {
  const Image<uint8_t> src = Image<uint8_t>({6, 4, 6, 3}).fill([](int32_t, size_t i) { return 10 * (i % 3 + 1); });
  std::vector<float> mean(4, -1), std(4, -1);
  TamixParams valid = defaults();
  valid.input[0] = src.record(Tamix_RGB, Tamix_UINT8);
  valid.mean_out = mean.data();
  valid.std_out = std.data();
  const std::string file = "runtime/cpu/op/meanstd_cpu.cpp";
  expectRefusals(
      TAMIX_OP_MEAN_STD, file, valid,
      {{"type first", [](auto& p) { p.input[0].type = 8, p.mean_out = nullptr; }, "Recieve unsupported data type: 8"},
       {"no place for means", [](auto& p) { p.mean_out = nullptr; }, "recieved null mean or std", "meanSTDCPUUINT8",
        TAMIX_ERR_INVALID_IMAGE},
       {"no place for deviations", [](auto& p) { p.std_out = nullptr; }, "recieved null mean or std", "meanSTDCPUUINT8",
        TAMIX_ERR_INVALID_IMAGE},
       {"a frame", [](auto& p) { p.input[0].format = Tamix_I420, p.input[0].channel = 0; }, "recieved unsupported channel 2",
        "meanSTDCPUUINT8", TAMIX_ERR_UNSUPPORTED, "runtime/cpu/arm/uint8/meanstd_cpu_uint8.cpp"}});
  EXPECT_EQ(mean, (std::vector<float>{10, 20, 30, -1}));
  EXPECT_EQ(std, (std::vector<float>{0, 0, 0, -1}));
}

// --- normalization ----------------------------------------------------------------------------------------------------

TamixParams normalizationRecord(const TamixImage& src, const TamixImage& dst) {
  TamixParams params = defaults();
  params.input[0] = src;
  params.output[0] = dst;
  params.mean_value = 2;
  params.std_value = 4;
  return params;
}

TEST(NormalizationCPU, RefusesInOrder) {
  Image<uint8_t> src({6, 4, 6, 3});
  Image<float> dst({6, 4, 6, 3});
  const TamixParams valid = normalizationRecord(src.record(Tamix_RGB, Tamix_UINT8), dst.record(Tamix_RGB, Tamix_FLOAT32));
  const auto floats = [](auto& p) { p.input[0] = p.output[0], p.output[0].type = Tamix_UINT8; };
  expectRefusals(
      TAMIX_OP_NORMALIZATION, "runtime/cpu/op/normalization_cpu.cpp", valid,
      {{"channels first", [](auto& p) { p.output[0].channel = 1, p.output[0].width = 5; },
        "Recieve unsupported input and output channel: 3, 1"},
       {"then sizes", [](auto& p) { p.output[0].width = 5, p.reorder = 2; },
        "Recieve unsupported input and output shape: (4, 6) and (4, 5)"},
       {"then the order", [](auto& p) { p.reorder = 2, p.input[0].type = 5; }, "Recieve unsupported reorder flag: 2"},
       {"a negative order", [](auto& p) { p.reorder = -1; }, "Recieve unsupported reorder flag: -1"},
       {"then the type", [](auto& p) { p.input[0].type = 5; }, "Recieve unsupported data type: 5"},
       {"bytes into bytes", [](auto& p) { p.output[0].type = Tamix_UINT8; }, "Recieve unsupported data format 2 or type: 1",
        "normalizationCPUUINT8"},
       {"floats into bytes", floats, "Recieve unsupported data format 2 or type: 1", "normalizationCPUFLOAT32"}});
}

TEST(NormalizationCPU, ConvertsBytesAlsoWhereTheKernelRefuses) {
  const Image<uint8_t> src = randomImage<uint8_t>({6, 4, 8, 3});
  Image<float> dst({6, 4, 8, 3});
  Image<float> converted(dst);
  converted.fill([&](int32_t y, size_t i) { return src.row(y)[i]; });
  TamixParams params = normalizationRecord(src.record(Tamix_RGB, Tamix_UINT8), dst.record(Tamix_RGB, Tamix_FLOAT32));
  const RunningOperator op(TAMIX_OP_NORMALIZATION);
  LogCapture log;
  const std::vector<std::string> line = {errorLine("runtime/cpu/arm/fp32/normalization_cpu_fp32.cpp", "normalizationCPUFLOAT32",
                                                   "Recieved unsupported channel 3, src_width_stride 8, dst_width_stride 8")};
  const Image<float> before(dst);
  params.reorder = 1;
  EXPECT_EQ(op.run(params), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), line);
  EXPECT_TRUE(sameBytes(dst, before));
  log.clear();
  params.reorder = 0;
  EXPECT_EQ(op.run(params), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), line);
  EXPECT_TRUE(sameBytes(dst, converted));
  // A frame's luma has one channel, whatever the record says.
  params.input[0].format = Tamix_I420;
  params.input[0].channel = params.output[0].channel = 21;
  EXPECT_EQ(op.run(params), TAMIX_ERR_UNSUPPORTED);
  EXPECT_TRUE(sameBytes(dst, converted));
}

TEST(NormalizationCPU, ScalesBytesIntoFloats) {
  const Image<uint8_t> src = randomImage<uint8_t>({21, 4, 21, 3});
  const RunningOperator op(TAMIX_OP_NORMALIZATION);
  for (const int32_t reorder : {0, 1}) {
    Image<float> dst({21, 4, 21, 3});
    Image<float> expected(dst);
    for (size_t i = 0; i < src.elements(); ++i) {
      // Another format: the planes come last channel first.
      expected.data()[reorder == 0 ? i : (2 - i % 3) * 84 + i / 3] =
          (static_cast<float>(src.data()[i]) - static_cast<float>(i % 3)) * (1.0f / 4.0f);
    }
    float mean[3] = {0, 1, 2};
    TamixParams params = normalizationRecord(src.record(Tamix_RGB, Tamix_UINT8), dst.record(Tamix_BGR, Tamix_FLOAT32));
    params.mean = mean;
    params.reorder = reorder;
    LogCapture log;
    ASSERT_EQ(op.run(params), TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, expected)) << reorder;
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"normalizationCPUUINT8 forward", "dataUINT8ToFLOAT32 forward"}));

    // The same where the bytes lie in the output's own memory.
    Image<float> both({21, 4, 21, 3});
    std::memcpy(both.data(), src.data(), src.elements());
    params.input[0].data[0] = both.data();
    params.output[0].data[0] = both.data();
    ASSERT_EQ(op.run(params), TAMIX_OK);
    EXPECT_TRUE(sameBytes(both, expected)) << reorder;
  }
}

TEST(NormalizationCPU, NormalizesFloatsInPlaceForAnOutputWithoutFormat) {
  const Image<float> src = randomImage<float>({9, 4, 9, 3});
  const Image<uint8_t> untouched({9, 4, 9, 3});
  const RunningOperator op(TAMIX_OP_NORMALIZATION);
  for (const int32_t type : {0, int32_t{Tamix_FLOAT32}, int32_t{Tamix_UINT8}}) {
    Image<float> both(src);
    Image<uint8_t> dst(untouched);  // too small for floats
    TamixParams params = normalizationRecord(both.record(Tamix_RGB, Tamix_FLOAT32), dst.record(0, type));
    if (type == 0) params.output[0].data[0] = nullptr;
    ASSERT_EQ(op.run(params), TAMIX_OK);
    Image<float> expected(src);
    for (size_t i = 0; i < src.elements(); ++i) expected.data()[i] = (src.data()[i] - 2.0f) * 0.25f;
    EXPECT_TRUE(sameBytes(both, expected));
    EXPECT_TRUE(sameBytes(dst, untouched));
  }
}

TEST(NormalizationCPU, ReadsNoMoreSettingsThanChannels) {
  const Image<float> src = randomImage<float>({4, 4, 4, 5});
  Image<float> dst(src);
  GuardedBytes settings(4 * sizeof(float));
  std::fill_n(static_cast<float*>(settings.data()), 4, 1.0f);
  TamixParams params = normalizationRecord(src.record(Tamix_RGB, Tamix_FLOAT32), dst.record(Tamix_RGB, Tamix_FLOAT32));
  params.mean = params.std = static_cast<float*>(settings.data());
  EXPECT_EQ(RunningOperator(TAMIX_OP_NORMALIZATION).run(params), TAMIX_ERR_UNSUPPORTED);
}

}  // namespace
}  // namespace tamix::test
