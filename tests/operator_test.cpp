// The path that every run takes: checks and completion of the record, then the conversion of outputs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tamix/framework.hpp"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

// Notes that its forward was reached; otherwise nothing.
class NotingOperator final : public Operator {
 public:
  explicit NotingOperator(Runtime* runtime = nullptr) : Operator(runtime) {}
  int32_t forward(TamixParams* params) override {
    ++runs;
    return action ? action(*params) : TAMIX_OK;
  }
  using Operator::setConverted;
  using Operator::threadNumber;

  int runs = 0;
  std::function<int32_t(TamixParams&)> action;
};

std::string format(const char* text, const void* a, const void* b = nullptr) {
  char line[200];
  std::snprintf(line, sizeof(line), text, a, b);
  return line;
}

uint8_t plane_0[64], plane_1[64];

TamixImage image(int32_t width = 4, int32_t height = 4, int32_t image_format = Tamix_RGB) {
  TamixImage made{};
  made.format = image_format;
  made.type = Tamix_UINT8;
  made.width = width;
  made.height = height;
  made.data[0] = plane_0;
  made.data[1] = plane_1;
  return made;
}

TamixParams record() {
  TamixParams params;
  initTamixParams(&params);
  params.input[0] = image();
  params.output[0] = image();
  return params;
}

struct Refusal {
  const char* what;
  std::function<void(TamixParams&)> change;
  int32_t status;
  std::string message;
};

// Each row leaves the faults of later checks in place, so that a changed order shows.
const Refusal kRefusals[] = {
    {"both unused",
     [](auto& p) { p.input[0].type = p.output[0].type = 0, p.output[0].format = Tamix_GRAY, p.output[0].width = 0; },
     TAMIX_ERR_INVALID_IMAGE, "recieved invalid input 0 [format: 2, type: 0] and output 0 [format: 9, type: 0]."},
    {"empty input", [](auto& p) { p.input[0].width = 0, p.input[0].data[0] = nullptr; }, TAMIX_ERR_INVALID_IMAGE,
     "recieved illegal input 0 shape [0, 4] or output 0 shape [4, 4]."},
    {"empty output", [](auto& p) { p.output[0].height = 0; }, TAMIX_ERR_INVALID_IMAGE,
     "recieved illegal input 0 shape [4, 4] or output 0 shape [4, 0]."},
    {"no plane", [](auto& p) { p.output[0].data[0] = nullptr, p.input[0] = image(3, 4, Tamix_NV21); }, TAMIX_ERR_INVALID_IMAGE,
     format("recieved illegal input 0 [%p] or output 0 [%p].", plane_0)},
    {"odd input frame",
     [](auto& p) { p.input[0] = image(4, 3, Tamix_NV21), p.input[0].data[1] = nullptr, p.output[0] = image(3, 4, Tamix_NV12); },
     TAMIX_ERR_ILLEGAL_SHAPE, "recieved illegal input shape [3x4]."},
    {"input frame without chroma",
     [](auto& p) { p.input[0] = image(4, 4, Tamix_NV12), p.input[0].data[1] = nullptr, p.output[0] = image(3, 4, Tamix_NV12); },
     TAMIX_ERR_INVALID_IMAGE, format("recieved illegal input 0 [%p][%p].", plane_0)},
    {"odd output frame", [](auto& p) { p.output[0] = image(3, 4, Tamix_NV12), p.output[0].data[1] = nullptr; },
     TAMIX_ERR_ILLEGAL_SHAPE, "recieved illegal output shape [4x3]."},
    {"output frame without chroma",
     [](auto& p) { p.output[0] = image(4, 4, Tamix_NV21), p.output[0].data[1] = nullptr, p.output[0].width_stride = 1; },
     TAMIX_ERR_INVALID_IMAGE, format("recieved illegal output 0 [%p][%p].", plane_0)},
    {"sizes above strides",
     [](auto& p) {
       p.output[0].width_stride = 3, p.output[0].height_stride = 9, p.input[0].height_stride = 7, p.input[1] = image(0, 1);
     },
     TAMIX_ERR_INVALID_IMAGE,
     "size error! dst_width: 4, dst_width_stride: 3, dst_height: 4, dst_height_stride: 9, src_width: 4, src_width_stride: 4, "
     "src_height: 4, src_height_stride: 7 \n"},
    {"input height above its stride", [](auto& p) { p.input[0].height_stride = 3; }, TAMIX_ERR_INVALID_IMAGE,
     "size error! dst_width: 4, dst_width_stride: 4, dst_height: 4, dst_height_stride: 4, src_width: 4, src_width_stride: 4, "
     "src_height: 4, src_height_stride: 3 \n"},
    {"inputs before outputs of the same number",
     [](auto& p) {
       p.input[2] = image(5, 0), p.output[1] = image(4, 4), p.output[1].data[0] = nullptr, p.input[1] = image(0, 5);
     },
     TAMIX_ERR_INVALID_IMAGE, "recieved illegal input 1 shape [0, 5]."},
    {"low numbers before high ones",
     [](auto& p) { p.input[2] = image(5, 0), p.output[1] = image(4, 4), p.output[1].data[0] = nullptr; },
     TAMIX_ERR_INVALID_IMAGE, format("recieved illegal output 1 [%p].", nullptr)},
    {"further empty output", [](auto& p) { p.output[3] = image(6, 0); }, TAMIX_ERR_INVALID_IMAGE,
     "recieved illegal output 3 shape [6, 0]."},
    {"further input without a plane",
     [](auto& p) { p.input[3] = image(6, 6), p.input[3].width_stride = 2, p.input[3].data[0] = nullptr; },
     TAMIX_ERR_INVALID_IMAGE, format("recieved illegal input 3 [%p].", nullptr)},
    {"further image above its stride", [](auto& p) { p.output[2] = image(6, 5), p.output[2].width_stride = 5; },
     TAMIX_ERR_INVALID_IMAGE, "size error! src_width: 6, src_width_stride: 5, src_height: 5, src_height_stride: 5 \n"},
    {"a lone output is checked by itself",
     [](TamixParams& p) {
       p.input[0] = TamixImage{};
       p.output[0].width_stride = 3;
     },
     TAMIX_ERR_INVALID_IMAGE, "size error! src_width: 4, src_width_stride: 3, src_height: 4, src_height_stride: 4 \n"},
    {"a lone odd frame passes the pair's checks but not its own",
     [](auto& p) { p.output[0].type = 0, p.input[0] = image(3, 3, Tamix_NV12), p.input[0].height_stride = 2; },
     TAMIX_ERR_INVALID_IMAGE, "size error! src_width: 3, src_width_stride: 3, src_height: 3, src_height_stride: 2 \n"},
    {"a slot without a type must not lead backwards", [](auto& p) { p.output[0].type = 0, p.output[0].width_stride = -4; },
     TAMIX_ERR_INVALID_IMAGE, "size error! src_width: 4, src_width_stride: -4, src_height: 4, src_height_stride: 0 \n"},
};

