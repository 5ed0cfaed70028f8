// How often a check repeats: the short number of the test command, or what the environment says for a long run.
#pragma once

#include <cstdlib>

namespace tamix::test {

inline long countFromEnvironment(const char* variable, long otherwise) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? otherwise : std::atol(value);
}

}  // namespace tamix::test
