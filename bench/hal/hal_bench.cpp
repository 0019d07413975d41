// Cost of one AT-command HAL call on the host — registration check, fresh connection, request,
// reply, close — beside the floor under it: a raw Unix stream connect + request + reply + close
// to a server that answers inline. Both servers run on threads of this process over the abstract
// namespace, and both exchanges carry a property read of the same size.

#include <benchmark/benchmark.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include <platform/hal.h>
#include <platform/hal_wire.h>
#include <platform/host/device_init.h>
#include <platform/host/device_root.h>
#include <platform/host/local_socket.h>

#include "atcmd_service.h"

namespace {

class BenchDevice {
 public:
  BenchDevice() {
    char templ[] = "/tmp/orba-bench-hal-XXXXXX";
    root_ = mkdtemp(templ);
    setenv(ORBA_DEVICE_ROOT_ENV, root_.c_str(), 1);
    orba_device_root_reset();
    orba_init_property_area();
    orba_init_property_set("ro.product.model", "ORBA-SIM-1");
    int error = 0;
    server_ = orba::sim::StartAtcmdService(&error);
    if (server_ == nullptr) abort();
  }
  ~BenchDevice() {
    server_->Stop();
    std::string cmd = "rm -rf '" + root_ + "'";
    if (system(cmd.c_str()) != 0) fprintf(stderr, "could not remove %s\n", root_.c_str());
  }

 private:
  std::string root_;
  std::unique_ptr<orba::hal::HalServer> server_;
};

BenchDevice& Device() {
  static BenchDevice device;
  return device;
}

// The baseline server: one thread, accept, read one request, write a fixed reply, close.
class RawServer {
 public:
  RawServer() {
    fd_ = orba::platform::ListenDeviceSocket(kRawName, 64).release();
    if (fd_ < 0) abort();
    thread_ = std::thread([this] {
      char buf[256];
      const char reply[] = "\x0e\x00\x00\x00i\x04\x00\x00\x00\x00\x00\x00\x00s\x0a\x00\x00\x00"
                           "ORBA-SIM-1";
      for (;;) {
        int c = accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (c < 0) return;
        if (read(c, buf, sizeof(buf)) > 0) {
          if (write(c, reply, sizeof(reply) - 1) < 0) {
          }
        }
        close(c);
      }
    });
  }
  ~RawServer() {
    shutdown(fd_, SHUT_RDWR);
    close(fd_);
    thread_.join();
  }
  static constexpr const char* kRawName = "orba-bench-raw";

 private:
  int fd_;
  std::thread thread_;
};

void BM_RawSocketRoundTrip(benchmark::State& state) {
  Device();  // the socket name follows the device root: fix it before the server binds
  static RawServer server;
  // The same request bytes a getSystemProperty call sends.
  orba::hal::WireWriter w;
  w.PutUint32(1);
  w.PutString("ro.product.model");
  w.PutString("");
  std::string request;
  w.Finish(&request);
  char reply[256];
  for (auto _ : state) {
    android::base::unique_fd fd = orba::platform::ConnectDeviceSocket(RawServer::kRawName);
    if (fd.get() < 0) {
      state.SkipWithError("connect");
      break;
    }
    if (write(fd.get(), request.data(), request.size()) < 0) state.SkipWithError("write");
    ssize_t n = read(fd.get(), reply, sizeof(reply));
    benchmark::DoNotOptimize(n);
  }
}
BENCHMARK(BM_RawSocketRoundTrip)->UseRealTime();

void BM_HalGetSystemProperty(benchmark::State& state) {
  Device();
  std::string value;
  for (auto _ : state) {
    auto service = orba::hal::IOrbaAtcmd::getService("default", false);
    if (service == nullptr) {
      state.SkipWithError("no service");
      break;
    }
    service->getSystemProperty("ro.product.model", "",
                               [&](std::string_view v) { value.assign(v.data(), v.size()); });
  }
  if (value != "ORBA-SIM-1") state.SkipWithError("wrong value");
}
BENCHMARK(BM_HalGetSystemProperty)->UseRealTime();

// What a probed library member pays on top: the registration probe is one more connection.
void BM_HalProbeAndGetSystemProperty(benchmark::State& state) {
  Device();
  std::string value;
  for (auto _ : state) {
    if (!orba::hal::IOrbaAtcmd::isRegistered("default")) {
      state.SkipWithError("not registered");
      break;
    }
    auto service = orba::hal::IOrbaAtcmd::getService("default", false);
    service->getSystemProperty("ro.product.model", "",
                               [&](std::string_view v) { value.assign(v.data(), v.size()); });
  }
}
BENCHMARK(BM_HalProbeAndGetSystemProperty)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
