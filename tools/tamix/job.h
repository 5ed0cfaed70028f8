// One run of an operator on pictures, through the public entry points.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tamix/picture.h"
#include "tools/tamix/request.h"

namespace tamix::tool {

// Throws std::runtime_error for a status other than TAMIX_OK, naming what refused.
void requireSuccess(int32_t status, std::string_view what);

// An instance with one operator. Throws std::runtime_error where it cannot be had.
class Runner {
 public:
  explicit Runner(int32_t operator_type, int32_t num_threads = 2);
  ~Runner() { releaseTamix(&handle_); }
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  int32_t run(TamixParams& params) const { return runTamix(handle_, type_, &params); }

 private:
  TamixHandle handle_ = nullptr;
  int32_t type_;
};

// An operator's record with everything it points to.
class Job {
 public:
  Job(const Request& request, std::vector<Picture> inputs);

  const Request& request() const { return request_; }
  TamixParams& params() { return params_; }
  const TamixParams& params() const { return params_; }
  std::vector<Picture>& inputs() { return inputs_; }
  std::vector<Picture>& outputs() { return outputs_; }
  const Picture& input(size_t i = 0) const { return inputs_[i]; }

  // The output's format: what the request says, or else the given one.
  int32_t outputFormat(int32_t otherwise) const;
  // The output's size: what the request says, or else the given one.
  Size outputSize(Size otherwise) const;
  // Adds an output. Its element type is the request's, or else the given one.
  void addOutput(int32_t format, Size size, int32_t type = Tamix_UINT8, int32_t channels = 0);

  // The record with its images. It points into this job.
  TamixParams& completedParams();

  // What an operator writes besides pictures.
  uint32_t count = 0;
  float means[4] = {};
  float stds[4] = {};
  double threshold = 0;
  std::vector<uint8_t> element;  // structuring element
  std::vector<uint32_t> histogram;
  std::vector<float> coordinates;  // of four point pairs: four x, four y, four u, four v
  std::vector<uint8_t> border_bytes;
  std::vector<float> weights;
  std::vector<float> channel_means;
  std::vector<float> channel_stds;

 private:
  const Request& request_;
  TamixParams params_;
  std::vector<Picture> inputs_;
  std::vector<Picture> outputs_;
};

}  // namespace tamix::tool