TEST(ForwardCV, RefusesRecordsInOrderWithoutRunning) {
  for (const Refusal& r : kRefusals) {
    SCOPED_TRACE(r.what);
    NotingOperator op;
    TamixParams params = record();
    r.change(params);
    LogCapture log;
    EXPECT_EQ(op.forwardCV(&params), r.status);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine("core/operator.cpp", "forwardCV", r.message)});
    EXPECT_EQ(op.runs, 0);
  }
}

TEST(ForwardCV, CompletesEveryUsedImageAndKeepsWhatIsGiven) {
  TamixParams params = record();
  params.input[0] = image(4, 6, Tamix_NV21);
  params.output[0].channel = 7;
  params.output[0].width_stride = 5;
  params.input[3] = image(2, 3, Tamix_GRAY);
  params.output[2] = image(-2, 3, 4352);
  TamixParams expected = params;
  const auto complete = [](TamixImage& made, int32_t width_stride, int32_t height_stride, int32_t channel) {
    made.width_stride = width_stride;
    made.height_stride = height_stride;
    made.channel = channel;
  };
  complete(expected.input[0], 4, 6, 2);
  complete(expected.output[0], 5, 4, 7);
  complete(expected.input[3], 2, 3, 1);
  complete(expected.output[2], -2, 3, 2);
  NotingOperator op;
  EXPECT_EQ(op.forwardCV(&params), TAMIX_OK);
  EXPECT_EQ(op.runs, 1);
  EXPECT_EQ(std::memcmp(&params, &expected, sizeof(params)), 0);
}

TEST(ForwardCV, KeepsCompletedFieldsWhenALaterCheckFails) {
  TamixParams params = record();
  params.input[0] = image(4, 3, Tamix_NV21);
  EXPECT_EQ(NotingOperator().forwardCV(&params), TAMIX_ERR_ILLEGAL_SHAPE);
  EXPECT_EQ(params.input[0].channel, 2);
  EXPECT_EQ(params.output[0].channel, 3);
  EXPECT_EQ(params.input[0].width_stride, 0);
  EXPECT_EQ(params.output[0].width_stride, 0);
}

