#ifndef ORBA_CAMERA_CAMERA_NODES_H
#define ORBA_CAMERA_CAMERA_NODES_H

// The camera module's driver nodes and the small helpers every camera test step shares.

namespace orba::camera {

constexpr char kPopMotor[] = "/sys/class/timed_output/motor/enable";
constexpr char kPopMotorCali[] = "/sys/class/timed_output/motor/cali_data";
constexpr char kRotaryMotor[] = "/sys/class/timed_output/motor5/enable";
constexpr char kRotaryPeriod[] = "/sys/class/timed_output/motor5/period";
constexpr char kMagnetometer[] = "/sys/class/orba_hall/ak09970/data";
constexpr char kUpHallEnable[] = "/sys/class/orba_hall/up_hall/enable";
constexpr char kDownHallEnable[] = "/sys/class/orba_hall/down_hall/enable";
constexpr char kUpHallData[] = "/sys/class/orba_hall/up_hall/data";
constexpr char kDownHallData[] = "/sys/class/orba_hall/down_hall/data";
constexpr char kUpHallSingle[] = "/sys/class/orba_hall/up_hall/single_data";
constexpr char kMiddleHallSingle[] = "/sys/class/orba_hall/middle_hall/single_data";
constexpr char kDownHallSingle[] = "/sys/class/orba_hall/down_hall/single_data";

// The timed-output value carries the direction in bit 16.
constexpr int kReverseBit = 65536;

// Writes a command to a driver node through write_policy_file. The node is truncated as the
// text is written: a sysfs attribute ignores that, and a plain file standing in for one (a
// simulated device) must not keep the tail of a longer earlier command. 0 or minus errno.
int WriteNode(const char* path, const char* text);

// Wall-clock milliseconds (seconds * 1000 + microseconds / 1000), the time base of every
// measured duration here.
long long NowMs();
void SleepMs(long ms);

}  // namespace orba::camera

#endif
