// Erosion, dilation and their compositions as operators: what they refuse, in which order, and what they write into the record.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inference/runtime/cpu/kernel_table.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/morphology_model.h"
#include "tests/support/operator_run.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;

uint8_t members[9] = {1, 1, 1};

TEST(MorphologyOperators, RefuseInOrder) {
  const Image<uint8_t> src = randomImage<uint8_t>({12, 3, 12, 3});
  const Image<uint8_t> dst(src.shape());
  TamixParams served = recordOf(src, dst);
  served.morph_type = 0;
  const std::vector<Refusal> common = {
      {"channel", [](TamixParams& p) { p.output[0].channel = 1, p.output[0].height = 2; },
       "Recieve unsupported input and output channel: 3, 1"},
      {"size", [](TamixParams& p) { p.output[0].height = 2, p.input[0].type = 8, p.morph_type = -1; },
       "Recieve unsupported input and output shape: (3, 12) and (2, 12)"},
      {"type", [](TamixParams& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"}};
  expectRefusals(TAMIX_OP_ERODE, "runtime/cpu/op/erode_cpu.cpp", served, common);
  expectRefusals(TAMIX_OP_DILATE, "runtime/cpu/op/dilate_cpu.cpp", served, common);
  std::vector<Refusal> all = common;
  all.insert(all.end(),
             {{"format of several planes", [](TamixParams& p) { p.output[0].format = Tamix_I420; },
               "Recieve unsupported data format: 8 with 3 channels"},
              {"kernel of no size", [](TamixParams& p) { p.kernel = members, p.kernel_width = 3, p.morph_type = -1; },
               "Recieve kernel size is null."},
              {"no operation", [](TamixParams& p) { p.morph_type = -1, p.input[0].type = 8; }, "Recieve morph_type is null."}});
  expectRefusals(TAMIX_OP_MORPHOLOGY_EX, "runtime/cpu/op/morphologyex_cpu.cpp", served, all);
  EXPECT_EQ(offsetof(KernelTable, erodeCPUUINT8), 40 * sizeof(void*));
  EXPECT_EQ(offsetof(KernelTable, morphologyExCPUUINT8), 43 * sizeof(void*));
}

TEST(MorphologyOperators, StoreTheirDefaultBorderInTheRecord) {
  struct Case {
    int32_t type, morph_type, stored_type, stored_value;
    const char* message;
  };
  const Image<uint8_t> src = spottedImage({25, 7, 25, 3}, true, 3);
  for (const Case& c : {Case{TAMIX_OP_ERODE, -1, 0, 255, "erodeCPUUINT8 forward"},
                        {TAMIX_OP_DILATE, -1, 1, 0, "dilateCPUUINT8 forward"},
                        {TAMIX_OP_MORPHOLOGY_EX, 0, 0, 255, nullptr},
                        {TAMIX_OP_MORPHOLOGY_EX, 1, 0, 0, nullptr},
                        {TAMIX_OP_MORPHOLOGY_EX, 2, 0, 0, nullptr}}) {
    SCOPED_TRACE(c.type);
    const RunningOperator operation(c.type);
    const Image<uint8_t> dst(src.shape());
    TamixParams params = recordOf(src, dst);
    params.morph_type = c.morph_type;
    params.border_value = 17;
    LogCapture log;
    EXPECT_EQ(operation.run(params), TAMIX_OK);
    EXPECT_EQ(params.border_type, c.stored_type);
    EXPECT_EQ(params.border_value, c.stored_value);
    if (c.message != nullptr) {
      EXPECT_EQ(log.messages(), (Lines{"Recieve kernel size: -1 / (3, 3)", c.message}));
    } else {
      EXPECT_EQ(params.morph_shape, 0);
      EXPECT_EQ(log.messages()[1], "Recieve border_type and border_value: 0, " + std::to_string(c.stored_value));
      EXPECT_EQ(log.messages()[2], "morphologyesCPUUINT8 forward");
    }
    const MorphologySettings set{3, 3, nullptr, c.stored_type, c.stored_value, 1};
    const bool erodes = c.type == TAMIX_OP_ERODE || c.morph_type == 0 || c.morph_type == 2;
    const Image<uint8_t> once = morphologyModel(src, erodes, set);
    EXPECT_TRUE(sameBytes(dst, withPaddingOf(dst, c.morph_type == 2 ? morphologyModel(once, false, set) : once)));
  }
}

TEST(MorphologyOperators, TakeSizesElementsAndPassesFromTheRecord) {
  const Image<uint8_t> src = spottedImage({25, 9, 26, 3}, false, 4);
  const RunningOperator dilate(TAMIX_OP_DILATE);
  const Image<uint8_t> dst(src.shape());
  TamixParams params = recordOf(src, dst);
  params.kernel_size = 9;
  params.kernel_height = 1;
  params.kernel_width = 3;
  params.kernel = members + 1;  // left out: the column to the right
  params.border_type = 3;
  params.iterations = 2;
  EXPECT_EQ(dilate.run(params), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, withPaddingOf(dst, morphologyModel(src, false, {1, 3, members + 1, 3, 0, 2}))));
}

}  // namespace
}  // namespace tamix::test
