// What the command line asks of an operator, and the settings that it takes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tools/tamix/picture.h"

namespace tamix::tool {

// A record's settings, and what a record says by pointers.
struct Request {
  Request();

  TamixParams params;
  Size input_size;            // of raw input files
  std::string input_format;   // empty: as the input file has it
  Size output_size;           // empty: as the operator has it
  std::string output_format;  // empty: as the output's file name says, or as the operator has it
  std::string output_type;    // "uint8", "float32"; empty: as the output's file holds them
  std::vector<float> matrix;  // perspective matrix, nine numbers, row by row
  std::vector<float> points;  // x y u v of each point pair: where (x, y) goes to (u, v)
  std::vector<float> mean;    // one for all channels, or one each
  std::vector<float> std;
  std::vector<float> border_values;  // a byte per channel
  std::vector<float> weights;        // of a fusion's band; empty: a linear ramp
  std::vector<float> rectangle;      // x, y, width, height
  std::string method;                // automatic threshold: "otsu", "triangle" or empty
  double threshold = 0;
  int32_t num_threads = 2;
  bool inverse_map = false;
  bool json = false;
};

// A value that may be given by its name.
struct Choice {
  std::string_view name;
  int32_t value = 0;
};

using Field =
    std::variant<int32_t TamixParams::*, double TamixParams::*, int32_t (TamixParams::*)[4], int32_t Request::*,
                 double Request::*, bool Request::*, Size Request::*, std::string Request::*, std::vector<float> Request::*>;

// A setting of the command line, --name VALUE, and the field that it fills in.
struct Setting {
  std::string_view name;
  std::string_view help;
  Field field;
  std::vector<Choice> choices = {};  // empty: any number or size
  int32_t least = INT32_MIN;         // range of whole numbers
  int32_t most = INT32_MAX;
  size_t fewest = 1;  // numbers of a list
  size_t longest = 1;
};

// True for a setting without a value.
bool isFlag(const Setting& setting);
// What stands for its value in a help text: "vertical|horizontal|both", "WIDTHxHEIGHT", "N", "X,X,...", nothing for a flag.
std::string valueText(const Setting& setting);
// Fills in the field. Lists are separated by commas. Throws std::runtime_error that says what would be right.
void apply(const Setting& setting, const std::string& value, Request& request);

Size parseSize(const std::string& text);

}  // namespace tamix::tool
