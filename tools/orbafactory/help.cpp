#include "help.h"

#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "command_lookup.h"

namespace orba::cli {
namespace {

constexpr size_t kDefaultWidth = 80;
// Below this, wrapping helps nobody: every line would be a word or two.
constexpr size_t kNarrowest = 40;
// Positions a command with no upper bound is asked about.
constexpr size_t kUnboundedPositions = 8;

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  size_t at = 0;
  while (at < text.size()) {
    const size_t start = text.find_first_not_of(' ', at);
    if (start == std::string::npos) break;
    const size_t end = std::min(text.find(' ', start), text.size());
    words.push_back(text.substr(start, end - start));
    at = end;
  }
  return words;
}

std::string Joined(const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& v : values) text += (text.empty() ? "" : " ") + v;
  return text;
}

}  // namespace

size_t HelpWidth() {
  struct winsize ws = {};
  size_t width = 0;
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0) {
    width = ws.ws_col;
  } else if (const char* columns = getenv("COLUMNS"); columns != nullptr) {
    width = strtoul(columns, nullptr, 10);
  }
  if (width == 0) width = kDefaultWidth;
  return std::max(width, kNarrowest);
}

std::string Wrap(const std::string& text, size_t width, size_t first, size_t indent) {
  std::string out;
  size_t column = first;
  bool line_empty = true;
  for (const std::string& word : Words(text)) {
    if (!line_empty && column + 1 + word.size() > width) {
      out += '\n' + std::string(indent, ' ');
      column = indent;
      line_empty = true;
    }
    if (!line_empty) {
      out += ' ';
      ++column;
    }
    out += word;
    column += word.size();
    line_empty = false;
  }
  return out + '\n';
}

std::string CommandLine(const Family& family, const Command& command) {
  std::string line = family.name;
  if (command.name[0] != '\0') line += std::string(" ") + command.name;
  if (command.args[0] != '\0') line += std::string(" ") + command.args;
  return line;
}

std::string ArgumentName(const Command& command, size_t index) {
  // Positional words of the usage, options and their values left out: "ITEM VALUE [--app]"
  // gives ITEM, VALUE; "[--image FILE]" gives nothing.
  size_t position = 0;
  bool after_option = false;
  for (std::string word : Words(command.args)) {
    const bool option = word.find("--") != std::string::npos;
    word.erase(std::remove_if(word.begin(), word.end(),
                              [](char c) { return c == '[' || c == ']' || c == '\''; }),
               word.end());
    if (option || word.empty() || word == "|") {
      after_option = option;
      continue;
    }
    if (after_option) {  // the option's own value (--image FILE)
      after_option = false;
      continue;
    }
    if (position++ == index) return word;
  }
  return "argument " + std::to_string(index + 1);
}

std::vector<ArgumentValues> KnownValues(const Command& command) {
  std::vector<ArgumentValues> known;
  if (command.values == nullptr) return known;
  const size_t positions =
      command.max_args >= 0 ? static_cast<size_t>(command.max_args) : kUnboundedPositions;
  for (size_t i = 0; i < positions; ++i) {
    std::vector<std::string> values = command.values(i);
    if (!values.empty()) known.push_back({i, std::move(values)});
  }
  return known;
}

