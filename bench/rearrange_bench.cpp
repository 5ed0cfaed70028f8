// Operators that move pixels without changing them.
#include "bench/support/bench.h"
#include "inference/runtime/cpu/arm/fp32/split_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/concat_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/copymakeborder_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/flip_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/merge_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/rectcut_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/rotate_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/split_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/transpose_cpu_uint8.h"

namespace tamix::bench {
namespace {

void border(benchmark::State& state, int32_t channel, int32_t type) {
  constexpr int32_t kBorder = 16;
  const Frame<uint8_t> src(state, channel);
  const Frame<uint8_t> dst(src.width() + 2 * kBorder, src.height() + 2 * kBorder, channel);
  for (auto _ : state) {
    tamix::copyMakeBorderCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), dst.width(), channel, kBorder,
                                  kBorder, kBorder, kBorder, type, 77, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}

void copyMakeBorderCPUUINT8Reflect(benchmark::State& state) { border(state, 3, TAMIX_BORDER_REFLECT_101); }
TAMIX_BENCHMARK(copyMakeBorderCPUUINT8Reflect);

void copyMakeBorderCPUUINT8Constant(benchmark::State& state) { border(state, 4, TAMIX_BORDER_CONSTANT); }
TAMIX_BENCHMARK(copyMakeBorderCPUUINT8Constant);

void rectCutCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3);
  const Frame<uint8_t> dst(src.width() / 2, src.height() / 2, 3);
  for (auto _ : state) {
    tamix::rectCutCPUUINT8(src.data(), src.height(), src.width(), src.width(), dst.data(), dst.height(), dst.width(),
                           dst.width(), 3, src.width() / 4, src.height() / 4, dst.width(), dst.height(), 1);
  }
  reportTraffic(state, dst.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(rectCutCPUUINT8);

void vconcatCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3);
  const Frame<uint8_t> dst(2 * src.width(), src.height(), 3);
  for (auto _ : state) {
    tamix::vconcatCPUUINT8(src.data(), src.width(), src.data(), src.width(), nullptr, 0, nullptr, 0, src.height(), dst.data(),
                           dst.height(), dst.width(), 3, 2, 1);
  }
  reportTraffic(state, dst.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(vconcatCPUUINT8);

template <class T, class Kernel>
void split(benchmark::State& state, Kernel kernel) {
  const Frame<T> src(state, 3), a(state, 1), b(state, 1), c(state, 1);
  for (auto _ : state) {
    kernel(src.data(), src.height(), src.width(), src.width(), a.data(), b.data(), c.data(), nullptr, src.width(), 3, 1);
  }
  reportTraffic(state, src.bytes(), src.bytes());
}

void splitCPUUINT8(benchmark::State& state) { split<uint8_t>(state, tamix::splitCPUUINT8); }
TAMIX_BENCHMARK(splitCPUUINT8);

void splitCPUFLOAT32(benchmark::State& state) { split<float>(state, tamix::splitCPUFLOAT32); }
TAMIX_BENCHMARK(splitCPUFLOAT32);

void mergeCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> a(state, 1), b(state, 1), c(state, 1), dst(state, 3);
  for (auto _ : state) {
    tamix::mergeCPUUINT8(a.data(), b.data(), c.data(), nullptr, a.height(), a.width(), a.width(), dst.data(), 3, 1);
  }
  reportTraffic(state, dst.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(mergeCPUUINT8);

void flip(benchmark::State& state, int32_t channel, int32_t code) {
  const Frame<uint8_t> src(state, channel), dst(state, channel);
  for (auto _ : state) {
    tamix::flipCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), src.width(), channel, code, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}

void flipCPUUINT8Gray(benchmark::State& state) { flip(state, 1, 1); }
TAMIX_BENCHMARK(flipCPUUINT8Gray);

void flipCPUUINT8Rgb(benchmark::State& state) { flip(state, 3, -1); }
TAMIX_BENCHMARK(flipCPUUINT8Rgb);

void rotate(benchmark::State& state, int32_t channel) {
  const Frame<uint8_t> src(state, channel), dst(state, channel);
  for (auto _ : state) {
    tamix::rotateCPUUINT8(src.data(), dst.data(), src.width(), src.height(), src.width(), src.height(), channel, 0, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}

void rotateCPUUINT8Gray(benchmark::State& state) { rotate(state, 1); }
TAMIX_BENCHMARK(rotateCPUUINT8Gray);

void rotateCPUUINT8Rgb(benchmark::State& state) { rotate(state, 3); }
TAMIX_BENCHMARK(rotateCPUUINT8Rgb);

void transposeCPUUINT8Rgba(benchmark::State& state) {
  const Frame<uint8_t> src(state, 4), dst(state, 4);
  for (auto _ : state) {
    tamix::transposeCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), src.height(), 4, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(transposeCPUUINT8Rgba);

}  // namespace
}  // namespace tamix::bench
