#include "inference/runtime/cpu/arm/uint8/copymakeborder_cpu_uint8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/allocation.h"
#include "tests/support/border_model.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"

namespace tamix::test {
namespace {

const std::string kFile = "runtime/cpu/arm/uint8/copymakeborder_cpu_uint8.cpp";

struct Border {
  int32_t top, bottom, left, right, type, value = 0;
};

Shape outputShape(const Shape& shape, const Border& b, int32_t padding) {
  const int32_t width = b.left + shape.width + b.right;
  return {width, b.top + shape.height + b.bottom, width + padding, shape.channel};
}

int32_t run(const Image<uint8_t>& src, const Image<uint8_t>& dst, const Border& b) {
  const Shape& shape = src.shape();
  return copyMakeBorderCPUUINT8(src.data(), dst.data(), shape.height, shape.width, shape.width_stride, dst.shape().width_stride,
                                shape.channel, b.top, b.bottom, b.left, b.right, b.type, b.value, 1);
}

void expectBorder(const Shape& shape, const Border& b, int32_t model_type) {
  SCOPED_TRACE(testing::Message() << shape << " border " << b.top << " " << b.bottom << " " << b.left << " " << b.right
                                  << " type " << b.type);
  const auto src = randomImage<uint8_t>(shape);
  const Image<uint8_t> dst(outputShape(shape, b, shape.width_stride - shape.width));
  Image<uint8_t> expected(dst);
  expected.fill([&](int32_t y, size_t i) {
    const auto x = static_cast<int32_t>(i) / shape.channel;
    return borderedAt(src, y - b.top, x - b.left, static_cast<int32_t>(i) % shape.channel, model_type, b.value);
  });
  EXPECT_EQ(run(src, dst, b), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, expected));
}

std::string rowWithBorder(const std::string& row, int32_t type, int32_t width) {
  std::string out(row.size() + 2 * static_cast<size_t>(width), '?');
  const auto n = static_cast<int32_t>(row.size());
  const auto m = static_cast<int32_t>(out.size());
  EXPECT_EQ(copyMakeBorderCPUUINT8(reinterpret_cast<const uint8_t*>(row.data()), reinterpret_cast<uint8_t*>(out.data()), 1, n,
                                   n, m, 1, 0, 0, width, width, type, '.', 1),
            TAMIX_OK);
  return out;
}

TEST(CopyMakeBorderCPUUINT8, EveryTypeContinuesARowItsOwnWay) {
  EXPECT_EQ(rowWithBorder("ABC", 4, 2), "CBABCBA");
  EXPECT_EQ(rowWithBorder("ABC", -1, 2), "CBABCBA");
  EXPECT_EQ(rowWithBorder("ABC", -17, 2), "CBABCBA");
  EXPECT_EQ(rowWithBorder("ABC", 20, 2), "CBABCBA");
  EXPECT_EQ(rowWithBorder("ABC", 1, 2), "AAABCCC");
  EXPECT_EQ(rowWithBorder("ABC", 17, 2), "AAABCCC");
  EXPECT_EQ(rowWithBorder("ABC", 2, 2), "BAABCCB");
  EXPECT_EQ(rowWithBorder("ABC", 3, 2), "BCABCAB");
  EXPECT_EQ(rowWithBorder("ABC", 0, 2), "..ABC..");
  EXPECT_EQ(rowWithBorder("ABC", 16, 2), "..ABC..");
}

TEST(CopyMakeBorderCPUUINT8, GoesOnMirroringAndRepeatingBeyondTheImage) {
  EXPECT_EQ(rowWithBorder("ABC", 4, 6), "CBABCBABCBABCBA");
  EXPECT_EQ(rowWithBorder("ABC", 2, 6), "ABCCBAABCCBAABC");
  EXPECT_EQ(rowWithBorder("ABC", 3, 4), "CABCABCABCA");
  EXPECT_EQ(rowWithBorder("A", 4, 3), "AAAAAAA");
}

TEST(CopyMakeBorderCPUUINT8, FillsAllSidesAtEverySize) {
  for (const int32_t type : {0, 1, 2, 3, 4}) {
    for (const int32_t channel : {1, 2, 3, 4}) {
      for (const int32_t width : {1, 7, 32, 129, 150}) {
        expectBorder({width, 3, width, channel}, {2, 1, 16, 16, type, 77}, type);
        expectBorder({width, 4, width + 3, channel}, {0, 5, 1, 2, type, 255}, type);
        expectBorder({width, 2, width, channel}, {7, 0, 0, 70, type, 0}, type);
        expectBorder({width, 1, width + 1, channel}, {1, 1, 200, 0, type, 1}, type);
      }
    }
  }
}

TEST(CopyMakeBorderCPUUINT8, RefusesWhatItCannotServe) {
  const auto src = randomImage<uint8_t>({5, 4, 5});
  const Image<uint8_t> dst({9, 8, 9});
  const Image<uint8_t> untouched(dst);
  struct Case {
    Border border;
    int32_t status;
    std::string function, message;
  };
  const std::vector<Case> cases = {
      {{2, 2, 2, 2, 5}, TAMIX_ERR_UNSUPPORTED, "copyMakeBorderCPUUINT8", "Recieved unsupported border type 5"},
      {{2, 2, 2, 2, 22}, TAMIX_ERR_UNSUPPORTED, "copyMakeBorderCPUUINT8", "Recieved unsupported border type 6"},
      {{2, 2, 2, 2, 0, 256}, TAMIX_ERR_INVALID_IMAGE, "copyMakeBorderCONSTANT", "Recieved unsupported border value 256"},
      {{2, 2, 2, 2, 16, -1}, TAMIX_ERR_INVALID_IMAGE, "copyMakeBorderCONSTANT", "Recieved unsupported border value -1"},
      {{2, 2, -1, 5, 1}, TAMIX_ERR_UNSUPPORTED, "copyMakeBorderCPUUINT8", "Recieved unsupported border params: 2, 2, -1, 5"}};
  for (const Case& c : cases) {
    LogCapture log;
    EXPECT_EQ(run(src, dst, c.border), c.status);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(kFile, c.function, c.message)});
  }
  expectNullsRefused(kFile, "copyMakeBorderCPUUINT8", copyMakeBorderCPUUINT8, src.data(), dst.data(), 4, 5, 5, 9, 1, 2, 2, 2, 2,
                     9, 300, 1);
  EXPECT_TRUE(sameBytes(dst, untouched));
}

