// The matrix found is judged by where it takes the points.
#include "inference/runtime/cpu/arm/fp32/getperspectivetrans_cpu_fp32.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "tamix/tamix.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

using Four = std::array<float, 4>;
using Matrix = std::array<float, 9>;

struct Points {
  Four x, y, u, v;
};

Matrix solved(const Points& p) {
  Matrix m;
  m.fill(-77);
  EXPECT_EQ(getPerspectiveTransformCPUFLOAT32(p.x.data(), p.y.data(), p.u.data(), p.v.data(), m.data(), 1), TAMIX_OK);
  return m;
}

TEST(GetPerspectiveTransformCPUFLOAT32, FindsExactMatrices) {
  const Four unit_x = {0, 1, 1, 0}, unit_y = {0, 0, 1, 1};
  EXPECT_EQ(solved({unit_x, unit_y, unit_x, unit_y}), (Matrix{1, 0, 0, 0, 1, 0, 0, 0, 1}));
  // A quarter turn, doubled and moved: needs rows to be swapped.
  EXPECT_EQ(solved({unit_x, unit_y, {8, 8, 6, 6}, {-4, -2, -2, -4}}), (Matrix{0, -2, 8, 2, 0, -4, 0, 0, 1}));
}

TEST(GetPerspectiveTransformCPUFLOAT32, TakesSourcePointsToDestinationPoints) {
  std::mt19937 random(4);
  const auto jitter = [&] { return static_cast<float>(random() % 1000) / 10.0f - 50.0f; };
  for (int i = 0; i < 200; ++i) {
    Points p{{0, 640, 640, 0}, {0, 0, 480, 480}, {0, 640, 640, 0}, {0, 0, 480, 480}};
    for (Four* const values : {&p.x, &p.y, &p.u, &p.v}) {
      for (float& value : *values) value += jitter();
    }
    const Matrix m = solved(p);
    EXPECT_EQ(m[8], 1.0f);
    for (size_t k = 0; k < 4; ++k) {
      const double x = p.x[k], y = p.y[k];
      const double w = m[6] * x + m[7] * y + m[8];
      EXPECT_NEAR((m[0] * x + m[1] * y + m[2]) / w, p.u[k], 0.05) << "set " << i << ", point " << k;
      EXPECT_NEAR((m[3] * x + m[4] * y + m[5]) / w, p.v[k], 0.05) << "set " << i << ", point " << k;
    }
  }
}

TEST(GetPerspectiveTransformCPUFLOAT32, StopsAtTheFirstPivotThatIsTooSmall) {
  // All source points in the origin: no pivot in the first column, so the right side stays as it was.
  const Matrix m = solved({{0, 0, 0, 0}, {0, 0, 0, 0}, {1, 2, 3, 4}, {5, 6, 7, 8}});
  EXPECT_EQ(m, (Matrix{1, 2, 3, 4, 5, 6, 7, 8, 1}));
  // On a line through (2, 0) and down: the first column is eliminated, the second has no pivot left.
  const Matrix line = solved({{2, 2, 2, 2}, {0, 0, 0, 0}, {1, 2, 3, 4}, {5, 6, 7, 8}});
  EXPECT_EQ(line, (Matrix{1, 1, 2, 3, 5, 6, 7, 8, 1}));
  // NaN ends too.
  EXPECT_EQ(solved({{NAN, 0, 1, 1}, {0, 1, 1, 0}, {0, 0, 1, 1}, {0, 1, 1, 0}})[8], 1.0f);
}

TEST(GetPerspectiveTransformCPUFLOAT32, RefusesNullPointers) {
  Four points = {};
  Matrix m;
  LogCapture log;
  EXPECT_EQ(getPerspectiveTransformCPUFLOAT32(points.data(), nullptr, points.data(), points.data(), m.data(), 1),
            TAMIX_ERR_INVALID_CALL);
  char message[256];
  std::snprintf(message, sizeof(message),
                "getPerspectiveTransformCPUFLOAT32 src_data_x %p ,src_data_y %p ,dst_data_x %p ,dst_data_y %p , data_out %p\n",
                static_cast<void*>(points.data()), static_cast<void*>(nullptr), static_cast<void*>(points.data()),
                static_cast<void*>(points.data()), static_cast<void*>(m.data()));
  EXPECT_EQ(log.errors(), (std::vector<std::string>{errorLine("runtime/cpu/arm/fp32/getperspectivetrans_cpu_fp32.cpp",
                                                              "getPerspectiveTransformCPUFLOAT32", message)}));
}

}  // namespace
}  // namespace tamix::test
