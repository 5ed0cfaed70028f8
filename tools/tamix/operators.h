// The operators as the command line offers them: what they take, what they give, what they report.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tamix/job.h"

namespace tamix::tool {

struct OperatorEntry {
  std::string_view name;
  int32_t type;  // TamixOperatorType
  size_t fewest_inputs;
  size_t most_inputs;
  std::string_view summary;
  // Sets up the record's outputs and whatever else the operator reads. Throws std::runtime_error for missing settings.
  void (*plan)(Job& job);
  // What the operator found out, as text or JSON; null when pictures are all it gives.
  std::string (*report)(Job& job);
};

const std::vector<OperatorEntry>& operators();
// Throws std::runtime_error for an unknown one, naming similar ones.
const OperatorEntry& operatorNamed(std::string_view name);

// Plans and runs an operator. Throws std::runtime_error with the status when it refuses.
void runOperator(const OperatorEntry& entry, Job& job);

}  // namespace tamix::tool
