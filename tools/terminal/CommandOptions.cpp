#include "terminal/CommandOptions.h"

#include <CLI/Error.hpp>
#include <algorithm>
#include <sstream>
#include <string_view>

#include "Common/SafeText.h"
#include "Common/unix/psnautil.h"
#include "QLMlib/common/ut/Product.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

constexpr size_t WIDTH = 80;
constexpr size_t OPTION_COLUMNS = 26;  // of a line of help, in front of what it says
constexpr const char* HELP_GROUP = "Help";

/// What a value of an option is, for completion and manual.
struct Value {
  std::string name;                  // empty: the option takes none
  std::vector<std::string> choices;  // empty: anything

  bool isFile() const { return name == "FILE"; }
  bool isDirectory() const { return name == "DIRECTORY"; }
};

Value valueOf(const CLI::Option& option) {
  if (option.get_type_size_max() == 0) return {};
  // "NAME:{one,two}" where members are checked.
  const std::string type = option.get_type_name();
  Value value{type.substr(0, type.find(':')), {}};
  const size_t begin = type.find('{'), end = type.rfind('}');
  if (begin == std::string::npos || end == std::string::npos) return value;
  std::istringstream members(type.substr(begin + 1, end - begin - 1));
  for (std::string member; std::getline(members, member, ',');) value.choices.push_back(member);
  return value;
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& command, const std::string& group) {
  return command.get_options([&group](const CLI::Option* option) {
    return option->get_group() == group && !option->get_lnames().empty();
  });
}

/// The groups that hold options, in the order of these, with the help's last.
std::vector<std::string> groupsOf(const CLI::App& command) {
  std::vector<std::string> groups;
  for (const std::string& group : command.get_groups()) {
    if (!group.empty() && group != HELP_GROUP && !optionsOf(command, group).empty()) groups.push_back(group);
  }
  groups.emplace_back(HELP_GROUP);
  return groups;
}

std::vector<const CLI::Option*> allOptions(const CLI::App& command) {
  std::vector<const CLI::Option*> all;
  for (const std::string& group : groupsOf(command)) {
    const std::vector<const CLI::Option*> some = optionsOf(command, group);
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

/// "--output", "-o".
std::vector<std::string> namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  return names;
}

std::string firstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

/// Words in lines that aren't wider than a screen.
std::string wrapped(const std::vector<std::string>& words, const std::string& indent) {
  std::string text, line = indent;
  for (const std::string& word : words) {
    if (line.size() + word.size() + 1 > WIDTH && line != indent) {
      text += line + "\n";
      line = indent;
    }
    line += (line == indent ? "" : " ") + word;
  }
  return text + line + "\n";
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::string helpLine(const CLI::Option& option) {
  std::string names = "  ";
  for (const std::string& name : namesOf(option)) names += (names.size() > 2 ? ", " : "") + name;
  if (const Value value = valueOf(option); !value.name.empty()) names += " " + value.name;
  std::string said = wrapped(wordsOf(firstLine(option.get_description())), std::string(OPTION_COLUMNS, ' '));
  if (names.size() + 2 > OPTION_COLUMNS) return names + "\n" + said;
  return padRight(names, OPTION_COLUMNS) + said.substr(OPTION_COLUMNS);
}

/// @param all every option on a line of its own, otherwise those of the first group alone
std::string helpOf(const CLI::App& command, bool all) {
  std::string text = command.get_description() + "\n";
  bool isFirst = true;
  for (const std::string& group : groupsOf(command)) {
    const std::vector<const CLI::Option*> options = optionsOf(command, group);
    if (isFirst || all) {
      text += "\n" + group + ":\n";
      for (const CLI::Option* option : options) text += helpLine(*option);
    } else {
      std::vector<std::string> words = {group + ":"};
      for (const CLI::Option* option : options) words.push_back(namesOf(*option).front());
      text += wrapped(words, "");
    }
    isFirst = false;
  }
  return text + "\n" + command.get_footer() + "\n";
}

// --- Manual
// --------------------------------------------------------------------------------------------------

/// A text as roff prints it: dashes stay dashes, and no line is taken for a request.
std::string roff(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '-')
      escaped += "\\-";
    else if (c == '\\')
      escaped += "\\e";
    else
      escaped += c;
  }
  if (escaped.starts_with('.') || escaped.starts_with('\'')) escaped.insert(0, "\\&");
  return escaped;
}

