#include "inference/runtime/cpu/arm/uint8/bitwise_cpu_uint8.h"

#include <gtest/gtest.h>

#include <cstring>

#include "inference/runtime/cpu/arm/uint8/bitwisenot_cpu_uint8.h"
#include "tests/support/image.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

struct Case {
  const char* name;
  decltype(&bitwiseAndCPUUINT8) kernel;
  int (*op)(int, int);
};

const Case kCases[] = {
    {"bitwiseAndCPUUINT8", bitwiseAndCPUUINT8, [](int a, int b) { return a & b; }},
    {"bitwiseOrCPUUINT8", bitwiseOrCPUUINT8, [](int a, int b) { return a | b; }},
    {"bitwiseXorCPUUINT8", bitwiseXorCPUUINT8, [](int a, int b) { return a ^ b; }},
};

TEST(BitwiseCPUUINT8, CombinesTwoOrThreeOperandsAndLeavesPaddingAlone) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    for (const Shape& shape : shapesAround(32, {1, 3})) {
      SCOPED_TRACE(shape);
      const Shape second{shape.width, shape.height, shape.width_stride + 2, shape.channel};
      const Image<uint8_t> a = randomImage<uint8_t>(shape, 1);
      const Image<uint8_t> b = randomImage<uint8_t>(second, 2);
      const Image<uint8_t> mask = randomImage<uint8_t>(second, 3);
      for (const bool masked : {false, true}) {
        Image<uint8_t> expected(shape);
        expected.fill([&](int32_t y, size_t i) {
          const int pair = c.op(a.row(y)[i], b.row(y)[i]);
          return masked ? c.op(pair, mask.row(y)[i]) : pair;
        });
        Image<uint8_t> dst(shape);
        EXPECT_EQ(c.kernel(a.data(), b.data(), dst.data(), shape.height, shape.width, shape.width_stride, second.width_stride,
                           shape.width_stride, shape.channel, masked ? mask.data() : nullptr, 1),
                  TAMIX_OK);
        EXPECT_TRUE(sameBytes(dst, expected));
      }
    }
  }
}

TEST(BitwiseNotCPUUINT8, ComplementsAndReadsItsMaskPacked) {
  for (const Shape& shape : shapesAround(32, {1, 3})) {
    SCOPED_TRACE(shape);
    const Shape dst_shape{shape.width, shape.height, shape.width_stride + 1, shape.channel};
    const Image<uint8_t> src = randomImage<uint8_t>(shape, 1);
    const Image<uint8_t> mask = randomImage<uint8_t>({shape.width, shape.height, shape.width, shape.channel}, 2);
    for (const bool masked : {false, true}) {
      Image<uint8_t> expected(dst_shape);
      expected.fill([&](int32_t y, size_t i) { return ~src.row(y)[i] & (masked ? mask.row(y)[i] : 0xFF); });
      Image<uint8_t> dst(dst_shape);
      EXPECT_EQ(bitwiseNotCPUUINT8(src.data(), dst.data(), shape.height, shape.width, shape.width_stride,
                                   dst_shape.width_stride, shape.channel, masked ? mask.data() : nullptr, 1),
                TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, expected));
    }
  }
}

// Every operand in turn shares memory with the output, `distance` bytes behind it.
TEST(BitwiseCPUUINT8, TakesBytesInOrderWherePlanesOverlap) {
  constexpr size_t kSize = 3 * 101;
  for (const int32_t distance : {0, 1, 5, 33, 101, -1, -40}) {
    for (size_t shared = 0; shared < 3; ++shared) {
      SCOPED_TRACE(testing::Message() << "distance " << distance << " operand " << shared);
      std::vector<uint8_t> memory(kSize + 200);
      for (size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<uint8_t>(i * 77 + i / 9);
      std::vector<uint8_t> operand_bytes[3];
      for (size_t k = 0; k < 3; ++k) operand_bytes[k].assign(memory.rbegin() + static_cast<ptrdiff_t>(k), memory.rend());
      const auto at = [&](std::vector<uint8_t>& bytes, size_t k) {
        return k == shared ? bytes.data() + 50 : operand_bytes[k].data();
      };
      const auto out = [&](std::vector<uint8_t>& bytes) { return bytes.data() + 50 + distance; };

      std::vector<uint8_t> expected = memory;
      for (size_t i = 0; i < kSize; ++i) {
        out(expected)[i] = static_cast<uint8_t>(at(expected, 0)[i] ^ at(expected, 1)[i] ^ at(expected, 2)[i]);
      }
      EXPECT_EQ(bitwiseXorCPUUINT8(at(memory, 0), at(memory, 1), out(memory), 3, 101, 101, 101, 101, 1, at(memory, 2), 1),
                TAMIX_OK);
      EXPECT_EQ(memory, expected);

      for (size_t i = 0; i < kSize; ++i) out(expected)[i] = static_cast<uint8_t>(at(expected, 1)[i] & ~at(expected, 0)[i]);
      EXPECT_EQ(bitwiseNotCPUUINT8(at(memory, 0), out(memory), 3, 101, 101, 101, 1, at(memory, 1), 1), TAMIX_OK);
      EXPECT_EQ(memory, expected);
    }
  }
}

TEST(BitwiseCPUUINT8, RefusesNullPlanesBeforeEmptyImages) {
  uint8_t byte = 1;
  for (const Case& c : kCases) {
    expectNullsRefused("runtime/cpu/arm/uint8/bitwise_cpu_uint8.cpp", c.name, c.kernel, &byte, &byte, &byte, 0, 1, 1, 1, 1, 1,
                       nullptr, 1);
    EXPECT_EQ(c.kernel(&byte, &byte, &byte, 0, 1, 1, 1, 1, 1, nullptr, 1), TAMIX_OK);
  }
  expectNullsRefused("runtime/cpu/arm/uint8/bitwisenot_cpu_uint8.cpp", "bitwiseNotCPUUINT8", bitwiseNotCPUUINT8, &byte, &byte,
                     0, 1, 1, 1, 1, nullptr, 1);
}

}  // namespace
}  // namespace tamix::test
