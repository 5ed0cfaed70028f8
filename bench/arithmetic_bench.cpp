// Element-wise arithmetic, bitwise operations, element-type conversion, count, scaled absolute value and fusion.
#include <vector>

#include "bench/support/bench.h"
#include "inference/runtime/cpu/arm/fp32/convertscaleabs_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/arithmetic_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/bitwise_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/bitwisenot_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/convertscaleabs_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/countnonzero_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/imagefuseoverlap_cpu_uint8.h"
#include "inference/utils/tamix_utils.h"

namespace tamix::bench {
namespace {

template <class In, class Out, class Kernel>
void combine(benchmark::State& state, Kernel kernel) {
  const Frame<In> a(state, 3), b(state, 3);
  const Frame<Out> dst(state, 3);
  for (auto _ : state) {
    kernel(a.data(), b.data(), dst.data(), a.height(), a.width(), a.width(), a.width(), a.width(), 3, 1);
  }
  reportTraffic(state, a.bytes() + b.bytes(), dst.bytes());
}

void addCPUUINT8(benchmark::State& state) { combine<uint8_t, uint8_t>(state, tamix::addCPUUINT8); }
TAMIX_BENCHMARK(addCPUUINT8);

void addCPUFLOAT32(benchmark::State& state) { combine<float, float>(state, tamix::addCPUFLOAT32); }
TAMIX_BENCHMARK(addCPUFLOAT32);

void addCPUUINT8toFLOAT32(benchmark::State& state) { combine<uint8_t, float>(state, tamix::addCPUUINT8toFLOAT32); }
TAMIX_BENCHMARK(addCPUUINT8toFLOAT32);

void addCPUFLOAT32toUINT8(benchmark::State& state) { combine<float, uint8_t>(state, tamix::addCPUFLOAT32toUINT8); }
TAMIX_BENCHMARK(addCPUFLOAT32toUINT8);

void divideCPUFLOAT32(benchmark::State& state) { combine<float, float>(state, tamix::divideCPUFLOAT32); }
TAMIX_BENCHMARK(divideCPUFLOAT32);

void divideCPUUINT8toFLOAT32(benchmark::State& state) { combine<uint8_t, float>(state, tamix::divideCPUUINT8toFLOAT32); }
TAMIX_BENCHMARK(divideCPUUINT8toFLOAT32);

void divideCPUFLOAT32toUINT8(benchmark::State& state) { combine<float, uint8_t>(state, tamix::divideCPUFLOAT32toUINT8); }
TAMIX_BENCHMARK(divideCPUFLOAT32toUINT8);

void bitwiseAndCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> a(state, 3), b(state, 3), mask(state, 3), dst(state, 3);
  for (auto _ : state) {
    tamix::bitwiseAndCPUUINT8(a.data(), b.data(), dst.data(), a.height(), a.width(), a.width(), a.width(), a.width(), 3,
                              mask.data(), 1);
  }
  reportTraffic(state, a.bytes() + b.bytes() + mask.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(bitwiseAndCPUUINT8);

void bitwiseNotCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3), dst(state, 3);
  for (auto _ : state) {
    tamix::bitwiseNotCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), src.width(), 3, nullptr, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(bitwiseNotCPUUINT8);

void dataFLOAT32ToUINT8(benchmark::State& state) {
  const Frame<float> src(state, 3);
  const Frame<uint8_t> dst(state, 3);
  for (auto _ : state) {
    tamix::dataFLOAT32ToUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), src.width(), 3, false);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(dataFLOAT32ToUINT8);

void countNonZeroCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 1);
  uint32_t count = 0;
  for (auto _ : state) {
    tamix::countNonZeroCPUUINT8(src.data(), &count, src.height(), src.width(), src.width(), 1, 1);
    benchmark::DoNotOptimize(count);
  }
  reportTraffic(state, src.bytes(), 0);
}
TAMIX_BENCHMARK(countNonZeroCPUUINT8);

template <class T, class Kernel>
void scale(benchmark::State& state, Kernel kernel) {
  const Frame<T> src(state, 3), dst(state, 3);
  for (auto _ : state) {
    kernel(src.data(), src.height(), src.width(), src.width(), dst.data(), src.height(), src.width(), src.width(), 1.5, -120, 3,
           1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}

void convertScaleAbsCPUUINT8(benchmark::State& state) { scale<uint8_t>(state, tamix::convertScaleAbsCPUUINT8); }
TAMIX_BENCHMARK(convertScaleAbsCPUUINT8);

void convertScaleAbsCPUFLOAT32(benchmark::State& state) { scale<float>(state, tamix::convertScaleAbsCPUFLOAT32); }
TAMIX_BENCHMARK(convertScaleAbsCPUFLOAT32);

// Two images of which an eighth overlaps.
void imageFuseOverlapCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src0(state, 3), src1(state, 3);
  const int32_t band = src0.width() / 8;
  const Frame<uint8_t> dst(2 * src0.width() - band, src0.height(), 3);
  std::vector<float> weights(static_cast<size_t>(band), 0.25f);
  int32_t height = 0, width = 0;
  for (auto _ : state) {
    tamix::imageFuseOverlapCPUUINT8(src0.data(), src0.height(), src0.width(), src1.data(), src1.height(), src1.width(),
                                    dst.data(), &height, &width, 3, weights.data(), band, 1, 1);
  }
  reportTraffic(state, src0.bytes() + src1.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(imageFuseOverlapCPUUINT8);

}  // namespace
}  // namespace tamix::bench
