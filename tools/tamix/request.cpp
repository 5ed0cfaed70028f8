#include "tools/tamix/request.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace tamix::tool {
namespace {

// Throws what the setting takes and what it was given.
[[noreturn]] void refuse(const Setting& setting, const std::string& takes, const std::string& value) {
  throw std::runtime_error("--" + std::string(setting.name) + " takes " + takes + ", not '" + value + "'");
}

std::vector<std::string> listItems(const std::string& text) {
  std::vector<std::string> items;
  size_t begin = 0;
  for (size_t comma; (comma = text.find(',', begin)) != std::string::npos; begin = comma + 1) {
    items.push_back(text.substr(begin, comma - begin));
  }
  items.push_back(text.substr(begin));
  return items;
}

template <class T>
bool parse(const std::string& text, T& value) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end;
}

std::string choiceNames(const Setting& setting, std::string_view separator) {
  std::string names;
  for (const Choice& choice : setting.choices)
    names += (names.empty() ? "" : std::string(separator)) + std::string(choice.name);
  return names;
}

std::string wholeNumbers(const Setting& setting) {
  const std::string from = setting.least == INT32_MIN ? "" : " from " + std::to_string(setting.least);
  const std::string to = setting.most == INT32_MAX ? "" : " to " + std::to_string(setting.most);
  return from + to;
}

int32_t integer(const Setting& setting, const std::string& text) {
  if (!setting.choices.empty()) {
    const auto found = std::ranges::find(setting.choices, text, &Choice::name);
    if (found == setting.choices.end()) refuse(setting, "one of " + choiceNames(setting, ", "), text);
    return found->value;
  }
  int32_t value = 0;
  if (!parse(text, value) || value < setting.least || value > setting.most) {
    refuse(setting, "a whole number" + wholeNumbers(setting), text);
  }
  return value;
}

template <class T>
T real(const Setting& setting, const std::string& text) {
  T value = 0;
  if (!parse(text, value) || !std::isfinite(value)) refuse(setting, setting.longest == 1 ? "a number" : "numbers", text);
  return value;
}

// The items of a list of as many numbers as the setting takes.
std::vector<std::string> numbersOf(const Setting& setting, const std::string& text) {
  std::vector<std::string> items = listItems(text);
  if (items.size() < setting.fewest || items.size() > setting.longest) {
    const std::string fewest = std::to_string(setting.fewest);
    const bool exact = setting.fewest == setting.longest;
    refuse(setting, (exact ? fewest : fewest + " to " + std::to_string(setting.longest)) + " numbers", text);
  }
  return items;
}

// How a field of each type takes its value.
struct Applier {
  const Setting& setting;
  const std::string& value;
  Request& request;

  void operator()(int32_t TamixParams::*field) const { request.params.*field = integer(setting, value); }
  void operator()(int32_t Request::*field) const { request.*field = integer(setting, value); }
  void operator()(double TamixParams::*field) const { request.params.*field = real<double>(setting, value); }
  void operator()(double Request::*field) const { request.*field = real<double>(setting, value); }
  void operator()(bool Request::*field) const { request.*field = true; }
  void operator()(Size Request::*field) const { request.*field = parseSize(value); }
  void operator()(std::string Request::*field) const {
    if (!setting.choices.empty()) integer(setting, value);  // one of the choices
    request.*field = value;
  }
  void operator()(int32_t (TamixParams::*field)[4]) const {
    const std::vector<std::string> items = numbersOf(setting, value);
    for (size_t i = 0; i < items.size(); ++i) (request.params.*field)[i] = integer(setting, items[i]);
  }
  void operator()(std::vector<float> Request::*field) const {
    for (const std::string& item : numbersOf(setting, value)) (request.*field).push_back(real<float>(setting, item));
  }
};

std::string listText(const std::string& item, const Setting& setting) {
  constexpr size_t kWrittenOut = 4;
  if (setting.longest > kWrittenOut || setting.fewest != setting.longest) return item + "," + item + ",...";
  std::string text = item;
  for (size_t i = 1; i < setting.longest; ++i) text += "," + item;
  return text;
}

}  // namespace

Request::Request() {
  initTamixParams(&params);
  params.abs_scale = 1;
}

bool isFlag(const Setting& setting) {
  return std::holds_alternative<bool Request::*>(setting.field) ||
         (setting.choices.size() == 1 && setting.choices[0].name.empty());
}

std::string valueText(const Setting& setting) {
  if (isFlag(setting)) return "";
  if (!setting.choices.empty()) return choiceNames(setting, "|");
  if (std::holds_alternative<Size Request::*>(setting.field)) return "WIDTHxHEIGHT";
  if (std::holds_alternative<int32_t(TamixParams::*)[4]>(setting.field)) return listText("N", setting);
  if (std::holds_alternative<std::vector<float> Request::*>(setting.field)) return listText("X", setting);
  const bool whole = std::holds_alternative<int32_t TamixParams::*>(setting.field) ||
                     std::holds_alternative<int32_t Request::*>(setting.field);
  return whole ? "N" : "X";
}

void apply(const Setting& setting, const std::string& value, Request& request) {
  std::visit(Applier{setting, value, request}, setting.field);
}

Size parseSize(const std::string& text) {
  const size_t x = text.find('x');
  Size size;
  if (x == std::string::npos || !parse(text.substr(0, x), size.width) || !parse(text.substr(x + 1), size.height) ||
      size.empty()) {
    throw std::runtime_error("'" + text + "' is not a size such as 1920x1080");
  }
  return size;
}

}  // namespace tamix::tool
