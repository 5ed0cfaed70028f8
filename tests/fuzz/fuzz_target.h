// A fuzz target: the first byte of an input chooses one of several kinds of call, the rest makes the call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tamix::test {

// What a target defines; fuzz_target.cpp makes a libFuzzer target of it that also
// - mutates so that every kind gets its share,
// - runs a plain series of random inputs without coverage guidance, several times as fast: -series=COUNT [-series_seed=SEED];
//   an input that is a finding is written to crash-series-SEED-NUMBER,
// - counts calls and successes of each kind, and at exit adds them to the file that TAMIX_FUZZ_TALLY names.
extern const size_t kFuzzKinds;
std::string fuzzKindName(size_t kind);
// True when the call succeeded.
bool fuzzOne(size_t kind, std::span<const uint8_t> recipe);

// A finding unless it holds: says what does not, and ends the program.
void require(bool holds, const char* what);

}  // namespace tamix::test
