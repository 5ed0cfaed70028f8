// Lists in words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tamix::tool {

// The words of a text that are separated by spaces.
std::vector<std::string_view> words(std::string_view text);
// True when `word` is one of them.
bool takes(std::string_view list, std::string_view word);
// "a, b or c".
std::string alternatives(std::string_view list);
// How many letters must be added, dropped or changed to make one of the other.
size_t editDistance(std::string_view a, std::string_view b);
// A text as a JSON string, with its quotes.
std::string jsonText(std::string_view text);
// A number with at most as many digits as it takes to tell floats apart; null where it is not finite, as JSON has it.
std::string numberText(double value);

}  // namespace tamix::tool
