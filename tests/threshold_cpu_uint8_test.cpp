// Threshold kernel: every rule at every kind of level, and the two automatic methods against straightforward models.
#include "inference/runtime/cpu/arm/uint8/threshold_cpu_uint8.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

using Bytes = Image<uint8_t>;

uint8_t ruleModel(int rule, int s, int t, int m) {
  switch (rule) {
    case TAMIX_THRESH_BINARY:
      return static_cast<uint8_t>(s > t ? m : 0);
    case TAMIX_THRESH_BINARY_INV:
      return static_cast<uint8_t>(s > t ? 0 : m);
    case TAMIX_THRESH_TRUNC:
      return static_cast<uint8_t>(s > t ? std::max(t, 0) : s);
    case TAMIX_THRESH_TOZERO:
      return static_cast<uint8_t>(s > t ? s : 0);
    default:
      return static_cast<uint8_t>(s > t ? 0 : s);
  }
}

Bytes expected(const Bytes& src, const Bytes& before, int rule, int t, int m) {
  Bytes out(before);
  return out.fill([&](int32_t y, size_t i) { return ruleModel(rule, src.row(y)[i], t, m); });
}

int32_t run(const Bytes& src, const Bytes& dst, double* thresh, int32_t type, double maxval) {
  const Shape& s = src.shape();
  return thresholdCPUUINT8(src.data(), dst.data(), s.width, s.height, s.channel, s.width_stride, dst.shape().width_stride,
                           thresh, type, 1, maxval);
}

TEST(ThresholdCPUUINT8, AppliesEveryRuleToBlocksTailsAndPaddedRows) {
  for (const Shape& shape : shapesAround(64)) {
    SCOPED_TRACE(shape);
    const Bytes src = randomImage<uint8_t>(shape);
    Shape narrower = shape;
    narrower.width_stride = shape.width + 1;
    for (int rule = 0; rule <= 4; ++rule) {
      const Bytes before = randomImage<uint8_t>(narrower, 9);
      Bytes dst(before);
      double t = 100.9;
      ASSERT_EQ(run(src, dst, &t, rule, 199.5), TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, expected(src, before, rule, 100, 200))) << "rule " << rule;
      EXPECT_EQ(t, 100.9);
    }
  }
}

TEST(ThresholdCPUUINT8, HandlesEveryLevelAndMaximum) {
  const Bytes src = Bytes({67, 4, 70}).fill([](int32_t y, size_t i) { return y * 67 + static_cast<int32_t>(i); });
  struct Level {
    double given;
    int t;
  };
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Level levels[] = {{0.0, 0},   {254.7, 254}, {255.0, 255}, {1e300, 255}, {inf, 255},
                          {-0.5, -1}, {-1e300, -1}, {-inf, -1},   {nan, 0},     {127.0, 127}};
  const Level maxima[] = {{-1.0, 0}, {300.0, 255}, {0.5, 1}, {2.49, 2}, {254.5, 255}, {nan, 0}, {-inf, 0}, {inf, 255}};
  for (const Level& level : levels) {
    for (const Level& maximum : maxima) {
      for (int rule = 0; rule <= 4; ++rule) {
        SCOPED_TRACE(testing::Message() << "rule " << rule << ", level " << level.given << ", maximum " << maximum.given);
        const Bytes before = randomImage<uint8_t>(src.shape(), 3);
        Bytes dst(before);
        double t = level.given;
        ASSERT_EQ(run(src, dst, &t, rule, maximum.given), TAMIX_OK);
        ASSERT_TRUE(sameBytes(dst, expected(src, before, rule, level.t, maximum.t)));
      }
    }
  }
}

TEST(ThresholdCPUUINT8, WorksInPlace) {
  const Bytes src = randomImage<uint8_t>({131, 3, 140, 3});
  Bytes both(src);
  double t = 77;
  ASSERT_EQ(run(both, both, &t, TAMIX_THRESH_TOZERO_INV, 0), TAMIX_OK);
  EXPECT_TRUE(sameBytes(both, expected(src, src, TAMIX_THRESH_TOZERO_INV, 77, 0)));
}

std::vector<double> histogramModel(const Bytes& image) {
  std::vector<double> h(256, 0.0);
  for (int32_t y = 0; y < image.shape().height; ++y) {
    for (size_t i = 0; i < image.shape().rowElements(); ++i) h[image.row(y)[i]] += 1;
  }
  return h;
}

