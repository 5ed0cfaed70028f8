#include "tools/tamix/reference.h"

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

#include "tools/tamix/text.h"

namespace tamix::tool {
namespace {

// A setting as it is typed: "--mode vertical|horizontal|both".
std::string usage(const Setting& setting) {
  const std::string value = valueText(setting);
  return "--" + std::string(setting.name) + (value.empty() ? "" : " " + value);
}

std::string exampleOf(const OperatorEntry& entry) {
  std::string line = "tamix run " + std::string(entry.name);
  if (entry.type == TAMIX_OP_REMAP) {
    line += " photo.png x.f32 y.f32 --size 640x480";
  } else if (entry.formats.starts_with("nv21")) {
    line += " frame.nv21 --size 1920x1080";
  } else if (entry.formats == "lab") {
    line += " photo.lab --size 640x480";
  } else {
    constexpr const char* kNames[] = {" photo.png", " second.png", " third.png"};
    for (size_t i = 0; i < entry.fewest_inputs; ++i) line += kNames[i];
  }
  if (!entry.sample.empty()) line += " " + std::string(entry.sample);
  if (entry.report != nullptr && entry.type != TAMIX_OP_THRESHOLD) return line;
  if (entry.type == TAMIX_OP_COLOR_TO_YUV) return line + " out.nv21";
  if (entry.type == TAMIX_OP_COLOR_TO_LAB) return line + " photo.lab";
  return line + (entry.type == TAMIX_OP_NORMALIZATION || entry.type == TAMIX_OP_DATA_TYPE_CONVERT ? " out.f32" : " out.png");
}

std::string inputsText(const OperatorEntry& entry) {
  if (entry.most_inputs == 0) return "no image";
  const std::string fewest = std::to_string(entry.fewest_inputs);
  const std::string count =
      entry.fewest_inputs == entry.most_inputs ? fewest : fewest + " to " + std::to_string(entry.most_inputs);
  return count + (entry.most_inputs == 1 ? " image: " : " images: ") + std::string(entry.formats) + " (" +
         alternatives(entry.elements) + ")";
}

std::string jsonStrings(const std::vector<std::string_view>& texts) {
  std::string list;
  for (const std::string_view text : texts) list += (list.empty() ? "" : ", ") + jsonText(text);
  return "[" + list + "]";
}

std::string settingJSON(const Setting& setting) {
  std::string json = "{\"name\": " + jsonText("--" + std::string(setting.name)) + ", \"help\": " + jsonText(setting.help) +
                     ", \"value\": " + jsonText(valueText(setting));
  if (!setting.choices.empty() && !isFlag(setting)) {
    std::vector<std::string_view> names;
    for (const Choice& choice : setting.choices) names.push_back(choice.name);
    json += ", \"choices\": " + jsonStrings(names);
  }
  return json + "}";
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app, bool positional) {
  return app.get_options([=](const CLI::Option* option) { return option->get_positional() == positional; });
}

std::string flagOf(const CLI::Option& option) { return "--" + option.get_lnames().front(); }

// The values of an option of the form a|b|c; empty for others.
std::string valuesOf(const CLI::Option& option) {
  std::string type = option.get_type_name();
  if (type.find('|') == std::string::npos) return "";
  std::ranges::replace(type, '|', ' ');
  return type;
}

// Calls visit(command, path) for a command and all below it; the path of "tamix run flip" is "/run/flip".
template <class Visit>
void visitCommands(const CLI::App& app, const std::string& path, const Visit& visit) {
  visit(app, path);
  for (const CLI::App* command : commandsOf(app)) visitCommands(*command, path + "/" + command->get_name(), visit);
}

// What may follow a command, other than files and options.
std::string followersOf(const CLI::App& app) {
  std::string all;
  for (const CLI::App* command : commandsOf(app)) all += (all.empty() ? "" : " ") + command->get_name();
  for (const CLI::Option* option : optionsOf(app, true)) all += valuesOf(*option);
  if (app.get_name() == "bench") {
    for (const OperatorEntry& entry : operators()) all += (all.empty() ? "" : " ") + std::string(entry.name);
  }
  return all;
}

std::string roff(std::string text) {
  std::string escaped;
  for (const char c : text) escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

// Lines as they stand.
void printVerbatim(std::ostream& out, const std::string& text) {
  out << ".nf\n";
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    out << roff(text.substr(begin, end - begin)) << "\n";
    begin = end + 1;
  }
  out << ".fi\n";
}

void printOptions(std::ostream& out, const CLI::App& app) {
  for (const CLI::Option* option : optionsOf(app, false)) {
    if (option->get_lnames().front() == "help") continue;
    out << ".TP\n.B " << roff(flagOf(*option)) << "\n";
    if (!option->get_type_name().empty()) out << ".I " << roff(option->get_type_name()) << "\n.br\n";
    out << roff(option->get_description()) << "\n";
  }
}

// In single quotes, for a shell.
std::string shellQuoted(const std::string& text) {
  std::string inside = "'";
  for (const char c : text) inside += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return inside + "'";
}

}  // namespace

std::string operatorNotes(const OperatorEntry& entry) {
  return "Takes " + inputsText(entry) + ".\n\nExample:\n  " + exampleOf(entry);
}

void printList(std::ostream& out) {
  for (const OperatorEntry& entry : operators()) {
    out << entry.name << "\n    " << entry.summary << "\n    takes " << inputsText(entry) << "\n";
    for (const Setting* setting : entry.settings) out << "    " << usage(*setting) << "\n";
  }
}

void printListJSON(std::ostream& out) {
  out << "[";
  for (const OperatorEntry& entry : operators()) {
    out << (&entry == operators().data() ? "\n" : ",\n") << "  {\"name\": " << jsonText(entry.name)
        << ", \"type\": " << entry.type << ", \"summary\": " << jsonText(entry.summary) << ", \"inputs\": ["
        << entry.fewest_inputs << ", " << entry.most_inputs << "], \"formats\": " << jsonStrings(words(entry.formats))
        << ", \"elements\": " << jsonStrings(words(entry.elements)) << ", \"gives\": " << jsonStrings(words(entry.gives))
        << ", \"settings\": [";
    const char* separator = "";
    for (const Setting* setting : settingsOf(entry)) {
      out << separator << settingJSON(*setting);
      separator = ", ";
    }
    out << "], \"example\": " << jsonText(exampleOf(entry)) << "}";
  }
  out << "\n]\n";
}

void printManual(std::ostream& out, const CLI::App& app) {
  out << ".TH TAMIX 1 \"\" \"" << roff(getTamixVersion()) << "\"\n"
      << ".SH NAME\ntamix \\- " << roff("runs image operators on files") << "\n.SH SYNOPSIS\n.nf\n";
  for (const CLI::App* command : commandsOf(app)) {
    out << ".B tamix " << roff(command->get_name());
    if (command->get_name() == "run") out << " OPERATOR";
    out << " [OPTION]... ";
    if (command->get_name() == "run") out << "INPUT... OUTPUT";
    for (const CLI::Option* option : optionsOf(*command, true)) {
      out << roff(option->get_type_name()) << (option->get_expected_max() > 1 ? "..." : "");
    }
    out << "\n";
  }
  out << ".fi\n.SH DESCRIPTION\n" << roff(app.get_description()) << "\n.SH EXAMPLES\n";
  printVerbatim(out, app.get_footer());
  out << ".SH COMMANDS\n";
  for (const CLI::App* command : commandsOf(app)) {
    out << ".SS tamix " << roff(command->get_name()) << "\n" << roff(command->get_description()) << ".\n";
    printOptions(out, *command);
    out << ".PP\n";
    printVerbatim(out, command->get_footer());
  }
  for (const CLI::App* command : commandsOf(app)) {
    if (commandsOf(*command).empty()) continue;
    out << ".SH OPERATORS\n";
    for (const CLI::App* entry : commandsOf(*command)) {
      out << ".SS " << roff(entry->get_name()) << "\n" << roff(entry->get_description()) << ".\n";
      printOptions(out, *entry);
      out << ".PP\n";
      printVerbatim(out, entry->get_footer());
    }
  }
  out << ".SH EXIT STATUS\n0: done. 1: a run failed, or the compared pictures differ by more than the tolerance. "
         "2: the command line or an input to compare is wrong.\n";
}

void printBashCompletion(std::ostream& out, const CLI::App& app, bool for_zsh) {
  if (for_zsh) out << "#compdef tamix\nautoload -U +X bashcompinit && bashcompinit\n";
  out << R"(# Generated by 'tamix completion'.
_tamix_complete() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} path='' values='' followers='' options='' i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "$path/${COMP_WORDS[i]}" in
)";
  visitCommands(app, "", [&](const CLI::App&, const std::string& path) {
    if (!path.empty()) out << "      " << path << ") path=" << path << " ;;\n";
  });
  out << "      *) break ;;\n    esac\n  done\n  case \"$path $previous\" in\n";
  visitCommands(app, "", [&](const CLI::App& command, const std::string& path) {
    for (const CLI::Option* option : optionsOf(command, false)) {
      const std::string values = valuesOf(*option);
      if (!values.empty()) out << "    '" << path << " " << flagOf(*option) << "') values='" << values << "' ;;\n";
    }
  });
  out << "  esac\n  case \"$path\" in\n";
  visitCommands(app, "", [&](const CLI::App& command, const std::string& path) {
    out << "    '" << path << "') followers='" << followersOf(command) << "' options='";
    for (const CLI::Option* option : optionsOf(command, false)) out << flagOf(*option) << " ";
    out << "' ;;\n";
  });
  out << R"(  esac
  [[ -z $values ]] || followers=$values
  [[ $current != -* ]] || followers=$options
  # shellcheck disable=SC2207  # words
  COMPREPLY=($(compgen -W "$followers" -- "$current"))
}
complete -o default -F _tamix_complete tamix
)";
}

