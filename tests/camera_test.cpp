#include "tamix/camera.hpp"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

TEST(CameraSettings, DefaultToThoseOfTheCInterface) {
  TamixParams expected, params;
  initTamixParams(&expected);
  initTamixParams(&params);
  camera::Settings{}.writeTo(params);
  EXPECT_EQ(std::memcmp(&params, &expected, sizeof(params)), 0);
}

TEST(CameraSettings, ReachTheirFields) {
  uint8_t bytes[4] = {};
  float floats[4] = {};
  double threshold = 0;
  uint32_t count = 0;
  const camera::Settings settings{.op_mode = 2,
                                  .border_params = {3, 4, 5, 6},
                                  .interpolation = 7,
                                  .geom_border_type = 8,
                                  .geom_border_value = 9,
                                  .geom_border_value_ptr = bytes,
                                  .nonzero_count = &count,
                                  .kernel_size = 10,
                                  .kernel_height = 11,
                                  .kernel_width = 12,
                                  .morph_shape = 13,
                                  .morph_type = 14,
                                  .border_type = 15,
                                  .border_value = 16,
                                  .iterations = 17,
                                  .abs_output = 18,
                                  .scale = 19,
                                  .delta = 20,
                                  .kernel = bytes + 1,
                                  .mean_out = floats,
                                  .std_out = floats + 1,
                                  .mean_value = 21,
                                  .std_value = 22,
                                  .mean = floats + 2,
                                  .std = floats + 3,
                                  .reorder = 23,
                                  .affine_angle = 24,
                                  .affine_scale = 25,
                                  .abs_scale = 26,
                                  .offset = 27,
                                  .hist_dims = 28,
                                  .hist_size = {29, 30, 31, 32},
                                  .hist_channels = {33, 34, 35, 36},
                                  .hrange_max = {37, 38, 39, 40},
                                  .hrange_min = {41, 42, 43, 44},
                                  .thresh = &threshold,
                                  .maxval = 45,
                                  .thresh_type = 46,
                                  .fuse_overlap = 47,
                                  .fuse_direction = 48,
                                  .fuse_weights = floats};
  TamixParams params;
  initTamixParams(&params);
  settings.writeTo(params);
  const auto numbers = {params.op_mode,          params.border_params[0],  params.border_params[3], params.interpolation,
                        params.geom_border_type, params.geom_border_value, params.kernel_size,      params.kernel_height,
                        params.kernel_width,     params.morph_shape,       params.morph_type,       params.border_type,
                        params.border_value,     params.iterations,        params.abs_output,       params.reorder,
                        params.hist_dims,        params.hist_size[3],      params.hist_channels[3], params.hrange_max[3],
                        params.hrange_min[3],    params.thresh_type,       params.fuse_overlap,     params.fuse_direction};
  EXPECT_EQ(std::vector<int32_t>(numbers),
            std::vector<int32_t>({2, 3, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 23, 28, 32, 36, 40, 44, 46, 47, 48}));
  const auto reals = {params.scale,        params.delta,        double{params.mean_value}, double{params.std_value},
                      params.affine_angle, params.affine_scale, params.abs_scale,          params.offset,
                      params.maxval};
  EXPECT_EQ(std::vector<double>(reals), std::vector<double>({19, 20, 21, 22, 24, 25, 26, 27, 45}));
  EXPECT_EQ(params.geom_border_value_ptr, bytes);
  EXPECT_EQ(params.nonzero_count, &count);
  EXPECT_EQ(params.kernel, bytes + 1);
  EXPECT_EQ(params.mean_out, floats);
  EXPECT_EQ(params.std_out, floats + 1);
  EXPECT_EQ(params.mean, floats + 2);
  EXPECT_EQ(params.std, floats + 3);
  EXPECT_EQ(params.thresh, &threshold);
  EXPECT_EQ(params.fuse_weights, floats);
}

