#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

// The filter on whole planes, one channel at a time, step by step.
struct PlaneModel {
  int32_t height;
  int32_t width;
  std::vector<float> v;

  PlaneModel(int32_t h, int32_t w) : height(h), width(w), v(static_cast<size_t>(h) * static_cast<size_t>(w)) {}
  float& at(int32_t y, int32_t x) { return v[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)]; }
  float at(int32_t y, int32_t x) const { return const_cast<PlaneModel*>(this)->at(y, x); }
};

PlaneModel channelOf(const Image<uint8_t>& image, int32_t c) {
  PlaneModel plane(image.shape().height, image.shape().width);
  for (int32_t y = 0; y < plane.height; ++y) {
    for (int32_t x = 0; x < plane.width; ++x) plane.at(y, x) = image.at(y, x, c);
  }
  return plane;
}

template <class F>
PlaneModel combine(const PlaneModel& a, const PlaneModel& b, const F& f) {
  PlaneModel out(a.height, a.width);
  for (size_t i = 0; i < out.v.size(); ++i) out.v[i] = f(a.v[i], b.v[i]);
  return out;
}

PlaneModel product(const PlaneModel& a, const PlaneModel& b) {
  return combine(a, b, [](float x, float y) { return x * y; });
}

PlaneModel box5(const PlaneModel& in) {
  PlaneModel out = in;
  for (int32_t y = 2; y < in.height - 2; ++y) {
    for (int32_t x = 2; x < in.width - 2; ++x) {
      float sum = in.at(y - 2, x - 2);
      for (int32_t k = 1; k < 25; ++k) sum += in.at(y - 2 + k / 5, x - 2 + k % 5);
      out.at(y, x) = sum / 25.0f;
    }
  }
  return out;
}

struct Share {
  int32_t from, to;
  float weight;
};

std::vector<Share> areaTable(int32_t ssize, int32_t dsize, double scale) {
  std::vector<Share> table;
  for (int32_t d = 0; d < dsize; ++d) {
    const double f1 = d * scale, f2 = f1 + scale, cell = std::min(scale, ssize - f1);
    int32_t s2 = std::min(static_cast<int32_t>(std::floor(f2)), ssize - 1);
    int32_t s1 = std::min(static_cast<int32_t>(std::ceil(f1)), s2);
    if (s1 - f1 > 0.001) table.push_back({s1 - 1, d, static_cast<float>((s1 - f1) / cell)});
    for (int32_t s = s1; s < s2; ++s) table.push_back({s, d, static_cast<float>(1.0 / cell)});
    if (f2 - s2 > 0.001) table.push_back({s2, d, static_cast<float>(std::min({f2 - s2, 1.0, cell}) / cell)});
  }
  return table;
}

PlaneModel shrink(const PlaneModel& in, int32_t height, int32_t width) {
  PlaneModel out(height, width);
  const double sx = static_cast<float>(in.width) / static_cast<float>(width);
  const double sy = static_cast<float>(in.height) / static_cast<float>(height);
  const std::vector<Share> columns = areaTable(in.width, width, sx);
  const int32_t src_band = (in.height + 1) / 2, dst_band = (height + 1) / 2;
  for (int32_t b = 0; b < 2; ++b) {
    const int32_t s0 = b * src_band, d0 = b * dst_band;
    const int32_t rows = std::min((b + 1) * src_band, in.height) - s0, targets = std::min((b + 1) * dst_band, height) - d0;
    for (const Share& row : areaTable(rows, targets, sy)) {
      std::vector<float> sums(static_cast<size_t>(width));
      for (const Share& column : columns)
        sums[static_cast<size_t>(column.to)] += column.weight * in.at(s0 + row.from, column.from);
      for (int32_t x = 0; x < width; ++x) out.at(d0 + row.to, x) += row.weight * sums[static_cast<size_t>(x)];
    }
  }
  return out;
}

struct Position {
  int32_t low, high;
  float weight;
};

Position positionOf(int32_t d, int32_t source, int32_t target) {
  const float scale = static_cast<float>(source) / static_cast<float>(target);
  const float f = static_cast<float>((static_cast<double>(d) + 0.5) * static_cast<double>(scale) - 0.5);
  const int32_t i = static_cast<int32_t>(std::floor(f));
  if (source == 1) return {0, 0, 0.0f};
  if (i < 0) return {0, 1, 0.0f};
  if (i > source - 2) return {source - 2, source - 1, 1.0f};
  return {i, i + 1, f - static_cast<float>(i)};
}

PlaneModel enlarge(const PlaneModel& in, int32_t height, int32_t width) {
  PlaneModel out(height, width);
  for (int32_t y = 0; y < height; ++y) {
    const Position py = positionOf(y, in.height, height);
    for (int32_t x = 0; x < width; ++x) {
      const Position px = positionOf(x, in.width, width);
      const auto h = [&](int32_t row) {
        const float a = in.at(row, px.low);
        const float change = px.weight * (in.at(row, px.high) - a);
        return a + change;
      };
      const float change = py.weight * (h(py.high) - h(py.low));
      out.at(y, x) = h(py.low) + change;
    }
  }
  return out;
}

