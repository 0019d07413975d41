#ifndef ORBA_SIM_EM_EM_SERVICE_H
#define ORBA_SIM_EM_EM_SERVICE_H

// The simulated engineer-mode HAL service and what stands behind it on the phone: the
// engineer-mode apps (three editions), the camera apps' socket service, the fingerprint
// engineering service and the vendor AT-command daemon's socket peer. The daemon
// orbaem-hal-1-0 runs one of these; tests may run one on a thread of their own.
//
// IOrbaEm over the host transport:
//   doAction(action, a1, a2, a3)  startServiceFromAtcid / stopServiceFromAtcid COMPONENT,
//                                 startActivityFromAtcid COMPONENT, stopActivityFromAtcid
//                                 PACKAGE (a force-stop: every component of it),
//                                 sendBroadcastFromAtcid COMPONENT ACTION EXTRAS (true when an
//                                 action is named), isServiceWork CLASS, installFactoryApk
//                                 (true when /factory/app/orbaEngineerMode/orbaEngineerMode.apk
//                                 is there to install), unInstallFactoryApk (true when it was
//                                 installed; stops the app); anything else: false.
//                                 Components come up as app_registry.h says.
//   sendToEngineer(msg)           to the edition that registered last; "error" when none is up
//   sendToUserEngineer(msg)       to the user edition; "error" when it is not up
//   checkCallback(tag)            whether that edition is up
//   testMicEcho(mode)             the reply table's "testMicEcho MODE", else sim.em.mic_echo,
//                                 else "ok"
//   activeEdition, setMicEchoGain are served; registerCallback/unregisterCallback are not (a
//   callback is an interface, which the host transport does not carry; the simulated apps
//   live inside the service).
// Replies: engineer_app.h and reply_table.h. Every call is recorded (call_log.h).
//
// Sockets behind the service (abstract namespace, through DevSocketName):
//   "CameraSocketService"          while a camera app's CameraSocketService is up: one request
//                                  line, one reply from /data/sim/camera_replies, else
//                                  sim.camera.default_reply, else "error"
//   "fingerprint_engineer_socket"  while the fingerprint service is up: the request up to its
//                                  line feed (or the end of what the client sends), one reply
//                                  from /data/sim/fingerprint_replies, else
//                                  sim.fingerprint.default_reply, else "error". The AT-command
//                                  service forwards sendFingerprintMessage there.
//   "atcid_vendor_socket"          always: one read is the command; one reply from
//                                  /data/sim/atcid_replies, else sim.atcid.default_reply, else
//                                  "error"

#include <stdint.h>

#include <memory>
#include <mutex>
#include <string>

#include <platform/hal_wire.h>
#include <platform/host/hal_server.h>

#include "app_registry.h"
#include "line_server.h"

namespace orba::sim {

constexpr const char kCameraSocket[] = "CameraSocketService";
// Shared with the AT-command service, which connects there for sendFingerprintMessage.
constexpr const char kFingerprintEngineerSocket[] = "fingerprint_engineer_socket";
constexpr const char kAtcidVendorSocket[] = "atcid_vendor_socket";

class EmService {
 public:
  EmService();
  ~EmService();
  EmService(const EmService&) = delete;
  EmService& operator=(const EmService&) = delete;

  // Registers IOrbaEm "default" under the current device root and brings up the AT-command
  // socket peer. 0, or a negative errno (-EADDRINUSE: the device has one already).
  int Start();
  // Unregisters and stops every app and socket.
  void Stop();

  // One IOrbaEm call (the HalServer handler).
  int HandleCall(uint32_t slot, hal::WireReader& args, hal::WireWriter& results);

 private:
  bool DoAction(const std::string& action, const std::string& a1, const std::string& a2,
                const std::string& a3);
  bool StartComponent(const std::string& text, bool activity);
  // Brings the sockets in line with the apps that still run.
  void CloseSocketsOfStoppedApps();

  AppRegistry apps_;
  LineServer camera_;
  LineServer fingerprint_;
  LineServer atcid_;
  std::unique_ptr<hal::HalServer> hal_;
  std::mutex mu_;
  bool factory_apk_installed_ = false;
  uint32_t mic_echo_gain_ = 0;
};

}  // namespace orba::sim

#endif