TEST(ForwardCV, TellsTheScratchPoolWhereARunBeginsAndEndsWhateverItsStatus) {
  struct Pool final : IntermediateBuffer {
    void* requestMemoryBuffer(int32_t) override { return nullptr; }
    void setMemoryType(int32_t) override {}
    void beginRequest(TamixParams*) override { calls += 'b'; }
    void endRequest() override { calls += 'e'; }
    void releaseMemory() override {}
    std::string calls;
  };
  struct PoolRuntime final : Runtime {
    explicit PoolRuntime(RuntimeConfig& config) : Runtime(config) { intermediate_buffer_ = std::make_unique<Pool>(); }
    bool init() override { return true; }
    int32_t getThreadNumber() override { return 3; }
    Operator* createOperator(int32_t) override { return nullptr; }
    int32_t runOperator(int32_t, TamixParams*) override { return TAMIX_OK; }
    std::string& calls() { return static_cast<Pool*>(intermediate_buffer_.get())->calls; }
  };
  RuntimeConfig config{};
  PoolRuntime runtime(config);
  NotingOperator op(&runtime);
  EXPECT_EQ(op.threadNumber(), 3);
  EXPECT_EQ(NotingOperator().threadNumber(), 4);
  op.action = [&](TamixParams&) {
    runtime.calls() += 'f';
    return op.runs == 1 ? TAMIX_OK : -77;
  };
  TamixParams params = record();
  EXPECT_EQ(op.forwardCV(&params), TAMIX_OK);
  EXPECT_EQ(op.forwardCV(&params), -77);
  params.input[0].width = 0;
  EXPECT_EQ(op.forwardCV(&params), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(runtime.calls(), "bfebfe");
}

TEST(ParseFormatToChannel, KnowsEveryRange) {
  const struct {
    int32_t first, last, channels;
  } ranges[] = {{-9, 0, 1}, {1, 2, 3},   {3, 3, 1},     {4, 4, 4},       {5, 5, 1},       {6, 7, 4},       {8, 8, 2},
                {9, 16, 1}, {17, 20, 2}, {21, 4095, 1}, {4096, 4351, 3}, {4352, 8192, 2}, {8193, 16400, 1}};
  NotingOperator op;
  for (const auto& range : ranges) {
    for (int32_t value = range.first; value <= range.last; ++value) {
      ASSERT_EQ(op.parseFormatToChannel(static_cast<TamixDataFormat>(value)), range.channels) << value;
    }
  }
}

// --- conversion of outputs -----------------------------------------------------------------------------------------------

// Floats of a plane whose memory first held bytes with the same pitch, counted in elements.
void expectWidened(const float* plane, const std::vector<uint8_t>& bytes, int32_t rows, int32_t n, int32_t pitch) {
  for (int32_t y = 0; y < rows; ++y) {
    for (int32_t i = 0; i < n; ++i) ASSERT_EQ(plane[y * pitch + i], bytes[static_cast<size_t>(y * pitch + i)]) << y << " " << i;
  }
}

std::vector<uint8_t> bytesIn(std::vector<float>& plane) {
  std::vector<uint8_t> bytes(plane.size() * sizeof(float));
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 31 + 7);
  std::memcpy(plane.data(), bytes.data(), bytes.size());
  return bytes;
}

TEST(DataTypeConvert, AdaptsEveryOutputInPlaceAndReportsTheLastStatus) {
  std::vector<float> first(3 * 12), third(2 * 6);
  const std::vector<uint8_t> first_bytes = bytesIn(first);
  const std::vector<uint8_t> third_bytes = bytesIn(third);
  TamixParams params = record();
  params.output[0] = image(3, 3);
  params.output[0].width_stride = 4;
  params.output[0].type = Tamix_FLOAT32;
  params.output[0].data[0] = first.data();
  params.output[1] = image(5, 2);  // of input 0's type: left alone
  params.output[2] = image(6, 2, Tamix_GRAY);
  params.output[2].type = Tamix_FLOAT32;
  params.output[2].data[0] = third.data();
  NotingOperator op;
  LogCapture log;
  EXPECT_EQ(op.forwardCV(&params), TAMIX_OK);
  expectWidened(first.data(), first_bytes, 3, 9, 12);
  expectWidened(third.data(), third_bytes, 2, 6, 6);
  EXPECT_EQ(log.messages(), (std::vector<std::string>{
                                "start to data type conversion from 8 to 1 in output image 0.", "dataUINT8ToFLOAT32 forward",
                                "dataUINT8ToFLOAT32: copy the data to avoid the data conflict",
                                "start to data type conversion from 8 to 1 in output image 2.", "dataUINT8ToFLOAT32 forward",
                                "dataUINT8ToFLOAT32: copy the data to avoid the data conflict"}));

  // A conversion that cannot be done is forgotten when a later one succeeds, not when it is the last.
  params.output[0].type = 5;
  EXPECT_EQ(op.forwardCV(&params), TAMIX_OK);
  params.output[3] = image(2, 2);
  params.output[3].type = 5;
  log.clear();
  EXPECT_EQ(op.forwardCV(&params), TAMIX_ERR_UNSUPPORTED);
  const std::string refused = errorLine("core/operator.cpp", "dataTypeInputToOutput", "recieved unsupported type 1 and 5.");
  EXPECT_EQ(log.errors(), (std::vector<std::string>{refused, refused}));
}

