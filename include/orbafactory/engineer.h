#ifndef ORBAFACTORY_ENGINEER_H
#define ORBAFACTORY_ENGINEER_H

#include <orbafactory/export.h>

#include <pthread.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

ORBA_BEGIN_DECLS

/* ---- App-side actions through the engineer-mode HAL service --------------------------------
 * Each call obtains the service afresh; with no service the boolean calls return false.
 * Null string arguments are passed as empty strings. */

ORBA_EXPORT bool startOrbaEM(const char* action, const char* arg1, const char* arg2,
                             const char* arg3);
/* `component` is "package/class" (a leading '.' in the class is relative to the package). */
ORBA_EXPORT bool startServiceFromAtcid(const char* component, const char* arg2, const char* arg3);
ORBA_EXPORT bool stopServiceFromAtcid(const char* component, const char* arg2, const char* arg3);
/* Both of these set "sys.qrcode.view" to "0" first, whether or not the service is there. */
ORBA_EXPORT bool startActivityFromAtcid(const char* component, const char* arg2,
                                        const char* arg3);
ORBA_EXPORT bool sendBroadcastFromAtcid(const char* component, const char* action,
                                        const char* extras);
ORBA_EXPORT bool stopActivityFromAtcid(const char* package, const char* arg2, const char* arg3);
ORBA_EXPORT bool isServiceWork(const char* service_class);
ORBA_EXPORT bool installFactoryApk(void);
ORBA_EXPORT bool unInstallFactoryApk(void);

/* The reply is copied with strncpy semantics (no terminator when it fills `len`); always 0. */
ORBA_EXPORT int sendToEngineerSocket(const char* msg, char* reply, int len);
ORBA_EXPORT int sendToUserEngineerSocket(const char* msg, char* reply, int len);
ORBA_EXPORT bool OrbaEmcheckCallback(const char* edition_tag);
/* Leaves `reply` untouched when the service is absent. */
ORBA_EXPORT void orbaem_test_mic_echo(unsigned mode, char* reply, int len);

/* ---- Request/reply exchanges with the engineer-mode apps, camera and fingerprint -----------
 * Each sender returns recv_buf (or the constant "ok" on a phone without an engineer-mode app);
 * the next send by any of them overwrites it, so copy what must outlive that. */

ORBA_EXPORT extern char recv_buf[4096];
/* Reply of the vendor AT-command socket exchange. */
ORBA_EXPORT extern char cmd_recv_buf[1024];
/* The last reply read from the camera service, as received (not terminated when it is full). */
ORBA_EXPORT extern char camera_recv_buf[1024];
/* Serialises sendMessage and sendUserMessage. Recursive: hold it across a send and the copy of
 * its reply, and no other thread's send overwrites recv_buf in between. */
ORBA_EXPORT extern pthread_mutex_t g_sendmessage_mutex;

ORBA_EXPORT char* sendMessage(const char* msg);
ORBA_EXPORT char* sendUserMessage(const char* msg);
/* Blocks until the camera service answers: the exchange has no time-out. */
ORBA_EXPORT char* sendMessageToCamera(const char* msg);
ORBA_EXPORT char* sendMessageToFingerprint(const char* msg);
ORBA_EXPORT int startCameraSocketService(void);
ORBA_EXPORT int stopCameraFromAtcid(void);
/* Kept for callers built against older releases; they do nothing. */
ORBA_EXPORT void startCameraFromAtcid(void);
ORBA_EXPORT void stopCameraSocketService(void);
/* skip == 1 does nothing. Otherwise 0 when the broadcast was handed over, -1 if not. */
ORBA_EXPORT int send_broadcast_to_phone(int state, int skip);

ORBA_END_DECLS

#ifdef __cplusplus
namespace android {

/* The historical holder of the app actions: no state, every member forwards to the plain
 * function of the same name. */
class EngineerUtils {
 public:
  EngineerUtils() {}
  ~EngineerUtils() {}

  static bool startServiceFromAtcid(const char* c, const char* a2, const char* a3) {
    return ::startServiceFromAtcid(c, a2, a3);
  }
  static bool stopServiceFromAtcid(const char* c, const char* a2, const char* a3) {
    return ::stopServiceFromAtcid(c, a2, a3);
  }
  static bool startActivityFromAtcid(const char* c, const char* a2, const char* a3) {
    return ::startActivityFromAtcid(c, a2, a3);
  }
  static bool stopActivityFromAtcid(const char* p, const char* a2, const char* a3) {
    return ::stopActivityFromAtcid(p, a2, a3);
  }
  static bool sendBroadcastFromAtcid(const char* c, const char* action, const char* extras) {
    return ::sendBroadcastFromAtcid(c, action, extras);
  }
  static bool isServiceWork(const char* service_class) { return ::isServiceWork(service_class); }
  static bool installFactoryApk() { return ::installFactoryApk(); }
  static bool unInstallFactoryApk() { return ::unInstallFactoryApk(); }
};

}  // namespace android
#endif

#endif
