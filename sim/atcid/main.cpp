// atcid_user: the phone's factory AT-command daemon on the simulated device. One long-lived
// process, linked with liborbafactory as the phone's daemon is, that serves a station's AT
// commands on the device's USB serial port (a pseudo-terminal, linked at /dev/ttyGS0 in the
// device) until SIGTERM or SIGINT. Started by orbafactory-sim with ORBA_DEVICE_ROOT set.

#include <android/log.h>
#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <platform/host/device_root.h>

#include "at_engine.h"
#include "at_session.h"
#include "camera_commands.h"
#include "device_commands.h"
#include "device_fs.h"
#include "failure.h"
#include "family_commands.h"
#include "station_port.h"

namespace {

constexpr char kTag[] = "atcid_user";
constexpr char kPortLink[] = "/dev/ttyGS0";
constexpr char kReadyFile[] = "/data/sim/run/atcid_user.ready";
// While no station holds the port, opens are announced by inotify; the poll also wakes this
// often in case the kernel does not report opens of the terminal's node.
constexpr int kIdleRecheckMs = 250;

bool PlacePortLink(const std::string& target) {
  using orba::sim::unique_fd;
  if (!orba::sim::MakeDirsInDevice("/dev", 0755)) return false;
  unique_fd dir;
  std::string leaf;
  if (!orba::sim::OpenParentInDevice(kPortLink, &dir, &leaf)) return false;
  unlinkat(dir.get(), leaf.c_str(), 0);
  return symlinkat(target.c_str(), dir.get(), leaf.c_str()) == 0;
}

void RemovePortLink() {
  orba::sim::unique_fd dir;
  std::string leaf;
  if (orba::sim::OpenParentInDevice(kPortLink, &dir, &leaf)) unlinkat(dir.get(), leaf.c_str(), 0);
}

// Answers the station until a stop signal; false when the line itself failed.
bool Serve(const orba::at::StationPort& port, int stop_fd) {
  orba::at::AtEngine engine;
  orba::at::AddFamilyCommands(&engine);
  orba::at::AddDeviceCommands(&engine);
  orba::at::AddCameraCommands(&engine);
  orba::at::AtSession session(&engine);
  bool connected = port.StationPresent();
  for (;;) {
    pollfd fds[2] = {{stop_fd, POLLIN, 0},
                     {connected ? port.master() : port.open_events(), POLLIN, 0}};
    if (poll(fds, 2, connected ? -1 : kIdleRecheckMs) < 0) {
      if (errno == EINTR) continue;
      __android_log_print(ANDROID_LOG_ERROR, kTag, "poll: %s", strerror(errno));
      return false;
    }
    if (fds[0].revents != 0) return true;
    if (!connected) {
      port.DrainOpens();
      connected = port.StationPresent();
      if (connected) __android_log_print(ANDROID_LOG_INFO, kTag, "station connected");
      continue;
    }
    if (fds[1].revents & POLLIN) {
      unsigned char buf[512];
      ssize_t n = read(port.master(), buf, sizeof(buf));
      if (n > 0) {
        std::string out = session.Receive(buf, static_cast<size_t>(n));
        // A station gone while the answer is written loses the answer, not the daemon.
        if (!out.empty()) orba::sim::WriteAll(port.master(), out.data(), out.size());
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
    }
    // Hangup (POLLHUP, or EIO from read): the station closed the port. Keep the line and wait
    // for the next one.
    __android_log_print(ANDROID_LOG_INFO, kTag, "station hung up");
    session.Hangup();
    std::string error;
    if (!port.MakeRaw(&error)) __android_log_print(ANDROID_LOG_WARN, kTag, "%s", error.c_str());
    port.DrainOpens();
    connected = port.StationPresent();
  }
}

}  // namespace

int main() {
  if (orba_device_root()[0] == '\0') {
    fprintf(stderr, "atcid_user: no device: set " ORBA_DEVICE_ROOT_ENV
                    " (orbafactory-sim start does)\n");
    return 2;
  }
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGTERM);
  sigaddset(&stop_signals, SIGINT);
  sigprocmask(SIG_BLOCK, &stop_signals, nullptr);
  // A failed family command answers with the library's own report, which the library logs:
  // keep its last error line while every line still reaches the daemon's log as before.
  const int log_priority = __android_log_get_minimum_priority();
  orba::cli::CaptureLibraryLog(true);
  __android_log_set_minimum_priority(log_priority);
  int stop_fd = signalfd(-1, &stop_signals, SFD_CLOEXEC);
  if (stop_fd < 0) {
    perror("atcid_user: signalfd");
    return 1;
  }
  // The port belongs to whoever owns the device, as the phone's serial gadget belongs to the
  // factory daemon's user: nobody else on the host reaches the line.
  struct stat root_st{};
  orba::sim::unique_fd root = orba::sim::OpenDeviceRoot();
  if (root < 0 || fstat(root.get(), &root_st) != 0) {
    __android_log_print(ANDROID_LOG_ERROR, kTag, "cannot open the device root: %s",
                        strerror(errno));
    return 1;
  }
  orba::at::StationPort port;
  std::string error;
  if (!port.Open(root_st.st_uid, root_st.st_gid, &error)) {
    __android_log_print(ANDROID_LOG_ERROR, kTag, "%s", error.c_str());
    return 1;
  }
  if (!PlacePortLink(port.path())) {
    __android_log_print(ANDROID_LOG_ERROR, kTag, "cannot link %s to %s: %s", kPortLink,
                        port.path().c_str(), strerror(errno));
    return 1;
  }
  if (!orba::sim::ReplaceDeviceFile(kReadyFile, std::to_string(getpid()) + "\n", 0644)) {
    __android_log_print(ANDROID_LOG_ERROR, kTag, "cannot write %s", kReadyFile);
    RemovePortLink();
    return 1;
  }
  __android_log_print(ANDROID_LOG_INFO, kTag, "serving AT commands on %s (%s)",
                      port.path().c_str(), kPortLink);
  bool served = Serve(port, stop_fd);
  RemovePortLink();
  __android_log_print(ANDROID_LOG_INFO, kTag, "stopping");
  close(stop_fd);
  return served ? 0 : 1;
}
