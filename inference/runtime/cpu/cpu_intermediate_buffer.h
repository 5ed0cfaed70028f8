// Scratch blocks that operators borrow during one run; kept and reused between runs.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "inference/utils/aligned_block.h"
#include "tamix/framework.hpp"

namespace tamix {

class CPUIntermediateBuffer final : public IntermediateBuffer {
 public:
  explicit CPUIntermediateBuffer(bool use_intermediate_buffer) : use_intermediate_buffer_(use_intermediate_buffer) {}

  // A block of at least `size` bytes that nobody else gets in this run; null outside a run or without memory.
  void* requestMemoryBuffer(int32_t size) override;
  void setMemoryType(int32_t mode) override { memory_type_ = mode; }
  void beginRequest(TamixParams* params) override;
  void endRequest() override { requested_ = false; }
  void releaseMemory() override { nodes_.clear(); }

 private:
  struct Node {
    Node(AlignedBlock block, int32_t bytes) : data(std::move(block)), size(bytes) {}

    AlignedBlock data;
    int32_t size;       // bytes
    bool free = false;  // may be handed out in this run
  };

  [[maybe_unused]] bool use_intermediate_buffer_;
  bool requested_ = false;
  int32_t memory_type_ = 0;                   // alignment mode of allocateBlock
  std::vector<std::shared_ptr<Node>> nodes_;  // largest first
};

}  // namespace tamix
