#include "options.h"

#include <string.h>

#include "command.h"
#include "command_lookup.h"

namespace orba::cli {
namespace {

enum class Take { kNone, kFlag, kWithValue };

// Whether `word` is one of the front end's options, and whether the next word is its value.
Take OurOption(const std::string& word, Invocation* inv) {
  if (word == "-v" || word == "--verbose") {
    inv->verbose = true;
  } else if (word == "--json") {
    inv->json = true;
  } else if (word == "-h" || word == "--help") {
    inv->help = true;
  } else if (word == "--version") {
    inv->version = true;
  } else if (word.rfind("--root=", 0) == 0) {
    inv->has_root = true;
    inv->root = word.substr(strlen("--root="));
  } else if (word == "--root") {
    return Take::kWithValue;
  } else {
    return Take::kNone;
  }
  return Take::kFlag;
}

// The command a line names so far, when its words reach past the command name.
const Command* NamedCommand(const std::vector<std::string>& words) {
  if (words.empty()) return nullptr;
  const Family* family = FindFamily(words[0]);
  if (family == nullptr) return nullptr;
  if (IsDirect(*family)) return &family->commands[0];
  return words.size() >= 2 ? FindCommand(*family, words[1]) : nullptr;
}


}  // namespace

bool ParseCommandLine(int argc, char** argv, Invocation* inv, std::string* error) {
  error->clear();
  bool passthrough = false;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (passthrough) {
      inv->words.push_back(word);
      continue;
    }
    if (word == "--") {
      inv->words.insert(inv->words.end(), argv + i + 1, argv + argc);
      break;
    }
    switch (OurOption(word, inv)) {
      case Take::kFlag:
        continue;
      case Take::kWithValue:
        // A directory named like an option is far likelier an option whose value was left out.
        if (i + 1 >= argc || argv[i + 1][0] == '-') {
          if (error->empty()) *error = word + " needs a value: " + word + " DIR";
          continue;
        }
        inv->has_root = true;
        inv->root = argv[++i];
        continue;
      case Take::kNone:
        break;
    }
    if (word.size() > 1 && word[0] == '-' && inv->words.empty()) {
      // Read on all the same: a --json further on decides how this is reported.
      if (error->empty()) *error = "unknown option " + word;
      continue;
    }
    const Command* named = NamedCommand(inv->words);
    if (word[0] != '-' && named != nullptr && named->runs_command_line) {
      // The words up to and including the command's name are not yet its arguments, and a
      // word after an option of the command's own (--timeout S) is that option's value.
      const size_t name_words = IsDirect(*FindFamily(inv->words[0])) ? 1 : 2;
      const bool is_value =
          inv->words.size() > name_words && inv->words.back().rfind("--", 0) == 0;
      if (inv->words.size() >= name_words && !is_value) passthrough = true;
    }
    inv->words.push_back(word);
  }
  return error->empty();
}

}  // namespace orba::cli
