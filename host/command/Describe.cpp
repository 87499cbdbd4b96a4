#include "host/command/Describe.h"

#include <CLI/CLI.hpp>
#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "host/base/Error.h"
#include "host/base/Version.h"
#include "host/types/Profile.h"

namespace qzmtraw::host {
namespace {

/// What stands behind an option, or in its place.
enum class ValueKind { kNone, kWord, kTypes, kCategories, kLimit, kProfile, kFile, kFolder, kFree };

struct DescribedOption {
  /// With its hyphens; a positional argument's has none.
  std::string name;
  /// What the value is called; empty for switches.
  std::string value;
  std::string text;
  std::string group;
  ValueKind kind = ValueKind::kNone;
  /// All that a kWord may be, with spaces between them.
  std::string words;
  bool isRequired = false;
};

struct DescribedCommand {
  std::string name;
  std::string text;
  std::vector<DescribedOption> arguments;
  std::vector<DescribedOption> options;
};

/// What the registry and the program itself know, each with spaces between the names.
struct KnownNames {
  std::string types;
  std::string categories;
  std::string profiles;
};

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// The members of what an option chooses from, in order; empty when it chooses from nothing. A check that knows them
/// tells them when it refuses a value.
std::string MembersOf(CLI::Option& option) {
  const std::string nothingTakesIt = "\x01";
  const std::string refusal = nothingTakesIt + " not in {";
  for (int index = 0;; ++index) {
    try {
      const std::string told = (*option.get_validator(index))(nothingTakesIt);
      if (told.starts_with(refusal) && told.ends_with('}')) {
        return Replaced(told.substr(refusal.size(), told.size() - refusal.size() - 1), ",", " ");
      }
    } catch (const CLI::OptionNotFound&) {
      return {};
    } catch (const CLI::ValidationError&) {
      continue;
    }
  }
}

ValueKind KindOf(const DescribedOption& option) {
  if (!option.words.empty()) return ValueKind::kWord;
  static const std::map<std::string_view, ValueKind> kByName = {{"--types", ValueKind::kTypes},
                                                                {"--exclude", ValueKind::kTypes},
                                                                {"--category", ValueKind::kCategories},
                                                                {"--max-size", ValueKind::kLimit},
                                                                {"--profile", ValueKind::kProfile}};
  if (const auto known = kByName.find(option.name); known != kByName.end()) return known->second;
  if (option.value == "DIR") return ValueKind::kFolder;
  const bool isArgument = !option.name.starts_with("--");
  const bool isFile = option.value == "FILE" || option.value == "LIST" || option.value == "STATE";
  return isArgument || isFile ? ValueKind::kFile : ValueKind::kFree;
}

/// The members of what an option chooses from, or values that show how it is written.
std::string WordsOf(CLI::Option& option, const std::string& value) {
  return value == "K/N" ? "1/2 2/2 1/3 2/3 3/3 1/4 2/4 3/4 4/4" : MembersOf(option);
}

std::string ValueOf(const CLI::Option& option) {
  return option.get_option_text().empty() ? option.get_type_name() : option.get_option_text();
}

DescribedOption OptionOf(CLI::Option& option) {
  DescribedOption result;
  result.name = option.nonpositional() ? "--" + option.get_lnames().front() : option.get_name();
  result.text = option.get_description();
  result.group = option.get_group();
  result.isRequired = option.get_required();
  if (option.nonpositional() && option.get_items_expected_max() == 0) return result;
  result.value = option.nonpositional() ? ValueOf(option) : result.name;
  result.words = WordsOf(option, result.value);
  result.kind = KindOf(result);
  return result;
}

DescribedCommand CommandOf(CLI::App& app) {
  DescribedCommand command{app.get_name(), app.get_description(), {}, {}};
  for (CLI::Option* option : app.get_options()) {
    const bool isHelp = option == app.get_help_ptr();
    if (option->get_group().empty() && !isHelp) continue;
    (option->nonpositional() ? command.options : command.arguments).push_back(OptionOf(*option));
  }
  return command;
}

std::vector<DescribedCommand> CommandsOf(CLI::App& app) {
  std::vector<DescribedCommand> commands;
  for (CLI::App* command : app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
    commands.push_back(CommandOf(*command));
  }
  return commands;
}

template <class Items>
std::string Names(const Items& items) {
  std::string names;
  for (const auto& item : items) names += (names.empty() ? "" : " ") + item.name;
  return names;
}

std::string Joined(const std::set<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
  return text;
}

/// What options take: of types, beside rows, such as extensions.
KnownNames NamesIn(const TypeCatalogue& catalogue) {
  std::set<std::string> types;
  std::set<std::string> categories;
  for (const TypeInfo& type : catalogue) {
    // What a shell takes to be something else can be asked for by its row.
    if (type.extension.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+.") ==
        std::string::npos) {
      types.insert(type.extension);
    }
    categories.insert(Replaced(std::string(CategoryName(type.category)), " ", "-"));
  }
  const std::vector<std::string> profiles = BuiltInProfileNames();
  return {Joined(types), Joined(categories), Joined({profiles.begin(), profiles.end()})};
}

std::string BashReply(const DescribedOption& option) {
  switch (option.kind) {
    case ValueKind::kWord:
      return "COMPREPLY=($(compgen -W '" + option.words + "' -- \"$current\"))";
    case ValueKind::kTypes:
      return "_qzmtraw_list \"$_qzmtraw_types\"";
    case ValueKind::kCategories:
      return "_qzmtraw_list \"$_qzmtraw_categories\"";
    case ValueKind::kLimit:
      return "_qzmtraw_limit";
    case ValueKind::kProfile:
      return "_qzmtraw_profile";
    case ValueKind::kFolder:
      return "mapfile -t COMPREPLY < <(compgen -d -- \"$current\")";
    case ValueKind::kFile:
      return "mapfile -t COMPREPLY < <(compgen -f -- \"$current\")";
    default:
      return "COMPREPLY=()";
  }
}

void DescribeToBash(const DescribedCommand& tool, const std::vector<DescribedCommand>& commands,
                    const KnownNames& names, std::ostream& out) {
  out << "# bash completion for " << kProgramName << "\n\n"
      << "_qzmtraw_types='" << names.types << "'\n"
      << "_qzmtraw_categories='" << names.categories << "'\n"
      << "_qzmtraw_profiles='" << names.profiles << "'\n\n"
      << "# The last one of names with commas between them.\n"
      << "_qzmtraw_list() {\n"
      << "  local before=\n"
      << "  [[ $current == *,* ]] && before=${current%,*},\n"
      << "  COMPREPLY=($(compgen -P \"$before\" -W \"$1\" -- \"${current##*,}\"))\n"
      << "  compopt -o nospace 2>/dev/null\n"
      << "}\n\n"
      << "_qzmtraw_limit() {\n"
      << "  COMPREPLY=($(compgen -S = -W \"$_qzmtraw_types\" -- \"$current\"))\n"
      << "  compopt -o nospace 2>/dev/null\n"
      << "}\n\n"
      << "# Those of the program, those of the user, and files.\n"
      << "_qzmtraw_profile() {\n"
      << "  local file names=$_qzmtraw_profiles\n"
      << "  for file in \"${XDG_CONFIG_HOME:-$HOME/.config}\"/qzmtraw/profiles/*.conf; do\n"
      << "    [[ ${file##*/} =~ ^([A-Za-z0-9_+-]+)\\.conf$ ]] && names+=\" ${BASH_REMATCH[1]}\"\n"
      << "  done\n"
      << "  COMPREPLY=($(compgen -W \"$names\" -- \"$current\"))\n"
      << "  [[ $current == */* ]] && mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
      << "}\n\n"
      << "_qzmtraw() {\n"
      << "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=\n"
      << "  ((COMP_CWORD > 1)) && command=${COMP_WORDS[1]}\n"
      << "  COMPREPLY=()\n"
      << "  case \"$command $previous\" in\n";
  for (const DescribedCommand& command : commands) {
    for (const DescribedOption& option : command.options) {
      if (option.kind == ValueKind::kNone) continue;
      out << "    '" << command.name << ' ' << option.name << "') " << BashReply(option) << "; return ;;\n";
    }
  }
  out << "  esac\n"
      << "  case $command in\n"
      << "    '') COMPREPLY=($(compgen -W '" << Names(commands) << ' ' << Names(tool.options)
      << "' -- \"$current\")) ;;\n";
  for (const DescribedCommand& command : commands) {
    out << "    " << command.name << ")\n"
        << "      if [[ $current == -* ]]; then COMPREPLY=($(compgen -W '" << Names(command.options)
        << "' -- \"$current\"))\n";
    if (!command.arguments.empty()) out << "      else mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n";
    out << "      fi ;;\n";
  }
  out << "  esac\n"
      << "}\n"
      << "complete -o filenames -F _qzmtraw " << kProgramName << '\n';
}

/// As zsh's _arguments has it: [text]:value:action.
std::string ZshText(const std::string& text) {
  std::string escaped = Replaced(text, "'", "'\\''");
  for (const char* c : {"[", "]", ":"}) escaped = Replaced(escaped, c, std::string("\\") + c);
  return escaped;
}

std::string ZshAction(const DescribedOption& option) {
  switch (option.kind) {
    case ValueKind::kWord:
      return "(" + option.words + ")";
    case ValueKind::kTypes:
      return "_qzmtraw_types";
    case ValueKind::kCategories:
      return "_qzmtraw_categories";
    case ValueKind::kLimit:
      return "_qzmtraw_limits";
    case ValueKind::kProfile:
      return "_qzmtraw_profiles";
    case ValueKind::kFolder:
      return "_files -/";
    case ValueKind::kFile:
      return "_files";
    default:
      return " ";
  }
}

void DescribeToZsh(const DescribedCommand& tool, const std::vector<DescribedCommand>& commands, const KnownNames& names,
                   std::ostream& out) {
  out << "#compdef " << kProgramName << "\n\n"
      << "_qzmtraw_types() { _values -s , type " << names.types << " }\n"
      << "_qzmtraw_categories() { _values -s , category " << names.categories << " }\n"
      << "_qzmtraw_limits() { compadd -S = -- " << names.types << " }\n"
      << "_qzmtraw_profiles() {\n"
      << "  compadd -- " << names.profiles << " ${XDG_CONFIG_HOME:-$HOME/.config}/qzmtraw/profiles/*.conf(N:t:r)\n"
      << "  _files -g '*.conf'\n"
      << "}\n\n"
      << "_qzmtraw() {\n"
      << "  local context state state_descr line\n"
      << "  typeset -A opt_args\n"
      << "  _arguments -C";
  for (const DescribedOption& option : tool.options) out << " '" << option.name << '[' << ZshText(option.text) << "]'";
  out << " '1: :->command' '*:: :->rest'\n"
      << "  case $state in\n"
      << "    command) _values command";
  for (const DescribedCommand& command : commands) {
    out << " '" << command.name << '[' << ZshText(command.text) << "]'";
  }
  out << " ;;\n"
      << "    rest)\n"
      << "      case $words[1] in\n";
  for (const DescribedCommand& command : commands) {
    out << "        " << command.name << ")\n          _arguments";
    for (const DescribedOption& option : command.options) {
      out << " \\\n            '" << option.name << '[' << ZshText(option.text) << ']';
      if (option.kind != ValueKind::kNone) out << ':' << option.value << ':' << ZshAction(option);
      out << '\'';
    }
    for (const DescribedOption& argument : command.arguments) {
      out << " \\\n            '*:" << argument.name << ":_files'";
    }
    out << " ;;\n";
  }
  out << "      esac ;;\n"
      << "  esac\n"
      << "}\n\n"
      << "_qzmtraw \"$@\"\n";
}

std::string FishText(const std::string& text) { return "'" + Replaced(Replaced(text, "\\", "\\\\"), "'", "\\'") + "'"; }

std::string FishValue(const DescribedOption& option) {
  switch (option.kind) {
    case ValueKind::kNone:
      return "";
    case ValueKind::kWord:
      return " -x -a " + FishText(option.words);
    case ValueKind::kTypes:
      return " -x -a '(__qzmtraw_list $__qzmtraw_types)'";
    case ValueKind::kCategories:
      return " -x -a '(__qzmtraw_list $__qzmtraw_categories)'";
    case ValueKind::kLimit:
      return " -x -a '$__qzmtraw_types='";
    case ValueKind::kProfile:
      return " -r -F -a '(__qzmtraw_profiles)'";
    case ValueKind::kFolder:
      return " -x -a '(__fish_complete_directories)'";
    case ValueKind::kFile:
      return " -r -F";
    default:
      return " -x";
  }
}

void DescribeToFish(const DescribedCommand& tool, const std::vector<DescribedCommand>& commands,
                    const KnownNames& names, std::ostream& out) {
  const std::string complete = std::string("complete -c ") + kProgramName;
  out << "# fish completion for " << kProgramName << "\n\n"
      << "set -g __qzmtraw_types " << names.types << '\n'
      << "set -g __qzmtraw_categories " << names.categories << "\n\n"
      << "# The last one of names with commas between them.\n"
      << "function __qzmtraw_list\n"
      << "    set -l before (string match -r '^.*,' -- (commandline -ct))\n"
      << "    printf '%s\\n' \"$before\"$argv\n"
      << "end\n\n"
      << "# Those of the program, and those of the user.\n"
      << "function __qzmtraw_profiles\n"
      << "    set -l folder ~/.config\n"
      << "    set -q XDG_CONFIG_HOME; and set folder $XDG_CONFIG_HOME\n"
      << "    set -l own $folder/qzmtraw/profiles/*.conf\n"
      << "    printf '%s\\n' " << names.profiles << " (string replace -rf '^.*/(.*)\\.conf$' '$1' -- $own)\n"
      << "end\n\n"
      << complete << " -f\n";
  const std::string isFirst = complete + " -n __fish_use_subcommand";
  for (const DescribedOption& option : tool.options) {
    out << isFirst << " -l " << option.name.substr(2) << " -d " << FishText(option.text) << '\n';
  }
  for (const DescribedCommand& command : commands) {
    out << isFirst << " -a " << command.name << " -d " << FishText(command.text) << '\n';
    const std::string isCommand = complete + " -n '__fish_seen_subcommand_from " + command.name + "'";
    if (!command.arguments.empty()) out << isCommand << " -F\n";
    for (const DescribedOption& option : command.options) {
      out << isCommand << " -l " << option.name.substr(2) << FishValue(option) << " -d " << FishText(option.text)
          << '\n';
    }
  }
}

std::string RoffText(const std::string& text) {
  std::string escaped = Replaced(Replaced(text, "\\", "\\e"), "-", "\\-");
  if (escaped.starts_with('.') || escaped.starts_with('\'')) escaped.insert(0, "\\&");
  return escaped;
}

void DescribeToRoff(const DescribedOption& option, std::ostream& out) {
  out << ".TP\n";
  if (option.name.starts_with("--")) {
    out << "\\fB" << RoffText(option.name) << "\\fR";
    if (!option.value.empty()) out << " \\fI" << RoffText(option.value) << "\\fR";
  } else {
    out << "\\fI" << RoffText(option.name) << "\\fR";
  }
  out << '\n' << RoffText(option.text) << (option.text.ends_with('.') ? "\n" : ".\n");
}

void DescribeToRoff(const std::vector<DescribedCommand>& commands, std::ostream& out) {
  for (const DescribedCommand& command : commands) {
    out << ".SS \"" << kProgramName << ' ' << command.name;
    for (const DescribedOption& argument : command.arguments) out << ' ' << RoffText(argument.name);
    for (const DescribedOption& option : command.options) {
      if (option.isRequired) out << ' ' << RoffText(option.name) << ' ' << RoffText(option.value);
    }
    out << " [OPTION...]\"\n" << RoffText(command.text) << ".\n";
    for (const DescribedOption& argument : command.arguments) DescribeToRoff(argument, out);
    std::string group;
    for (const DescribedOption& option : command.options) {
      if (option.name == "--help") continue;
      if (option.group != group) out << ".PP\n" << RoffText(option.group) << ":\n";
      group = option.group;
      DescribeToRoff(option, out);
    }
  }
}

}  // namespace

CLI::App* AddDescribeCommand(CLI::App& app, std::string& form) {
  CLI::App* command = app.add_subcommand("describe", "Describe the command line: bash, zsh, fish or man");
  command->group("");
  command->add_option("FORM", form)->required();
  return command;
}

void Describe(CLI::App& app, const TypeCatalogue& catalogue, const std::string& form, std::ostream& out) {
  const DescribedCommand tool = CommandOf(app);
  const std::vector<DescribedCommand> commands = CommandsOf(app);
  const KnownNames names = NamesIn(catalogue);
  if (form == "bash") {
    DescribeToBash(tool, commands, names, out);
  } else if (form == "zsh") {
    DescribeToZsh(tool, commands, names, out);
  } else if (form == "fish") {
    DescribeToFish(tool, commands, names, out);
  } else if (form == "man") {
    DescribeToRoff(commands, out);
  } else {
    throw UsageError("describe: there is no description for '" + form + "': there are bash, zsh, fish and man");
  }
}

}  // namespace qzmtraw::host
