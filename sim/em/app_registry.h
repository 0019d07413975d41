#ifndef ORBA_SIM_EM_APP_REGISTRY_H
#define ORBA_SIM_EM_APP_REGISTRY_H

// The apps' components the simulated device runs: what the engineer-mode service started,
// what it stopped, and when each started component is up. A component is "package/class", the
// class written in full or starting with '.' for one inside the package.
//
// Knobs (system properties of the device, read at each start):
//   sim.em.unavailable               comma-separated packages that cannot be started (not
//                                    installed, or crashing at once): their starts fail
//   sim.em.start_delay_ms            time from start to up for the engineer-mode apps (0)
//   sim.camera.start_delay_ms        the same for the camera apps' socket service (0)
//   sim.fingerprint.start_delay_ms   the same for the fingerprint engineering service (0)
// An engineer-mode app registers its message callback with the service as soon as it is up.

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace orba::sim {

enum class AppRole { kOther, kEngineerMode, kCamera, kFingerprint };

struct ComponentName {
  std::string package;
  std::string class_name;  // in full
};

// False for text that is not "package/class".
bool ParseComponent(const std::string& text, ComponentName* out);

// The role of a component's class, and for an engineer-mode app its edition tag.
AppRole RoleOf(const std::string& class_name, std::string* edition_tag = nullptr);

// The delay the knobs give for a role, in milliseconds.
int StartDelayMs(AppRole role);

class AppRegistry {
 public:
  using Clock = std::chrono::steady_clock;

  // Starts a service or an activity. False when the package is unavailable. Starting a running
  // component keeps its original start time.
  bool Start(const ComponentName& c, bool activity, int delay_ms);
  // Stops one component; false when it was not running.
  bool Stop(const std::string& class_name);
  // Stops everything of a package (a force-stop); false when nothing of it ran.
  bool StopPackage(const std::string& package);

  // True when the service class runs and is up.
  bool IsUp(const std::string& class_name) const;
  // True when the engineer-mode app of that edition is up, and so has registered.
  bool EditionRegistered(const std::string& tag) const;
  // True when some component of that role runs (up or still starting).
  bool AnyRunning(AppRole role) const;
  // The edition that registered last (of those still up), or "".
  std::string ActiveEdition() const;

 private:
  struct Running {
    std::string package;
    bool activity;
    Clock::time_point up_at;
  };
  mutable std::mutex mu_;
  std::map<std::string, Running> running_;  // by class name
};

}  // namespace orba::sim

#endif
