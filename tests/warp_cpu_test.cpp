// The warp, remap and perspective-solve operators: refusals in their order, and what they pass to their kernels.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "tests/support/image.h"
#include "tests/support/refusals.h"

namespace tamix::test {
namespace {

// A record whose images are 6x4, with memory of their own.
struct Record {
  TamixParams params;
  Image<uint8_t> src{{6, 4, 6, 4}};
  Image<uint8_t> dst{{6, 4, 6, 4}};
  Image<float> map1{{6, 4, 6, 1}};
  Image<float> map2{{6, 4, 6, 1}};
  uint8_t border[4] = {1, 2, 3, 4};

  Record() { initTamixParams(&params); }
  static TamixImage image(void* data, int32_t format, int32_t type, int32_t width, int32_t height, int32_t channel) {
    TamixImage made = imageRecord(format, type, width, height, channel);
    made.data[0] = data;
    return made;
  }
};

void expectRefusals(int32_t type, const std::string& file, const std::function<void(Record&)>& fill,
                    const std::vector<Refusal>& refusals) {
  Record record;
  fill(record);
  expectRefusals(type, "runtime/cpu/op/" + file, record.params, refusals);
}

void fillRemap(Record& r) {
  r.params.input[0] = Record::image(r.src.data(), Tamix_RGB, Tamix_UINT8, 6, 4, 3);
  r.params.input[1] = Record::image(r.map1.data(), Tamix_GRAY, Tamix_FLOAT32, 6, 4, 1);
  r.params.input[2] = Record::image(r.map2.data(), Tamix_GRAY, Tamix_FLOAT32, 6, 4, 1);
  r.params.output[0] = Record::image(r.dst.data(), Tamix_RGB, Tamix_UINT8, 6, 4, 3);
  r.params.interpolation = 1;
  r.params.geom_border_type = 0;
  r.params.geom_border_value_ptr = r.border;
}

TEST(RemapCPU, RefusesInOrder) {
  const auto maps = [](const char* map1, const char* map2) {
    return std::vector<std::string>{std::string("RemapCPU illeagl -------map1 ") + map1,
                                    std::string("RemapCPU illeagl -------map2 ") + map2};
  };
  const char* const good = "channel = 1, type = 8, width = 6, height = 4";
  expectRefusals(
      TAMIX_OP_REMAP, "remap_cpu.cpp", fillRemap,
      {
          {"no maps", [](auto& p) { p.input[1] = p.input[2] = TamixImage{}; }, "RemapCPU illeagl map1 data nullptr"},
          {"no y map", [](auto& p) { p.input[2] = TamixImage{}; }, "RemapCPU only support two  float32 map now"},
          {"a map of two channels", [](auto& p) { p.input[1].channel = 2, p.input[1].height = 2; },
           maps("channel = 2, type = 8, width = 6, height = 2", good)},
          {"a map of bytes", [](auto& p) { p.input[2].type = 1; }, maps(good, "channel = 1, type = 1, width = 6, height = 4")},
          {"unequal maps", [](auto& p) { p.input[2].width = 5; }, maps(good, "channel = 1, type = 8, width = 5, height = 4")},
          {"maps unlike the output", [](auto& p) { p.output[0].height = 3, p.input[0].type = 8; },
           "RemapCPU map shape = {6,4} dosen't match output shape = {6,3}"},
          {"a float image", [](auto& p) { p.input[0].type = 8, p.output[0].channel = 1; }, "Recieve unsupported data type: 8"},
          {"unequal channels", [](auto& p) { p.output[0].channel = 1; },
           "Recieve unsupported src channel = 3 , dst channel = 1", "RemapCPUUINT8"},
          {"two planes",
           [](auto& p) {
             p.input[0].format = Tamix_NV12, p.input[0].channel = p.output[0].channel = 2;
             p.input[0].data[1] = p.input[0].data[0];
           },
           "RemapCPU dosen't support format 17 with 2 channels", "RemapCPUUINT8"},
      });
}

TEST(RemapCPU, PassesStridesAndSettings) {
  const RunningOperator instance(TAMIX_OP_REMAP);
  Record record;
  fillRemap(record);
  const auto src = randomImage<uint8_t>({6, 4, 9, 3});
  Image<uint8_t> dst({6, 4, 8, 3}), expected({6, 4, 8, 3});
  // Columns and rows mirrored, and one pixel outside; maps with strides of their own.
  Image<float> x_map({6, 4, 7, 1}), y_map({6, 4, 11, 1});
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 6; ++x) {
      x_map.at(y, x) = static_cast<float>(5 - x);
      y_map.at(y, x) = static_cast<float>(3 - y);
      for (int c = 0; c < 3; ++c) expected.at(y, x, c) = src.at(3 - y, 5 - x, c);
    }
  }
  x_map.at(2, 3) = -9.0f;
  for (int c = 0; c < 3; ++c) expected.at(2, 3, c) = record.border[c];
  record.params.input[0] = src.record(Tamix_RGB, Tamix_UINT8);
  record.params.input[1] = x_map.record(Tamix_GRAY, Tamix_FLOAT32);
  record.params.input[2] = y_map.record(Tamix_GRAY, Tamix_FLOAT32);
  record.params.output[0] = dst.record(Tamix_RGB, Tamix_UINT8);
  for (const int32_t interpolation : {0, 1}) {
    dst.fill([](int32_t, size_t) { return 0; });
    record.params.interpolation = interpolation;
    LogCapture log(1);
    ASSERT_EQ(instance.run(record.params), TAMIX_OK);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"RemapCPUUINT8 forward"}));
    EXPECT_TRUE(sameBytes(dst, expected));
  }
}