TEST(DataTypeConvert, NarrowsOutputsOfFloatInputs) {
  std::vector<float> plane = {1.9f, 300.7f, -1.0f, 255.0f};
  TamixParams params = record();
  params.input[0].type = Tamix_FLOAT32;
  params.output[0] = image(4, 1, Tamix_GRAY);
  params.output[0].data[0] = plane.data();
  EXPECT_EQ(NotingOperator().forwardCV(&params), TAMIX_OK);
  uint8_t bytes[4];
  std::memcpy(bytes, plane.data(), 4);
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 4), (std::vector<uint8_t>{1, 44, 255, 255}));
}

TEST(DataTypeConvert, LeavesOutputsThatForwardHasConvertedForThisRunOnly) {
  std::vector<float> plane(2 * 4);
  const std::vector<uint8_t> bytes = bytesIn(plane);
  const std::vector<float> before = plane;
  TamixParams params = record();
  params.output[0] = image(4, 2, Tamix_GRAY);
  params.output[0].type = Tamix_FLOAT32;
  params.output[0].data[0] = plane.data();
  NotingOperator op;
  op.action = [&](TamixParams&) {
    if (op.runs <= 2) op.setConverted();
    return op.runs == 2 ? -5 : TAMIX_OK;
  };
  EXPECT_EQ(op.forwardCV(&params), TAMIX_OK);
  EXPECT_EQ(op.forwardCV(&params), -5);
  EXPECT_EQ(std::memcmp(plane.data(), before.data(), plane.size() * sizeof(float)), 0);
  EXPECT_EQ(op.forwardCV(&params), TAMIX_OK);
  expectWidened(plane.data(), bytes, 2, 4, 4);
  // Called by itself, it converts every time.
  for (int32_t again = 0; again < 2; ++again) {
    const std::vector<uint8_t> fresh = bytesIn(plane);
    EXPECT_EQ(op.dataTypeConvert(&params), TAMIX_OK);
    expectWidened(plane.data(), fresh, 2, 4, 4);
  }
}

TEST(DataTypeInputToOutput, ConvertsBothPlanesOfFrames) {
  for (const int32_t frame : {8, 17, 18, 19, 20, 4352, 8192}) {
    SCOPED_TRACE(frame);
    // 7 x 5 with a pitch of 10: chroma of 2 rows, 3 pairs, 5 pairs apart.
    std::vector<uint8_t> luma(4 * 10 + 7), chroma(10 + 6);
    for (size_t i = 0; i < luma.size(); ++i) luma[i] = static_cast<uint8_t>(3 * i);
    for (size_t i = 0; i < chroma.size(); ++i) chroma[i] = static_cast<uint8_t>(255 - i);
    std::vector<float> luma_floats(luma.size(), -1.0f), chroma_floats(chroma.size(), -1.0f);
    TamixImage src = image(7, 5, frame);
    src.data[0] = luma.data();
    src.data[1] = chroma.data();
    TamixImage dst = image(7, 5, frame);
    dst.width_stride = 10;
    dst.channel = 2;
    dst.data[0] = luma_floats.data();
    dst.data[1] = chroma_floats.data();
    NotingOperator op;
    EXPECT_EQ(op.dataTypeInputToOutput(src, Tamix_UINT8, dst, Tamix_FLOAT32, false), TAMIX_OK);
    expectWidened(luma_floats.data(), luma, 5, 7, 10);
    expectWidened(chroma_floats.data(), chroma, 2, 6, 10);
    EXPECT_EQ(luma_floats[7], -1.0f);
    EXPECT_EQ(chroma_floats[6], -1.0f);

    // Back again, in place.
    TamixImage same = dst;
    EXPECT_EQ(op.dataTypeInputToOutput(dst, Tamix_FLOAT32, same, Tamix_UINT8, false), TAMIX_OK);
    const auto* narrowed = reinterpret_cast<const uint8_t*>(chroma_floats.data());
    EXPECT_EQ(std::vector<uint8_t>(narrowed, narrowed + 6), std::vector<uint8_t>(chroma.begin(), chroma.begin() + 6));
  }
}

