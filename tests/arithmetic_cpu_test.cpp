// The arithmetic operators and the element-type conversion: refusals, combinations of element types, converted inputs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inference/runtime/cpu/arm/common/stream.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

struct Arithmetic {
  int32_t type;
  const char* name;   // of the operator and its file
  const char* mixed;  // of the part that mixes element types
  const char* file;
  float (*op)(float, float);
  bool bytes;  // has a kernel for bytes alone
};

const Arithmetic kOperators[] = {
    {TAMIX_OP_ADD, "AddCPU", "addCPUMIXED", "runtime/cpu/op/add_cpu.cpp", [](float a, float b) { return a + b; }, true},
    {TAMIX_OP_SUBTRACT, "SubtractCPU", "subtractCPUMIXED", "runtime/cpu/op/subtract_cpu.cpp",
     [](float a, float b) { return a - b; }, true},
    {TAMIX_OP_MULTIPLE, "MultipleCPU", "multipleCPUMIXED", "runtime/cpu/op/multiple_cpu.cpp",
     [](float a, float b) { return a * b; }, false},
    {TAMIX_OP_DIVIDE, "DivideCPU", "divideCPUMIXED", "runtime/cpu/op/divide_cpu.cpp", [](float a, float b) { return a / b; },
     false},
};

// Images of one size and stride in both element types. Divisors are powers of two, so that every division is exact.
struct Frames {
  explicit Frames(const Shape& s) : shape(s), a8(s), b8(s), a32(s), b32(s), out8(s), out32(s) {
    a8.fill([](int32_t y, size_t i) { return static_cast<size_t>(200 - 7 * y) + i % 50; });
    b8.fill([](int32_t, size_t i) { return 1 << (i % 7); });
    a32.fill([](int32_t y, size_t i) { return static_cast<float>(i % 90) * 2.75f - static_cast<float>(y); });
    b32.fill([](int32_t, size_t i) { return i % 3 == 0 ? 0.25f : 64.0f; });
  }

  TamixParams record(int32_t type_a, int32_t type_b, int32_t type_out) const {
    TamixParams params;
    initTamixParams(&params);
    params.input[0] = (type_a == Tamix_UINT8 ? a8 : Image<uint8_t>(shape)).record(Tamix_RGB, type_a);
    params.input[0].data[0] = type_a == Tamix_FLOAT32 ? static_cast<void*>(a32.data()) : a8.data();
    params.input[1] = b8.record(Tamix_RGB, type_b);
    params.input[1].data[0] = type_b == Tamix_FLOAT32 ? static_cast<void*>(b32.data()) : b8.data();
    params.output[0] = out8.record(Tamix_RGB, type_out);
    params.output[0].data[0] = type_out == Tamix_FLOAT32 ? static_cast<void*>(out32.data()) : out8.data();
    return params;
  }

  Shape shape;
  Image<uint8_t> a8, b8;
  Image<float> a32, b32;
  Image<uint8_t> out8;
  Image<float> out32;
};

uint8_t saturated(float x) { return static_cast<uint8_t>(!(x > 0) ? 0 : x >= 255 ? 255 : static_cast<int>(x)); }

// The low byte of a float, as an input that becomes bytes is converted.
uint8_t lowByte(float x, bool in_block) { return x < 0 && in_block ? 0 : static_cast<uint8_t>(static_cast<int32_t>(x)); }