void fillPerspective(Record& r) {
  for (size_t i = 0; i < 9; ++i) r.map1.data()[i] = i % 4 == 0 ? 1.0f : 0.0f;
  r.params.input[0] = Record::image(r.src.data(), Tamix_RGB, Tamix_UINT8, 6, 4, 3);
  r.params.input[1] = Record::image(r.map1.data(), Tamix_GRAY, Tamix_FLOAT32, 3, 3, 1);
  r.params.output[0] = Record::image(r.dst.data(), Tamix_RGB, Tamix_UINT8, 6, 4, 3);
}

void setFormat(TamixParams& p, int32_t format, int32_t channel) {
  for (TamixImage* const image : {&p.input[0], &p.output[0]}) {
    image->format = format;
    image->channel = channel;
    image->data[1] = image->data[0];
  }
}

TEST(WarpPerspectiveCPU, RefusesInOrder) {
  std::vector<Refusal> refusals = {
      {"unequal channels", [](auto& p) { p.output[0].channel = 1, p.output[0].format = Tamix_GRAY; },
       "Recieve unsupported input and output channel: 3, 1"},
      {"unequal formats", [](auto& p) { p.output[0].format = Tamix_BGR, p.input[1].width = 2; },
       "Recieve unsupported input and output format: 2, 1"},
      {"a matrix of four rows", [](auto& p) { p.input[1].width = 1, p.input[1].height = 4; },
       "trans_matrix illegal shape  (4,1,1)"},
      {"a matrix of two channels", [](auto& p) { p.input[1].channel = 2, p.output[0].type = 8; },
       "trans_matrix illegal shape  (3,3,2)"},
      {"no matrix", [](auto& p) { p.input[1] = TamixImage{}; }, "trans_matrix illegal shape  (0,0,0)"},
      {"a float output", [](auto& p) { p.output[0].type = 8; }, "Recieve unsupported data type: 8"},
      {"a matrix of bytes", [](auto& p) { p.input[1].type = 1; }, "Recieve unsupported data type: 1"},
      {"a float input", [](auto& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"},
  };
  for (const int32_t format : {0, 8, 17, 18, 19, 20, 4352, 8192, 16385, 16386}) {
    refusals.push_back({"format", [format](auto& p) { setFormat(p, format, 1); },
                        "warpPerspectiveCPUUINT8 dosen't support format " + std::to_string(format)});
  }
  expectRefusals(TAMIX_OP_WARP_PERSPECTIVE, "warpperspective_cpu.cpp", fillPerspective, refusals);
}

TEST(WarpPerspectiveCPU, DefaultsToBilinearWithConstantBorder) {
  const RunningOperator instance(TAMIX_OP_WARP_PERSPECTIVE);
  const auto src = randomImage<uint8_t>({6, 4, 8, 1});
  for (const int32_t format : {1, 2, 3, 4, 9, 16, 21, 4095, 4096, 4351, 8193}) {
    Record record;
    fillPerspective(record);
    record.map1.data()[2] = 0.5f;  // half a pixel to the right
    const Image<uint8_t> dst({6, 4, 7, 1});
    record.params.input[0] = src.record(format, Tamix_UINT8);
    record.params.output[0] = dst.record(format, Tamix_UINT8);
    record.params.geom_border_value_ptr = record.border;
    LogCapture log(1);
    ASSERT_EQ(instance.run(record.params), TAMIX_OK);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"warpPerspectiveCPUUINT8 forward"}));
    EXPECT_EQ(dst.at(1, 0), std::nearbyint(0.5 * (record.border[0] + src.at(1, 0))));
    EXPECT_EQ(dst.at(1, 2), std::nearbyint(0.5 * (src.at(1, 1) + src.at(1, 2))));
  }
}

