#include "inference/runtime/cpu/arm/uint8/merge_cpu_uint8.h"

#include <algorithm>

#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/stream.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// dst[3k + j] = plane j[k] for k < n.
void mergeRun(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2, size_t n, uint8_t* dst) {
  walkRow<uint8_t, 16>(
      n,
      [&](auto d, size_t k) {
        storeInterleaved3(d, hn::LoadU(d, src0 + k), hn::LoadU(d, src1 + k), hn::LoadU(d, src2 + k), dst + 3 * k);
      },
      [&](size_t k) {
        dst[3 * k] = src0[k];
        dst[3 * k + 1] = src1[k];
        dst[3 * k + 2] = src2[k];
      });
}

// The same for a whole image.
void mergeImage(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2, size_t n, uint8_t* dst) {
  if (!isStreamed(3 * n)) return mergeRun(src0, src1, src2, n, dst);
  constexpr size_t kPiece = 2048;
  alignas(64) uint8_t piece[3 * kPiece];
  for (size_t k = 0; k < n; k += kPiece) {
    const size_t count = std::min(kPiece, n - k);
    mergeRun(src0 + k, src1 + k, src2 + k, count, piece);
    streamBytes(dst + 3 * k, piece, 3 * count);
  }
  finishStreaming();
}

}  // namespace

int32_t mergeCPUUINT8(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2, const uint8_t* src3, int32_t height,
                      int32_t width, int32_t width_stride, uint8_t* dst, int32_t channels, int32_t /*num_threads*/) {
  const bool complete = src0 != nullptr && (channels < 2 || src1 != nullptr) && (channels < 3 || src2 != nullptr) &&
                        (channels < 4 || src3 != nullptr);
  TAMIX_REQUIRE(complete, TAMIX_ERR_INVALID_IMAGE, "Recieved null input data pointer");
  TAMIX_REQUIRE(dst != nullptr, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer");
  TAMIX_REQUIRE(channels == 3, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d", channels);
  TAMIX_REQUIRE(width == width_stride, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported dst_width %d and dst_width_stride: %d",
                width, width_stride);
  mergeImage(src0, src1, src2, planeElements(height, width, width), dst);
  return TAMIX_OK;
}

}  // namespace tamix
