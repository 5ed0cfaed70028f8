// The bitwise operators: which planes they combine, and what they refuse.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/operator_run.h"

namespace tamix::test {
namespace {

struct Bitwise {
  int32_t type;
  const char* name;
  const char* file;
  bool negates;
  int (*op)(int a, int b, int mask);
};

const Bitwise kOperators[] = {
    {TAMIX_OP_BITWISE_AND, "BitwiseAndCPU", "runtime/cpu/op/bitwiseand_cpu.cpp", false,
     [](int a, int b, int m) { return a & b & m; }},
    {TAMIX_OP_BITWISE_OR, "BitwiseOrCPU", "runtime/cpu/op/bitwiseor_cpu.cpp", false,
     [](int a, int b, int m) { return a | b | m; }},
    {TAMIX_OP_BITWISE_XOR, "BitwiseXorCPU", "runtime/cpu/op/bitwisexor_cpu.cpp", false,
     [](int a, int b, int m) { return a ^ b ^ m; }},
    {TAMIX_OP_BITWISE_NOT, "BitwiseNotCPU", "runtime/cpu/op/bitwisenot_cpu.cpp", true,
     [](int a, int b, int) { return b & ~a; }},
};

TEST(BitwiseOperators, CombineInputsWithTheMaskOfTheirKind) {
  // Input 1 is packed: not reads it so.
  const Shape shape{21, 3, 24, 3}, packed{21, 3, 21, 3};
  const Image<uint8_t> a = randomImage<uint8_t>(shape, 1), b = randomImage<uint8_t>(packed, 2),
                       m = randomImage<uint8_t>(packed, 3);
  for (const Bitwise& o : kOperators) {
    SCOPED_TRACE(o.name);
    const Image<uint8_t> dst(shape);
    TamixParams params = recordOf(a, dst);
    params.input[1] = b.record(Tamix_RGB, Tamix_UINT8);
    params.input[2] = m.record(Tamix_RGB, Tamix_UINT8);
    const RunningOperator op(o.type);
    LogCapture log;
    EXPECT_EQ(op.run(params), TAMIX_OK);
    EXPECT_TRUE(sameBytes(
        dst, Image<uint8_t>(shape).fill([&](int32_t y, size_t i) { return o.op(a.row(y)[i], b.row(y)[i], m.row(y)[i]); })));
    EXPECT_EQ(log.messages(), std::vector<std::string>{std::string(o.name) + " forward"});

    // Without a mask plane; a slot without data is a shape only.
    params.input[2] = TamixImage{};
    if (o.negates) {
      params.input[1].type = 0;
      params.input[1].data[0] = nullptr;
    }
    EXPECT_EQ(op.run(params), TAMIX_OK);
    const int neutral = o.type == TAMIX_OP_BITWISE_AND ? 0xFF : 0;
    EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(shape).fill([&](int32_t y, size_t i) {
      return o.op(a.row(y)[i], o.negates ? 0xFF : b.row(y)[i], neutral);
    })));
  }
}

struct Refusal {
  const char* what;
  std::function<void(TamixParams&)> change;
  std::string message;
  bool of_not_too = true;
};

TEST(BitwiseOperators, RefuseInOrder) {
  const Image<uint8_t> image({8, 6, 9, 3});
  const Refusal refusals[] = {
      {"strides first",
       [](TamixParams& p) {
         p.input[1].type = 0;  // unused: nothing completes or checks it before
         p.input[1].width_stride = 7;
         p.input[1].height = 5;
       },
       "Recieve unsupported stride: 9 7 9"},
      {"then shapes", [](auto& p) { p.input[1].height = 5, p.input[2].width = 7; }, "Recieve unequal shape or data type"},
      {"channels are part of the shape", [](auto& p) { p.output[0].channel = 1; }, "Recieve unequal shape or data type"},
      {"then the mask's size", [](auto& p) { p.input[2].height = 5, p.input[0].type = Tamix_FLOAT32; },
       "Recieve unequal shape or data type from mask"},
      {"a mask of another pitch", [](auto& p) { p.input[2].width_stride = 8; }, "Recieve unequal shape or data type from mask",
       false},
      {"a mask of fewer channels", [](auto& p) { p.input[2].channel = 1; }, "Recieve unequal shape or data type from mask",
       false},
      {"a smaller mask without a type", [](auto& p) { p.input[2].type = 0, p.input[2].height = 5; },
       "Recieve unequal shape or data type from mask", false},
      {"a smaller mask without a format", [](auto& p) { p.input[2].format = 0, p.input[2].height = 5; },
       "Recieve unequal shape or data type from mask", false},
      {"then the type", [](auto& p) { p.input[0].type = p.output[0].type = Tamix_FLOAT32; },
       "Recieve unsupported data type: 8"},
      {"planes apart",
       [](TamixParams& p) {
         for (TamixImage* i : {&p.input[0], &p.input[1], &p.input[2], &p.output[0]}) i->channel = 2;
         p.input[1].format = Tamix_I420;
       },
       "Recieve unsupported data format: 2, 8 and 2 with 2 channels"},
  };
  for (const Bitwise& o : kOperators) {
    const RunningOperator op(o.type);
    for (const Refusal& r : refusals) {
      SCOPED_TRACE(testing::Message() << o.name << " " << r.what);
      const Image<uint8_t> dst(image.shape());
      TamixParams params = recordOf(image, dst);
      params.input[1] = params.input[2] = params.input[0];
      r.change(params);
      LogCapture log;
      const bool refuses = !o.negates || r.of_not_too;
      EXPECT_EQ(op.run(params), refuses ? TAMIX_ERR_UNSUPPORTED : TAMIX_OK);
      const auto line = errorLine(o.file, "forward", r.message);
      EXPECT_EQ(log.errors(), refuses ? std::vector<std::string>{line} : std::vector<std::string>{});
      if (refuses) {
        EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(image.shape())));
      }
    }
  }
}

}  // namespace
}  // namespace tamix::test
