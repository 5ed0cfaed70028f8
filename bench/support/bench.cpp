#include "bench/support/bench.h"

#include "bench/support/memory_pass.h"

namespace tamix::bench {

void reportTraffic(benchmark::State& state, size_t bytes_read, size_t bytes_written) {
  const auto iterations = static_cast<double>(state.iterations());
  state.SetBytesProcessed(static_cast<int64_t>(iterations) * static_cast<int64_t>(bytes_read + bytes_written));
  state.counters["x_limit"] = benchmark::Counter(memoryPassSeconds(bytes_read, bytes_written) * iterations,
                                                 benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace tamix::bench
