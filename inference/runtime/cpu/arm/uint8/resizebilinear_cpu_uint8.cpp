// Bilinear resize of 8-bit images: weights in sixteenths and one rounding, or for four channels weights in 128ths, two
// roundings and horizontal bands.
#include <climits>
#include <cmath>

#include "inference/runtime/cpu/arm/common/bilinear_axis.h"
#include "inference/runtime/cpu/arm/common/neighbour_sums.h"
#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

namespace tamix {
namespace {

struct Resize {
  Plane<const uint8_t> src;
  int32_t src_height;
  int32_t src_width;
  Plane<uint8_t> dst;
  int32_t dst_height;
  int32_t dst_width;
  int32_t channels;

  size_t srcElements() const { return rowElements(src_width, channels); }
  size_t dstElements() const { return rowElements(dst_width, channels); }
};

// Equal sizes: every weight falls on one sample.
bool isCopy(const Resize& r) { return r.src_height == r.dst_height && r.src_width == r.dst_width; }

// ---- Sixteenths: h = P[k] * (16 - wx) + P[k + channels] * wx, 0 to 4080; out = (h0 * (16 - wy) + h1 * wy + 128) >> 8. No sum
// exceeds 65408.

size_t roomForSixteenths(const Resize& r) {
  const size_t n = r.dstElements();
  return NeighbourSums::room(n) + 2 * ScratchParts::room<uint16_t>(n + NeighbourSums::kBlock);
}

NeighbourSums columnsInSixteenths(const Resize& r, ScratchParts& scratch) {
  NeighbourSums columns(scratch, r.dstElements(), r.srcElements());
  const BilinearAxis axis(r.src_width, r.dst_width);
  const auto channels = static_cast<size_t>(r.channels);
  size_t e = 0;
  for (int32_t x = 0; x < r.dst_width; ++x) {
    const AxisPosition at = axis[x];
    const size_t position = static_cast<size_t>(at.index) * channels;
    const uint8_t weight = sixteenths(at.fraction);
    for (size_t c = 0; c < channels; ++c, ++e) {
      columns.position()[e] = position + c;
      columns.weight()[e] = weight;
    }
  }
  columns.build(16, static_cast<size_t>(axis.step()) * channels);
  return columns;
}

// Columns of one source row.
void blendColumns(const NeighbourSums& columns, const uint8_t* row, uint16_t* HWY_RESTRICT h) {
  columns.withWindow([&](auto window) HWY_ATTR {
    const hn::ScalableTag<uint16_t> d16;
    for (size_t k = 0; k < columns.blocks(); ++k) {
      const auto sums = columns.sums<window(), Pixels::kPlain>(row, k);
      hn::Store(sums.first, d16, h + k * NeighbourSums::kBlock);
      hn::Store(sums.second, d16, h + k * NeighbourSums::kBlock + hn::Lanes(d16));
    }
  });
}

// Two rows of column sums.
void blendRows(const uint16_t* HWY_RESTRICT h0, const uint16_t* HWY_RESTRICT h1, uint8_t wy, size_t n,
               uint8_t* HWY_RESTRICT out) {
  const hn::ScalableTag<uint16_t> d16;
  const auto w0 = hn::Set(d16, static_cast<uint16_t>(16 - wy));
  const auto w1 = hn::Set(d16, wy);
  const auto sum = [&](size_t i)
                       HWY_ATTR { return hn::Add(hn::Mul(hn::Load(d16, h0 + i), w0), hn::Mul(hn::Load(d16, h1 + i), w1)); };
  writeRow(out, n, [&](auto d, size_t i) HWY_ATTR { return roundedHighBytes(d, sum(i), sum(i + hn::Lanes(d16))); });
}

void resizeInSixteenths(const Resize& r, ScratchParts& scratch) {
  if (isCopy(r)) return copyRows(r.src, r.dst, r.dst_height, r.dstElements());
  const NeighbourSums columns = columnsInSixteenths(r, scratch);
  const size_t padded = r.dstElements() + NeighbourSums::kBlock;
  uint16_t* const first = scratch.take<uint16_t>(padded);
  RowPair<uint16_t> rows(first, scratch.take<uint16_t>(padded));
  const BilinearAxis axis(r.src_height, r.dst_height);
  for (int32_t y = 0; y < r.dst_height; ++y) {
    const AxisPosition at = axis[y];
    rows.moveTo(at.index, axis.step(), [&](ptrdiff_t i, uint16_t* h) { blendColumns(columns, r.src.row(i), h); });
    blendRows(rows.upper(), rows.lower(), sixteenths(at.fraction), r.dstElements(), r.dst.row(y));
  }
}

// Three channels, enlarged both ways.
int32_t resizeBilinearC3CPUUINT8(const Resize& r) {
  ScratchParts scratch(roomForSixteenths(r));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  resizeInSixteenths(r, scratch);
  return TAMIX_OK;
}

// Three channels, all other sizes.
int32_t resizebilinearNarrow3ChannelIntrisic(const Resize& r) {
  ScratchParts scratch(roomForSixteenths(r));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  resizeInSixteenths(r, scratch);
  return TAMIX_OK;
}

// ---- 128ths, vertical first: V = (S0 * wy + S1 * (128 - wy) + 64) >> 7, then the same along the row. Here weights belong to
// the first sample.

// Rows of one source row's bytes; with flipped pixels (neighbour_sums.h) the result is flipped too.
void blendRowsIn128ths(const uint8_t* s0, const uint8_t* s1, uint8_t w0, size_t n, uint8_t* HWY_RESTRICT out) {
  const RowBlend blend(w0);
  const hn::ScalableTag<uint8_t> d;
  size_t i = 0;
  for (; i + hn::Lanes(d) <= n; i += hn::Lanes(d)) hn::Store(blend(hn::LoadU(d, s0 + i), hn::LoadU(d, s1 + i)), d, out + i);
  if (i == n) return;
  alignas(64) uint8_t last[2][hn::MaxLanes(d)] = {};
  std::memcpy(last[0], s0 + i, n - i);
  std::memcpy(last[1], s1 + i, n - i);
  hn::Store(blend(hn::Load(d, last[0]), hn::Load(d, last[1])), d, out + i);
}

// Columns of one blended row. The tables come by value: bytes stored could be theirs otherwise.
void blendColumnsIn128ths(NeighbourSums columns, const uint8_t* row, size_t n, uint8_t* HWY_RESTRICT out) {
  columns.withWindow([&](auto window) HWY_ATTR {
    writeRow(out, n, [&](auto, size_t i) HWY_ATTR {
      return RowBlend::finish(columns.sums<window(), Pixels::kFlipped>(row, i / NeighbourSums::kBlock));
    });
  });
}

uint8_t in128ths(float distance) { return static_cast<uint8_t>(static_cast<int32_t>(distance * 128.0f)); }

// sx = off + scale * x; the samples around it are c - 1 and c = ceil(sx), both inside the row.
NeighbourSums columnsIn128ths(const Resize& r, ScratchParts& scratch) {
  NeighbourSums columns(scratch, r.dstElements(), r.srcElements());
  const float scale = static_cast<float>(r.src_width) / static_cast<float>(r.dst_width);
  const float half = scale * 0.5f;
  const float off = half - 0.5f;
  const int64_t last = r.src_width - 1;
  size_t e = 0;
  for (int32_t x = 0; x < r.dst_width; ++x) {
    const float product = scale * static_cast<float>(x);
    const float sx = off + product;
    const auto c = static_cast<int64_t>(std::ceil(sx));
    int64_t left = c - 1;
    auto right_weight = static_cast<uint8_t>(128 - in128ths(static_cast<float>(c) - sx));
    // Where both are one sample, its neighbour takes part with weight 0.
    if (left < 0) {
      left = 0;
      right_weight = 0;
    } else if (c > last) {
      left = std::max<int64_t>(last - 1, 0);
      right_weight = 128;
    }
    for (size_t k = 0; k < 4; ++k, ++e) {
      columns.position()[e] = static_cast<size_t>(left) * 4 + k;
      columns.weight()[e] = right_weight;
    }
  }
  columns.build(128, last > 0 ? 4 : 0);
  return columns;
}

// Rows [first, first + count) of an image cut into bands of `band` rows each. A band may be empty.
struct Band {
  int64_t first;
  int64_t count;
};

Band bandOf(int64_t index, int64_t bands, int64_t height) {
  const int64_t rows = (height + bands - 1) / bands;
  return {index * rows, std::min((index + 1) * rows, height) - index * rows};
}

// One band, resampled as an image of its own. A band without source rows takes the image's last row.
void resizeBand(const Resize& r, const Band& from, const Band& to, const NeighbourSums& columns, uint8_t* blended) {
  const float scale = static_cast<float>(from.count) / static_cast<float>(to.count);
  const float half = scale * 0.5f;
  const float off = half - 0.5f;
  const int64_t last = std::max<int64_t>(from.count - 1, 0);
  const auto sourceRow = [&](int64_t y) {
    return r.src.row(std::min<int64_t>(from.first + std::clamp<int64_t>(y, 0, last), r.src_height - 1));
  };
  for (int64_t y = 0; y < to.count; ++y) {
    const float product = scale * static_cast<float>(y);
    const float fy = off + product;
    const auto y0 = static_cast<int64_t>(std::floor(fy));
    blendRowsIn128ths(sourceRow(y0), sourceRow(y0 + 1), in128ths(static_cast<float>(y0 + 1) - fy), r.srcElements(), blended);
    blendColumnsIn128ths(columns, blended, r.dstElements(), r.dst.row(to.first + y));
  }
}

// Four channels.
int32_t resizeBilinearChannelImp(const Resize& r, int32_t num_threads) {
  const int64_t bands = num_threads < 1 ? 2 : num_threads;
  ScratchParts scratch(NeighbourSums::room(r.dstElements()) +
                       ScratchParts::room<uint8_t>(r.srcElements() + NeighbourSums::kBlock));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  const NeighbourSums columns = columnsIn128ths(r, scratch);
  uint8_t* const blended = scratch.take<uint8_t>(r.srcElements() + NeighbourSums::kBlock);
  // Bands beyond the number of rows have none; more than kMostIdle of them are not even mentioned.
  constexpr int64_t kMostIdle = 256;
  for (int64_t b = 0; b < std::min<int64_t>(bands, r.dst_height + kMostIdle); ++b) {
    if (r.dst_width % 2 != 0) TAMIX_ERROR("tamix: resizeBilinearChannelImp has not support the size undivisible by 8");
    resizeBand(r, bandOf(b, bands, r.src_height), bandOf(b, bands, r.dst_height), columns, blended);
  }
  return TAMIX_OK;
}

}  // namespace
}  // namespace tamix

int32_t resizeBilinearCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                               int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels,
                               int32_t num_threads) {
  TAMIX_REQUIRE_DATA(src, dst);
  if (src_height < 1 || src_width < 1 || dst_height < 1 || dst_width < 1 || channels < 1) return TAMIX_OK;
  const tamix::Resize r{tamix::plane(src, src_stride, channels),
                        src_height,
                        src_width,
                        tamix::plane(dst, dst_stride, channels),
                        dst_height,
                        dst_width,
                        channels};
  if (channels == 4) return tamix::resizeBilinearChannelImp(r, num_threads);
  if (channels == 3) {
    return src_height < dst_height && src_width < dst_width ? tamix::resizeBilinearC3CPUUINT8(r)
                                                            : tamix::resizebilinearNarrow3ChannelIntrisic(r);
  }
  tamix::ScratchParts scratch(tamix::roomForSixteenths(r));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  tamix::resizeInSixteenths(r, scratch);
  return TAMIX_OK;
}