// cov / (var + 1): a refined estimate in whole groups of four, a division in the rest.
float quotient(float cov, float divisor, bool in_group) {
  const hn::CappedTag<float, 1> d;
  return in_group ? cov * hn::GetLane(refinedReciprocal(d, hn::Set(d, divisor))) : cov / divisor;
}

int32_t fixed6(float v) { return static_cast<int16_t>(static_cast<int32_t>(v * 64.0f)); }

Image<uint8_t> guidedModel(const Image<uint8_t>& guide, const Image<uint8_t>& p, Image<uint8_t> dst) {
  const int32_t height = guide.shape().height, width = guide.shape().width;
  const int32_t h = p.shape().height, w = p.shape().width;
  for (int32_t c = 0; c < 3; ++c) {
    const PlaneModel full = channelOf(guide, c), p_c = channelOf(p, c);
    const PlaneModel low = shrink(full, h, w);
    const auto minus = [](float x, float y) { return x - y; };
    const PlaneModel mean_p = box5(p_c), mean_i = box5(low);
    const PlaneModel var = combine(box5(product(low, low)), product(mean_i, mean_i), minus);
    const PlaneModel cov = combine(box5(product(low, p_c)), product(mean_i, mean_p), minus);
    PlaneModel a(h, w);
    for (size_t i = 0; i < a.v.size(); ++i) a.v[i] = quotient(cov.v[i], var.v[i] + 1.0f, i < a.v.size() / 4 * 4);
    const PlaneModel b = combine(mean_p, product(a, mean_i), minus);
    const PlaneModel mean_a = enlarge(box5(a), height, width), mean_b = enlarge(box5(b), height, width);
    for (size_t i = 0; i < full.v.size(); ++i) {
      const int32_t value = static_cast<int32_t>(full.v[i]);
      uint8_t& out = dst.at(static_cast<int32_t>(i) / width, static_cast<int32_t>(i) % width, c);
      if (i < full.v.size() / 16 * 16) {
        const auto sum = static_cast<int16_t>(fixed6(mean_b.v[i]) + value * fixed6(mean_a.v[i]));
        out = static_cast<uint8_t>(std::clamp(sum >> 6, 0, 255));
      } else {
        const float scaled = mean_a.v[i] * full.v[i];
        out = static_cast<uint8_t>(std::clamp(mean_b.v[i] + scaled, 0.0f, 255.0f));
      }
    }
  }
  return dst;
}

int32_t filter(const Image<uint8_t>& guide, const Image<uint8_t>& p, const Image<uint8_t>& dst) {
  const Shape& g = guide.shape();
  const Shape& s = p.shape();
  return guidedFilterCPUUINT8(guide.data(), g.height, g.width, g.width_stride, p.data(), s.height, s.width, s.width_stride,
                              dst.data(), g.height, g.width, dst.shape().width_stride, 3, 5, 1);
}

// A picture with edges and soft shades, so that windows differ in their variance.
Image<uint8_t> scene(const Shape& shape, uint32_t seed) {
  const Image<uint8_t> noise = randomImage<uint8_t>(shape, seed);
  Image<uint8_t> image(shape);
  image.fill([&](int32_t y, size_t i) {
    const int32_t shade = static_cast<int32_t>(i) * 3 + y * 5 + (i / 21 % 2 == 0 ? 90 : 0);
    return std::clamp(shade % 230 + noise.row(y)[i] / 8, 0, 255);
  });
  return image;
}

struct Sizes {
  int32_t width, height, p_width, p_height;
};

TEST(GuidedFilterCPUUINT8, MatchesTheModelAtEveryReduction) {
  for (const Sizes& s : {Sizes{1, 1, 1, 1}, Sizes{3, 4, 3, 4}, Sizes{5, 5, 5, 5}, Sizes{37, 21, 37, 21}, Sizes{64, 16, 64, 16},
                         Sizes{40, 24, 10, 6}, Sizes{41, 23, 20, 11}, Sizes{50, 17, 7, 5}, Sizes{33, 20, 1, 1},
                         Sizes{16, 40, 16, 10}, Sizes{48, 9, 12, 9}}) {
    SCOPED_TRACE(::testing::Message() << s.width << "x" << s.height << " from " << s.p_width << "x" << s.p_height);
    for (const int32_t padding : {0, 3}) {
      const Image<uint8_t> guide = scene({s.width, s.height, s.width + padding, 3}, 1);
      const Image<uint8_t> p = scene({s.p_width, s.p_height, s.p_width + padding, 3}, 2);
      const Image<uint8_t> dst({s.width, s.height, s.width + 2 * padding, 3});
      const Image<uint8_t> expected = guidedModel(guide, p, dst);
      EXPECT_EQ(filter(guide, p, dst), TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, expected));
    }
  }
}

