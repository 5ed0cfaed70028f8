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
template <Layout kLayout>
void affinePositions(const Rotation& m, const BlockArea& area, FloatPositions& at) {
  constexpr int32_t kColumns = groupColumns(kLayout);
  const hn::CappedTag<double, kColumns> d;
  const hn::Rebind<float, decltype(d)> df;
  alignas(64) double along_a[kBlockPixels];
  alignas(64) double along_b[kBlockPixels];
  for (int32_t c = 0; c < area.groups() * kColumns; ++c) {
    const double dx = static_cast<double>(int64_t{area.x} + c) - m.t0;
    along_a[c] = m.a * dx;
    along_b[c] = m.b * dx;
  }
  for (int32_t r = 0; r < blockRows(kLayout); ++r) {
    const double dy = static_cast<double>(int64_t{area.y} + r) - m.t1;
    const auto row_x = hn::Set(d, m.b * dy);
    const auto row_y = hn::Set(d, m.a * dy);
    for (int32_t g = 0; g < area.groups(); ++g) {
      for (size_t k = 0; k < kColumns; k += hn::Lanes(d)) {
        const size_t c = static_cast<size_t>(g) * kColumns + k;
        const size_t entry = static_cast<size_t>(entryOf(kLayout, r, g * kColumns)) + k;
        hn::StoreU(hn::DemoteTo(df, hn::Sub(hn::Load(d, along_a + c), row_x)), df, at.x + entry);
        hn::StoreU(hn::DemoteTo(df, hn::Add(hn::Load(d, along_b + c), row_y)), df, at.y + entry);
      }
    }
  }
}

// What a block's blends need: the whole parts of the positions with their kinds, and the weights, 0 to 2048, of the left column
// and the upper row. Only kInside groups have meaning; the others are taken pixel by pixel or not at all.
struct FixedBlock {
  Neighbourhoods at;
  alignas(64) int32_t wx[kBlockPixels];
  alignas(64) int32_t wy[kBlockPixels];

  void locate(const SourceImage& src, const FloatPositions& position, const BlockArea& area, int32_t margin) {
    const hn::CappedTag<float, kGroup> d;
    const hn::RebindToSigned<decltype(d)> di;
    const auto split = [&](const float* positions, int32_t* whole, int32_t* weight) {
      const auto v = hn::Load(d, positions);
      const auto floor = hn::Floor(v);
      hn::Store(truncateToInt32(d, floor), di, whole);
      const auto share = hn::Add(hn::Sub(floor, v), hn::Set(d, 1.0f));
      hn::Store(truncateInRange(d, hn::Mul(share, hn::Set(d, kOne))), di, weight);
    };
    for (size_t i = 0; i < static_cast<size_t>(area.entries()); i += hn::Lanes(d)) {
      split(position.x + i, at.x + i, wx + i);
      split(position.y + i, at.y + i, wy + i);
    }
    at.classify(src, area.groups(), margin);
  }

  // blendPixel in 32-bit lanes; a w + b (2048 - w) = (a - b) w + 2048 b.
  template <class D, class VI>
  HWY_INLINE VI blend(D /*d*/, size_t i, VI s00, VI s01, VI s10, VI s11) const {
    const hn::RebindToSigned<D> di;
    const auto mix = [](auto a, auto b, auto w) { return hn::Add(hn::Mul(hn::Sub(a, b), w), hn::ShiftLeft<11>(b)); };
    const auto vertical = hn::Load(di, wy + i);
    return hn::ShiftRight<kShift>(mix(mix(s00, s10, vertical), mix(s01, s11, vertical), hn::Load(di, wx + i)));
  }
};

// The pixels of a group that is not inside as a whole.
void warpGroup(const SourceImage& src, const FloatPositions& at, const BlockArea& area, int32_t group, Plane<uint8_t> dst) {
  const int32_t columns = groupColumns(area.layout);
  for (int32_t r = 0; r < area.rows; ++r) {
    for (int32_t c = group * columns; c < std::min(area.columns, (group + 1) * columns); ++c) {
      const int32_t entry = entryOf(area.layout, r, c);
      warpPixel(src, at.x[entry], at.y[entry], dst.row(ptrdiff_t{area.y} + r) + (ptrdiff_t{area.x} + c) * src.channels);
    }
  }
}

void warpGray(const SourceImage& src, const Rotation& m, Plane<uint8_t> dst) {
  FloatPositions position;
  FixedBlock block;
  GrayNeighbours samples;
  const auto blend = [&](auto... arguments) { return block.blend(arguments...); };
  forEachBlock(Layout::kTiles, src.width, src.height, [&](const BlockArea& area) {
    affinePositions<Layout::kTiles>(m, area, position);
    block.locate(src, position, area, 2);
    samples.fetch<true>(src, block.at, area.groups(), nullptr);
    for (int32_t g = 0; g < area.groups(); ++g) {
      if (block.at.kind[g] == GroupKind::kMixed) warpGroup(src, position, area, g, dst);
      if (block.at.kind[g] != GroupKind::kInside) continue;
      alignas(16) uint8_t out[kGroup];
      blendGrayGroup(samples, g, out, blend);
      storeTiles(out, {dst.row(area.y) + area.x + 4 * g, dst.pitch, std::min(area.columns - 4 * g, 4), area.rows});
    }
    return true;
  });
}

void warpRgb(const SourceImage& src, const Rotation& m, Plane<uint8_t> dst) {
  FloatPositions position;
  FixedBlock block;
  RgbNeighbours samples;
  const auto blend = [&](auto... arguments) { return block.blend(arguments...); };
  alignas(64) uint8_t out[3][kBlockPixels];
  forEachBlock(Layout::kStrip, src.width, src.height, [&](const BlockArea& area) {
    affinePositions<Layout::kStrip>(m, area, position);
    block.locate(src, position, area, 8);
    samples.fetch<true>(src, block.at, area.groups(), nullptr);
    uint8_t* const row = dst.row(area.y) + ptrdiff_t{area.x} * 3;
    for (int32_t g = 0; g < area.groups(); ++g) {
      if (block.at.kind[g] == GroupKind::kMixed) warpGroup(src, position, area, g, dst);
      if (block.at.kind[g] != GroupKind::kInside) continue;
      blendRgbGroup(samples, g, out[0], out[1], out[2], blend);
      storeStrip3(out[0], out[1], out[2], row + 3 * g * kGroup, std::min(area.columns - g * kGroup, kGroup));
    }
    return true;
  });
}

void warpAnyChannels(const SourceImage& src, const Rotation& m, Plane<uint8_t> dst) {
  FloatPositions at;
  forEachBlock(Layout::kStrip, src.width, src.height, [&](const BlockArea& area) {
    affinePositions<Layout::kStrip>(m, area, at);
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
  const Plane<uint8_t> out{dst, ptrdiff_t{dst_width} * channels};
  if (channels == 1) {
    warpGray(source, m, out);
  } else if (channels == 3) {
    warpRgb(source, m, out);
  } else {
    warpAnyChannels(source, m, out);
  }
  return TAMIX_OK;
}

}  // namespace tamix
