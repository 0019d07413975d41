// orbafactory camera: the camera module's motors, halls and magnetometer, its calibration, its
// identity, and the camera service with the station's camera AT commands.

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <orbafactory/camera.h>
#include <orbafactory/engineer.h>
#include <orbafactory/sysaccess.h>
#include <cutils/properties.h>

#include <android-base/strings.h>

#include "command.h"
#include "failure.h"
#include "words.h"

namespace {

using orba::cli::Args;
using orba::cli::kFailed;
using orba::cli::kOk;
using orba::cli::kUsage;

bool ParseMs(orba::cli::Reply& reply, const std::string& text, const char* what, int* ms) {
  long v = 0;
  if (!orba::cli::ParseInt(reply, text, what, &v)) return false;
  if (v < 1 || v >= 65536) {
    orba::cli::Error(reply, kUsage, "%s: %ld ms is outside 1..65535", what, v);
    return false;
  }
  *ms = static_cast<int>(v);
  return true;
}

bool ParseDegrees(orba::cli::Reply& reply, const std::string& text, const char* what, double* deg) {
  char* end = nullptr;
  *deg = strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(*deg)) {
    orba::cli::Error(reply, kUsage, "%s: '%s' is not an angle in degrees", what, text.c_str());
    return false;
  }
  return true;
}

// While a move runs, a line on the terminal shows what the module does; nothing when nobody
// watches the reply, so scripts see only results.
class MotionWatch {
 public:
  MotionWatch(const orba::cli::Reply& reply, const char* what,
              std::function<std::string()> sample) {
    if (!reply.Interactive()) return;
    thread_ = std::thread([this, what, sample] {
      auto start = std::chrono::steady_clock::now();
      while (!done_.load()) {
        double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        fprintf(stderr, "\r%s: %s  %.1f s   ", what, sample().c_str(), s);
        fflush(stderr);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
      }
      fputs("\r\033[K", stderr);
    });
  }
  ~MotionWatch() {
    done_ = true;
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::atomic<bool> done_{false};
  std::thread thread_;
};

std::string HallsNow() {
  char halls[HALL_SAMPLE_TEXT] = "all";
  if (get_current_pop_hall_data(halls) != 0) return "halls unreadable";
  return std::string("halls ") + halls;
}

std::string AngleNow() {
  char text[32];
  snprintf(text, sizeof(text), "angle %.1f", get_current_angle());
  return text;
}

RotaryUtil Tuning() {
  RotaryUtil util;
  init_rotary_util(&util);
  return util;
}

// The shortest way between two angles on the circle, in degrees (0..180).
double AngleApart(double a, double b) {
  double d = fmod(fabs(a - b), 360.0);
  return d > 180 ? 360 - d : d;
}

// The three pop halls, up, middle and down, as the library reads them ("up middle down"), or
// false when they cannot be read.
bool ReadHalls(orba::cli::Fields* fields) {
  char halls[HALL_SAMPLE_TEXT] = "all";
  if (get_current_pop_hall_data(halls) != 0) return false;
  std::vector<std::string> words = orba::cli::Split(halls);
  if (words.size() != 3) return false;
  fields->push_back({"up", orba::cli::IntegerOrText(words[0])});
  fields->push_back({"middle", orba::cli::IntegerOrText(words[1])});
  fields->push_back({"down", orba::cli::IntegerOrText(words[2])});
  return true;
}

// A turn's answer: how long it took and where the module reads afterwards.
void AnswerTurn(orba::cli::Reply& reply, int ms, double angle) {
  reply.Answer({{"time_ms", ms}, {"angle", orba::cli::Value::Real(angle, 2)}});
}

// A turn is done when the library's own reading, taken after the motor stopped, lies within the
// precision it was asked for; the time it reports alone says nothing about where the module is.
int TurnVerdict(orba::cli::Reply& reply, int ms, double target, const RotaryUtil& u,
                const char* what) {
  if (ms < 0) return orba::cli::Fail(reply, "%s failed", what);
  double angle = get_current_avr_angle();
  AnswerTurn(reply, ms, angle);
  if (AngleApart(angle, target) > u.angle_precision) {
    return orba::cli::Error(reply, kFailed,
                            "%s: the module reads %.2f, not %.2f within %.2f degrees, after %d ms",
                            what, angle, target, u.angle_precision, ms);
  }
  return kOk;
}

// Holds the rotary motor's stop for the length of a turn: an interrupted turn must not run on.
class RotaryStopOnInterrupt {
 public:
  RotaryStopOnInterrupt() : undo_("rotary motor stopped", [] { stop_motor_rotate(); }) {}

