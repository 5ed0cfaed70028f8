// Bilinear resize of an NV21 or NV12 frame fused with its conversion to RGB or BGR.
//
// Per pair of destination rows: the two luma rows and their chroma row are blended vertically over the whole source width into
// row buffers; then blocks of destination pixels fetch their left and right neighbours from there, blend and convert them.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/runtime/cpu/arm/common/yuv_to_rgb.h"
#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

namespace tamix {
namespace {

// 1.164, 1.596, 0.391, 0.813 and 2.018 (ITU-R BT.601) in 10 bits, scaled up by another 10.
constexpr YUVWeights kWeights = {1192 << 10, 1634 << 10, -(400 << 10), -(833 << 10), 2066 << 10, 0};

// Two neighbouring samples and the first one's weight; the second one's is 128 less that.
struct Neighbours {
  int64_t first;
  int64_t second;
  uint8_t weight;
};

// One axis of the resize, in luma or in chroma units: destination centres lie on source centres.
class Axis {
 public:
  Axis(int32_t src_size, int32_t dst_size)
      : scale_(static_cast<float>(src_size) / static_cast<float>(dst_size)),
        offset_(static_cast<float>(static_cast<double>(scale_) * 0.5 - 0.5)) {}

  // Clamped to 0..samples - 1. A sample of its own weight is both neighbours with half of it each, so that the weights are
  // 1..127.
  Neighbours at(int64_t position, int64_t samples) const {
    const float at = static_cast<float>(position) * scale_ + offset_;
    const float below = std::floor(at);
    const auto weight = std::min(static_cast<int32_t>((below + 1.0f - at) * 128.0f), 128);
    const auto clamped = [&](int64_t i) { return std::clamp<int64_t>(i, 0, samples - 1); };
    const Neighbours both = {clamped(static_cast<int64_t>(below)), clamped(static_cast<int64_t>(below) + 1),
                             static_cast<uint8_t>(weight)};
    if (weight == 128) return {both.first, both.first, 64};
    return weight == 0 ? Neighbours{both.second, both.second, 64} : both;
  }

 private:
  float scale_;
  float offset_;
};

// Bytes from the window of a row, or from anywhere in the row where kWindow is 0.
template <class D, size_t kWindow>
class Fetch {
 public:
  using Index = uint8_t;

  HWY_INLINE Fetch(D d, const uint8_t* window) : d_(d), window_(d, window) {}
  HWY_INLINE hn::Vec<D> operator()(const Index* index) const { return window_.lookup(hn::LoadU(d_, index)); }

 private:
  [[no_unique_address]] D d_;
  ByteWindow<D, kWindow / 16> window_;
};

template <class D>
class Fetch<D, 0> {
 public:
  using Index = int32_t;

  HWY_INLINE Fetch(D d, const uint8_t* row) : d_(d), row_(row) {}
  HWY_INLINE hn::Vec<D> operator()(const Index* index) const {
    uint8_t bytes[hn::MaxLanes(D())];
    for (size_t i = 0; i < hn::MaxLanes(D()); ++i) bytes[i] = row_[index[i]];
    return hn::LoadU(d_, bytes);
  }

 private:
  [[no_unique_address]] D d_;
  const uint8_t* row_;
};

// Bytes readable behind the row buffers, so that a window may begin at a row's last sample.
constexpr size_t kMostWindow = 128;

// Where a block of Lanes(D) destination pixels comes from: for its four sample vectors (luma of even pixels, luma of odd
// pixels, U, V) both neighbours of every sample as weightedPairs() takes them, and their weights (V's are U's).
template <class D, size_t kWindow>
struct Block {
  static constexpr size_t kLanes = hn::MaxLanes(D());
  using Index = typename Fetch<D, kWindow>::Index;
  enum Samples { kEven, kOdd, kU, kV };

  uint8_t weights[3][kLanes];
  Index index[4][kLanes];
  int32_t luma_start;  // where the windows begin in the luma and the chroma row
  int32_t chroma_start;
};

struct Frame {
  Plane<const uint8_t> y;
  Plane<const uint8_t> uv;
  int32_t height;
  int32_t width;
  bool nv21;

  int64_t pairs() const { return width / 2; }
  int64_t chromaRows() const { return height / 2; }
};

struct Picture {
  Plane<uint8_t> plane;
  int32_t height;
  int32_t width;
};

// The first and the last pixel's neighbours of the block of n pixels from x on, and the same of its chroma pairs.
struct BlockEnds {
  BlockEnds(const Axis& columns, const Frame& src, int32_t dst_width, int64_t x, size_t n) {
    const int64_t last = std::min<int64_t>(x + static_cast<int64_t>(n), dst_width) - 1;
    luma_first = columns.at(x, src.width).first;
    luma_last = columns.at(last, src.width).second;
    chroma_first = 2 * columns.at(x / 2, src.pairs()).first;
    chroma_last = 2 * columns.at(last / 2, src.pairs()).second + 1;
  }

