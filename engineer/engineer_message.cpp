// One request and one reply with the engineer-mode app, started first if it is not up.

#include <orbafactory/engineer.h>

#include <pthread.h>
#include <string.h>
#include <unistd.h>

#include <platform/log.h>

#include "engineer_edition.h"

namespace {

using orba::engineer::Edition;

constexpr int kReadyPasses = 10;
constexpr useconds_t kStartWaitUs = 200000;

class SendLock {
 public:
  SendLock() { pthread_mutex_lock(&g_sendmessage_mutex); }
  ~SendLock() { pthread_mutex_unlock(&g_sendmessage_mutex); }
  SendLock(const SendLock&) = delete;
  SendLock& operator=(const SendLock&) = delete;
};

// Both the service and the app's registration must be there: the service alone runs a moment
// before the app has handed the service its message callback, and a message sent in that gap
// would go nowhere.
void EnsureEditionUp(const char* caller, const Edition& edition) {
  int left = kReadyPasses;
  while (left > 0) {
    int working = isServiceWork(edition.service_class) ? 1 : 0;
    bool registered = OrbaEmcheckCallback(edition.tag);
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, caller, "is working: %d, tag: %d", working, registered ? 1 : 0);
    --left;
    if (working == 1 && registered) {
      ORBA_LOG_AS(ANDROID_LOG_DEBUG, caller, "service: %s is working!", edition.service_class);
      break;
    }
    startServiceFromAtcid(edition.component, nullptr, nullptr);
    usleep(kStartWaitUs);
  }
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, caller, "ret: %d, OrbaEmcheckCallback: %s", left, edition.tag);
}

char* Exchange(const char* caller, const Edition& edition, int (*send)(const char*, char*, int),
               const char* msg) {
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, caller, "service_name: %s\n tag: %s\n package:%s\n",
              edition.service_class, edition.tag, edition.component);
  SendLock lock;
  EnsureEditionUp(caller, edition);
  memset(recv_buf, 0, sizeof(recv_buf));
  if (!OrbaEmcheckCallback(edition.tag)) {
    strcpy(recv_buf, "error");
    return recv_buf;
  }
  // One byte short of the buffer: the reply always reads as a terminated string.
  int ret = send(msg, recv_buf, static_cast<int>(sizeof(recv_buf)) - 1);
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, caller, "ret:%d; recv_buf: %s", ret, recv_buf);
  return recv_buf;
}

// A board-support build has no engineer-mode app to ask; its steps count as done.
bool NoEngineerMode(const char* caller) {
  if (orba::engineer::EngineerModeInstalled()) return false;
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, caller, "bsp_version!");
  return true;
}

}  // namespace

extern "C" ORBA_EXPORT char* sendMessage(const char* msg) {
  if (NoEngineerMode(__func__)) return const_cast<char*>("ok");
  return Exchange(__func__, orba::engineer::CurrentEdition(), sendToEngineerSocket, msg);
}

extern "C" ORBA_EXPORT char* sendUserMessage(const char* msg) {
  if (NoEngineerMode(__func__)) return const_cast<char*>("ok");
  return Exchange(__func__, orba::engineer::kUserEdition, sendToUserEngineerSocket, msg);
}
