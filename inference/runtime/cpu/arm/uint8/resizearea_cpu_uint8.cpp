// Area resize of 8-bit images: every result is the mean of the source pixels that it covers, within its half of the rows.
#include "inference/runtime/cpu/arm/common/area_columns.h"
#include "inference/runtime/cpu/arm/common/float_to_int.h"
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
  double scaleX() const { return areaScale(src_width, dst_width); }
  double scaleY() const { return areaScale(src_height, dst_height); }
  bool isCopy() const { return src_height == dst_height && src_width == dst_width; }
  bool isHalf() const { return src_height == 2 * int64_t{dst_height} && src_width == 2 * int64_t{dst_width}; }
};

// Rounded to the nearest integer, ties away from zero, then clamped to 0..255: `count` elements, at most a vector.
HWY_INLINE void storeRounded(hn::Vec<hn::ScalableTag<float>> v, uint8_t* out, size_t count) {
  const hn::ScalableTag<float> d;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const auto bytes = hn::DemoteTo(d8, roundAwayToInt32(d, v));
  if (count >= hn::Lanes(d)) return hn::StoreU(bytes, d8, out);
  alignas(64) uint8_t last[hn::MaxLanes(d)];
  hn::StoreU(bytes, d8, last);
  std::memcpy(out, last, count);
}

// The general form of one band.
int32_t resizeAreaImp(const Resize& r, const AreaBand& band, AreaColumns<uint8_t>& columns) {
  const ScratchBuffer<float> carry(columns.blocks() * AreaColumns<uint8_t>::kLanes);
  TAMIX_REQUIRE(carry, TAMIX_ERR_NO_MEMORY, "resizeAreaImp alloc memory failed!");
  const size_t n = r.dstElements();
  averageBand(band, r.scaleY(), r.src, columns, carry.data(),
              [&](int32_t y, size_t e, auto v) HWY_ATTR { storeRounded(v, r.dst.row(y) + e, n - e); });
  return TAMIX_OK;
}

// Half size: the products are multiples of 1/4, so whole numbers give the same. (a + b + c + d + 2) >> 2 of each 2 x 2 block;
// where a half of the image has an odd number of rows, its last row stands for both.
void averageSquares(const Resize& r, const AreaBand& band, NeighbourSums& pairs) {
  for (int32_t y = 0; y < band.dst_count; ++y) {
    const uint8_t* const upper = r.src.row(band.src_first + 2 * y);
    const uint8_t* const lower = r.src.row(band.src_first + std::min(2 * y + 1, band.src_count - 1));
    pairs.withWindow([&](auto window) HWY_ATTR {
      writeRow(r.dst.row(band.dst_first + y), r.dstElements(), [&](auto d, size_t e) HWY_ATTR {
        const auto a = pairs.sums<window(), Pixels::kPlain>(pairs.prepare(upper), e / NeighbourSums::kBlock);
        const auto b = pairs.sums<window(), Pixels::kPlain>(pairs.prepare(lower), e / NeighbourSums::kBlock);
        return narrowedInOrder(d, roundShiftRightNarrowToUint8<2>(d, hn::Add(a.first, b.first), hn::Add(a.second, b.second)));
      });
    });
  }
}

NeighbourSums pairsOf(const Resize& r, ScratchParts& scratch) {
  NeighbourSums pairs(scratch, r.dstElements(), r.srcElements());
  const auto channels = static_cast<size_t>(r.channels);
  for (size_t e = 0; e < r.dstElements(); ++e) {
    pairs.position()[e] = e / channels * 2 * channels + e % channels;
    pairs.weight()[e] = 1;
  }
  pairs.build(2, channels);
  return pairs;
}

int32_t resizeAreaGeneral(const Resize& r) {
  ScratchParts scratch(r.isHalf() ? NeighbourSums::room(r.dstElements())
                                  : AreaColumns<uint8_t>::room(r.dstElements(), r.scaleX()));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "resizeAreaGeneral alloc memory failed!");
  if (r.isCopy()) {
    for (int32_t y = 0; y < r.dst_height; ++y) std::memmove(r.dst.row(y), r.src.row(y), r.dstElements());
    return TAMIX_OK;
  }
  const AreaBand bands[] = {areaBand(0, r.src_height, r.dst_height), areaBand(1, r.src_height, r.dst_height)};
  if (r.isHalf()) {
    NeighbourSums pairs = pairsOf(r, scratch);
    for (const AreaBand& band : bands) averageSquares(r, band, pairs);
    return TAMIX_OK;
  }
  AreaColumns<uint8_t> columns(scratch, r.src_width, r.dst_width, r.channels);
  for (const AreaBand& band : bands) TAMIX_TRY(resizeAreaImp(r, band, columns));
  return TAMIX_OK;
}

}  // namespace
}  // namespace tamix

int32_t resizeAreaCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                           int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels, int32_t num_threads) {
  TAMIX_REQUIRE_DATA(src, dst);
  if (src_height < dst_height || src_width < dst_width) {
    return resizeBilinearCPUUINT8(src, src_height, src_width, src_stride, dst, dst_height, dst_width, dst_stride, channels,
                                  num_threads);
  }
  if (dst_height < 1 || dst_width < 1 || channels < 1) return TAMIX_OK;
  return tamix::resizeAreaGeneral({tamix::plane(src, src_stride, channels), src_height, src_width,
                                   tamix::plane(dst, dst_stride, channels), dst_height, dst_width, channels});
}
