#include "completion.h"

#include "command_lookup.h"
#include "help.h"

namespace orba::cli {
namespace {

std::string QuotedList(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& w : words) list += (list.empty() ? "" : " ") + ShellQuoted(w);
  return list;
}

// `case` arms that set `list` to a family's commands, `help` among them.
std::string CommandArms() {
  std::string arms;
  for (const Family* f : SortedFamilies()) {
    if (IsDirect(*f)) continue;
    std::vector<std::string> names;
    for (const Command& c : f->commands) names.push_back(c.name);
    names.push_back("help");
    arms += "    " + ShellQuoted(f->name) + ") list=(" + QuotedList(names) + ");;\n";
  }
  return arms;
}

// `case` arms keyed FAMILY/COMMAND/POSITION that set `list` to an argument's values.
std::string ValueArms() {
  std::string arms;
  for (const Family* f : SortedFamilies()) {
    for (const Command& c : f->commands) {
      for (const ArgumentValues& a : KnownValues(c)) {
        const std::string key = std::string(f->name) + "/" + c.name + "/" + std::to_string(a.index);
        arms += "    " + ShellQuoted(key) + ") list=(" + QuotedList(a.values) + ");;\n";
      }
    }
  }
  return arms;
}

std::string Names(bool direct) {
  std::vector<std::string> names;
  for (const Family* f : SortedFamilies()) {
    if (!direct || IsDirect(*f)) names.push_back(f->name);
  }
  return QuotedList(names);
}

}  // namespace

std::string ShellQuoted(const std::string& word) {
  std::string quoted = "'";
  for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string BashCompletionScript() {
  std::string direct = Names(true);
  std::string s;
  s += "# bash completion for orbafactory, written by `orbafactory completion bash` from the\n"
       "# tool's command table: families, commands, options and argument values.\n\n";
  s += "_orbafactory_commands() {\n  case $1 in\n" + CommandArms() + "  esac\n}\n\n";
  s += "_orbafactory_values() {\n  case $1 in\n" + ValueArms() + "  esac\n}\n\n";
  s += "_orbafactory_direct() {\n  local f\n  for f in " + direct +
       "; do [[ $1 == \"$f\" ]] && return 0; done\n  return 1\n}\n\n";
  s += R"(_orbafactory() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
  local -a words=() list=()
  local i w
  COMPREPLY=()
  if [[ $prev == --root ]]; then
    COMPREPLY=($(compgen -d -- "$cur"))
    return 0
  fi
  # The words that name the command, with the tool's own options (taken anywhere) left out.
  for ((i = 1; i < COMP_CWORD; i++)); do
    w=${COMP_WORDS[i]}
    case $w in
      --root) ((i++)) ;;
      -v | --verbose | --json | -h | --help | --version | --root=* | --) ;;
      *) words+=("$w") ;;
    esac
  done
  if ((${#words[@]} == 0)); then
    list=()" + Names(false) + R"( help)
  elif [[ ${words[0]} == help ]]; then
    case ${#words[@]} in
      1) list=()" + Names(false) + R"() ;;
      2) _orbafactory_commands "${words[1]}" ;;
    esac
  elif [[ ${words[0]} == completion ]]; then
    ((${#words[@]} == 1)) && list=(bash)
  else
    local family=${words[0]} command= skip=1 position=0
    if ! _orbafactory_direct "$family"; then
      if ((${#words[@]} == 1)); then
        _orbafactory_commands "$family"
        skip=0
      else
        command=${words[1]}
        skip=2
      fi
    fi
    if ((skip)); then
      # A command's own options (--app, --image FILE) hold no position.
      for w in "${words[@]:skip}"; do [[ $w == -* ]] || ((position++)); done
      _orbafactory_values "$family/$command/$position"
    fi
  fi
  # A dash word may be the tool's option or a value of the command's own (camera angle --stop).
  [[ $cur == -* ]] && list+=(--root --json -v --help --version)
  for w in "${list[@]}"; do
    [[ $w == "$cur"* ]] && COMPREPLY+=("$w")
  done
  return 0
}
complete -o default -F _orbafactory orbafactory
)";
  return s;
}

}  // namespace orba::cli
