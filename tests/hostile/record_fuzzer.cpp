// libFuzzer target: the first byte names the operator, the rest makes its record.
#include "tests/hostile/hostile_record.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  using namespace tamix::test;
  if (size < 2) return 0;
  HostileRecord record(kOperators[bytes[0] % kOperators.size()], {bytes + 1, size - 1}, Manners::kHostile);
  record.prefill(1);
  run(record);
  return 0;
}
