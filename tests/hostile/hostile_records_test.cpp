// Every operator and exported kernel under records of all kinds. A touch outside the declared memory is a fault that ends the
// test.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <map>

#include "tests/hostile/hostile_record.h"
#include "tests/support/allocation.h"
#include "tests/support/count.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

const auto kRecords = static_cast<uint32_t>(countFromEnvironment("TAMIX_TEST_RECORDS", 200));
const auto kRuns = static_cast<size_t>(countFromEnvironment("TAMIX_TEST_RUNS", 100));
const auto kWarps = static_cast<uint32_t>(countFromEnvironment("TAMIX_TEST_WARPS", 5000));

// Declared floats are made of the bytes that the output holds: of its old ones where the operator writes nothing, or packed
// rows.
bool widensWhatItDidNotWrite(HostileRecord& record) {
  const TamixParams& params = record.params();
  const auto widens = [&](int32_t k) { return params.output[k].type != params.input[0].type; };
  if (record.operatorType() == TAMIX_OP_SPLIT) return widens(3);
  if (!widens(0)) return false;
  switch (record.operatorType()) {
    case TAMIX_OP_COUNT_NON_ZERO:
    case TAMIX_OP_MEAN_STD:
    case TAMIX_OP_ERODE:
    case TAMIX_OP_DILATE:
    case TAMIX_OP_MORPHOLOGY_EX:
    case TAMIX_OP_GET_STRUCTURING_ELEMENT:
      return true;
    case TAMIX_OP_GAUSSIAN_FILTER:
      return params.kernel_size != 3 || params.kernel_height != -1;
    case TAMIX_OP_COLOR_TO_HSV:
    case TAMIX_OP_COLOR_TO_LAB:
    case TAMIX_OP_COLOR3_TO_COLOR4:
    case TAMIX_OP_COLOR4_TO_COLOR3:
    case TAMIX_OP_LAB_TO_COLOR:
    case TAMIX_OP_YUV_TO_COLOR:
      // Pixels have the bytes that formats say, floats the declared ones.
      return params.output[0].channel < 3 && params.output[0].width_stride != params.output[0].width;
    case TAMIX_OP_CONCAT:
    case TAMIX_OP_WARP_AFFINE:
    case TAMIX_OP_IMAGE_FUSE_OVERLAP:
      return params.output[0].width_stride != params.output[0].width;
    default:
      return false;
  }
}

Outcome runFilled(HostileRecord& record, uint32_t fill) {
  const FilledAllocations filled(static_cast<Fill>(fill));
  return run(record);
}

// Whether a step failed for lack of memory and said so.
bool lacksMemory(int32_t operator_type, int32_t status, const std::vector<std::string>& errors) {
  const auto says = [&](std::initializer_list<const char*> messages) {
    const auto ends = [&](const char* message) { return !errors.empty() && errors.back().ends_with(message); };
    return std::any_of(messages.begin(), messages.end(), ends);
  };
  switch (status) {
    case TAMIX_ERR_INVALID_HANDLE:
      return says({"initTamix() --- failed to allocate the instance"});
    case TAMIX_ERR_RUNTIME:
      return says({"initTamix() --- failed to allocate memory", "create() --- Create Runtime failed.",
                   "_createRuntime() --- Create CPU runtime failed, init failed."});
    case TAMIX_ERR_CREATE_OPERATOR:
      return says({("Create operator [" + std::to_string(operator_type) + "] failed.").c_str()});
    case TAMIX_ERR_UNSUPPORTED:  // opening and closing report a failed step
      return says({"morph_open erode fail.", "morph_open dilate fail.", "morph_close dilate fail.", "morph_close erode fail."});
    default:
      return status == TAMIX_ERR_NO_MEMORY && !errors.empty();
  }
}

class HostileRecords : public testing::TestWithParam<int32_t> {};

