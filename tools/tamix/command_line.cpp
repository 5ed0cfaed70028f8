#include "tools/tamix/command_line.h"

#include <hwy/highway.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/tamix/bench.h"
#include "tools/tamix/compare.h"
#include "tools/tamix/reference.h"
#include "tools/tamix/run.h"

namespace tamix::tool {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

struct CompareOptions {
  std::vector<std::string> files;
  RawLayout layout;
  double tolerance = 0;
  double peak = 255;
  bool json = false;
};

// A command line with what it was given.
struct CommandLine {
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  CLI::App app{
      "Runs the image operators of Tamix Camera on files: PNG, JPEG, raw planes (.nv21 .nv12 .i420 .rgb .gray ...) and "
      "raw floats (.f32)."};
  RunOptions run;
  BenchOptions bench;
  CompareOptions compare;
  bool json = false;
  std::string shell;

 private:
  void addRun();
  void addOperator(CLI::App& run_command, const OperatorEntry& entry);
  void addBench();
  void addCompare();
};

void addSize(CLI::App& app, const std::string& name, Size& size, const std::string& help) {
  app.add_option_function<std::string>(
         name, [&size](const std::string& text) { size = parseSize(text); }, help)
      ->type_name("WIDTHxHEIGHT");
}

std::string joined(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : ",") + item;
  return text;
}

// Lists of a fixed length may be given as several arguments, or as one separated by commas.
void addSetting(CLI::App& app, const Setting& setting, Request& request) {
  const std::string name = "--" + std::string(setting.name);
  const std::string help(setting.help);
  if (isFlag(setting)) {
    app.add_flag_function(
        name, [&](int64_t) { apply(setting, "", request); }, help);
    return;
  }
  CLI::Option* const option = app.add_option_function<std::vector<std::string>>(
      name, [&](const std::vector<std::string>& items) { apply(setting, joined(items), request); }, help);
  const bool is_fixed = setting.longest > 1 && setting.fewest == setting.longest;
  option->allow_extra_args(false);  // what follows is a file
  option->expected(is_fixed ? static_cast<int>(setting.longest) : 1)->type_name(valueText(setting));
  if (is_fixed) option->delimiter(',');
}

void CommandLine::addOperator(CLI::App& run_command, const OperatorEntry& entry) {
  CLI::App* const command = run_command.add_subcommand(std::string(entry.name), std::string(entry.summary));
  command->add_option("files", run.files, entry.most_inputs == 0 ? "output file, if any" : "input files, then the output file")
      ->type_name("FILE");
  for (const Setting* setting : settingsOf(entry)) addSetting(*command, *setting, run.request);
  command->add_option("--quality", run.jpeg_quality, "of JPEG files, 1 to 100; 92 by default")
      ->check(CLI::Range(1, 100).description(""))
      ->type_name("N");
  if (entry.most_inputs > 0) {
    command->add_option("--batch", run.batch_folder, "run on every file by itself, and write the results into this folder")
        ->type_name("FOLDER");
    command->add_option("--extension", run.extension, "of a batch's results; png by default")->type_name("EXTENSION");
  }
  if (entry.most_inputs > 1) {
    command->add_option("--with", run.with, "a batch's second and further input, the same for every file")
        ->type_name("FILE")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
  }
  command->footer(operatorNotes(entry));
}

void CommandLine::addRun() {
  CLI::App* const command = app.add_subcommand("run", "Run an operator on files: tamix run OPERATOR INPUT... OUTPUT");
  command->require_subcommand(1);
  for (const OperatorEntry& entry : operators()) addOperator(*command, entry);
  command->footer(
      "'tamix run OPERATOR --help' has the operator's settings.\n\n"
      "Examples:\n"
      "  tamix run yuv-to-color frame.nv21 --size 1920x1080 frame.png\n"
      "  tamix run resize-bilinear frame.nv21 --size 1920x1080 --output-size 640x360 small.png\n"
      "  tamix run threshold photo.jpg --format gray --method otsu mask.png\n"
      "  tamix run add photo.png other.png sum.png\n"
      "  tamix run mean-std photo.png --json\n"
      "  tamix run resize-area --output-size 640x480 --batch small *.jpg");
}

