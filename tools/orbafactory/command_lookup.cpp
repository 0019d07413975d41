#include "command_lookup.h"

#include <string.h>

#include <algorithm>

namespace orba::cli {

const Family* FindFamily(const std::string& name) {
  for (const Family* f : Families()) {
    if (name == f->name) return f;
  }
  return nullptr;
}

const Command* FindCommand(const Family& family, const std::string& name) {
  for (const Command& c : family.commands) {
    if (name == c.name) return &c;
  }
  return nullptr;
}

bool IsDirect(const Family& family) {
  return family.commands.size() == 1 && family.commands[0].name[0] == '\0';
}

std::vector<const Family*> SortedFamilies() {
  std::vector<const Family*> families = Families();
  std::sort(families.begin(), families.end(),
            [](const Family* a, const Family* b) { return strcmp(a->name, b->name) < 0; });
  return families;
}

size_t EditDistance(const std::string& a, const std::string& b) {
  // Three rows: a swap of neighbours ("sotrage") looks two back.
  std::vector<size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    before.swap(last);
    last.swap(row);
  }
  return last[b.size()];
}

std::string ClosestName(const std::string& typed, const std::vector<std::string>& candidates) {
  if (typed.empty()) return "";
  std::string best;
  size_t best_distance = 0;
  for (const std::string& c : candidates) {
    if (c.empty()) continue;
    // A name typed short ("calib" for "cali" is a typo; "cam" for "camera" is a start) counts
    // as close as the letters it left out allow.
    const size_t d = c.rfind(typed, 0) == 0 ? 0 : EditDistance(typed, c);
    if (best.empty() || d < best_distance) {
      best = c;
      best_distance = d;
    }
  }
  const size_t allowed = std::max<size_t>(1, typed.size() / 4);
  return best_distance <= allowed ? best : "";
}

const Family* RequireFamily(Reply& reply, const std::string& name) {
  if (const Family* f = FindFamily(name)) return f;
  std::vector<std::string> names;
  for (const Family* f : Families()) names.push_back(f->name);
  const std::string near = ClosestName(name, names);
  if (near.empty()) {
    Error(reply, kUsage, "no family '%s' (see orbafactory help)", name.c_str());
  } else {
    Error(reply, kUsage, "no family '%s': did you mean '%s'? (see orbafactory help)",
          name.c_str(), near.c_str());
  }
  return nullptr;
}

const Command* RequireCommand(Reply& reply, const Family& family, const std::string& name) {
  if (const Command* c = FindCommand(family, name)) return c;
  std::vector<std::string> names;
  for (const Command& c : family.commands) names.push_back(c.name);
  const std::string near = ClosestName(name, names);
  if (near.empty()) {
    Error(reply, kUsage, "no command '%s %s' (see orbafactory help %s)", family.name, name.c_str(),
          family.name);
  } else {
    Error(reply, kUsage, "no command '%s %s': did you mean '%s %s'? (see orbafactory help %s)",
          family.name, name.c_str(), family.name, near.c_str(), family.name);
  }
  return nullptr;
}

}  // namespace orba::cli
