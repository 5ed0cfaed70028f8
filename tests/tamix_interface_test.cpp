// Entry points: every check in its order, the life of an instance, and the defaults of the records byte by byte.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "inference/core/runtime.h"
#include "inference/runtime/cpu/cpu_runtime.h"
#include "tamix/tamix.h"
#include "tests/support/allocation.h"
#include "tests/support/count.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;
const std::string kInterface = "tamix/src/tamix_interface.cpp";
const std::string kInstance = "core/tamix_instance.cpp";

// An operator that does nothing; type 900. Types 901 and 902 cannot be created, for 904 there is no memory.
class IdleOperator final : public Operator {
 public:
  static constexpr int32_t kNoMemory = 99;
  explicit IdleOperator(Runtime* runtime) : Operator(runtime) { ++alive; }
  ~IdleOperator() override { --alive; }
  int32_t forward(TamixParams* params) override {
    if (params->op_mode == kNoMemory) throw std::bad_alloc();
    return TAMIX_ERR_ILLEGAL_RECT;
  }
  int32_t threads() const { return threadNumber(); }
  static inline int alive = 0;
};

enum class Creation { kReady, kNotReady, kNull, kNoMemory };

class IdleCreator final : public Runtime::OperatorCreator {
 public:
  explicit IdleCreator(Creation creation) : creation_(creation) {}
  Operator* create(Runtime* runtime) const override {
    if (creation_ == Creation::kNull) return nullptr;
    if (creation_ == Creation::kNoMemory) throw std::bad_alloc();
    auto* const made = new IdleOperator(runtime);
    if (creation_ == Creation::kReady) made->setReady();
    return made;
  }

 private:
  Creation creation_;
};

void registerIdleOperators() {
  static const bool once = [] {
    static const IdleCreator ready(Creation::kReady), not_ready(Creation::kNotReady), null(Creation::kNull),
        no_memory(Creation::kNoMemory);
    addCPUOperator(900, &ready);
    addCPUOperator(901, &not_ready);
    addCPUOperator(902, &null);
    addCPUOperator(903, &ready);
    addCPUOperator(904, &no_memory);
    return true;
  }();
  (void)once;
}

TamixConfig quietConfig() {
  TamixConfig config;
  std::memset(&config, 0, sizeof(config));
  initTamixConfig(&config);
  config.perf_level = -1;  // leave the affinity of the test alone
  return config;
}

class Instance {
 public:
  explicit Instance(const TamixConfig& config = quietConfig()) { EXPECT_EQ(initTamix(&handle_, &config), TAMIX_OK); }
  ~Instance() { releaseTamix(&handle_); }
  operator TamixHandle() const { return handle_; }
  TamixHandle* address() { return &handle_; }

 private:
  TamixHandle handle_ = nullptr;
};

TEST(InitTamixConfig, WritesEveryDefaultAndLeavesTwoWordsAlone) {
  TamixConfig config;
  std::memset(&config, 0x5A, sizeof(config));
  initTamixConfig(&config);
  int32_t words[36];
  std::memcpy(words, &config, sizeof(words));
  const int32_t kept = 0x5A5A5A5A;
  const int32_t expected[36] = {0, 2, 3, 2, 0, 0, 1, 2, 1, 1, 0, 0, 4, kept, 0, 0, 0, 0,
                                4, 1, 0, 0, 0, 0, 4, 1, 0, 0, 0, 0, 0, kept, 0, 0, 0, 0};
  for (size_t i = 0; i < 36; ++i) EXPECT_EQ(words[i], expected[i]) << "word " << i;
}