TEST(CopyMakeBorderCPUUINT8, OnlyTheDefaultBorderDoesWithoutMemory) {
  for (const int32_t width : {5, 200}) {
    for (const int32_t type : {1, 2, 3}) {
      const auto src = randomImage<uint8_t>({width, 4, width});
      const Image<uint8_t> dst({width + 4, 8, width + 4});
      const Image<uint8_t> untouched(dst);
      LogCapture log;
      const FailingMemalign failing(0);
      EXPECT_EQ(run(src, dst, {2, 2, 2, 2, type}), TAMIX_ERR_NO_MEMORY);
      EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(kFile, "copyMakeBorderOther", "memory allocation failed")});
      EXPECT_TRUE(sameBytes(dst, untouched));
    }
    const FailingMemalign failing(0, true);
    expectBorder({width, 4, width, 3}, {2, 2, 2, 2, 4}, 4);
  }
}

TEST(CopyMakeBorderCPUUINT8, LeavesEmptyImagesAlone) {
  const auto src = randomImage<uint8_t>({5, 4, 5});
  const Image<uint8_t> dst({9, 8, 9});
  const Image<uint8_t> untouched(dst);
  for (const int32_t type : {0, 1, 4}) {
    EXPECT_EQ(copyMakeBorderCPUUINT8(src.data(), dst.data(), -2, 5, 5, 9, 1, 2, 8, 2, 2, type, 0, 1), TAMIX_OK);
    EXPECT_EQ(copyMakeBorderCPUUINT8(src.data(), dst.data(), 4, -3, 5, 9, 1, 2, 2, 8, 4, type, 0, 1), TAMIX_OK);
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
