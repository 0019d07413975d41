#ifndef ORBA_SIM_ATCID_FAMILY_COMMANDS_H
#define ORBA_SIM_ATCID_FAMILY_COMMANDS_H

// Every family of orbafactory's command table as an extended command of the same name, upper
// case ("nv" is +NV), so the station and a shell run one tree of test steps:
//
//   AT+NV=?                      the family's commands, one line each
//   AT+NV=GET,"mtk_nv_checksum"  a command and its arguments (the name in any case)
//   AT+SN?                       the family's "get" (or its only command) without arguments
//   AT+IDENTITY                  a family of one unnamed command, run without arguments
//   AT+NTC=1                     ... and with them
//
// A command runs on the daemon's thread, on the device the daemon serves, and answers through an
// AtReply. What needs the engineer's own host or keyboard is refused with +CME ERROR: 3
// (operation not allowed) and the reason: a partition image on the host (--image), standard
// input ("-"), a capture that runs until Ctrl-C (log start), and a shell on the device (exec).

#include "at_engine.h"

namespace orba::at {

// Adds the families before the line's own commands are added: a family whose name is one of
// those (+CGSN, +TQ_CCM_...) is not served, so the existing commands keep their meaning.
void AddFamilyCommands(AtEngine* engine);

// The extended command name a family is served under ("+NV"), or "" when it clashes with a
// command of the line itself and is left out.
std::string FamilyCommandName(const char* family);

}  // namespace orba::at

#endif