void CommandLine::addBench() {
  CLI::App* const command = app.add_subcommand("bench", "Measure operators on this machine, through the public entry points");
  command->add_option("operators", bench.operators, "their names; all by default")->type_name("OPERATOR");
  command
      ->add_option_function<std::vector<std::string>>(
          "--sizes",
          [this](const std::vector<std::string>& texts) {
            bench.sizes.clear();
            for (const std::string& text : texts) bench.sizes.push_back(parseSize(text));
          },
          "sizes of the images; 640x480,1920x1080,4000x3000 by default")
      ->delimiter(',')
      ->expected(1, 100)
      ->allow_extra_args(false)
      ->type_name("WIDTHxHEIGHT,...");
  command->add_option("--time", bench.seconds, "seconds to measure for each row; 0.2 by default")
      ->check(CLI::Range(0.0, 60.0).description(""))
      ->type_name("X");
  command->add_flag("--json", json, "print JSON");
  command->footer(
      "Prints the median of the runs, and its ratio to a plain pass (memcpy as far as it goes) over as many bytes.\n\n"
      "Examples:\n"
      "  tamix bench\n"
      "  tamix bench resize-bilinear yuv-to-color --sizes 4000x3000\n"
      "  tamix bench --json > here.json");
}

void CommandLine::addCompare() {
  CLI::App* const command = app.add_subcommand("compare", "Print how far two pictures are apart, channel by channel");
  command->add_option("files", compare.files, "two pictures of the same size")->expected(2)->required()->type_name("FILE");
  addSize(*command, "--size", compare.layout.size, "size of raw files");
  command->add_option("--format", compare.layout.format, "pixels of the files")
      ->type_name("rgb|bgr|rgba|bgra|gray|nv21|nv12|i420|lab");
  command->add_option("--tolerance", compare.tolerance, "largest difference that passes; 0 by default")->type_name("X");
  command->add_option("--peak", compare.peak, "peak value of the PSNR; 255 by default")->type_name("X");
  command->add_flag("--json", compare.json, "print JSON; a PSNR of equal channels is null");
  command->footer(
      "Exit status: 0 within the tolerance, 1 beyond it, 2 where the files cannot be compared.\n\n"
      "Examples:\n"
      "  tamix compare expected.png result.png\n"
      "  tamix compare a.nv21 b.nv21 --size 1920x1080 --tolerance 1\n"
      "  tamix compare photo.png photo.jpg --json");
}

CommandLine::CommandLine() {
  app.name("tamix");
  app.require_subcommand(1);
  app.set_version_flag("--version", getTamixVersion(), "print the version");
  app.footer(
      "Examples:\n"
      "  tamix list\n"
      "  tamix run yuv-to-color frame.nv21 --size 1920x1080 frame.png\n"
      "  tamix run flip --help\n"
      "  tamix bench resize-bilinear\n"
      "  tamix compare expected.png frame.png --tolerance 1");
  addRun();
  CLI::App* const list = app.add_subcommand("list", "Name the operators, what they take, and their settings");
  list->add_flag("--json", json, "print JSON");
  list->footer("Examples:\n  tamix list\n  tamix list --json");
  addBench();
  addCompare();
  app.add_subcommand("info", "Print version, vector target, operators and cores")->footer("Example:\n  tamix info");
  CLI::App* const completion = app.add_subcommand("completion", "Print the completion script of a shell");
  completion->add_option("shell", shell, "the shell")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}).description(""))
      ->type_name("bash|zsh|fish");
  completion->footer("Example:\n  tamix completion bash > ~/.local/share/bash-completion/completions/tamix");
  app.add_subcommand("man", "Print the manual page")->footer("Example:\n  tamix man | man -l -");
}

