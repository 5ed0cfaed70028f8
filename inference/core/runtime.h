// The registry of runtime creators, and what an instance asks it for.
#pragma once

#include "tamix/framework.hpp"

namespace tamix {

// What initTamix asks for.
struct RuntimeRequest {
  int32_t device_type;
  int32_t log_level;
  RuntimeConfig config;
};

// The creator of a device's runtimes; null (and an error line) when there is none.
const RuntimeCreator* getTamixRuntimeCreator(TamixDeviceType type);

// A new runtime, owned by the caller; null (and an error line) on failure.
Runtime* create(RuntimeRequest& request);

// Hands the process-wide kernel table to the runtimes; called at load by whoever owns the kernels.
void setTamixKernelTable(const KernelTable* table);

}  // namespace tamix
