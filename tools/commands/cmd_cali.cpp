// orbafactory cali: calibration item states and the station's summary checks.

#include <ctype.h>
#include <stdio.h>

#include <string>
#include <string.h>

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
bool KnownItem(const std::string& item) {
  // One entry of the table is two names run together; stations set each half by its own name.
  if (item == "tof_rgbd_cali" || item == "sidekey_cali_left") return true;
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
  reply.Stream(orba::cli::Format("%d\n", get_calibrate_item_state(args[0].c_str())));
  return orba::cli::kOk;
}

int Set(const Args& in, orba::cli::Reply& reply) {
  Args args = in;
  int uart = TakeAppFlag(&args) ? 0 : 1;
  if (args.size() != 2) return orba::cli::Error(reply, orba::cli::kUsage, "cali set ITEM VALUE [--app]");
  if (!CheckItem(reply, args[0], "set") || !CheckState(reply, args[1], "set")) return orba::cli::kUsage;
  if (set_calibrate_item_state(args[0].c_str(), args[1].c_str(), uart) != 0) {
    return orba::cli::Fail(reply, "cali set %s: not stored", args[0].c_str());
  }
  reply.Stream(orba::cli::Format("%s %d\n", args[0].c_str(), get_calibrate_item_state(args[0].c_str())));
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
    reply.Stream(orba::cli::Format("all %ld\n", value));
    return orba::cli::kOk;
  }
  if (!CheckItem(reply, args[0], "bg-dark")) return orba::cli::kUsage;
  if (args.size() == 1) {
    reply.Stream(orba::cli::Format("%d\n", get_calibrate_item_bg_dark(args[0].c_str())));
    return orba::cli::kOk;
  }
  if (args.size() != 2) {
    return orba::cli::Error(reply, orba::cli::kUsage, "cali bg-dark ITEM [VALUE] [--app] | --all VALUE");
  }
  if (!CheckState(reply, args[1], "bg-dark")) return orba::cli::kUsage;
  if (set_calibrate_item_bg_dark(args[0].c_str(), args[1].c_str(), uart) != 0) {
    return orba::cli::Fail(reply, "cali bg-dark %s: not stored", args[0].c_str());
  }
  reply.Stream(orba::cli::Format("%s %d\n", args[0].c_str(), get_calibrate_item_bg_dark(args[0].c_str())));
  return orba::cli::kOk;
}

int List(const Args&, orba::cli::Reply& reply) {
  char list[1280] = {};
  if (get_calibrate_list(list) == 1) {
    reply.Stream(orba::cli::Format("%s\n", list));
  } else {
    reply.Stream(orba::cli::Format("none\n"));
  }
  return orba::cli::kOk;
}

int Check(const Args&, orba::cli::Reply& reply) {
  char report[40] = {};
  if (check_calibrate_data(report) != 0) {
    reply.Stream(orba::cli::Format("%.*s\n", static_cast<int>(sizeof(report)), report));
    return orba::cli::kFailed;
  }
  reply.Stream(orba::cli::Format("ok\n"));
  return orba::cli::kOk;
}

int Items(const Args&, orba::cli::Reply& reply) {
  for (const auto& entry : CALIBRATION_LIST) {
    if (strnlen(entry, CALIBRATION_ITEM_SIZE) >= 2) {
      reply.Stream(orba::cli::Format("%.*s\n", CALIBRATION_ITEM_SIZE, entry));
    }
  }
  return orba::cli::kOk;
}

const orba::cli::Family kCali{
    "cali",
    "calibration item states (--app: write through the engineer-mode app); an unknown item or "
    "a state that is not one digit exits 2 and writes nothing",
    {
        {"get", "ITEM", "the item's state digit (0 when not recorded)", 1, 1, Get},
        {"set", "ITEM VALUE [--app]", "record a state (its first character); 0 also resets the "
                                      "item's stored calibration", 2, 3, Set},
        {"bg-dark", "ITEM [VALUE] [--app] | --all VALUE",
         "the dark-background flag: show, set, or rewrite every item", 1, 3, BgDark},
        {"list", "", "the calibrations this device still needs, or none", 0, 0, List},
        {"check", "", "ok, or the first calibration result missing from the record", 0, 0, Check},
        {"items", "", "every item name the state files know", 0, 0, Items},
    }};
orba::cli::Registrar registrar(kCali);

}  // namespace
