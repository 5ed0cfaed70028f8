#include "inference/runtime/cpu/arm/uint8/copymakeborder_cpu_uint8.h"

#include <algorithm>
#include <cstring>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/stream.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

constexpr int32_t kIgnoredFlag = 16;

// An image and the border around it; widths in pixels.
struct Extent {
  Plane<const uint8_t> src;
  Plane<uint8_t> dst;
  int64_t height;
  int64_t width;
  int64_t channels;
  int64_t top;
  int64_t bottom;
  int64_t left;
  int64_t right;

  bool isEmpty() const { return height < 1 || width < 1 || channels < 1; }
  size_t srcRow() const { return static_cast<size_t>(width * channels); }
  bool streamed() const {
    const auto rows = static_cast<int32_t>(height);
    const auto all_rows = static_cast<int32_t>(top + height + bottom);
    return isStreamed(static_cast<size_t>(height) * srcRow()) &&
           !overlap(memoryOf(src, rows, srcRow()), memoryOf(dst, all_rows, dstRow()));
  }
  size_t dstRow() const { return static_cast<size_t>((left + width + right) * channels); }
};

// Copies an input row into the middle of its output row.
void copyMiddle(const uint8_t* in, uint8_t* middle, size_t n, bool streamed) {
  if (streamed) {
    streamBytes(middle, in, n);
  } else {
    std::memmove(middle, in, n);
  }
}

// One vector of an output row, and where its bytes come from: source[i] bytes behind src_start of the input row.
template <size_t kLanes>
struct BorderBlock {
  size_t dst_start;
  size_t src_start;
  uint8_t source[kLanes];
};

// One side's border columns, the same in every row: looked up by vectors where the sources of each lie close together and rows
// are long enough, otherwise moved pixel by pixel.
template <class D>
class BorderColumns {
 public:
  using Block = BorderBlock<hn::MaxLanes(D())>;

  // Blocks that `columns` border columns need.
  static size_t blocksFor(const Extent& extent, int64_t columns) {
    const auto bytes = static_cast<size_t>(columns * extent.channels);
    return bytes / kLanes + (bytes % kLanes != 0 ? 1 : 0);
  }

  // Columns [first, last) of the output. blocks: memory for blocksFor() of them, or null.
  BorderColumns(const Extent& extent, int32_t border_type, int64_t first, int64_t last, Block* blocks)
      : extent_(extent), border_type_(border_type), first_(first), last_(last), blocks_(blocks) {
    if (blocks_ != nullptr && extent.srcRow() >= kWindow) looked_up_ = fillBlocks();
  }

  void fill(const uint8_t* src, uint8_t* dst) const {
    if (looked_up_) {
      lookUp(src, dst);
    } else {
      movePixels(src, dst);
    }
  }

 private:
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static constexpr size_t kWindow = 2 * kLanes;

  // The last block ends where the side ends. A block may reach into the middle, which it writes as it is. False where a block's
  // sources lie further apart than a lookup reaches.
  bool fillBlocks() {
    const auto begin = static_cast<size_t>(first_ * extent_.channels);
    const auto end = static_cast<size_t>(last_ * extent_.channels);
    for (size_t at = begin; at < end; at += kLanes) {
      if (!fillBlock(std::min(at, end - std::min(end, kLanes)), blocks_[count_++])) return false;
    }
    return true;
  }

  bool fillBlock(size_t dst_start, Block& block) const {
    const auto pixel = static_cast<size_t>(extent_.channels);
    size_t source[kLanes];
    size_t x = dst_start / pixel;
    size_t c = dst_start % pixel;
    size_t from = sourceOf(x);
    for (size_t& position : source) {
      position = from + c;
      if (++c < pixel) continue;
      c = 0;
      from = sourceOf(++x);
    }
    const auto [lowest, highest] = std::minmax_element(source, source + kLanes);
    block.dst_start = dst_start;
    block.src_start = std::min(*lowest, extent_.srcRow() - kWindow);
    if (*highest - block.src_start >= kWindow) return false;
    for (size_t i = 0; i < kLanes; ++i) block.source[i] = static_cast<uint8_t>(source[i] - block.src_start);
    return true;
  }

  // The first byte of the input pixel that column x of the output shows.
  size_t sourceOf(size_t x) const {
    const int64_t column = borderIndex(static_cast<int64_t>(x) - extent_.left, extent_.width, border_type_);
    return static_cast<size_t>(column * extent_.channels);
  }

  void lookUp(const uint8_t* src, uint8_t* dst) const {
    const D d;
    for (size_t k = 0; k < count_; ++k) {
      const Block& block = blocks_[k];
      const ByteWindow<D, kWindow / 16> window(d, src + block.src_start);
      hn::StoreU(window.lookup(hn::LoadU(d, block.source)), d, dst + block.dst_start);
    }
  }

