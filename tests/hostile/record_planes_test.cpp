// Where planes lie: directly between inaccessible pages, and with rows gigabytes apart. Every operator, every exported kernel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/hostile/hostile_record.h"
#include "tests/support/count.h"
#include "tests/support/sparse_memory.h"

namespace tamix::test {
namespace {

const auto kRecords = static_cast<uint32_t>(countFromEnvironment("TAMIX_TEST_PLANES", 1));
constexpr int32_t kFarStride = 1'200'000'000;

// The smallest width that is served at all; kNone: none is.
constexpr int32_t kNone = 1000;
int32_t leastWidth(const std::string& name) {
  if (name == "meanFilterCPUUINT8") return kNone;
  if (name.starts_with("resizeBilinearNV21")) return 9;
  if (name == "gaussianFilterCPUUINT8" || name == nameOf(TAMIX_OP_GAUSSIAN_FILTER)) return 8;
  if (name == nameOf(TAMIX_OP_LAPLACIAN_FILTER)) return 8;
  return name == nameOf(TAMIX_OP_MEAN_FILTER) ? 2 : 1;
}

// Kernels and operators that take rows only where they follow each other without padding.
bool refusesPadding(int32_t type) {
  const auto types = {TAMIX_OP_COLOR_TO_HSV, TAMIX_OP_COUNT_NON_ZERO, TAMIX_OP_MERGE, TAMIX_OP_NORMALIZATION, TAMIX_OP_SPLIT};
  return std::ranges::find(types, type) != types.end();
}

testing::AssertionResult sameOutputs(const HostileRecord& actual, const HostileRecord& expected) {
  for (size_t k = 0; k < expected.outputs().size(); ++k) {
    const auto [a, b] = std::ranges::mismatch(actual.outputs()[k], expected.outputs()[k]);
    if (b == expected.outputs()[k].end()) continue;
    return testing::AssertionFailure() << "output " << k << ", byte " << b - expected.outputs()[k].begin() << ": " << +*a
                                       << " instead of " << +*b;
  }
  return testing::AssertionSuccess();
}

// False where a call left everything as prefill(1) made it.
bool hasWritten(const HostileRecord& record) {
  return std::ranges::any_of(record.outputs(), [](std::span<const uint8_t> bytes) {
    for (size_t i = 0; i < bytes.size(); ++i) {
      if (bytes[i] != HostileRecord::patternAt(1, i)) return true;
    }
    return false;
  });
}

// A record's rows, moved apart.
class FarPlanes {
 public:
  explicit FarPlanes(HostileRecord& record) : near_(record.planes()) {
    for (const RecordPlane& plane : near_) plane.image->width_stride = kFarStride;
    far_ = record.planes();
    for (size_t i = 0; i < far_.size(); ++i) {
      const auto& [image, k, rows] = far_[i];
      const bool is_new = i == 0 || image != far_[i - 1].image || k != far_[i - 1].k;
      near_data_.push_back(is_new ? static_cast<uint8_t*>(image->data[k]) : near_data_.back());
      if (is_new) image->data[k] = memory_.reserve(static_cast<size_t>((rows.count * rows.pitch + rows.n) * kMostElement));
      far_data_.push_back(static_cast<uint8_t*>(image->data[k]));
    }
    forEachRow([this](uint8_t* near, uint8_t* far, size_t size) {
      memory_.map(far, size);
      std::memcpy(far, near, size);
    });
  }

  void bringBack() {
    forEachRow([](uint8_t* near, uint8_t* far, size_t size) { std::memcpy(near, far, size); });
  }

 private:
  static constexpr int64_t kMostElement = sizeof(float);

  template <class F>
  void forEachRow(const F& f) {
    for (size_t i = 0; i < far_.size(); ++i) {
      const PlaneRows& near = near_[i].rows;
      const PlaneRows& far = far_[i].rows;
      for (int64_t y = 0; y < far.count; ++y) {
        f(near_data_[i] + y * near.pitch * near.element, far_data_[i] + y * far.pitch * far.element,
          static_cast<size_t>(far.n * far.element));
      }
    }
  }

