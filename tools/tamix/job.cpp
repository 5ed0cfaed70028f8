#include "tools/tamix/job.h"

#include <stdexcept>
#include <utility>

namespace tamix::tool {

void requireSuccess(int32_t status, std::string_view what) {
  if (status != TAMIX_OK) throw std::runtime_error(std::string(what) + " refused the call: " + tamix_status_name(status));
}

Runner::Runner(int32_t operator_type, int32_t num_threads) : type_(operator_type) {
  TamixConfig config;
  initTamixConfig(&config);
  config.log_level = 4;    // errors only
  config.perf_level = -1;  // the thread stays where it is
  config.num_threads = num_threads;
  int32_t status = initTamix(&handle_, &config);
  if (status == TAMIX_OK) status = registTamixOperator(handle_, operator_type);
  if (status != TAMIX_OK) {
    releaseTamix(&handle_);
    throw std::runtime_error(std::string("the library cannot set the operator up: ") + tamix_status_name(status));
  }
}

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

TamixParams& Job::completedParams() {
  for (size_t i = 0; i < inputs_.size(); ++i) params_.input[i] = inputs_[i].record();
  for (size_t i = 0; i < outputs_.size(); ++i) params_.output[i] = outputs_[i].record();
  return params_;
}

}  // namespace tamix::tool
