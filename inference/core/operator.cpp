#include <utility>

#include "inference/core/abstract_constructor.h"
#include "inference/utils/image_format.h"
#include "inference/utils/tamix_log.h"
#include "inference/utils/tamix_utils.h"
#include "tamix/framework.hpp"

namespace tamix {
namespace {

bool isNV(const TamixImage& image) { return image.format == Tamix_NV12 || image.format == Tamix_NV21; }
bool isEmpty(const TamixImage& image) { return image.width == 0 || image.height == 0; }
bool isOdd(const TamixImage& image) { return image.width % 2 != 0 || image.height % 2 != 0; }
bool exceedsStrides(const TamixImage& image) { return image.width > image.width_stride || image.height > image.height_stride; }

void fillStrides(TamixImage& image) {
  if (image.width_stride == 0) image.width_stride = image.width;
  if (image.height_stride == 0) image.height_stride = image.height;
}

// Tells the scratch pool where a run begins and ends.
class ScratchRun {
 public:
  ScratchRun(IntermediateBuffer* buffer, TamixParams* params) : buffer_(buffer) {
    if (buffer_ != nullptr) buffer_->beginRequest(params);
  }
  ~ScratchRun() {
    if (buffer_ != nullptr) buffer_->endRequest();
  }
  ScratchRun(const ScratchRun&) = delete;
  ScratchRun& operator=(const ScratchRun&) = delete;

