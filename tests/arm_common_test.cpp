// The vector helpers that kernels share, each against a scalar model.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/byte_table.h"
#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix::test {
namespace {

// Bit patterns around every place where the conversions and the estimate change their rule, and many others.
std::vector<float> interestingFloats() {
  std::vector<float> values;
  for (const uint32_t sign : {0u, 0x80000000u}) {
    for (uint32_t exponent = 0; exponent <= 255; ++exponent) {
      for (const uint32_t fraction :
           {0u, 1u, 0x7FFFu, 0x8000u, 0x100000u, 0x1FFFFFu, 0x200000u, 0x3FFFFFu, 0x400000u, 0x555555u, 0x7F8000u, 0x7FFFFFu}) {
        values.push_back(std::bit_cast<float>(sign | (exponent << 23) | fraction));
      }
    }
  }
  std::mt19937 random(7);
  for (int i = 0; i < 100000; ++i) values.push_back(std::bit_cast<float>(static_cast<uint32_t>(random())));
  for (int i = 0; i < 20000; ++i) values.push_back(static_cast<float>(static_cast<int32_t>(random())) / 1024.0f);
  values.resize(values.size() / 16 * 16);
  return values;
}

template <class Convert>
std::vector<uint32_t> convertAll(const std::vector<float>& in, const Convert& convert) {
  const hn::ScalableTag<float> d;
  std::vector<uint32_t> out(in.size());
  for (size_t i = 0; i < in.size(); i += hn::Lanes(d)) {
    hn::StoreU(hn::BitCast(hn::ScalableTag<uint32_t>(), convert(d, hn::LoadU(d, in.data() + i))), hn::ScalableTag<uint32_t>(),
               out.data() + i);
  }
  return out;
}

int32_t saturateToInt32(double whole) {
  if (std::isnan(whole)) return 0;
  if (whole >= 2147483647.0) return 2147483647;
  return whole <= -2147483648.0 ? INT32_MIN : static_cast<int32_t>(whole);
}

TEST(FloatToInt, ConvertsWithArmSemantics) {
  const std::vector<float> in = interestingFloats();
  const auto truncated = convertAll(in, [](auto d, auto v) { return truncateToInt32(d, v); });
  const auto rounded = convertAll(in, [](auto d, auto v) { return roundToInt32(d, v); });
  const auto rounded_away = convertAll(in, [](auto d, auto v) { return roundAwayToInt32(d, v); });
  const auto floored = convertAll(in, [](auto d, auto v) { return floorToInt32(d, v); });
  const auto magnitudes = convertAll(in, [](auto d, auto v) { return truncateToUint32(d, v); });
  for (size_t i = 0; i < in.size(); ++i) {
    const double v = in[i];
    ASSERT_EQ(static_cast<int32_t>(truncated[i]), saturateToInt32(std::trunc(v))) << v;
    ASSERT_EQ(static_cast<int32_t>(rounded[i]), saturateToInt32(std::nearbyint(v))) << v;
    ASSERT_EQ(static_cast<int32_t>(rounded_away[i]), saturateToInt32(std::round(v))) << v;
    ASSERT_EQ(static_cast<int32_t>(floored[i]), saturateToInt32(std::floor(v))) << v;
    const uint32_t magnitude = v >= 4294967295.0 ? ~0u : v > 0 ? static_cast<uint32_t>(v) : 0u;
    ASSERT_EQ(magnitudes[i], magnitude) << v;
  }
}

TEST(FloatToInt, RoundsHalvesUp) {
  std::vector<float> in;
  for (int32_t i = 0; i < 4096; ++i) {
    const float half = static_cast<float>(i) / 8.0f;
    in.insert(in.end(), {half, std::nextafter(half, 1e6f), i == 0 ? half : std::nextafter(half, 0.0f), half + 0.0625f});
  }
  const auto rounded = convertAll(in, [](auto d, auto v) { return roundHalfUpToInt32(d, v); });
  for (size_t i = 0; i < in.size(); ++i) ASSERT_EQ(static_cast<int32_t>(rounded[i]), std::lround(in[i])) << in[i];
}

// The estimate as the architecture writes it down, with integers only.
uint32_t estimateModel(uint32_t bits) {
  const uint32_t sign = bits & 0x80000000u;
  const uint32_t magnitude = bits & 0x7FFFFFFFu;
  if (magnitude > 0x7F800000u) return bits | 0x00400000u;
  if (magnitude == 0x7F800000u) return sign;
  if (magnitude < 0x00200000u) return sign | 0x7F800000u;
  int32_t exponent = static_cast<int32_t>(magnitude >> 23);
  uint64_t fraction = magnitude & 0x7FFFFFu;
  if (exponent == 0) {
    if ((fraction & 0x400000u) == 0) {
      exponent = -1;
      fraction = (fraction << 2) & 0x7FFFFFu;
    } else {
      fraction = (fraction << 1) & 0x7FFFFFu;
    }
  }
  const uint64_t a = 256 + (fraction >> 15);
  const uint64_t r = ((1u << 19) / (2 * a + 1) + 1) >> 1;
  const int32_t result_exponent = 253 - exponent;
  uint64_t result = (r & 0xFF) << 15;
  if (result_exponent == 0) result = (result | 0x800000u) >> 1;
  if (result_exponent == -1) result = (result | 0x800000u) >> 2;
  return sign | (static_cast<uint32_t>(result_exponent > 0 ? result_exponent : 0) << 23) | static_cast<uint32_t>(result);
}

TEST(FloatToInt, SaturatesFloatsAndIntegersToBytes) {
  const std::vector<float> in = interestingFloats();
  const hn::ScalableTag<float> d;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const hn::RebindToSigned<decltype(d)> di;
  for (size_t i = 0; i < in.size(); i += hn::Lanes(d)) {
    uint8_t floats[hn::MaxLanes(d)], integers[hn::MaxLanes(d)];
    int32_t bits[hn::MaxLanes(d)];
    std::memcpy(bits, &in[i], sizeof(bits));
    hn::StoreU(saturateToUint8(d, hn::LoadU(d, &in[i])), d8, floats);
    hn::StoreU(saturateInt32ToUint8(di, hn::LoadU(di, bits)), d8, integers);
    for (size_t k = 0; k < hn::Lanes(d); ++k) {
      const float value = in[i + k];
      ASSERT_EQ(floats[k], !(value > 0) ? 0 : value >= 255 ? 255 : static_cast<int>(value)) << value;
      ASSERT_EQ(integers[k], std::clamp(bits[k], 0, 255));
    }
  }
}

template <class D>
void expectTableLookup(D d) {
  uint8_t table[256], index[hn::MaxLanes(D())], found[hn::MaxLanes(D())];
  for (size_t i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>(i * 91 + 17);
  const ByteTable bytes(table);
  for (size_t start = 0; start < 256; ++start) {
    for (size_t k = 0; k < hn::Lanes(d); ++k) index[k] = static_cast<uint8_t>(start + 67 * k);
    hn::StoreU(bytes.lookup(hn::LoadU(d, index)), d, found);
    for (size_t k = 0; k < hn::Lanes(d); ++k) ASSERT_EQ(found[k], table[index[k]]);
  }
}

TEST(ByteTable, LooksUpEveryIndexAtEveryWidth) {
  if (!kHasByteTable) GTEST_SKIP() << "no table in registers on this target";
  expectTableLookup(hn::ScalableTag<uint8_t>());
  expectTableLookup(hn::CappedTag<uint8_t, 32>());
  expectTableLookup(hn::CappedTag<uint8_t, 16>());
  expectTableLookup(hn::CappedTag<uint8_t, 1>());
}

TEST(Rows, SeeWritesAheadOfReads) {
  uint8_t bytes[64];
  const auto* const floats = reinterpret_cast<const float*>(bytes);
  EXPECT_FALSE(writesAhead(bytes, bytes, 16));
  EXPECT_TRUE(writesAhead(bytes + 1, bytes, 16));
  EXPECT_TRUE(writesAhead(bytes + 15, bytes, 16));
  EXPECT_FALSE(writesAhead(bytes + 16, bytes, 16));
  EXPECT_FALSE(writesAhead(bytes, bytes + 1, 16));
  EXPECT_FALSE(writesAhead(bytes, floats, 16));  // narrower elements fall behind
  EXPECT_TRUE(writesAhead(reinterpret_cast<float*>(bytes), bytes, 16));
}

TEST(Reciprocal, EstimateHasTheArchitecturesBits) {
  const std::vector<float> in = interestingFloats();
  const auto estimates = convertAll(in, [](auto d, auto v) { return reciprocalEstimate(d, v); });
  for (size_t i = 0; i < in.size(); ++i) {
    ASSERT_EQ(estimates[i], estimateModel(std::bit_cast<uint32_t>(in[i]))) << in[i];
  }
}

TEST(Reciprocal, StepRoundsOnceAndGivesTwoForInfinityTimesZero) {
  const std::vector<float> a = interestingFloats();
  for (const size_t offset : {1u, 4097u, 30001u}) {
    std::vector<float> b(a.size());
    for (size_t i = 0; i < a.size(); ++i) b[i] = a[(i + offset) % a.size()];
    b[0] = 0.0f;
    b[1] = INFINITY;
    const hn::ScalableTag<float> d;
    for (size_t i = 0; i < a.size(); i += hn::Lanes(d)) {
      float steps[hn::MaxLanes(d)];
      hn::StoreU(reciprocalStep(d, hn::LoadU(d, a.data() + i), hn::LoadU(d, b.data() + i)), d, steps);
      for (size_t k = 0; k < hn::Lanes(d); ++k) {
        const float x = a[i + k];
        const float y = b[i + k];
        const bool open = (std::isinf(x) && y == 0) || (std::isinf(y) && x == 0);
        const float step = open ? 2.0f : std::fma(-x, y, 2.0f);
        if (std::isnan(step)) {
          ASSERT_TRUE(std::isnan(steps[k]));
        } else {
          ASSERT_EQ(std::bit_cast<uint32_t>(steps[k]), std::bit_cast<uint32_t>(step)) << x << " " << y;
        }
      }
    }
  }
}

TEST(Reciprocal, RefinedTakesTheArchitecturesStepsForEveryMixOfLanes) {
  const auto step = [](float v, float r) {
    const bool open = (std::isinf(v) && r == 0) || (std::isinf(r) && v == 0);
    return open ? 2.0f : std::fma(-v, r, 2.0f);
  };
  const auto model = [&](float v) {
    const auto r0 = std::bit_cast<float>(estimateModel(std::bit_cast<uint32_t>(v)));
    const float r1 = r0 * step(v, r0);
    return r1 * step(v, r1);
  };
  std::vector<float> in = interestingFloats();                               // rare and common lanes side by side
  for (int32_t i = -256; i < 256; ++i) in.push_back(static_cast<float>(i));  // all common, or zero
  for (uint32_t i = 0; i < 1u << 16; ++i) in.push_back(std::bit_cast<float>(0x3F800000u + (i << 7) + 77));
  const std::vector<uint32_t> wide = convertAll(in, [](auto d, auto v) { return refinedReciprocal(d, v); });
  for (size_t i = 0; i < in.size(); ++i) {
    const hn::CappedTag<float, 1> one;
    const float lane = hn::GetLane(refinedReciprocal(one, hn::LoadU(one, &in[i])));
    const auto bits = std::bit_cast<uint32_t>(in[i]);
    const uint32_t expected = std::isnan(in[i]) ? bits | 0x00400000 : std::bit_cast<uint32_t>(model(in[i]));
    if (HWY_TARGET == HWY_NEON && std::isnan(in[i])) {
      // The estimate and the step are NaN of opposite signs; which one a product takes is the compiler's order of operands.
      ASSERT_TRUE(std::isnan(std::bit_cast<float>(wide[i])) && std::isnan(lane));
      continue;
    }
    ASSERT_EQ(wide[i], expected) << in[i];
    ASSERT_EQ(std::bit_cast<uint32_t>(lane), expected) << in[i];
  }
}

TEST(Reciprocal, DividesEverySignificandByAConstantWithOneRounding) {
  const hn::ScalableTag<float> d;
  for (uint32_t bits = 0x3F800000; bits < 0x40000000; bits += static_cast<uint32_t>(hn::Lanes(d))) {
    const auto v = hn::BitCast(d, hn::Iota(hn::ScalableTag<uint32_t>(), bits));
    ASSERT_TRUE(hn::AllTrue(d, hn::Eq(dividedBy<25>(d, v), hn::Div(v, hn::Set(d, 25.0f))))) << std::hex << bits;
  }
}

TEST(FixedPoint, WidensAndNarrowsInOrderForEveryValue) {
  const hn::ScalableTag<uint8_t> d;
  const hn::RepartitionToWide<decltype(d)> d16;
  const hn::RebindToSigned<decltype(d16)> di16;
  const size_t n = hn::Lanes(d);
  std::vector<uint8_t> bytes(n);
  for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8_t>(i * 37 + 11);
  for (int32_t scale = -257; scale <= 128; ++scale) {
    const auto v = hn::LoadU(d, bytes.data());
    const auto lo = hn::Mul(hn::BitCast(di16, widenLower(d, v)), hn::Set(di16, static_cast<int16_t>(scale)));
    const auto hi = hn::Mul(hn::BitCast(di16, widenUpper(d, v)), hn::Set(di16, static_cast<int16_t>(scale)));
    std::vector<uint8_t> narrowed(n), shifted(n), rounded(n);
    hn::StoreU(narrowToUint8(d, lo, hi), d, narrowed.data());
    hn::StoreU(shiftRightNarrowToUint8<5>(d, lo, hi), d, shifted.data());
    const auto small_lo = hn::Mul(widenLower(d, v), hn::Set(d16, static_cast<uint16_t>(scale & 127)));
    const auto small_hi = hn::Mul(widenUpper(d, v), hn::Set(d16, static_cast<uint16_t>(scale & 127)));
    hn::StoreU(roundShiftRightNarrowToUint8<7>(d, small_lo, small_hi), d, rounded.data());
    for (size_t i = 0; i < n; ++i) {
      const auto product = static_cast<int16_t>(bytes[i] * scale);
      ASSERT_EQ(narrowed[i], std::clamp<int32_t>(product, 0, 255));
      ASSERT_EQ(shifted[i], std::clamp<int32_t>(product >> 5, 0, 255));
      ASSERT_EQ(rounded[i], (bytes[i] * (scale & 127) + 64) >> 7);
    }
  }
}

TEST(FixedPoint, NarrowsConsecutiveVectorsInOrder) {
  const hn::ScalableTag<uint8_t> d;
  const hn::ScalableTag<int8_t> di;
  const hn::ScalableTag<uint16_t> d16;
  const hn::ScalableTag<int16_t> di16;
  const size_t n = hn::Lanes(d);
  std::vector<uint16_t> words(n);
  std::vector<uint8_t> high(n);
  std::vector<int8_t> saturated(n);
  for (uint32_t start = 0; start + n <= 65408; start += static_cast<uint32_t>(n)) {
    for (size_t i = 0; i < n; ++i) words[i] = static_cast<uint16_t>(start + i);
    const auto first = hn::LoadU(d16, words.data());
    const auto second = hn::LoadU(d16, words.data() + n / 2);
    hn::StoreU(roundedHighBytes(d, first, second), d, high.data());
    const auto narrow = narrowToInt8(di, hn::BitCast(di16, first), hn::BitCast(di16, second));
    hn::StoreU(narrowedInOrder(di, narrow), di, saturated.data());
    for (size_t i = 0; i < n; ++i) {
      ASSERT_EQ(high[i], (words[i] + 128) >> 8) << words[i];
      ASSERT_EQ(saturated[i], std::clamp<int32_t>(static_cast<int16_t>(words[i]), -128, 127)) << words[i];
    }
  }
}

TEST(FixedPoint, MultipliesUnsignedBySignedBytesAndAddsPairs) {
  const hn::ScalableTag<uint8_t> d;
  const hn::ScalableTag<int8_t> di;
  const hn::ScalableTag<int16_t> d16;
  const size_t n = hn::Lanes(d);
  std::mt19937 random(11);
  std::vector<uint8_t> u(n);
  std::vector<int8_t> s(n);
  std::vector<int16_t> sums(n / 2);
  for (int round = 0; round < 2000; ++round) {
    // Weights that add up to 128, on either side.
    for (size_t i = 0; i < n; i += 2) {
      u[i] = static_cast<uint8_t>(random() % 129);
      u[i + 1] = static_cast<uint8_t>(128 - u[i]);
      s[i] = static_cast<int8_t>(random());
      s[i + 1] = round % 2 == 0 ? int8_t{-128} : static_cast<int8_t>(random());
    }
    hn::StoreU(multiplyAddPairs(d16, hn::LoadU(d, u.data()), hn::LoadU(di, s.data())), d16, sums.data());
    for (size_t i = 0; i < n / 2; ++i) ASSERT_EQ(sums[i], u[2 * i] * s[2 * i] + u[2 * i + 1] * s[2 * i + 1]);
  }
}

TEST(FixedPoint, AveragesRoundDownForAllPairs) {
  const hn::ScalableTag<uint8_t> d;
  for (int32_t a = 0; a < 256; ++a) {
    for (int32_t b = 0; b < 256; ++b) {
      const auto average = averageFloor(d, hn::Set(d, static_cast<uint8_t>(a)), hn::Set(d, static_cast<uint8_t>(b)));
      ASSERT_EQ(hn::GetLane(average), (a + b) / 2) << a << " " << b;
    }
  }
}

TEST(FixedPoint, WeighsFourBytesInOrderUpToTheLargestSum) {
  const hn::ScalableTag<uint8_t> d;
  const hn::RepartitionToWide<decltype(d)> d16;
  const hn::RebindToSigned<decltype(d16)> di16;
  const size_t n = hn::Lanes(d);
  std::mt19937 random(5);
  std::vector<uint8_t> bytes(4 * n), shifted(n);
  for (int round = 0; round < 200; ++round) {
    for (uint8_t& byte : bytes) byte = round == 0 ? 255 : static_cast<uint8_t>(random());
    const auto load = [&](size_t k) { return hn::LoadU(d, bytes.data() + k * n); };
    const auto sum = weightedSum<10, 75, 42>(d, load(0), load(1), load(2), load(3));
    hn::StoreU(shiftRightNarrowToUint8<7>(d, hn::BitCast(di16, sum.lower), hn::BitCast(di16, sum.upper)), d, shifted.data());
    for (size_t i = 0; i < n; ++i) {
      const int32_t model = 10 * bytes[i] + 75 * bytes[n + i] + 42 * bytes[2 * n + i] + bytes[3 * n + i];
      ASSERT_EQ(shifted[i], std::min(model >> 7, 255));
    }
  }
}

TEST(FixedPoint, MultipliesAndShiftsRoundingDown) {
  const hn::ScalableTag<int16_t> d;
  for (int32_t a = -32768; a <= 32767; ++a) {
    const auto v = hn::Set(d, static_cast<int16_t>(a));
    ASSERT_EQ(hn::GetLane(multiplyShift15<296>(d, v)), (a * 296) >> 15) << a;
    if (a < -16384 || a > 16383) continue;
    ASSERT_EQ(hn::GetLane(multiplyShift15<23360>(d, v)), (a * 23360) >> 15) << a;
  }
}

TEST(Reciprocal, CloseOneIsCloseForEveryByte) {
  const hn::ScalableTag<float> d;
  for (int32_t i = 1; i < 256; ++i) {
    const double close = hn::GetLane(closeReciprocal(d, hn::Set(d, static_cast<float>(i))));
    ASSERT_LE(std::abs(close * i - 1), 3.2e-7) << i;
  }
}

template <size_t kBlocks, class D>
void expectLookup(D d) {
  std::mt19937 random(3);
  std::vector<uint8_t> window(kBlocks * 16), index(hn::Lanes(d)), out(hn::Lanes(d));
  for (int round = 0; round < 50; ++round) {
    for (uint8_t& byte : window) byte = static_cast<uint8_t>(random());
    for (uint8_t& i : index) i = static_cast<uint8_t>(random() % window.size());
    const ByteWindow<D, kBlocks> bytes(d, window.data());
    hn::StoreU(bytes.lookup(hn::LoadU(d, index.data())), d, out.data());
    for (size_t i = 0; i < out.size(); ++i) ASSERT_EQ(out[i], window[index[i]]);
    for (size_t i = 0; i < index.size(); i += 3) index[i] = static_cast<uint8_t>(128 + random() % 128);
    hn::StoreU(bytes.lookupOr0(hn::LoadU(d, index.data())), d, out.data());
    for (size_t i = 0; i < out.size(); ++i) ASSERT_EQ(out[i], index[i] < 128 ? window[index[i]] : 0);
  }
}

TEST(ByteWindow, ReachesEveryByteAtEveryWidth) {
  const auto expectAll = [](auto d) {
    expectLookup<1>(d);
    expectLookup<2>(d);
    expectLookup<3>(d);
    expectLookup<4>(d);
    expectLookup<8>(d);
  };
  expectAll(hn::ScalableTag<uint8_t>());
  expectAll(hn::CappedTag<uint8_t, 32>());
  expectAll(hn::CappedTag<uint8_t, 16>());
}

std::vector<int64_t> indicesAround(int64_t n, int32_t border_type) {
  std::vector<int64_t> indices;
  for (int64_t p = -5; p < n + 5; ++p) indices.push_back(borderIndex(p, n, border_type));
  return indices;
}

TEST(BorderIndex, GoesOnPeriodicallyOutsideTheImage) {
  using Indices = std::vector<int64_t>;
  EXPECT_EQ(indicesAround(3, TAMIX_BORDER_CONSTANT), (Indices{-1, -1, -1, -1, -1, 0, 1, 2, -1, -1, -1, -1, -1}));
  EXPECT_EQ(indicesAround(3, TAMIX_BORDER_REPLICATE), (Indices{0, 0, 0, 0, 0, 0, 1, 2, 2, 2, 2, 2, 2}));
  EXPECT_EQ(indicesAround(3, TAMIX_BORDER_REFLECT), (Indices{1, 2, 2, 1, 0, 0, 1, 2, 2, 1, 0, 0, 1}));
  EXPECT_EQ(indicesAround(3, TAMIX_BORDER_WRAP), (Indices{1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1}));
  EXPECT_EQ(indicesAround(3, TAMIX_BORDER_REFLECT_101), (Indices{1, 0, 1, 2, 1, 0, 1, 2, 1, 0, 1, 2, 1}));
  EXPECT_EQ(indicesAround(1, TAMIX_BORDER_REFLECT_101), (Indices(11, 0)));
}

}  // namespace
}  // namespace tamix::test
