// Colour conversions between interleaved images, and to camera frames.
#include "bench/support/bench.h"
#include "inference/runtime/cpu/arm/uint8/color3tocolor4_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/color4tocolor3_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/color4tohsv_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/colortogray_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/colortolab_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/labtocolor_cpu_uint8.h"
#include "tamix/kernels.h"

namespace tamix::bench {
namespace {

// Times convert(src, dst, width, height) between images of the given channels.
template <class Convert>
void timeConversion(benchmark::State& state, int32_t src_channels, int32_t dst_channels, const Convert& convert) {
  const Frame<uint8_t> src(state, src_channels);
  const Frame<uint8_t> dst(state, dst_channels);
  for (auto _ : state) convert(src.data(), dst.data(), src.width(), src.height());
  reportTraffic(state, src.bytes(), dst.bytes());
}

void RGBToNV21CPUUINT8(benchmark::State& state) {
  const Frame<uint8_t> src(state, 3);
  const Frame<uint8_t> luma(state, 1);
  const Frame<uint8_t> chroma(src.width() + 1, (src.height() + 1) / 2, 1);  // an odd width writes one byte more
  for (auto _ : state) {
    ::RGBToNV21CPUUINT8(src.data(), luma.data(), chroma.data(), src.width(), src.height(), src.width(), src.width());
  }
  reportTraffic(state, src.bytes(), luma.bytes() + chroma.bytes());
}
TAMIX_BENCHMARK(RGBToNV21CPUUINT8);

void color3ToGRAYCPUUINT8(benchmark::State& state) {
  timeConversion(state, 3, 1, [](auto* src, auto* dst, int32_t width, int32_t height) {
    tamix::color3ToGRAYCPUUINT8(src, dst, width, height, width, width, 0, 1);
  });
}
TAMIX_BENCHMARK(color3ToGRAYCPUUINT8);

void color4ToGRAYCPUUINT8(benchmark::State& state) {
  timeConversion(state, 4, 1, [](auto* src, auto* dst, int32_t width, int32_t height) {
    tamix::color4ToGRAYCPUUINT8(src, dst, width, height, width, width, 0, 1);
  });
}
TAMIX_BENCHMARK(color4ToGRAYCPUUINT8);

void RGBAToHSVCPUUINT8(benchmark::State& state) {
  HSVTable saturation, hue;
  buildSaturationTable(saturation.data());
  buildHueTable(hue.data());
  timeConversion(state, 4, 3, [&](auto* src, auto* dst, int32_t width, int32_t height) {
    tamix::RGBAToHSVCPUUINT8(src, dst, width, height, width, width, saturation.data(), hue.data(), 1);
  });
}
TAMIX_BENCHMARK(RGBAToHSVCPUUINT8);

void color3ToColor4CPUUINT8(benchmark::State& state) {
  timeConversion(state, 3, 4, [](auto* src, auto* dst, int32_t width, int32_t height) {
    tamix::color3ToColor4CPUUINT8(src, dst, height, width, width, width, 1);
  });
}
TAMIX_BENCHMARK(color3ToColor4CPUUINT8);

void color4ToColor3CPUUINT8(benchmark::State& state) {
  timeConversion(state, 4, 3, [](auto* src, auto* dst, int32_t width, int32_t height) {
    tamix::color4ToColor3CPUUINT8(src, dst, height, width, width, width, 0, 2, 1);
  });
}
TAMIX_BENCHMARK(color4ToColor3CPUUINT8);

void RGBToLABCPUUINT8(benchmark::State& state) {
  timeConversion(state, 3, 3, [](auto* src, auto* dst, int32_t width, int32_t height) {
    tamix::RGBToLABCPUUINT8(src, dst, width, height, width, width, 3, 1);
  });
}
TAMIX_BENCHMARK(RGBToLABCPUUINT8);

void LABToRGBCPUUINT8(benchmark::State& state) {
  timeConversion(state, 3, 3, [](auto* src, auto* dst, int32_t width, int32_t height) {
    tamix::LABToRGBCPUUINT8(src, dst, width, height, width, width, 3, 1);
  });
}
TAMIX_BENCHMARK(LABToRGBCPUUINT8);

}  // namespace
}  // namespace tamix::bench
