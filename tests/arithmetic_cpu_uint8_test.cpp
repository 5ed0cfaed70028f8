#include "inference/runtime/cpu/arm/uint8/arithmetic_cpu_uint8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support/image.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

uint8_t saturated(float x) { return static_cast<uint8_t>(!(x > 0) ? 0 : x >= 255 ? 255 : static_cast<int>(x)); }

// The reciprocal estimate of a float, from its definition: 8 fraction bits, in double precision.
float estimateModel(float b) {
  const uint32_t bits = std::bit_cast<uint32_t>(b);
  if (std::isnan(b)) return b;
  if (std::isinf(b)) return std::copysign(0.0f, b);
  if (std::abs(b) < std::ldexp(1.0f, -128)) return std::copysign(kInf, b);
  int exponent = 0;
  const float fraction = std::frexp(std::abs(b), &exponent);      // 0.5 to 1
  const auto a = static_cast<uint32_t>(std::ldexp(fraction, 9));  // 256 to 511
  const uint32_t quotient = (1u << 19) / (2 * a + 1);
  const uint32_t r = (quotient + 1) / 2;  // 256 to 511
  const double magnitude = std::ldexp(static_cast<double>(r), -8 - exponent);
  // Results below 2^-126 lose the bits that do not fit.
  const double last_place = std::ldexp(1.0, -149);
  const double truncated = magnitude < std::ldexp(1.0, -126) ? std::floor(magnitude / last_place) * last_place : magnitude;
  return (bits >> 31) != 0 ? -static_cast<float>(truncated) : static_cast<float>(truncated);
}

float stepModel(float b, float r) {
  if ((std::isinf(b) && r == 0) || (std::isinf(r) && b == 0)) return 2.0f;
  return std::fma(-b, r, 2.0f);
}

float quotientModel(float a, float b) {
  const float r0 = estimateModel(b);
  const float r1 = r0 * stepModel(b, r0);
  return a * (r1 * stepModel(b, r1));
}

// A kernel and its definition: op for elements in whole blocks, tail for the others.
template <class In, class Out, class In2 = In>
struct Case {
  const char* name;
  ArithmeticKernel<In, Out, In2>* kernel;
  size_t block;
  Out (*op)(float, float);
  Out (*tail)(float, float);
};

const Case<uint8_t, uint8_t> kUint8[] = {
    {"addCPUUINT8", addCPUUINT8, 32, [](float a, float b) { return saturated(a + b); }, nullptr},
    {"subtractCPUUINT8", subtractCPUUINT8, 32, [](float a, float b) { return saturated(a - b); }, nullptr},
};
const Case<float, float> kFloat[] = {
    {"addCPUFLOAT32", addCPUFLOAT32, 8, [](float a, float b) { return a + b; }, nullptr},
    {"subtractCPUFLOAT32", subtractCPUFLOAT32, 8, [](float a, float b) { return a - b; }, nullptr},
    {"multipleCPUFLOAT32", multipleCPUFLOAT32, 8, [](float a, float b) { return a * b; }, nullptr},
    {"divideCPUFLOAT32", divideCPUFLOAT32, 8, quotientModel, [](float a, float b) { return a / b; }},
};
const Case<uint8_t, float> kWidening[] = {
    {"addCPUUINT8toFLOAT32", addCPUUINT8toFLOAT32, 32, [](float a, float b) { return a + b; }, nullptr},
    {"subtractCPUUINT8toFLOAT32", subtractCPUUINT8toFLOAT32, 32, [](float a, float b) { return a - b; }, nullptr},
    {"multipleCPUUINT8toFLOAT32", multipleCPUUINT8toFLOAT32, 32, [](float a, float b) { return a * b; }, nullptr},
    {"divideCPUUINT8toFLOAT32", divideCPUUINT8toFLOAT32, 32, quotientModel, [](float a, float b) { return a / b; }},
};
const Case<float, uint8_t> kNarrowing[] = {
    {"addCPUFLOAT32toUINT8", addCPUFLOAT32toUINT8, 8, [](float a, float b) { return saturated(a + b); }, nullptr},
    {"subtractCPUFLOAT32toUINT8", subtractCPUFLOAT32toUINT8, 8, [](float a, float b) { return saturated(a - b); }, nullptr},
    {"multipleCPUFLOAT32toUINT8", multipleCPUFLOAT32toUINT8, 8, [](float a, float b) { return saturated(a * b); }, nullptr},
    {"divideCPUFLOAT32toUINT8", divideCPUFLOAT32toUINT8, 8, [](float a, float b) { return saturated(quotientModel(a, b)); },
     [](float a, float b) { return saturated(a / b); }},
};

