// orbafactory cali: calibration item states and the station's summary checks.

#include <ctype.h>
#include <stdio.h>

#include <string.h>

#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <orbafactory/persist.h>

#include "command.h"

namespace {

using orba::cli::Args;

// "--app" routes a write through the engineer-mode app (the uart = 0 path) instead of the
// library's own write through the AT-command service.
bool TakeAppFlag(Args* args) {
  for (auto it = args->begin(); it != args->end(); ++it) {
    if (*it == "--app") {
      args->erase(it);
      return true;
    }
  }
  return false;
}

// The items the state files know: a name outside them would be appended as a line no reader
// finds, so it is refused before anything is written.
// One entry of the table is two names run together; stations set each half by its own name.
constexpr const char kJoinedEntry[] = "tof_rgbd_calisidekey_cali_left";
constexpr const char* kJoinedHalves[] = {"tof_rgbd_cali", "sidekey_cali_left"};

bool KnownItem(const std::string& item) {
  if (item == kJoinedHalves[0] || item == kJoinedHalves[1]) return true;
  for (const auto& entry : CALIBRATION_LIST) {
    size_t n = strnlen(entry, CALIBRATION_ITEM_SIZE);
    if (n >= 2 && item.size() == n && item.compare(0, n, entry, n) == 0) return true;
  }
  return false;
}

bool CheckItem(orba::cli::Reply& reply, const std::string& item, const char* command) {
  if (KnownItem(item)) return true;
  orba::cli::Error(reply, orba::cli::kUsage, "cali %s: no item '%s' (see orbafactory cali items)",
                   command, item.c_str());
  return false;
}

// A state is one digit: the files keep one character and read it back as a number.
bool CheckState(orba::cli::Reply& reply, const std::string& value, const char* command) {
  if (value.size() == 1 && isdigit(static_cast<unsigned char>(value[0]))) return true;
  orba::cli::Error(reply, orba::cli::kUsage, "cali %s: state '%s' is not one digit 0..9", command,
                   value.c_str());
  return false;
}

int Get(const Args& args, orba::cli::Reply& reply) {
  if (!CheckItem(reply, args[0], "get")) return orba::cli::kUsage;
  reply.Answer({{"state", get_calibrate_item_state(args[0].c_str())}});
  return orba::cli::kOk;
}

int Set(const Args& in, orba::cli::Reply& reply) {
  Args args = in;
  int uart = TakeAppFlag(&args) ? 0 : 1;
  if (args.size() != 2)
    return orba::cli::Error(reply, orba::cli::kUsage, "cali set ITEM VALUE [--app]");
  if (!CheckItem(reply, args[0], "set") || !CheckState(reply, args[1], "set"))
    return orba::cli::kUsage;
  if (set_calibrate_item_state(args[0].c_str(), args[1].c_str(), uart) != 0) {
    return orba::cli::Fail(reply, "cali set %s: not stored", args[0].c_str());
  }
  reply.Answer({{"item", args[0]}, {"state", get_calibrate_item_state(args[0].c_str())}});
  return orba::cli::kOk;
}

int BgDark(const Args& in, orba::cli::Reply& reply) {
  Args args = in;
  int uart = TakeAppFlag(&args) ? 0 : 1;
  if (args.size() == 2 && args[0] == "--all") {
    long value = 0;
    if (!orba::cli::ParseIntIn(reply, args[1], "cali bg-dark --all VALUE", 0, 9, &value)) {
      return orba::cli::kUsage;
    }
    if (set_calibrate_list_bg_dark(nullptr, static_cast<int>(value)) != 0) {
      return orba::cli::Fail(reply, "cali bg-dark: file not written");
    }
    reply.Answer({{"item", "all"}, {"bg_dark", value}});
    return orba::cli::kOk;
  }
  if (!CheckItem(reply, args[0], "bg-dark")) return orba::cli::kUsage;
  if (args.size() == 1) {
    reply.Answer({{"bg_dark", get_calibrate_item_bg_dark(args[0].c_str())}});
    return orba::cli::kOk;
  }
  if (args.size() != 2) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "cali bg-dark ITEM [VALUE] [--app] | --all VALUE");
  }
  if (!CheckState(reply, args[1], "bg-dark")) return orba::cli::kUsage;
  if (set_calibrate_item_bg_dark(args[0].c_str(), args[1].c_str(), uart) != 0) {
    return orba::cli::Fail(reply, "cali bg-dark %s: not stored", args[0].c_str());
  }
  reply.Answer({{"item", args[0]}, {"bg_dark", get_calibrate_item_bg_dark(args[0].c_str())}});
  return orba::cli::kOk;
}