  int64_t luma_first, luma_last, chroma_first, chroma_last;
};

// True when every block's samples lie within windows of that many bytes.
bool fitsWindows(const Axis& columns, const Frame& src, int32_t dst_width, size_t lanes, size_t window) {
  const auto n = static_cast<int64_t>(lanes);
  const auto most = static_cast<int64_t>(window);
  for (int64_t x = 0; x < dst_width; x += n) {
    const BlockEnds ends(columns, src, dst_width, x, lanes);
    if (ends.luma_last - ends.luma_first >= most || ends.chroma_last - ends.chroma_first >= most) return false;
  }
  return true;
}

// Pixels beyond the destination's last column repeat it.
template <class D, size_t kWindow>
void planBlock(const Axis& columns, const Frame& src, int32_t dst_width, int64_t x, Block<D, kWindow>& block) {
  using B = Block<D, kWindow>;
  const BlockEnds ends(columns, src, dst_width, x, B::kLanes);
  block.luma_start = kWindow == 0 ? 0 : static_cast<int32_t>(ends.luma_first);
  block.chroma_start = kWindow == 0 ? 0 : static_cast<int32_t>(ends.chroma_first);
  const auto set = [&](typename B::Samples samples, size_t i, int64_t first, int64_t second, uint8_t weight) {
    const size_t a = pairLane(i, 0, B::kLanes);
    const size_t b = pairLane(i, 1, B::kLanes);
    block.index[samples][a] = static_cast<typename B::Index>(first);
    block.index[samples][b] = static_cast<typename B::Index>(second);
    if (samples == B::kV) return;
    block.weights[samples][a] = weight;
    block.weights[samples][b] = static_cast<uint8_t>(128 - weight);
  };
  for (size_t i = 0; i < B::kLanes / 2; ++i) {
    const int64_t pixel = x + 2 * static_cast<int64_t>(i);
    const int64_t last = dst_width - 1;
    for (int64_t odd = 0; odd < 2; ++odd) {
      const Neighbours luma = columns.at(std::min(pixel + odd, last), src.width);
      set(odd == 0 ? B::kEven : B::kOdd, i, luma.first - block.luma_start, luma.second - block.luma_start, luma.weight);
    }
    const Neighbours chroma = columns.at(std::min(pixel, last) / 2, src.pairs());
    const int64_t first = 2 * chroma.first - block.chroma_start;
    const int64_t second = 2 * chroma.second - block.chroma_start;
    set(B::kU, i, first + (src.nv21 ? 1 : 0), second + (src.nv21 ? 1 : 0), chroma.weight);
    set(B::kV, i, first + (src.nv21 ? 0 : 1), second + (src.nv21 ? 0 : 1), chroma.weight);
  }
}

// A row between two rows of n bytes.
HWY_FLATTEN void blendRows(Plane<const uint8_t> src, const Neighbours& rows, size_t n, uint8_t* HWY_RESTRICT out) {
  const uint8_t* const a = src.row(rows.first);
  const uint8_t* const b = src.row(rows.second);
  walkRow<uint8_t, 16>(
      n,
      [&](auto d, size_t i)
          HWY_ATTR { hn::StoreU(blend7(d, hn::LoadU(d, a + i), hn::LoadU(d, b + i), rows.weight), d, out + i); },
      [&](size_t i) { out[i] = static_cast<uint8_t>((a[i] * rows.weight + b[i] * (128 - rows.weight)) >> 7); });
}

// Vertically blended rows of one pair of destination rows.
struct BlendedRows {
  uint8_t* luma[2];
  uint8_t* chroma;
};

// Blends and converts the pixels of kRows destination rows.
template <bool kRedFirst, int kRows, class D, size_t kWindow>
HWY_FLATTEN void convertRows(const Block<D, kWindow>* blocks, const BlendedRows& rows, Plane<uint8_t> dst, size_t width) {
  using B = Block<D, kWindow>;
  const D d;
  const auto samples = [&](const Fetch<D, kWindow>& fetch, const B& block, typename B::Samples which) HWY_ATTR {
    const size_t weights = which == B::kV ? B::kU : which;
    return hn::ShiftRight<7>(weightedPairs(d, fetch(block.index[which]), hn::LoadU(d, block.weights[weights])));
  };
  for (size_t x = 0; x < width; x += B::kLanes) {
    const B& block = *blocks++;
    const Fetch<D, kWindow> chroma(d, rows.chroma + block.chroma_start);
    const ChromaTerms<kWeights, D> terms(d, samples(chroma, block, B::kU), samples(chroma, block, B::kV));
    const auto row = [&](int r) HWY_ATTR {
      const Fetch<D, kWindow> luma(d, rows.luma[r] + block.luma_start);
      const auto black = hn::Set(hn::RepartitionToWide<D>(), 16);
      const auto even = hn::SaturatedSub(samples(luma, block, B::kEven), black);
      const auto odd = hn::SaturatedSub(samples(luma, block, B::kOdd), black);
      uint8_t pixels[3 * B::kLanes];
      const bool whole = width - x >= B::kLanes;
      uint8_t* const to = dst.row(r) + 3 * x;
      terms.template store<kRedFirst>(even, odd, whole ? to : pixels);
      if (!whole) std::memcpy(to, pixels, 3 * (width - x));
    };
    row(0);
    if constexpr (kRows == 2) row(1);
  }
}

template <bool kRedFirst, class D, size_t kWindow>
bool resizeInBlocks(const Frame& src, const Picture& dst, const Axis& columns) {
  using B = Block<D, kWindow>;
  const auto width = static_cast<size_t>(dst.width);
  const size_t row_bytes = (static_cast<size_t>(src.width) + kMostWindow + 63) / 64 * 64;
  const ScratchBuffer<uint8_t> buffer(3 * row_bytes);
  const ScratchBuffer<B> blocks((width + B::kLanes - 1) / B::kLanes);
  if (!buffer || !blocks) return false;
  std::memset(buffer.data(), 0, 3 * row_bytes);
  for (size_t x = 0; x < width; x += B::kLanes) {
    planBlock(columns, src, dst.width, static_cast<int64_t>(x), blocks[x / B::kLanes]);
  }

  const BlendedRows rows = {{buffer.data(), buffer.data() + row_bytes}, buffer.data() + 2 * row_bytes};
  const Axis vertical(src.height, dst.height);
  const auto n = static_cast<size_t>(src.width);
  for (int64_t r = 0; r < dst.height; r += 2) {
    blendRows(src.uv, vertical.at(r / 2, src.chromaRows()), n / 2 * 2, rows.chroma);
    blendRows(src.y, vertical.at(r, src.height), n, rows.luma[0]);
    const Plane<uint8_t> out = {dst.plane.row(r), dst.plane.pitch};
    if (r + 1 < dst.height) {
      blendRows(src.y, vertical.at(r + 1, src.height), n, rows.luma[1]);
      convertRows<kRedFirst, 2>(blocks.data(), rows, out, width);
    } else {
      convertRows<kRedFirst, 1>(blocks.data(), rows, out, width);
    }
  }
  return true;
}

// False without memory.
template <bool kRedFirst>
bool resize(const Frame& src, const Picture& dst) {
  if (dst.height < 1 || dst.width < 1) return true;
  const Axis columns(src.width, dst.width);
  const auto fits = [&](size_t lanes, size_t window) { return fitsWindows(columns, src, dst.width, lanes, window); };
  using Small = hn::CappedTag<uint8_t, 16>;
#if TAMIX_BYTE_PERMUTATIONS
  if (fits(64, 128)) return resizeInBlocks<kRedFirst, hn::CappedTag<uint8_t, 64>, 128>(src, dst, columns);
  if (fits(32, 128)) return resizeInBlocks<kRedFirst, hn::CappedTag<uint8_t, 32>, 128>(src, dst, columns);
#else
  if (fits(16, 32)) return resizeInBlocks<kRedFirst, Small, 32>(src, dst, columns);
  if (fits(16, 64)) return resizeInBlocks<kRedFirst, Small, 64>(src, dst, columns);
#endif
  if (fits(16, 128)) return resizeInBlocks<kRedFirst, Small, 128>(src, dst, columns);
  return resizeInBlocks<kRedFirst, Small, 0>(src, dst, columns);
}

template <bool kRedFirst>
bool resize(const uint8_t* src_y, const uint8_t* src_uv, int32_t is_nv21, int32_t src_height, int32_t src_width,
            int32_t src_width_stride, uint8_t* dst, int32_t dst_height, int32_t dst_width, int32_t dst_width_stride) {
  return resize<kRedFirst>(
      {plane(src_y, src_width_stride), plane(src_uv, src_width_stride), src_height, src_width, (is_nv21 & 1) != 0},
      {plane(dst, dst_width_stride, 3), dst_height, dst_width});
}

}  // namespace
}  // namespace tamix