 private:
  orba::cli::Undo undo_;
};

class PopStopOnInterrupt {
 public:
  PopStopOnInterrupt() : undo_("pop motor stopped", [] { stop_motor_pop(); }) {}

 private:
  orba::cli::Undo undo_;
};

int MotorType(const Args&, orba::cli::Reply& reply) {
  static const char* const kNames[] = {"none", "fully_auto_pop", "fully_auto_pop_rotate",
                                       "semi_auto_pop", "fully_manual_pop"};
  int type = get_camera_motor_type();
  reply.Answer({{"type", type}, {"name", type >= 0 && type <= 4 ? kNames[type] : "unknown"}});
  return kOk;
}

// Drives the pop motor for `ms` and follows the halls while it runs.
int MovePop(orba::cli::Reply& reply, const Args& args, bool out) {
  int ms = 0;
  if (!ParseMs(reply, args[0], out ? "camera pop" : "camera retract", &ms)) return kUsage;
  PopStopOnInterrupt stop;
  if ((out ? pop_camera(ms) : retract_camera(ms)) != 1) {
    return orba::cli::FailPaths(
        reply, {{"/sys/class/timed_output/motor/enable", orba::cli::PathUse::kWrite}},
        "camera %s: cannot command the pop motor", out ? "pop" : "retract");
  }
  {
    MotionWatch watch(reply, out ? "popping" : "retracting", HallsNow);
    usleep(static_cast<useconds_t>(ms) * 1000);
  }
  // The motor was driven for its time: halls unreadable afterwards leave the move as it was.
  orba::cli::Fields halls;
  if (!ReadHalls(&halls)) {
    reply.Note("halls unreadable");
    return kOk;
  }
  reply.Answer(halls);
  return kOk;
}

int Pop(const Args& args, orba::cli::Reply& reply) { return MovePop(reply, args, true); }
int Retract(const Args& args, orba::cli::Reply& reply) { return MovePop(reply, args, false); }

int Stop(const Args&, orba::cli::Reply& reply) {
  bool ok = stop_motor_pop() == 1;
  if (get_camera_motor_type() == 2) ok = stop_motor_rotate() == 1 && ok;
  if (!ok) return orba::cli::Fail(reply, "camera stop: a motor did not take the stop");
  reply.Answer({{"state", "stopped"}});
  return kOk;
}

int Halls(const Args&, orba::cli::Reply& reply) {
  orba::cli::Fields halls;
  if (!ReadHalls(&halls)) return orba::cli::Fail(reply, "camera halls");
  reply.Answer(halls);
  return kOk;
}

// Where the halls put the module: out when the up hall reads above the down hall (the up hall
// rises and the down hall falls along the travel). False when the halls cannot be read.
bool HallsSayOut(bool* out) {
  char up[HALL_SAMPLE_TEXT] = "up_hall";
  char down[HALL_SAMPLE_TEXT] = "down_hall";
  if (get_current_pop_hall_data(up) != 0 || get_current_pop_hall_data(down) != 0) return false;
  *out = atoi(up) > atoi(down);
  return true;
}

// Pops (or retracts) the module and reports how long the halls took to settle. The time counts
// only when the halls then show the module at the end it was sent to: halls that settled on a
// module that never left its place (a stuck motor, hardware that does not answer) are a failure.
int BlockedTime(const Args& args, orba::cli::Reply& reply) {
  bool retract = !args.empty() && args[0] == "retract";
  if (!args.empty() && args[0] != "pop" && args[0] != "retract") {
    return orba::cli::Error(reply, kUsage, "camera blocked-time: pop or retract, not '%s'",
                            args[0].c_str());
  }
  int ms = 1500;
  if (args.size() > 1 && !ParseMs(reply, args[1], "camera blocked-time", &ms)) return kUsage;
  char msg[96];
  snprintf(msg, sizeof(msg), "%s %d 30 2000", retract ? "retract_all" : "pop_all",
           retract ? ms + 65536 : ms);
  int used;
  {
    PopStopOnInterrupt stop;
    MotionWatch watch(reply, retract ? "retracting" : "popping", HallsNow);
    used = atoi(pop_up_camera_by_engineer_interface(msg));
  }
  if (used < 0) {
    return orba::cli::Fail(reply, "camera blocked-time: not a pop-up module, or no motor");
  }
  reply.Answer({{"time_ms", used}});
  bool out = false;
  if (!HallsSayOut(&out)) {
    return orba::cli::Fail(reply, "camera blocked-time: halls unreadable after the move");
  }
  if (out == retract) {
    return orba::cli::Error(reply, kFailed,
                            "camera blocked-time: the halls show the module %s after %s "
                            "(%s): it did not move",
                            out ? "out" : "in", retract ? "retracting" : "popping",
                            HallsNow().c_str());
  }
  return kOk;
}

int Sample(const Args& args, orba::cli::Reply& reply) {
  long count = 0, interval = 0;
  if (!orba::cli::ParseInt(reply, args[0], "camera sample COUNT", &count) ||
      !orba::cli::ParseInt(reply, args[1], "camera sample INTERVAL", &interval)) {
    return kUsage;
  }
  if (count < 1 || count > HALL_SAMPLE_MAX || interval < 0 || interval > 11000) {
    return orba::cli::Error(reply, kUsage, "camera sample: COUNT 1..%d, INTERVAL 0..11000 ms",
                            HALL_SAMPLE_MAX);
  }
  // The sampling threads are detached and may outlive a wait cut short: their records live as
  // long as the process.
  static HallSampleRecord up, down;
  int c = static_cast<int>(count), i = static_cast<int>(interval);
  if (ready_to_sample_camera_pop_hall(i, c, &up, 0, &down) != 1 ||
      create_hall_sample_thread(i, c, &up, 0, &down) != 1) {
    return orba::cli::Fail(reply, "camera sample: sampling needs a fully_auto_pop module");
  }
  // The threads end after COUNT readings, and never later than 11 s.
  long wait_ms = std::min(count * interval, 11000L) + interval + 100;
  {
    MotionWatch watch(reply, "sampling", HallsNow);
    usleep(static_cast<useconds_t>(wait_ms) * 1000);
  }
  __atomic_store_n(&up.stop, 1, __ATOMIC_RELEASE);
  __atomic_store_n(&down.stop, 1, __ATOMIC_RELEASE);
  std::string out(2 * HALL_SAMPLE_TEXT * static_cast<size_t>(c) + 40, '\0');
  combine_hall_sample_resp(&out[0], c, &up, 0, &down);
  // The library composes the AT response itself: it is the answer as it stands.
  reply.Stream(orba::cli::Format("%s\n", out.c_str()));
  return kOk;
}

// The angle of the end stop the module rests on, for set_unreached_angle. The turn planner
// goes the long way round when the module reads past the stored angle, and at rest on the stop
// the readings scatter around it: so the stored angle is taken from readings of a module at rest,
// just beyond every one of them on the stop's side (a turn negatively ends on the high side).
int StopAngle(orba::cli::Reply& reply, const std::string& way) {
  constexpr int kReadings = 60;
  constexpr double kRestSpread = 1.0;  // degrees: more than the blur, less than any real move
  constexpr double kMargin = 0.1;
  double low = 1e9, high = -1e9;
  for (int i = 0; i < kReadings; ++i) {
    double a = get_current_avr_angle();
    low = std::min(low, a);
    high = std::max(high, a);
    usleep(5000);
  }
  if (high - low > kRestSpread || high < -1 || low > 361) {
    return orba::cli::Error(reply, kFailed,
                            "camera angle --stop: readings from %.2f to %.2f: the module "
                            "is not at rest",
                            low, high);
  }
  const double stop = way == "negatively" ? high + kMargin : low - kMargin;
  reply.Answer({{"angle", orba::cli::Value::Real(stop, 2)}});
  return kOk;
}

int Angle(const Args& args, orba::cli::Reply& reply) {
  if (args.empty()) {
    reply.Answer({{"angle", orba::cli::Value::Real(get_current_avr_angle(), 2)}});
    return kOk;
  }
  if (args.size() == 2 && args[0] == "--stop" &&
      (args[1] == "negatively" || args[1] == "positively")) {
    return StopAngle(reply, args[1]);
  }
  return orba::cli::Error(reply, kUsage, "camera angle [--stop positively|negatively]");
}

int Field(const Args&, orba::cli::Reply& reply) {
  char field[64] = "xyz";
  if (get_current_rotary_hall_data(field) != 0) return orba::cli::Fail(reply, "camera field");
  std::vector<std::string> axes = orba::cli::Split(field);
  if (axes.size() != 3) {
    return orba::cli::Error(reply, kFailed, "camera field: '%s' is not three axes", field);
  }
  reply.Answer({{"x", orba::cli::IntegerOrText(axes[0])},
                {"y", orba::cli::IntegerOrText(axes[1])},
                {"z", orba::cli::IntegerOrText(axes[2])}});
  return kOk;
}

int RotateTo(const Args& args, orba::cli::Reply& reply) {
  double deg = 0;
  if (!ParseDegrees(reply, args[0], "camera rotate-to", &deg)) return kUsage;
  if (deg < 0 || deg >= 360) {
    return orba::cli::Error(reply, kUsage, "camera rotate-to: 0 <= DEG < 360");
  }
  RotaryUtil u = Tuning();
  int ms;
  {
    RotaryStopOnInterrupt stop;
    MotionWatch watch(reply, "turning", AngleNow);
    ms = rotate_to_appointted_angles(u.rotary_interval, u.rotary_timeout, deg, u.angle_precision);
  }
  return TurnVerdict(reply, ms, deg, u,
                     "camera rotate-to (calibrated unreached angle? see camera cali)");
}

int RotateBy(const Args& args, orba::cli::Reply& reply) {
  double deg = 0;
  if (!ParseDegrees(reply, args[0], "camera rotate-by", &deg)) return kUsage;
  if (deg <= -360 || deg >= 360) {
    return orba::cli::Error(reply, kUsage, "camera rotate-by: -360 < DEG < 360");
  }
  RotaryUtil u = Tuning();
  // Where the library aims: a negative turn goes the same way by its size.
  double target = fmod(get_current_avr_angle() + (deg > 0 ? deg : fabs(deg) + 360), 360);
  int ms;
  {
    RotaryStopOnInterrupt stop;
    MotionWatch watch(reply, "turning", AngleNow);
    ms = rotate_by_relative_angle(u.rotary_interval, u.rotary_timeout, deg, u.angle_precision);
  }
  return TurnVerdict(reply, ms, target, u, "camera rotate-by");
}

// The longest the library lets a turn to the end stop run: a turn that took longer was cut off
// before the module came to rest.
constexpr int kMaxTurnMs = 3600;

int Max(const Args& args, orba::cli::Reply& reply) {
  if (args[0] != "positively" && args[0] != "negatively") {
    return orba::cli::Error(reply, kUsage, "camera max: positively or negatively");
  }
  std::string msg = "rotate_to_maximum_angles " + args[0];
  int ms;
  {
    RotaryStopOnInterrupt stop;
    MotionWatch watch(reply, "turning to the end stop", AngleNow);
    ms = rotate_to_max_angles(&msg[0]);
  }
  if (ms < 0) return orba::cli::Fail(reply, "camera max failed");
  AnswerTurn(reply, ms, get_current_avr_angle());
  if (ms > kMaxTurnMs) {
    return orba::cli::Error(reply, kFailed,
                            "camera max: the module did not come to rest within %d ms", kMaxTurnMs);
  }
  return kOk;
}

// The calibrated position the library turns to for front (180 degree point) or back (0 degree
// point), found from the other point when only that one was stored; false when uncalibrated.
bool CalibratedTarget(bool front, double* target) {
  double own = get_front_back_camera_angle(front ? 0 : 1);
  if (own == -999.0) return false;
  char value[PROPERTY_VALUE_MAX] = {};
  orbaatcmd_get_system_property(
      front ? "sys.rotary_camera.cali_deg180" : "sys.rotary_camera.cali_deg0", value, "");
  if (value[0] != '\0') {
    *target = own;
    return true;
  }
  *target = fmod(get_front_back_camera_angle(front ? 1 : 0) + 180, 360);
  return true;
}

int FrontBack(orba::cli::Reply& reply, bool front) {
  RotaryUtil u = Tuning();
  double target = 0;
  if (!CalibratedTarget(front, &target)) {
    return orba::cli::Error(reply, kFailed, "camera %s: the rotary module is not calibrated",
                            front ? "front" : "back");
  }
  int ms;
  {
    RotaryStopOnInterrupt stop;
    MotionWatch watch(reply, front ? "turning to front" : "turning to back", AngleNow);
    ms = front ? rotate_to_front_camera(u.rotary_interval, u.rotary_timeout, u.angle_precision)
               : rotate_to_back_camera(u.rotary_interval, u.rotary_timeout, u.angle_precision);
  }
  return TurnVerdict(reply, ms, target, u, front ? "camera front" : "camera back");
}

int Front(const Args&, orba::cli::Reply& reply) { return FrontBack(reply, true); }
int Back(const Args&, orba::cli::Reply& reply) { return FrontBack(reply, false); }

int Cali(const Args& args, orba::cli::Reply& reply) {
  std::string msg = "set_ratary_camera_cali_data " + android::base::Join(args, ' ');
  if (set_ratary_camera_cali_data(&msg[0]) != 1) {
    return orba::cli::Fail(reply, "camera cali %s: not stored", args[0].c_str());
  }
  reply.Answer({{"state", "stored"}});
  return kOk;
}

int HalfPop(const Args& args, orba::cli::Reply& reply) {
  int ms = 0;
  if (!ParseMs(reply, args[0], "camera half-pop", &ms)) return kUsage;
  int used;
  {
    PopStopOnInterrupt stop;
    MotionWatch watch(reply, "popping to the middle hall's peak", HallsNow);
    used = camera_cali_half_pop(ms, 0);
  }
  if (used < 0) return orba::cli::Fail(reply, "camera half-pop: no peak within %d ms", ms);
  orba::cli::Fields answer = {{"time_ms", used}};
  if (!ReadHalls(&answer)) reply.Note("halls unreadable");
  reply.Answer(answer);
  return kOk;
}

int Fluency(const Args& args, orba::cli::Reply& reply) {
  std::string msg = android::base::Join(args, ' ');
  int result;
  {
    RotaryStopOnInterrupt stop;
    MotionWatch watch(reply, "fluency test", AngleNow);
    result = camera_rotate_fluency_test(&msg[0]);
  }
  if (result < 0) return orba::cli::Fail(reply, "camera fluency %s: the turn failed", msg.c_str());
  reply.Answer({{"result", result == 0 ? "pass" : "fail"}});
  return result == 0 ? kOk : kFailed;
}

int Identity(orba::cli::Reply& reply, const Args& args, const char* flag, const char* field) {
  char out[65] = {};
  get_camera_info_code(flag, args[0].c_str(), out, sizeof(out) - 1);
  if (out[0] == '\0') return orba::cli::Fail(reply, "camera: no %s for %s", flag, args[0].c_str());
  reply.Answer({{field, out}});
  return kOk;
}

int Sn(const Args& args, orba::cli::Reply& reply) {
  return Identity(reply, args, "sn_code", "serial");
}
int Material(const Args& args, orba::cli::Reply& reply) {
  return Identity(reply, args, "material_code", "material");
}

int Otp(const Args& args, orba::cli::Reply& reply) {
  char report[512] = {};
  if (get_target_camera_otp_status(report, sizeof(report), args[0].c_str()) == 1) {
    reply.Answer({{"state", "good"}});
    return kOk;
  }
  // The report is the AT response's text for the bad value, line ends and all.
  reply.Answer({{"state", "bad"}, {"report", report}});
  return kFailed;
}

// The station's whole round trip: AT command, camera-service message, answer, AT response.
int At(const Args& args, orba::cli::Reply& reply) {
  std::string atcmd = android::base::Join(args, ' ');
  char message[1024] = {};
  char item[49] = {};
  if (transform_at_cmd_to_camera_info(atcmd.c_str(), message, sizeof(message), item) != 0) {
    return orba::cli::Fail(reply, "camera at: '%s' is not a camera AT command", atcmd.c_str());
  }
  std::string answer = sendMessageToCamera(message);
  char resp[4096] = {};
  int kind = transform_camera_ret_to_at_resp(answer.c_str(), resp, sizeof(resp));
  reply.Stream(resp);
  if (kind != 7) {
    reply.Stream("\n");
    return kFailed;
  }
  reply.Stream(orba::cli::Format("OK\n"));
  return kOk;
}

// The camera service answers "error" to a request it could not carry out.
int CameraSend(const Args& args, orba::cli::Reply& reply) {
  const char* answer = sendMessageToCamera(android::base::Join(args, ' ').c_str());
  const std::string text = answer != nullptr ? answer : "";
  if (!text.empty()) reply.Answer({{"reply", text}});
  if (text.empty()) {
    return orba::cli::Error(reply, kFailed, "camera send: the camera service gave no answer");
  }
  if (text == "error") {
    return orba::cli::Error(reply, kFailed, "camera send: the camera service answered error");
  }
  return kOk;
}

int Service(const Args& args, orba::cli::Reply& reply) {
  if (args[0] == "start") {
    if (startCameraSocketService() != 1) {
      return orba::cli::Error(reply, kFailed,
                              "camera service start: the camera service did not start");
    }
  } else if (args[0] == "stop") {
    if (stopCameraFromAtcid() != 1) {
      return orba::cli::Error(reply, kFailed, "camera service stop: refused");
    }
  } else {
    return orba::cli::Error(reply, kUsage, "camera service: start or stop, not '%s'",
                            args[0].c_str());
  }
  reply.Answer({{"state", args[0] == "start" ? "started" : "stopped"}});
  return kOk;
}

std::vector<std::string> Ways(size_t index) {
  if (index != 0) return {};
  return {"positively", "negatively"};
}

std::vector<std::string> AngleArgs(size_t index) {
  if (index == 0) return {"--stop"};
  if (index == 1) return {"positively", "negatively"};
  return {};
}

std::vector<std::string> Moves(size_t index) {
  if (index != 0) return {};
  return {"pop", "retract"};
}

// The items the calibration store takes, with the values each wants after it.
std::vector<std::string> CaliItems(size_t index) {
  if (index != 0) return {};
  return {"deg0_cali",         "deg180_cali",      "half_pop_hall_cali_data", "pop_cali_data",
          "retract_cali_data", "set_border_angle", "set_unreached_angle"};
}

std::vector<std::string> FluencyTurns(size_t index) {
  if (index != 0) return {};
  return {"negatively", "positively", "max_pos_to_back_camera", "rotate_to_appointted_angle"};
}

std::vector<std::string> ServiceActions(size_t index) {
  if (index != 0) return {};
  return {"start", "stop"};
}

const orba::cli::Family kCamera{
    "camera",
    "the camera module (pop-up and rotary motors, halls, calibration, identity) and service",
    {
        {"motor-type", "",
         "the project's camera motor type and its name: 0 none, 1 fully_auto_pop, 2 "
         "fully_auto_pop_rotate, 3 semi_auto_pop, 4 fully_manual_pop",
         0, 0, MotorType, "camera motor-type"},
        {"pop", "MS",
         "drive the pop motor out for MS ms (1 to 65535), then the up, middle and "
         "down halls",
         1, 1, Pop, "camera pop 800"},
        {"retract", "MS", "drive it in for MS ms (1 to 65535), then the halls", 1, 1, Retract,
         "camera retract 800"},
        {"stop", "", "stop the pop motor (and the rotary motor); answers stopped", 0, 0, Stop,
         "camera stop"},
        {"halls", "", "the up, middle and down hall readings", 0, 0, Halls, "camera halls"},
        {"blocked-time", "[pop|retract [MS]]",
         "move the module (pop by default, MS 1 to 65535, default 1500) and answer the ms until "
         "the halls settled; exit 1 unless the halls then show it at that end",
         0, 2, BlockedTime, "camera blocked-time pop 1500", Moves},
        {"sample", "COUNT INTERVAL",
         "sample both halls COUNT times (1 to 300) every INTERVAL ms (0 to 11000) in the "
         "background; prints the AT response",
         2, 2, Sample, "camera sample 10 50"},
        {"angle", "[--stop positively|negatively]",
         "the rotary module's angle (mean of four readings); --stop: the end stop's angle from "
         "readings at rest, for set_unreached_angle",
         0, 2, Angle, "camera angle --stop negatively", AngleArgs},
        {"field", "", "the magnetometer's x, y and z", 0, 0, Field, "camera field"},
        {"rotate-to", "DEG",
         "turn to an angle (0 <= DEG < 360) and answer the time and the angle read afterwards; "
         "exit 1 unless it is within the precision",
         1, 1, RotateTo, "camera rotate-to 30"},
        {"rotate-by", "DEG",
         "turn by an angle (-360 < DEG < 360; a negative one turns the same way) and answer the "
         "time and angle; exit 1 unless it arrived",
         1, 1, RotateBy, "camera rotate-by 90"},
        {"max", "positively|negatively",
         "turn to an end stop and answer the time and angle; exit 1 unless it came to rest", 1, 1,
         Max, "camera max negatively", Ways},
        {"front", "", "turn to the calibrated front position (exit 1 unless it arrived)", 0, 0,
         Front, "camera front"},
        {"back", "", "turn to the calibrated back position (exit 1 unless it arrived)", 0, 0, Back,
         "camera back"},
        {"cali", "ITEM VALUES...",
         "store calibration: deg0_cali|deg180_cali X Y Z DEG, half_pop_hall_cali_data|"
         "pop_cali_data|retract_cali_data|set_border_angle A B, set_unreached_angle DEG",
         1, -1, Cali, "camera cali set_unreached_angle 10.50", CaliItems},
        {"half-pop", "MS",
         "calibrate the half-pop hall position within MS ms (1 to 65535); answers the time and "
         "the halls",
         1, 1, HalfPop, "camera half-pop 1500"},
        {"fluency", "negatively|positively|max_pos_to_back_camera|rotate_to_appointted_angle DEG",
         "rotation speed test: answers pass or fail (exit 1 on fail)", 1, -1, Fluency,
         "camera fluency negatively", FluencyTurns},
        {"sn", "TYPE",
         "a camera module's serial number; TYPE is a module named in the device's camera_type "
         "feature, as rear_camera_main or front_camera_main",
         1, 1, Sn, "camera sn rear_camera_main"},
        {"material", "TYPE", "a camera module's material code (TYPE as for sn)", 1, 1, Material,
         "camera material rear_camera_main"},
        {"otp", "PROPERTY",
         "a module's OTP status from its property: good, or bad with the report (exit 1 when "
         "bad)",
         1, 1, Otp, "camera otp persist.sys.camera.otp.rear_main"},
        {"at", "ATCMD", "a camera AT command through the camera service; prints the AT response", 1,
         -1, At, "camera at 'AT+TQ_CCM_SINGLE=2,R,MAIN'"},
        {"send", "MESSAGE...",
         "send a request to the camera service and print the reply (exit 1 on error)", 1, -1,
         CameraSend, "camera send eng_AT_camera#rear#main#open#1"},
        {"service", "start|stop", "start or stop the camera service; answers started or stopped", 1,
         1, Service, "camera service start", ServiceActions},
    }};
orba::cli::Registrar camera_registrar(kCamera);

}  // namespace
