#include "inference/runtime/cpu/arm/uint8/concat_cpu_uint8.h"

#include <algorithm>
#include <array>

#include "inference/runtime/cpu/arm/common/stream.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

constexpr size_t kMostImages = 4;

// An image and its size along the direction of joining.
struct Piece {
  const uint8_t* data;
  int32_t size;
};
using Pieces = std::array<Piece, kMostImages>;

bool anyNull(const Pieces& pieces, int32_t count) {
  return std::any_of(pieces.begin(), pieces.begin() + count, [](const Piece& piece) { return piece.data == nullptr; });
}

int64_t sumOfSizes(const Pieces& pieces, int32_t count) {
  int64_t sum = 0;
  for (auto piece = pieces.begin(); piece != pieces.begin() + count; ++piece) sum += piece->size;
  return sum;
}

// What each of the first `count` images adds to an output of size `room`. A negative size counts in the sum but adds nothing,
// so those behind it may have to be cut.
std::array<size_t, kMostImages> fittingSizes(const Pieces& pieces, int32_t count, int32_t room) {
  std::array<size_t, kMostImages> sizes{};
  int32_t left = std::max(room, 0);
  for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
    const int32_t size = std::clamp(pieces[i].size, 0, left);
    sizes[i] = static_cast<size_t>(size);
    left -= size;
  }
  return sizes;
}

}  // namespace

int32_t hconcatCPUUINT8(const uint8_t* src0, int32_t height0, const uint8_t* src1, int32_t height1, const uint8_t* src2,
                        int32_t height2, const uint8_t* src3, int32_t height3, int32_t width, uint8_t* dst, int32_t dst_height,
                        int32_t /*dst_width*/, int32_t channels, int32_t image_count, int32_t /*num_threads*/) {
  const Pieces pieces{{{src0, height0}, {src1, height1}, {src2, height2}, {src3, height3}}};
  TAMIX_REQUIRE(dst != nullptr, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer");
  TAMIX_REQUIRE(image_count >= 0 && image_count <= int32_t{kMostImages} && channels >= 0, TAMIX_ERR_INVALID_IMAGE,
                "Recieved illegal input parameters %d, %d", image_count, channels);
  TAMIX_REQUIRE(!anyNull(pieces, image_count), TAMIX_ERR_INVALID_IMAGE, "Recieved null input data pointer");
  const int64_t sum = sumOfSizes(pieces, image_count);
  TAMIX_REQUIRE(sum == dst_height, TAMIX_ERR_INVALID_IMAGE, "Recieved unequal height %d, %d", static_cast<int32_t>(sum),
                dst_height);

  const size_t row = rowElements(width, channels);
  const auto heights = fittingSizes(pieces, image_count, dst_height);
  for (size_t i = 0; i < kMostImages; ++i) {
    if (heights[i] == 0 || row == 0) continue;
    const auto packed = static_cast<ptrdiff_t>(row);
    copyImage(Plane<const uint8_t>{pieces[i].data, packed}, Plane<uint8_t>{dst, packed}, static_cast<int32_t>(heights[i]), row);
    dst += heights[i] * row;
  }
  return TAMIX_OK;
}

int32_t vconcatCPUUINT8(const uint8_t* src0, int32_t width0, const uint8_t* src1, int32_t width1, const uint8_t* src2,
                        int32_t width2, const uint8_t* src3, int32_t width3, int32_t height, uint8_t* dst,
                        int32_t /*dst_height*/, int32_t dst_width, int32_t channels, int32_t image_count,
                        int32_t /*num_threads*/) {
  const Pieces pieces{{{src0, width0}, {src1, width1}, {src2, width2}, {src3, width3}}};
  TAMIX_REQUIRE(dst != nullptr, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer");
  TAMIX_REQUIRE(image_count >= 0 && image_count <= int32_t{kMostImages} && channels >= 0, TAMIX_ERR_INVALID_IMAGE,
                "Recieved illegal input parameters %d, %d", image_count, channels);
  TAMIX_REQUIRE(!anyNull(pieces, image_count), TAMIX_ERR_INVALID_IMAGE, "Recieved null input data pointer");
  const int64_t sum = sumOfSizes(pieces, image_count);
  TAMIX_REQUIRE(sum == dst_width, TAMIX_ERR_INVALID_IMAGE, "Recieved unequal width %d, %d", static_cast<int32_t>(sum),
                dst_width);

  const auto widths = fittingSizes(pieces, image_count, dst_width);
  const Plane<uint8_t> out = plane(dst, std::max(dst_width, 0), channels);
  ptrdiff_t at = 0;
  for (size_t i = 0; i < kMostImages; ++i) {
    if (widths[i] == 0) continue;
    const auto bytes = static_cast<ptrdiff_t>(widths[i]) * channels;
    // Rows of the image itself are as long as it says, even where the output takes less of them.
    copyImage(plane(pieces[i].data, pieces[i].size, channels), out.from(0, at), height, static_cast<size_t>(bytes));
    at += bytes;
  }
  return TAMIX_OK;
}

}  // namespace tamix