  SparseMemory memory_;
  std::vector<RecordPlane> near_;
  std::vector<RecordPlane> far_;
  std::vector<uint8_t*> near_data_;
  std::vector<uint8_t*> far_data_;
};

class RecordPlanes : public testing::TestWithParam<int32_t> {};

// A touch outside is a fault that ends the test.
TEST_P(RecordPlanes, LieDirectlyBetweenInaccessiblePages) {
  const int32_t least_width = leastWidth(nameOf(GetParam()));
  for (int32_t width = 1; width <= 66; ++width) {
    uint32_t served = 0;
    for (uint32_t number = 0; served < kRecords && number < 256 * kRecords; ++number) {
      const std::vector<uint8_t> bytes = recipe(GetParam(), static_cast<uint32_t>(width) << 20 | number);
      HostileRecord behind(GetParam(), bytes, Manners::kPlausible, {width, 0, Guard::kBehind});
      SCOPED_TRACE("width " + std::to_string(width) + ", record " + std::to_string(number) + ": " + behind.describe());
      HostileRecord before(GetParam(), bytes, Manners::kPlausible, {width, 0, Guard::kBefore});
      behind.prefill(1);
      before.prefill(1);
      const Outcome outcome = run(behind);
      ASSERT_EQ(run(before).status, outcome.status);
      ASSERT_TRUE(sameOutputs(before, behind));
      const bool is_served = outcome.status == TAMIX_OK && hasWritten(behind);
      if (is_served || width < least_width) ++served;
    }
    ASSERT_EQ(served, kRecords) << "width " << width;
  }
}

// Rows so far apart give what they give side by side, and nothing but rows is touched. Results are converted in every other
// record.
TEST_P(RecordPlanes, MayHaveRowsGigabytesApart) {
#if defined(__aarch64__) && defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the planes take 1 TiB; under emulation the address sanitizer knows of addresses below 2^39 only";
#endif
  const std::string name = nameOf(GetParam());
  const int32_t height = name.starts_with("resizeBilinearNV21") ? 10 : 4;
  // The joined image is packed as bytes, but not as floats.
  const bool may_convert = GetParam() < kFirstKernel && GetParam() != TAMIX_OP_IMAGE_FUSE_OVERLAP;
  const bool is_served = leastWidth(name) != kNone && !refusesPadding(GetParam());
  uint32_t served = 0;
  for (uint32_t number = 0; served < 16 * kRecords && number < (is_served ? 1024 : 32) * kRecords; ++number) {
    const std::vector<uint8_t> bytes = recipe(GetParam(), number);
    const Demand demand = {
        .width = 16, .height = height, .guard = {}, .stride = 1000, .other_type = may_convert && number % 2 == 1};
    HostileRecord near(GetParam(), bytes, Manners::kPlausible, demand);
    if (near.sharesPlanes()) continue;
    SCOPED_TRACE("record " + std::to_string(number) + ": " + near.describe());
    HostileRecord far(GetParam(), bytes, Manners::kPlausible, demand);
    near.prefill(1);
    far.prefill(1);
    FarPlanes planes(far);
    const Outcome outcome = run(near);
    const Outcome far_outcome = run(far);
    planes.bringBack();
    ASSERT_EQ(far_outcome.status, outcome.status) << testing::PrintToString(far_outcome.errors);
    ASSERT_TRUE(sameOutputs(far, near));
    if (outcome.status == TAMIX_OK && hasWritten(near)) ++served;
  }
  EXPECT_EQ(served, is_served ? 16 * kRecords : 0);
}

INSTANTIATE_TEST_SUITE_P(Everything, RecordPlanes, testing::ValuesIn(operatorsAndKernels()),
                         [](const auto& made) { return nameOf(made.param); });

}  // namespace
}  // namespace tamix::test
