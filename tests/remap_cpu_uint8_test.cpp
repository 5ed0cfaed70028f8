// The remap kernel against a scalar model, and the coefficient table of its bicubic block routine.
#include "inference/runtime/cpu/arm/uint8/remap_cpu_uint8.h"

#include <cmath>
#include <functional>
#include <limits>

#include "inference/runtime/cpu/arm/common/sample_bicubic.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

constexpr uint8_t kBorder[4] = {7, 99, 201, 250};

// A pixel's channel anywhere; positions outside give the border's or the nearest pixel's.
int sampleModel(const Image<uint8_t>& src, double x, double y, int c, bool constant) {
  const double right = src.shape().width - 1;
  const double bottom = src.shape().height - 1;
  if (constant && !(x >= 0 && x <= right && y >= 0 && y <= bottom)) return kBorder[c];
  return src.at(static_cast<int>(std::fmin(std::fmax(y, 0), bottom)), static_cast<int>(std::fmin(std::fmax(x, 0), right)), c);
}

uint8_t nearestModel(const Image<uint8_t>& src, float x, float y, int c, bool constant) {
  const auto whole = [](float v) { return std::isnan(v) ? 0.0 : std::nearbyint(double{v}); };
  return static_cast<uint8_t>(sampleModel(src, whole(x), whole(y), c, constant));
}

uint8_t bilinearModel(const Image<uint8_t>& src, float x, float y, int c, bool constant) {
  const float x0 = std::floor(x);
  const float y0 = std::floor(y);
  const float ax = x - x0;
  const float ay = y - y0;
  const auto sample = [&](double dx, double dy) { return static_cast<float>(sampleModel(src, x0 + dx, y0 + dy, c, constant)); };
  const float top = ax * (sample(1, 0) - sample(0, 0)) + sample(0, 0);
  const float bottom = ax * (sample(1, 1) - sample(0, 1)) + sample(0, 1);
  const float v = top + ay * (bottom - top);
  if (std::isnan(v)) return 0;
  return static_cast<uint8_t>(constant ? std::nearbyint(v) : std::floor(v));
}

struct MapKind {
  const char* name;
  // The source position of a destination pixel along one axis of `size` source pixels; u: its place there, v: on the other
  // axis.
  std::function<float(int size, int u, int v, std::mt19937& random)> position;
};

float uniform(std::mt19937& random) { return static_cast<float>(random() % 4096) / 4096.0f; }

const std::vector<MapKind>& mapKinds() {
  static const std::vector<MapKind> kinds = {
      {"grid", [](int, int u, int, std::mt19937&) { return static_cast<float>(u); }},
      {"halves",
       [](int, int u, int v, std::mt19937&) { return static_cast<float>(u) - 2.0f + 0.5f * static_cast<float>(v % 3); }},
      {"smooth",
       [](int size, int u, int v, std::mt19937& random) {
         return 0.93f * static_cast<float>(u) + 0.21f * static_cast<float>(v) - 0.05f * static_cast<float>(size) +
                0.01f * uniform(random);
       }},
      {"shrinking",
       [](int, int u, int v, std::mt19937&) { return 2.7f * static_cast<float>(u) - 0.4f * static_cast<float>(v); }},
      {"scattered",
       [](int size, int, int, std::mt19937& random) { return uniform(random) * static_cast<float>(size + 6) - 3.0f; }},
      {"close to whole",
       [](int size, int u, int, std::mt19937& random) {
         const float whole = static_cast<float>(u % (size + 2) - 1);
         return std::nextafter(whole, random() % 2 == 0 ? 1e9f : -1e9f);
       }},
      {"wild",
       [](int, int, int, std::mt19937& random) {
         constexpr float kInfinity = std::numeric_limits<float>::infinity();
         constexpr float kValues[] = {NAN, kInfinity, -kInfinity, 1e30f, -1e30f, 3e9f, -3e9f, 2147483520.0f, 0.0f, 1.5f};
         return kValues[random() % std::size(kValues)];
       }},
  };
  return kinds;
}

struct Case {
  Shape src;
  Shape dst;
  int32_t interpolation;
  int32_t border_type;
};

