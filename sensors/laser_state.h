#ifndef ORBA_SENSORS_LASER_STATE_H
#define ORBA_SENSORS_LASER_STATE_H

// The laser sensor's process-wide state, shared by opening, reading, calibration and the
// frozen-data check. The measurement word and the callback count are written by the vendor
// library's callback thread and read without a lock: single aligned 32-bit words, relaxed.

#include <atomic>
#include <stdint.h>

namespace orba::laser {

constexpr uint32_t kNoData = 0xFFFFFFFFu;

extern std::atomic<uint32_t> g_last_word;
extern std::atomic<uint32_t> g_callback_count;

inline bool HasData(uint32_t word) { return word != kNoData; }
inline int Distance(uint32_t word) { return static_cast<int>(word & 0xFFFFu); }
inline int Confidence(uint32_t word) { return static_cast<int>((word >> 16) & 0x3Fu); }

// The shared sensor object (null when closed). TakeObject hands it over and leaves null, so a
// close thread and a new open never share an object.
void* TakeObject();
// Releases the object a close or a finished calibration step owns.
void ReleaseObject(void* object);
// Installs a new zeroed object and returns it, or null when it cannot be allocated. An old
// object still open in the vendor library is closed there first, so it is never freed while the
// library may still call back with it.
void* ReplaceObject();
void* CurrentObject();

void SleepMs(int ms);

}  // namespace orba::laser

#endif
