// Which engineer-mode app a message goes to.

#include "engineer_edition.h"

#include <unistd.h>

#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>

namespace orba::engineer {

const Edition kUserEdition = {
    "com.xole.user.engineermode.socketcommand.SocketReceiverService",
    "userEngineerMode",
    "com.xole.user.engineermode/.socketcommand.SocketReceiverService",
};

const Edition kAftersaleEdition = {
    "com.xole.aftersale.engineermode.socketcommand.SocketReceiverService",
    "aftersaleEngineerMode",
    "com.xole.aftersale.engineermode/.socketcommand.SocketReceiverService",
};

const Edition kStandardEdition = {
    "com.xole.engineermode.socketcommand.SocketReceiverService",
    "EngineerMode",
    "com.xole.engineermode/.socketcommand.SocketReceiverService",
};

namespace {

// The mode properties belong to the system's domain, hence the privileged read.
bool ModeOn(const char* property) {
  char value[92] = {};
  orbaatcmd_get_system_property(property, value, "");
  return value[0] == '1';
}

}  // namespace

const Edition& CurrentEdition() {
  if (ModeOn("persist.sys.user.qztem")) return kUserEdition;
  if (ModeOn("persist.sys.aftersale.qztem")) return kAftersaleEdition;
  return kStandardEdition;
}

bool EngineerModeInstalled() {
  static const char* const kApks[] = {
      "/system/app/orbaEngineerMode/orbaEngineerMode.apk",
      "/system/app/orbaUserEngineerMode/orbaUserEngineerMode.apk",
      "/factory/app/orbaEngineerMode/orbaEngineerMode.apk",
  };
  for (const char* apk : kApks) {
    if (access(DevPath(apk), F_OK) == 0) return true;
  }
  return false;
}

}  // namespace orba::engineer