const Case<uint8_t, float, float> kBytesAndFloats[] = {
    {"addBytesAndFloats", addBytesAndFloats, 8, [](float a, float b) { return a + b; }, nullptr},
    {"subtractBytesAndFloats", subtractBytesAndFloats, 8, [](float a, float b) { return a - b; }, nullptr},
    {"multiplyBytesAndFloats", multiplyBytesAndFloats, 8, [](float a, float b) { return a * b; }, nullptr},
    {"divideBytesAndFloats", divideBytesAndFloats, 8, quotientModel, [](float a, float b) { return a / b; }},
};
const Case<float, float, uint8_t> kFloatsAndBytes[] = {
    {"addFloatsAndBytes", addFloatsAndBytes, 8, [](float a, float b) { return a + b; }, nullptr},
    {"subtractFloatsAndBytes", subtractFloatsAndBytes, 8, [](float a, float b) { return a - b; }, nullptr},
    {"multiplyFloatsAndBytes", multiplyFloatsAndBytes, 8, [](float a, float b) { return a * b; }, nullptr},
    {"divideFloatsAndBytes", divideFloatsAndBytes, 8, quotientModel, [](float a, float b) { return a / b; }},
};

template <class Check>
void forEachCase(const Check& check) {
  for (const auto& c : kUint8) check(c);
  for (const auto& c : kFloat) check(c);
  for (const auto& c : kWidening) check(c);
  for (const auto& c : kNarrowing) check(c);
  for (const auto& c : kBytesAndFloats) check(c);
  for (const auto& c : kFloatsAndBytes) check(c);
}

// The NaN of an invalid operation is Arm's on every target; the NaN of one operand is the result, made quiet.
template <class Out>
Out mended(Out value, float a, float b) {
  if constexpr (std::is_same_v<Out, float>) {
    if (std::isnan(b)) return std::bit_cast<float>(std::bit_cast<uint32_t>(b) | 0x00400000u);
    if (std::isnan(value) && !std::isnan(a) && !std::isnan(b)) return std::bit_cast<float>(0x7FC00000u);
  }
  return value;
}

template <class In, class Out, class In2>
Out expectedElement(const Case<In, Out, In2>& c, float a, float b, size_t i, size_t n) {
  const bool in_block = i < n / c.block * c.block;
  return mended(in_block || c.tail == nullptr ? c.op(a, b) : c.tail(a, b), a, b);
}

template <class T>
Image<T> operand(const Shape& shape, uint32_t seed) {
  Image<T> image = randomImage<T>(shape, seed);
  // Special values sit at odd distances, so that they meet each other and common values in every place of a vector.
  const float special[] = {0.0f,  -0.0f,  1.0f,  -1.0f,  kInf,    -kInf, 255.0f, 254.99f,           1e-39f,
                           3e38f, 1e-20f, 2e38f, 0.001f, -0.999f, 1e30f, 7.0f,   5.8774717541e-39f, 1.7e38f};
  for (size_t i = seed; i < image.elements(); i += 5 + seed) {
    image.data()[i] = sizeof(T) == 1 ? static_cast<T>(i % 3 == 0 ? 0 : 255) : static_cast<T>(special[i % std::size(special)]);
  }
  if constexpr (sizeof(T) > 1) {
    // One operand's only: which of two NaN an operation gives is open.
    for (size_t i = 3; seed != 1 && i < image.elements(); i += 11) {
      image.data()[i] = std::copysign(std::numeric_limits<T>::quiet_NaN(), i % 2 == 0 ? T{1} : T{-1});
    }
  }
  return image;
}

template <class In, class Out, class In2>
void expectValues(const Case<In, Out, In2>& c) {
  SCOPED_TRACE(c.name);
  for (const Shape& shape : shapesAround(static_cast<int32_t>(c.block), {1, 3, 4})) {
    SCOPED_TRACE(shape);
    const Shape other{shape.width, shape.height, shape.width_stride + shape.width_stride % 2, shape.channel};
    const Image<In> a = operand<In>(shape, 1);
    const Image<In2> b = operand<In2>(other, 2);
    Image<Out> expected(shape);
    expected.fill([&](int32_t y, size_t i) {
      return expectedElement(c, static_cast<float>(a.row(y)[i]), static_cast<float>(b.row(y)[i]), i, shape.rowElements());
    });
    Image<Out> dst(shape);
    EXPECT_EQ(c.kernel(a.data(), b.data(), dst.data(), shape.height, shape.width, shape.width_stride, other.width_stride,
                       shape.width_stride, shape.channel, 4),
              TAMIX_OK);
    ASSERT_TRUE(sameBytes(dst, expected));

    if constexpr (std::is_same_v<In, Out> && std::is_same_v<In2, Out>) {
      const Image<In> second = operand<In>(shape, 3);
      expected.fill([&](int32_t y, size_t i) {
        return expectedElement(c, static_cast<float>(a.row(y)[i]), static_cast<float>(second.row(y)[i]), i,
                               shape.rowElements());
      });
      for (const bool first : {true, false}) {
        Image<In> x = a;
        Image<In> y = second;
        Image<In>& in_place = first ? x : y;
        EXPECT_EQ(c.kernel(x.data(), y.data(), in_place.data(), shape.height, shape.width, shape.width_stride,
                           shape.width_stride, shape.width_stride, shape.channel, 1),
                  TAMIX_OK);
        for (int32_t row = 0; row < shape.height; ++row) {
          ASSERT_EQ(std::memcmp(in_place.row(row), expected.row(row), shape.rowElements() * sizeof(In)), 0) << "in place";
        }
      }
    }
  }
}

