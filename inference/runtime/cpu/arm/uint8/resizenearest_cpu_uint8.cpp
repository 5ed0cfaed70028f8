#include "inference/runtime/cpu/arm/uint8/resizenearest_cpu_uint8.h"

#include <cmath>

#include "inference/runtime/cpu/arm/common/row_lookup.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

using D = hn::ScalableTag<uint8_t>;
constexpr size_t kLanes = hn::MaxLanes(D());

// One axis: sample d comes from floor(scale * (d + 0.5)), all in single precision. Beyond 2^23 samples rounding may lead past
// the last one, which is taken then.
class NearestAxis {
 public:
  NearestAxis(int32_t source, int32_t target)
      : last_(source - 1), scale_(static_cast<float>(source) / static_cast<float>(target)) {}

  ptrdiff_t operator[](int32_t d) const {
    return std::min(static_cast<ptrdiff_t>(std::floor(scale_ * (static_cast<float>(d) + 0.5f))), last_);
  }

 private:
  ptrdiff_t last_;
  float scale_;
};

// Fetches the bytes of a destination row.
class Columns {
 public:
  static size_t blocks(size_t n) { return (n + kLanes - 1) / kLanes; }
  static size_t room(size_t n) { return RowLookup::room(blocks(n), kLanes) + ScratchParts::room<size_t>(blocks(n) * kLanes); }

  Columns(ScratchParts& scratch, int32_t src_width, int32_t dst_width, int32_t channels)
      : n_(rowElements(dst_width, channels)),
        lookup_(scratch, blocks(n_), kLanes, rowElements(src_width, channels)),
        position_(scratch.take<size_t>(blocks(n_) * kLanes)) {
    const NearestAxis axis(src_width, dst_width);
    size_t e = 0;
    for (int32_t x = 0; x < dst_width; ++x) {
      const ptrdiff_t first = axis[x] * channels;
      for (int32_t c = 0; c < channels; ++c) position_[e++] = static_cast<size_t>(first + c);
    }
    for (; e < blocks(n_) * kLanes; ++e) position_[e] = position_[n_ - 1];
    lookup_.build(position_, kLanes, 1, [](uint8_t* index, size_t i, uint8_t offset) { index[i] = offset; });
  }

  void copy(const uint8_t* row, uint8_t* HWY_RESTRICT out) const {
    // A copy: the bytes stored could be the table's own otherwise.
    const RowLookup lookup = lookup_;
    lookup.withWindow([&](auto window) HWY_ATTR {
      if constexpr (window() == 0) {
        for (size_t e = 0; e < n_; ++e) out[e] = row[position_[e]];
      } else {
        writeRow(out, n_, [&](auto d, size_t i) HWY_ATTR {
          const size_t k = i / kLanes;
          return lookup.window<window()>(d, row, k).lookup(hn::Load(d, lookup.index(k)));
        });
      }
    });
  }

 private:
  size_t n_;
  RowLookup lookup_;
  size_t* position_;
};

struct Resize {
  Plane<const uint8_t> src;
  int32_t src_height;
  int32_t src_width;
  Plane<uint8_t> dst;
  int32_t dst_height;
  int32_t dst_width;
  int32_t channels;
};

int32_t resizeNearestIntrinsic(const Resize& r) {
  const size_t n = rowElements(r.dst_width, r.channels);
  ScratchParts scratch(Columns::room(n));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  const Columns columns(scratch, r.src_width, r.dst_width, r.channels);
  const NearestAxis axis(r.src_height, r.dst_height);
  ptrdiff_t previous = -1;
  for (int32_t y = 0; y < r.dst_height; ++y) {
    const ptrdiff_t row = axis[y];
    if (row == previous) {
      std::memmove(r.dst.row(y), r.dst.row(y - 1), n);
    } else {
      columns.copy(r.src.row(row), r.dst.row(y));
    }
    previous = row;
  }
  return TAMIX_OK;
}

int32_t resizeNearestNeighborIntrinsic(const Resize& r) {
  TAMIX_REQUIRE(r.channels == 4 || r.channels == 3 || r.channels == 1, TAMIX_ERR_UNSUPPORTED, "Recieved unsupported channel %d",
                r.channels);
  if (r.src_height < 1 || r.src_width < 1 || r.dst_height < 1 || r.dst_width < 1) return TAMIX_OK;
  return resizeNearestIntrinsic(r);
}

}  // namespace

int32_t resizeNearestCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                              int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels,
                              int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  return resizeNearestNeighborIntrinsic({plane(src, src_stride, channels), src_height, src_width,
                                         plane(dst, dst_stride, channels), dst_height, dst_width, channels});
}

int32_t resizeNearestPairsCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_stride, uint8_t* dst,
                                   int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t /*channels*/,
                                   int32_t /*num_threads*/) {
  TAMIX_REQUIRE_AT(TAMIX_PLACE("resizeNearestCPUUINT8"), !anyNull(src, dst), TAMIX_ERR_INVALID_IMAGE,
                   "Recieved null data pointer");
  if (src_height < 1 || src_width < 1 || dst_height < 1 || dst_width < 1) return TAMIX_OK;
  return resizeNearestIntrinsic(
      {plane(src, src_stride, 2), src_height, src_width, plane(dst, dst_stride, 2), dst_height, dst_width, 2});
}

}  // namespace tamix
