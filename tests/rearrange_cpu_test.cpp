// The operators that move pixels without changing them, through the public entry points: what they accept, in which order they
// refuse, and what an output of the other element type gets.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tamix/tamix.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

template <class T>
constexpr int32_t typeOf() {
  return sizeof(T) == 1 ? Tamix_UINT8 : Tamix_FLOAT32;
}

// A record of one input and one output that some operator accepts, to be spoilt.
class Rearrange : public testing::Test {
 protected:
  TamixParams record(const Shape& from, const Shape& to) {
    TamixParams params;
    initTamixParams(&params);
    images_.push_back(randomImage<float>({from.width, from.height, from.width_stride, from.channel}));
    images_.push_back(Image<float>({to.width, to.height, to.width_stride, to.channel}));
    params.input[0] = images_[images_.size() - 2].record(Tamix_RGB, Tamix_UINT8);
    params.output[0] = images_.back().record(Tamix_RGB, Tamix_UINT8);
    return params;
  }
  void* memory(const Shape& shape) {
    images_.push_back(randomImage<float>(shape));
    return images_.back().data();
  }

 private:
  std::vector<Image<float>> images_;  // floats: room for either element type
};

struct Row {
  std::function<void(TamixParams&)> spoil;
  std::string message;
};

void expectRefusals(int32_t type, const std::string& file, const TamixParams& accepted, const std::vector<Row>& rows) {
  std::vector<Refusal> refusals;
  for (const Row& row : rows) refusals.push_back({row.message.c_str(), row.spoil, row.message});
  expectRefusals(type, "runtime/cpu/op/" + file, accepted, refusals);
}

void setBorders(TamixParams& p, int32_t top, int32_t bottom, int32_t left, int32_t right) {
  const int32_t borders[4] = {top, bottom, left, right};
  std::memcpy(p.border_params, borders, sizeof(borders));
}

TEST_F(Rearrange, CopyMakeBorderRefusesInTheOrderOfItsChecks) {
  TamixParams accepted = record({5, 4, 5, 3}, {8, 7, 8, 3});
  setBorders(accepted, 1, 2, 3, 0);
  expectRefusals(
      TAMIX_OP_COPY_MAKE_BORDER, "copymakeborder_cpu.cpp", accepted,
      {
          {[](TamixParams& p) { p.output[0].channel = 1, p.output[0].width = 7; },
           "Recieve unsupported input and output channel: 3, 1"},
          {[](TamixParams& p) { p.output[0].width = 7, p.input[0].type = 8; }, "Recieve unsupported output shape: 7, 7"},
          {[](TamixParams& p) { p.border_params[1] = 0; }, "Recieve unsupported output shape: 7, 8"},
          {[](TamixParams& p) { p.border_params[2] = INT32_MAX; }, "Recieve unsupported output shape: 7, 8"},
          {[](TamixParams& p) { p.input[0].type = 8, p.geom_border_type = 9; }, "Recieve unsupported data type: 8"},
          {[](TamixParams& p) { p.input[0].format = Tamix_I420; }, "Recieve unsupported data format: 8 with 3 channels"},
      });
}

TEST_F(Rearrange, CopyMakeBorderTakesDefaultsForTypeAndValue) {
  const RunningOperator op(TAMIX_OP_COPY_MAKE_BORDER);
  for (const int32_t type : {-1, 0}) {
    uint8_t src[3] = {'A', 'B', 'C'};
    char dst[8] = "";
    TamixParams params = record({3, 1, 3, 1}, {7, 1, 7, 1});
    setBorders(params, 0, 0, 2, 2);
    params.input[0].data[0] = src;
    params.output[0].data[0] = dst;
    params.geom_border_type = type;
    EXPECT_EQ(op.run(params), TAMIX_OK);
    EXPECT_EQ(std::string(dst, 7), type == -1 ? "CBABCBA" : std::string("\0\0ABC\0\0", 7));
  }
}

