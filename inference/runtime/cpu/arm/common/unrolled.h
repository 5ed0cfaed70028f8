// Loops of a few steps, written out.
#pragma once

#include <hwy/base.h>

#include <cstddef>
#include <type_traits>
#include <utility>

namespace tamix {

// f(i) for i = 0..n-1, constants: arrays of vectors indexed by them live in registers with every compiler.
template <size_t n, class F>
HWY_INLINE void unrolled(const F& f) {
  [&]<size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) { (f(std::integral_constant<size_t, i>()), ...); }
  (std::make_index_sequence<n>());
}

}  // namespace tamix
