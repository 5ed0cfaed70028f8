// Whole records over every operator.
#include "tests/fuzz/fuzz_target.h"
#include "tests/hostile/hostile_record.h"

namespace tamix::test {

const size_t kFuzzKinds = kOperators.size();

std::string fuzzKindName(size_t kind) { return std::to_string(kOperators[kind]); }

bool fuzzOne(size_t kind, std::span<const uint8_t> recipe) {
  const int32_t status = runHostile(kOperators[kind], recipe);
  require(isStatusOfRun(status), "the status is a known one");
  return status == TAMIX_OK;
}

}  // namespace tamix::test
