// tamix run: operators on files.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tools/tamix/operators.h"
#include "tools/tamix/picture_file.h"

namespace tamix::tool {

struct RunOptions {
  Request request;
  std::vector<std::string> files;  // inputs, then the output; of a batch all are inputs
  std::string batch_folder;        // empty: one run
  std::vector<std::string> with;   // of a batch: the other inputs of every run
  std::string extension = "png";   // of a batch's outputs
  int jpeg_quality = kJpegQuality;
};

// One run. Throws std::runtime_error where it fails.
void runFiles(const OperatorEntry& entry, const RunOptions& options, std::ostream& out);
// A run for every file, into a folder; goes on after a failing one. Returns how many failed. Throws std::runtime_error where
// nothing can be run.
size_t runBatch(const OperatorEntry& entry, const RunOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tamix::tool