TEST_F(Rearrange, RectCutRefusesInTheOrderOfItsChecks) {
  TamixParams accepted = record({9, 8, 10, 3}, {4, 2, 4, 3});
  setBorders(accepted, 1, 3, 2, 6);
  expectRefusals(TAMIX_OP_RECT_CUT, "rectcut_cpu.cpp", accepted,
                 {
                     {[](TamixParams& p) { p.output[0].channel = 1, p.border_params[0] = -1; },
                      "Recieve unsupported input and output channel: 3, 1"},
                     {[](TamixParams& p) { p.border_params[0] = -1; }, "Recieve unsupported border params: -1, 3, 2, 6"},
                     {[](TamixParams& p) { setBorders(p, 3, 3, 2, 6); }, "Recieve unsupported border params: 3, 6"},
                     {[](TamixParams& p) { setBorders(p, 1, 9, 2, 6); }, "Recieve unsupported border params: 9, 6"},
                     {[](TamixParams& p) { setBorders(p, 1, 3, 6, 10); }, "Recieve unsupported border params: 3, 10"},
                     {[](TamixParams& p) { setBorders(p, 1, 3, 7, 6); }, "Recieve unsupported border params: 3, 6"},
                     {[](TamixParams& p) { p.output[0].height = 1, p.input[0].type = 3; },
                      "Recieve border params: 1, 3, 2, 6 not match the output image shape 1, 4"},
                     {[](TamixParams& p) { p.input[0].type = 3; }, "Recieve unsupported data type: 3"},
                 });
}

// Runs a float cut into an output declared 8-bit (without padding or room behind it), and the other way round.
TEST_F(Rearrange, RectCutConvertsWhatTheOutputDeclares) {
  const RunningOperator op(TAMIX_OP_RECT_CUT);
  const Shape from{9, 8, 10, 3};
  const Shape to{6, 3, 7, 3};
  const auto cutOf = [&](const auto& src, const auto& dst) {
    TamixParams params;
    initTamixParams(&params);
    params.input[0] = src.record(Tamix_RGB, typeOf<std::remove_pointer_t<decltype(src.data())>>());
    params.output[0] = dst.record(Tamix_RGB, typeOf<std::remove_pointer_t<decltype(dst.data())>>());
    setBorders(params, 5, 8, 3, 9);
    return op.run(params);
  };
  Image<float> floats(from);
  floats.fill([](int32_t y, size_t i) { return static_cast<float>(y * 20 + static_cast<int32_t>(i) % 20) + 0.75f; });
  const Image<uint8_t> bytes(to);
  Image<uint8_t> expected_bytes(to);
  expected_bytes.fill([](int32_t y, size_t i) { return (y + 5) * 20 + (static_cast<int32_t>(i) + 9) % 20; });
  {
    const LogCapture log;
    EXPECT_EQ(cutOf(floats, bytes), TAMIX_OK);
    EXPECT_TRUE(sameBytes(bytes, expected_bytes));
    // What the framework says when it converts an output.
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"start to data type conversion from 1 to 8 in output image 0.",
                                                        "dataFLOAT32ToUINT8 forward",
                                                        "dataFLOAT32ToUINT8: copy the data to avoid the data conflict"}));
  }
  {
    // The last conversion's status counts; bytes that no kernel wrote stay.
    TamixParams params;
    initTamixParams(&params);
    params.input[0] = floats.record(Tamix_RGB, Tamix_FLOAT32);
    params.output[0] = bytes.record(Tamix_RGB, Tamix_UINT8);
    params.output[1] = params.output[2] = bytes.record(Tamix_RGB, Tamix_UINT8);
    params.output[2].type = 3;
    setBorders(params, 5, 8, 3, 9);
    const LogCapture log;
    EXPECT_EQ(op.run(params), TAMIX_ERR_UNSUPPORTED);
    EXPECT_TRUE(sameBytes(bytes, expected_bytes));
    EXPECT_EQ(log.errors(), std::vector<std::string>{
                                errorLine("core/operator.cpp", "dataTypeInputToOutput", "recieved unsupported type 8 and 3.")});
  }
  {
    const LogCapture log;
    const FailingMemalign failing(0);
    EXPECT_EQ(cutOf(floats, bytes), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(log.errors().size(), 1u);
  }

  const auto src = randomImage<uint8_t>(from);
  const Image<float> dst({6, 3, 6, 3});
  Image<float> expected({6, 3, 6, 3});
  expected.fill([&](int32_t y, size_t i) { return src.row(y + 5)[i + 9]; });
  EXPECT_EQ(cutOf(src, dst), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, expected));
}

