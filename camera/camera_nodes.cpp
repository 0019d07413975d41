#include "camera_nodes.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <orbafactory/config.h>

namespace orba::camera {

int WriteNode(const char* path, const char* text) {
  return write_policy_file(0, path, O_WRONLY | O_TRUNC, text);
}

long long NowMs() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<long long>(tv.tv_sec) * 1000 + tv.tv_usec / 1000;
}

void SleepMs(long ms) {
  if (ms > 0) usleep(static_cast<useconds_t>(ms * 1000));
}

}  // namespace orba::camera
