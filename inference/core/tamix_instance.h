// The instance behind a handle: its runtimes, its operators, and the memory it handed out.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "inference/core/runtime.h"
#include "inference/utils/aligned_block.h"

struct TamixInstance {
 public:
  explicit TamixInstance(int32_t device_type) : requested_device_(device_type) {}
  ~TamixInstance();

  // Creates the runtimes. The instance becomes valid when this returns TAMIX_OK.
  int32_t init(const tamix::RuntimeRequest& request);
  int32_t registCVFunction(int32_t type);
  int32_t runTamix(int32_t type, TamixParams* params);
  // Null (and an error line) when the memory cannot be had.
  void* requestMemoryBuffer(uint32_t size, int32_t mode);
  void releaseMemory();
  // Null when the runtime could not be created.
  tamix::Runtime* runtime() const { return primary_.get(); }

 private:
  static std::shared_ptr<tamix::Runtime> _createRuntime(tamix::RuntimeRequest request);

  std::shared_ptr<tamix::Runtime> primary_;
  std::shared_ptr<tamix::Runtime> secondary_;  // a CPU runtime, where another device was asked for
  std::map<int32_t, std::shared_ptr<tamix::Operator>> operators_;
  bool valid_ = false;
  int32_t requested_device_;
  std::vector<tamix::AlignedBlock> blocks_;
};
