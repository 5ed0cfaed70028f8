// Area resize of 8-bit images: every result is the mean of the source pixels that it covers, within its half of the rows.
#include "inference/runtime/cpu/arm/common/area_columns.h"
#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/half_size.h"
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
  bool isHalf() const { return channels <= 4 && src_height == 2 * int64_t{dst_height} && src_width == 2 * int64_t{dst_width}; }
};

// Rounded to the nearest integer, halves up, then clamped to 0..255: `count` elements, at most two vectors.
template <class V>
HWY_INLINE void storeRounded(V first, V second, uint8_t* out, size_t count) {
  const hn::ScalableTag<float> d;
  const hn::Repartition<int16_t, decltype(d)> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto words = hn::ReorderDemote2To(d16, roundHalfUpToInt32(d, first), roundHalfUpToInt32(d, second));
  const auto bytes = hn::DemoteTo(d8, narrowedInOrder(d16, words));
  if (count >= hn::Lanes(d8)) return hn::StoreU(bytes, d8, out);
  alignas(64) uint8_t last[hn::MaxLanes(d8)];
  hn::StoreU(bytes, d8, last);
  std::memcpy(out, last, count);
}

// The general form of one band.
int32_t resizeAreaImp(const Resize& r, const AreaBand& band, const AreaColumns<uint8_t>& columns) {
  const size_t n = r.dstElements();
  ScratchParts scratch(AreaRows<uint8_t>::room(n, r.scaleY()));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "resizeAreaImp alloc memory failed!");
  const AreaRows<uint8_t> rows(scratch, n, r.scaleY());
  rows.average(band, r.src, columns, [&](int32_t y, size_t e, auto first, auto second) HWY_ATTR {
    storeRounded(first, second, r.dst.row(y) + e, n - e);
  });
  return TAMIX_OK;
}

// Half size: the products are multiples of 1/4, so whole numbers give the same. Where a half of the image has an odd number of
// rows, its last row stands for both.
template <size_t kChannels>
void halveBand(const Resize& r, const AreaBand& band) {
  for (int32_t y = 0; y < band.dst_count; ++y) {
    const uint8_t* const upper = r.src.row(band.src_first + 2 * y);
    const uint8_t* const lower = r.src.row(band.src_first + std::min(2 * y + 1, band.src_count - 1));
    halveRow<kChannels>(upper, lower, static_cast<size_t>(r.dst_width), r.dst.row(band.dst_first + y));
  }
}

void halveBand(const Resize& r, const AreaBand& band) {
  switch (r.channels) {
    case 1:
      return halveBand<1>(r, band);
    case 2:
      return halveBand<2>(r, band);
    case 3:
      return halveBand<3>(r, band);
    default:
      return halveBand<4>(r, band);
  }
}

int32_t resizeAreaGeneral(const Resize& r) {
  // Whether a call finds memory does not depend on the scale: the short cuts ask for some too.
  const bool needs_tables = !r.isCopy() && !r.isHalf();
  ScratchParts scratch(needs_tables ? AreaColumns<uint8_t>::room(r.dstElements(), r.scaleX()) : 1);
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "resizeAreaGeneral alloc memory failed!");
  if (r.isCopy()) {
    for (int32_t y = 0; y < r.dst_height; ++y) std::memmove(r.dst.row(y), r.src.row(y), r.dstElements());
    return TAMIX_OK;
  }
  const AreaBand bands[] = {areaBand(0, r.src_height, r.dst_height), areaBand(1, r.src_height, r.dst_height)};
  if (r.isHalf()) {
    for (const AreaBand& band : bands) halveBand(r, band);
    return TAMIX_OK;
  }
  const AreaColumns<uint8_t> columns(scratch, r.src_width, r.dst_width, r.channels);
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