// The record's settings as bytes: a value per 32-bit word, from offset 576 on.
TEST(InitTamixParams, WritesEveryDefaultByte) {
  TamixParams params;
  std::memset(&params, 0x5A, sizeof(params));
  initTamixParams(&params);
  std::vector<uint8_t> expected(sizeof(TamixParams), 0);
  const auto set = [&](size_t offset, size_t bytes) { std::memset(expected.data() + 576 + offset, 0xFF, bytes); };
  const auto word = [&](size_t offset, int32_t value) { std::memcpy(expected.data() + 576 + offset, &value, 4); };
  const auto real = [&](size_t offset, double value) { std::memcpy(expected.data() + 576 + offset, &value, 8); };
  set(0, 4);  // op_mode
  set(8, 8);
  set(40, 12);  // interpolation, geom_border_type, geom_border_value
  set(104, 4);
  set(112, 24);  // kernel sizes, morph_shape, morph_type, border_type
  word(140, 1);  // iterations
  set(144, 8);
  set(156, 8);
  set(288, 8);
  real(304, 1.0);  // affine_scale
  set(312, 4);
  set(376, 8);
  word(392, 1);
  for (int32_t i = 0; i < 4; ++i) word(420 + 4 * static_cast<size_t>(i), i);    // hist_channels
  for (int32_t i = 0; i < 4; ++i) word(436 + 4 * static_cast<size_t>(i), 255);  // hrange_max
  real(480, -1.0);                                                              // maxval
  set(488, 4);                                                                  // thresh_type
  set(528, 32);
  set(584, 8);
  set(592, 4);
  set(608, 24);
  const auto* const actual = reinterpret_cast<const uint8_t*>(&params);
  for (size_t i = 0; i < expected.size(); ++i) {
    if (i >= 576 + 52 && i < 576 + 56) continue;  // the only padding
    EXPECT_EQ(actual[i], expected[i]) << "offset " << i;
  }
}

TEST(InitFunctions, ReportNullRecords) {
  LogCapture log;
  initTamixConfig(nullptr);
  initTamixParams(nullptr);
  EXPECT_EQ(log.errors(), (Lines{errorLine(kInterface, "initTamixConfig", "recieved null config (nil)"),
                                 errorLine(kInterface, "initTamixParams", "recieved null params (nil)")}));
}

