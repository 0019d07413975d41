#include "camera_commands.h"

#include <orbafactory/camera.h>
#include <orbafactory/engineer.h>
#include <orbafactory/foundation.h>

namespace orba::at {
namespace {

constexpr size_t kReportSize = 1200;
// The translator's answer kinds: the service reported success (its values follow as lines),
// or anything else (its answer copied as it came).
constexpr int kServiceSucceeded = 7;

Verdict CameraCommand(const Request& req, Sink& sink) {
  // The translator matches whole command texts, so it gets the command as the station sent it.
  std::string atcmd = req.Text();
  char message[4096] = {};
  char item[49] = {};
  if (transform_at_cmd_to_camera_info(atcmd.c_str(), message, sizeof(message), item) != 0) {
    char report[kReportSize] = {};
    log_em_check_val_err(ORBA_MODULE_CAMERA, __func__, __LINE__, report,
                         "not a camera command the phone knows: %s", atcmd.c_str());
    return Verdict::Cme(CmeError::kNotSupported, report);
  }
  const char* answer = sendMessageToCamera(message);
  char resp[4096] = {};
  int kind = transform_camera_ret_to_at_resp(answer != nullptr ? answer : "", resp, sizeof(resp));
  if (kind != kServiceSucceeded) {
    char report[kReportSize] = {};
    log_em_check_val_err(ORBA_MODULE_CAMERA, __func__, __LINE__, report, "camera service: %s",
                         resp[0] != '\0' ? resp : "no answer");
    return Verdict::Cme(CmeError::kPhoneFailure, report);
  }
  // The translation ends each value with CR LF; the sink frames lines itself.
  std::string text = resp;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find("\r\n", start);
    if (end == std::string::npos) end = text.size();
    if (end > start) sink.Info(std::string_view(text).substr(start, end - start));
    start = end + 2;
  }
  return Verdict::Ok();
}

}  // namespace

void AddCameraCommands(AtEngine* engine) { engine->AddFamily("+TQ_CCM_", CameraCommand); }

}  // namespace orba::at
