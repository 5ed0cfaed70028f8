// The Lab tables against models of more precision than their definition needs.
#include "inference/runtime/cpu/arm/common/lab_tables.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

namespace tamix::test {
namespace {

static_assert(std::numeric_limits<long double>::digits >= 64, "the models need more than double precision");

// The nearest integer, ties to even.
uint32_t rounded(float value) {
  const float low = std::floor(value);
  const float rest = value - low;  // exact
  const auto whole = static_cast<uint32_t>(low);
  return rest > 0.5f || (rest == 0.5f && whole % 2 != 0) ? whole + 1 : whole;
}

// Distance of a value from the nearest point where its conversion to float changes, relative to the value.
double distanceFromTie(double value) {
  const auto narrow = static_cast<float>(value);
  const double half_up = (double{narrow} + std::nextafter(narrow, 4.0f)) / 2;  // exact
  const double half_down = (double{narrow} + std::nextafter(narrow, 0.0f)) / 2;
  return std::min(half_up - value, value - half_down) / value;
}

// The float nearest to what double arithmetic gives with an exactly rounded power, `after` following the power. The model's
// power may be the double beside it: none of the results is so near a tie of the float that eight units in the last place
// matter.
template <class After>
float poweredFloat(double base, double exponent, const After& after) {
  const long double power = std::pow(static_cast<long double>(base), static_cast<long double>(exponent));
  const double result = after(static_cast<double>(power));
  EXPECT_GT(distanceFromTie(result), 0x1p-49) << base;
  return static_cast<float>(result);
}

TEST(LabTables, GammaIsExact) {
  for (int32_t i = 0; i < 256; ++i) {
    const double x = static_cast<float>(i) / 255.0f;
    const float g = x < 0.04045 ? static_cast<float>(x / 12.92)
                                : poweredFloat((x + 0.055) / 1.055, 2.4, [](double power) { return power; });
    ASSERT_EQ(labTables().gamma[static_cast<size_t>(i)], rounded(2040.0f * g)) << i;
  }
  EXPECT_EQ(labTables().gamma[0], 0);
  EXPECT_EQ(labTables().gamma[255], 2040);
}

TEST(LabTables, InverseGammaIsExact) {
  for (int32_t i = 0; i < 4096; ++i) {
    const double x = static_cast<float>(i) * (1.0f / 4096.0f);
    const float h = x < 0.0031308 ? static_cast<float>(x * 12.92)
                                  : poweredFloat(x, 1.0 / 2.4, [](double power) { return power * 1.055 - 0.055; });
    ASSERT_EQ(labTables().inverse_gamma[static_cast<size_t>(i)], rounded(255.0f * h)) << i;
  }
}

// A 24-bit float as integer * 2^-shift.
struct Scaled {
  unsigned __int128 integer;
  int shift;
};

Scaled scaled(float value) {
  int exponent;
  const float fraction = std::frexp(value, &exponent);
  return {static_cast<unsigned __int128>(std::ldexp(fraction, 24)), 24 - exponent};
}

// True when f is the float nearest to the cube root of x: (f - u/2)^3 <= x <= (f + u/2)^3, u a unit in the last place of f, in
// integers. x is at least 2^-8 and f at most 2, so that 128 bits suffice.
bool isNearestCubeRoot(float f, float x) {
  const Scaled root = scaled(f), cube = scaled(x);
  const unsigned __int128 low = 2 * root.integer - 1, high = 2 * root.integer + 1;
  const int shift = 3 * (root.shift + 1) - cube.shift;
  const unsigned __int128 target = cube.integer << shift;
  return shift >= 0 && shift < 100 && low * low * low <= target && target <= high * high * high;
}

TEST(LabTables, CubeRootIsExact) {
  for (int32_t i = 0; i < 3072; ++i) {
    const float x = 1.0f / 2040.0f * static_cast<float>(i);
    float f;
    if (x < 216.0f / 24389.0f) {
      // The product has 48 bits, the sum 62 at most: the long double is exact.
      f = static_cast<float>(static_cast<long double>(x) * (841.0f / 108.0f) + 16.0f / 116.0f);
    } else {
      f = static_cast<float>(std::cbrt(static_cast<long double>(x)));
      ASSERT_TRUE(isNearestCubeRoot(f, x)) << i;
    }
    ASSERT_EQ(labTables().cube_root[static_cast<size_t>(i)], rounded(32768.0f * f)) << i;
  }
  EXPECT_EQ(labTables().cube_root[0], 4520);
}

// Exact quotients of integers, rounded to float once: a double is within 2^-53 of the quotient, and no tie is that near.
float quotient(int64_t numerator, int64_t denominator) {
  return static_cast<float>(static_cast<long double>(numerator) / static_cast<long double>(denominator));
}

TEST(LabTables, LightnessIsExact) {
  for (int32_t i = 0; i < 256; ++i) {
    uint32_t y, fy;
    if (i <= 20) {
      const auto scaled_i = static_cast<float>(i * 2949120);
      y = rounded(quotient(static_cast<int64_t>(scaled_i), 414613));
      const auto sum = static_cast<float>(static_cast<long double>(quotient(16, 116)) + quotient(5 * i, 1479));
      fy = rounded(16384.0f * sum);
    } else {
      const auto scaled_i = static_cast<float>(1638400 * i);
      const auto s =
          static_cast<float>(static_cast<long double>(quotient(static_cast<int64_t>(scaled_i), 29580)) + quotient(262144, 116));
      const auto square = static_cast<float>(static_cast<long double>(s) * s);
      const auto cube = static_cast<float>(static_cast<long double>(square) * s);
      fy = rounded(s);
      y = rounded(cube / 268435456.0f);
    }
    const uint32_t entry = labTables().lightness[static_cast<size_t>(i)];
    ASSERT_EQ(entry & 0xFFFF, y) << i;
    ASSERT_EQ(entry >> 16, fy) << i;
  }
}

TEST(LabTables, InverseCurveFollowsItsTwoRules) {
  for (int64_t index = 0; index < 36864; ++index) {
    const int64_t v = index - 8145;
    if (v > 28718) break;
    int64_t expected;
    if (v <= 3390) {
      const int64_t magnitude = 108 * std::abs(v) / 841;
      expected = (v < 0 ? -magnitude : magnitude) - 290;
    } else {
      expected = v * v / 16384 * v / 16384;
    }
    ASSERT_EQ(inverseLabCurve(static_cast<int32_t>(v)), expected) << v;
  }
  EXPECT_EQ(inverseLabCurve(-8145), -1335);
  EXPECT_EQ(inverseLabCurve(0), -290);
  EXPECT_EQ(inverseLabCurve(3390), 145);
  EXPECT_EQ(inverseLabCurve(3391), 145);
  EXPECT_EQ(inverseLabCurve(28718), 88231);
}

TEST(LabTables, MatricesAreTheRoundedStandard) {
  const double white[3] = {0.950456, 1.0, 1.088754};
  const double to[3][3] = {{0.412453, 0.357580, 0.180423}, {0.212671, 0.715160, 0.072169}, {0.019334, 0.119193, 0.950227}};
  const double from[3][3] = {{3.240479, -1.53715, -0.498535}, {-0.969256, 1.875991, 0.041556}, {0.055648, -0.204043, 1.057311}};
  for (int r = 0; r < 3; ++r) {
    EXPECT_EQ(kToXYZ[r][0] + kToXYZ[r][1] + kToXYZ[r][2], 4096) << "keeps indices below 2041";
    for (int c = 0; c < 3; ++c) {
      EXPECT_EQ(kToXYZ[r][c], std::nearbyint(4096 * to[r][c] / white[r]));
      EXPECT_EQ(kFromXYZ[r][c], std::nearbyint(4096 * from[r][c] * white[c]));
    }
  }
}

// FNV-1a over all entries; the number is the same on both architectures.
TEST(LabTables, HaveTheSameBytesEverywhere) {
  uint64_t hash = 14695981039346656037u;
  const auto add = [&](const auto& values) {
    for (const auto value : values) hash = (hash ^ value) * 1099511628211u;
  };
  add(labTables().gamma);
  add(labTables().cube_root);
  add(labTables().inverse_gamma);
  add(labTables().lightness);
  EXPECT_EQ(hash, 2028748077245080480u);
}

TEST(LabTables, AreMadeOnceByWhicheverThreadIsFirst) {
  std::vector<const LabTables*> seen(8);
  std::vector<std::thread> threads;
  for (auto& slot : seen) threads.emplace_back([&slot] { slot = &labTables(); });
  for (std::thread& thread : threads) thread.join();
  for (const LabTables* tables : seen) EXPECT_EQ(tables, seen[0]);
}

}  // namespace
}  // namespace tamix::test
