// Runtimes, the two registries, and the scratch pool.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "inference/core/runtime.h"
#include "inference/runtime/cpu/cpu_intermediate_buffer.h"
#include "inference/runtime/cpu/cpu_runtime.h"
#include "inference/runtime/cpu/kernel_table.h"
#include "tests/support/allocation.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;

RuntimeConfig cpuConfig(int32_t num_threads) {
  RuntimeConfig config{};
  config.power_mode = -1;
  config.num_threads = num_threads;
  return config;
}

TEST(RuntimeRegistry, KeepsTheFirstCreatorOfADevice) {
  const CPURuntimeCreator second;
  LogCapture log;
  EXPECT_FALSE(insertTamixRuntimeCreator(Tamix_ARM_CPU, &second));
  EXPECT_FALSE(insertTamixRuntimeCreator(Tamix_ARM_CPU, nullptr));
  EXPECT_NE(getTamixRuntimeCreator(Tamix_ARM_CPU), &second);
  EXPECT_EQ(log.messages(), Lines{"DeviceType has been exist."});
  EXPECT_EQ(log.errors(), Lines{errorLine("core/runtime.cpp", "insertTamixRuntimeCreator", "Recieved null creator.")});
}

class NullCreator final : public RuntimeCreator {
 public:
  Runtime* create(RuntimeConfig& /*config*/) const override { return nullptr; }
};

TEST(RuntimeRegistry, ReportsAbsentAndFailingCreators) {
  static const NullCreator failing;
  ASSERT_TRUE(insertTamixRuntimeCreator(static_cast<TamixDeviceType>(6), &failing));
  RuntimeRequest request{};
  LogCapture log;
  request.device_type = 5;
  EXPECT_EQ(create(request), nullptr);
  request.device_type = 6;
  EXPECT_EQ(create(request), nullptr);
  EXPECT_EQ(log.errors(), (Lines{errorLine("core/runtime.cpp", "getTamixRuntimeCreator", "Do not found this DeviceType."),
                                 errorLine("core/runtime.cpp", "create", "Cannot found creator: 5"),
                                 errorLine("core/runtime.cpp", "create", "Create Runtime failed.")}));
  EXPECT_EQ(log.messages(), Lines{"create runtime 6"});
}

class NoOperators final : public Runtime::OperatorCreator {
 public:
  Operator* create(Runtime* /*runtime*/) const override { return nullptr; }
};

TEST(CPURuntime, TakesThreadNumberAndTableFromItsConfiguration) {
  RuntimeConfig config = cpuConfig(3);
  config.device_flag_0 = true;
  const std::unique_ptr<Runtime> runtime(CPURuntimeCreator().create(config));
  ASSERT_NE(runtime, nullptr);
  EXPECT_TRUE(runtime->init());
  EXPECT_EQ(runtime->getThreadNumber(), 3);
  EXPECT_EQ(runtime->setAffinity(-1, 2), 2);
  EXPECT_EQ(runtime->setAffinity(-1, 9), 2);  // the mode gives back the current number
  EXPECT_EQ(runtime->getThreadNumber(), 2);
  EXPECT_EQ(runtime->kernelTable(), &kernelTable());
  EXPECT_NE(runtime->intermediateBuffer(), nullptr);
  EXPECT_TRUE(runtime->deviceFlag0());
  EXPECT_FALSE(runtime->deviceFlag1());
  EXPECT_EQ(runtime->forwardRutime(0, nullptr), 0);
  LogCapture log;
  EXPECT_EQ(runtime->createOperator(5), nullptr);
  addCPUOperator(77, nullptr);
  static const NoOperators no_operators;
  addCPUOperator(TAMIX_OP_ADD, &no_operators);  // the first one stays
  EXPECT_NE(std::unique_ptr<Operator>(runtime->createOperator(TAMIX_OP_ADD)), nullptr);
  EXPECT_EQ(log.errors(),
            (Lines{errorLine("runtime/cpu/cpu_runtime.cpp", "createOperator", "Cannot found operator 5 in cpu operator map."),
                   errorLine("runtime/cpu/cpu_runtime.cpp", "addCPUOperator", "Recieved null operator creator."),
                   errorLine("runtime/cpu/cpu_runtime.cpp", "addCPUOperator",
                             "operator 32 in cpu operator map has already existed.")}));
}

TEST(CPUIntermediateBuffer, HandsOutBlocksOnlyDuringARun) {
  CPUIntermediateBuffer pool(true);
  LogCapture log;
  EXPECT_EQ(pool.requestMemoryBuffer(10), nullptr);
  pool.beginRequest(nullptr);
  EXPECT_NE(pool.requestMemoryBuffer(10), nullptr);
  pool.endRequest();
  EXPECT_EQ(pool.requestMemoryBuffer(10), nullptr);
  const std::string closed =
      errorLine("runtime/cpu/cpu_intermediate_buffer.cpp", "requestMemoryBuffer", "CPUIntermediateBuffer is not requested");
  EXPECT_EQ(log.errors(), (Lines{closed, closed}));
}

TEST(CPUIntermediateBuffer, ReusesTheLargestFreeBlockAndReplacesTooSmallOnes) {
  CPUIntermediateBuffer pool(true);
  pool.beginRequest(nullptr);
  void* const large = pool.requestMemoryBuffer(100);
  void* const small = pool.requestMemoryBuffer(50);
  pool.endRequest();

  LogCapture log;
  pool.beginRequest(nullptr);
  EXPECT_EQ(pool.requestMemoryBuffer(80), large);
  EXPECT_EQ(pool.requestMemoryBuffer(40), small);
  void* const third = pool.requestMemoryBuffer(30);
  EXPECT_NE(third, nullptr);
  EXPECT_TRUE(log.lines().empty());
  pool.endRequest();

  pool.beginRequest(nullptr);
  void* const larger = pool.requestMemoryBuffer(200);
  EXPECT_EQ(log.messages(), Lines{"reallocation memory from 100 to 200 for CPUIntermediateBuffer 0"});
  EXPECT_EQ(pool.requestMemoryBuffer(50), small);
  pool.endRequest();
  pool.beginRequest(nullptr);
  EXPECT_EQ(pool.requestMemoryBuffer(1), larger);
}

TEST(CPUIntermediateBuffer, ReportsFailuresAndStaysUsable) {
  CPUIntermediateBuffer pool(false);
  pool.beginRequest(nullptr);
  ASSERT_NE(pool.requestMemoryBuffer(10), nullptr);
  pool.beginRequest(nullptr);
  LogCapture log;
  {
    const FailingMemalign failing(0);
    EXPECT_EQ(pool.requestMemoryBuffer(20), nullptr);  // the 10-byte block is gone
    EXPECT_TRUE(failing.struck());
  }
  EXPECT_EQ(pool.requestMemoryBuffer(-1), nullptr);
  pool.setMemoryType(3);
  EXPECT_EQ(pool.requestMemoryBuffer(20), nullptr);
  const std::string file = "runtime/cpu/cpu_intermediate_buffer.cpp";
  const auto failed = [&](const char* i) {
    return errorLine(file, "requestMemoryBuffer",
                     std::string("Memory reallocation for CPUIntermediateBuffer ") + i + " failed");
  };
  EXPECT_EQ(log.errors(), (Lines{failed("0"), failed("-1"), failed("-1")}));
  pool.setMemoryType(1);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(pool.requestMemoryBuffer(20)) % 4096, 0u);
  pool.releaseMemory();
  EXPECT_NE(pool.requestMemoryBuffer(20), nullptr);
}

}  // namespace
}  // namespace tamix::test
