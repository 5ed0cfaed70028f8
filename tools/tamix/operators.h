// The operators as the command line offers them: what they take, what they give, what they report. Command line, help, manual,
// shell completion, benchmark and checks all read this table.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tamix/job.h"
#include "tools/tamix/request.h"

namespace tamix::tool {

struct OperatorEntry {
  std::string_view name;
  int32_t type;  // TamixOperatorType
  size_t fewest_inputs;
  size_t most_inputs;
  std::string_view formats;   // of its inputs; pictures of other formats are read as the first one
  std::string_view elements;  // of its inputs: "uint8", "float32" or both
  std::string_view gives;     // elements of its outputs; empty when it gives no picture
  std::string_view summary;
  std::vector<const Setting*> settings;
  std::string_view sample;  // settings of a typical run on 640x480 pixels, lists separated by commas
  // Sets up the record's outputs and whatever else the operator reads. Throws std::runtime_error for missing settings.
  void (*plan)(Job& job);
  // What the operator found out, as text or JSON; null when pictures are all it gives.
  std::string (*report)(Job& job) = nullptr;
};

const std::vector<OperatorEntry>& operators();
// Throws std::runtime_error for an unknown one, naming similar ones.
const OperatorEntry& operatorNamed(std::string_view name);

// The operator's settings after those that every operator on pictures has.
std::vector<const Setting*> settingsOf(const OperatorEntry& entry);
// The entry's sample applied, for pictures of the given size.
Request sampleRequest(const OperatorEntry& entry, Size size);

// The format as which a picture of the given format is read: its own where the operator takes it, or else the first one.
int32_t formatFor(const OperatorEntry& entry, int32_t own);

// Sets up the job's record. Throws std::runtime_error for inputs and settings that the operator does not take.
void planOperator(const OperatorEntry& entry, Job& job);
// Plans and runs an operator. Throws std::runtime_error with the status when it refuses.
void runOperator(const OperatorEntry& entry, Job& job);

}  // namespace tamix::tool