 private:
  IntermediateBuffer* buffer_;
};

}  // namespace

Operator::Operator(Runtime* runtime) : runtime_(runtime) {
  if (runtime == nullptr) return;
  intermediate_buffer_ = runtime->intermediateBuffer();
  thread_number_ = runtime->getThreadNumber();
  device_flag_0_ = runtime->deviceFlag0();
  device_flag_1_ = runtime->deviceFlag1();
}

int32_t Operator::requestIntermediateBuffer() { return TAMIX_OK; }

int32_t Operator::parseFormatToChannel(TamixDataFormat format) { return channelsOfFormat(format); }

int32_t Operator::forwardCV(TamixParams* params) {
  const auto fillChannel = [](TamixImage& image) {
    if (image.channel == 0) image.channel = channelsOfFormat(image.format);
  };

  TamixImage& src = params->input[0];
  TamixImage& dst = params->output[0];
  TAMIX_REQUIRE(src.type != 0 || dst.type != 0, TAMIX_ERR_INVALID_IMAGE,
                "recieved invalid input 0 [format: %d, type: %d] and output 0 [format: %d, type: %d].", src.format, src.type,
                dst.format, dst.type);
  if (src.type != 0 && dst.type != 0) {
    TAMIX_REQUIRE(!isEmpty(src) && !isEmpty(dst), TAMIX_ERR_INVALID_IMAGE,
                  "recieved illegal input 0 shape [%d, %d] or output 0 shape [%d, %d].", src.width, src.height, dst.width,
                  dst.height);
    fillChannel(src);
    fillChannel(dst);
    TAMIX_REQUIRE(src.data[0] != nullptr && dst.data[0] != nullptr, TAMIX_ERR_INVALID_IMAGE,
                  "recieved illegal input 0 [%p] or output 0 [%p].", src.data[0], dst.data[0]);
    TAMIX_REQUIRE(!isNV(src) || !isOdd(src), TAMIX_ERR_ILLEGAL_SHAPE, "recieved illegal input shape [%dx%d].", src.height,
                  src.width);
    TAMIX_REQUIRE(!isNV(src) || src.data[1] != nullptr, TAMIX_ERR_INVALID_IMAGE, "recieved illegal input 0 [%p][%p].",
                  src.data[0], src.data[1]);
    TAMIX_REQUIRE(!isNV(dst) || !isOdd(dst), TAMIX_ERR_ILLEGAL_SHAPE, "recieved illegal output shape [%dx%d].", dst.height,
                  dst.width);
    TAMIX_REQUIRE(!isNV(dst) || dst.data[1] != nullptr, TAMIX_ERR_INVALID_IMAGE, "recieved illegal output 0 [%p][%p].",
                  dst.data[0], dst.data[1]);
    fillStrides(src);
    fillStrides(dst);
    TAMIX_REQUIRE(!exceedsStrides(dst) && !exceedsStrides(src), TAMIX_ERR_INVALID_IMAGE,
                  "size error! dst_width: %d, dst_width_stride: %d, dst_height: %d, dst_height_stride: %d, src_width: %d, "
                  "src_width_stride: %d, src_height: %d, src_height_stride: %d \n",
                  dst.width, dst.width_stride, dst.height, dst.height_stride, src.width, src.width_stride, src.height,
                  src.height_stride);
  }

  for (int32_t i = 0; i < 4; ++i) {
    for (const auto& [image, name] : {std::pair{&params->input[i], "input"}, std::pair{&params->output[i], "output"}}) {
      if (image->type == 0) continue;
      TAMIX_REQUIRE(!isEmpty(*image), TAMIX_ERR_INVALID_IMAGE, "recieved illegal %s %d shape [%d, %d].", name, i, image->width,
                    image->height);
      TAMIX_REQUIRE(image->data[0] != nullptr, TAMIX_ERR_INVALID_IMAGE, "recieved illegal %s %d [%p].", name, i,
                    image->data[0]);
      fillChannel(*image);
      fillStrides(*image);
      TAMIX_REQUIRE(!exceedsStrides(*image), TAMIX_ERR_INVALID_IMAGE,
                    "size error! src_width: %d, src_width_stride: %d, src_height: %d, src_height_stride: %d \n", image->width,
                    image->width_stride, image->height, image->height_stride);
    }
  }

  // Some operators use slots without a type, which are neither checked nor completed above.
  for (const TamixImage* image : {&src, &dst}) {
    TAMIX_REQUIRE(image->type != 0 || image->data[0] == nullptr || image->width_stride >= 0, TAMIX_ERR_INVALID_IMAGE,
                  "size error! src_width: %d, src_width_stride: %d, src_height: %d, src_height_stride: %d \n", image->width,
                  image->width_stride, image->height, image->height_stride);
  }

  const ScratchRun run(intermediate_buffer_, params);
  converted_ = false;
  TAMIX_TRY(forward(params));
  return dataTypeConvert(params);
}

int32_t Operator::dataTypeConvert(TamixParams* params) {
  if (std::exchange(converted_, false)) return TAMIX_OK;
  const auto kernel_type = static_cast<TamixDataType>(params->input[0].type);
  int32_t status = TAMIX_OK;
  for (int32_t k = 0; k < 4; ++k) {
    TamixImage& image = params->output[k];
    if (image.data[0] == nullptr || image.type == kernel_type) continue;
    TAMIX_DEBUG("start to data type conversion from %d to %d in output image %d.", image.type, kernel_type, k);
    status = dataTypeInputToOutput(image, kernel_type, image, static_cast<TamixDataType>(image.type), true);
  }
  converted_ = false;
  return status;
}

int32_t Operator::dataTypeInputToOutput(TamixImage& src, TamixDataType src_type, TamixImage& dst, TamixDataType dst_type,
                                        bool force_copy) {
  const bool widens = src_type == Tamix_UINT8 && dst_type == Tamix_FLOAT32;
  const bool narrows = src_type == Tamix_FLOAT32 && dst_type == Tamix_UINT8;
  TAMIX_REQUIRE(widens || narrows, TAMIX_ERR_UNSUPPORTED, "recieved unsupported type %d and %d.", src_type, dst_type);

  const bool copy = force_copy || src.data[0] == dst.data[0];
  const auto convert = [&](int32_t k, int32_t height, int32_t width, int32_t pitch, int32_t channels) {
    if (widens) {
      return dataUINT8ToFLOAT32(static_cast<const uint8_t*>(src.data[k]), static_cast<float*>(dst.data[k]), height, width,
                                pitch, pitch, channels, copy);
    }
    return dataFLOAT32ToUINT8(static_cast<const float*>(src.data[k]), static_cast<uint8_t*>(dst.data[k]), height, width, pitch,
                              pitch, channels, copy);
  };
  converted_ = true;
  if (!isTwoPlane(dst.format)) return convert(0, dst.height, dst.width, dst.width_stride, dst.channel);
  TAMIX_REQUIRE(hasThreePlanes(src) == hasThreePlanes(dst), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output format: %d, %d", src.format, dst.format);
  TAMIX_TRY(convert(0, dst.height, dst.width, dst.width_stride, 1));
  if (hasThreePlanes(dst)) {
    TAMIX_TRY(convert(1, dst.height / 2, dst.width / 2, dst.width_stride / 2, 1));
    return convert(2, dst.height / 2, dst.width / 2, dst.width_stride / 2, 1);
  }
  return convert(1, dst.height / 2, dst.width / 2, dst.width_stride / 2, 2);
}

TAMIX_ABSTRACT_CONSTRUCTOR(tamixOperatorConstructor, "_ZN5tamix8OperatorC1EPNS_7RuntimeE", "_ZN5tamix8OperatorC2EPNS_7RuntimeE")

}  // namespace tamix
