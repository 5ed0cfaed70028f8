// Byte permutation across a whole window: out[i] = window[index[i]], at every vector width.
#pragma once

#include <array>

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// Bytes that one lookup can reach: several 128-bit blocks, loaded once. kBlocks: 1, 2, 3, 4 or 8 blocks of 16 bytes.
template <class D, size_t kBlocks>
class ByteWindow {
  static_assert(hn::MaxLanes(D()) >= 16, "at least one whole block of indices");

 public:
  // Reads kBlocks * 16 bytes.
  HWY_INLINE ByteWindow(D d, const uint8_t* HWY_RESTRICT bytes) : d_(d) {
#if HWY_TARGET == HWY_NEON
    for (size_t b = 0; b < kBlocks; ++b) blocks_[b] = vld1q_u8(bytes + 16 * b);
#elif TAMIX_BYTE_PERMUTATIONS
    if constexpr (kWhole) {
      for (size_t k = 0; k < kVectors; ++k) {
        const size_t loaded = kBlocks * 16 - k * kLanes;
        vectors_[k] =
            loaded >= kLanes ? hn::LoadU(d, bytes + k * kLanes) : hn::MaskedLoad(hn::FirstN(d, loaded), d, bytes + k * kLanes);
      }
    } else {
      loadBlocks(bytes);
    }
#else
    loadBlocks(bytes);
#endif
  }

  // Every index must be below 16 * kBlocks.
  HWY_INLINE hn::Vec<D> lookup(hn::Vec<D> index) const {
#if HWY_TARGET == HWY_NEON
    return hn::Vec<D>(neonLookup(index.raw));
#else
#if TAMIX_BYTE_PERMUTATIONS
    if constexpr (kWhole) return permute(index);
#endif
    return lookupBlocks(index);
#endif
  }

  // Indices with the top bit give 0; the others must be below 16 * kBlocks.
  HWY_INLINE hn::Vec<D> lookupOr0(hn::Vec<D> index) const {
#if TAMIX_BYTE_PERMUTATIONS
    if constexpr (kWhole && kLanes == 64) {
      const __mmask64 inside = ~_mm512_movepi8_mask(index.raw);
      if constexpr (kVectors == 1) return hn::Vec<D>{_mm512_maskz_permutexvar_epi8(inside, index.raw, vectors_[0].raw)};
      if constexpr (kVectors == 2) {
        return hn::Vec<D>{_mm512_maskz_permutex2var_epi8(inside, vectors_[0].raw, index.raw, vectors_[1].raw)};
      }
    } else if constexpr (kWhole) {
      return hn::IfThenZeroElse(hn::MaskFromVec(index), permute(index));
    }
#endif
    return lookup(index);
  }

 private:
  static constexpr size_t kLanes = hn::MaxLanes(D());

#if HWY_TARGET == HWY_NEON
  HWY_INLINE uint8x16_t neonLookup(uint8x16_t index) const {
    if constexpr (kBlocks == 1) return vqtbl1q_u8(blocks_[0], index);
    if constexpr (kBlocks == 2) return vqtbl2q_u8({{blocks_[0], blocks_[1]}}, index);
    if constexpr (kBlocks == 3) return vqtbl3q_u8({{blocks_[0], blocks_[1], blocks_[2]}}, index);
    if constexpr (kBlocks == 4) return vqtbl4q_u8({{blocks_[0], blocks_[1], blocks_[2], blocks_[3]}}, index);
    if constexpr (kBlocks == 8) {
      const uint8x16_t low = vqtbl4q_u8({{blocks_[0], blocks_[1], blocks_[2], blocks_[3]}}, index);
      return vqtbx4q_u8(low, {{blocks_[4], blocks_[5], blocks_[6], blocks_[7]}}, vsubq_u8(index, vdupq_n_u8(64)));
    }
  }
  uint8x16_t blocks_[kBlocks];
#else
#if TAMIX_BYTE_PERMUTATIONS
  static constexpr bool kWhole = kLanes >= 32 && kBlocks * 16 <= 2 * kLanes;
  static constexpr size_t kVectors = (kBlocks * 16 + kLanes - 1) / kLanes;
  HWY_INLINE hn::Vec<D> permute(hn::Vec<D> index) const {
    if constexpr (kLanes == 64) {
      if constexpr (kVectors == 1) return hn::Vec<D>{_mm512_permutexvar_epi8(index.raw, vectors_[0].raw)};
      if constexpr (kVectors == 2) return hn::Vec<D>{_mm512_permutex2var_epi8(vectors_[0].raw, index.raw, vectors_[1].raw)};
    } else {
      if constexpr (kVectors == 1) return hn::Vec<D>{_mm256_permutexvar_epi8(index.raw, vectors_[0].raw)};
      if constexpr (kVectors == 2) return hn::Vec<D>{_mm256_permutex2var_epi8(vectors_[0].raw, index.raw, vectors_[1].raw)};
    }
  }
#else
  static constexpr bool kWhole = false;
  static constexpr size_t kVectors = kBlocks;
#endif
  HWY_INLINE void loadBlocks(const uint8_t* HWY_RESTRICT bytes) {
    for (size_t b = 0; b < kBlocks; ++b) vectors_[b] = hn::LoadDup128(d_, bytes + 16 * b);
  }
  // A block's lookup gives zero for indices outside it, so the blocks' results can be joined.
  HWY_INLINE hn::Vec<D> lookupBlocks(hn::Vec<D> index) const {
    auto result = hn::Zero(d_);
    for (size_t b = 0; b < kBlocks; ++b) {
      const auto relative = hn::Sub(index, hn::Set(d_, static_cast<uint8_t>(16 * b)));
      result = hn::Or(result, hn::TableLookupBytesOr0(vectors_[b], hn::SaturatedAdd(relative, hn::Set(d_, uint8_t{0x70}))));
    }
    return result;
  }
  hn::Vec<D> vectors_[kWhole ? kVectors : kBlocks];
#endif
  [[no_unique_address]] D d_;
};

}  // namespace tamix
