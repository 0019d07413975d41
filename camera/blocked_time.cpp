// How long the pop motor took to reach its end stop, judged from the halls settling.

#include <orbafactory/camera.h>

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/config.h>
#include <platform/log.h>

#include "block_rule.h"
#include "camera_nodes.h"

using namespace orba::camera;

namespace {

// The block rule as the loops apply it: four readings, tolerance 2. Its success line names the
// rule, not the loop, which is what log readers search for.
bool Blocked(const HallHistory& h) {
  int average = 0;
  if (!SettledWithin(h.samples, 4, 2, &average)) return false;
  ORBA_LOG_AS(ANDROID_LOG_INFO, "is_motor_block", "motor is block success, state average: %d",
              average);
  return true;
}

void StopPopMotorLogged(const char* func) {
  if (WriteNode(kPopMotor, "0") != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "stop motor error:%s", strerror(errno));
  }
}

int ReadHall(const char* path, int size) {
  char buf[100] = {};
  read_policy_file(0, path, buf, size);
  return atoi(buf);
}

}  // namespace

extern "C" ORBA_EXPORT int get_motor_blocked_time(int interval_ms, int enable) {
  SleepMs(500);
  long long start = NowMs();
  ORBA_LOGD("init_time: %ld\n", static_cast<long>(start));
  if (enable >= 1) {
    HallHistory hall1, hall2;
    for (;;) {
      // A failed read leaves the cleared buffer: it counts as a reading of 0.
      int v1 = ReadHall(kUpHallData, 100);
      ORBA_LOGD("current hall1 data: '%d'", v1);
      hall1.Push(v1);
      int v2 = ReadHall(kDownHallData, 100);
      ORBA_LOGD("current hall2 data: '%d'", v2);
      hall2.Push(v2);
      bool blocked1 = Blocked(hall1);
      bool blocked2 = Blocked(hall2);
      if (blocked1 && blocked2) break;
      SleepMs(interval_ms);
    }
    ORBA_LOGD("both hall1 and hall2 are blocked, test pass!");
  }
  long long end = NowMs();
  ORBA_LOGD("end_time: %ld\n", static_cast<long>(end));
  int total = static_cast<int>(end - start + 500);
  StopPopMotorLogged(__func__);
  ORBA_LOGD("total take time: %d", total);
  return total;
}

extern "C" ORBA_EXPORT int get_appointted_pop_halls_blocked_time(const char** paths,
                                                                 int file_num, int interval_ms,
                                                                 int timeout_ms) {
  ORBA_LOGD("entered : file_num = %d : interval = %d : timeout = %d", file_num, interval_ms,
            timeout_ms);
  if (paths == nullptr || file_num < 0) file_num = 0;
  for (int i = 0; i < file_num; ++i) ORBA_LOGD("file_path[%d]=%s", i, paths[i]);
  long long start = NowMs();
  HallHistory* halls = new HallHistory[file_num > 0 ? file_num : 1];
  usleep(300);
  long long elapsed = 0;
  if (timeout_ms >= 0) {
    for (int times = 1;; ++times) {
      SleepMs(interval_ms);
      elapsed = NowMs() - start;
      int blocked = 0;
      for (int i = file_num - 1; i >= 0; --i) {
        char buf[20] = {};
        if (read_policy_file(0, paths[i], buf, sizeof(buf)) != 0) {
          ORBA_LOGE("read_policy_file error:get current hall error");
          strcpy(buf, "999");
        }
        halls[i].Push(atoi(buf));
        for (int place = 3; place >= 0; --place) {
          ORBA_LOGD("sample[%d][%d] = %d", i, place, halls[i].samples[place]);
        }
        if (Blocked(halls[i])) ++blocked;
      }
      if (blocked == file_num) {
        ORBA_LOGD("all halls are blocked!!");
        break;
      }
      ORBA_LOGD("not all hall bolcked: times=%d, sum_time=%d", times, static_cast<int>(elapsed));
      if (elapsed > timeout_ms) break;
    }
  }
  delete[] halls;
  StopPopMotorLogged(__func__);
  ORBA_LOGD("sum_time = %d", static_cast<int>(elapsed));
  return static_cast<int>(elapsed);
}

extern "C" ORBA_EXPORT int get_appointted_pop_hall_blocked_time(const char* path,
                                                                int interval_ms,
                                                                int timeout_ms) {
  int sum = 0;
  if (timeout_ms >= 0) {
    sum = interval_ms;
    HallHistory hall;
    // Cleared once: a failed read counts the previous reading again.
    char buf[100] = {};
    for (;;) {
      SleepMs(interval_ms);
      read_policy_file(0, path, buf, sizeof(buf));
      hall.Push(atoi(buf));
      if (Blocked(hall)) {
        ORBA_LOGD("hall is already stable!");
        break;
      }
      if (sum > timeout_ms) break;
      sum += interval_ms;
    }
  }
  // The hall's own node, not the motor's: this is how the single-hall step has always stopped.
  if (WriteNode(path, "0") != 0) ORBA_LOGE("stop motor error:%s", strerror(errno));
  ORBA_LOGD("sum_time = %d", sum);
  return sum;
}