TEST(InitTamix, ChecksTheConfigurationInOrder) {
  struct Case {
    const char* what;
    void (*change)(TamixConfig&);
    const char* message;
  };
  const Case cases[] = {
      {"runtime first", [](TamixConfig& c) { c.runtime = 7, c.gpu_prior = 3; }, "runtime is not supported. runtime:7"},
      {"then the GPU priority", [](TamixConfig& c) { c.gpu_prior = 3, c.perf_level = 3; }, "GPU prior is wrong. prior:3"},
      {"then the power level", [](TamixConfig& c) { c.perf_level = 3, c.log_level = 9; }, "Power level is wrong. perflevel:3"},
      {"power level too low", [](TamixConfig& c) { c.perf_level = -2; }, "Power level is wrong. perflevel:-2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    TamixConfig config = quietConfig();
    c.change(config);
    int marker = 0;
    TamixHandle handle = reinterpret_cast<TamixHandle>(&marker);
    LogCapture log;
    EXPECT_EQ(initTamix(&handle, &config), TAMIX_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(log.errors(), Lines{errorLine(kInterface, "initTamix", c.message)});
  }
  LogCapture log;
  const TamixConfig config = quietConfig();
  EXPECT_EQ(initTamix(nullptr, &config), TAMIX_ERR_INVALID_ARGUMENT);
  TamixHandle handle = nullptr;
  EXPECT_EQ(initTamix(&handle, nullptr), TAMIX_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(log.errors(), (Lines{errorLine(kInterface, "initTamix", "input tamix_handle is null"),
                                 errorLine(kInterface, "initTamix", "recieved null config (nil)")}));
}

TEST(InitTamix, ClampsTheLogLevelWithOneErrorLine) {
  for (const auto& [level, clamped] : {std::pair{9, 5}, std::pair{-3, 0}}) {
    TamixConfig config = quietConfig();
    config.log_level = level;
    LogCapture log;
    const Instance instance(config);
    EXPECT_EQ(getLogLevel(), clamped);
    EXPECT_EQ(log.errors(), Lines{errorLine(kInterface, "initTamix", "log_level con not greater than 5 or less than 0!")});
  }
}

TEST(InitTamix, PrintsVersionAndRuntimeBelowLevelThree) {
  TamixConfig config = quietConfig();
  { const Instance first(config); }  // the kernel table is taken for the first time
  LogCapture log;
  { const Instance instance(config); }
  EXPECT_EQ(log.messages(), (Lines{std::string("Tamix version: ") + getTamixVersion(), "create runtime 0",
                                   "tamixCPUCVFunctions have been already initialized"}));
  for (const LogLine& line : log.lines()) {
    EXPECT_EQ(line.priority, 4);
    EXPECT_EQ(line.tag, "_X_TAMIX-");
  }
  config.log_level = 3;
  log.clear();
  { const Instance instance(config); }
  EXPECT_TRUE(log.lines().empty());
}

TEST(InitTamix, FallsBackToTheCPUForOtherDevices) {
  registerIdleOperators();
  for (const int32_t device : {3, -1}) {
    TamixConfig config = quietConfig();
    config.runtime = device;
    LogCapture log;
    Instance instance(config);
    EXPECT_EQ(log.errors(),
              (Lines{errorLine("core/runtime.cpp", "getTamixRuntimeCreator", "Do not found this DeviceType."),
                     errorLine("core/runtime.cpp", "create", "Cannot found creator: " + std::to_string(device)),
                     errorLine(kInstance, "_createRuntime", "Create runtime failed, use Tamix_ARM_CPU instead.")}));
    log.clear();
    // The secondary runtime is asked too, and cannot either.
    EXPECT_EQ(registTamixOperator(instance, 5), TAMIX_ERR_CREATE_OPERATOR);
    const std::string absent =
        errorLine("runtime/cpu/cpu_runtime.cpp", "createOperator", "Cannot found operator 5 in cpu operator map.");
    EXPECT_EQ(log.errors(), (Lines{absent, absent, errorLine(kInstance, "registCVFunction", "Create operator [5] failed.")}));
  }
}

// A runtime of device 4 that cannot be set up, or of device 5 that knows no operators.
class BareRuntime final : public Runtime {
 public:
  BareRuntime(RuntimeConfig& config, bool works) : Runtime(config), works_(works) {}
  bool init() override { return works_; }
  Operator* createOperator(int32_t /*type*/) override { return nullptr; }
  int32_t runOperator(int32_t /*type*/, TamixParams* /*params*/) override { return TAMIX_OK; }

 private:
  bool works_;
};

class BareCreator final : public RuntimeCreator {
 public:
  explicit BareCreator(bool works) : works_(works) {}
  Runtime* create(RuntimeConfig& config) const override { return new BareRuntime(config, works_); }

 private:
  bool works_;
};

TEST(InitTamix, LeavesAnInstanceThatRefusesEverythingWhereARuntimeFails) {
  static const BareCreator failing(false), working(true);
  ASSERT_TRUE(insertTamixRuntimeCreator(static_cast<TamixDeviceType>(4), &failing));
  ASSERT_TRUE(insertTamixRuntimeCreator(static_cast<TamixDeviceType>(5), &working));
  registerIdleOperators();
  TamixConfig config = quietConfig();
  config.runtime = 4;
  TamixHandle handle = nullptr;
  ASSERT_EQ(initTamix(&handle, &config), TAMIX_ERR_RUNTIME);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(registTamixOperator(handle, 900), TAMIX_ERR_INVALID_INSTANCE);
  EXPECT_EQ(releaseTamix(&handle), TAMIX_OK);

  // Operators that another device has not got run on the CPU.
  config.runtime = 5;
  config.log_level = 0;
  const Instance other(config);
  LogCapture log;
  EXPECT_EQ(registTamixOperator(other, 900), TAMIX_OK);
  EXPECT_EQ(log.messages(), Lines{"regist cvfunction 900 in CPU runtime"});
  EXPECT_EQ(registTamixOperator(other, 901), TAMIX_ERR_CREATE_OPERATOR);
}

TEST(Registration, KeepsTheFirstOfATypeAndDropsAllAfterAFailure) {
  registerIdleOperators();
  Instance instance;
  TamixParams params;
  initTamixParams(&params);
  params.output[0].type = Tamix_UINT8;
  params.output[0].width = params.output[0].height = 1;
  uint8_t pixel = 0;
  params.output[0].data[0] = &pixel;

  LogCapture log;
  EXPECT_EQ(registTamixOperator(instance, 900), TAMIX_OK);
  EXPECT_EQ(registTamixOperator(instance, 900), TAMIX_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(runTamix(instance, 900, &params), TAMIX_ERR_ILLEGAL_RECT);
  EXPECT_EQ(registTamixOperator(instance, 903), TAMIX_OK);
  EXPECT_EQ(IdleOperator::alive, 2);
  for (const int32_t failing : {5, 901, 902, -1}) {
    EXPECT_EQ(registTamixOperator(instance, failing), TAMIX_ERR_CREATE_OPERATOR);
    EXPECT_EQ(IdleOperator::alive, 0);
    EXPECT_EQ(runTamix(instance, 900, &params), TAMIX_ERR_INVALID_CALL);
    EXPECT_EQ(registTamixOperator(instance, 900), TAMIX_OK);
  }
  const Lines errors = log.errors();
  ASSERT_GE(errors.size(), 4u);
  EXPECT_EQ(errors[0], errorLine(kInstance, "registCVFunction", "cvfunction 900 has already existed"));
  EXPECT_EQ(errors[2], errorLine(kInstance, "registCVFunction", "Create operator [5] failed."));
  EXPECT_EQ(errors[3], errorLine(kInstance, "runTamix", "operator 900 has not been registed."));
  releaseTamix(instance.address());
  EXPECT_EQ(IdleOperator::alive, 0);
}

TEST(EntryPoints, ReportThatMemoryRanOutInside) {
  registerIdleOperators();
  const Instance instance;
  LogCapture log;
  EXPECT_EQ(registTamixOperator(instance, 904), TAMIX_ERR_NO_MEMORY);
  ASSERT_EQ(registTamixOperator(instance, 900), TAMIX_OK);
  TamixParams params;
  initTamixParams(&params);
  uint8_t pixel = 0;
  params.output[0] = imageRecord(Tamix_GRAY, Tamix_UINT8, 1, 1, 1);
  params.output[0].data[0] = &pixel;
  params.op_mode = IdleOperator::kNoMemory;
  EXPECT_EQ(runTamix(instance, 900, &params), TAMIX_ERR_NO_MEMORY);
  EXPECT_EQ(log.errors(), (Lines{errorLine(kInterface, "registTamixOperator", "failed to allocate memory"),
                                 errorLine(kInterface, "runTamix", "failed to allocate memory")}));
  params.op_mode = 0;
  EXPECT_EQ(runTamix(instance, 900, &params), TAMIX_ERR_ILLEGAL_RECT);
}

TEST(RunTamix, ChecksHandleThenRecordThenOperator) {
  Instance instance;
  TamixParams params;
  initTamixParams(&params);
  LogCapture log;
  EXPECT_EQ(runTamix(nullptr, 19, nullptr), TAMIX_ERR_INVALID_HANDLE);
  EXPECT_EQ(runTamix(instance, 5, nullptr), TAMIX_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(runTamix(instance, 5, &params), TAMIX_ERR_INVALID_CALL);
  EXPECT_EQ(registTamixOperator(nullptr, 19), TAMIX_ERR_INVALID_HANDLE);
  EXPECT_EQ(log.errors(), (Lines{errorLine(kInterface, "runTamix", "recieved illegal handel 0"),
                                 errorLine(kInstance, "runTamix", "recieved null params"),
                                 errorLine(kInstance, "runTamix", "operator 5 has not been registed."),
                                 errorLine(kInterface, "registTamixOperator", "recieved illegal handel 0")}));
}

TEST(Memory, AlignsByModeAndIsFreedAtOnce) {
  Instance instance;
  EXPECT_EQ(reinterpret_cast<uintptr_t>(requestTamixMemory(instance, 100, 0)) % 16, 0u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(requestTamixMemory(instance, 100, 1)) % 4096, 0u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(requestTamixMemory(instance, 100, 2)) % 16, 0u);
  LogCapture log;
  EXPECT_EQ(requestTamixMemory(instance, 100, 3), nullptr);
  EXPECT_EQ(requestTamixMemory(instance, 0xffffffff, -1), nullptr);
  EXPECT_EQ(requestTamixMemory(nullptr, 100, 0), nullptr);
  releaseTamixMemory(nullptr);
  const std::string inner = errorLine(kInstance, "requestMemoryBuffer", "Memory allocation failed");
  const std::string outer = errorLine(kInterface, "requestTamixMemory", "memory requestion failed");
  EXPECT_EQ(log.errors(),
            (Lines{inner, outer, inner, outer, errorLine(kInterface, "requestTamixMemory", "recieved illegal handel 0"),
                   errorLine(kInterface, "releaseTamixMemory", "recieved illegal handel 0")}));
  const int64_t live_before = liveBytes();
  ASSERT_NE(requestTamixMemory(instance, 4'000'000, 1), nullptr);
  releaseTamixMemory(instance);
  EXPECT_LT(liveBytes(), live_before);
  EXPECT_NE(requestTamixMemory(instance, 1, 1), nullptr);  // the sanitizers see whether it is freed with the instance
}

TEST(Memory, SurvivesFailedAllocationsAndThousandsOfBlocks) {
  const int64_t live_before = liveBytes();
  {
    Instance instance;
    LogCapture log;
    const std::string outer = errorLine(kInterface, "requestTamixMemory", "memory requestion failed");
    for (const int32_t mode : {0, 1, 2}) {
      for (const std::string& inner : {errorLine(kInstance, "requestMemoryBuffer", "Memory allocation failed"),
                                       errorLine(kInterface, "requestTamixMemory", "failed to allocate memory")}) {
        Instance fresh;  // has no list of blocks yet
        log.clear();
        {
          const FailingAllocation failing(inner.ends_with("Memory allocation failed") ? 0 : 1);
          EXPECT_EQ(requestTamixMemory(fresh, 100, mode), nullptr);
        }
        EXPECT_EQ(log.errors(), (Lines{inner, outer}));
        EXPECT_NE(requestTamixMemory(fresh, 100, mode), nullptr);
      }
      EXPECT_NE(requestTamixMemory(instance, 0, mode), nullptr);
      if (void* const huge = requestTamixMemory(instance, 0xffffffff, mode)) static_cast<uint8_t*>(huge)[0xfffffffe] = 1;
    }
    for (uint32_t i = 0; i < 5000; ++i) ASSERT_NE(requestTamixMemory(instance, i % 100, static_cast<int32_t>(i % 3)), nullptr);
  }
  EXPECT_EQ(liveBytes(), live_before);
}

size_t openFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

TEST(Instance, LeavesNothingBehind) {
  const long lives = countFromEnvironment("TAMIX_TEST_LIVES", 500);
  const auto live = [](long i) {
    TamixConfig config = quietConfig();
    config.log_level = 5;
    config.runtime = i % 5 == 0 ? 3 : 0;
    config.num_threads = static_cast<int32_t>(i % 4);
    TamixHandle handle = nullptr;
    ASSERT_EQ(initTamix(&handle, &config), TAMIX_OK);
    for (int32_t type = static_cast<int32_t>(i % 9); type < 70; type += 9) registTamixOperator(handle, type);
    TamixParams params;
    initTamixParams(&params);
    EXPECT_NE(runTamix(handle, static_cast<int32_t>(i % 70), &params), TAMIX_OK);
    for (const int32_t mode : {0, 1, 2, 3}) requestTamixMemory(handle, 1000, mode);
    setTamixCPUAffinity(handle, 0, 4);
    if (i % 2 == 0) releaseTamixMemory(handle);
    ASSERT_EQ(releaseTamix(&handle), TAMIX_OK);
  };
  live(0);  // finds out about the processors
  const size_t open_before = openFiles();
  const int64_t live_before = liveBytes();
  for (long i = 0; i < lives; ++i) live(i);
  EXPECT_EQ(liveBytes(), live_before);
  EXPECT_EQ(openFiles(), open_before);
}

// Without a runtime the instance is invalid: it refuses everything but to be released.
TEST(InvalidInstance, RefusesEveryCall) {
  const TamixConfig config = quietConfig();
  TamixHandle handle = nullptr;
  LogCapture log(4);
  {
    const FailingAllocation failing(1);
    ASSERT_EQ(initTamix(&handle, &config), TAMIX_ERR_RUNTIME);
  }
  ASSERT_NE(handle, nullptr);
  TamixParams params;
  initTamixParams(&params);
  log.clear();
  EXPECT_EQ(registTamixOperator(handle, 19), TAMIX_ERR_INVALID_INSTANCE);
  EXPECT_EQ(runTamix(handle, 19, &params), TAMIX_ERR_INVALID_INSTANCE);
  EXPECT_EQ(log.errors(), (Lines{errorLine(kInstance, "registCVFunction", "TamixInstance invalid!"),
                                 errorLine(kInstance, "runTamix", "TamixInstance invalid!")}));
  EXPECT_EQ(setTamixCPUAffinity(handle, -1, 3), 3);
  EXPECT_NE(requestTamixMemory(handle, 8, 0), nullptr);
  releaseTamixMemory(handle);
  EXPECT_EQ(releaseTamix(&handle), TAMIX_OK);
}

TEST(ReleaseTamix, ClearsTheHandleAndRefusesASecondCall) {
  TamixHandle handle = nullptr;
  const TamixConfig config = quietConfig();
  ASSERT_EQ(initTamix(&handle, &config), TAMIX_OK);
  LogCapture log;
  EXPECT_EQ(releaseTamix(&handle), TAMIX_OK);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(releaseTamix(&handle), TAMIX_ERR_INVALID_HANDLE);
  EXPECT_EQ(releaseTamix(nullptr), TAMIX_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(log.errors(), (Lines{errorLine(kInterface, "releaseTamix", "recieved illegal handel 0"),
                                 errorLine(kInterface, "releaseTamix", "input tamix_handle is null")}));
}

TEST(ThreadNumber, FollowsConfigurationAndAffinityCalls) {
  registerIdleOperators();
  for (const auto& [configured, threads] : {std::pair{0, 1}, std::pair{-4, 1}, std::pair{2, 2}, std::pair{8, 4}}) {
    TamixConfig config = quietConfig();
    config.num_threads = configured;
    const Instance instance(config);
    EXPECT_EQ(setTamixCPUAffinity(instance, -1, 100), threads);
  }
  LogCapture log;
  EXPECT_EQ(setTamixCPUAffinity(nullptr, -1, 6), 6);
  EXPECT_EQ(setTamixCPUAffinity(nullptr, -1, 0), 1);
  EXPECT_EQ(setTamixCPUAffinity(nullptr, -1, -5), 1);
  EXPECT_EQ(log.messages(), Lines(3, "set CPU affinity outside Tamix"));
}

TEST(Version, IsTheBuildsConstant) {
  EXPECT_STREQ(getTamixVersion(), "SHARED 2.0.1.0_6d0e91a2f4b8c7350e12d9a4b6f0c8e7d5a3b219");
}

TEST(ReservedEntryPoints, AreNotImplemented) {
  EXPECT_EQ(reservedTamixSetting(), TAMIX_ERR_INVALID_CALL);
  EXPECT_EQ(shareTamixMemblocks(0, nullptr, nullptr, nullptr, 0), TAMIX_ERR_INVALID_CALL);
}

}  // namespace
}  // namespace tamix::test
