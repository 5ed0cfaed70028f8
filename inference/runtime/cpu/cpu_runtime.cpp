#include "inference/runtime/cpu/cpu_runtime.h"

#include <algorithm>
#include <map>
#include <new>

#include "inference/core/runtime.h"
#include "inference/runtime/cpu/cpu_intermediate_buffer.h"
#include "inference/runtime/cpu/cpu_thread.h"
#include "inference/runtime/cpu/kernel_table.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

using OperatorMap = std::map<int32_t, const Runtime::OperatorCreator*>;

// Created on first use, never destroyed: operators may be asked for until the process ends.
OperatorMap& operators() {
  static OperatorMap& map = *new OperatorMap;
  return map;
}

// At most `most` of the cores of a power mode, at least one thread.
int32_t boundThreads(int32_t power_mode, int32_t num_threads, int32_t most) {
  return std::max(1, std::min(getNumThreads(power_mode, num_threads), most));
}

[[maybe_unused]] const bool registered = [] {
  setTamixKernelTable(&kernelTable());
  return insertTamixRuntimeCreator(Tamix_ARM_CPU, new CPURuntimeCreator);
}();

}  // namespace

CPURuntime::CPURuntime(RuntimeConfig& config) : Runtime(config) {
  thread_number_ = config.num_threads < 1 ? 1 : boundThreads(config.power_mode, 4, config.num_threads);
  intermediate_buffer_.reset(new (std::nothrow) CPUIntermediateBuffer(config.use_intermediate_buffer));
  ready_ = true;
}

int32_t CPURuntime::setAffinity(int32_t power_mode, int32_t num_threads) {
  thread_number_ = boundThreads(power_mode, thread_number_, num_threads);
  return thread_number_;
}

void CPURuntime::releaseIntermediateBuffer() {
  if (intermediate_buffer_ != nullptr) intermediate_buffer_->releaseMemory();
}

Operator* CPURuntime::createOperator(int32_t type) {
  const auto found = operators().find(type);
  TAMIX_REQUIRE(found != operators().end(), nullptr, "Cannot found operator %d in cpu operator map.", type);
  return found->second->create(this);
}

int32_t CPURuntime::runOperator(int32_t /*type*/, TamixParams* /*params*/) { return TAMIX_OK; }

Runtime* CPURuntimeCreator::create(RuntimeConfig& config) const { return new (std::nothrow) CPURuntime(config); }

void addCPUOperator(int32_t type, const Runtime::OperatorCreator* creator) {
  if (creator == nullptr) {
    TAMIX_ERROR("Recieved null operator creator.");
    return;
  }
  if (!operators().emplace(type, creator).second) {
    TAMIX_ERROR("operator %d in cpu operator map has already existed.", type);
  }
}

}  // namespace tamix
