// The command line: tamix COMMAND ...
#pragma once

#include <iosfwd>

namespace tamix::tool {

// Runs a command line. Returns the exit status: 0 done; 1 a run failed, or the compared pictures differ; 2 the command line, or
// an input to compare, is wrong.
int runCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace tamix::tool
