#include "app_registry.h"

#include <stdlib.h>
#include <string.h>
#include <sys/system_properties.h>

#include <vector>

namespace orba::sim {
namespace {

struct KnownApp {
  const char* class_name;
  AppRole role;
  const char* edition_tag;
};

const KnownApp kKnownApps[] = {
    {"com.xole.engineermode.socketcommand.SocketReceiverService", AppRole::kEngineerMode,
     "EngineerMode"},
    {"com.xole.user.engineermode.socketcommand.SocketReceiverService", AppRole::kEngineerMode,
     "userEngineerMode"},
    {"com.xole.aftersale.engineermode.socketcommand.SocketReceiverService",
     AppRole::kEngineerMode, "aftersaleEngineerMode"},
    {"com.orba.engineercamera.service.CameraSocketService", AppRole::kCamera, ""},
    {"com.android.camera.service.CameraSocketService", AppRole::kCamera, ""},
    {"com.orba.fingerprintengineer.engineer.EngineerATCommandService", AppRole::kFingerprint, ""},
};

std::string Property(const char* name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name, value);
  return value;
}

bool Unavailable(const std::string& package) {
  std::string list = Property("sim.em.unavailable");
  size_t start = 0;
  while (start <= list.size()) {
    size_t end = list.find(',', start);
    if (end == std::string::npos) end = list.size();
    std::string item = list.substr(start, end - start);
    while (!item.empty() && item.front() == ' ') item.erase(0, 1);
    while (!item.empty() && item.back() == ' ') item.pop_back();
    if (item == package) return true;
    start = end + 1;
  }
  return false;
}

}  // namespace

bool ParseComponent(const std::string& text, ComponentName* out) {
  size_t slash = text.find('/');
  if (slash == 0 || slash == std::string::npos || slash + 1 == text.size()) return false;
  out->package = text.substr(0, slash);
  std::string cls = text.substr(slash + 1);
  out->class_name = cls[0] == '.' ? out->package + cls : cls;
  return true;
}

AppRole RoleOf(const std::string& class_name, std::string* edition_tag) {
  for (const KnownApp& app : kKnownApps) {
    if (class_name == app.class_name) {
      if (edition_tag != nullptr) *edition_tag = app.edition_tag;
      return app.role;
    }
  }
  return AppRole::kOther;
}

int StartDelayMs(AppRole role) {
  const char* knob = role == AppRole::kEngineerMode  ? "sim.em.start_delay_ms"
                     : role == AppRole::kCamera      ? "sim.camera.start_delay_ms"
                     : role == AppRole::kFingerprint ? "sim.fingerprint.start_delay_ms"
                                                     : nullptr;
  if (knob == nullptr) return 0;
  int ms = atoi(Property(knob).c_str());
  return ms > 0 ? ms : 0;
}

bool AppRegistry::Start(const ComponentName& c, bool activity, int delay_ms) {
  if (Unavailable(c.package)) return false;
  std::lock_guard<std::mutex> lock(mu_);
  running_.emplace(c.class_name,
                   Running{c.package, activity, Clock::now() + std::chrono::milliseconds(delay_ms)});
  return true;
}

bool AppRegistry::Stop(const std::string& class_name) {
  std::lock_guard<std::mutex> lock(mu_);
  return running_.erase(class_name) != 0;
}

bool AppRegistry::StopPackage(const std::string& package) {
  std::lock_guard<std::mutex> lock(mu_);
  bool any = false;
  for (auto it = running_.begin(); it != running_.end();) {
    if (it->second.package == package) {
      it = running_.erase(it);
      any = true;
    } else {
      ++it;
    }
  }
  return any;
}

bool AppRegistry::IsUp(const std::string& class_name) const {
  std::lock_guard<std::mutex> lock(mu_);
  auto it = running_.find(class_name);
  return it != running_.end() && !it->second.activity && Clock::now() >= it->second.up_at;
}

bool AppRegistry::EditionRegistered(const std::string& tag) const {
  for (const KnownApp& app : kKnownApps) {
    if (app.role == AppRole::kEngineerMode && tag == app.edition_tag) return IsUp(app.class_name);
  }
  return false;
}

bool AppRegistry::AnyRunning(AppRole role) const {
  std::lock_guard<std::mutex> lock(mu_);
  for (const auto& [class_name, running] : running_) {
    if (!running.activity && RoleOf(class_name) == role) return true;
  }
  return false;
}

std::string AppRegistry::ActiveEdition() const {
  std::lock_guard<std::mutex> lock(mu_);
  std::string tag;
  Clock::time_point latest;
  Clock::time_point now = Clock::now();
  for (const KnownApp& app : kKnownApps) {
    if (app.role != AppRole::kEngineerMode) continue;
    auto it = running_.find(app.class_name);
    if (it == running_.end() || it->second.activity || now < it->second.up_at) continue;
    if (tag.empty() || it->second.up_at > latest) {
      tag = app.edition_tag;
      latest = it->second.up_at;
    }
  }
  return tag;
}

}  // namespace orba::sim
