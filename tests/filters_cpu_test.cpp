// The 3x3 filters as operators: what they refuse, in which order, and what they remember.
#include <gtest/gtest.h>

#include "inference/runtime/cpu/cpu_runtime.h"
#include "inference/runtime/cpu/kernel_table.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;

void wrongType(TamixParams& p) { p.input[0].type = Tamix_FLOAT32; }
void wrongSize(TamixParams& p) {
  p.output[0].height = 2;
  wrongType(p);
}
void wrongChannel(TamixParams& p) {
  p.output[0].channel = 1;
  wrongSize(p);
}

void severalPlanes(TamixParams& p) {
  p.input[0].format = Tamix_NV12;
  p.input[0].height = p.output[0].height = 2;
  p.input[0].data[1] = p.input[0].data[0];
}

TEST(FilterOperators, RefuseInOrder) {
  const Image<uint8_t> src = randomImage<uint8_t>({12, 3, 12, 3}), dst(src.shape());
  TamixParams served = recordOf(src, dst);
  served.kernel_size = 3;
  const std::vector<Refusal> common = {{"channel", wrongChannel, "Recieve unsupported input and output channel: 3, 1"},
                                       {"size", wrongSize, "Recieve unsupported input and output shape: (3, 12) and (2, 12)"},
                                       {"type", wrongType, "Recieve unsupported data type: 8"},
                                       {"planes", severalPlanes, "Recieve unsupported data format: 17 with 3 channels"}};
  expectRefusals(TAMIX_OP_LAPLACIAN_FILTER, "runtime/cpu/op/laplacianfilter_cpu.cpp", served, common);
  expectRefusals(TAMIX_OP_GAUSSIAN_FILTER, "runtime/cpu/op/gaussianfilter_cpu.cpp", served, common);
  expectRefusals(TAMIX_OP_GAUSSIAN_FILTER, "runtime/cpu/op/gaussianfilter_cpu.cpp", served,
                 {{"no kernel size", [](auto& p) { p.kernel_size = -1, p.kernel_height = 3, wrongType(p); },
                   "Recieve unsupported kernel size: -1"}});
}

TEST(GaussianFilterCPU, KeepsItsKernelOnceSetAndIgnoresScale) {
  const RunningOperator filter(TAMIX_OP_GAUSSIAN_FILTER);
  const Image<uint8_t> src = randomImage<uint8_t>({40, 6, 43, 1});
  const Image<uint8_t> dst(src.shape());
  TamixParams params = recordOf(src, dst, Tamix_GRAY);
  params.kernel_height = -3;
  params.kernel_width = 3;
  EXPECT_EQ(filter.run(params), TAMIX_ERR_NO_MEMORY);  // no kernel yet: one would have to be built
  params.kernel_size = 5;
  params.kernel_height = -1;
  EXPECT_EQ(filter.run(params), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(src.shape())));

  params.kernel_size = 3;
  params.scale = 1.5;
  LogCapture log;
  EXPECT_EQ(filter.run(params), TAMIX_OK);
  EXPECT_EQ(log.messages(), (Lines{"Recieve kernel size: 3 / (3, 3)", "gaussianFilterCPUUINT8 forward",
                                   "filter3x3SymmetricalKernelCPUUINT8 forward"}));
  const auto at = [&](int32_t y, int32_t x) { return int32_t{src.at(y, x)}; };
  EXPECT_EQ(dst.at(2, 7),
            (at(1, 6) + at(1, 8) + at(3, 6) + at(3, 8) + 2 * (at(1, 7) + at(2, 6) + at(2, 8) + at(3, 7)) + 4 * at(2, 7)) / 16);
  params.kernel_height = -3;
  EXPECT_EQ(filter.run(params), TAMIX_OK);  // the binomial kernel stays set
}

TEST(LaplacianFilterCPU, TakesApertureOneByDefault) {
  const RunningOperator filter(TAMIX_OP_LAPLACIAN_FILTER);
  const Image<uint8_t> src = randomImage<uint8_t>({40, 6, 43, 1});
  const Image<uint8_t> dst(src.shape());
  TamixParams params = recordOf(src, dst, Tamix_GRAY);
  params.abs_output = 1;
  params.kernel_height = 3;
  params.scale = 0.25;
  params.delta = -1.5;
  const auto at = [&](int32_t y, int32_t x) { return int32_t{src.at(y, x)}; };
  LogCapture log;
  EXPECT_EQ(filter.run(params), TAMIX_OK);
  EXPECT_EQ(log.messages(), (Lines{"Recieve kernel size: -1 / (1, 1)", "Recieve scale: 0.250000 and delta: -1.500000",
                                   "laplacianFilterCPUUINT8 forward"}));
  EXPECT_EQ(dst.at(2, 7), std::min(std::abs(at(1, 7) + at(3, 7) + at(2, 6) + at(2, 8) - 4 * at(2, 7)), 255));
  params.kernel_width = 3;
  EXPECT_EQ(filter.run(params), TAMIX_OK);
  EXPECT_EQ(dst.at(2, 7), std::min(std::abs(2 * (at(1, 6) + at(1, 8) + at(3, 6) + at(3, 8)) - 8 * at(2, 7)), 255));
  params.kernel_width = 1;
  log.clear();
  EXPECT_EQ(filter.run(params), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), Lines{errorLine("runtime/cpu/arm/uint8/laplacianfilter_cpu_uint8.cpp", "laplacianFilterCPUUINT8",
                                          "Recieved unsupported kernel size 3, 1")});
}

TEST(FilterOperators, AreNotReadyWithoutTheirKernels) {
  const auto create = [](int32_t type) {
    RuntimeConfig config{};
    CPURuntime runtime(config);
    return std::unique_ptr<Operator>(runtime.createOperator(type));
  };
  struct Case {
    int32_t type;
    int64_t allocation;
    std::string file;
    std::string function;
  };
  const Case gaussian = {TAMIX_OP_GAUSSIAN_FILTER, 0, "gaussianfilter_cpu.cpp", "GaussianFilterCPU"};
  const Case laplacian = {TAMIX_OP_LAPLACIAN_FILTER, 0, "laplacianfilter_cpu.cpp", "LaplacianFilterCPU"};
  for (const Case& c : {gaussian, laplacian, Case{laplacian.type, 1, laplacian.file, laplacian.function}}) {
    LogCapture log;
    const FailingMemalign failing(c.allocation);
    const auto filter = create(c.type);
    ASSERT_NE(filter, nullptr);
    EXPECT_FALSE(filter->ready());
    EXPECT_EQ(log.errors(), Lines{errorLine("runtime/cpu/op/" + c.file, c.function, "failed to allocate memory")});
  }
  EXPECT_TRUE(create(TAMIX_OP_GAUSSIAN_FILTER)->ready());
  EXPECT_TRUE(create(TAMIX_OP_LAPLACIAN_FILTER)->ready());
  EXPECT_EQ(offsetof(KernelTable, gaussianFilterCPUUINT8), 27 * sizeof(void*));
  EXPECT_EQ(offsetof(KernelTable, laplacianFilterCPUUINT8), 28 * sizeof(void*));
}

}  // namespace
}  // namespace tamix::test
