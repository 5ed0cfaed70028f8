#include "tools/tamix/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace tamix::tool {

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> found;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (text.empty()) return found;
    const size_t length = std::min(text.find(' '), text.size());
    found.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
}

bool takes(std::string_view list, std::string_view word) {
  const std::vector<std::string_view> all = words(list);
  return std::ranges::find(all, word) != all.end();
}

std::string alternatives(std::string_view list) {
  const std::vector<std::string_view> all = words(list);
  std::string text;
  for (size_t i = 0; i < all.size(); ++i) {
    if (i > 0) text += i + 1 == all.size() ? " or " : ", ";
    text += all[i];
  }
  return text;
}

size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);  // distances of the prefix of a to every prefix of b
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, changed});
    }
  }
  return row.back();
}

std::string jsonText(std::string_view text) {
  std::string json = "\"";
  for (const char c : text) {
    char escaped[8] = {c};
    if (c == '"' || c == '\\') std::snprintf(escaped, sizeof(escaped), "\\%c", c);
    if (static_cast<unsigned char>(c) < ' ') std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
    json += escaped;
  }
  return json + '"';
}

std::string numberText(double value) {
  if (!std::isfinite(value)) return "null";
  char text[32];
  std::snprintf(text, sizeof(text), "%.9g", value);
  return text;
}

}  // namespace tamix::tool