void PrintToolHelp(FILE* out, size_t width) {
  fputs("usage: orbafactory [OPTIONS] FAMILY COMMAND [ARGS]\n"
        "       orbafactory help [FAMILY [COMMAND]]\n\n",
        out);
  fputs(Wrap("Runs the factory test library's steps one at a time: results on stdout, "
             "diagnostics on stderr. Exit status: 0 only when the step did what was asked, 1 the "
             "step failed (one line on stderr says why), 2 usage error (nothing written), 3 no "
             "device, or the device is stopped; exec exits with the remote command's status.",
             width, 0, 0)
            .c_str(),
        out);
  fputs("\noptions (anywhere on the line before --):\n", out);
  const struct {
    const char* name;
    const char* text;
  } kOptions[] = {
      {"--root DIR", "the simulated device to work on (default: $ORBA_DEVICE_ROOT)"},
      {"-v", "show the library's own log on stderr (hidden by default: it reports at error "
             "level much that is routine, such as a property wait ending)"},
      {"--json", "answers as JSON Lines on stdout, one object per answer; a failure as one "
                 "object on stderr: {\"exit\":CODE,\"message\":...}"},
      {"-h, --help", "this text; after a family or a command, that one's help"},
      {"--version", "the version and the git commit this tool was built from"},
  };
  constexpr size_t kColumn = 15;
  for (const auto& o : kOptions) {
    std::string left = std::string("  ") + o.name;
    left.resize(kColumn, ' ');
    fputs((left + Wrap(o.text, width, kColumn, kColumn)).c_str(), out);
  }
  fputs("\nfamilies:\n", out);
  constexpr size_t kFamilyColumn = 13;
  for (const Family* f : SortedFamilies()) {
    std::string left = std::string("  ") + f->name;
    left.resize(std::max(kFamilyColumn, left.size() + 1), ' ');
    fputs((left + Wrap(f->summary, width, left.size(), kFamilyColumn)).c_str(), out);
  }
  fputs(("\n" + Wrap("`orbafactory help FAMILY` lists a family's commands; `orbafactory help "
                     "FAMILY COMMAND` shows a command's arguments, their values and an example. "
                     "`orbafactory completion bash` prints the bash completion script.",
                     width, 0, 0))
            .c_str(),
        out);
}

void PrintFamilyHelp(FILE* out, const Family& family, size_t width) {
  if (IsDirect(family)) {
    PrintCommandHelp(out, family, family.commands[0], width);
    return;
  }
  fputs(Wrap(std::string("orbafactory ") + family.name + ": " + family.summary, width, 0, 2)
            .c_str(),
        out);
  fputs("\ncommands:\n", out);
  // Summaries line up in a column after the longest usage that leaves them room; a longer
  // usage puts its summary on the next line.
  const size_t widest = std::min<size_t>(width / 2, 44);
  size_t column = 0;
  for (const Command& c : family.commands) {
    const size_t left = 2 + CommandLine(family, c).size() + 2;
    if (left <= widest) column = std::max(column, left);
  }
  if (column == 0) column = 6;
  for (const Command& c : family.commands) {
    std::string left = "  " + Wrap(CommandLine(family, c), width, 2, 6);
    left.pop_back();
    if (left.find('\n') != std::string::npos || left.size() + 2 > column) {
      left += '\n' + std::string(column, ' ');
    } else {
      left.resize(column, ' ');
    }
    fputs((left + Wrap(c.summary, width, column, column)).c_str(), out);
  }
  fputs(("\n" + Wrap(std::string("`orbafactory help ") + family.name +
                         " COMMAND` shows a command's argument values and an example.",
                     width, 0, 0))
            .c_str(),
        out);
}

void PrintCommandHelp(FILE* out, const Family& family, const Command& command, size_t width) {
  fputs(Wrap("usage: orbafactory " + CommandLine(family, command), width, 0, 7).c_str(), out);
  fputs(("\n" + Wrap(command.summary, width, 0, 0)).c_str(), out);
  const std::vector<ArgumentValues> known = KnownValues(command);
  if (!known.empty()) fputs("\n", out);
  for (const ArgumentValues& a : known) {
    const std::string head = ArgumentName(command, a.index) + ":";
    fputs((head + " " + Wrap(Joined(a.values), width, head.size() + 1, 2)).c_str(), out);
  }
  if (command.example != nullptr && command.example[0] != '\0') {
    // Never wrapped: the line is there to be copied whole.
    fprintf(out, "\nexample:\n  orbafactory %s\n", command.example);
  }
}

}  // namespace orba::cli