TEST(ArithmeticOperators, TakeEveryCombinationOfElementTypes) {
  for (const Arithmetic& o : kOperators) {
    SCOPED_TRACE(o.name);
    const RunningOperator op(o.type);
    for (const Shape& shape : {Shape{37, 3, 40, 3}, Shape{5, 2, 5, 1}, Shape{400, 90, 401, 1}}) {
      for (const int32_t type_a : {Tamix_UINT8, Tamix_FLOAT32}) {
        for (const int32_t type_b : {Tamix_UINT8, Tamix_FLOAT32}) {
          for (const int32_t type_out : {Tamix_UINT8, Tamix_FLOAT32}) {
            SCOPED_TRACE(testing::Message() << shape << " types " << type_a << " " << type_b << " " << type_out);
            const Frames f(shape);
            TamixParams params = f.record(type_a, type_b, type_out);
            LogCapture log;
            const bool only_bytes = type_out == Tamix_UINT8 && (type_a == Tamix_UINT8 || type_b == Tamix_UINT8);
            const int32_t status = op.run(params);
            if (only_bytes && !o.bytes) {
              EXPECT_EQ(status, TAMIX_ERR_UNSUPPORTED);
              const char* function = type_a == Tamix_UINT8 ? "forward" : o.mixed;
              EXPECT_EQ(log.errors(),
                        std::vector<std::string>{errorLine(o.file, function, "Recieve unsupported data type: 1")});
              continue;
            }
            ASSERT_EQ(status, TAMIX_OK);
            std::vector<std::string> messages = {std::string(o.name) + " forward"};
            if (type_a != type_b) {
              messages.push_back(type_out == Tamix_FLOAT32 ? "dataUINT8ToFLOAT32 forward" : "dataFLOAT32ToUINT8 forward");
            }
            EXPECT_EQ(log.messages(), messages);

            const auto value = [&](int32_t type, const Image<uint8_t>& bytes, const Image<float>& floats, int32_t y, size_t i) {
              if (type == Tamix_UINT8) return static_cast<float>(bytes.row(y)[i]);
              if (!only_bytes) return floats.row(y)[i];
              return static_cast<float>(lowByte(floats.row(y)[i], i < shape.rowElements() / 16 * 16));
            };
            const auto result = [&](int32_t y, size_t i) {
              return o.op(value(type_a, f.a8, f.a32, y, i), value(type_b, f.b8, f.b32, y, i));
            };
            if (type_out == Tamix_FLOAT32) {
              EXPECT_TRUE(sameBytes(f.out32, Image<float>(shape).fill(result)));
            } else {
              EXPECT_TRUE(
                  sameBytes(f.out8, Image<uint8_t>(shape).fill([&](int32_t y, size_t i) { return saturated(result(y, i)); })));
            }
          }
        }
      }
    }
  }
}

TEST(ArithmeticOperators, TakeLargeImagesOfMixedElementTypes) {
  const Shape shape{2101, 2005, 2103, 1};
  if (!isStreamed(shape.elements() * sizeof(float))) GTEST_SKIP() << "as small ones on this machine";
  const Frames f(shape);
  for (const Arithmetic& o : kOperators) {
    const RunningOperator op(o.type);
    for (const bool bytes_first : {true, false}) {
      SCOPED_TRACE(testing::Message() << o.name << (bytes_first ? " bytes first" : " floats first"));
      TamixParams params = bytes_first ? f.record(Tamix_UINT8, Tamix_FLOAT32, Tamix_FLOAT32)
                                       : f.record(Tamix_FLOAT32, Tamix_UINT8, Tamix_FLOAT32);
      LogCapture log;
      EXPECT_EQ(op.run(params), TAMIX_OK);
      EXPECT_EQ(log.messages().back(), "dataUINT8ToFLOAT32 forward");
      EXPECT_TRUE(sameBytes(f.out32, Image<float>(shape).fill([&](int32_t y, size_t i) {
        return bytes_first ? o.op(f.a8.row(y)[i], f.b32.row(y)[i]) : o.op(f.a32.row(y)[i], f.b8.row(y)[i]);
      })));
    }
  }
}

