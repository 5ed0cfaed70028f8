// A table of 256 bytes in registers: out[i] = table[index[i]]. Only where that is faster than computing or loading:
// kHasByteTable.
#pragma once

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

#if HWY_TARGET == HWY_NEON || TAMIX_BYTE_PERMUTATIONS
constexpr bool kHasByteTable = true;
#else
constexpr bool kHasByteTable = false;
#endif

class ByteTable {
 public:
#if HWY_TARGET == HWY_NEON
  // Reads 256 bytes.
  HWY_INLINE explicit ByteTable(const uint8_t* bytes) {
    for (size_t k = 0; k < 4; ++k) {
      quarters_[k] = {{vld1q_u8(bytes + 64 * k), vld1q_u8(bytes + 64 * k + 16), vld1q_u8(bytes + 64 * k + 32),
                       vld1q_u8(bytes + 64 * k + 48)}};
    }
  }

  // V: a vector of uint8_t of any width.
  template <class V>
  HWY_INLINE V lookup(V index) const {
    if constexpr (sizeof(V) == 16) {
      return V(lookupWhole(index.raw));
    } else {
      return V(vget_low_u8(lookupWhole(vcombine_u8(index.raw, index.raw))));
    }
  }

 private:
  // A quarter's lookup changes only the lanes whose index lies in it.
  HWY_INLINE uint8x16_t lookupWhole(uint8x16_t index) const {
    uint8x16_t result = vqtbl4q_u8(quarters_[0], index);
    result = vqtbx4q_u8(result, quarters_[1], vsubq_u8(index, vdupq_n_u8(64)));
    result = vqtbx4q_u8(result, quarters_[2], vsubq_u8(index, vdupq_n_u8(128)));
    return vqtbx4q_u8(result, quarters_[3], vsubq_u8(index, vdupq_n_u8(192)));
  }

  uint8x16x4_t quarters_[4];
#elif TAMIX_BYTE_PERMUTATIONS
  // Reads 256 bytes.
  HWY_INLINE explicit ByteTable(const uint8_t* bytes) {
    for (size_t k = 0; k < 4; ++k) quarters_[k] = _mm512_loadu_si512(bytes + 64 * k);
  }

  // V: a vector of uint8_t of any width.
  template <class V>
  HWY_INLINE V lookup(V index) const {
    if constexpr (sizeof(V) == 64) {
      return V{lookupWhole(index.raw)};
    } else if constexpr (sizeof(V) == 32) {
      return V{_mm512_castsi512_si256(lookupWhole(_mm512_castsi256_si512(index.raw)))};
    } else {
      return V{_mm512_castsi512_si128(lookupWhole(_mm512_castsi128_si512(index.raw)))};
    }
  }

 private:
  // A lookup reaches 128 bytes; the index's top bit tells which.
  HWY_INLINE __m512i lookupWhole(__m512i index) const {
    const __m512i lower = _mm512_permutex2var_epi8(quarters_[0], index, quarters_[1]);
    const __m512i upper = _mm512_permutex2var_epi8(quarters_[2], index, quarters_[3]);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), lower, upper);
  }

  __m512i quarters_[4];
#else
  explicit ByteTable(const uint8_t* /*bytes*/) {}
  template <class V>
  V lookup(V index) const {
    return index;
  }
#endif
};

}  // namespace tamix