TEST(GuidedFilterCPUUINT8, WorksInPlaceOfGuideAndInput) {
  const Shape shape{37, 21, 37, 3};
  const Image<uint8_t> guide = scene(shape, 3), p = scene(shape, 4);
  const Image<uint8_t> expected = guidedModel(guide, p, Image<uint8_t>(shape));
  const Image<uint8_t> over_guide = guide, over_p = p;
  EXPECT_EQ(filter(over_guide, p, over_guide), TAMIX_OK);
  EXPECT_EQ(filter(guide, over_p, over_p), TAMIX_OK);
  EXPECT_TRUE(sameBytes(over_guide, expected));
  EXPECT_TRUE(sameBytes(over_p, expected));
}

TEST(GuidedFilterCPUUINT8, ReportsEveryFailedAllocationAndWorksAfterwards) {
  const Image<uint8_t> guide = scene({24, 16, 24, 3}, 5), p = scene({6, 4, 6, 3}, 6);
  const Image<uint8_t> dst(guide.shape());
  LogCapture log;
  int64_t failures = 0;
  for (bool failed = true; failed; ++failures) {
    const FailingMemalign failing(failures);
    const int32_t status = filter(guide, p, dst);
    failed = failing.struck();
    EXPECT_EQ(status, failed ? TAMIX_ERR_NO_MEMORY : TAMIX_OK);
  }
  EXPECT_GT(failures, 3);
  EXPECT_EQ(log.errors().back(),
            errorLine("runtime/cpu/arm/uint8/guidedfilter_cpu_uint8.cpp", "guidedFilterCPUUINT8", "allocate memory failed"));
  EXPECT_TRUE(sameBytes(dst, guidedModel(guide, p, dst)));
}

TEST(GuidedFilterCPUUINT8, RefusesShapesAndLeavesEmptyImagesAlone) {
  const Image<uint8_t> image = scene({8, 6, 8, 3}, 7);
  const struct {
    int32_t guide_height, guide_width, height, width, dst_height, dst_width, channel, status;
  } cases[] = {{6, 8, 6, 8, 6, 8, 4, TAMIX_ERR_UNSUPPORTED},
               {6, 8, 6, 8, 5, 8, 3, TAMIX_ERR_UNSUPPORTED},
               {6, 8, 6, 8, 6, 7, 3, TAMIX_ERR_UNSUPPORTED},
               {0, 8, 6, 8, 0, 8, 3, TAMIX_OK},
               {6, -1, 6, 8, 6, -1, 3, TAMIX_OK},
               {6, 8, -1, 8, 6, 8, 3, TAMIX_OK},
               {6, 8, 6, 0, 6, 8, 3, TAMIX_OK}};
  for (const auto& c : cases) {
    Image<uint8_t> dst({8, 6, 8, 3});
    const Image<uint8_t> before(dst);
    EXPECT_EQ(guidedFilterCPUUINT8(image.data(), c.guide_height, c.guide_width, 8, image.data(), c.height, c.width, 8,
                                   dst.data(), c.dst_height, c.dst_width, 8, c.channel, -1, 1),
              c.status);
    EXPECT_TRUE(sameBytes(dst, before));
  }
}

TEST(GuidedFilterCPU, RefusesInOrder) {
  const Image<uint8_t> guide = scene({8, 6, 8, 3}, 7);
  const Image<uint8_t> dst({8, 6, 8, 3});
  TamixParams served = recordOf(guide, dst);
  served.input[1] = served.input[0];
  const std::string function = "guidedFilterCPUUINT8";
  expectRefusals(
      TAMIX_OP_GUIDED_FILTER, "runtime/cpu/op/guidedfilter_cpu.cpp", served,
      {{"size first", [](auto& p) { p.output[0].width = 7, p.input[0].type = Tamix_FLOAT32; },
        "Recieve unsupported input and output shape: (6, 8) and (6, 7)"},
       {"then type", [](auto& p) { p.input[0].type = Tamix_FLOAT32, p.output[0].channel = 4; },
        "Recieve unsupported data type: 8"},
       {"then channel", [](auto& p) { p.output[0].channel = 1, p.output[0].format = Tamix_GRAY; },
        "Recieve unsupported input and output channel: 3, 1", function},
       {"then format", [](auto& p) { p.output[0].format = Tamix_BGR, p.kernel_size = 3; },
        "Recieve unsupported input and output format: 2, 1", function},
       {"then channel count", [](auto& p) { p.input[0].channel = p.output[0].channel = 1, p.kernel_size = 3; },
        "Recieve unsupported input channel: 1", function},
       {"then kernel size", [](auto& p) { p.kernel_size = 3; }, "Recieve unsupported kernel size: 3", function},
       {"p of one channel", [](auto& p) { p.input[1].channel = 1; }, "Recieve unsupported input channel: 1", function},
       {"p of floats", [](auto& p) { p.input[1].type = Tamix_FLOAT32; }, "Recieve unsupported data type: 8", function},
       {"no p", [](auto& p) { p.input[1] = TamixImage{}; }, "Recieved null data pointer", function, TAMIX_ERR_INVALID_IMAGE,
        "runtime/cpu/arm/uint8/guidedfilter_cpu_uint8.cpp"}});
}

}  // namespace
}  // namespace tamix::test
