// Operators run the way applications run them: an instance, a record, runTamix.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "tamix/tamix.h"
#include "tests/support/image.h"

namespace tamix::test {

// A registered operator of an instance of its own.
class RunningOperator {
 public:
  explicit RunningOperator(int32_t type) : type_(type) {
    TamixConfig config;
    std::memset(&config, 0, sizeof(config));
    initTamixConfig(&config);
    config.perf_level = -1;  // leave the affinity of the test alone
    config.log_level = 5;
    EXPECT_EQ(initTamix(&handle_, &config), TAMIX_OK);
    EXPECT_EQ(registTamixOperator(handle_, type), TAMIX_OK);
  }
  ~RunningOperator() { releaseTamix(&handle_); }
  RunningOperator(const RunningOperator&) = delete;
  RunningOperator& operator=(const RunningOperator&) = delete;

  int32_t run(TamixParams& params) const { return runTamix(handle_, type_, &params); }

 private:
  TamixHandle handle_ = nullptr;
  int32_t type_;
};

// A fresh record with one 8-bit input and one 8-bit output.
inline TamixParams recordOf(const Image<uint8_t>& src, const Image<uint8_t>& dst, int32_t format = Tamix_RGB) {
  TamixParams params;
  initTamixParams(&params);
  params.input[0] = src.record(format, Tamix_UINT8);
  params.output[0] = dst.record(format, Tamix_UINT8);
  return params;
}

}  // namespace tamix::test
