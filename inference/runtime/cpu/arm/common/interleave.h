// Three-way interleaved stores.
#pragma once

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// Stores a0 b0 c0 a1 b1 c1 ...: three times Lanes(d) bytes. D is a tag of uint8_t.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void storeInterleaved3(D d, V a, V b, V c, uint8_t* HWY_RESTRICT to) {
#if HWY_TARGET == HWY_AVX3_DL
  if constexpr (sizeof(V) == 64) {
    // Output byte j of all 192 is element j / 3 of vector j % 3. Vectors a and b are reached by one permutation (b: +64).
    alignas(64) static constexpr auto kTables = [] {
      struct Tables {
        uint8_t ab[3][64], c[3][64];
        uint64_t from_c[3];
      } tables{};
      for (unsigned j = 0; j < 192; ++j) {
        tables.ab[j / 64][j % 64] = static_cast<uint8_t>(j / 3 + (j % 3 == 1 ? 64 : 0));
        tables.c[j / 64][j % 64] = static_cast<uint8_t>(j / 3);
        if (j % 3 == 2) tables.from_c[j / 64] |= uint64_t{1} << (j % 64);
      }
      return tables;
    }();
    for (size_t k = 0; k < 3; ++k) {
      const __m512i ab = _mm512_permutex2var_epi8(a.raw, _mm512_load_si512(kTables.ab[k]), b.raw);
      const __m512i abc = _mm512_mask_permutexvar_epi8(ab, kTables.from_c[k], _mm512_load_si512(kTables.c[k]), c.raw);
      hn::StoreU(V{abc}, d, to + 64 * k);
    }
    return;
  }
#endif
  hn::StoreInterleaved3(a, b, c, d, to);
}

}  // namespace tamix