TEST(DataTypeInputToOutput, ConvertsThreePlanesOfI420WithoutReadingBeyondThem) {
  const Shape luma_shape{6, 4, 8}, chroma_shape{3, 2, 4};
  const Image<uint8_t> y = randomImage<uint8_t>(luma_shape, 1), u = randomImage<uint8_t>(chroma_shape, 2),
                       v = randomImage<uint8_t>(chroma_shape, 3);
  Image<float> y_out(luma_shape), u_out(chroma_shape), v_out(chroma_shape);
  TamixImage src = y.record(Tamix_I420, Tamix_UINT8);
  src.data[1] = u.data();
  src.data[2] = v.data();
  TamixImage dst = y_out.record(Tamix_I420, Tamix_FLOAT32);
  dst.data[1] = u_out.data();
  dst.data[2] = v_out.data();
  EXPECT_EQ(NotingOperator().dataTypeInputToOutput(src, Tamix_UINT8, dst, Tamix_FLOAT32, true), TAMIX_OK);
  const auto widened = [](const Image<uint8_t>& bytes) {
    return Image<float>(bytes.shape()).fill([&](int32_t row, size_t i) { return bytes.row(row)[i]; });
  };
  EXPECT_TRUE(sameBytes(y_out, widened(y)));
  EXPECT_TRUE(sameBytes(u_out, widened(u)));
  EXPECT_TRUE(sameBytes(v_out, widened(v)));

  // One of two three-plane frames is read or written as pairs otherwise.
  src.data[2] = nullptr;
  EXPECT_EQ(NotingOperator().dataTypeInputToOutput(src, Tamix_UINT8, dst, Tamix_FLOAT32, true), TAMIX_ERR_UNSUPPORTED);
}

TEST(DataTypeInputToOutput, RefusesOtherPairsAndStopsAtAFailingPlane) {
  NotingOperator op;
  TamixImage a = image(4, 4, Tamix_NV12), b = image(4, 4, Tamix_NV12);
  b.width_stride = 4;
  b.data[1] = nullptr;
  LogCapture log;
  EXPECT_EQ(op.dataTypeInputToOutput(a, Tamix_UINT8, b, Tamix_UINT8, false), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(op.dataTypeInputToOutput(a, Tamix_FLOAT32, b, Tamix_FLOAT32, false), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(op.dataTypeInputToOutput(a, Tamix_UNUSED, b, Tamix_UINT8, false), TAMIX_ERR_UNSUPPORTED);
  std::vector<float> floats(16);
  b.data[0] = floats.data();
  EXPECT_EQ(op.dataTypeInputToOutput(a, Tamix_UINT8, b, Tamix_FLOAT32, false), TAMIX_ERR_INVALID_IMAGE);
  b.data[0] = nullptr;
  b.data[1] = floats.data();
  EXPECT_EQ(op.dataTypeInputToOutput(a, Tamix_UINT8, b, Tamix_FLOAT32, false), TAMIX_ERR_INVALID_IMAGE);
  {
    const FailingMemalign failing(0, true);
    b.data[0] = floats.data();
    EXPECT_EQ(op.dataTypeInputToOutput(a, Tamix_UINT8, b, Tamix_FLOAT32, true), TAMIX_ERR_NO_MEMORY);
  }
  const auto refused = [](const char* message) { return errorLine("core/operator.cpp", "dataTypeInputToOutput", message); };
  const auto failed = [](const char* message) { return errorLine("utils/tamix_utils.cpp", "dataUINT8ToFLOAT32", message); };
  EXPECT_EQ(log.errors(),
            (std::vector<std::string>{
                refused("recieved unsupported type 1 and 1."), refused("recieved unsupported type 8 and 8."),
                refused("recieved unsupported type 0 and 1."), failed("Recieved null data pointer"),
                failed("Recieved null data pointer"), failed("failed to memory allocation for dataUINT8ToFLOAT32")}));
}

}  // namespace
}  // namespace tamix::test
