// The resize kernels, shrunk to 5/8, 1/2, 2/5 and 1/4 or enlarged twice. The arguments are the size of the larger image.
#include "bench/support/bench.h"
#include "inference/runtime/cpu/arm/fp32/resizearea_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/resizenearest_cpu_uint8.h"
#include "tamix/kernels.h"

namespace tamix::bench {
namespace {

int32_t scaled(int64_t size, int32_t numerator, int32_t denominator) {
  return static_cast<int32_t>(size * numerator / denominator);
}

template <class T, class Kernel>
void resize(benchmark::State& state, const Kernel& kernel, int32_t channels, int32_t numerator, int32_t denominator) {
  const bool grows = numerator > denominator;
  const auto width = static_cast<int32_t>(state.range(0));
  const auto height = static_cast<int32_t>(state.range(1));
  const int32_t other_width = grows ? scaled(width, denominator, numerator) : scaled(width, numerator, denominator);
  const int32_t other_height = grows ? scaled(height, denominator, numerator) : scaled(height, numerator, denominator);
  const Frame<T> large(width, height, channels);
  const Frame<T> small(other_width, other_height, channels);
  const Frame<T>& src = grows ? small : large;
  const Frame<T>& dst = grows ? large : small;
  for (auto _ : state) {
    if constexpr (sizeof(T) == 1) {
      kernel(src.data(), src.height(), src.width(), src.width(), dst.data(), dst.height(), dst.width(), dst.width(), channels,
             1);
    } else {
      kernel(src.data(), src.height(), src.width(), src.width(), dst.data(), dst.height(), dst.width(), dst.width(), channels);
    }
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}

void resizeBilinearCPUUINT8Gray(benchmark::State& state) { resize<uint8_t>(state, ::resizeBilinearCPUUINT8, 1, 5, 8); }
void resizeBilinearCPUUINT8RGB(benchmark::State& state) { resize<uint8_t>(state, ::resizeBilinearCPUUINT8, 3, 5, 8); }
void resizeBilinearCPUUINT8RGBA(benchmark::State& state) { resize<uint8_t>(state, ::resizeBilinearCPUUINT8, 4, 5, 8); }
void resizeBilinearCPUUINT8RGBTwice(benchmark::State& state) { resize<uint8_t>(state, ::resizeBilinearCPUUINT8, 3, 2, 1); }
void resizeBilinearCPUUINT8RGBATwice(benchmark::State& state) { resize<uint8_t>(state, ::resizeBilinearCPUUINT8, 4, 2, 1); }
void resizeBilinearCPUFLOAT32Gray(benchmark::State& state) { resize<float>(state, tamix::resizeBilinearCPUFLOAT32, 1, 5, 8); }
void resizeBilinearCPUFLOAT32RGB(benchmark::State& state) { resize<float>(state, tamix::resizeBilinearCPUFLOAT32, 3, 5, 8); }
void resizeAreaCPUUINT8GrayHalf(benchmark::State& state) { resize<uint8_t>(state, ::resizeAreaCPUUINT8, 1, 1, 2); }
void resizeAreaCPUUINT8RGBHalf(benchmark::State& state) { resize<uint8_t>(state, ::resizeAreaCPUUINT8, 3, 1, 2); }
void resizeAreaCPUUINT8RGBAHalf(benchmark::State& state) { resize<uint8_t>(state, ::resizeAreaCPUUINT8, 4, 1, 2); }
void resizeAreaCPUUINT8Gray(benchmark::State& state) { resize<uint8_t>(state, ::resizeAreaCPUUINT8, 1, 2, 5); }
void resizeAreaCPUUINT8RGB(benchmark::State& state) { resize<uint8_t>(state, ::resizeAreaCPUUINT8, 3, 2, 5); }
void resizeAreaCPUFLOAT32Gray(benchmark::State& state) { resize<float>(state, tamix::resizeAreaCPUFLOAT32, 1, 1, 4); }
void resizeNearestCPUUINT8Gray(benchmark::State& state) { resize<uint8_t>(state, tamix::resizeNearestCPUUINT8, 1, 5, 8); }
void resizeNearestCPUUINT8RGB(benchmark::State& state) { resize<uint8_t>(state, tamix::resizeNearestCPUUINT8, 3, 5, 8); }
void resizeNearestCPUUINT8RGBA(benchmark::State& state) { resize<uint8_t>(state, tamix::resizeNearestCPUUINT8, 4, 5, 8); }

TAMIX_BENCHMARK(resizeBilinearCPUUINT8Gray);
TAMIX_BENCHMARK(resizeBilinearCPUUINT8RGB);
TAMIX_BENCHMARK(resizeBilinearCPUUINT8RGBA);
TAMIX_BENCHMARK(resizeBilinearCPUUINT8RGBTwice);
TAMIX_BENCHMARK(resizeBilinearCPUUINT8RGBATwice);
TAMIX_BENCHMARK(resizeBilinearCPUFLOAT32Gray);
TAMIX_BENCHMARK(resizeBilinearCPUFLOAT32RGB);
TAMIX_BENCHMARK(resizeAreaCPUUINT8GrayHalf);
TAMIX_BENCHMARK(resizeAreaCPUUINT8RGBHalf);
TAMIX_BENCHMARK(resizeAreaCPUUINT8RGBAHalf);
TAMIX_BENCHMARK(resizeAreaCPUUINT8Gray);
TAMIX_BENCHMARK(resizeAreaCPUUINT8RGB);
TAMIX_BENCHMARK(resizeAreaCPUFLOAT32Gray);
TAMIX_BENCHMARK(resizeNearestCPUUINT8Gray);
TAMIX_BENCHMARK(resizeNearestCPUUINT8RGB);
TAMIX_BENCHMARK(resizeNearestCPUUINT8RGBA);

}  // namespace
}  // namespace tamix::bench