// The level whose classes' means differ most, by definition: class sums formed anew for every level.
int otsuModel(const std::vector<double>& h) {
  int best_level = 0;
  long double best = 0;
  for (int level = 0; level < 256; ++level) {
    long double n[2] = {}, sum[2] = {};
    for (int i = 0; i < 256; ++i) {
      n[i > level] += h[static_cast<size_t>(i)];
      sum[i > level] += i * static_cast<long double>(h[static_cast<size_t>(i)]);
    }
    if (n[0] == 0 || n[1] == 0) continue;
    const long double distance = sum[0] / n[0] - sum[1] / n[1];
    const long double variance = n[0] * n[1] * distance * distance;
    if (variance > best * (1 + 1e-12L)) {
      best = variance;
      best_level = level;
    }
  }
  return best_level;
}

// The largest distance from the line between the peak and the far end, walking away from the mirrored side's formula: points
// (i, h[i]) against the line through (end, 0) and (peak, h[peak]).
int triangleModel(const std::vector<double>& h) {
  int first = 0, last = 0, peak = 0;
  for (int i = 255; i >= 0; --i) {
    if (h[static_cast<size_t>(i)] > 0) first = i;
    if (h[static_cast<size_t>(i)] >= h[static_cast<size_t>(peak)]) peak = i;
  }
  for (int i = 1; i < 256; ++i) {
    if (h[static_cast<size_t>(i)] > 0) last = i;
  }
  first = std::max(first - 1, 0);
  last = std::min(last + 1, 255);
  const bool right = peak - first < last - peak;
  const int end = right ? last : first;
  const int step = right ? -1 : 1;
  const double width = std::abs(peak - end);
  int level = end;
  double best = 0;
  for (int i = end + step; i != peak + step; i += step) {
    const double distance = h[static_cast<size_t>(peak)] * (right ? 255 - i : i) - width * h[static_cast<size_t>(i)];
    if (distance > best) {
      best = distance;
      level = i;
    }
  }
  return level - step;
}

// Pictures of two humps, small (counted one by one) and large (counted in pairs), flat runs included.
std::vector<Bytes> pictures() {
  struct Humps {
    int low, high;
    uint32_t tenths_low;
  };
  std::vector<Bytes> images;
  std::mt19937 random(5);
  for (const Shape& shape : {Shape{37, 5, 37}, Shape{200, 30, 211, 3}, Shape{517, 211, 517}, Shape{411, 203, 420, 3}}) {
    for (const Humps& humps : {Humps{40, 180, 3}, Humps{90, 130, 2}, Humps{5, 250, 9}}) {
      images.push_back(Bytes(shape).fill([&](int32_t y, size_t i) {
        if (y % 7 == 0 && i % 64 < 40) return humps.low;
        const int base = random() % 10 < humps.tenths_low ? humps.low : humps.high;
        return std::clamp(base + static_cast<int>(random() % 64 + random() % 64) - 64, 0, 255);
      }));
    }
  }
  return images;
}

TEST(ThresholdCPUUINT8, FindsTheAutomaticLevels) {
  for (const Bytes& src : pictures()) {
    SCOPED_TRACE(src.shape());
    const std::vector<double> h = histogramModel(src);
    for (const auto& [method, level] :
         {std::pair{TAMIX_THRESH_OTSU, otsuModel(h)}, std::pair{TAMIX_THRESH_TRIANGLE, triangleModel(h)}}) {
      double t = -7;
      Bytes dst(src);
      ASSERT_EQ(run(src, dst, &t, method | TAMIX_THRESH_BINARY_INV, 255), TAMIX_OK);
      EXPECT_EQ(t, level) << "method " << method;
      EXPECT_TRUE(sameBytes(dst, expected(src, src, TAMIX_THRESH_BINARY_INV, level, 255)));
    }
  }
}

TEST(ThresholdCPUUINT8, CountsWithoutMemoryForPairs) {
  const Bytes src = pictures().back();
  double with = 0, without = 0;
  Bytes dst(src);
  ASSERT_EQ(run(src, dst, &with, TAMIX_THRESH_OTSU, 255), TAMIX_OK);
  const FailingMemalign failing(0, true);
  ASSERT_EQ(run(src, dst, &without, TAMIX_THRESH_OTSU, 255), TAMIX_OK);
  EXPECT_TRUE(failing.struck());
  EXPECT_EQ(with, without);
}

