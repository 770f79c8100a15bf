// SPDX-License-Identifier: Apache-2.0
#include "msgctl/completion.hpp"

#include <functional>
#include <string_view>

namespace msgctl {
namespace {

// What can be written in some place, and what it means.
struct Candidate {
  std::string word;
  std::string description;
};

// How a shell writes the parts of a table of cases. Apart from that, and from the way the shell itself is asked and
// answered, the scripts are the same: three tables, and a walk along the words in front of the cursor.
struct Dialect {
  std::string (*quoted)(const std::string& text);
  std::string (*function)(const char* name, const std::string& cases);
  std::string (*answer)(const std::string& pattern, const std::vector<Candidate>& candidates);
  std::string (*any_position)(const std::string& command);  // the pattern for every position from the first on
  const char* any_command;                                  // the pattern in front of an option that all have
};

std::string replaced(const std::string& text, char what, const char* by) {
  std::string result;
  for (const char c : text) {
    if (c == what) {
      result += by;
    } else {
      result += c;
    }
  }
  return result;
}

std::string posix_quoted(const std::string& text) { return "'" + replaced(text, '\'', R"('\'')") + "'"; }

std::string fish_quoted(const std::string& text) {
  return "'" + replaced(replaced(text, '\\', R"(\\)"), '\'', R"(\')") + "'";
}

std::string posix_function(const char* name, const std::string& cases) {
  return std::string(name) + "() {\n  REPLY=\n  case $1 in\n" + cases + "  esac\n}\n\n";
}

std::string fish_function(const char* name, const std::string& cases) {
  return "function _" + std::string(name) + "\n    switch $argv[1]\n" + cases + "    end\nend\n\n";
}

std::string bash_answer(const std::string& pattern, const std::vector<Candidate>& candidates) {
  std::string words;
  for (const Candidate& candidate : candidates) words += (words.empty() ? "" : " ") + candidate.word;
  return "    " + pattern + ") REPLY=" + posix_quoted(words) + " ;;\n";
}

// One candidate a line, in the form "word:description".
std::string zsh_answer(const std::string& pattern, const std::vector<Candidate>& candidates) {
  std::string lines;
  for (const Candidate& candidate : candidates) {
    if (!lines.empty()) lines += '\n';
    lines += candidate.word;
    if (!candidate.description.empty()) lines += ":" + candidate.description;
  }
  return "    " + pattern + ") REPLY=" + posix_quoted(lines) + " ;;\n";
}

std::string fish_answer(const std::string& pattern, const std::vector<Candidate>& candidates) {
  std::string result = "        case " + pattern + "\n            printf '%s\\t%s\\n'";
  for (const Candidate& candidate : candidates) {
    result += " \\\n                " + fish_quoted(candidate.word) + " " + fish_quoted(candidate.description);
  }
  return result + "\n";
}

std::string posix_any_position(const std::string& command) { return posix_quoted(command + "|") + "[0-9]*"; }
std::string fish_any_position(const std::string& command) { return fish_quoted(command + "|any"); }

constexpr Dialect bash = {posix_quoted, posix_function, bash_answer, posix_any_position, "*"};
constexpr Dialect zsh = {posix_quoted, posix_function, zsh_answer, posix_any_position, "*"};
constexpr Dialect fish = {fish_quoted, fish_function, fish_answer, fish_any_position, "\\*"};

// "@…" stands for what the shell finds out when it is asked.
std::vector<Candidate> values_of(const OptionOutline& option) {
  if (option.value == "FILE") return {{"@file", {}}};
  if (option.value == "MESSAGE") return {{"@message-ids", {}}};
  if (option.value == "THREAD") return {{"@thread-ids", {}}};
  std::vector<Candidate> words;
  for (const std::string& word : option.choices()) words.push_back({word, {}});
  if (words.empty()) words.push_back({"@none", {}});
  return words;
}

std::string last_word(const std::string& name) { return name.substr(name.rfind(' ') + 1); }

void for_each_outline(const Outline& outline, const std::function<void(const Outline&)>& act) {
  act(outline);
  for (const Outline& command : outline.commands) {
    if (!command.hidden) for_each_outline(command, act);
  }
}

std::string command_cases(const Outline& root, const Dialect& dialect) {
  std::string cases;
  for_each_outline(root, [&](const Outline& outline) {
    std::vector<Candidate> commands;
    for (const Outline& command : outline.commands) {
      if (!command.hidden) commands.push_back({last_word(command.name), command.summary});
    }
    if (!commands.empty()) cases += dialect.answer(dialect.quoted(outline.name), commands);
  });
  return cases;
}

void add_options(const Outline& outline, std::vector<Candidate>& options) {
  for (const OptionOutline& option : outline.options) {
    if (!option.positional) options.push_back({option.name, option.description});
  }
}

std::string option_cases(const Outline& root, const Dialect& dialect) {
  std::string cases;
  for_each_outline(root, [&](const Outline& outline) {
    std::vector<Candidate> options;
    add_options(outline, options);
    if (!outline.name.empty()) {
      for (const OptionOutline& option : root.options) {
        if (option.name != "--help" && option.name != "--version") options.push_back({option.name, option.description});
      }
    }
    cases += dialect.answer(dialect.quoted(outline.name), options);
  });
  return cases;
}

std::string value_cases(const Outline& root, const Dialect& dialect) {
  std::string cases;
  for_each_outline(root, [&](const Outline& outline) {
    int position = 0;
    for (const OptionOutline& option : outline.options) {
      if (!option.positional && option.value.empty()) continue;
      std::string pattern = dialect.quoted(outline.name + "|" + option.name);
      if (option.positional) {
        ++position;
        pattern = option.repeats ? dialect.any_position(outline.name)
                                 : dialect.quoted(outline.name + "|" + std::to_string(position));
      } else if (outline.name.empty()) {
        // The options of msgctl itself may stand behind every command.
        pattern = dialect.any_command + dialect.quoted("|" + option.name);
      }
      cases += dialect.answer(pattern, values_of(option));
    }
  });
  return cases;
}

std::string tables(const Outline& root, const Dialect& dialect) {
  return dialect.function("_msgctl_commands", command_cases(root, dialect)) +
         dialect.function("_msgctl_options", option_cases(root, dialect)) +
         dialect.function("_msgctl_values", value_cases(root, dialect));
}

constexpr const char* generated =
    "# SPDX-License-Identifier: Apache-2.0\n"
    "# Generated by msgctl from its commands.\n\n";

// Bash takes "--option=value" apart at the sign, which then is a word of its own.
constexpr const char* bash_walk = R"shell(_msgctl() {
  local current=${COMP_WORDS[COMP_CWORD]} command='' option='' position=1 word REPLY
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ -n $option ]]; then
      [[ $word == = ]] || option=''
      continue
    fi
    if [[ $word == -?* ]]; then
      _msgctl_values "$command|$word"
      [[ -z $REPLY ]] || option=$word
      continue
    fi
    _msgctl_commands "$command"
    if [[ " $REPLY " == *" $word "* ]]; then
      command=${command:+$command }$word
    else
      ((position++))
    fi
  done
  [[ $current != = ]] || current=''

  if [[ -n $option ]]; then
    _msgctl_values "$command|$option"
  elif [[ $current == -* ]]; then
    _msgctl_options "$command"
  else
    _msgctl_commands "$command"
    [[ -n $REPLY ]] || _msgctl_values "$command|$position"
  fi

  COMPREPLY=()
  case $REPLY in
    @file)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      ;;
    @*-ids)
      mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" completion "${REPLY#@}" 2>/dev/null | cut -f 1)" -- "$current")
      ;;
    @none) ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W "$REPLY" -- "$current")
      ;;
  esac
}

