#include "tools/tamix/job.h"

#include <memory>
#include <stdexcept>
#include <utility>

namespace tamix::tool {
namespace {

struct InstanceDeleter {
  void operator()(TamixHandle handle) const { releaseTamix(&handle); }
};
using Instance = std::unique_ptr<std::remove_pointer_t<TamixHandle>, InstanceDeleter>;

Instance makeInstance(int32_t num_threads) {
  TamixConfig config;
  initTamixConfig(&config);
  config.log_level = 4;    // errors only
  config.perf_level = -1;  // the thread stays where it is
  config.num_threads = num_threads;
  TamixHandle handle = nullptr;
  const int32_t status = initTamix(&handle, &config);
  Instance instance(handle);
  if (status != TAMIX_OK) throw std::runtime_error(std::string("initTamix failed: ") + tamix_status_name(status));
  return instance;
}

}  // namespace

Job::Job(const Request& request, std::vector<Picture> inputs)
    : request_(request), params_(request.params), inputs_(std::move(inputs)) {}

int32_t Job::outputFormat(int32_t otherwise) const {
  return request_.output_format.empty() ? otherwise : formatNamed(request_.output_format).value;
}

Size Job::outputSize(Size otherwise) const { return request_.output_size.empty() ? otherwise : request_.output_size; }

void Job::addOutput(int32_t format, Size size, int32_t type, int32_t channels) {
  if (request_.output_type == "uint8") type = Tamix_UINT8;
  if (request_.output_type == "float32") type = Tamix_FLOAT32;
  outputs_.emplace_back(format, type, size, channels);
}

int32_t Job::run(int32_t operator_type) {
  const Instance instance = makeInstance(request_.num_threads);
  const int32_t status = registTamixOperator(instance.get(), operator_type);
  if (status != TAMIX_OK) return status;
  for (size_t i = 0; i < inputs_.size(); ++i) params_.input[i] = inputs_[i].record();
  for (size_t i = 0; i < outputs_.size(); ++i) params_.output[i] = outputs_[i].record();
  return runTamix(instance.get(), operator_type, &params_);
}

}  // namespace tamix::tool
