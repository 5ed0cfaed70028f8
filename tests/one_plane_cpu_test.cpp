// Operators that take data[0] as pixels of several bytes: no frame of planes passes for such an image, in whichever slot.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tamix/tamix.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/operator_run.h"

namespace tamix::test {
namespace {

constexpr int32_t kSize = 16;

// An image of a record, input k or output k.
TamixImage& in(TamixParams& p, size_t k = 0) { return p.input[k]; }
TamixImage& out(TamixParams& p, size_t k = 0) { return p.output[k]; }

using Change = std::function<void(TamixParams&)>;
const Change kIn0 = [](TamixParams& p) { in(p).format = Tamix_I420; };
const Change kIn1 = [](TamixParams& p) { in(p, 1).format = Tamix_I420; };
const Change kIn2 = [](TamixParams& p) { in(p, 2).format = Tamix_I420; };
const Change kOut = [](TamixParams& p) { out(p).format = Tamix_I420; };
const Change kBoth = [](TamixParams& p) { in(p).format = in(p, 1).format = out(p).format = Tamix_I420; };
const Change kNothing = [](TamixParams&) {};

// An operator, what makes a record of RGB images valid for it, and the images that may not be frames.
struct Case {
  int32_t type;
  Change prepare;
  std::vector<Change> frames;
};

class OnePlane : public testing::TestWithParam<Case> {};

TEST_P(OnePlane, RefusesFramesOfSeveralPlanes) {
  const Shape shape{kSize, kSize, kSize, 4};
  const std::vector<Image<float>> planes(9, Image<float>(shape).fill([](int32_t, size_t) { return 1; }));
  float numbers[8] = {1, 1, 1, 1, 1, 1, 1, 1};
  double level = 9;
  TamixParams valid;
  initTamixParams(&valid);
  for (size_t k = 0; k < 8; ++k) {
    TamixImage& image = k < 4 ? valid.input[k] : valid.output[k - 4];
    if (k > 1 && k != 4) continue;
    image = imageRecord(Tamix_RGB, Tamix_UINT8, kSize, kSize, 3);
    image.data[0] = planes[k].data();
  }
  valid.mean = valid.std = valid.mean_out = numbers;
  valid.std_out = numbers + 4;
  valid.thresh = &level;
  valid.thresh_type = TAMIX_THRESH_BINARY;
  valid.fuse_weights = numbers;
  valid.kernel_size = 3;
  valid.op_mode = 0;
  GetParam().prepare(valid);
  for (TamixImage& image : valid.input) {
    if (image.type != 0 && image.data[0] == nullptr) image.data[0] = planes[8].data();
  }

  const RunningOperator op(GetParam().type);
  TamixParams params = valid;
  LogCapture log;
  ASSERT_EQ(op.run(params), TAMIX_OK);
  for (const Change& frame : GetParam().frames) {
    params = valid;
    frame(params);
    log.clear();
    EXPECT_EQ(op.run(params), TAMIX_ERR_UNSUPPORTED);
    ASSERT_EQ(log.errors().size(), 1u);
    EXPECT_NE(log.errors()[0].find("Recieve unsupported data format: "), std::string::npos) << log.errors()[0];
  }
}

const Change kRect = [](TamixParams& p) { p.border_params[1] = p.border_params[3] = kSize; };
const Change kNoBorder = [](TamixParams& p) { p.geom_border_type = TAMIX_BORDER_REPLICATE; };
const Change kHistogram = [](TamixParams& p) {
  p.hist_dims = 3;
  p.hist_size[0] = p.hist_size[1] = p.hist_size[2] = 2;
};
const Change kMask = [](TamixParams& p) { in(p, 2) = imageRecord(Tamix_RGB, Tamix_UINT8, kSize, kSize, 3); };
const Change kFloatOutput = [](TamixParams& p) { out(p).type = Tamix_FLOAT32; };
const Change kFloats = [](TamixParams& p) { in(p).type = out(p).type = Tamix_FLOAT32; };
const Change kWide = [](TamixParams& p) {
  out(p).width = 2 * kSize;
  p.fuse_direction = 1;
};
const Change kFrom4 = [](TamixParams& p) {
  in(p).format = Tamix_RGBA;
  in(p).channel = 4;
};
const Change kTo4 = [](TamixParams& p) {
  out(p).format = Tamix_RGBA;
  out(p).channel = 4;
};
const Change kParts = [](TamixParams& p) {
  for (size_t k = 0; k < 3; ++k) out(p, k) = imageRecord(Tamix_GRAY, Tamix_UINT8, kSize, kSize, 1);
  for (size_t k = 0; k < 3; ++k) out(p, k).data[0] = in(p, 1).data[0];
  in(p, 1) = TamixImage{};
};
const Change kFromParts = [](TamixParams& p) {
  for (size_t k = 0; k < 3; ++k) {
    in(p, k) = imageRecord(Tamix_GRAY, Tamix_UINT8, kSize, kSize, 1);
  }
};
const Change kOpening = [](TamixParams& p) { p.morph_type = TAMIX_MORPH_OPEN; };
const Change kOneImage = [](TamixParams& p) { in(p, 1) = TamixImage{}; };

INSTANTIATE_TEST_SUITE_P(
    EveryOperator, OnePlane,
    testing::Values(
        Case{TAMIX_OP_CALC_HIST, kHistogram, {kIn0}}, Case{TAMIX_OP_GAUSSIAN_FILTER, kNothing, {kIn0, kOut}},
        Case{TAMIX_OP_LAPLACIAN_FILTER, kNothing, {kIn0, kOut}}, Case{TAMIX_OP_MEAN_STD, kNothing, {kIn0}},
        Case{TAMIX_OP_NORMALIZATION, kFloatOutput, {kIn0, kOut}}, Case{TAMIX_OP_NORMALIZATION, kFloats, {kIn0, kOut}},
        Case{TAMIX_OP_COPY_MAKE_BORDER, kNoBorder, {kIn0, kOut}}, Case{TAMIX_OP_COLOR_TO_HSV, kFrom4, {kOut}},
        Case{TAMIX_OP_COLOR3_TO_COLOR4, kTo4, {kIn0, kOut}}, Case{TAMIX_OP_MULTIPLE, kFloats, {kIn0, kIn1, kOut}},
        Case{TAMIX_OP_ADD, kNothing, {kIn0, kIn1, kOut}}, Case{TAMIX_OP_BITWISE_AND, kMask, {kIn0, kIn1, kIn2, kOut}},
        Case{TAMIX_OP_BITWISE_NOT, kNothing, {kIn0, kIn1, kOut}}, Case{TAMIX_OP_CONVERT_SCALE_ABS, kNothing, {kIn0, kOut}},
        Case{TAMIX_OP_ERODE, kNothing, {kIn0, kOut}}, Case{TAMIX_OP_DILATE, kNothing, {kIn0, kOut}},
        Case{TAMIX_OP_MORPHOLOGY_EX, kOpening, {kIn0, kOut}}, Case{TAMIX_OP_FLIP, kNothing, {kIn0, kOut}},
        Case{TAMIX_OP_SPLIT, kParts, {kIn0}}, Case{TAMIX_OP_MERGE, kFromParts, {kOut}},
        Case{TAMIX_OP_RECT_CUT, kRect, {kIn0, kOut}}, Case{TAMIX_OP_THRESHOLD, kNothing, {kIn0, kOut}},
        Case{TAMIX_OP_TRANSPOSE, kNothing, {kIn0, kOut}}, Case{TAMIX_OP_ROTATE, kNothing, {kIn0, kOut}},
        Case{TAMIX_OP_CONCAT, kOneImage, {kBoth}}, Case{TAMIX_OP_IMAGE_FUSE_OVERLAP, kWide, {kBoth, kIn1}}),
    [](const auto& made) { return "Operator" + std::to_string(made.param.type) + "Case" + std::to_string(made.index); });

}  // namespace
}  // namespace tamix::test
