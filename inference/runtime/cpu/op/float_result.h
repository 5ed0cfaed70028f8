// Where an operator with a float kernel writes when its output need not be a float image.
#pragma once

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/utils/tamix_log.h"
#include "inference/utils/tamix_utils.h"
#include "tamix/framework.hpp"

namespace tamix {

// The output's own plane where it is declared float. Otherwise its memory is too small for floats: the kernel writes a private
// float plane of the same layout, which finish() converts into the output. The operator then calls setConverted().
class FloatResult {
 public:
  explicit FloatResult(const TamixImage& dst) : dst_(dst) {
    if (dst.type != Tamix_FLOAT32) {
      private_ = ScratchBuffer<float>(planeElements(dst.height, dst.width, dst.width_stride, dst.channel));
    }
  }

  // False without memory.
  explicit operator bool() const { return dst_.type == Tamix_FLOAT32 || private_; }
  // Null where the output has no plane: kernels refuse that.
  float* data() const { return private_ && dst_.data[0] != nullptr ? private_.data() : static_cast<float*>(dst_.data[0]); }

  int32_t finish() const {
    if (dst_.type == Tamix_FLOAT32) return TAMIX_OK;
    TAMIX_REQUIRE(dst_.type == Tamix_UINT8, TAMIX_ERR_UNSUPPORTED, "recieved unsupported type %d and %d.", Tamix_FLOAT32,
                  dst_.type);
    return dataFLOAT32ToUINT8(private_.data(), static_cast<uint8_t*>(dst_.data[0]), dst_.height, dst_.width, dst_.width_stride,
                              dst_.width_stride, dst_.channel, false);
  }

 private:
  const TamixImage& dst_;
  ScratchBuffer<float> private_;
};

}  // namespace tamix
