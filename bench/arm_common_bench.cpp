// The floor that every row is compared with.
#include <cstring>

#include "bench/support/bench.h"

namespace tamix::bench {
namespace {

void plainCopyUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3);
  const Frame<uint8_t> dst(state, 3);
  for (auto _ : state) std::memcpy(dst.data(), src.data(), src.bytes());
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(plainCopyUINT8);

}  // namespace
}  // namespace tamix::bench
