#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"

namespace tamix {
namespace {

// Fills params->kernel with a structuring element, its anchor in the middle.
class GetStructuringElementCPU final : public Operator {
 public:
  explicit GetStructuringElementCPU(Runtime* runtime)
      : Operator(runtime), kernel_(kernels(runtime).getStructuringElementCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::getStructuringElementCPUUINT8) kernel_;
};

int32_t GetStructuringElementCPU::forward(TamixParams* params) {
  int32_t shape = params->morph_shape;
  TAMIX_REQUIRE(isOneOf(shape, TAMIX_MORPH_RECT, TAMIX_MORPH_CROSS, TAMIX_MORPH_ELLIPSE), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input shape: %d", shape);
  int32_t kernel_height = params->kernel_height;
  int32_t kernel_width = params->kernel_width;
  if (kernel_height == -1 || kernel_width == -1) {
    TAMIX_REQUIRE(params->kernel_size != -1, TAMIX_ERR_UNSUPPORTED, "Recieve kernel_size is null.");
    kernel_height = kernel_width = params->kernel_size;
  }
  if (kernel_height == 1 && kernel_width == 1) shape = TAMIX_MORPH_RECT;
  TAMIX_DEBUG("getStructuringElementCPUUINT8 forward");
  TAMIX_TRY(kernel_(static_cast<uint8_t*>(params->kernel), shape, kernel_height, kernel_width, kernel_width / 2,
                    kernel_height / 2, params->anchor, threadNumber()));
  if (params->input[0].type != Tamix_FLOAT32) return TAMIX_OK;
  // Outputs of bytes hold no floats to convert.
  setConverted();
  return finishFloats(*this, *params, {});
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_GET_STRUCTURING_ELEMENT, GetStructuringElementCPU, GetStructuringElementCPUCreator);

}  // namespace
}  // namespace tamix
