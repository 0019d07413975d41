#ifndef ORBA_CAMERA_BLOCK_RULE_H
#define ORBA_CAMERA_BLOCK_RULE_H

namespace orba::camera {

// The integer block rule without its log line: every reading within `tolerance` of the
// truncated average. n >= 1.
bool SettledWithin(const int* samples, int n, int tolerance, int* average);

// The history of one hall in the blocked-time loops: the last four readings, newest first,
// 9999 until real readings arrive so a hall cannot count as blocked before four have come in.
struct HallHistory {
  int samples[4] = {9999, 9999, 9999, 9999};
  void Push(int value) {
    samples[3] = samples[2];
    samples[2] = samples[1];
    samples[1] = samples[0];
    samples[0] = value;
  }
};

}  // namespace orba::camera

#endif