TEST(ArithmeticCPU, CombinesEveryElementOfBlocksAndTailsAndLeavesPaddingAlone) {
  forEachCase([](const auto& c) { expectValues(c); });
}

// Large outputs are written around the cache: every byte, odd rows and unaligned starts included, must be there all the same.
TEST(ArithmeticCPU, CombinesLargeImagesOfOddRows) {
  constexpr int32_t kWidth = 8191, kHeight = 2057, kStride = 8200;
  const size_t size = static_cast<size_t>(kHeight) * kStride;
  std::vector<uint8_t> a(size), b(size), dst(size, 0xA5);
  for (size_t i = 0; i < size; ++i) {
    a[i] = static_cast<uint8_t>(i * 7);
    b[i] = static_cast<uint8_t>(i >> 8);
  }
  EXPECT_EQ(addCPUUINT8(a.data(), b.data(), dst.data(), kHeight, kWidth, kStride, kStride, kStride, 1, 1), TAMIX_OK);
  size_t wrong = 0;
  for (size_t i = 0; i < size; ++i) wrong += dst[i] != (i % kStride < kWidth ? std::min(a[i] + b[i], 255) : 0xA5);
  EXPECT_EQ(wrong, 0u);
  // In place, nothing may be written before it is read.
  EXPECT_EQ(addCPUUINT8(a.data(), b.data(), a.data(), kHeight, kWidth, kStride, kStride, kStride, 1, 1), TAMIX_OK);
  for (size_t i = 0; i < size; ++i) wrong += i % kStride < kWidth && a[i] != dst[i];
  EXPECT_EQ(wrong, 0u);
}

TEST(ArithmeticCPU, DividesEveryPairOfBytes) {
  const Shape shape{256, 256, 256, 1};
  const Image<uint8_t> a = Image<uint8_t>(shape).fill([](int32_t y, size_t) { return y; });
  const Image<uint8_t> b = Image<uint8_t>(shape).fill([](int32_t, size_t i) { return i; });
  const Image<float> expected = Image<float>(shape).fill(
      [](int32_t y, size_t i) { return mended(quotientModel(static_cast<float>(y), static_cast<float>(i)), 1, 1); });
  Image<float> dst(shape);
  EXPECT_EQ(divideCPUUINT8toFLOAT32(a.data(), b.data(), dst.data(), 256, 256, 256, 256, 256, 1, 1), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, expected));
}

TEST(ArithmeticCPU, TakesOneElementAfterTheOtherWhereTheOutputRunsAheadOfAnInput) {
  constexpr int32_t kWidth = 133;
  for (const int32_t ahead : {1, 7, 40, kWidth, kWidth + 3}) {
    SCOPED_TRACE(ahead);
    std::vector<uint8_t> bytes(3 * kWidth + static_cast<size_t>(ahead));
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i % 7);
    std::vector<uint8_t> expected = bytes;
    for (size_t i = 0; i < 3 * kWidth; ++i) {
      expected[i + static_cast<size_t>(ahead)] = saturated(static_cast<float>(expected[i] + expected[i]));
    }
    EXPECT_EQ(addCPUUINT8(bytes.data(), bytes.data(), bytes.data() + ahead, 3, kWidth, kWidth, kWidth, kWidth, 1, 1), TAMIX_OK);
    EXPECT_EQ(bytes, expected);

    // The divisor is 2, the dividend runs behind the quotient: whole halves, exact both ways.
    std::vector<float> floats(3 * kWidth + static_cast<size_t>(ahead));
    for (size_t i = 0; i < floats.size(); ++i) floats[i] = static_cast<float>(1 + i % 5);
    const std::vector<float> twos(3 * kWidth, 2.0f);
    std::vector<float> halves = floats;
    for (size_t i = 0; i < twos.size(); ++i) halves[i + static_cast<size_t>(ahead)] = halves[i] / 2;
    EXPECT_EQ(divideCPUFLOAT32(floats.data(), twos.data(), floats.data() + ahead, 3, kWidth, kWidth, kWidth, kWidth, 1, 1),
              TAMIX_OK);
    EXPECT_EQ(floats, halves);
  }
}

template <class In, class Out, class In2>
void expectRefusals(const Case<In, Out, In2>& c) {
  SCOPED_TRACE(c.name);
  In in[4] = {};
  In2 in2[4] = {};
  Out out[4] = {};
  expectNullsRefused("runtime/cpu/arm/uint8/arithmetic_cpu_uint8.cpp", c.name, c.kernel, in, in2, out, 1, 1, 1, 1, 1, 1, 1);
  EXPECT_EQ(c.kernel(nullptr, nullptr, nullptr, 0, 1, 1, 1, 1, 1, 1), TAMIX_OK);
  EXPECT_EQ(c.kernel(in, in2, out, 1 << 30, -5, 1 << 30, 1 << 30, 1 << 30, 4, 1), TAMIX_OK);
}

TEST(ArithmeticCPU, RefusesNullPlanesButNotEmptyImages) {
  forEachCase([](const auto& c) { expectRefusals(c); });
}

}  // namespace
}  // namespace tamix::test
