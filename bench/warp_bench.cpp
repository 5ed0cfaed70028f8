// Remap through a lens map, and the warps: a slight perspective and a turn by 30 degrees.
#include "bench/support/bench.h"
#include "inference/runtime/cpu/arm/uint8/remap_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/warpaffine_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/warpperspective_cpu_int8.h"

namespace tamix::bench {
namespace {

constexpr uint8_t kBorder[4] = {};

// Replicated borders for one channel, constant ones for more.
void remap(benchmark::State& state, int32_t channels, int32_t interpolation) {
  const Frame<uint8_t> src(state, channels), dst(state, channels);
  const Frame<float> x_map(state, 1), y_map(state, 1);
  const int32_t width = src.width(), height = src.height();
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const float u = static_cast<float>(x) / static_cast<float>(width) - 0.5f;
      const float v = static_cast<float>(y) / static_cast<float>(height) - 0.5f;
      const float scale = 0.85f + 0.7f * (u * u + v * v);
      const auto i = static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
      x_map.data()[i] = (u * scale + 0.5f) * static_cast<float>(width);
      y_map.data()[i] = (v * scale + 0.5f) * static_cast<float>(height);
    }
  }
  for (auto _ : state) {
    remapCPUUINT8(src.data(), dst.data(), width, height, int64_t{width} * channels, width, height, int64_t{width} * channels,
                  channels, x_map.data(), y_map.data(), width, width, interpolation, channels == 1, kBorder, 1);
  }
  reportTraffic(state, src.bytes() + x_map.bytes() + y_map.bytes(), dst.bytes());
}

void perspective(benchmark::State& state, int32_t channels, int32_t interpolation) {
  const Frame<uint8_t> src(state, channels), dst(state, channels);
  const auto width = static_cast<float>(src.width()), height = static_cast<float>(src.height());
  const float matrix[9] = {0.9f, 0.08f, 0.02f * width, -0.06f, 0.92f, 0.03f * height, -0.08f / width, 0.05f / height, 1};
  for (auto _ : state) {
    warpPerspectiveCPUUINT8(src.data(), dst.data(), matrix, src.width(), src.height(), src.width(), dst.width(), dst.height(),
                            dst.width(), channels, interpolation, TAMIX_BORDER_CONSTANT, kBorder, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}

void affine(benchmark::State& state, int32_t channels) {
  const Frame<uint8_t> src(state, channels), dst(state, channels);
  for (auto _ : state) {
    warpAffineCPUUINT8(src.data(), src.height(), src.width(), src.width(), dst.data(), dst.height(), dst.width(), dst.width(),
                       channels, 30, 1, 1);
  }
  reportTraffic(state, src.bytes(), dst.bytes());
}

void remapNearestRGB(benchmark::State& state) { remap(state, 3, TAMIX_INTERPOLATION_NEAREST); }
TAMIX_BENCHMARK(remapNearestRGB);
void remapBilinearGray(benchmark::State& state) { remap(state, 1, TAMIX_INTERPOLATION_BILINEAR); }
TAMIX_BENCHMARK(remapBilinearGray);
void remapBilinearRGB(benchmark::State& state) { remap(state, 3, TAMIX_INTERPOLATION_BILINEAR); }
TAMIX_BENCHMARK(remapBilinearRGB);

void warpPerspectiveNearestRGB(benchmark::State& state) { perspective(state, 3, TAMIX_INTERPOLATION_NEAREST); }
TAMIX_BENCHMARK(warpPerspectiveNearestRGB);
void warpPerspectiveBilinearGray(benchmark::State& state) { perspective(state, 1, TAMIX_INTERPOLATION_BILINEAR); }
TAMIX_BENCHMARK(warpPerspectiveBilinearGray);
void warpPerspectiveBilinearRGB(benchmark::State& state) { perspective(state, 3, TAMIX_INTERPOLATION_BILINEAR); }
TAMIX_BENCHMARK(warpPerspectiveBilinearRGB);
void warpPerspectiveBicubicRGB(benchmark::State& state) { perspective(state, 3, TAMIX_INTERPOLATION_BICUBIC); }
TAMIX_BENCHMARK(warpPerspectiveBicubicRGB);

void warpAffineGray(benchmark::State& state) { affine(state, 1); }
TAMIX_BENCHMARK(warpAffineGray);
void warpAffineRGB(benchmark::State& state) { affine(state, 3); }
TAMIX_BENCHMARK(warpAffineRGB);

}  // namespace
}  // namespace tamix::bench