TEST(ArithmeticOperators, WorkInPlaceAlsoWhereAnInputIsConverted) {
  const Shape shape{300, 120, 300, 1};  // more rows than are converted at a time
  const Frames f(shape);
  Image<float> expected(shape);
  expected.fill([&](int32_t y, size_t i) { return static_cast<float>(f.a8.row(y)[i]) + f.b32.row(y)[i]; });
  // The float output lies over the bytes of input 0 and the floats of input 1 in turn.
  for (const bool over_bytes : {true, false}) {
    Image<float> memory(shape);
    TamixParams params = f.record(Tamix_UINT8, Tamix_FLOAT32, Tamix_FLOAT32);
    params.output[0].data[0] = memory.data();
    if (over_bytes) {
      std::memcpy(memory.data(), f.a8.data(), f.a8.elements());
      params.input[0].data[0] = memory.data();
    } else {
      std::memcpy(memory.data(), f.b32.data(), f.b32.elements() * sizeof(float));
      params.input[1].data[0] = memory.data();
    }
    EXPECT_EQ(RunningOperator(TAMIX_OP_ADD).run(params), TAMIX_OK);
    EXPECT_TRUE(sameBytes(memory, expected));
  }
}

// The framework converts what an operator wrote: that does not include other outputs of the record.
TEST(FloatOperators, LeaveAnotherOutputOfBytesAlone) {
  const Shape shape{8, 3, 8, 1};
  const Frames f(shape);
  const Image<uint8_t> before(shape), other(shape);
  for (const int32_t type :
       {TAMIX_OP_ADD, TAMIX_OP_NORMALIZATION, TAMIX_OP_CONVERT_SCALE_ABS, TAMIX_OP_RESIZE_BILINEAR, TAMIX_OP_MEAN_FILTER}) {
    TamixParams params = f.record(Tamix_FLOAT32, Tamix_FLOAT32, Tamix_FLOAT32);
    params.std_value = 1;
    params.kernel_size = 3;
    params.output[1] = other.record(Tamix_GRAY, Tamix_UINT8);
    EXPECT_EQ(RunningOperator(type).run(params), TAMIX_OK) << type;
    EXPECT_TRUE(sameBytes(other, before)) << type;
  }
}

TEST(ArithmeticOperators, RefuseInOrder) {
  const Frames f({4, 3, 6, 3});
  for (const Arithmetic& o : kOperators) {
    expectRefusals(
        o.type, o.file, f.record(Tamix_FLOAT32, Tamix_FLOAT32, Tamix_FLOAT32),
        {{"strides first",
          [](TamixParams& p) {
            p.input[1].type = 0;  // unused: nothing completes or checks it before
            p.input[1].width_stride = 3;
            p.input[1].height = 9;
          },
          "Recieve unsupported stride: 6 3 6"},
         {"another height", [](auto& p) { p.input[1].height = 2, p.input[0].type = 5; }, "Recieve unequal shape or data type"},
         {"another output width", [](auto& p) { p.output[0].width = 3; }, "Recieve unequal shape or data type"},
         {"another channel count of input 1", [](auto& p) { p.input[1].channel = 1; }, "Recieve unequal shape or data type"},
         {"another channel count of the output", [](auto& p) { p.output[0].channel = 1; },
          "Recieve unequal shape or data type"},
         {"unknown types", [](auto& p) { p.input[0].type = p.output[0].type = 5; }, "Recieve unsupported data type: 5"},
         {"an unused input 1", [](auto& p) { p.input[1].type = 0; }, "Recieve unsupported data type: 0"},
         {"an unknown output type", [](auto& p) { p.output[0].type = 3; }, "Recieve unsupported data type: 3", o.mixed},
         {"unknown equal inputs", [](auto& p) { p.input[0].type = p.input[1].type = 2; }, "Recieve unsupported data type: 8",
          o.mixed},
         {"an unknown input 1", [](auto& p) { p.input[0].type = Tamix_UINT8, p.input[1].type = 7; },
          "Recieve unsupported data type: 8", o.mixed},
         {"planes apart",
          [](TamixParams& p) {
            for (TamixImage* image : {&p.input[0], &p.input[1], &p.output[0]}) image->channel = 2;
            p.input[1].format = Tamix_I420;
          },
          "Recieve unsupported data format: 2, 8 and 2 with 2 channels"}});
    const RunningOperator op(o.type);
    TamixParams params = f.record(Tamix_UINT8, Tamix_FLOAT32, Tamix_FLOAT32);
    LogCapture log;
    {
      const FailingMemalign failing(0);
      EXPECT_EQ(op.run(params), TAMIX_ERR_NO_MEMORY);
    }
    EXPECT_EQ(log.messages().back(), std::string(o.name) + " forward");  // before anything is converted
    EXPECT_EQ(log.errors(),
              std::vector<std::string>{errorLine(o.file, o.mixed, "failed to allocate memory for arithmetic computation.")});
    EXPECT_EQ(op.run(params), TAMIX_OK);
  }
}

