// Camera frames to RGB, at their own size and at five eighths of it.
#include "bench/support/bench.h"
#include "tamix/kernels.h"

namespace tamix::bench {
namespace {

int32_t evenSize(int64_t size) { return static_cast<int32_t>(size / 2 * 2); }

// The planes of a frame of the benchmark's arguments rounded down to even sizes; `second` has room for pairs.
struct YUVFrame {
  explicit YUVFrame(const benchmark::State& state)
      : y(evenSize(state.range(0)), evenSize(state.range(1)), 1),
        second(y.width(), y.height() / 2, 1),
        third(y.width() / 2, y.height() / 2, 1) {}
  size_t bytes() const { return y.bytes() * 3 / 2; }

  Frame<uint8_t> y, second, third;
};

void NV21ToRGBCPUUINT8(benchmark::State& state) {
  const YUVFrame src(state);
  const Frame<uint8_t> dst(src.y.width(), src.y.height(), 3);
  for (auto _ : state) {
    ::NV21ToRGBCPUUINT8(src.y.data(), src.second.data(), dst.data(), dst.width(), dst.height(), dst.width(), dst.width());
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(NV21ToRGBCPUUINT8);

void I420ToRGBCPUUINT8(benchmark::State& state) {
  const YUVFrame src(state);
  const Frame<uint8_t> dst(src.y.width(), src.y.height(), 3);
  for (auto _ : state) {
    ::I420ToRGBCPUUINT8(src.y.data(), src.second.data(), src.third.data(), dst.data(), dst.width(), dst.height(), dst.width(),
                        dst.width());
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(I420ToRGBCPUUINT8);

void resizeBilinearNV21toRGBCPUUINT8(benchmark::State& state) {
  const YUVFrame src(state);
  const Frame<uint8_t> dst(src.y.width() * 5 / 8, src.y.height() * 5 / 8, 3);
  for (auto _ : state) {
    ::resizeBilinearNV21toRGBCPUUINT8(src.y.data(), src.second.data(), 1, src.y.height(), src.y.width(), src.y.width(),
                                      dst.data(), dst.height(), dst.width(), dst.width(), 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(resizeBilinearNV21toRGBCPUUINT8);

}  // namespace
}  // namespace tamix::bench
