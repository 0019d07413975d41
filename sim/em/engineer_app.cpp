#include "engineer_app.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/system_properties.h>
#include <time.h>

#include <sstream>
#include <vector>

#include <platform/devpath.h>

#include "reply_table.h"
#include "device_fs.h"

namespace orba::sim {
namespace {

std::string Property(const std::string& name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name.c_str(), value);
  return value;
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  std::string w;
  while (in >> w) words.push_back(w);
  return words;
}

bool ReadWhole(const char* path, std::string* out) {
  unique_fd fd = OpenInDevice(path, O_RDONLY);
  return fd.get() >= 0 && ReadAll(fd.get(), out, 1u << 20);
}

bool WriteWhole(const char* path, const std::string& text) {
  MakeDirsInDevice("/cache/recovery", 0755);
  unique_fd fd = OpenInDevice(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  return fd.get() >= 0 && WriteAll(fd.get(), text.data(), text.size());
}

// The app keeps one "ITEM S" line per item, S a single character.
bool StoreItemState(const char* path, const std::string& item, const std::string& value) {
  std::string text;
  ReadWhole(path, &text);
  const std::string prefix = item + " ";
  size_t pos = 0;
  bool found = false;
  while (pos < text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    if (text.compare(pos, prefix.size(), prefix) == 0 && pos + prefix.size() <= end) {
      size_t state = pos + prefix.size();
      if (state < end) {
        text[state] = value[0];
      } else {
        text.insert(state, 1, value[0]);
      }
      found = true;
      break;
    }
    pos = end + 1;
  }
  if (!found) {
    if (!text.empty() && text.back() != '\n') text += '\n';
    text += prefix + value + "\n";
  }
  return WriteWhole(path, text);
}

bool PositiveInt(const std::string& s, long* out) {
  if (s.empty() || s.size() > 9) return false;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
  }
  *out = strtol(s.c_str(), nullptr, 10);
  return *out > 0;
}

std::string OrError(const std::string& value) { return value.empty() ? "error" : value; }

long long MonotonicMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

// A display takes a while to switch: a requested rate waits in sim.em.refresh_rate.pending as
// "RATE@DEADLINE" (monotonic milliseconds, the same clock in every process of the device) and
// becomes the current one once the deadline has passed.
void SettlePendingRate() {
  std::string pending = Property("sim.em.refresh_rate.pending");
  size_t at = pending.find('@');
  if (at == std::string::npos) return;
  if (MonotonicMs() < atoll(pending.c_str() + at + 1)) return;
  __system_property_set("sim.em.refresh_rate.current", pending.substr(0, at).c_str());
  __system_property_set("sim.em.refresh_rate.pending", "");
}

}  // namespace

std::string EngineerAppAnswer(const std::string& message) {
  if (std::optional<std::string> reply = LookUpReply(kEmReplies, message)) return *reply;

  std::vector<std::string> w = Words(message);
  if (w.size() == 3 && (w[0] == "TQEGMCDK_clear" || w[0] == "TQEGMCDK_dark")) {
    const char* file = w[0] == "TQEGMCDK_clear" ? "/cache/recovery/last_test_cali_result.xml"
                                                : "/cache/recovery/last_test_cali_bg_dark.xml";
    return StoreItemState(file, w[1], w[2]) ? "ok" : "error";
  }
  if (w.size() == 2 && w[0] == "get_lcm_refreshrate" && w[1] == "max") {
    return OrError(Property("sim.em.refresh_rate"));
  }
  if (w.size() == 2 && w[0] == "get_lcm_refreshrate" && w[1] == "current") {
    SettlePendingRate();
    std::string current = Property("sim.em.refresh_rate.current");
    return OrError(current.empty() ? Property("sim.em.refresh_rate") : current);
  }
  if (w.size() == 2 && w[0] == "set_lcm_refreshrate") {
    long rate = 0;
    long max = 0;
    std::string max_text = Property("sim.em.refresh_rate");
    if (!PositiveInt(w[1], &rate) || (PositiveInt(max_text, &max) && rate > max)) return "error";
    std::string normal = std::to_string(rate);
    long settle_ms = atol(Property("sim.em.refresh_rate.settle_ms").c_str());
    if (settle_ms <= 0) {
      __system_property_set("sim.em.refresh_rate.pending", "");
      return __system_property_set("sim.em.refresh_rate.current", normal.c_str()) == 0 ? "ok"
                                                                                       : "error";
    }
    std::string pending = normal + "@" + std::to_string(MonotonicMs() + settle_ms);
    return __system_property_set("sim.em.refresh_rate.pending", pending.c_str()) == 0 ? "ok"
                                                                                      : "error";
  }
  if (w.size() == 2 && w[0] == "get_global_setting_int") {
    return OrError(Property("sim.em.global." + w[1]));
  }
  return OrError(Property("sim.em.default_reply"));
}

}  // namespace orba::sim