/// The line of the help as a sentence.
std::string asSentence(const std::string& description) {
  const size_t end = std::min(description.find('\n'), description.size());
  std::string text = description.substr(0, end) + "." + description.substr(end);
  if (text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

/// The sentences of a description; words that are options in bold.
std::string roffSentences(const std::string& description) {
  std::string text;
  std::istringstream lines(asSentence(description));
  for (std::string line; std::getline(lines, line);) {
    std::string shown;
    for (const std::string& word : wordsOf(line)) {
      const size_t end = word.find_last_not_of(".,;:)") + 1;
      const bool isOption = word.starts_with("--");
      if (!shown.empty()) shown += ' ';
      shown += isOption ? "\\fB" + roff(word.substr(0, end)) + "\\fP" + roff(word.substr(end)) : roff(word);
    }
    if (shown.starts_with('.') || shown.starts_with('\'')) shown.insert(0, "\\&");
    text += shown + "\n";
  }
  return text;
}

// --- Completion
// ----------------------------------------------------------------------------------------------

std::string joined(const std::vector<std::string>& words, const char* between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

/// For zsh's _arguments, in which brackets and colons have a meaning of their own.
std::string zshEscaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (std::string_view("[]:\\").find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace

void beginCommand(CLI::App& command, const std::string& name, const std::string& usage,
                  const std::string& summary, const std::string& examples) {
  command.name(name);
  command.description("Usage: " + name + " " + usage + "\n" + summary);
  command.footer(examples);
  command.set_help_flag("--help,-h", "the options in short")->group(HELP_GROUP);
  command.set_help_all_flag("--help-all", "all options, each with what it does")->group(HELP_GROUP);
  command.set_version_flag("--version", name + " " + PRODUCT_VERSION, "print the version")->group(HELP_GROUP);
}

std::optional<std::string> parseCommand(CLI::App& command, const std::vector<std::string>& arguments) {
  try {
    command.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    return std::nullopt;
  } catch (const CLI::CallForHelp&) {
    return helpText(command);
  } catch (const CLI::CallForAllHelp&) {
    return wholeHelpText(command);
  } catch (const CLI::CallForVersion& version) {
    return version.what() + std::string("\n");
  } catch (const CLI::ParseError& error) {
    throw UsageError(safeText(error.what(), Backslash::KEPT));
  }
}

std::string helpText(const CLI::App& command) {
  return helpOf(command, false);
}

std::string wholeHelpText(const CLI::App& command) {
  return helpOf(command, true);
}

std::string manualOptions(const CLI::App& command) {
  std::string text;
  for (const std::string& group : groupsOf(command)) {
    text += ".SS " + roff(group) + "\n";
    for (const CLI::Option* option : optionsOf(command, group)) {
      std::string heading;
      for (const std::string& name : namesOf(*option))
        heading += (heading.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fP";
      const Value value = valueOf(*option);
      if (!value.name.empty()) heading += " \\fI" + roff(value.name) + "\\fP";
      text += ".TP\n" + heading + "\n" + roffSentences(option->get_description());
      if (!value.choices.empty()) text += "One of " + roff(joined(value.choices, ", ")) + ".\n";
    }
  }
  return text;
}

std::string bashCompletion(const CLI::App& command) {
  const std::string& name = command.get_name();
  std::string cases, words;
  for (const CLI::Option* option : allOptions(command)) {
    const std::vector<std::string> names = namesOf(*option);
    words += (words.empty() ? "" : " ") + names.front();
    const Value value = valueOf(*option);
    if (value.name.empty()) continue;
    cases += "    " + joined(names, "|") + ")\n";
    if (!value.choices.empty()) {
      cases += "      mapfile -t COMPREPLY < <(compgen -W \"" + joined(value.choices, " ") +
               "\" -- \"$current\")\n";
    } else if (value.isFile() || value.isDirectory()) {
      cases += std::string("      mapfile -t COMPREPLY < <(compgen ") + (value.isFile() ? "-f" : "-d") +
               " -- \"$current\")\n      compopt -o filenames\n";
    }
    cases += "      return ;;\n";
  }
  return "# bash completion of " + name + "\n_" + name +
         "() {\n  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n  "
         "COMPREPLY=()\n"
         "  case $previous in\n" +
         cases + "  esac\n  case $current in\n    -*) mapfile -t COMPREPLY < <(compgen -W \"" + words +
         "\" -- \"$current\") ;;\n    *)\n      mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
         "      compopt -o filenames ;;\n  esac\n}\ncomplete -F _" +
         name + " " + name + "\n";
}

std::string zshCompletion(const CLI::App& command) {
  std::string text = "#compdef " + command.get_name() + "\n_arguments -s \\\n";
  for (const CLI::Option* option : allOptions(command)) {
    const Value value = valueOf(*option);
    std::string behind = "[" + zshEscaped(firstLine(option->get_description())) + "]";
    if (!value.name.empty()) {
      behind += ":" + value.name + ":";
      if (!value.choices.empty())
        behind += "(" + joined(value.choices, " ") + ")";
      else if (value.isFile())
        behind += "_files";
      else if (value.isDirectory())
        behind += "_files -/";
    }
    const std::vector<std::string> names = namesOf(*option);
    for (const std::string& name : names) {
      const bool takesValue = !value.name.empty();
      const char* const equals = takesValue && name.starts_with("--") ? "=" : "";
      text.append("  ")
          .append(shellQuoted(std::string("*").append(name).append(equals).append(behind)))
          .append(" \\\n");
    }
  }
  return text + "  '*:file:_files'\n";
}

std::string fishCompletion(const CLI::App& command) {
  std::string text = "# fish completion of " + command.get_name() + "\n";
  for (const CLI::Option* option : allOptions(command)) {
    text += "complete -c " + command.get_name();
    for (const std::string& name : option->get_lnames()) text += " -l " + name;
    for (const std::string& name : option->get_snames()) text += " -s " + name;
    const Value value = valueOf(*option);
    if (!value.choices.empty())
      text += " -x -a " + shellQuoted(joined(value.choices, " "));
    else if (value.isFile())
      text += " -r -F";
    else if (value.isDirectory())
      text += " -x -a '(__fish_complete_directories)'";
    else if (!value.name.empty())
      text += " -x";
    text += " -d " + shellQuoted(firstLine(option->get_description())) + "\n";
  }
  return text;
}

}  // namespace agent::tools
