#ifndef ORBA_SIM_EM_ENGINEER_APP_H
#define ORBA_SIM_EM_ENGINEER_APP_H

// What the simulated engineer-mode app answers (every edition alike). The reply table
// (/data/sim/em_replies, see reply_table.h) comes first; otherwise:
//
//   TQEGMCDK_clear ITEM VALUE    sets ITEM's state in /cache/recovery/last_test_cali_result.xml
//   TQEGMCDK_dark ITEM VALUE     ... in /cache/recovery/last_test_cali_bg_dark.xml
//                                (a line "ITEM S": S becomes VALUE's first character; a missing
//                                item is added as "ITEM VALUE"); "ok", or "error" when the
//                                request is incomplete or the file cannot be written
//   get_lcm_refreshrate max      sim.em.refresh_rate ("error" when unset)
//   get_lcm_refreshrate current  sim.em.refresh_rate.current, else sim.em.refresh_rate
//   set_lcm_refreshrate N        N a positive integer not above sim.em.refresh_rate (when set):
//                                "ok", and N becomes sim.em.refresh_rate.current at once, or
//                                sim.em.refresh_rate.settle_ms later (the display switching);
//                                else "error"
//   get_global_setting_int NAME  sim.em.global.NAME ("error" when unset)
//   anything else                sim.em.default_reply, else "error"

#include <string>

namespace orba::sim {

std::string EngineerAppAnswer(const std::string& message);

}  // namespace orba::sim

#endif
