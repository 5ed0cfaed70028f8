#include "inference/core/tamix_instance.h"

#include <new>
#include <utility>

#include "inference/utils/tamix_log.h"

TamixInstance::~TamixInstance() {
  releaseMemory();
  operators_.clear();
  secondary_.reset();
}

std::shared_ptr<tamix::Runtime> TamixInstance::_createRuntime(tamix::RuntimeRequest request) {
  std::unique_ptr<tamix::Runtime> runtime(tamix::create(request));
  if (runtime == nullptr && request.device_type != Tamix_ARM_CPU) {
    TAMIX_ERROR("Create runtime failed, use Tamix_ARM_CPU instead.");
    request.device_type = Tamix_ARM_CPU;
    runtime.reset(tamix::create(request));
    if (runtime == nullptr) TAMIX_ERROR("Create CPU runtime failed, init failed.");
  }
  return runtime;
}

int32_t TamixInstance::init(const tamix::RuntimeRequest& request) {
  primary_ = _createRuntime(request);
  if (primary_ == nullptr || !primary_->init()) return TAMIX_ERR_RUNTIME;
  if (requested_device_ != Tamix_ARM_CPU) {
    tamix::RuntimeRequest cpu = request;
    cpu.device_type = Tamix_ARM_CPU;
    secondary_ = _createRuntime(cpu);
    if (secondary_ == nullptr || !secondary_->init()) return TAMIX_ERR_RUNTIME;
  }
  valid_ = true;
  return TAMIX_OK;
}

int32_t TamixInstance::registCVFunction(int32_t type) {
  TAMIX_REQUIRE(valid_, TAMIX_ERR_INVALID_INSTANCE, "TamixInstance invalid!");
  TAMIX_REQUIRE(!operators_.contains(type), TAMIX_ERR_INVALID_ARGUMENT, "cvfunction %d has already existed", type);

  const auto is_usable = [](const std::shared_ptr<tamix::Operator>& op) { return op != nullptr && op->ready(); };
  std::shared_ptr<tamix::Operator> made(primary_->createOperator(type));
  if (!is_usable(made) && secondary_ != nullptr) {
    made.reset(secondary_->createOperator(type));
    if (is_usable(made)) TAMIX_DEBUG("regist cvfunction %d in CPU runtime", type);
  }
  if (is_usable(made)) {
    operators_.emplace(type, std::move(made));
    return TAMIX_OK;
  }
  made.reset();
  operators_.clear();
  TAMIX_ERROR("Create operator [%d] failed.", type);
  return TAMIX_ERR_CREATE_OPERATOR;
}

int32_t TamixInstance::runTamix(int32_t type, TamixParams* params) {
  TAMIX_REQUIRE(valid_, TAMIX_ERR_INVALID_INSTANCE, "TamixInstance invalid!");
  TAMIX_REQUIRE(params != nullptr, TAMIX_ERR_INVALID_ARGUMENT, "recieved null params");
  const auto found = operators_.find(type);
  TAMIX_REQUIRE(found != operators_.end(), TAMIX_ERR_INVALID_CALL, "operator %d has not been registed.", type);
  return found->second->forwardCV(params);
}

void* TamixInstance::requestMemoryBuffer(uint32_t size, int32_t mode) {
  tamix::AlignedBlock block = tamix::allocateBlock(size, mode);
  TAMIX_REQUIRE(block != nullptr, nullptr, "Memory allocation failed");
  blocks_.push_back(std::move(block));
  return blocks_.back().get();
}

void TamixInstance::releaseMemory() {
  blocks_.clear();
  if (primary_ != nullptr) primary_->releaseIntermediateBuffer();
}
