#include "inference/utils/tamix_utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

uint8_t lowByteModel(float value, bool in_block) {
  if (std::isnan(value)) return 0;
  const double whole = std::trunc(static_cast<double>(value));
  if (in_block) {
    if (whole < 0) return 0;
    return static_cast<uint8_t>(whole >= 4294967296.0 ? 0xFFFFFFFFu : static_cast<uint32_t>(whole));
  }
  if (whole < -2147483648.0) return 0;
  return static_cast<uint8_t>(whole > 2147483647.0 ? 0x7FFFFFFF : static_cast<int32_t>(whole));
}

TEST(DataFLOAT32ToUINT8, TruncatesUnsignedInBlocksAndSignedInTails) {
  const float inf = std::numeric_limits<float>::infinity();
  const float special[] = {-1.0f, 300.7f,        255.99f,       256.0f,        NAN,           inf,
                           -inf,  4294967296.0f, 4294967040.0f, 2147483648.0f, 2147483520.0f, -2147483648.0f,
                           -4e9f, 3e9f,          -0.5f,         1e30f,         -1e30f};
  for (const Shape& shape : shapesAround(16)) {
    SCOPED_TRACE(shape);
    Image<float> src = randomImage<float>(shape);
    for (size_t i = 0; i < src.elements(); i += 2) src.data()[i] = special[(i / 2) % std::size(special)];
    const Shape dst_shape{shape.width, shape.height, shape.width + 3, shape.channel};
    const size_t blocks_end = shape.rowElements() / 16 * 16;
    Image<uint8_t> expected(dst_shape);
    expected.fill([&](int32_t y, size_t i) { return lowByteModel(src.row(y)[i], i < blocks_end); });
    for (const bool copy : {false, true}) {
      Image<uint8_t> dst(dst_shape);
      EXPECT_EQ(dataFLOAT32ToUINT8(src.data(), dst.data(), shape.height, shape.width, shape.width_stride,
                                   dst_shape.width_stride, shape.channel, copy),
                TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, expected));
    }
  }
}

TEST(DataUINT8ToFLOAT32, IsExactAndExpandsInPlace) {
  for (const Shape& shape : shapesAround(16)) {
    SCOPED_TRACE(shape);
    const Image<uint8_t> src = randomImage<uint8_t>(shape);
    Image<float> expected(shape);
    expected.fill([&](int32_t y, size_t i) { return src.row(y)[i]; });
    Image<float> dst(shape);
    EXPECT_EQ(dataUINT8ToFLOAT32(src.data(), dst.data(), shape.height, shape.width, shape.width_stride, shape.width_stride,
                                 shape.channel, false),
              TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, expected));

    Image<float> in_place(shape);
    std::memcpy(in_place.data(), src.data(), src.elements());
    EXPECT_EQ(dataUINT8ToFLOAT32(reinterpret_cast<const uint8_t*>(in_place.data()), in_place.data(), shape.height, shape.width,
                                 shape.width_stride, shape.width_stride, shape.channel, true),
              TAMIX_OK);
    for (int32_t y = 0; y < shape.height; ++y) {
      EXPECT_EQ(std::memcmp(in_place.row(y), expected.row(y), shape.rowElements() * sizeof(float)), 0);
    }
  }
}

TEST(ElementTypeConversion, RefusesNullPlanesAndReportsFailedAllocations) {
  float floats[16] = {};
  uint8_t bytes[16] = {};
  const std::string file = "utils/tamix_utils.cpp";
  LogCapture log;
  EXPECT_EQ(dataFLOAT32ToUINT8(nullptr, bytes, 1, 1, 1, 1, 1, false), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(dataUINT8ToFLOAT32(bytes, nullptr, 1, 1, 1, 1, 1, false), TAMIX_ERR_INVALID_IMAGE);
  {
    const FailingMemalign failing(0, true);
    EXPECT_EQ(dataFLOAT32ToUINT8(floats, bytes, 1, 1, 1, 1, 1, true), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(dataUINT8ToFLOAT32(bytes, floats, 1, 1, 1, 1, 1, true), TAMIX_ERR_NO_MEMORY);
  }
  EXPECT_EQ(dataUINT8ToFLOAT32(bytes, floats, 0, 1, 1, 1, 1, true), TAMIX_OK);
  EXPECT_EQ(log.errors(), (std::vector<std::string>{
                              errorLine(file, "dataFLOAT32ToUINT8", "Recieved null data pointer"),
                              errorLine(file, "dataUINT8ToFLOAT32", "Recieved null data pointer"),
                              errorLine(file, "dataFLOAT32ToUINT8", "failed to memory allocation for dataFLOAT32ToUINT8"),
                              errorLine(file, "dataUINT8ToFLOAT32", "failed to memory allocation for dataUINT8ToFLOAT32"),
                          }));
}

}  // namespace
}  // namespace tamix::test