TEST(CameraViews, DescribeTheirPlanes) {
  std::vector<uint8_t> bytes(4 * 6 * 3);
  const TamixImage rgb = camera::packed(bytes, Tamix_RGB, 4, 6).image();
  EXPECT_EQ(rgb.data[0], bytes.data());
  EXPECT_EQ(rgb.type, Tamix_UINT8);
  EXPECT_EQ(rgb.channel, 3);
  const float* const luma = nullptr;
  EXPECT_EQ(camera::packed(luma, Tamix_GRAY, 4, 6).image().type, Tamix_FLOAT32);
  const TamixImage nv21 = camera::biplanar(bytes.data(), bytes.data() + 24, Tamix_NV21, 4, 6, 5).image();
  EXPECT_EQ(nv21.data[1], bytes.data() + 24);
  EXPECT_EQ(nv21.width_stride, 5);
  const TamixImage i420 = camera::i420(bytes.data(), bytes.data() + 1, bytes.data() + 2, 4, 6).image();
  EXPECT_EQ(i420.data[2], bytes.data() + 2);
}

// The last row of a plane is not padded; one element less is too short, and negative sizes hold nothing.
TEST(CameraViews, OfShortSpansAreRefused) {
  std::vector<uint8_t> bytes(2 * 7 * 3 + 5 * 3);
  const auto view = [&](size_t n) { return camera::packed(std::span<uint8_t>(bytes).first(n), Tamix_RGB, 5, 3, 7); };
  EXPECT_EQ(view(bytes.size()).image().data[0], bytes.data());
  EXPECT_EQ(view(bytes.size() - 1).image().data[0], nullptr);
  const LogCapture log;
  camera::Instance instance;
  EXPECT_EQ(instance.run(TAMIX_OP_FLIP, {view(bytes.size() - 1)}, {view(bytes.size())}, {.op_mode = 0}).code(),
            TAMIX_ERR_INVALID_IMAGE);
}

TEST(CameraInstance, RunsOperatorsWithoutRegistration) {
  const LogCapture log;
  camera::Instance instance({.num_threads = 1});
  ASSERT_TRUE(instance.status()) << instance.status().name();
  const std::vector<uint8_t> src = {1, 2, 3, 4, 5, 6};
  std::vector<uint8_t> dst(6);
  const auto flip = [&] {
    return instance.run(TAMIX_OP_FLIP, {camera::packed(src, Tamix_GRAY, 3, 2)}, {camera::packed(dst, Tamix_GRAY, 3, 2)},
                        {.op_mode = 1});
  };
  ASSERT_TRUE(flip()) << flip().name();
  EXPECT_EQ(dst, std::vector<uint8_t>({3, 2, 1, 6, 5, 4}));

  // An unknown operator drops those registered before; they come back by themselves.
  EXPECT_STREQ(instance.run(5, {}, {}).name(), "TAMIX_ERR_CREATE_OPERATOR");
  EXPECT_TRUE(flip());
  ASSERT_EQ(registTamixOperator(instance.handle(), TAMIX_OP_ADD), TAMIX_OK);
  EXPECT_TRUE(instance.prepare(TAMIX_OP_ADD));

  camera::Instance moved(std::move(instance));
  EXPECT_TRUE(moved.prepare(TAMIX_OP_FLIP));
  EXPECT_EQ(instance.handle(), nullptr);
  EXPECT_EQ(flip().code(), TAMIX_ERR_INVALID_HANDLE);
  instance = std::move(moved);
  EXPECT_TRUE(flip());
}

TEST(CameraInstance, KeepsTheStatusOfAFailedCreation) {
  const LogCapture log;
  camera::Instance instance({.perf_level = 7});
  EXPECT_FALSE(instance.status());
  EXPECT_STREQ(instance.run(TAMIX_OP_FLIP, {}, {}).name(), "TAMIX_ERR_INVALID_ARGUMENT");
}

TEST(StatusName, KnowsTheStatuses) {
  EXPECT_STREQ(tamix_status_name(-19), "TAMIX_ERR_CREATE_OPERATOR");
  EXPECT_STREQ(tamix_status_name(-5), "unknown status");
}

}  // namespace
}  // namespace tamix::test
