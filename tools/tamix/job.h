// One run of an operator on pictures, through the public entry points.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/tamix/picture.h"

namespace tamix::tool {

// What the command line says besides the record's settings.
struct Request {
  TamixParams params;
  int32_t num_threads = 2;
  Size output_size;           // empty: as the operator has it
  std::string output_format;  // empty: as the output's file name says, or as the operator has it
  std::string output_type;    // "uint8", "float32" or empty
  std::vector<float> matrix;  // perspective matrix, nine numbers, row by row
  std::vector<float> points;  // x y u v of each point pair: where (x, y) goes to (u, v)
  std::vector<double> mean;   // one for all channels, or one each
  std::vector<double> std;
  std::vector<int32_t> border_color;
  std::vector<float> weights;  // of a fusion's band; empty: a linear ramp
  double threshold = 0;
  bool json = false;
};

// An operator's record with everything it points to.
class Job {
 public:
  Job(const Request& request, std::vector<Picture> inputs);

  const Request& request() const { return request_; }
  TamixParams& params() { return params_; }
  std::vector<Picture>& inputs() { return inputs_; }
  std::vector<Picture>& outputs() { return outputs_; }
  const Picture& input(size_t i = 0) const { return inputs_[i]; }

  // The output's format: what the request says, or else the given one.
  int32_t outputFormat(int32_t otherwise) const;
  // The output's size: what the request says, or else the given one.
  Size outputSize(Size otherwise) const;
  // Adds an output. Its element type is the request's, or else the given one.
  void addOutput(int32_t format, Size size, int32_t type = Tamix_UINT8, int32_t channels = 0);

  // Runs the operator once. Returns its status; with an output of an adapted size, the record says which.
  int32_t run(int32_t operator_type);

  // What an operator writes besides pictures.
  uint32_t count = 0;
  float means[4] = {};
  float stds[4] = {};
  double threshold = 0;
  std::vector<uint8_t> element;  // structuring element
  std::vector<uint32_t> histogram;
  std::vector<float> solution;  // perspective matrix
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