complete -F _msgctl msgctl
)shell";

constexpr const char* zsh_walk = R"shell(_msgctl() {
  local command='' option='' position=1 word REPLY
  local -a candidates
  for word in "${(@)words[2,CURRENT-1]}"; do
    if [[ -n $option ]]; then
      option=''
      continue
    fi
    if [[ $word == -?* ]]; then
      _msgctl_values "$command|$word"
      [[ -z $REPLY ]] || option=$word
      continue
    fi
    _msgctl_commands "$command"
    candidates=("${(@f)REPLY}")
    if (( ${#candidates[(r)$word(|:*)]} )); then
      command=${command:+$command }$word
    else
      (( position++ ))
    fi
  done

  if [[ -z $option && $words[CURRENT] == --*=* ]]; then
    option=${words[CURRENT]%%=*}
    compset -P '*='
  fi
  if [[ -n $option ]]; then
    _msgctl_values "$command|$option"
  elif [[ $words[CURRENT] == -* ]]; then
    _msgctl_options "$command"
  else
    _msgctl_commands "$command"
    [[ -n $REPLY ]] || _msgctl_values "$command|$position"
  fi

  case $REPLY in
    @file)
      _files
      return
      ;;
    @*-ids)
      candidates=("${(@f)$("${words[1]}" completion "${REPLY#@}" 2>/dev/null)}")
      candidates=("${(@)candidates//:/\\:}")
      candidates=("${(@)candidates/$'\t'/:}")
      ;;
    @none)
      candidates=()
      ;;
    *)
      candidates=("${(@f)REPLY}")
      ;;
  esac
  candidates=("${(@)candidates:#}")
  (( ${#candidates} )) && _describe -V msgctl candidates
}

if [[ $funcstack[1] == _msgctl ]]; then
  _msgctl "$@"
else
  compdef _msgctl msgctl
fi
)shell";

constexpr const char* fish_walk = R"shell(function __msgctl_complete
    set -l words (commandline -opc) (commandline -ct)
    set -l current $words[-1]
    set -l command ''
    set -l option ''
    set -l position 1
    set -l values
    for word in $words[2..-2]
        if test -n "$option"
            set option ''
        else if string match -q -- '-?*' $word
            set values (__msgctl_values "$command|$word")
            if set -q values[1]
                set option $word
            end
        else if contains -- $word (__msgctl_commands $command | string replace -r '\t.*' '')
            set command (string trim -- "$command $word")
        else
            set position (math $position + 1)
        end
    end

    set -l prefix ''
    if test -z "$option"; and string match -q -- '--*=*' $current
        set option (string replace -r '=.*' '' -- $current)
        set prefix "$option="
    end
    if test -n "$option"
        set values (__msgctl_values "$command|$option")
    else if string match -q -- '-*' $current
        set values (__msgctl_options $command)
    else
        set values (__msgctl_commands $command)
        if not set -q values[1]
            set values (__msgctl_values "$command|$position")
        end
        # The patterns of this shell know no digits.
        if not set -q values[1]
            set values (__msgctl_values "$command|any")
        end
    end

    switch "$values[1]"
        case '@file*'
            __fish_complete_path (string replace -- $prefix '' $current)
        case '@message-ids*' '@thread-ids*'
            $words[1] completion (string replace -r '^@(\S+).*' '$1' -- $values[1]) 2>/dev/null
        case '@none*' ''
        case '*'
            printf "$prefix%s\n" $values
    end
end

complete -c msgctl -f -a '(__msgctl_complete)'
)shell";

}  // namespace

std::string bash_completion(const Outline& root) {
  return "# shellcheck shell=bash\n" + std::string(generated) + tables(root, bash) + bash_walk;
}

std::string zsh_completion(const Outline& root) {
  return "#compdef msgctl\n" + std::string(generated) + tables(root, zsh) + zsh_walk;
}

std::string fish_completion(const Outline& root) { return generated + tables(root, fish) + fish_walk; }

}  // namespace msgctl
