#include "knob_table.h"

namespace orba::sim {
namespace {

// A cell of a Markdown table: a '|' would end the cell early.
std::string Cell(const char* text) {
  std::string out;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '|') out += '\\';
    out += *p;
  }
  return out;
}

// Whether `name` fits `pattern`, whose "<...>" stands for one dot-free word.
bool Matches(std::string_view pattern, std::string_view name) {
  size_t open = pattern.find('<');
  if (open == std::string_view::npos) return pattern == name;
  size_t close = pattern.find('>', open);
  if (close == std::string_view::npos) return false;
  std::string_view head = pattern.substr(0, open);
  std::string_view tail = pattern.substr(close + 1);
  if (name.size() <= head.size() + tail.size()) return false;
  if (name.substr(0, head.size()) != head) return false;
  if (name.substr(name.size() - tail.size()) != tail) return false;
  std::string_view word = name.substr(head.size(), name.size() - head.size() - tail.size());
  return word.find('.') == std::string_view::npos;
}

}  // namespace

KnobRange Knobs() {
  // Defaults give a healthy device; a profile or a test sets a knob to make it misbehave.
  // A plain array: nothing to construct or destroy, so a double's detached reader thread can
  // still look a knob up while the process exits, and a double unloaded with dlclose takes no
  // allocation with it.
  static const KnobSpec table[] = {
      // The hardware models (service orba-hw-models).
      {"sim.hw.enable", "1",
       "0 keeps the hardware models off every node (for tests that write the nodes themselves)"},
      {"sim.motor.travel_ms", "800",
       "pop motor: ms to cross the whole travel, read at each motor command"},
      {"sim.motor.stuck", "0", "pop motor: 1 hums but does not move, read at each motor command"},
      {"sim.rotary.angle", "0", "rotary module: the angle it rests at when the models start"},
      {"sim.rotary.stop_angle", "0",
       "rotary module: the mechanical stop no turn crosses, read when the models start"},
      {"sim.rotary.speed_factor", "1.0",
       "rotary motor: scales the speed its step period gives (below 1: a worn gear)"},
      {"sim.rotary.field", "1000", "magnetometer: the magnet's field strength in counts"},
      {"sim.rotary.noise_deg", "0.1",
       "magnetometer: spread in degrees of each 0.5 ms measurement, before the mean of four"},
      {"sim.touch.delay_ms", "1000", "touch self-test: ms from the test number to the verdict"},
      {"sim.touch.result", "PASS: all channels within limits",
       "touch self-test: the verdict the node reads after the delay"},
      // The TMF8801 laser library double (libsensor_laser_8801.so).
      {"sim.laser.init_ret", "0", "laser: return of init; non-zero delivers no measurements"},
      {"sim.laser.deinit_ret", "0", "laser: return of deinit"},
      {"sim.laser.words", "",
       "laser: comma-separated measurement words (decimal or 0x) delivered after init, the last "
       "repeated until deinit; unset: none"},
      {"sim.laser.period_ms", "33", "laser: ms between delivered measurement words"},
      {"sim.laser.trim_enable_ret", "0", "laser: return of the clock-trim enable"},
      {"sim.laser.trim_result", "2", "laser: return of the clock-trim result"},
      {"sim.laser.xtalk_ret", "0", "laser: return of the crosstalk calibration"},
      {"sim.laser.result_ret", "0",
       "laser: return of the calibration result; 0 also fills photon count and bin"},
      {"sim.laser.photon", "1024", "laser: photon count of the calibration result"},
      {"sim.laser.bin", "12", "laser: bin of the calibration result"},
      {"sim.laser.fw_ret", "0", "laser: return of the firmware download"},
      // The UWB library doubles (/vendor/lib64/libuwb_factory_smt.so, libuwbrwpersist.so).
      {"sim.uwb.<function>.ret", "0", "UWB test library: return of orba_uci_hal_<function>'s call"},
      {"sim.uwb.rx_ntf", "",
       "UWB test library: 72 hex digits, the notification a receive test delivers; unset: none"},
      {"sim.uwb.rx_ntf_delay_ms", "10",
       "UWB test library: ms from the receive test's start to its notification"},
      {"sim.uwbpersist.<function>.ret", "0", "UWB calibration store: return of <function>"},
      // The engineer-mode service and the apps behind it (service orbaem-hal-1-0).
      {"sim.em.unavailable", "",
       "comma-separated app packages that cannot be started: their starts fail"},
      {"sim.em.start_delay_ms", "0", "ms from start to up for the engineer-mode apps"},
      {"sim.camera.start_delay_ms", "0", "ms from start to up for the camera apps' socket service"},
      {"sim.fingerprint.start_delay_ms", "0",
       "ms from start to up for the fingerprint engineering service"},
      {"sim.em.default_reply", "",
       "engineer app: the answer to a message it does not know; unset: \"error\""},
      {"sim.em.mic_echo", "", "engineer-mode service: the answer to testMicEcho; unset: \"ok\""},
      {"sim.em.refresh_rate", "",
       "engineer app: the display's highest refresh rate; unset: \"error\" to rate queries"},
      {"sim.em.refresh_rate.settle_ms", "",
       "engineer app: ms a requested refresh rate takes to become current; unset: at once"},
      {"sim.em.refresh_rate.current", "",
       "engineer app's own record of the current refresh rate (a test may preset it)"},
      {"sim.em.refresh_rate.pending", "",
       "engineer app's own record of a requested rate still settling, as RATE@DEADLINE_MS"},
      {"sim.em.global.<NAME>", "",
       "engineer app: the integer of global setting NAME; unset: \"error\""},
      {"sim.camera.default_reply", "",
       "camera apps' socket service: the answer to a request its table lacks; unset: \"error\""},
      {"sim.fingerprint.default_reply", "",
       "fingerprint service: the answer to a request its table lacks; unset: \"error\""},
      {"sim.atcid.default_reply", "",
       "vendor AT daemon's socket: the answer to a command its table lacks; unset: \"error\""},
      // The device's own tools.
      {"sim.rpmb.result", "1",
       "tlcrpmb_gp getflag: secure-storage state (1 provisioned, 2 not ready yet)"},
  };
  return KnobRange{table, table + sizeof(table) / sizeof(table[0])};
}

const KnobSpec* FindKnob(std::string_view name) {
  for (const KnobSpec& k : Knobs()) {
    if (Matches(k.name, name)) return &k;
  }
  return nullptr;
}

const char* KnobDefault(std::string_view name) {
  const KnobSpec* k = FindKnob(name);
  return k != nullptr ? k->fallback : "";
}

std::string KnobMarkdownTable() {
  std::string out = "| knob | default | what it steers |\n|---|---|---|\n";
  for (const KnobSpec& k : Knobs()) {
    std::string fallback = *k.fallback != '\0' ? "`" + Cell(k.fallback) + "`" : "unset";
    out += "| `" + Cell(k.name) + "` | " + fallback + " | " + Cell(k.steers) + " |\n";
  }
  return out;
}

}  // namespace orba::sim