// Processors by their highest frequency, fastest first; one group where frequencies are not known.
void printClusters(std::ostream& out) {
  std::map<long, std::vector<int>, std::greater<>> clusters;
  for (int id = 0;; ++id) {
    const std::string cpu = "/sys/devices/system/cpu/cpu" + std::to_string(id);
    if (!std::filesystem::exists(cpu)) break;
    long khz = 0;
    std::ifstream(cpu + "/cpufreq/cpuinfo_max_freq") >> khz;
    clusters[khz].push_back(id);
  }
  for (const auto& [khz, ids] : clusters) {
    out << "cores      ";
    for (const int id : ids) out << id << " ";
    if (khz > 0) {
      out << "at up to " << static_cast<double>(khz) / 1e6 << " GHz\n";
    } else {
      out << "(frequency not known)\n";
    }
  }
}

int printInfo(std::ostream& out) {
  out << "version    " << getTamixVersion() << "\n";
  out << "vectors    " << hwy::TargetName(HWY_STATIC_TARGET) << ", " << HWY_MAX_BYTES << " bytes\n";
  out << "operators  " << operators().size() << " ('tamix list' names them)\n";
  printClusters(out);
  return 0;
}

int runCompare(const CompareOptions& options, std::ostream& out) {
  const Picture a = loadPicture(options.files[0], options.layout);
  const Picture b = loadPicture(options.files[1], options.layout);
  const std::vector<Difference> differences = compare(a, b);
  options.json ? printJSON(out, differences, options.peak) : printTable(out, differences, options.peak);
  return differences.back().largest <= options.tolerance ? 0 : kFailed;
}

int printCompletion(const CommandLine& line, std::ostream& out) {
  line.shell == "fish" ? printFishCompletion(out, line.app) : printBashCompletion(out, line.app, line.shell == "zsh");
  return 0;
}

// What the command that failed to parse takes.
std::string hint(const CLI::App& app) {
  const CLI::App* command = &app;
  std::string path = "tamix";
  for (std::vector<CLI::App*> parsed; !(parsed = command->get_subcommands()).empty(); path += " " + command->get_name()) {
    command = parsed.front();
  }
  std::string takes;
  for (const CLI::App* below : command->get_subcommands([](const CLI::App*) { return true; })) takes += " " + below->get_name();
  for (const CLI::Option* option : command->get_options()) {
    if (!option->get_positional()) takes += " --" + option->get_lnames().front();
  }
  return "'" + path + "' takes:" + takes + "\n'" + path + " --help' says more.\n";
}

int runParsed(CommandLine& line, std::ostream& out, std::ostream& err) {
  const CLI::App& command = *line.app.get_subcommands().front();
  const std::string& name = command.get_name();
  if (name == "run") {
    const OperatorEntry& entry = operatorNamed(command.get_subcommands().front()->get_name());
    if (!line.run.batch_folder.empty()) return runBatch(entry, line.run, out, err) == 0 ? 0 : kFailed;
    runFiles(entry, line.run, out);
    return 0;
  }
  if (name == "list") line.json ? printListJSON(out) : printList(out);
  if (name == "bench") line.json ? printBenchJSON(out, line.bench) : printBenchTable(out, line.bench);
  if (name == "info") return printInfo(out);
  if (name == "completion") return printCompletion(line, out);
  if (name == "man") printManual(out, line.app);
  return name == "compare" ? runCompare(line.compare, out) : 0;
}

}  // namespace

int runCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  CommandLine line;
  try {
    // An operator that is not known is a better message than a command that is missing.
    if (arguments.size() > 1 && arguments[0] == "run" && !arguments[1].starts_with('-')) operatorNamed(arguments[1]);
    line.app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return line.app.exit(error, out, err);
    err << "tamix: " << error.what() << "\n" << hint(line.app);
    return kWrongUsage;
  } catch (const std::exception& error) {
    err << "tamix: " << error.what() << "\n";
    return kWrongUsage;
  }
  const bool compares = line.app.got_subcommand("compare");
  try {
    return runParsed(line, out, err);
  } catch (const std::bad_alloc&) {
    err << "tamix: out of memory\n";
  } catch (const std::exception& error) {
    err << "tamix: " << error.what() << "\n";
  }
  return compares ? kWrongUsage : kFailed;
}

}  // namespace tamix::tool
