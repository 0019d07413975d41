#ifndef ORBA_TESTS_FACTORYDATA_FIXTURE_H
#define ORBA_TESTS_FACTORYDATA_FIXTURE_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include <orbafactory/factorydata.h>
#include <platform/host/hal_server.h>

#include "support/device_root.h"

namespace orba::test {

// A simulated device laid out by orbafactory-sim (shared storage at /data/media/0, /sdcard
// linking to it, the default profile's properties). The AT-command service runs on a thread of
// the test once started.
class FactoryDataTest : public DeviceRootTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  void StartService();
  // Writes a file on shared storage through its real location.
  void WriteStorage(const std::string& relative, const std::string& content) const;
  std::string StoragePath(const std::string& relative) const {
    return HostPath("/data/media/0/" + relative);
  }
  // Every path under the storage, relative to it, sorted ("dir/" for directories).
  std::vector<std::string> StorageTree() const;

 private:
  std::unique_ptr<hal::HalServer> server_;
};

struct ListFree {
  void operator()(tf_data_list* l) const { tf_data_list_free(l); }
};
using ListPtr = std::unique_ptr<tf_data_list, ListFree>;

std::vector<std::string> Paths(const tf_data_list* list);

// Runs `body` in a child that has given up root (user and group 65534): access checks then
// behave as for the apps that use the storage. The child runs its own AT-command service, so
// the test must not start one. Returns the body's result, or -1.
int RunUnprivileged(const std::string& root, int (*body)());

}  // namespace orba::test

#endif
