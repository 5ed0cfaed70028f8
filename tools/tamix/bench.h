// tamix bench: how fast operators run here, through the public entry points.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tools/tamix/operators.h"

namespace tamix::tool {

struct BenchOptions {
  std::vector<std::string> operators;  // empty: all
  std::vector<Size> sizes = {{640, 480}, {1920, 1080}, {4000, 3000}};
  double seconds = 0.2;  // of measuring for each row
};

struct BenchRow {
  std::string_view name;
  Size size = {};           // empty: the operator takes no picture
  double seconds = 0;       // median of the runs
  double bytes = 0;         // read and written
  double pass_seconds = 0;  // of a plain memory pass over as many bytes
};

// Measures the operator's sample settings on pictures of the given size.
BenchRow measure(const OperatorEntry& entry, Size size, double seconds);

// Measures and prints row by row.
void printBenchTable(std::ostream& out, const BenchOptions& options);
void printBenchJSON(std::ostream& out, const BenchOptions& options);

}  // namespace tamix::tool
