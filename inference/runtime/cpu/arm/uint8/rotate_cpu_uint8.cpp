#include "inference/runtime/cpu/arm/uint8/rotate_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/uint8/flip_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/transpose_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/warpperspective_cpu_int8.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

enum RotateType : int32_t { kClockwise = 0, kHalfTurn = 1, kCounterClockwise = 2 };

struct Turn {
  const uint8_t* src;
  uint8_t* dst;
  int32_t src_width;
  int32_t src_height;
  int32_t src_stride;
  int32_t dst_stride;
  int32_t channels;

  // True where the warp serves the call and its positions, single-precision floats, are all exact.
  bool isPlain() const {
    constexpr int32_t kExact = 1 << 24;
    return src != nullptr && dst != nullptr && channels >= 1 && channels <= 4 && src_width >= 1 && src_width <= kExact &&
           src_height >= 1 && src_height <= kExact && src_stride >= src_width && dst_stride >= src_height;
  }
};

// The turn as a transposition: clockwise with the source's rows upside down, counter-clockwise with the output's.
void transposeTurn(const Turn& turn, bool clockwise) {
  auto from = plane(turn.src, turn.src_stride, turn.channels);
  auto to = plane(turn.dst, turn.dst_stride, turn.channels);
  if (clockwise) {
    from = upsideDown(from, turn.src_height);
  } else {
    to = upsideDown(to, turn.src_width);
  }
  transposePixels(from, to, rowElements(turn.src_height), rowElements(turn.src_width), turn.channels);
}

}  // namespace

int32_t rotateCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t src_width, int32_t src_height, int32_t src_stride,
                       int32_t dst_stride, int32_t channels, int32_t rotate_type, int32_t num_threads) {
  if (rotate_type == kHalfTurn) {
    return flipCPUUINT8(src, dst, src_height, src_width, src_stride, dst_stride, channels, -1, num_threads);
  }
  TAMIX_REQUIRE(rotate_type == kClockwise || rotate_type == kCounterClockwise, TAMIX_ERR_UNSUPPORTED,
                "rotateCPUUINT8 dosen't support rotate type %d", rotate_type);
  const bool clockwise = rotate_type == kClockwise;
  if (const Turn turn{src, dst, src_width, src_height, src_stride, dst_stride, channels}; turn.isPlain()) {
    transposeTurn(turn, clockwise);
    return TAMIX_OK;
  }
  // From destination to source: (x, y) -> (y, src_height - 1 - x), or (src_width - 1 - y, x).
  const auto last_row = static_cast<float>(src_height - int64_t{1});
  const auto last_column = static_cast<float>(src_width - int64_t{1});
  const float to_the_right[9] = {0, 1, 0, -1, 0, last_row, 0, 0, 1};
  const float to_the_left[9] = {0, -1, last_column, 1, 0, 0, 0, 0, 1};
  return warpPerspectiveCPUUINT8(
      src, dst, clockwise ? to_the_right : to_the_left, src_width, src_height, src_stride, src_height, src_width, dst_stride,
      channels, TAMIX_INTERPOLATION_NEAREST | TAMIX_INTERPOLATION_INVERSE_MAP, TAMIX_BORDER_REPLICATE, nullptr, num_threads);
}

}  // namespace tamix
