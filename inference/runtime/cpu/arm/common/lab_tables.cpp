#include "inference/runtime/cpu/arm/common/lab_tables.h"

#include <algorithm>
#include <cmath>

namespace tamix {
namespace {

// To the nearest integer, ties to even.
uint16_t rounded(float value) { return static_cast<uint16_t>(std::nearbyint(value)); }

// The kN-th root of v > 0, a few units in the last place off at most: Newton's method from above falls until it arrives.
template <int kN>
double root(double v) {
  double y = std::max(v, 1.0);
  while (true) {
    double power = y;
    for (int i = 2; i < kN; ++i) power *= y;
    const double next = ((kN - 1) * y + v / power) / kN;
    if (next >= y) return y;
    y = next;
  }
}

// sRGB decoding: x^2.4 is x^2 times the fifth root of x^2.
float linearLight(float encoded) {
  const double x = encoded;
  if (x < 0.04045) return static_cast<float>(x / 12.92);
  const double base = (x + 0.055) / 1.055;
  return static_cast<float>(base * base * root<5>(base * base));
}

// sRGB encoding: x^(1 / 2.4) is the cube root of the fourth root of x^5.
float encodedLight(float linear) {
  const double x = linear;
  if (x < 0.0031308) return static_cast<float>(x * 12.92);
  const double fifth_power = x * x * x * x * x;
  return static_cast<float>(root<3>(std::sqrt(std::sqrt(fifth_power))) * 1.055 - 0.055);
}

// CIE f: a cube root above 216 / 24389, a line below. The line is one fused multiply-add: the double product is exact.
float labCurve(float x) {
  if (x < 216.0f / 24389.0f) {
    return static_cast<float>(double{x} * double{841.0f / 108.0f} + double{16.0f / 116.0f});
  }
  return static_cast<float>(root<3>(x));
}

// Y and f(Y) of lightness byte i: L = 100 i / 255, linear up to L = 8.
uint32_t lightnessEntry(int32_t i) {
  if (i <= 20) {
    const float y = static_cast<float>(i * 2949120) / 414613.0f;
    const float fy = 16384.0f * (16.0f / 116.0f + static_cast<float>(5 * i) / 1479.0f);
    return rounded(y) | uint32_t{rounded(fy)} << 16;
  }
  const float fy = static_cast<float>(1638400 * i) / 29580.0f + 262144.0f / 116.0f;
  return rounded(fy * fy * fy / 268435456.0f) | uint32_t{rounded(fy)} << 16;
}

}  // namespace

LabTables::LabTables() {
  for (int32_t i = 0; i < 256; ++i) {
    const auto k = static_cast<size_t>(i);
    gamma[k] = rounded(2040.0f * linearLight(static_cast<float>(i) / 255.0f));
    lightness[k] = lightnessEntry(i);
  }
  for (int32_t i = 0; i < 3072; ++i) {
    cube_root[static_cast<size_t>(i)] = rounded(32768.0f * labCurve(1.0f / 2040.0f * static_cast<float>(i)));
  }
  for (int32_t i = 0; i < 4096; ++i) {
    inverse_gamma[static_cast<size_t>(i)] = rounded(255.0f * encodedLight(static_cast<float>(i) * (1.0f / 4096.0f)));
  }
}

const LabTables& labTables() {
  static const LabTables tables;
  return tables;
}

}  // namespace tamix
