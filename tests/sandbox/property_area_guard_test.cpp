// The property area against other users and a full disk: nobody but the device's user can open
// it (and so hold its writers' lock), and it is allocated whole when made, so a property set on
// a full disk is an error, never a SIGBUS through a hole in the mapping.

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <cutils/properties.h>
#include <platform/host/device_init.h>
#include <platform/host/device_root.h>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr uid_t kNobody = 65534;

class PropertyAreaGuardTest : public DeviceRootTest {
 protected:
  std::string Area() const { return HostPath("/dev/__properties__"); }
};

TEST_F(PropertyAreaGuardTest, AnotherUserCannotOpenTheArea) {
  ASSERT_EQ(orba_init_property_area(), 0);
  struct stat st;
  ASSERT_EQ(stat(Area().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs root to run a second user (uid " << kNobody << "); running as uid "
                 << geteuid();
  }
  // Even with every directory on the way open to them.
  ASSERT_EQ(chmod(root().c_str(), 0755), 0);
  ASSERT_EQ(chmod(HostPath("/dev").c_str(), 0755), 0);
  const std::string area = Area();
  pid_t child = StartChild([&] {
    if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) return 100;
    int fd = open(area.c_str(), O_RDONLY | O_CLOEXEC);
    return fd < 0 && errno == EACCES ? 0 : 1;
  });
  EXPECT_EQ(WaitChild(child), 0) << "uid 65534 could open the property area";
  ASSERT_EQ(chmod(root().c_str(), 0700), 0);
}

// Runs `body` in a child with a tmpfs of `bytes` at `dir`, in a mount namespace of its own.
int OnSmallFilesystem(const std::string& dir, size_t bytes, int (*body)(const std::string&)) {
  pid_t child = StartChild([&] {
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      return 100;
    }
    std::string options = "size=" + std::to_string(bytes) + ",mode=0700";
    if (mount("tmpfs", dir.c_str(), "tmpfs", 0, options.c_str()) != 0) return 101;
    return body(dir);
  });
  return WaitChild(child);
}

int FillUp(const std::string& dir) {
  int fd = open((dir + "/filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return -1;
  static const char block[4096] = {};
  while (write(fd, block, sizeof(block)) > 0) {
  }
  close(fd);
  return errno == ENOSPC ? 0 : -1;
}

TEST_F(PropertyAreaGuardTest, AFullDiskFailsASetWithoutSigbus) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to mount a small tmpfs; running as uid " << geteuid();
  ASSERT_EQ(orba_init_property_area(), 0);
  struct stat st;
  ASSERT_EQ(stat(Area().c_str(), &st), 0);
  const size_t area_size = static_cast<size_t>(st.st_size);
  const std::string dir = HostPath("/fs");
  ASSERT_EQ(mkdir(dir.c_str(), 0700), 0);

  // Too small for the area: making it fails, and nothing maps a partial one.
  EXPECT_EQ(OnSmallFilesystem(dir, area_size / 2,
                              [](const std::string& d) {
                                setenv("ORBA_DEVICE_ROOT", d.c_str(), 1);
                                orba_device_root_reset();
                                if (orba_init_property_area() == 0) return 1;
                                return orba_init_property_set("sim.a", "1") == 0 ? 2 : 0;
                              }),
            0);

  // Room for the area, then the disk fills: every new property still lands in its own blocks.
  EXPECT_EQ(OnSmallFilesystem(dir, area_size + (256 << 10),
                              [](const std::string& d) {
                                setenv("ORBA_DEVICE_ROOT", d.c_str(), 1);
                                orba_device_root_reset();
                                if (orba_init_property_area() != 0) return 1;
                                if (FillUp(d) != 0) return 2;
                                for (int i = 0; i < 2000; ++i) {
                                  std::string name = "sim.full." + std::to_string(i);
                                  if (orba_init_property_set(name.c_str(), "v") != 0) return 3;
                                }
                                char value[PROPERTY_VALUE_MAX] = {};
                                property_get("sim.full.1999", value, "");
                                return std::string(value) == "v" ? 0 : 4;
                              }),
            0)
      << "-1 means the setter died of a signal";
}

}  // namespace
}  // namespace orba::test