void printFishCompletion(std::ostream& out, const CLI::App& app) {
  out << "# Generated by 'tamix completion'.\n";
  visitCommands(app, "", [&](const CLI::App& command, const std::string& path) {
    // True after the words of the path; for a command of commands, before one of these.
    std::string condition = path.empty() ? "__fish_use_subcommand" : "";
    for (size_t begin = 1; begin < path.size();) {
      const size_t end = std::min(path.find('/', begin), path.size());
      condition += (condition.empty() ? "" : "; and ") + ("__fish_seen_subcommand_from " + path.substr(begin, end - begin));
      begin = end + 1;
    }
    const std::string followers = followersOf(command);
    const bool has_commands = !commandsOf(command).empty();
    if (has_commands && !path.empty()) condition += "; and not __fish_seen_subcommand_from " + followers;
    const std::string start = "complete -c tamix -n " + shellQuoted(condition);
    for (const CLI::App* below : commandsOf(command)) {
      out << start << " -f -a " << below->get_name() << " -d " << shellQuoted(below->get_description()) << "\n";
    }
    if (!has_commands && !followers.empty()) out << start << " -f -a " << shellQuoted(followers) << "\n";
    for (const CLI::Option* option : optionsOf(command, false)) {
      const std::string values = valuesOf(*option);
      out << start << " -l " << option->get_lnames().front();
      if (!option->get_type_name().empty()) out << " -r";
      if (!values.empty()) out << " -f -a " << shellQuoted(values);
      out << " -d " << shellQuoted(option->get_description()) << "\n";
    }
  });
}

}  // namespace tamix::tool
