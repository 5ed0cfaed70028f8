// Histograms, thresholds, statistics and normalization.
#include "bench/support/bench.h"
#include "inference/runtime/cpu/arm/fp32/normalization_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/calchist_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/meanstd_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/threshold_cpu_uint8.h"

namespace tamix::bench {
namespace {

// As many dimensions as channels.
template <int32_t kChannels, int32_t kBins>
void calcHistCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, kChannels);
  const Frame<uint32_t> hist(kChannels == 1 ? kBins : kBins * kBins * kBins, 1, 1);
  const int32_t channels[] = {0, 1, 2}, max[] = {255, 255, 255}, min[] = {0, 0, 0}, sizes[] = {kBins, kBins, kBins};
  for (auto _ : state) {
    tamix::calcHistCPUUINT8(src.data(), hist.data(), src.height(), src.width(), src.width(), kChannels, kChannels, channels,
                            max, min, sizes, 1);
  }
  reportTraffic(state, src.bytes(), hist.bytes());
}
TAMIX_BENCHMARK((calcHistCPUUINT8<1, 256>));
TAMIX_BENCHMARK((calcHistCPUUINT8<3, 8>));

template <int32_t kType>
void thresholdCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 1), dst(state, 1);
  double thresh = 100;
  for (auto _ : state) {
    tamix::thresholdCPUUINT8(src.data(), dst.data(), src.width(), src.height(), 1, src.width(), dst.width(), &thresh, kType, 1,
                             255);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(thresholdCPUUINT8<TAMIX_THRESH_BINARY>);
TAMIX_BENCHMARK(thresholdCPUUINT8<TAMIX_THRESH_OTSU>);

template <int32_t kChannels>
void meanSTDCPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, kChannels);
  float mean[4], std[4];
  for (auto _ : state) {
    tamix::meanSTDCPUUINT8(src.data(), src.width(), src.height(), src.width(), kChannels, mean, std, 1);
  }
  reportTraffic(state, src.bytes(), 0);
}
TAMIX_BENCHMARK(meanSTDCPUUINT8<1>);
TAMIX_BENCHMARK(meanSTDCPUUINT8<3>);
TAMIX_BENCHMARK(meanSTDCPUUINT8<4>);

const float kMean[] = {123.7f, 116.3f, 103.5f};
const float kStd[] = {58.4f, 57.1f, 57.4f};

template <int32_t kReorder>
void normalizationCPUFLOAT32(benchmark::State& state) {
  const Frame<float> src(state, 3), dst(state, 3);
  for (auto _ : state) {
    tamix::normalizationCPUFLOAT32(src.data(), dst.data(), src.height(), src.width(), src.width(), dst.width(), 3, kMean, kStd,
                                   kReorder, Tamix_RGB, Tamix_RGB, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(normalizationCPUFLOAT32<0>);
TAMIX_BENCHMARK(normalizationCPUFLOAT32<1>);

template <int32_t kReorder>
void normalizeBytes(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3);
  const Frame<float> dst(state, 3);
  for (auto _ : state) {
    tamix::normalizeBytes(src.data(), dst.data(), src.height(), src.width(), 3, kMean, kStd, kReorder, Tamix_RGB, Tamix_RGB);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}
TAMIX_BENCHMARK(normalizeBytes<0>);
TAMIX_BENCHMARK(normalizeBytes<1>);

}  // namespace
}  // namespace tamix::bench
