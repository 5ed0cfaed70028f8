#include "inference/runtime/cpu/cpu_intermediate_buffer.h"

#include <algorithm>
#include <utility>

#include "inference/utils/tamix_log.h"

namespace tamix {

void CPUIntermediateBuffer::beginRequest(TamixParams* /*params*/) {
  requested_ = true;
  for (const auto& node : nodes_) node->free = true;
}

void* CPUIntermediateBuffer::requestMemoryBuffer(int32_t size) {
  TAMIX_REQUIRE(requested_, nullptr, "CPUIntermediateBuffer is not requested");
  int32_t i = -1;
  const auto largest_free = std::ranges::find_if(nodes_, [](const auto& node) { return node->free; });
  if (largest_free != nodes_.end()) {
    Node& node = **largest_free;
    if (node.size >= size) {
      node.free = false;
      return node.data.get();
    }
    i = static_cast<int32_t>(largest_free - nodes_.begin());
    TAMIX_DEBUG("reallocation memory from %d to %d for CPUIntermediateBuffer %d", node.size, size, i);
    nodes_.erase(largest_free);
  }
  AlignedBlock block = size < 0 ? nullptr : allocateBlock(static_cast<size_t>(size), memory_type_);
  TAMIX_REQUIRE(block != nullptr, nullptr, "Memory reallocation for CPUIntermediateBuffer %d failed", i);
  const auto smaller = std::ranges::find_if(nodes_, [&](const auto& node) { return node->size < size; });
  const auto node = nodes_.insert(smaller, std::make_shared<Node>(std::move(block), size));
  return (*node)->data.get();
}

}  // namespace tamix