double levelOf(const Bytes& src, int32_t type) {
  double t = -7;
  Bytes dst(src);
  EXPECT_EQ(run(src, dst, &t, type, 255), TAMIX_OK);
  return t;
}

TEST(ThresholdCPUUINT8, FindsLevelsOfDegenerateHistograms) {
  const Shape shape{64, 40, 64};
  const Bytes two = Bytes(shape).fill([](int32_t, size_t i) { return i % 3 == 0 ? 200 : 50; });
  EXPECT_EQ(levelOf(two, TAMIX_THRESH_OTSU), 50.0);
  const auto flat = [&](int value) { return Bytes(shape).fill([=](int32_t, size_t) { return value; }); };
  EXPECT_EQ(levelOf(flat(9), TAMIX_THRESH_OTSU), 0.0);
  // left 8, right 10: not mirrored; the line ends at the peak itself.
  EXPECT_EQ(levelOf(flat(9), TAMIX_THRESH_TRIANGLE), 8.0);
  // left 0, peak 0, right 1: mirrored, 255 is the peak.
  EXPECT_EQ(levelOf(flat(0), TAMIX_THRESH_TRIANGLE), 1.0);
  EXPECT_EQ(levelOf(flat(255), TAMIX_THRESH_TRIANGLE), 254.0);
  EXPECT_EQ(levelOf(Bytes(shape).fill([](int32_t, size_t) { return 9; }), 24), -7.0) << "both flags are no method";
  Bytes none(shape);
  double t = -7;
  EXPECT_EQ(thresholdCPUUINT8(none.data(), none.data(), 4, -3, 1, 4, 4, &t, TAMIX_THRESH_OTSU, 1, 255), TAMIX_OK);
  EXPECT_TRUE(sameBytes(none, Bytes(shape)));
}

TEST(ThresholdCPUUINT8, CountsMoreThan65535EqualPairs) {
  // 300,000 pixels: pairs (1, 2) and (2, 1) wrap around twice, runs of 2 at the end add to one cell by fours.
  const Bytes src =
      Bytes({600000, 1, 600000}).fill([](int32_t, size_t i) { return i < 300000 ? (i % 8 == 7 ? 3 : 1 + i % 2) : 200; });
  const std::vector<double> h = histogramModel(src);
  EXPECT_EQ(levelOf(src, TAMIX_THRESH_OTSU), otsuModel(h));
  EXPECT_EQ(levelOf(src, TAMIX_THRESH_TRIANGLE), triangleModel(h));
}

TEST(ThresholdCPUUINT8, LeavesRowsWithoutChannelsAloneWhereverTheyLie) {
  const int32_t most = std::numeric_limits<int32_t>::max();
  uint8_t byte = 7;
  for (const double level : {-1.0, 100.0, 300.0}) {
    for (const int32_t rule : {0, 1, 2, 3, 4, 8, 16}) {
      double thresh = level;
      EXPECT_EQ(thresholdCPUUINT8(&byte, &byte, 8, 8, -most, most, most, &thresh, rule, 1, 255.0), TAMIX_OK);
    }
  }
  EXPECT_EQ(byte, 7);
}

TEST(ThresholdCPUUINT8, RefusesNullPointersAndUndefinedRules) {
  Bytes image({4, 1, 4});
  const Bytes before(image);
  double t = 3;
  LogCapture log;
  const std::string file = "runtime/cpu/arm/uint8/threshold_cpu_uint8.cpp";
  const std::vector<std::string> null_line = {errorLine(file, "thresholdCPUUINT8", "thresholdCPUUINT8 illegal input data")};
  for (int null = 0; null < 3; ++null) {
    log.clear();
    EXPECT_EQ(thresholdCPUUINT8(null == 0 ? nullptr : image.data(), null == 1 ? nullptr : image.data(), 4, 1, 1, 4, 4,
                                null == 2 ? nullptr : &t, 7, 1, 0),
              TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors(), null_line);
  }
  for (const int32_t type : {-1, 5, 6, 7, 8 | 5, 16 | 7}) {
    log.clear();
    EXPECT_EQ(run(image, image, &t, type, 255), TAMIX_ERR_UNSUPPORTED);
    EXPECT_EQ(log.errors().size(), 1u);
  }
  EXPECT_EQ(t, 3);
  EXPECT_TRUE(sameBytes(image, before));
}

}  // namespace
}  // namespace tamix::test