// The library hands the outstanding items over as one quoted, comma-separated string.
std::vector<std::string> SplitList(std::string_view list) {
  if (list.size() >= 2 && list.front() == '"' && list.back() == '"') {
    list = list.substr(1, list.size() - 2);
  }
  std::vector<std::string> items;
  while (!list.empty()) {
    size_t comma = list.find(',');
    std::string_view item = list.substr(0, comma);
    if (!item.empty()) items.emplace_back(item);
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
  }
  return items;
}

int List(const Args&, orba::cli::Reply& reply) {
  char list[1280] = {};
  std::vector<std::string> items;
  if (get_calibrate_list(list) == 1) items = SplitList(list);
  for (const std::string& item : items) reply.Answer({{"item", item}});
  if (items.empty()) reply.Note("no calibration outstanding");
  return orba::cli::kOk;
}

int Check(const Args&, orba::cli::Reply& reply) {
  char report[40] = {};
  if (check_calibrate_data(report) != 0) {
    // The library's own report is the verdict, as the station's AT reply carries it.
    return reply.Failure(orba::cli::kFailed,
                         std::string(report, strnlen(report, sizeof(report))), {});
  }
  reply.Answer({{"result", "ok"}});
  return orba::cli::kOk;
}

// The names the state files know, in their order; the double entry as its two halves.
std::vector<std::string> ItemNames() {
  std::vector<std::string> names;
  for (const auto& entry : CALIBRATION_LIST) {
    size_t n = strnlen(entry, CALIBRATION_ITEM_SIZE);
    if (n < 2) continue;
    if (std::string_view(entry, n) == kJoinedEntry) {
      names.insert(names.end(), std::begin(kJoinedHalves), std::end(kJoinedHalves));
    } else {
      names.emplace_back(entry, n);
    }
  }
  return names;
}

int Items(const Args&, orba::cli::Reply& reply) {
  for (const std::string& item : ItemNames()) reply.Answer({{"item", item}});
  return orba::cli::kOk;
}

std::vector<std::string> Digits() {
  std::vector<std::string> digits;
  for (char d = '0'; d <= '9'; ++d) digits.emplace_back(1, d);
  return digits;
}

// ITEM, then a state digit.
std::vector<std::string> ItemThenState(size_t index) {
  if (index == 0) return ItemNames();
  if (index == 1) return Digits();
  return {};
}

const orba::cli::Family kCali{
    "cali",
    "calibration item states (--app: write through the engineer-mode app); an unknown item or "
    "a state that is not one digit exits 2 and writes nothing",
    {
        {"get", "ITEM", "the item's state digit, 0 to 9 (0 when not recorded)", 1, 1, Get,
         "cali get gsensor_calibration", ItemThenState},
        {"set", "ITEM VALUE [--app]",
         "record a state digit 0 to 9 and answer the item with its stored state; 0 also resets "
         "the item's stored calibration",
         2, 3, Set, "cali set gsensor_calibration 1", ItemThenState},
        {"bg-dark", "ITEM [VALUE] [--app] | --all VALUE",
         "the dark-background flag 0 to 9: show it, set it, or rewrite it for every item", 1, 3,
         BgDark, "cali bg-dark light_sensor_cali 1", ItemThenState},
        {"list", "", "the calibrations this device still needs, one item per line (none: no line)",
         0, 0, List, "cali list"},
        {"check", "",
         "ok, or exit 1 with the first calibration result missing from the record", 0, 0, Check,
         "cali check"},
        {"items", "", "every item name the state files know, one per line", 0, 0, Items,
         "cali items"},
    }};
orba::cli::Registrar registrar(kCali);

}  // namespace
