// Whole records over every exported kernel.
#include "tests/fuzz/fuzz_target.h"
#include "tests/hostile/hostile_record.h"

namespace tamix::test {

const size_t kFuzzKinds = kExportedKernels.size();

std::string fuzzKindName(size_t kind) { return kExportedKernels[kind].name; }

bool fuzzOne(size_t kind, std::span<const uint8_t> recipe) {
  const int32_t status = runHostile(kFirstKernel + static_cast<int32_t>(kind), recipe);
  require(isStatusOfRun(status), "the status is a known one");
  return status == TAMIX_OK;
}

}  // namespace tamix::test
