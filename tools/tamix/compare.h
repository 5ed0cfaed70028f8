// How far two pictures are apart.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "tools/tamix/picture.h"

namespace tamix::tool {

struct Difference {
  std::string channel;
  double largest = 0;  // absolute; infinite where only one of the values is a number
  int32_t x = 0;       // where the largest one is first met, pixels of the channel's plane
  int32_t y = 0;
  uint64_t differing = 0;  // values that are not equal
  uint64_t values = 0;
  double squares = 0;  // sum of squared differences
  // 10 log10(peak^2 / mean square); infinite for equal values.
  double psnr(double peak) const;
};

// The channels one by one, then all of them. Throws std::runtime_error for pictures of different size, format or element type.
std::vector<Difference> compare(const Picture& a, const Picture& b);

void printTable(std::ostream& out, const std::vector<Difference>& differences, double peak);
void printJSON(std::ostream& out, const std::vector<Difference>& differences, double peak);

}  // namespace tamix::tool
