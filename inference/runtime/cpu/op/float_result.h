// Where an operator with a float kernel writes when its output need not be a float image.
#pragma once

#include <span>

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/utils/tamix_log.h"
#include "inference/utils/tamix_utils.h"
#include "tamix/framework.hpp"

namespace tamix {

// The output's own plane where it is declared float. Otherwise its memory is too small for floats: the kernel writes a private
// float plane of packed rows, which finishFloats() brings into the output.
class FloatResult {
 public:
  explicit FloatResult(const TamixImage& dst) : dst_(dst) {
    if (dst.type != Tamix_FLOAT32) {
      private_ = ScratchBuffer<float>(planeElements(dst.height, dst.width, dst.width, dst.channel));
    }
  }

  // False without memory.
  explicit operator bool() const { return dst_.type == Tamix_FLOAT32 || private_; }
  // Null where the output has no plane: kernels refuse that.
  float* data() const { return private_ && dst_.data[0] != nullptr ? private_.data() : static_cast<float*>(dst_.data[0]); }
  // Pixels from one row of data() to the next.
  int32_t widthStride() const { return private_ ? dst_.width : dst_.width_stride; }

  // The floats as the output's bytes.
  int32_t toBytes() const {
    TAMIX_TRY(dataFLOAT32ToUINT8(private_.data(), static_cast<uint8_t*>(dst_.data[0]), dst_.height, dst_.width, widthStride(),
                                 dst_.width_stride, dst_.channel, false));
    TAMIX_DEBUG("dataFLOAT32ToUINT8: copy the data to avoid the data conflict");
    return TAMIX_OK;
  }

 private:
  const TamixImage& dst_;
  ScratchBuffer<float> private_;
};

// What the framework does after a kernel on floats, from the results of the first outputs; other outputs of bytes hold nothing
// to convert. The operator then calls setConverted().
inline int32_t finishFloats(Operator& op, TamixParams& params, std::span<const FloatResult> results) {
  int32_t status = TAMIX_OK;
  for (size_t k = 0; k < std::size(params.output); ++k) {
    TamixImage& image = params.output[k];
    const bool has_bytes = image.type == Tamix_UINT8;
    if (image.data[0] == nullptr || image.type == Tamix_FLOAT32 || (has_bytes && k >= results.size())) continue;
    TAMIX_DEBUG("start to data type conversion from %d to %d in output image %d.", image.type, Tamix_FLOAT32,
                static_cast<int32_t>(k));
    status = has_bytes ? results[k].toBytes()
                       : op.dataTypeInputToOutput(image, Tamix_FLOAT32, image, static_cast<TamixDataType>(image.type), true);
  }
  return status;
}

}  // namespace tamix