void expectModel(const Case& test, const MapKind& kind) {
  SCOPED_TRACE(testing::Message() << kind.name << " map, source " << test.src << ", destination " << test.dst
                                  << ", interpolation " << test.interpolation << ", border " << test.border_type);
  const auto src = randomImage<uint8_t>(test.src, 3, test.dst.width % 2 == 0 ? Guard::kBehind : Guard::kBefore);
  Image<uint8_t> actual(test.dst);
  Image<uint8_t> expected(test.dst);
  Shape map_shape{test.dst.width, test.dst.height, test.dst.width_stride, 1};
  Image<float> x_map(map_shape);
  map_shape.width_stride += 3;
  Image<float> y_map(map_shape);
  std::mt19937 random(11);
  const bool constant = test.border_type == 0;
  const auto model = test.interpolation == 0 ? nearestModel : bilinearModel;
  for (int y = 0; y < test.dst.height; ++y) {
    for (int x = 0; x < test.dst.width; ++x) {
      x_map.at(y, x) = kind.position(test.src.width, x, y, random);
      y_map.at(y, x) = kind.position(test.src.height, y, x, random);
      for (int c = 0; c < test.src.channel; ++c) {
        expected.at(y, x, c) = model(src, x_map.at(y, x), y_map.at(y, x), c, constant);
      }
    }
  }
  ASSERT_EQ(remapCPUUINT8(src.data(), actual.data(), test.src.width, test.src.height, test.src.width_stride * test.src.channel,
                          test.dst.width, test.dst.height, test.dst.width_stride * test.dst.channel, test.src.channel,
                          x_map.data(), y_map.data(), x_map.shape().width_stride, y_map.shape().width_stride,
                          test.interpolation, test.border_type, constant ? kBorder : nullptr, 1),
            TAMIX_OK);
  ASSERT_TRUE(sameBytes(actual, expected));
}

// Destinations of tails only, whole groups, several blocks; sources down to one pixel and around the size of a window.
std::vector<std::pair<Shape, Shape>> sizes(int32_t channels) {
  std::vector<std::pair<Shape, Shape>> result;
  for (const auto& [w, h] : std::vector<std::pair<int, int>>{{1, 1}, {5, 1}, {1, 6}, {2, 2}, {7, 9}, {8, 8}, {45, 37}}) {
    for (const auto& [dw, dh] : std::vector<std::pair<int, int>>{{1, 1}, {3, 2}, {16, 4}, {37, 7}, {67, 3}}) {
      result.push_back({{w, h, w + h % 2, channels}, {dw, dh, dw + dh % 3, channels}});
    }
  }
  result.push_back({{90, 41, 93, channels}, {531, 10, 531, channels}});
  return result;
}

TEST(RemapCPUUINT8, NearestTakesTheClosestPixelTiesToEven) {
  for (const int32_t channels : {1, 2, 3, 4}) {
    for (const auto& [src, dst] : sizes(channels)) {
      for (const MapKind& kind : mapKinds()) {
        expectModel({src, dst, 0, 1}, kind);
        if (channels != 2) expectModel({src, dst, 0, 0}, kind);
      }
    }
  }
}

TEST(RemapCPUUINT8, BilinearBlendsInSinglePrecision) {
  for (const int32_t channels : {1, 3}) {
    for (const auto& [src, dst] : sizes(channels)) {
      for (const MapKind& kind : mapKinds()) {
        expectModel({src, dst, 1, 0}, kind);
        expectModel({src, dst, 1, 1}, kind);
      }
    }
  }
}

// What the entries are, from the kernel's closed form over exact fractions of 2^17.
TEST(BicubicTable, HoldsRoundedProductsThatSumToOne) {
  const auto weights = [](int64_t i) {  // of 2^17, exact
    const auto outer = [](int64_t d) { return -3 * (d * d * d - 5 * 32 * d * d + 8 * 1024 * d - 4 * 32768); };
    const auto inner = [](int64_t d) { return 5 * d * d * d - 9 * 32 * d * d + 4 * 32768; };
    return std::array<int64_t, 4>{outer(32 + i), inner(i), inner(32 - i), outer(64 - i)};
  };
  for (int64_t e = 0; e < 1024; ++e) {
    SCOPED_TRACE(e);
    const auto wy = weights(e / 32);
    const auto wx = weights(e % 32);
    int64_t sum = 0;
    int64_t expected[16];
    for (size_t tap = 0; tap < 16; ++tap) {
      const int64_t product = wy[tap / 4] * wx[tap % 4];  // of 2^34
      const int64_t rounded = (std::abs(product) + (1 << 18)) >> 19;
      sum += expected[tap] = std::min<int64_t>(product < 0 ? -rounded : rounded, 32767);
    }
    size_t least = 10;
    size_t most = 10;
    for (const size_t tap : {10u, 11u, 14u, 15u}) {
      if (expected[tap] < expected[least]) {
        least = tap;
      } else if (expected[tap] > expected[most]) {
        most = tap;
      }
    }
    if (sum < 32768) expected[most] += 32768 - sum;
    if (sum > 32768) expected[least] -= sum - 32768;
    for (size_t tap = 0; tap < 16; ++tap) ASSERT_EQ(bicubicTable().entries[e][tap], expected[tap]) << "tap " << tap;
  }
}