  void movePixels(const uint8_t* src, uint8_t* dst) const {
    const auto pixel = static_cast<size_t>(extent_.channels);
    for (auto x = static_cast<size_t>(first_); x < static_cast<size_t>(last_); ++x) {
      const uint8_t* const from = src + sourceOf(x);
      for (size_t c = 0; c < pixel; ++c) dst[x * pixel + c] = from[c];
    }
  }

  const Extent& extent_;
  int32_t border_type_;
  int64_t first_;
  int64_t last_;
  Block* blocks_;
  size_t count_ = 0;
  bool looked_up_ = false;
};

// Border rows are copies of finished output rows.
void copyBorderRows(const Extent& extent, int32_t border_type) {
  const auto copyRow = [&](int64_t y) {
    const int64_t from = borderIndex(y, extent.height, border_type);
    std::memcpy(extent.dst.row(extent.top + y), extent.dst.row(extent.top + from), extent.dstRow());
  };
  for (int64_t y = -extent.top; y < 0; ++y) copyRow(y);
  for (int64_t y = extent.height; y < extent.height + extent.bottom; ++y) copyRow(y);
}

int32_t copyMakeBorderOther(const Extent& extent, int32_t border_type) {
  using Columns = BorderColumns<hn::ScalableTag<uint8_t>>;
  if (extent.isEmpty()) return TAMIX_OK;
  const size_t left_blocks = Columns::blocksFor(extent, extent.left);
  const ScratchBuffer<Columns::Block> blocks(left_blocks + Columns::blocksFor(extent, extent.right));
  // The default border does without the table if it must.
  TAMIX_REQUIRE(blocks || border_type == TAMIX_BORDER_REFLECT_101, TAMIX_ERR_NO_MEMORY, "memory allocation failed");

  const bool streamed = extent.streamed();
  const int64_t right_start = extent.left + extent.width;
  const Columns left(extent, border_type, 0, extent.left, blocks.data());
  const Columns right(extent, border_type, right_start, right_start + extent.right,
                      blocks ? blocks.data() + left_blocks : nullptr);
  for (int64_t y = 0; y < extent.height; ++y) {
    const uint8_t* const in = extent.src.row(y);
    uint8_t* const out = extent.dst.row(extent.top + y);
    left.fill(in, out);
    right.fill(in, out);
    copyMiddle(in, out + extent.left * extent.channels, extent.srcRow(), streamed);
  }
  if (streamed) finishStreaming();
  copyBorderRows(extent, border_type);
  return TAMIX_OK;
}

int32_t copyMakeBorderCONSTANT(const Extent& extent, int32_t border_value) {
  TAMIX_REQUIRE(border_value >= 0 && border_value <= 255, TAMIX_ERR_INVALID_IMAGE, "Recieved unsupported border value %d",
                border_value);
  if (extent.isEmpty()) return TAMIX_OK;
  const bool streamed = extent.streamed();
  const auto fill = [border_value](uint8_t* at, size_t n) { std::memset(at, border_value, n); };
  const auto left = static_cast<size_t>(extent.left * extent.channels);
  const auto right = static_cast<size_t>(extent.right * extent.channels);
  for (int64_t y = 0; y < extent.top; ++y) fill(extent.dst.row(y), extent.dstRow());
  for (int64_t y = 0; y < extent.height; ++y) {
    uint8_t* const out = extent.dst.row(extent.top + y);
    fill(out, left);
    copyMiddle(extent.src.row(y), out + left, extent.srcRow(), streamed);
    fill(out + left + extent.srcRow(), right);
  }
  if (streamed) finishStreaming();
  for (int64_t y = 0; y < extent.bottom; ++y) fill(extent.dst.row(extent.top + extent.height + y), extent.dstRow());
  return TAMIX_OK;
}

}  // namespace

int32_t copyMakeBorderCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_stride,
                               int32_t dst_stride, int32_t channels, int32_t top, int32_t bottom, int32_t left, int32_t right,
                               int32_t border_type, int32_t border_value, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  const bool by_default = border_type == -1 || border_type == -1 - kIgnoredFlag;
  const int32_t type = by_default ? TAMIX_BORDER_REFLECT_101 : border_type & ~kIgnoredFlag;
  TAMIX_REQUIRE(type >= TAMIX_BORDER_CONSTANT && type <= TAMIX_BORDER_REFLECT_101, TAMIX_ERR_UNSUPPORTED,
                "Recieved unsupported border type %d", type);
  TAMIX_REQUIRE(std::min({top, bottom, left, right}) >= 0, TAMIX_ERR_UNSUPPORTED,
                "Recieved unsupported border params: %d, %d, %d, %d", top, bottom, left, right);
  const Extent extent{
      plane(src, src_stride, channels), plane(dst, dst_stride, channels), height, width, channels, top, bottom, left, right};
  if (type == TAMIX_BORDER_CONSTANT) return copyMakeBorderCONSTANT(extent, border_value);
  return copyMakeBorderOther(extent, type);
}

}  // namespace tamix
