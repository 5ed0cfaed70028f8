// The tables of the Lab conversions: sRGB transfer curve, CIE 1976 lightness curve and their inverses in fixed point.
#pragma once

#include <array>
#include <cstdint>

namespace tamix {

// Built without the system's power and root functions, from exactly rounded arithmetic alone: the same on every platform.
struct LabTables {
  LabTables();

  std::array<uint16_t, 256> gamma;           // linear light of an sRGB byte, times 2040
  std::array<uint16_t, 3072> cube_root;      // CIE f(i / 2040), times 32768
  std::array<uint16_t, 4096> inverse_gamma;  // sRGB byte of linear light i / 4096
  std::array<uint32_t, 256> lightness;       // Y in the low half, f(Y) in the high half, times 16384, of a lightness byte
};

// The process's tables, made on first use.
const LabTables& labTables();

// Inverse of the CIE curve, times 16384: the X or Z that belongs to f = v / 16384. v is -8145 to 28718.
constexpr int32_t inverseLabCurve(int32_t v) {
  if (v <= 3390) return (108 * v) / 841 - 290;
  return (v * v / 16384) * v / 16384;
}

// sRGB to XYZ relative to the D65 white point, times 4096: rows X, Y, Z.
inline constexpr int32_t kToXYZ[3][3] = {{1777, 1541, 778}, {871, 2929, 296}, {73, 448, 3575}};
// And back, times 4096: rows R, G, B.
inline constexpr int32_t kFromXYZ[3][3] = {{12615, -6296, -2223}, {-3773, 7684, 185}, {217, -836, 4715}};

}  // namespace tamix
