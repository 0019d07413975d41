#include "em_service.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/system_properties.h>
#include <unistd.h>

#include <optional>

#include <platform/devpath.h>
#include <platform/hal.h>

#include "call_log.h"
#include "device_fs.h"
#include "camera_app.h"
#include "engineer_app.h"
#include "reply_table.h"

namespace orba::sim {
namespace {

// Slots of IOrbaEm that the library does not call, so hal.h does not name them.
constexpr uint32_t kSlotActiveEdition = 3;
constexpr uint32_t kSlotSetMicEchoGain = 8;

constexpr const char kFactoryApk[] = "/factory/app/orbaEngineerMode/orbaEngineerMode.apk";
constexpr const char kFactoryPackage[] = "com.xole.engineermode";

std::string Property(const char* name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name, value);
  return value;
}

// A responder's answer: its table, else its default-reply knob, else "error".
LineServer::Handler TableResponder(const char* record_as, const char* table,
                                   const char* default_knob) {
  return [=](const std::string& request) {
    std::optional<std::string> reply = LookUpReply(table, request);
    std::string answer = reply ? *reply : Property(default_knob);
    if (!reply && answer.empty()) answer = "error";
    RecordCall({record_as, request, answer});
    return answer;
  };
}

}  // namespace

EmService::EmService()
    : camera_(kCameraSocket, LineServer::Framing::kLine,
              [](const std::string& request) {
                std::optional<std::string> reply = LookUpReply(kCameraReplies, request);
                std::string answer = reply ? *reply : CameraAppAnswer(request);
                RecordCall({"camera", request, answer});
                return answer;
              }),
      fingerprint_(kFingerprintEngineerSocket, LineServer::Framing::kLine,
                   TableResponder("fingerprint", kFingerprintReplies,
                                  "sim.fingerprint.default_reply")),
      atcid_(kAtcidVendorSocket, LineServer::Framing::kSingleRead,
             TableResponder("atcid", kAtcidReplies, "sim.atcid.default_reply")) {}

EmService::~EmService() { Stop(); }

int EmService::Start() {
  if (hal_ != nullptr) return -EALREADY;
  auto server = std::make_unique<hal::HalServer>(
      hal::IOrbaEm::descriptor, "default",
      [this](uint32_t slot, hal::WireReader& args, hal::WireWriter& results) {
        return HandleCall(slot, args, results);
      });
  int rc = server->Start();
  if (rc != 0) return rc;
  hal_ = std::move(server);
  atcid_.Launch(0);
  return 0;
}

void EmService::Stop() {
  if (hal_ != nullptr) {
    hal_->Stop();
    hal_.reset();
  }
  camera_.Stop();
  fingerprint_.Stop();
  atcid_.Stop();
}

bool EmService::StartComponent(const std::string& text, bool activity) {
  ComponentName c;
  if (!ParseComponent(text, &c)) return false;
  AppRole role = RoleOf(c.class_name);
  int delay = activity ? 0 : StartDelayMs(role);
  if (!apps_.Start(c, activity, delay)) return false;
  if (!activity && role == AppRole::kCamera) camera_.Launch(delay);
  if (!activity && role == AppRole::kFingerprint) fingerprint_.Launch(delay);
  return true;
}

void EmService::CloseSocketsOfStoppedApps() {
  if (!apps_.AnyRunning(AppRole::kCamera)) camera_.Stop();
  if (!apps_.AnyRunning(AppRole::kFingerprint)) fingerprint_.Stop();
}

