// tamix: runs the library's operators on image files.
#include <iostream>

#include "tools/tamix/command_line.h"

int main(int argc, char** argv) { return tamix::tool::runCommandLine(argc, argv, std::cout, std::cerr); }
