#ifndef ORBA_SIM_EM_REPLY_TABLE_H
#define ORBA_SIM_EM_REPLY_TABLE_H

// Replies a test or profile sets for the simulated apps, one table file per responder in the
// device root, read afresh for every request (so a table can change while the device runs):
//
//   /data/sim/em_replies           the engineer-mode app (every edition) and testMicEcho
//   /data/sim/camera_replies       the camera app's socket service
//   /data/sim/fingerprint_replies  the fingerprint engineering service
//   /data/sim/atcid_replies        the peer on "atcid_vendor_socket"
//
// Format: one entry a line, "request<TAB>reply". The request is compared with the whole
// request text (without its line feed); a request ending in '*' matches every request that
// begins with the text before the '*'. In the reply, "\n", "\r", "\t" and "\\" stand for a
// line feed, a carriage return, a tab and a backslash. Lines starting with '#' and lines
// without a tab are ignored. The first matching line wins, and an entry overrides the
// responder's built-in answer (then the built-in side effects, such as writing calibration
// files, do not happen either).

#include <optional>
#include <string>

namespace orba::sim {

constexpr const char kEmReplies[] = "/data/sim/em_replies";
constexpr const char kCameraReplies[] = "/data/sim/camera_replies";
constexpr const char kFingerprintReplies[] = "/data/sim/fingerprint_replies";
constexpr const char kAtcidReplies[] = "/data/sim/atcid_replies";

// The table's reply for `request`, if it has one. A missing table has none.
std::optional<std::string> LookUpReply(const char* table_path, const std::string& request);

}  // namespace orba::sim

#endif
