#include "tools/tamix/run.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <ostream>
#include <set>
#include <stdexcept>
#include <utility>

#include "tools/tamix/text.h"

namespace tamix::tool {
namespace {

namespace fs = std::filesystem;

bool isText(const std::string& path) {
  const std::string extension = fs::path(path).extension().string();
  return extension == ".csv" || extension == ".json" || extension == ".txt";
}

// What the output's file name says where the command line does not.
void completeOutput(Request& request, const std::string& output) {
  if (fs::path(output).extension() == ".json") request.json = true;
  if (output.empty() || isText(output)) return;
  if (request.output_format.empty() && !describesItself(output) && !holdsFloats(output)) {
    request.output_format = formatOfPath(output);
  }
  if (request.output_type.empty() && describesItself(output)) request.output_type = "uint8";
  if (request.output_type.empty() && holdsFloats(output)) request.output_type = "float32";
}

std::vector<Picture> loadInputs(const OperatorEntry& entry, const Request& request, const std::vector<std::string>& paths) {
  std::vector<Picture> pictures;
  RawLayout layout{request.input_size, request.input_format, [&](int32_t own) { return formatFor(entry, own); }};
  for (const std::string& path : paths) {
    Picture picture = loadPicture(path, layout);
    if (entry.elements == "float32") picture.convertToFloats();
    pictures.push_back(std::move(picture));
    // Further pictures are read like the first one; maps are what their files say.
    const bool maps_follow = entry.type == TAMIX_OP_REMAP;
    layout.formatFor = [&](int32_t) { return pictures.front().format(); };
    if (maps_follow) layout.format.clear();
    if (maps_follow && !request.output_size.empty()) layout.size = request.output_size;
  }
  return pictures;
}

void saveText(const std::string& path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  if (!file.flush()) throw std::runtime_error(path + ": cannot be written");
}

// The file of one of several outputs: planes.png becomes planes-0.png, planes-1.png, ...
std::string numbered(const std::string& path, size_t i) {
  const fs::path p(path);
  return (p.parent_path() / (p.stem().string() + "-" + std::to_string(i) + p.extension().string())).string();
}

// Returns a line for each file that was written.
std::string save(const OperatorEntry& entry, Job& job, const std::string& path, const std::string& text, int jpeg_quality) {
  if (isText(path)) {
    if (entry.report == nullptr) throw std::runtime_error(path + ": " + std::string(entry.name) + " gives pictures, not text");
    saveText(path, text);
    return path + "\n";
  }
  const std::vector<Picture>& outputs = job.outputs();
  if (outputs.empty()) {
    throw std::runtime_error(path + ": " + std::string(entry.name) + " gives no picture; name a .txt, .csv or .json file");
  }
  std::string lines;
  for (size_t i = 0; i < outputs.size(); ++i) {
    const std::string file = outputs.size() == 1 ? path : numbered(path, i);
    savePicture(file, outputs[i], jpeg_quality);
    lines += file + ": " + outputs[i].describe() + "\n";
  }
  return lines;
}

// Runs and saves. Returns what there is to tell.
std::string runOnce(const OperatorEntry& entry, const RunOptions& options, const std::vector<std::string>& inputs,
                    const std::string& output) {
  Request request = options.request;
  completeOutput(request, output);
  Job job(request, loadInputs(entry, request, inputs));
  runOperator(entry, job);
  const std::string text = entry.report == nullptr ? "" : entry.report(job);
  if (output.empty()) return text;
  const std::string files = save(entry, job, output, text, options.jpeg_quality);
  return request.method.empty() ? files : text + files;  // the threshold that the method found
}

// Where a batch writes the result of a file; empty for operators that only report.
std::string batchOutput(const OperatorEntry& entry, const RunOptions& options, const std::string& input) {
  const bool reports = entry.report != nullptr && entry.type != TAMIX_OP_THRESHOLD;
  if (reports) return "";
  return (fs::path(options.batch_folder) / fs::path(input).stem()).string() + "." + options.extension;
}

void requireDistinctOutputs(const OperatorEntry& entry, const RunOptions& options) {
  std::set<std::string> outputs;
  for (const std::string& input : options.files) {
    const std::string output = batchOutput(entry, options, input);
    if (!output.empty() && !outputs.insert(output).second) {
      throw std::runtime_error("two input files would both be written to " + output);
    }
    if (!output.empty() && fs::exists(input) && fs::exists(output) && fs::equivalent(input, output)) {
      throw std::runtime_error("the result of " + input + " would take its place; name another folder");
    }
  }
}

}  // namespace

void runFiles(const OperatorEntry& entry, const RunOptions& options, std::ostream& out) {
  std::vector<std::string> inputs = options.files;
  std::string output;
  // What an operator only reports needs no output file.
  if (entry.report == nullptr || inputs.size() > entry.most_inputs) {
    if (inputs.empty()) throw std::runtime_error("name the input files, and an output file last");
    output = inputs.back();
    inputs.pop_back();
  }
  out << runOnce(entry, options, inputs, output);
}

size_t runBatch(const OperatorEntry& entry, const RunOptions& options, std::ostream& out, std::ostream& err) {
  if (options.files.empty()) throw std::runtime_error("name the input files of the batch");
  requireDistinctOutputs(entry, options);
  fs::create_directories(options.batch_folder);
  std::vector<std::string> failed;
  for (size_t i = 0; i < options.files.size(); ++i) {
    const std::string& input = options.files[i];
    out << "[" << i + 1 << "/" << options.files.size() << "] ";
    std::vector<std::string> inputs = {input};
    inputs.insert(inputs.end(), options.with.begin(), options.with.end());
    try {
      const std::string output = batchOutput(entry, options, input);
      const std::string told = runOnce(entry, options, inputs, output);
      out << (output.empty() ? input + ": " : "") << told << std::flush;
    } catch (const std::exception& error) {
      out << "failed" << std::endl;
      err << "tamix: " << error.what() << std::endl;
      failed.push_back(input);
    }
  }
  out << options.files.size() - failed.size() << " done, " << failed.size() << " failed";
  for (const std::string& file : failed) out << (&file == failed.data() ? ": " : ", ") << file;
  out << "\n";
  return failed.size();
}

}  // namespace tamix::tool
