#include "inference/runtime/cpu/arm/fp32/getperspectivetrans_cpu_fp32.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

constexpr int kUnknowns = 8;
constexpr float kLeastPivot = 1.1920929e-6f;

using System = float[kUnknowns][kUnknowns];

// The row from `column` down with the largest magnitude in that column.
int pivotRow(const System& a, int column) {
  int pivot = column;
  for (int i = column + 1; i < kUnknowns; ++i) {
    if (std::fabs(a[i][column]) > std::fabs(a[pivot][column])) pivot = i;
  }
  return pivot;
}

// Gaussian elimination with partial pivoting and back substitution, in single precision; b becomes the solution. Stops where
// it is when a pivot is too small.
void solve(System& a, float* b) {
  for (int i = 0; i < kUnknowns; ++i) {
    const int pivot = pivotRow(a, i);
    if (std::fabs(a[pivot][i]) < kLeastPivot) return;
    if (pivot != i) {
      std::swap(a[i], a[pivot]);
      std::swap(b[i], b[pivot]);
    }
    for (int row = i + 1; row < kUnknowns; ++row) {
      const float factor = a[row][i] / a[i][i];
      for (int k = i + 1; k < kUnknowns; ++k) a[row][k] -= factor * a[i][k];
      b[row] -= factor * b[i];
    }
  }
  for (int i = kUnknowns - 1; i >= 0; --i) {
    for (int k = i + 1; k < kUnknowns; ++k) b[i] -= a[i][k] * b[k];
    b[i] /= a[i][i];
  }
}

}  // namespace

int32_t getPerspectiveTransformCPUFLOAT32(const float* src_data_x, const float* src_data_y, const float* dst_data_x,
                                          const float* dst_data_y, float* data_out, int32_t /*num_threads*/) {
  TAMIX_REQUIRE(!anyNull(src_data_x, src_data_y, dst_data_x, dst_data_y, data_out), TAMIX_ERR_INVALID_CALL,
                "getPerspectiveTransformCPUFLOAT32 src_data_x %p ,src_data_y %p ,dst_data_x %p ,dst_data_y %p , data_out %p\n",
                static_cast<const void*>(src_data_x), static_cast<const void*>(src_data_y),
                static_cast<const void*>(dst_data_x), static_cast<const void*>(dst_data_y), static_cast<void*>(data_out));
  System a;
  float b[kUnknowns];
  for (int i = 0; i < 4; ++i) {
    const float x = src_data_x[i], y = src_data_y[i], u = dst_data_x[i], v = dst_data_y[i];
    const float for_u[kUnknowns] = {x, y, 1, 0, 0, 0, -x * u, -y * u};
    const float for_v[kUnknowns] = {0, 0, 0, x, y, 1, -x * v, -y * v};
    std::copy(for_u, for_u + kUnknowns, a[i]);
    std::copy(for_v, for_v + kUnknowns, a[i + 4]);
    b[i] = u;
    b[i + 4] = v;
  }
  solve(a, b);
  // Processors differ in the NaN that they make of an invalid operation.
  std::transform(b, b + kUnknowns, data_out,
                 [](float m) { return std::isnan(m) ? std::numeric_limits<float>::quiet_NaN() : m; });
  data_out[kUnknowns] = 1.0f;
  return TAMIX_OK;
}

}  // namespace tamix