void fillAffine(Record& r) {
  r.params.input[0] = Record::image(r.src.data(), Tamix_RGB, Tamix_UINT8, 6, 4, 3);
  r.params.output[0] = Record::image(r.dst.data(), Tamix_RGB, Tamix_UINT8, 6, 4, 3);
}

TEST(WarpAffineCPU, RefusesInOrder) {
  expectRefusals(TAMIX_OP_WARP_AFFINE, "warpaffine_cpu.cpp", fillAffine,
                 {
                     {"unequal channels", [](auto& p) { p.output[0].channel = 1, p.output[0].format = Tamix_GRAY; },
                      "Recieve unsupported input and output channel: 3, 1"},
                     {"unequal formats", [](auto& p) { p.output[0].format = Tamix_BGR, p.output[0].width = 2; },
                      "Recieve unsupported input and output format: 2, 1"},
                     {"unequal sizes", [](auto& p) { p.output[0].width = 2, p.output[0].type = 8; },
                      "Recieve unsupported input and output shape: (4, 6) and (4, 2)"},
                     {"a float output", [](auto& p) { p.output[0].type = 8; }, "Recieve unsupported data type: 1"},
                     {"a float input", [](auto& p) { p.input[0].type = 8; }, "Recieve unsupported data type: 8"},
                 });
}

TEST(WarpAffineCPU, TruncatesAngleAndScaleAndWalksPlanes) {
  const RunningOperator instance(TAMIX_OP_WARP_AFFINE);
  const auto luma = randomImage<uint8_t>({32, 20, 32, 1}, 1);
  const auto chroma = randomImage<uint8_t>({16, 10, 16, 2}, 2);
  const auto run = [&](int32_t format, double angle, double scale, bool third_plane) {
    std::vector<Image<uint8_t>> planes;
    planes.emplace_back(Shape{32, 20, 32, 1});
    planes.emplace_back(third_plane ? Shape{16, 10, 16, 1} : Shape{16, 10, 16, 2});
    planes.emplace_back(Shape{16, 10, 16, 1});
    TamixParams params;
    initTamixParams(&params);
    params.input[0] = luma.record(format, Tamix_UINT8);
    params.output[0] = planes[0].record(format, Tamix_UINT8);
    params.input[0].channel = params.output[0].channel = 2;
    params.input[0].data[1] = chroma.data();
    params.input[0].data[2] = third_plane ? chroma.data() : nullptr;
    params.output[0].data[1] = planes[1].data();
    params.output[0].data[2] = third_plane ? planes[2].data() : nullptr;
    params.affine_angle = angle;
    params.affine_scale = scale;
    EXPECT_EQ(instance.run(params), TAMIX_OK);
    return planes;
  };
  // The part left of the last column and above the last row of an image that is not turned is a copy.
  const auto expectCopy = [](const Image<uint8_t>& actual, const uint8_t* src) {
    const Shape& s = actual.shape();
    for (int y = 0; y < s.height - 1; ++y) {
      EXPECT_EQ(
          std::memcmp(actual.row(y), src + static_cast<size_t>(y) * s.pitch(), s.pitch() - static_cast<size_t>(s.channel)), 0);
    }
    EXPECT_EQ(actual.at(s.height - 1, 0), 0xA5);
  };
  for (const int32_t format : {8, 17, 18, 19, 4352, 8192}) {
    const auto planes = run(format, -0.9, 1.9, false);
    expectCopy(planes[0], luma.data());
    expectCopy(planes[1], chroma.data());
  }
  const auto three = run(Tamix_I420, 0.9, 1.0, true);
  expectCopy(three[1], chroma.data());
  expectCopy(three[2], chroma.data());
  const auto turned = run(Tamix_NV21, 44.9, 2.7, false);
  EXPECT_TRUE(sameBytes(turned[0], run(Tamix_NV21, 44.0, 2.0, false)[0]));
  EXPECT_FALSE(sameBytes(turned[0], run(Tamix_NV21, 45.0, 2.0, false)[0]));
  run(Tamix_NV21, NAN, 1e300, false);
}

