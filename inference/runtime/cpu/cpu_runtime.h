// The CPU runtime, and the registry of its operators.
#pragma once

#include "tamix/framework.hpp"

namespace tamix {

class CPURuntime final : public Runtime {
 public:
  explicit CPURuntime(RuntimeConfig& config);

  bool init() override { return ready_; }
  int32_t getThreadNumber() override { return thread_number_; }
  int32_t setAffinity(int32_t power_mode, int32_t num_threads) override;
  void releaseIntermediateBuffer() override;
  Operator* createOperator(int32_t type) override;
  int32_t runOperator(int32_t type, TamixParams* params) override;
};

class CPURuntimeCreator final : public RuntimeCreator {
 public:
  Runtime* create(RuntimeConfig& config) const override;
};

// Registers the creator of an operator type; it lives for the whole process. The first creator of a type stays.
void addCPUOperator(int32_t type, const Runtime::OperatorCreator* creator);

}  // namespace tamix
