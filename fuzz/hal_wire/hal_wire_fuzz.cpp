// libFuzzer harness for the HAL wire format as a service reads it: a frame arrives on a real
// socket pair, WireReceive takes it in, and the reader walks its fields in an order chosen by
// the input (as the decoders of different methods would). Nothing may read past the body, and
// every view handed out must lie inside it.

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include <platform/hal_wire.h>

namespace {

void CheckInside(const std::string& body, std::string_view v) {
  if (v.empty()) return;
  const char* begin = body.data();
  const char* end = begin + body.size();
  if (v.data() < begin || v.data() + v.size() > end) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t order = data[0];
  int fds[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) return 0;
  // Socket buffers hold far more than libFuzzer's default input size.
  ssize_t sent = write(fds[0], data + 1, size - 1);
  close(fds[0]);
  std::string body;
  bool ok = sent >= 0 && orba::hal::WireReceive(fds[1], &body);
  close(fds[1]);
  if (!ok) return 0;

  orba::hal::WireReader r(body);
  for (int step = 0; step < 16 && !r.AtEnd(); ++step) {
    std::string_view v;
    uint32_t u;
    int32_t i;
    bool b;
    bool got = false;
    switch ((order >> (step % 4 * 2)) & 3) {
      case 0:
        got = r.GetString(&v);
        if (got) CheckInside(body, v);
        break;
      case 1:
        got = r.GetBytes(&v);
        if (got) CheckInside(body, v);
        break;
      case 2:
        got = r.GetUint32(&u) || r.GetInt32(&i);
        break;
      case 3:
        got = r.GetBool(&b);
        break;
    }
    if (!got) break;
  }
  return 0;
}
