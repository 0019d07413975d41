// One request and one reply with the fingerprint engineering service, through the AT-command
// service, which answers "refused error" for as long as the fingerprint service is not up.

#include <orbafactory/engineer.h>

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/sysaccess.h>
#include <platform/log.h>

namespace {

constexpr int kPasses = 30;
constexpr useconds_t kRetryWaitUs = 100000;
constexpr int kReplyLen = 1023;

const char kServiceClass[] = "com.orba.fingerprintengineer.engineer.EngineerATCommandService";
const char kComponent[] = "com.orba.fingerprintengineer/.engineer.EngineerATCommandService";
const char kRefused[] = "refused error";

}  // namespace

extern "C" ORBA_EXPORT char* sendMessageToFingerprint(const char* msg) {
  char request[256] = {};
  snprintf(request, sizeof(request), "%s\n", msg != nullptr ? msg : "");

  for (int pass = 1; pass <= kPasses; ++pass) {
    // Cleared each time: the copy below stops at 1023 bytes, and whatever an earlier, longer
    // reply left after that must not read as part of this one.
    memset(recv_buf, 0, sizeof(recv_buf));
    orbaatcmd_send_message_to_fingerprint(request, recv_buf, kReplyLen);
    ORBA_LOGD("recv_buf: %s", recv_buf);
    if (strcmp(recv_buf, kRefused) != 0) {
      // Give the service a moment to settle before the caller's next request.
      usleep(kRetryWaitUs);
      ORBA_LOGD("break, recv_buf: %s", recv_buf);
      return recv_buf;
    }
    if (pass == kPasses) break;
    if (isServiceWork(kServiceClass) != 1) startServiceFromAtcid(kComponent, nullptr, nullptr);
    usleep(kRetryWaitUs);
  }
  return recv_buf;
}
