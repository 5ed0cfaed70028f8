#include "inference/core/runtime.h"

#include <atomic>
#include <map>
#include <new>

#include "inference/core/abstract_constructor.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

using CreatorMap = std::map<int32_t, const RuntimeCreator*>;

// Created on first use, never destroyed: runtimes may be asked for until the process ends.
CreatorMap& creators() {
  static CreatorMap& map = *new CreatorMap;
  return map;
}

constinit const KernelTable* tamixCPUCVFunctions = nullptr;
constinit std::atomic<bool> kernel_table_taken = false;

const KernelTable* takeKernelTable() {
  if (kernel_table_taken.exchange(true)) TAMIX_INFO("tamixCPUCVFunctions have been already initialized");
  return tamixCPUCVFunctions;
}

}  // namespace

void setTamixKernelTable(const KernelTable* table) { tamixCPUCVFunctions = table; }

Runtime::Runtime(RuntimeConfig& config)
    : kernel_table_(takeKernelTable()), device_flag_0_(config.device_flag_0), device_flag_1_(config.device_flag_1) {}

Runtime::~Runtime() = default;

int32_t Runtime::forwardRutime(int32_t type, TamixParams* params) { return runOperator(type, params); }

bool insertTamixRuntimeCreator(TamixDeviceType type, const RuntimeCreator* creator) {
  TAMIX_REQUIRE(creator != nullptr, false, "Recieved null creator.");
  if (!creators().emplace(type, creator).second) {
    TAMIX_DEBUG("DeviceType has been exist.");
    return false;
  }
  return true;
}

const RuntimeCreator* getTamixRuntimeCreator(TamixDeviceType type) {
  const auto found = creators().find(type);
  TAMIX_REQUIRE(found != creators().end(), nullptr, "Do not found this DeviceType.");
  return found->second;
}

Runtime* create(RuntimeRequest& request) {
  const RuntimeCreator* const creator = getTamixRuntimeCreator(static_cast<TamixDeviceType>(request.device_type));
  TAMIX_REQUIRE(creator != nullptr, nullptr, "Cannot found creator: %d", request.device_type);
  TAMIX_INFO("create runtime %d", request.device_type);
  Runtime* const runtime = creator->create(request.config);
  TAMIX_REQUIRE(runtime != nullptr, nullptr, "Create Runtime failed.");
  return runtime;
}

TAMIX_ABSTRACT_CONSTRUCTOR(tamixRuntimeConstructor, "_ZN5tamix7RuntimeC1ERNS_13RuntimeConfigE",
                           "_ZN5tamix7RuntimeC2ERNS_13RuntimeConfigE")

}  // namespace tamix