TEST(DataTypeConvertCPU, ConvertsBothWaysInPlaceToo) {
  const Shape shape{11, 3, 13, 3};
  const RunningOperator op(TAMIX_OP_DATA_TYPE_CONVERT);
  const Image<uint8_t> bytes = randomImage<uint8_t>(shape);
  Image<float> floats(shape);
  TamixParams params = recordOf(bytes, bytes);
  params.output[0] = floats.record(Tamix_RGB, Tamix_FLOAT32);
  EXPECT_EQ(op.run(params), TAMIX_OK);
  EXPECT_TRUE(sameBytes(floats, Image<float>(shape).fill([&](int32_t y, size_t i) { return bytes.row(y)[i]; })));

  params.input[0] = floats.record(Tamix_RGB, Tamix_FLOAT32);
  params.output[0] = floats.record(Tamix_RGB, Tamix_UINT8);
  EXPECT_EQ(op.run(params), TAMIX_OK);
  const auto* narrowed = reinterpret_cast<const uint8_t*>(floats.data());
  for (int32_t y = 0; y < shape.height; ++y) {
    EXPECT_EQ(std::memcmp(narrowed + static_cast<size_t>(y) * shape.pitch(), bytes.row(y), shape.rowElements()), 0);
  }
}

TEST(DataTypeConvertCPU, RefusesInOrder) {
  const Shape shape{4, 4, 4, 2};
  const Image<uint8_t> src(shape);
  const Image<float> dst(shape);
  TamixParams served = recordOf(src, src);
  served.output[0] = dst.record(Tamix_RGB, Tamix_FLOAT32);
  expectRefusals(
      TAMIX_OP_DATA_TYPE_CONVERT, "runtime/cpu/op/datatypeconvert_cpu.cpp", served,
      {{"channels first", [](auto& p) { p.output[0].channel = 1, p.output[0].width = 2; },
        "Recieve unsupported input and output channel: 2, 1"},
       {"then sizes", [](auto& p) { p.output[0].width = 2, p.output[0].type = Tamix_UINT8; },
        "Recieve unsupported input and output shape: (4, 4) and (4, 2)"},
       {"a source that is shorter than it is read", [](auto& p) { p.output[0].width_stride = 5; },
        "Recieve unsupported input and output stride: 4, 5"},
       {"a frame into a packed image", [](auto& p) { p.input[0].format = Tamix_I420; },
        "Recieve unsupported input and output format: 8, 2"},
       {"a packed image into a frame",
        [](auto& p) { p.output[0].format = Tamix_NV21, p.output[0].data[1] = p.output[0].data[0]; },
        "Recieve unsupported input and output format: 2, 18"},
       {"two planes into three",
        [](TamixParams& p) {
          p.input[0].format = Tamix_NV21;
          p.output[0].format = Tamix_I420;
          for (TamixImage* image : {&p.input[0], &p.output[0]}) image->data[1] = image->data[2] = image->data[0];
        },
        "Recieve unsupported input and output format: 18, 8"},
       {"equal types, wherever the source ends", [](auto& p) { p.output[0].type = Tamix_UINT8, p.output[0].width_stride = 5; },
        "recieved unsupported type 1 and 1.", "dataTypeInputToOutput", TAMIX_ERR_UNSUPPORTED, "core/operator.cpp"}});
}

}  // namespace
}  // namespace tamix::test
