// What the tool says about itself: the list of operators, the manual page and shell completions.
#pragma once

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <string>

#include "tools/tamix/operators.h"

namespace tamix::tool {

void printList(std::ostream& out);
void printListJSON(std::ostream& out);

// What the operator takes, and an example, for its help.
std::string operatorNotes(const OperatorEntry& entry);

// The following walk the command line: its commands, those of the operators, and their options. An option whose type name
// has the form a|b|c takes one of these values.
void printManual(std::ostream& out, const CLI::App& app);
// For bash, or for zsh by way of its emulation of bash's.
void printBashCompletion(std::ostream& out, const CLI::App& app, bool for_zsh);
void printFishCompletion(std::ostream& out, const CLI::App& app);

}  // namespace tamix::tool