void fillPoints(Record& r) {
  r.params.input[0] = Record::image(r.map1.data(), Tamix_GRAY, Tamix_FLOAT32, 4, 1, 2);
  r.params.input[1] = Record::image(r.map1.data(), Tamix_GRAY, Tamix_FLOAT32, 2, 2, 2);
  for (TamixImage* const points : {&r.params.input[0], &r.params.input[1]}) points->data[1] = r.map1.row(1);
  r.params.output[0] = Record::image(r.map2.data(), Tamix_GRAY, Tamix_FLOAT32, 3, 3, 1);
}

TEST(GetPerspectiveTransformCPU, RefusesInOrder) {
  const auto message = [](const char* which, int channel, int type, int size) {
    return std::vector<std::string>{
        std::string("GetPerspectiveTransformCPU expected  ") + which +
        "_matrix channel == 2 , type == Tamix_FLOAT32(8) , input 4 points------- while channel = " + std::to_string(channel) +
        ", type = " + std::to_string(type) + " , input size = " + std::to_string(size) + " "};
  };
  expectRefusals(TAMIX_OP_GET_PERSPECTIVE_TRANSFORM, "getperspectivetrans_cpu.cpp", fillPoints,
                 {
                     {"three points", [](auto& p) { p.input[0].width = 3, p.input[1].width = 1; }, message("src", 2, 8, 3)},
                     {"bytes", [](auto& p) { p.input[0].type = 1; }, message("src", 2, 1, 4)},
                     {"one channel", [](auto& p) { p.input[1].channel = 1; }, message("dst", 1, 8, 4)},
                     {"no second set", [](auto& p) { p.input[1] = TamixImage{}; }, message("dst", 0, 0, 0)},
                     {"no room", [](auto& p) { p.output[0].height = 2; }, "Recieve unsupported output shape: (2, 3)"},
                 });
}

TEST(GetPerspectiveTransformCPU, WritesTheTypeThatTheOutputDeclares) {
  const RunningOperator instance(TAMIX_OP_GET_PERSPECTIVE_TRANSFORM);
  Record record;
  fillPoints(record);
  const float corners_x[] = {0, 1, 1, 0}, corners_y[] = {0, 0, 1, 1}, moved_x[] = {7, 9, 9, 7}, moved_y[] = {5, 5, 8, 8};
  const float* const planes[] = {corners_x, corners_y, moved_x, moved_y};
  for (size_t k = 0; k < 4; ++k) record.params.input[k / 2].data[k % 2] = const_cast<float*>(planes[k]);
  ASSERT_EQ(instance.run(record.params), TAMIX_OK);
  const float expected[] = {2, 0, 7, 0, 3, 5, 0, 0, 1};
  EXPECT_EQ(std::memcmp(record.map2.data(), expected, sizeof(expected)), 0);

  const Image<uint8_t> bytes({3, 3, 3, 1});
  record.params.output[0] = bytes.record(Tamix_GRAY, Tamix_UINT8);
  ASSERT_EQ(instance.run(record.params), TAMIX_OK);
  for (size_t i = 0; i < 9; ++i) EXPECT_EQ(bytes.data()[i], expected[i]);
}

}  // namespace
}  // namespace tamix::test
