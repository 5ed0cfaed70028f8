// Prints digests of what a series of records gives, a line for each operator: builds for different processors, compilers and
// vector widths must print the same. Two threads share the work. Usage: record_digest [RECORDS [OPERATOR]]; with an operator, a
// line for each record.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/hostile/hostile_record.h"

namespace tamix::test {
namespace {

// FNV-1a.
class Digest {
 public:
  void add(const void* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i) value_ = (value_ ^ static_cast<const uint8_t*>(bytes)[i]) * 0x100000001b3;
  }
  // In hexadecimal. Looking up digits tells the memory sanitizer of results that depend on uninitialised memory.
  std::string text() const {
    std::string digits;
    for (int32_t shift = 60; shift >= 0; shift -= 4) digits += "0123456789abcdef"[value_ >> shift & 15];
    return digits;
  }

 private:
  uint64_t value_ = 0xcbf29ce484222325;
};

void add(Digest& digest, int32_t operator_type, uint32_t number) {
  const std::vector<uint8_t> bytes = recipe(operator_type, number);
  HostileRecord record(operator_type, bytes, number % 2 == 0 ? Manners::kPlausible : Manners::kHostile);
  if (record.sharesPlanes()) return;  // what overlapping planes give may depend on the vector width
  record.prefill(number);
  const int32_t status = runOnAnyThread(record);
  digest.add(&status, sizeof(status));
  for (const std::span<uint8_t> output : record.outputs()) digest.add(output.data(), output.size());
}

void printEach(int32_t operator_type, uint32_t records) {
  Digest digest;
  for (uint32_t number = 0; number < records; ++number) {
    add(digest, operator_type, number);
    std::printf("operator %d record %u: %s\n", operator_type, number, digest.text().c_str());
  }
}

// Two threads at once, each with instances of its own and every other pair of records.
void printDigest(int32_t operator_type, uint32_t records) {
  std::array<Digest, 2> digests;
  const auto addShare = [&](uint32_t share) {
    for (uint32_t number = 0; number < records; ++number) {
      if (number / 2 % 2 == share) add(digests[share], operator_type, number);
    }
  };
  std::thread other(addShare, 1);
  addShare(0);
  other.join();
  std::printf("operator %d: %s %s\n", operator_type, digests[0].text().c_str(), digests[1].text().c_str());
}

}  // namespace
}  // namespace tamix::test

int main(int argc, char** argv) {
  const auto records = static_cast<uint32_t>(argc > 1 ? std::atoi(argv[1]) : 300);
  for (const int32_t type : tamix::test::kOperators) {
    if (argc <= 2) tamix::test::printDigest(type, records);
    if (argc > 2 && type == std::atoi(argv[2])) tamix::test::printEach(type, records);
  }
}