bool EmService::DoAction(const std::string& action, const std::string& a1,
                         const std::string& a2, const std::string& a3) {
  (void)a3;
  if (action == "startServiceFromAtcid") return StartComponent(a1, false);
  if (action == "startActivityFromAtcid") return StartComponent(a1, true);
  if (action == "stopServiceFromAtcid") {
    ComponentName c;
    if (!ParseComponent(a1, &c)) return false;
    bool stopped = apps_.Stop(c.class_name);
    CloseSocketsOfStoppedApps();
    return stopped;
  }
  if (action == "stopActivityFromAtcid") {
    if (a1.empty()) return false;
    apps_.StopPackage(a1);
    CloseSocketsOfStoppedApps();
    return true;  // a force-stop of an app that does not run is not a failure
  }
  if (action == "sendBroadcastFromAtcid") return !a2.empty();
  if (action == "isServiceWork") return apps_.IsUp(a1);
  if (action == "installFactoryApk") {
    if (OpenInDevice(kFactoryApk, O_PATH).get() < 0) return false;
    std::lock_guard<std::mutex> lock(mu_);
    factory_apk_installed_ = true;
    return true;
  }
  if (action == "unInstallFactoryApk") {
    {
      std::lock_guard<std::mutex> lock(mu_);
      if (!factory_apk_installed_) return false;
      factory_apk_installed_ = false;
    }
    apps_.StopPackage(kFactoryPackage);
    return true;
  }
  return false;
}

int EmService::HandleCall(uint32_t slot, hal::WireReader& args, hal::WireWriter& results) {
  using hal::EmSlot;
  switch (slot) {
    case static_cast<uint32_t>(EmSlot::kDoAction): {
      std::string_view v[4];
      for (auto& s : v) {
        if (!args.GetString(&s)) return -EINVAL;
      }
      std::string action(v[0]), a1(v[1]), a2(v[2]), a3(v[3]);
      bool ok = DoAction(action, a1, a2, a3);
      RecordCall({"doAction", action, a1, a2, a3, ok ? "1" : "0"});
      results.PutBool(ok);
      return 0;
    }
    case static_cast<uint32_t>(EmSlot::kSendToEngineer):
    case static_cast<uint32_t>(EmSlot::kSendToUserEngineer): {
      std::string_view m;
      if (!args.GetString(&m)) return -EINVAL;
      std::string message(m);
      bool user = slot == static_cast<uint32_t>(EmSlot::kSendToUserEngineer);
      std::string tag = user ? (apps_.EditionRegistered("userEngineerMode") ? "userEngineerMode"
                                                                             : "")
                             : apps_.ActiveEdition();
      std::string reply = tag.empty() ? "error" : EngineerAppAnswer(message);
      RecordCall({user ? "sendToUserEngineer" : "sendToEngineer", tag, message, reply});
      results.PutString(reply);
      return 0;
    }
    case static_cast<uint32_t>(EmSlot::kCheckCallback): {
      std::string_view t;
      if (!args.GetString(&t)) return -EINVAL;
      std::string tag(t);
      bool registered = apps_.EditionRegistered(tag);
      RecordCall({"checkCallback", tag, registered ? "1" : "0"});
      results.PutBool(registered);
      return 0;
    }
    case static_cast<uint32_t>(EmSlot::kTestMicEcho): {
      uint32_t mode = 0;
      if (!args.GetUint32(&mode)) return -EINVAL;
      std::string key = "testMicEcho " + std::to_string(mode);
      std::optional<std::string> reply = LookUpReply(kEmReplies, key);
      std::string answer = reply ? *reply : Property("sim.em.mic_echo");
      if (!reply && answer.empty()) answer = "ok";
      RecordCall({"testMicEcho", std::to_string(mode), answer});
      results.PutString(answer);
      return 0;
    }
    case kSlotActiveEdition:
      results.PutString(apps_.ActiveEdition());
      return 0;
    case kSlotSetMicEchoGain: {
      uint32_t gain = 0;
      if (!args.GetUint32(&gain)) return -EINVAL;
      std::lock_guard<std::mutex> lock(mu_);
      mic_echo_gain_ = gain;
      results.PutBool(true);
      return 0;
    }
    default:
      return -ENOSYS;
  }
}

}  // namespace orba::sim