// Refusals say why; the same call gives the same bytes over whatever the memory held before.
TEST_P(HostileRecords, GiveAStatusAndBytesOfTheirInputsOnly) {
  uint32_t served = 0;
  for (uint32_t number = 0; number < kRecords; ++number) {
    SCOPED_TRACE("record " + std::to_string(number));
    const Manners manners = number % 4 == 0 ? Manners::kPlausible : Manners::kHostile;
    const std::vector<uint8_t> bytes = recipe(GetParam(), number);
    HostileRecord first(GetParam(), bytes, manners);
    HostileRecord second(GetParam(), bytes, manners);
    SCOPED_TRACE(first.describe());
    // Outputs and scratch memory hold zeros, ones or noise before, and something else the second time.
    const uint32_t fill = number % 3;
    const uint32_t other_fill = (number + 1) % 3;
    first.prefill(fill);
    second.prefill(other_fill);
    const Outcome outcome = runFilled(first, fill);
    const Outcome again = runFilled(second, other_fill);
    ASSERT_TRUE(isStatusOfRun(outcome.status)) << outcome.status;
    ASSERT_EQ(again.status, outcome.status);
    ASSERT_EQ(again.errors.size(), outcome.errors.size());
    // The mean of bytes is refused without a word.
    if (outcome.status != TAMIX_OK && outcome.status != TAMIX_ERR_BAD_ARGUMENT && !isMeanFilter(GetParam())) {
      ASSERT_FALSE(outcome.errors.empty());
    }
    if (outcome.status == TAMIX_OK) ++served;
    if (widensWhatItDidNotWrite(first)) continue;
    for (size_t k = 0; k < first.outputs().size(); ++k) {
      const std::span<uint8_t> a = first.outputs()[k];
      const std::span<uint8_t> b = second.outputs()[k];
      for (size_t i = 0; i < a.size(); ++i) {
        const bool untouched = a[i] == HostileRecord::patternAt(fill, i) && b[i] == HostileRecord::patternAt(other_fill, i);
        ASSERT_TRUE(a[i] == b[i] || untouched) << "output " << k << ", byte " << i << ": " << +a[i] << " and " << +b[i];
      }
    }
  }
  const bool is_refused = GetParam() >= kFirstKernel && isMeanFilter(GetParam());
  EXPECT_EQ(served > kRecords / 50, !is_refused) << served;
}

// Without memory each step of a session says so, or manages without and gives the same bytes; it leaves nothing behind, and
// the next try succeeds.
TEST_P(HostileRecords, SurviveEveryFailedAllocation) {
  bool allocates = false;
  for (uint32_t number = 0; number < (GetParam() < kFirstKernel ? 24 : 96); number += 4) {
    SCOPED_TRACE("record " + std::to_string(number));
    const std::vector<uint8_t> bytes = recipe(GetParam(), number);
    HostileRecord record(GetParam(), bytes, Manners::kPlausible);
    SCOPED_TRACE(record.describe());
    record.prefill(2);
    const Outcome outcome = run(record);
    bool has_struck = true;
    for (int64_t n = 0; has_struck; ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      HostileRecord starved(GetParam(), bytes, Manners::kPlausible);
      starved.prefill(2);
      bool has_failed = false;
      const int64_t live_before = liveBytes();
      {
        const LogCapture log(4);
        Session session(GetParam(), starved.threadNumber(), number == 4 ? 3 : Tamix_ARM_CPU);
        int32_t status;
        {
          const FailingAllocation failing(n);
          status = session.run(starved);
          has_struck = failing.struck();
        }
        allocates |= has_struck;
        if (n == 0 && record.kernel() == nullptr) {
          ASSERT_EQ(status, TAMIX_ERR_INVALID_HANDLE);
        }
        has_failed = status != outcome.status;
        if (has_failed) {
          ASSERT_TRUE(has_struck && lacksMemory(GetParam(), status, log.errors())) << status;
          ASSERT_EQ(session.run(starved), outcome.status);
        }
      }
      ASSERT_EQ(liveBytes(), live_before);
      if (has_failed && starved.sharesPlanes()) continue;  // the input may be partly overwritten
      for (size_t k = 0; k < record.outputs().size(); ++k) {
        ASSERT_TRUE(std::ranges::equal(record.outputs()[k], starved.outputs()[k])) << "output " << k;
      }
    }
  }
  EXPECT_EQ(allocates, GetParam() < kFirstKernel || kExportedKernels[static_cast<size_t>(GetParam() - kFirstKernel)].allocates);
}

// An instance needs no more memory after many runs than after the first ones.
TEST_P(HostileRecords, LeaveNoMemoryBehind) {
  std::deque<HostileRecord> records;
  for (uint32_t number = 0; number < 8; ++number) {
    records.emplace_back(GetParam(), recipe(GetParam(), number), number % 2 == 0 ? Manners::kPlausible : Manners::kHostile);
  }
  Session session(GetParam(), 2);
  int64_t live_bytes = 0;
  for (size_t i = 0; i < 2 * records.size() + kRuns; ++i) {
    if (i == 2 * records.size()) live_bytes = liveBytes();
    session.run(records[i % records.size()]);
  }
  EXPECT_EQ(liveBytes(), live_bytes);
}

