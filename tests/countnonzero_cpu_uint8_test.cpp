#include "inference/runtime/cpu/arm/uint8/countnonzero_cpu_uint8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

TEST(CountNonZeroCPUUINT8, CountsEveryByteOfRunsOfEveryLength) {
  std::vector<Shape> shapes;
  for (int32_t n = 1; n < 300; ++n) shapes.push_back({n, 1, n});
  // Around 240 and 255 vectors of 16 and 64 bytes, where counters are emptied.
  for (const int32_t n : {3839, 3840, 4080, 4081, 15360, 16320, 4 * 252 * 64, 4 * 252 * 64 + 65, 5 * 255 * 64 + 1}) {
    shapes.push_back({n, 3, n});
  }
  for (const Shape& shape : shapes) {
    SCOPED_TRACE(shape);
    Image<uint8_t> src = randomImage<uint8_t>(shape);
    for (size_t i = 0; i < src.elements(); i += 3) src.data()[i] = 0;
    const Image<uint8_t> full = Image<uint8_t>(shape).fill([](int32_t, size_t i) { return i % 2 == 0 ? 255 : 128; });
    const Image<uint8_t> empty = Image<uint8_t>(shape).fill([](int32_t, size_t) { return 0; });
    for (const Image<uint8_t>* image : {&std::as_const(src), &full, &empty}) {
      const auto expected = std::count_if(image->data(), image->data() + image->elements(), [](uint8_t v) { return v != 0; });
      uint32_t count = 77;
      EXPECT_EQ(countNonZeroCPUUINT8(image->data(), &count, shape.height, shape.width, shape.width, 1, 1), TAMIX_OK);
      EXPECT_EQ(count, expected);
    }
  }
}

TEST(CountNonZeroCPUUINT8, RefusesNullPointersPaddingAndChannelsInThisOrder) {
  const uint8_t bytes[8] = {1};
  uint32_t count = 77;
  LogCapture log;
  EXPECT_EQ(countNonZeroCPUUINT8(nullptr, &count, 1, 2, 3, 3, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(countNonZeroCPUUINT8(bytes, nullptr, 1, 2, 3, 3, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(countNonZeroCPUUINT8(bytes, &count, 1, 2, 3, 3, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(countNonZeroCPUUINT8(bytes, &count, 1, 2, 2, 3, 1), TAMIX_ERR_ILLEGAL_SHAPE);
  EXPECT_EQ(count, 77u);
  EXPECT_EQ(countNonZeroCPUUINT8(bytes, &count, -4, 2, 2, 1, 1), TAMIX_OK);
  EXPECT_EQ(count, 0u);
  const auto line = [](const char* message) {
    return errorLine("runtime/cpu/arm/uint8/countnonzero_cpu_uint8.cpp", "countNonZeroCPUUINT8", message);
  };
  EXPECT_EQ(log.errors(),
            (std::vector<std::string>{line("Recieved null data pointer"), line("Recieved null data pointer"),
                                      line("Recieved unsupported stride 3"), line("Recieved unsupported channel")}));
}

}  // namespace
}  // namespace tamix::test
