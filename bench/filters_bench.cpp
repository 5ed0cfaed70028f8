// Gaussian, Laplacian, mean and guided filters, erosion and opening.
#include "bench/support/bench.h"
#include "inference/runtime/cpu/arm/fp32/meanfilter_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/erodedilate_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/getstructuringelement_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/laplacianfilter_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/morphologyex_cpu_uint8.h"
#include "tamix/kernels.h"

namespace tamix::bench {
namespace {

constexpr float kBinomial[9] = {0.0625f, 0.125f, 0.0625f, 0.125f, 0.25f, 0.125f, 0.0625f, 0.125f, 0.0625f};

template <int32_t kChannels>
void gaussianFilterCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, kChannels), dst(state, kChannels);
  for (auto _ : state) {
    ::gaussianFilterCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), dst.width(), kChannels, 3, 3,
                             kBinomial, TAMIX_BORDER_REFLECT_101, 0, 1, 0.0f);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(gaussianFilterCPUUINT8<1>);
TAMIX_BENCHMARK(gaussianFilterCPUUINT8<3>);
TAMIX_BENCHMARK(gaussianFilterCPUUINT8<4>);

template <int32_t kChannels, int32_t kSize, int32_t kAbsolute>
void laplacianFilterCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, kChannels), dst(state, kChannels);
  for (auto _ : state) {
    tamix::laplacianFilterCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), dst.width(), kChannels,
                                   kSize, kSize, nullptr, TAMIX_BORDER_REFLECT_101, 0, kAbsolute, 1, 1.0f, 0.0f);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK((laplacianFilterCPUUINT8<1, 1, 0>));
TAMIX_BENCHMARK((laplacianFilterCPUUINT8<3, 1, 0>));
TAMIX_BENCHMARK((laplacianFilterCPUUINT8<3, 3, 0>));
TAMIX_BENCHMARK((laplacianFilterCPUUINT8<1, 3, 1>));

template <int32_t kSize>
void meanFilterCPUFLOAT32(benchmark::State& state) {
  const Frame<float> src(state, 1), dst(state, 1);
  for (auto _ : state) {
    tamix::meanFilterCPUFLOAT32(src.data(), src.height(), src.width(), src.width(), dst.data(), dst.height(), dst.width(),
                                dst.width(), 1, kSize, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(meanFilterCPUFLOAT32<3>);
TAMIX_BENCHMARK(meanFilterCPUFLOAT32<5>);

// The filtered image is kScale times smaller than the guide along both axes.
template <int32_t kScale>
void guidedFilterCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> guide(state, 3), dst(state, 3);
  const Frame<uint8_t> src(guide.width() / kScale, guide.height() / kScale, 3);
  for (auto _ : state) {
    ::guidedFilterCPUUINT8(guide.data(), guide.height(), guide.width(), guide.width(), src.data(), src.height(), src.width(),
                           src.width(), dst.data(), dst.height(), dst.width(), dst.width(), 3, 5, 1);
  }
  reportTraffic(state, guide.bytes() + src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(guidedFilterCPUUINT8<4>);
TAMIX_BENCHMARK(guidedFilterCPUUINT8<1>);

template <int32_t kShape, int32_t kSize>
void erodeCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3), dst(state, 3);
  uint8_t element[kSize * kSize];
  getStructuringElementCPUUINT8(element, kShape, kSize, kSize, kSize / 2, kSize / 2, nullptr, 1);
  for (auto _ : state) {
    tamix::erodeCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), dst.width(), 3, kSize, kSize, element,
                         nullptr, TAMIX_BORDER_REPLICATE, 0, 1, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK((erodeCPUUINT8<TAMIX_MORPH_RECT, 3>));
TAMIX_BENCHMARK((erodeCPUUINT8<TAMIX_MORPH_RECT, 5>));
TAMIX_BENCHMARK((erodeCPUUINT8<TAMIX_MORPH_RECT, 15>));
TAMIX_BENCHMARK((erodeCPUUINT8<TAMIX_MORPH_ELLIPSE, 5>));

template <int32_t kType, int32_t kSize>
void morphologyExCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3), dst(state, 3);
  for (auto _ : state) {
    tamix::morphologyExCPUUINT8(src.data(), dst.data(), src.height(), src.width(), src.width(), dst.width(), 3, kType, kSize,
                                kSize, nullptr, nullptr, TAMIX_BORDER_REPLICATE, 0, 1, TAMIX_MORPH_RECT, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK((morphologyExCPUUINT8<TAMIX_MORPH_OPEN, 3>));
TAMIX_BENCHMARK((morphologyExCPUUINT8<TAMIX_MORPH_CLOSE, 5>));

}  // namespace
}  // namespace tamix::bench