int32_t resizeBilinearNV21toRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, int32_t is_nv21, int32_t src_height,
                                        int32_t src_width, int32_t src_width_stride, uint8_t* dst, int32_t dst_height,
                                        int32_t dst_width, int32_t dst_width_stride, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src_y, src_uv, dst);
  TAMIX_REQUIRE(src_height >= 9 && src_width >= 9, TAMIX_ERR_UNSUPPORTED, "input size is too small (%d, %d)", src_height,
                src_width);
  TAMIX_REQUIRE(tamix::resize<true>(src_y, src_uv, is_nv21, src_height, src_width, src_width_stride, dst, dst_height, dst_width,
                                    dst_width_stride),
                TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  return TAMIX_OK;
}

int32_t resizeBilinearNV21toBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, int32_t is_nv21, int32_t src_height,
                                        int32_t src_width, int32_t src_width_stride, uint8_t* dst, int32_t dst_height,
                                        int32_t dst_width, int32_t dst_width_stride, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src_y, src_uv, dst);
  TAMIX_REQUIRE(src_height >= 9 && src_width >= 9, TAMIX_ERR_UNSUPPORTED, "input size is too small (%d, %d)", src_height,
                src_width);
  TAMIX_REQUIRE(tamix::resize<false>(src_y, src_uv, is_nv21, src_height, src_width, src_width_stride, dst, dst_height,
                                     dst_width, dst_width_stride),
                TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  return TAMIX_OK;
}
