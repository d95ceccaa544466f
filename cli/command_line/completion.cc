#include "cli/command_line/completion.h"

#include <string_view>

#include "cli/command_line/joined.h"

namespace readkit::cli {
namespace {

constexpr char kHelp[] = "--help";

std::vector<std::string> names_of(const std::vector<Command>& commands) {
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const Command& command : commands) names.push_back(command.name());
  return names;
}

std::vector<std::string> options_of(const Command& command) {
  std::vector<std::string> options;
  for (const Parameter& parameter : command.parameters()) {
    const std::vector<std::string> names = parameter.spellings();
    options.insert(options.end(), names.begin(), names.end());
  }
  options.emplace_back(kHelp);
  return options;
}

// `text` with a backslash before every one of `special`.
std::string escaped(const std::string& text, std::string_view special) {
  std::string result;
  for (const char c : text) {
    if (special.find(c) != std::string_view::npos) result += '\\';
    result += c;
  }
  return result;
}

// In single quotes, for a shell in which a quote inside is written '\''.
std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result + '\'';
}

// ---- bash ----------------------------------------------------------------------------------

// The words that fill COMPREPLY.
std::string bash_words(const Value& value) {
  if (!value.choices.empty()) return "-W '" + joined(value.choices, " ") + '\'';
  switch (value.completion) {
    case Completion::kFile:
      return "-f";
    case Completion::kFolder:
      return "-d";
    case Completion::kNothing:
      break;
  }
  return "-W ''";
}

std::string bash_reply(const std::string& words) {
  return "mapfile -t COMPREPLY < <(compgen " + words + " -- \"$current\")";
}

// ---- zsh -----------------------------------------------------------------------------------

std::string zsh_action(const Value& value) {
  if (!value.choices.empty()) return '(' + joined(value.choices, " ") + ')';
  switch (value.completion) {
    case Completion::kFile:
      return "_files";
    case Completion::kFolder:
      return "_files -/";
    case Completion::kNothing:
      break;
  }
  return " ";
}

std::string zsh_argument(const Parameter& parameter, int position) {
  const std::string value = ':' + parameter.value.name + ':' + zsh_action(parameter.value);
  if (parameter.is_positional()) {
    return quoted((parameter.repeated ? "*" : std::to_string(position)) + value);
  }
  const std::vector<std::string> names = parameter.spellings();
  const std::string help = '[' + escaped(parameter.help, "[]:\\") + ']';
  const std::string rest = quoted(help + (parameter.is_flag() ? "" : value));
  if (parameter.repeated) return "'*'" + names.back() + rest;
  if (names.size() == 1) return names.front() + rest;
  return "'(" + joined(names, " ") + ")'{" + joined(names, ",") + '}' + rest;
}

// ---- fish ----------------------------------------------------------------------------------

std::string fish_values(const Value& value) {
  if (!value.choices.empty()) return " -x -a " + quoted(joined(value.choices, " "));
  switch (value.completion) {
    case Completion::kFile:
      return " -r -F";
    case Completion::kFolder:
      return " -x -a '(__fish_complete_directories)'";
    case Completion::kNothing:
      break;
  }
  return " -x";
}

std::string fish_parameter(const std::string& start, const Parameter& parameter) {
  if (parameter.is_positional()) {
    if (!parameter.value.choices.empty()) {
      return start + " -a " + quoted(joined(parameter.value.choices, " ")) + '\n';
    }
    return parameter.value.completion == Completion::kFile ? start + " -F\n" : "";
  }
  std::string line = start;
  for (const std::string& name : parameter.spellings()) {
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (!parameter.is_flag()) line += fish_values(parameter.value);
  return line + " -d " + quoted(parameter.help) + '\n';
}

}  // namespace

std::string bash_completion(const std::vector<Command>& commands) {
  std::string script =
      "# Completion of readkit in bash; source it, or put it where bash-completion looks.\n"
      "_readkit() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
      "  if ((COMP_CWORD == 1)); then\n    " +
      bash_reply("-W '" + joined(names_of(commands), " ") + " --help --version'") +
      "\n    return\n  fi\n  case ${COMP_WORDS[1]}:$previous in\n";
  for (const Command& command : commands) {
    for (const Parameter& parameter : command.parameters()) {
      if (parameter.is_positional() || parameter.is_flag()) continue;
      std::vector<std::string> patterns;
      for (const std::string& name : parameter.spellings()) {
        patterns.push_back(command.name() + ':' + name);
      }
      script += "    " + joined(patterns, "|") + ") " + bash_reply(bash_words(parameter.value)) +
                "; return ;;\n";
    }
  }
  script += "  esac\n  case ${COMP_WORDS[1]}:$current in\n";
  for (const Command& command : commands) {
    script += "    " + command.name() + ":-*) " +
              bash_reply("-W '" + joined(options_of(command), " ") + '\'') + " ;;\n";
    std::string words = "-W ''";
    for (const Parameter& parameter : command.parameters()) {
      if (parameter.is_positional()) {
        words = bash_words(parameter.value);
        break;
      }
    }
    script += "    " + command.name() + ":*) " + bash_reply(words) + " ;;\n";
  }
  return script + "  esac\n}\ncomplete -o filenames -F _readkit readkit\n";
}

std::string zsh_completion(const std::vector<Command>& commands) {
  std::string script =
      "#compdef readkit\n"
      "# Completion of readkit in zsh; source it, or put it as _readkit into a folder of $fpath.\n"
      "_readkit() {\n  if (( CURRENT == 2 )); then\n    local -a commands\n    commands=(\n";
  for (const Command& command : commands) {
    script += "      " + quoted(command.name() + ':' + escaped(command.summary(), ":")) + '\n';
  }
  script +=
      "    )\n    _describe command commands\n    return\n  fi\n"
      "  local command=$words[2]\n  shift words\n  (( CURRENT-- ))\n  case $command in\n";
  for (const Command& command : commands) {
    script += "    " + command.name() + ")\n      _arguments -s";
    int position = 0;
    for (const Parameter& parameter : command.parameters()) {
      if (parameter.is_positional()) ++position;
      script += " \\\n        " + zsh_argument(parameter, position);
    }
    script += " \\\n        --help'[Print help]'\n      ;;\n";
  }
  return script +
         "  esac\n}\n"
         "if [[ $funcstack[1] == _readkit ]]; then\n  _readkit \"$@\"\nelse\n"
         "  compdef _readkit readkit\nfi\n";
}

std::string fish_completion(const std::vector<Command>& commands) {
  std::string script =
      "# Completion of readkit in fish; source it, or put it into ~/.config/fish/completions.\n"
      "complete -c readkit -f\n";
  for (const Command& command : commands) {
    script += "complete -c readkit -n __fish_use_subcommand -a " + command.name() + " -d " +
              quoted(command.summary()) + '\n';
  }
  for (const Command& command : commands) {
    const std::string start =
        "complete -c readkit -n '__fish_seen_subcommand_from " + command.name() + '\'';
    for (const Parameter& parameter : command.parameters()) {
      script += fish_parameter(start, parameter);
    }
    script += start + " -l help -d 'Print help'\n";
  }
  return script;
}

}  // namespace readkit::cli