TEST_F(Rearrange, ConcatRefusesInTheOrderOfItsChecks) {
  TamixParams beside = record({4, 3, 4, 3}, {8, 3, 8, 3});
  beside.input[1] = beside.input[0];
  beside.op_mode = 0;
  const auto unequal = [](TamixParams& p) { p.input[1].format = Tamix_BGR, p.op_mode = 7; };
  expectRefusals(
      TAMIX_OP_CONCAT, "concat_cpu.cpp", beside,
      {
          {unequal, "Recieve unequal format 1 and channel 3 from image 1"},
          {[](TamixParams& p) { p.input[1].channel = 1; }, "Recieve unequal format 2 and channel 1 from image 1"},
          {[](TamixParams& p) { p.op_mode = -1; }, "Recieve unsupported concat flag: -1"},
          {[](TamixParams& p) { p.input[1].height = 2, p.output[0].type = 8; }, "Recieve unequal height: 2 from image 1"},
          {[](TamixParams& p) { p.op_mode = 1; }, "Recieve unequal width: 4 from image 0"},
          {[](TamixParams& p) { p.output[0].type = 8; }, "Recieve unsupported data type: 8"},
          {[](TamixParams& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"},
      });
}

TEST_F(Rearrange, ConcatJoinsTheLeadingImagesWithPackedRows) {
  const RunningOperator op(TAMIX_OP_CONCAT);
  const uint8_t first[] = {1, 2, 3, 4, 99, 99};
  const uint8_t second[] = {5, 6};
  uint8_t joined[7] = {};
  TamixParams params = record({2, 2, 2, 1}, {3, 2, 3, 1});
  params.input[0].data[0] = const_cast<uint8_t*>(first);
  params.input[0].width_stride = 3;
  params.input[1] = params.input[0];
  params.input[1].width = 1;
  params.input[1].data[0] = const_cast<uint8_t*>(second);
  params.input[3] = params.input[0];  // behind an unused image
  params.output[0].data[0] = joined;
  params.op_mode = 0;
  EXPECT_EQ(op.run(params), TAMIX_OK);
  EXPECT_EQ(std::vector<uint8_t>(joined, joined + 7), (std::vector<uint8_t>{1, 2, 5, 3, 4, 6, 0}));
}

TEST_F(Rearrange, SplitRefusesInTheOrderOfItsChecks) {
  TamixParams accepted = record({4, 3, 4, 3}, {4, 3, 4, 1});
  for (int i = 1; i < 3; ++i) {
    accepted.output[i] = accepted.output[0];
    accepted.output[i].data[0] = memory({4, 3, 4, 1});
  }
  expectRefusals(
      TAMIX_OP_SPLIT, "split_cpu.cpp", accepted,
      {
          {[](TamixParams& p) { p.output[2].channel = 2, p.output[2].width = 3; },
           "Recieve unsupported channel: 2 from image 2"},
          {[](TamixParams& p) { p.output[2].width = 3, p.output[2].height = 2; }, "Recieve unequal width: 3 from image 2"},
          {[](TamixParams& p) { p.output[1].height = 2, p.output[1].width_stride = 5, p.output[2].channel = 2; },
           "Recieve unequal height: 2 from image 1"},
          {[](TamixParams& p) { p.output[0].width_stride = 5; }, "Recieve unequal width_stride: 5 from image 0"},
          {[](TamixParams& p) { p.output[1].type = 0, p.output[1].data[0] = nullptr; },
           "Recieve null data: (nil) from image 1"},
          {[](TamixParams& p) { p.input[0].type = 3, p.output[0].type = 8; }, "Recieve unsupported data type: 8"},
      });
}

template <class In, class Out>
void expectSplitInto(int32_t width, int32_t height) {
  const RunningOperator op(TAMIX_OP_SPLIT);
  Image<In> src({width, height, width, 3});
  src.fill([](int32_t y, size_t i) { return static_cast<In>(static_cast<size_t>(y) * 7 + i % 200); });
  std::vector<Image<Out>> planes;
  TamixParams params;
  initTamixParams(&params);
  params.input[0] = src.record(Tamix_RGB, typeOf<In>());
  for (size_t c = 0; c < 3; ++c) {
    planes.emplace_back(Shape{width, height, width, 1});
    params.output[c] = planes[c].record(Tamix_GRAY, typeOf<Out>());
  }
  EXPECT_EQ(op.run(params), TAMIX_OK);
  for (size_t c = 0; c < 3; ++c) {
    Image<Out> expected(planes[c].shape());
    expected.fill([&](int32_t y, size_t x) { return src.row(y)[3 * x + c]; });
    EXPECT_TRUE(sameBytes(planes[c], expected)) << "plane " << c;
  }
  if constexpr (sizeof(In) > sizeof(Out)) {
    const LogCapture log;
    const FailingMemalign failing(1);
    EXPECT_EQ(op.run(params), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(log.errors().size(), 1u);
  }
}

TEST_F(Rearrange, SplitServesEveryPairOfElementTypes) {
  expectSplitInto<uint8_t, uint8_t>(41, 3);
  expectSplitInto<uint8_t, float>(41, 3);
  expectSplitInto<float, float>(41, 3);
  expectSplitInto<float, uint8_t>(41, 3);
}

TEST_F(Rearrange, SplitAndMergeRefuseOtherChannelCountsInTheirKernels) {
  for (const int32_t channel : {2, 4, 5, -1}) {
    const auto message = "Recieve unsupported channel: " + std::to_string(channel);
    for (const bool split : {true, false}) {
      TamixParams params = record({4, 3, 4, 4}, {4, 3, 4, 4});
      (split ? params.input : params.output)[0].channel = channel;
      auto& planes = split ? params.output : params.input;
      for (int i = 3; i >= 0; --i) {
        planes[i] = planes[0];
        planes[i].channel = 1;
      }
      const RunningOperator op(split ? TAMIX_OP_SPLIT : TAMIX_OP_MERGE);
      const LogCapture log;
      EXPECT_EQ(op.run(params), TAMIX_ERR_UNSUPPORTED);
      const std::string name = split ? "split" : "merge";
      EXPECT_EQ(log.errors(), std::vector<std::string>{
                                  errorLine("runtime/cpu/arm/uint8/" + name + "_cpu_uint8.cpp", name + "CPUUINT8", message)});
    }
  }
}

TEST_F(Rearrange, MergeRefusesInTheOrderOfItsChecks) {
  TamixParams accepted = record({4, 3, 4, 1}, {4, 3, 4, 3});
  for (int i = 1; i < 3; ++i) {
    accepted.input[i] = accepted.input[0];
    accepted.input[i].data[0] = memory({4, 3, 4, 1});
  }
  expectRefusals(
      TAMIX_OP_MERGE, "merge_cpu.cpp", accepted,
      {
          {[](TamixParams& p) { p.input[2].channel = 2, p.input[2].width = 3; }, "Recieve unsupported channel: 2 from image 2"},
          {[](TamixParams& p) { p.input[2].width = 3, p.input[2].height = 2; }, "Recieve unequal width: 3 from image 2"},
          {[](TamixParams& p) { p.input[1].height = 2, p.input[2].channel = 2; }, "Recieve unequal height: 2 from image 1"},
          {[](TamixParams& p) { p.input[0].width_stride = 5, p.output[0].type = 8; },
           "Recieve unequal width_stride: 5 from image 0"},
          {[](TamixParams& p) { p.input[1].type = 0, p.input[1].data[0] = nullptr; }, "Recieve null data: (nil) from image 1"},
          {[](TamixParams& p) { p.output[0].type = 8; }, "Recieve unsupported data type: 8"},
          {[](TamixParams& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"},
      });
}

TEST_F(Rearrange, MergeUndoesSplit) {
  const RunningOperator split(TAMIX_OP_SPLIT);
  const RunningOperator merge(TAMIX_OP_MERGE);
  const auto src = randomImage<uint8_t>({77, 5, 77, 3});
  const Image<uint8_t> back(src.shape());
  std::vector<Image<uint8_t>> planes;
  TamixParams params = recordOf(src, back);
  TamixParams reverse = recordOf(src, back);
  for (size_t c = 0; c < 3; ++c) {
    planes.emplace_back(Shape{77, 5, 77, 1});
    params.output[c] = reverse.input[c] = planes[c].record(Tamix_GRAY, Tamix_UINT8);
  }
  EXPECT_EQ(split.run(params), TAMIX_OK);
  EXPECT_EQ(merge.run(reverse), TAMIX_OK);
  EXPECT_TRUE(sameBytes(back, src));
}

TEST_F(Rearrange, FlipRefusesInTheOrderOfItsChecks) {
  expectRefusals(TAMIX_OP_FLIP, "flip_cpu.cpp", record({5, 4, 6, 3}, {5, 4, 5, 3}),
                 {
                     {[](TamixParams& p) { p.output[0].channel = 1, p.output[0].width = 4; },
                      "Recieve unsupported input and output channel: 3, 1"},
                     {[](TamixParams& p) { p.output[0].width = 4, p.output[0].type = 8; },
                      "Recieve unsupported input and output shape: (4, 5) and (4, 4)"},
                     {[](TamixParams& p) { p.output[0].type = 8; }, "Recieve unsupported data type: 1"},
                     {[](TamixParams& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"},
                 });
}

TEST_F(Rearrange, TransposeRefusesInTheOrderOfItsChecks) {
  expectRefusals(TAMIX_OP_TRANSPOSE, "transpose_cpu.cpp", record({5, 4, 6, 3}, {4, 5, 4, 3}),
                 {
                     {[](TamixParams& p) { p.output[0].channel = 1, p.output[0].width = 3; },
                      "Recieve unsupported input and output channel: 3, 1"},
                     {[](TamixParams& p) { p.output[0].width = 3, p.output[0].type = 8; },
                      "Recieve unsupported input and output shape: (4, 5) and (5, 3)"},
                     {[](TamixParams& p) { p.output[0].type = 8; }, "Recieve unsupported data type: 8"},
                     {[](TamixParams& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"},
                 });
}

TEST_F(Rearrange, RotateRefusesInTheOrderOfItsChecks) {
  for (const bool half : {true, false}) {
    TamixParams accepted = half ? record({5, 4, 6, 3}, {5, 4, 5, 3}) : record({5, 4, 6, 3}, {4, 5, 4, 3});
    accepted.op_mode = half ? 1 : 2;
    const std::string shape = half ? "[4,5]" : "[5,4]";
    expectRefusals(
        TAMIX_OP_ROTATE, "rotate_cpu.cpp", accepted,
        {
            {[](TamixParams& p) { p.op_mode = -1, p.output[0].channel = 1; }, "RotateCPU dosen't support rotate type -1"},
            {[](TamixParams& p) { p.op_mode = p.op_mode == 1 ? 0 : 1, p.output[0].channel = 1; },
             "RotateCPU unsupported input shape[4,5],output shape" + shape},
            {[](TamixParams& p) { p.output[0].channel = 1, p.input[0].type = 8; },
             "Recieve unsupported src channel = 3 , dst channel = 1"},
            {[](TamixParams& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"},
        });
  }
}

TEST_F(Rearrange, FlipAndRotatePassTheirModeOn) {
  const uint8_t src[] = {1, 2, 3, 4, 5, 6};
  const std::vector<std::pair<int32_t, std::vector<uint8_t>>> flips = {
      {0, {4, 5, 6, 1, 2, 3}}, {2, {3, 2, 1, 6, 5, 4}}, {-1, {6, 5, 4, 3, 2, 1}}};
  const std::vector<std::pair<int32_t, std::vector<uint8_t>>> turns = {
      {0, {4, 1, 5, 2, 6, 3}}, {1, {6, 5, 4, 3, 2, 1}}, {2, {3, 6, 2, 5, 1, 4}}};
  for (const bool turn : {false, true}) {
    const RunningOperator op(turn ? TAMIX_OP_ROTATE : TAMIX_OP_FLIP);
    for (const auto& [mode, expected] : turn ? turns : flips) {
      uint8_t dst[6] = {};
      const bool quarter = turn && mode != 1;
      TamixParams params = record({3, 2, 3, 1}, quarter ? Shape{2, 3, 2, 1} : Shape{3, 2, 3, 1});
      params.input[0].data[0] = const_cast<uint8_t*>(src);
      params.output[0].data[0] = dst;
      params.op_mode = mode;
      EXPECT_EQ(op.run(params), TAMIX_OK);
      EXPECT_EQ(std::vector<uint8_t>(dst, dst + 6), expected) << "turn " << turn << " mode " << mode;
    }
  }
}

}  // namespace
}  // namespace tamix::test
