// Telling the phone's apps that the factory mode state changed.

#include <orbafactory/engineer.h>

#include <stdio.h>

extern "C" ORBA_EXPORT int send_broadcast_to_phone(int state, int skip) {
  if (skip == 1) return 0;
  char extras[64] = {};
  snprintf(extras, sizeof(extras), "--es state %d", state);
  return sendBroadcastFromAtcid(nullptr, "orba.intent.action.factory_mode_state", extras) ? 0 : -1;
}
