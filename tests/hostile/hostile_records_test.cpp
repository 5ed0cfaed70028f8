// Every operator under records of all kinds. A touch outside the declared memory is a fault that ends the test.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/hostile/hostile_record.h"
#include "tests/support/allocation.h"
#include "tests/support/count.h"

namespace tamix::test {
namespace {

const auto kRecords = static_cast<uint32_t>(countFromEnvironment("TAMIX_TEST_RECORDS", 200));

bool isStatus(int32_t status) {
  const auto known = {0, -1, -2, -3, -4, -13, -14, -15, 100};
  return std::find(known.begin(), known.end(), status) != known.end();
}

// Morphology may write nothing, and declared floats are then made of the bytes that the output held.
bool widensWhatItDidNotWrite(HostileRecord& record) {
  const auto types = {TAMIX_OP_ERODE, TAMIX_OP_DILATE, TAMIX_OP_MORPHOLOGY_EX, TAMIX_OP_GET_STRUCTURING_ELEMENT};
  const TamixParams& params = record.params();
  return std::find(types.begin(), types.end(), record.operatorType()) != types.end() &&
         params.output[0].type != params.input[0].type;
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
    first.prefill(1);
    second.prefill(2);
    const Outcome outcome = run(first);
    const Outcome again = run(second);
    ASSERT_TRUE(isStatus(outcome.status)) << outcome.status;
    ASSERT_EQ(again.status, outcome.status);
    ASSERT_EQ(again.errors.size(), outcome.errors.size());
    // The mean of bytes is refused without a word.
    if (outcome.status != TAMIX_OK && outcome.status != TAMIX_ERR_BAD_ARGUMENT && GetParam() != TAMIX_OP_MEAN_FILTER) {
      ASSERT_FALSE(outcome.errors.empty());
    }
    if (outcome.status == TAMIX_OK) ++served;
    if (widensWhatItDidNotWrite(first)) continue;
    for (size_t k = 0; k < first.outputs().size(); ++k) {
      const std::span<uint8_t> a = first.outputs()[k];
      const std::span<uint8_t> b = second.outputs()[k];
      for (size_t i = 0; i < a.size(); ++i) {
        const bool untouched = a[i] == HostileRecord::patternAt(1, i) && b[i] == HostileRecord::patternAt(2, i);
        ASSERT_TRUE(a[i] == b[i] || untouched) << "output " << k << ", byte " << i << ": " << +a[i] << " and " << +b[i];
      }
    }
  }
  EXPECT_GT(served, kRecords / 50);
}

// Without memory a run says so, or manages without and gives the same bytes.
TEST_P(HostileRecords, SurviveEveryFailedAllocation) {
  for (uint32_t number = 0; number < 24; number += 4) {
    SCOPED_TRACE("record " + std::to_string(number));
    const std::vector<uint8_t> bytes = recipe(GetParam(), number);
    HostileRecord record(GetParam(), bytes, Manners::kPlausible);
    SCOPED_TRACE(record.describe());
    record.prefill(1);
    const Outcome outcome = run(record);
    bool has_struck = true;
    for (int64_t n = 0; has_struck; ++n) {
      HostileRecord starved(GetParam(), bytes, Manners::kPlausible);
      starved.prefill(1);
      const FailingMemalign failing(n);
      const Outcome after = run(starved);
      has_struck = failing.struck();
      if (after.status != outcome.status) {
        // An operator without its tables is not registered; opening and closing report a failed step.
        const int32_t expected = GetParam() == TAMIX_OP_MORPHOLOGY_EX ? TAMIX_ERR_UNSUPPORTED : TAMIX_ERR_NO_MEMORY;
        ASSERT_TRUE(after.status == expected || after.status == TAMIX_ERR_NO_MEMORY || after.status == TAMIX_ERR_INVALID_CALL)
            << after.status;
        ASSERT_FALSE(after.errors.empty());
        continue;
      }
      for (size_t k = 0; k < record.outputs().size(); ++k) {
        ASSERT_TRUE(std::ranges::equal(record.outputs()[k], starved.outputs()[k])) << "allocation " << n << ", output " << k;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryOperator, HostileRecords, testing::ValuesIn(kOperators),
                         [](const auto& made) { return "Operator" + std::to_string(made.param); });

}  // namespace
}  // namespace tamix::test
