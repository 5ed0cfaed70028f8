#include "inference/runtime/cpu/arm/common/sample_bicubic.h"

#include <cmath>

namespace tamix {
namespace {

// The cubic convolution kernel with A = -0.75 at distances 1 + t, t, 1 - t and 2 - t. Exact: t is a multiple of 1/32 and no
// step needs more than 24 bits.
void cubicWeights(float t, float (&w)[4]) {
  constexpr float a = -0.75f;
  const float far = t + 1.0f;
  const float near = 1.0f - t;
  w[0] = ((a * far - 5.0f * a) * far + 8.0f * a) * far - 4.0f * a;
  w[1] = ((a + 2.0f) * t - (a + 3.0f)) * t * t + 1.0f;
  w[2] = ((a + 2.0f) * near - (a + 3.0f)) * near * near + 1.0f;
  w[3] = 1.0f - w[0] - w[1] - w[2];
}

// Makes the sixteen sum to 32768: what is missing goes to the largest of the four coefficients right of and below the middle,
// what is too much comes from the smallest.
void balance(int16_t* entry) {
  int32_t sum = 0;
  for (int32_t i = 0; i < BicubicTable::kTaps; ++i) sum += entry[i];
  if (sum == 32768) return;
  constexpr int32_t kFirst = 2 * 4 + 2;
  int32_t smallest = kFirst;
  int32_t largest = kFirst;
  for (const int32_t i : {kFirst, kFirst + 1, kFirst + 4, kFirst + 5}) {
    if (entry[i] < entry[smallest]) {
      smallest = i;
    } else if (entry[i] > entry[largest]) {
      largest = i;
    }
  }
  int16_t& changed = entry[sum < 32768 ? largest : smallest];
  changed = static_cast<int16_t>(changed + 32768 - sum);
}

}  // namespace

BicubicTable::BicubicTable() {
  float weights[kSteps][4];
  for (int32_t i = 0; i < kSteps; ++i) cubicWeights(static_cast<float>(i) / kSteps, weights[i]);
  for (int32_t e = 0; e < kSteps * kSteps; ++e) {
    for (int32_t tap = 0; tap < kTaps; ++tap) {
      const double product = double{weights[e / kSteps][tap / 4]} * double{weights[e % kSteps][tap % 4]};
      // A coefficient of 1 has no 16-bit form; balance() adds what it lacks elsewhere.
      entries[e][tap] = static_cast<int16_t>(std::min(std::lround(product * 32768.0), 32767L));
    }
    balance(entries[e]);
  }
}

const BicubicTable& bicubicTable() {
  static const BicubicTable table;
  return table;
}

// Builds the table at load.
[[maybe_unused]] static const BicubicTable& built_at_load = bicubicTable();

}  // namespace tamix
