// Uses the class interface: an operator and a runtime of the host program's own.
#include <cstdio>
#include <memory>

#include "tamix/framework.hpp"
#include "tamix/kernels.h"

namespace {

class Doubling final : public tamix::Operator {
 public:
  explicit Doubling(tamix::Runtime* runtime) : Operator(runtime) {}
  int32_t forward(TamixParams* params) override {
    auto* const pixel = static_cast<uint8_t*>(params->output[0].data[0]);
    *pixel = static_cast<uint8_t>(*pixel * 2);
    return TAMIX_OK;
  }
};

class HostRuntime final : public tamix::Runtime {
 public:
  using Runtime::Runtime;
  bool init() override { return true; }
  tamix::Operator* createOperator(int32_t) override { return new Doubling(this); }
  int32_t runOperator(int32_t type, TamixParams* params) override {
    const std::unique_ptr<tamix::Operator> made(createOperator(type));
    return made->forwardCV(params);
  }
};

}  // namespace

int main() {
  tamix::getLogLevel() = 5;
  tamix::RuntimeConfig config{};
  HostRuntime runtime(config);
  TamixParams params;
  initTamixParams(&params);
  uint8_t pixel = 21;
  TamixImage& image = params.output[0];
  image.type = Tamix_UINT8;
  image.width = image.height = 1;
  image.data[0] = &pixel;
  params.input[0] = image;
  const int32_t status = runtime.forwardRutime(0, &params);
  if (status != TAMIX_OK || pixel != 42 || image.channel != 1 || image.width_stride != 1) {
    std::fprintf(stderr, "status %d, pixel %d\n", status, pixel);
    return 1;
  }
  return 0;
}
