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

// The shared sensor object (null when closed). Whoever takes it owns it and must close it; a
// close and a new open therefore never share an object. Each installed object gets a serial
// (never 0) that no later one repeats, even when the allocator hands out the same address again,
// so an opener can tell later whether the current object is still its own.

// Hands the current object over and leaves null.
void* TakeObject();
// Hands the current object over only if it is the one installed as `serial`; its measurement
// goes with it. Null when another object has replaced it since (which closed it already).
void* TakeObjectIf(uint64_t serial);
// Installs a new zeroed object and returns it (its serial in *serial), or null when it cannot be
// allocated. The old object, if any, is closed.
void* ReplaceObject(uint64_t* serial = nullptr);
// The one way an object ends: closed in the vendor library, then freed, so the library never
// calls back with freed memory. An object the library never accepted is closed all the same;
// deinit of an unknown object is harmless, a leaked open one is not. Null: nothing to do, 0.
// The library's deinit result.
int CloseObject(void* object);

// The streaming open (on_off_laser_TMF8801(true)), telling the opener its object's serial
// (0 when none could be allocated). 1 when the library accepted it.
int OpenStreaming(uint64_t* serial);
// Closes an object the caller took, on a thread of its own so the caller returns at once.
void CloseInBackground(void* object);

void SleepMs(int ms);

}  // namespace orba::laser

#endif