TEST(RemapCPUUINT8, RefusesWhatItDoesNotServe) {
  struct Refusal {
    const char* what;
    int32_t channels, interpolation, border_type, src_pitch, dst_pitch, x_stride;
    bool border;
    const char* message;
    bool dumps;
  };
  const Refusal refusals[] = {
      {"default interpolation", 1, -1, 1, 9, 9, 9, true, "remapCPUINT8 unsupported interpolation type: -1", false},
      {"bicubic", 1, 2, 7, 9, 9, 9, true, "remapCPUINT8 unsupported interpolation type: 2", false},
      {"nearest, reflected", 1, 0, 2, 1, 9, 9, true, "remapCPUINT8 NEAREST unsupported borderType type: 2", false},
      {"bilinear, default border", 9, 1, -1, 9, 9, 9, true, "remapCPUINT8 LINEAR unsupported borderType type: -1", false},
      {"no border value", 1, 0, 0, 9, 9, 9, false, "remapNearestNeighborConst params error! \n", true},
      {"short source rows", 1, 0, 1, 8, 9, 9, false, "remapNearestNeighborReplicate params error! \n", true},
      {"short rows", 1, 1, 0, 9, 8, 9, true, "remapLinearConstCPUUINT8 params error! \n", true},
      {"short map rows", 1, 1, 1, 9, 9, 8, true, "remapLinearReplicateCPUUINT8 params error! \n", true},
      {"five channels", 5, 0, 1, 45, 45, 9, true, "remapNearestNeighborReplicate params error! \n", true},
      {"two channels, nearest", 2, 0, 0, 18, 18, 9, true, "remapNearestConstCPUUINT8 dosen't support channel = 2 \n", false},
      {"four channels, bilinear", 4, 1, 0, 36, 36, 9, true, "remapLinearConstCPUUINT8 dosen't support channel = 4 \n", false},
      {"two channels, replicated", 2, 1, 1, 18, 18, 9, true, "remapLinearReplicateCPUUINT8 dosen't support channel = 2 \n",
       false},
  };
  const std::string file = "runtime/cpu/arm/uint8/remap_cpu_uint8.cpp";
  std::vector<uint8_t> src(9 * 9 * 5), dst(9 * 9 * 5, 17);
  std::vector<float> map(81);
  for (const Refusal& r : refusals) {
    SCOPED_TRACE(r.what);
    LogCapture log;
    EXPECT_EQ(remapCPUUINT8(src.data(), dst.data(), 9, 9, r.src_pitch, 9, 9, r.dst_pitch, r.channels, map.data(), map.data(),
                            r.x_stride, 9, r.interpolation, r.border_type, r.border ? kBorder : nullptr, 1),
              TAMIX_ERR_UNSUPPORTED);
    std::vector<std::string> expected = {errorLine(file, "remapCPUUINT8", r.message)};
    if (r.dumps) {
      char dump[256];
      std::snprintf(dump, sizeof(dump),
                    " src: %p, src_width: 9, src_height: 9, src_stride %d,dst: %p, dst_width: 9, dst_height: 9 ,dst_stride %d, "
                    "channels: %d \n",
                    static_cast<void*>(src.data()), r.src_pitch, static_cast<void*>(dst.data()), r.dst_pitch, r.channels);
      expected.push_back(errorLine(file, "remapCPUUINT8", dump));
    }
    EXPECT_EQ(log.errors(), expected);
    EXPECT_EQ(dst, std::vector<uint8_t>(dst.size(), 17));
  }
}

}  // namespace
}  // namespace tamix::test