INSTANTIATE_TEST_SUITE_P(Everything, HostileRecords, testing::ValuesIn(operatorsAndKernels()),
                         [](const auto& made) { return nameOf(made.param); });

// Matrices, maps and points of any numbers.
TEST(Warps, TakeAnyNumbers) {
  constexpr int32_t kTypes[] = {TAMIX_OP_WARP_PERSPECTIVE, TAMIX_OP_REMAP, TAMIX_OP_GET_PERSPECTIVE_TRANSFORM,
                                TAMIX_OP_WARP_AFFINE};
  uint32_t served = 0;
  for (uint32_t number = 0; number < kWarps; ++number) {
    const int32_t type = kTypes[number % std::size(kTypes)];
    const Manners manners = number % 8 < 4 ? Manners::kPlausible : Manners::kHostile;
    HostileRecord record(type, recipe(type, 1000000 + number), manners);
    const Outcome outcome = run(record);
    ASSERT_TRUE(isStatusOfRun(outcome.status)) << outcome.status << " of record " << number;
    if (outcome.status == TAMIX_OK) ++served;
  }
  EXPECT_GT(served, kWarps / 3);
}

// Classes of bad records: the first records of the operators they concern have some of each.
TEST(HostileRecord, ComesInEveryClass) {
  using P = const TamixParams&;
  const auto any = [](P p, auto is) {
    return std::any_of(p.input, p.input + 4, is) || std::any_of(p.output, p.output + 4, is);
  };
  const auto isNV = [](const TamixImage& i) { return i.type != 0 && (i.format == Tamix_NV12 || i.format == Tamix_NV21); };
  const auto isFrame = [=](const TamixImage& i) { return isNV(i) || (i.type != 0 && i.format == Tamix_I420); };
  const auto area = [](const TamixImage& i) { return static_cast<double>(i.width) * i.height * std::max(i.channel, 1); };
  // Whether an image begins with a NaN.
  const auto isNaN = [](const TamixImage& i) {
    return i.type == Tamix_FLOAT32 && i.data[0] != nullptr && std::min(i.width, i.height) > 0 &&
           std::min(i.channel, i.width_stride) >= 0 && std::isnan(*static_cast<float*>(i.data[0]));
  };
  struct Class {
    const char* what;
    std::function<bool(P)> holds;
    std::vector<int32_t> operators = {kOperators.begin(), kOperators.end()};
  };
  const std::vector<int32_t> morphology = {42, 43, 46, 44}, filters = {3, 4, 8}, warps = {56, 61};
  const Class classes[] = {
      {"only an output", [](P p) { return p.input[0].type == 0 && p.output[0].type != 0; }},
      {"plane 0 null", [](P p) { return p.input[0].type != 0 && p.input[0].data[0] == nullptr; }},
      {"plane 1 null", [=](P p) { return any(p, [=](auto& i) { return isFrame(i) && i.data[1] == nullptr; }); }, {0, 22, 27}},
      {"plane 2 null", [=](P p) { return any(p, [](auto& i) { return i.format == Tamix_I420 && i.data[2] == nullptr; }); }},
      {"empty", [=](P p) { return any(p, [](auto& i) { return i.type != 0 && (i.width == 0 || i.height == 0); }); }},
      {"negative size", [](P p) { return p.input[0].width < 0 || p.output[0].height < 0; }},
      {"extreme size", [=](P p) { return any(p, [](auto& i) { return i.width > 1 << 24 || i.height > 1 << 24; }); }},
      {"short stride", [](P p) { return p.input[0].width_stride > 0 && p.input[0].width_stride < p.input[0].width; }},
      {"negative stride", [](P p) { return p.input[0].width_stride < 0; }},
      {"odd frame", [=](P p) { return any(p, [=](auto& i) { return isNV(i) && (i.width | i.height) % 2 != 0; }); }},
      {"narrow I420", [](P p) { return p.input[0].format == Tamix_I420 && p.input[0].width < 16; }, {0, 17, 18, 19, 27}},
      {"negative channels", [](P p) { return p.input[0].channel < 0; }},
      {"many channels", [](P p) { return p.input[0].channel > 4; }},
      {"unequal channels", [](P p) { return p.input[0].channel != p.output[0].channel; }},
      {"unknown format", [](P p) { return p.input[0].format > 20 || p.output[0].format < 0; }},
      {"unknown type", [](P p) { return p.input[0].type != 0 && p.input[0].type != 1 && p.input[0].type != 8; }},
      {"mixed types", [](P p) { return p.input[0].type != p.output[0].type; }},
      {"products beyond 2^32", [=](P p) { return any(p, [=](auto& i) { return area(i) > 4294967296.0; }); }},
      {"kernel sizes 0 or negative", [](P p) { return p.kernel_size == 0 || p.kernel_width < -1; }, filters},
      {"unequal kernel sizes", [](P p) { return p.kernel_height != p.kernel_width; }, filters},
      {"kernels larger than the image", [](P p) { return p.kernel_height > p.input[0].height; }, morphology},
      {"unknown borders", [](P p) { return p.border_type > 4 || p.border_type < -1; }, filters},
      {"unknown borders of warps", [](P p) { return p.geom_border_type > 4; }, {15, 56, 61}},
      {"negative or wide borders", [](P p) { return p.border_params[0] < 0 || p.border_params[2] > p.input[0].width; }, {15}},
      {"one column", [](P p) { return p.input[0].width == 1; }},
      {"one row", [](P p) { return p.input[0].height == 1; }},
      {"inverted rectangles", [](P p) { return p.border_params[0] > p.border_params[1]; }, {50}},
      {"rectangles outside", [](P p) { return p.border_params[3] > p.input[0].width; }, {50}},
      {"unknown interpolation", [](P p) { return p.interpolation > 18 || p.interpolation < -1; }, warps},
      {"NaN in matrices and maps", [=](P p) { return isNaN(p.input[1]); }, {45, 56, 61}},
      {"histogram dimensions", [](P p) { return p.hist_dims < 0 || p.hist_dims > 4; }, {2}},
      {"no bins", [](P p) { return p.hist_size[0] < 1; }, {2}},
      {"absent channels", [](P p) { return p.hist_channels[0] > 3 || p.hist_channels[0] < 0; }, {2}},
      {"inverted ranges", [](P p) { return p.hrange_min[0] >= p.hrange_max[0]; }, {2}},
      {"bins beyond 2^31",
       [](P p) { return p.hist_dims > 1 && double{1} * p.hist_size[0] * p.hist_size[1] > 2147483648.0; },
       {2}},
      {"no threshold", [](P p) { return p.thresh == nullptr; }, {51}},
      {"NaN threshold", [](P p) { return p.thresh != nullptr && std::isnan(*p.thresh); }, {51}},
      {"no deviation", [](P p) { return p.std == nullptr && p.std_value == 0; }, {14}},
      {"NaN deviation", [](P p) { return p.std != nullptr && p.input[0].channel >= 0 && std::isnan(*p.std); }, {14}},
      {"no passes", [](P p) { return p.iterations < 1; }, {42, 43, 46}},
      {"2^31 - 1 passes", [](P p) { return p.iterations == 2147483647; }, {42, 43, 46}},
      {"no element", [](P p) { return p.kernel == nullptr; }, {42, 43, 46}},
      {"zeros as element",
       [](P p) { return p.kernel != nullptr && p.kernel_size > 0 && p.kernel_height == -1 && *p.kernel == 0; },
       {42, 43, 46}},
      {"negative overlap", [](P p) { return p.fuse_overlap < 0; }, {68}},
      {"wide overlap", [](P p) { return p.fuse_overlap > p.input[1].width; }, {68}},
      {"no weights", [](P p) { return p.fuse_weights == nullptr; }, {68}},
      {"NaN weights", [](P p) { return p.fuse_overlap > 0 && p.fuse_weights != nullptr && std::isnan(*p.fuse_weights); }, {68}},
      {"planes shared", [](P p) { return p.input[0].data[0] != nullptr && p.input[0].data[0] == p.output[0].data[0]; }},
      {"NaN pixels", [=](P p) { return isNaN(p.input[0]); }, {0, 4, 14, 19, 29, 30, 31, 32, 40, 47, 48, 50}},
  };
  std::map<std::string, size_t> counts;
  for (const int32_t type : kOperators) {
    for (uint32_t number = 0; number < 300; ++number) {
      HostileRecord record(type, recipe(type, number), Manners::kHostile);
      for (const Class& c : classes) {
        if (std::ranges::count(c.operators, type) > 0 && c.holds(record.params())) ++counts[c.what];
      }
    }
  }
  for (const Class& c : classes) EXPECT_GT(counts[c.what], c.operators.size() / 4) << c.what;
}

}  // namespace
}  // namespace tamix::test
