#include "inference/runtime/cpu/arm/common/byte_histogram.h"

#include <bit>
#include <cstring>

#include "inference/runtime/cpu/arm/common/simd.h"

HWY_BEFORE_NAMESPACE();
namespace tamix {
namespace {

// Bytes from which counting pairs repays clearing and summing their table.
constexpr size_t kPairsFrom = 48 * 1024;

constexpr size_t kCells = 256 * 256;
using Cells = ScratchBuffer<uint16_t>;

// Four tables in turn, so that an increment need not wait for the one before it when neighbours are equal.
void countSingles(Plane<const uint8_t> src, int32_t height, size_t n, ByteCounts& counts) {
  ByteCounts tables[4] = {};
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* const row = src.row(y);
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
      for (size_t k = 0; k < 4; ++k) ++tables[k][row[i + k]];
    }
    for (; i < n; ++i) ++tables[0][row[i]];
  }
  for (size_t v = 0; v < counts.size(); ++v) counts[v] += tables[0][v] + tables[1][v] + tables[2][v] + tables[3][v];
}

// Adds to the cell of a pair of bytes (either order: both bytes are counted alike in the end). A cell that wraps around
// hands its 65536 pairs over at once.
HWY_INLINE void addPair(const Cells& cells, uint32_t pair, uint32_t count, ByteCounts& counts) {
  const auto sum = static_cast<uint16_t>(cells[pair] + count);
  cells[pair] = sum;
  if (HWY_UNLIKELY(sum < count)) {
    counts[pair & 255] += 65536;
    counts[pair >> 8] += 65536;
  }
}

// One increment for two neighbours.
void countPairs(const Cells& cells, const uint8_t* row, size_t n, ByteCounts& counts) {
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    uint64_t word;
    std::memcpy(&word, row + i, sizeof(word));
    if (word == std::rotr(word, 16)) {  // flat: four increments of one cell would wait for each other
      addPair(cells, word & 0xFFFF, 4, counts);
      continue;
    }
    addPair(cells, word & 0xFFFF, 1, counts);
    addPair(cells, (word >> 16) & 0xFFFF, 1, counts);
    addPair(cells, (word >> 32) & 0xFFFF, 1, counts);
    addPair(cells, static_cast<uint32_t>(word >> 48), 1, counts);
  }
  for (; i < n; ++i) ++counts[row[i]];
}

// Every cell counts for its row and for its column.
void addCells(const Cells& cells, ByteCounts& counts) {
  const hn::ScalableTag<uint32_t> d32;
  const hn::Repartition<uint16_t, decltype(d32)> d16;
  const size_t lanes = hn::Lanes(d32);
  // Sums of the even columns first, then of the odd ones.
  alignas(64) std::array<uint32_t, 256> columns = {};
  for (size_t r = 0; r < 256; ++r) {
    auto row_sum = hn::Zero(d32);
    for (size_t c = 0; c < 128; c += lanes) {
      const auto both = hn::BitCast(d32, hn::LoadU(d16, cells.data() + 256 * r + 2 * c));
      const auto even = hn::And(both, hn::Set(d32, 0xFFFF));
      const auto odd = hn::ShiftRight<16>(both);
      hn::StoreU(hn::Add(hn::LoadU(d32, &columns[c]), even), d32, &columns[c]);
      hn::StoreU(hn::Add(hn::LoadU(d32, &columns[128 + c]), odd), d32, &columns[128 + c]);
      row_sum = hn::Add(row_sum, hn::Add(even, odd));
    }
    counts[r] += hn::GetLane(hn::SumOfLanes(d32, row_sum));
  }
  for (size_t c = 0; c < 128; ++c) {
    counts[2 * c] += columns[c];
    counts[2 * c + 1] += columns[128 + c];
  }
}

}  // namespace

ByteCounts countBytes(Plane<const uint8_t> src, int32_t height, size_t n) {
  ByteCounts counts = {};
  if (height < 1 || n == 0) return counts;
  if (static_cast<size_t>(src.pitch) == n) {
    n *= static_cast<size_t>(height);
    height = 1;
  }
  const Cells cells = n >= kPairsFrom / static_cast<size_t>(height) ? Cells(kCells) : Cells();
  if (!cells) {  // few bytes, or no memory
    countSingles(src, height, n, counts);
    return counts;
  }
  std::memset(cells.data(), 0, kCells * sizeof(uint16_t));
  for (int32_t y = 0; y < height; ++y) countPairs(cells, src.row(y), n, counts);
  addCells(cells, counts);
  return counts;
}

}  // namespace tamix
HWY_AFTER_NAMESPACE();
