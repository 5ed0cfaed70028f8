#include "inference/runtime/cpu/arm/uint8/warpaffine_cpu_uint8.h"

#include <cmath>

#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/sample_bilinear.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Destination to source: sx = a (x - t0) - b (y - t1), sy = b (x - t0) + a (y - t1), in double precision.
struct Rotation {
  double a;
  double b;
  double t0;
  double t1;
};

Rotation inverseRotation(int32_t width, int32_t height, int32_t angle, int32_t scale) {
  constexpr double kRadians = 0.01745329238474369;  // the single-precision value of pi / 180
  const double theta = angle * kRadians;
  const double a = std::cos(theta) * scale;
  const double b = std::sin(theta) * scale;
  const double cx = static_cast<double>(static_cast<float>(width) * 0.5f);
  const double cy = static_cast<double>(static_cast<float>(height) * 0.5f);
  const double square = a * a + b * b;
  const double k = square == 0.0 ? 0.0 : 1.0 / square;
  return {a * k, b * k, (1.0 - a) * cx - b * cy, b * cx + (1.0 - a) * cy};
}

constexpr float kOne = 2048.0f;  // 11-bit weights
constexpr int32_t kShift = 22;

// Of a whole position and the position itself.
int32_t weight(int32_t whole, float position) {
  return static_cast<int32_t>((static_cast<float>(whole) - position + 1.0f) * kOne);
}

int32_t blendPixel(int32_t s00, int32_t s01, int32_t s10, int32_t s11, int32_t wx, int32_t wy) {
  return ((s00 * wy + s10 * (2048 - wy)) * wx + (s01 * wy + s11 * (2048 - wy)) * (2048 - wx)) >> kShift;
}

// One pixel, if its neighbours are inside.
void warpPixel(const SourceImage& src, float sx, float sy, uint8_t* out) {
  const float floor_x = std::floor(sx);
  const float floor_y = std::floor(sy);
  if (!(floor_x >= 0.0f && floor_y >= 0.0f && floor_x < static_cast<float>(src.width) &&
        floor_y < static_cast<float>(src.height))) {
    return;
  }
  const auto x = static_cast<int64_t>(floor_x);
  const auto y = static_cast<int64_t>(floor_y);
  if (x >= int64_t{src.width} - 1 || y >= int64_t{src.height} - 1) return;
  const int32_t wx = weight(static_cast<int32_t>(x), sx);
  const int32_t wy = weight(static_cast<int32_t>(y), sy);
  const uint8_t* const upper = src.pixel(x, y);
  const uint8_t* const lower = upper + src.pitch;
  for (int32_t c = 0; c < src.channels; ++c) {
    out[c] = static_cast<uint8_t>(blendPixel(upper[c], upper[c + src.channels], lower[c], lower[c + src.channels], wx, wy));
  }
}

// Source positions of a block.
void affinePositions(const Rotation& m, const BlockArea& area, FloatPositions& at) {
  const int32_t rows = blockRows(area.layout);
  for (int32_t r = 0; r < rows; ++r) {
    const double dy = static_cast<double>(int64_t{area.y} + r) - m.t1;
    const double row_x = m.b * dy;
    const double row_y = m.a * dy;
    for (int32_t c = 0; c < area.groups() * groupColumns(area.layout); ++c) {
      const double dx = static_cast<double>(int64_t{area.x} + c) - m.t0;
      const int32_t entry = entryOf(area.layout, r, c);
      at.x[entry] = static_cast<float>(m.a * dx - row_x);
      at.y[entry] = static_cast<float>(m.b * dx + row_y);
    }
  }
}

void warpAnyChannels(const SourceImage& src, const Rotation& m, Plane<uint8_t> dst) {
  FloatPositions at;
  forEachBlock(Layout::kStrip, src.width, src.height, [&](const BlockArea& area) {
    affinePositions(m, area, at);
    uint8_t* const out = dst.row(area.y) + ptrdiff_t{area.x} * src.channels;
    for (int32_t c = 0; c < area.columns; ++c) warpPixel(src, at.x[c], at.y[c], out + ptrdiff_t{c} * src.channels);
    return true;
  });
}

}  // namespace

int32_t warpAffineCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t /*src_stride*/, uint8_t* dst,
                           int32_t /*dst_height*/, int32_t dst_width, int32_t /*dst_stride*/, int32_t channels, int32_t angle,
                           int32_t scale, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  const SourceImage source{src, src_width, src_height, ptrdiff_t{src_width} * channels, channels};
  if (source.empty() || channels < 1) return TAMIX_OK;
  const Rotation m = inverseRotation(src_width, src_height, angle, scale);
  warpAnyChannels(source, m, {dst, ptrdiff_t{dst_width} * channels});
  return TAMIX_OK;
}

}  // namespace tamix
