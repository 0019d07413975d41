// orbafactory uwb: UWB RF tests through the vendor's test library. The library's handle lives in
// the process, so each command is a whole session: load, initialise, run, stop, unload.

#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <orbafactory/uwb.h>

#include "command.h"

namespace {

using orba::cli::Args;

// A loaded and initialised test library for the length of one command.
class Session {
 public:
  Session() {
    if (init_uwb_handle() != 0) return;
    loaded_ = true;
    initialised_ = orba_uci_hal_init() == 0;
  }
  ~Session() {
    if (initialised_) orba_uci_hal_deinit();
    if (loaded_) close_uwb_handle();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Why the session is unusable, after printing it; 0 when usable.
  int Check(orba::cli::Reply& reply, const char* what) const {
    if (!loaded_) {
      return orba::cli::FailPaths(
          reply, {{"/vendor/lib64/libuwb_factory_smt.so", orba::cli::PathUse::kRead, false}},
          "uwb %s: cannot load /vendor/lib64/libuwb_factory_smt.so", what);
    }
    if (!initialised_) {
      return orba::cli::Fail(reply, "uwb %s: the test library did not initialise", what);
    }
    return 0;
  }

 private:
  bool loaded_ = false;
  bool initialised_ = false;
};

bool ParseBytes(orba::cli::Reply& reply, const Args& args, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) {
    long v = 0;
    if (!orba::cli::ParseInt(reply, args[i], "parameter", &v)) return false;
    if (v < 0 || v > 255) {
      orba::cli::Error(reply, orba::cli::kUsage, "uwb: parameter '%s' is not a byte",
                       args[i].c_str());
      return false;
    }
    out[i] = static_cast<uint8_t>(v);
  }
  return true;
}

bool ParseSeconds(orba::cli::Reply& reply, const Args& args, size_t index, long* seconds) {
  *seconds = 1;
  if (args.size() <= index) return true;
  if (!orba::cli::ParseInt(reply, args[index], "seconds", seconds)) return false;
  if (*seconds < 0 || *seconds > 600) {
    orba::cli::Error(reply, orba::cli::kUsage, "uwb: SECONDS from 0 to 600");
    return false;
  }
  return true;
}

// The notification's counters by the names the library's structure gives them.
void AnswerNotification(orba::cli::Reply& reply, const per_rx_ntf_data& r) {
  reply.Answer({{"status", r.status},
                {"attempts", r.attempts},
                {"acq_detect", r.acq_detect},
                {"acq_reject", r.acq_reject},
                {"rx_fail", r.rx_fail},
                {"sync_cir_ready", r.sync_cir_ready},
                {"sfd_fail", r.sfd_fail},
                {"sfd_found", r.sfd_found},
                {"phr_dec_error", r.phr_dec_error}});
}

int Init(const Args&, orba::cli::Reply& reply) {
  Session session;
  if (int err = session.Check(reply, "init")) return err;
  reply.Answer({{"state", "initialised"}});
  return orba::cli::kOk;
}

int Receive(orba::cli::Reply& reply, const char* what, bool defaults, const uint8_t* params,
            long seconds) {
  Session session;
  if (int err = session.Check(reply, what)) return err;
  int ret =
      defaults ? orba_uci_hal_set_rx_test_default_param() : uwb_set_rx_param(params[0], params[1]);
  if (ret != 0) return orba::cli::Fail(reply, "uwb %s: parameters refused", what);
  if (orba_uci_hal_start_rx_test() != 0) {
    return orba::cli::Fail(reply, "uwb %s: the receive test did not start", what);
  }
  reply.Note(orba::cli::Format("uwb: receiving for %ld s", seconds));
  sleep(static_cast<unsigned>(seconds));
  per_rx_ntf_data result{};
  if (orba_uci_hal_stop_rx_test(&result) != 0) {
    return orba::cli::Fail(reply, "uwb %s: the receive test did not stop", what);
  }
  AnswerNotification(reply, result);
  return orba::cli::kOk;
}

int Transmit(orba::cli::Reply& reply, const char* what, bool defaults, const uint8_t* params,
             long seconds) {
  Session session;
  if (int err = session.Check(reply, what)) return err;
  int ret = defaults ? orba_uci_hal_set_tx_test_default_param()
                     : uwb_set_tx_param(params[0], params[1], params[2], params[3], params[4]);
  if (ret != 0) return orba::cli::Fail(reply, "uwb %s: parameters refused", what);
  if (orba_uci_hal_start_tx_test() != 0) {
    return orba::cli::Fail(reply, "uwb %s: the transmit test did not start", what);
  }
  reply.Note(orba::cli::Format("uwb: transmitting for %ld s", seconds));
  sleep(static_cast<unsigned>(seconds));
  if (orba_uci_hal_stop_tx_test() != 0) {
    return orba::cli::Fail(reply, "uwb %s: the transmit test did not stop", what);
  }
  reply.Answer({{"state", "done"}});
  return orba::cli::kOk;
}

int Rx(const Args& args, orba::cli::Reply& reply) {
  uint8_t params[2];
  long seconds = 1;
  if (!ParseBytes(reply, args, 2, params) || !ParseSeconds(reply, args, 2, &seconds)) {
    return orba::cli::kUsage;
  }
  return Receive(reply, "rx", false, params, seconds);
}

int Tx(const Args& args, orba::cli::Reply& reply) {
  uint8_t params[5];
  long seconds = 1;
  if (!ParseBytes(reply, args, 5, params) || !ParseSeconds(reply, args, 5, &seconds)) {
    return orba::cli::kUsage;
  }
  return Transmit(reply, "tx", false, params, seconds);
}

int StartRx(const Args& args, orba::cli::Reply& reply) {
  long seconds = 1;
  if (!ParseSeconds(reply, args, 0, &seconds)) return orba::cli::kUsage;
  return Receive(reply, "start-rx", true, nullptr, seconds);
}

int StartTx(const Args& args, orba::cli::Reply& reply) {
  long seconds = 1;
  if (!ParseSeconds(reply, args, 0, &seconds)) return orba::cli::kUsage;
  return Transmit(reply, "start-tx", true, nullptr, seconds);
}

int CalStore(const Args& args, orba::cli::Reply& reply) {
  long arg = 0;
  if (args.size() > 1 && !orba::cli::ParseInt(reply, args[1], "argument", &arg)) {
    return orba::cli::kUsage;
  }
  int ret;
  if (args[0] == "all") {
    ret = Uwb_WriteAllCalDataToPersist(static_cast<uint64_t>(arg));
  } else if (args[0] == "smt") {
    ret = Uwb_WriteSmtCalDataToPersist(static_cast<uint64_t>(arg));
  } else {
    return orba::cli::Error(reply, orba::cli::kUsage, "uwb cal-store: all or smt, not '%s'",
                            args[0].c_str());
  }
  if (ret != 0) {
    return orba::cli::Error(reply, orba::cli::kFailed, "uwb cal-store %s failed (%d)%s",
                            args[0].c_str(), ret,
                            ret == -1 ? ": is libuwbrwpersist.so in the device's /vendor/lib64? "
                                        "(orbafactory-sim init installs it)"
                                      : "");
  }
  set_property_for_uwb();
  reply.Answer({{"calibration", args[0]}, {"state", "stored"}});
  return orba::cli::kOk;
}

std::vector<std::string> CalibrationSets(size_t index) {
  if (index != 0) return {};
  return {"all", "smt"};
}

const orba::cli::Family kUwb{
    "uwb",
    "UWB RF tests (each command loads, runs and unloads the test library)",
    {
        {"init", "", "load and initialise the test library; answers initialised", 0, 0, Init,
         "uwb init"},
        {"rx", "CHANNEL ANTENNA_PAIR [SECONDS]",
         "receive test with these parameters (bytes, 0 to 255) for SECONDS (0 to 600, default "
         "1); answers the notification's counters",
         2, 3, Rx, "uwb rx 9 1 1"},
        {"tx", "CHANNEL ANTENNA_PAIR RFRAME POWER STS_SEGMENTS [SECONDS]",
         "transmit test with these parameters (bytes, 0 to 255) for SECONDS (0 to 600, default "
         "1); answers done",
         5, 6, Tx, "uwb tx 9 1 0 10 1 1"},
        {"start-rx", "[SECONDS]",
         "receive test with the library's defaults; answers the "
         "notification's counters",
         0, 1, StartRx, "uwb start-rx 1"},
        {"start-tx", "[SECONDS]", "transmit test with the library's defaults; answers done", 0, 1,
         StartTx, "uwb start-tx 1"},
        {"cal-store", "all|smt [ARG]",
         "store all calibration data or the SMT part, and set the UWB properties", 1, 2, CalStore,
         "uwb cal-store all", CalibrationSets},
    }};
orba::cli::Registrar registrar(kUwb);

}  // namespace
