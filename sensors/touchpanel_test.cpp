// The touch controller's built-in self-tests: a test number written to the driver's test node
// starts one, and the node reads back its result some seconds later. Some tests need the display
// at a given refresh rate, so the starter switches it and the collecting thread puts it back.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <mutex>

#include <orbafactory/config.h>
#include <orbafactory/engineer.h>
#include <orbafactory/sensors.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

constexpr const char* kDriverNode = "/sys/touchscreen/at_sensor_test";
constexpr int kResultSize = 50;
constexpr int kRateSize = 64;
constexpr int kRateChecks = 3;

struct TestFile {
  const char* value;
  const char* result_file;
};

constexpr TestFile kTests[] = {
    {"165", "/data/engineermode/tp_at_sensor_cali"},
    {"166", "/data/engineermode/tp_at_sensor_test"},
    {"167", "/data/engineermode/tp_at_sensor_cali_back"},
    {"168", "/data/engineermode/tp_at_sensor_test_back"},
    {"169", "/data/engineermode/tp_at_sensor_cali_sepcial"},
};

const char* ResultFile(const char* value) {
  for (const TestFile& t : kTests) {
    if (strcmp(t.value, value) == 0) return t.result_file;
  }
  return nullptr;
}

// The starter and the collecting threads of earlier tests ask the app concurrently, and so may
// the application's own threads; the reply buffer is shared by every sender, so each request and
// the copy of its answer go together under the send lock.
class SendLock {
 public:
  SendLock() { pthread_mutex_lock(&g_sendmessage_mutex); }
  ~SendLock() { pthread_mutex_unlock(&g_sendmessage_mutex); }
  SendLock(const SendLock&) = delete;
  SendLock& operator=(const SendLock&) = delete;
};

// The engineer app's answer to one request, copied out of the shared reply buffer.
void Ask(const char* request, char (&answer)[kRateSize]) {
  SendLock lock;
  memset(answer, 0, sizeof(answer));
  const char* reply = sendMessage(request);
  if (reply != nullptr) strncpy(answer, reply, sizeof(answer) - 1);
}

bool SetRate(const char* rate) {
  char request[kRateSize + 32];
  snprintf(request, sizeof(request), "set_lcm_refreshrate %s", rate);
  char answer[kRateSize];
  Ask(request, answer);
  return strcmp(answer, "ok") == 0;
}

void RestoreRate(const char* rate) {
  if (!SetRate(rate)) ORBA_LOGE("sendMessage error %s", rate);
}

int WriteText(const char* path, const char* text) {
  return write_policy_file(0, path, O_WRONLY | O_CREAT | O_TRUNC, text);
}

void* ThreadEntry(void* arg) { return touchpanel_thread(static_cast<TestRequest*>(arg)); }

}  // namespace

extern "C" {

int touchpanel_sensor_test(int seconds, const char* value, int rate) {
  if (value == nullptr) {
    ORBA_LOGE("value is null");
    return -1;
  }
  char max_rate[kRateSize];
  Ask("get_lcm_refreshrate max", max_rate);
  ORBA_LOGD("max_lcmrate:%s", max_rate);
  char target[kRateSize];
  if (rate != 0) {
    snprintf(target, sizeof(target), "%d", rate);
  } else {
    memcpy(target, max_rate, sizeof(target));
  }

  char current[kRateSize];
  Ask("get_lcm_refreshrate current", current);
  char before[kRateSize];
  memcpy(before, current, sizeof(before));
  if (strcmp(current, target) != 0) {
    if (!SetRate(target)) ORBA_LOGE("sendMessage %s error", target);
    // The panel takes a few frames to switch; the test goes ahead even if it never does.
    for (int i = 0; i < kRateChecks; ++i) {
      usleep(200 * 1000);
      Ask("get_lcm_refreshrate current", current);
      ORBA_LOGD("check_lcmrate:%s", current);
      if (strcmp(current, target) == 0) break;
    }
  }

  auto* request = static_cast<TestRequest*>(calloc(1, sizeof(TestRequest)));
  if (request == nullptr) {
    ORBA_LOGE("malloc null");
    return -1;
  }
  request->seconds = seconds;
  strncpy(request->value, value, sizeof(request->value) - 1);
  memcpy(request->rate, before, sizeof(request->rate));
  request->rate[sizeof(request->rate) - 1] = '\0';

  int ret = WriteText(kDriverNode, value);
  if (ret != 0) {
    ORBA_LOGE("write:%s to %s failed: %s", value, kDriverNode, strerror(-ret));
    free(request);
    return ret;
  }
  const char* result_file = ResultFile(value);
  if (result_file == nullptr) {
    ORBA_LOGE("invalid test value");
    free(request);
    return -1;
  }
  WriteText(result_file, "testing");

  pthread_t thread;
  if (pthread_create(&thread, nullptr, ThreadEntry, request) != 0) {
    ORBA_LOGE("create touchpanel_thread fail\r\n");
    free(request);
  }
  return 0;
}

void* touchpanel_thread(TestRequest* request) {
  // The collecting thread is never joined; detaching at once keeps every exit path from
  // leaving a zombie thread behind.
  pthread_detach(pthread_self());
  if (request == nullptr) return nullptr;
  TestRequest req = *request;
  free(request);
  ORBA_LOGD("Start");
  ORBA_LOGD("time:%d value:%s, rate:%s", req.seconds, req.value, req.rate);
  if (req.seconds > 0) sleep(static_cast<unsigned>(req.seconds));

  char result[kResultSize] = {};
  if (read_policy_file(0, kDriverNode, result, sizeof(result)) != 0) {
    ORBA_LOGE("read file %s fail, error:%s\r\n", kDriverNode, strerror(errno));
    RestoreRate(req.rate);
    return nullptr;
  }
  ORBA_LOGD("value:%s, buffer:%s", req.value, result);
  RestoreRate(req.rate);
  const char* result_file = ResultFile(req.value);
  if (result_file == nullptr) return nullptr;
  remove(DevPathNoFollow(result_file));
  int ret = WriteText(result_file, result);
  if (ret != 0) ORBA_LOGE("write:%s to data failed: %s", req.value, strerror(-ret));
  return nullptr;
}

}  // extern "C"
