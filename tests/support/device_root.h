#ifndef ORBA_TESTS_SUPPORT_DEVICE_ROOT_H
#define ORBA_TESTS_SUPPORT_DEVICE_ROOT_H

#include <gtest/gtest.h>

#include <string>

namespace orba::test {

// The directory scratch device roots are made in.
std::string ScratchDir();

// A fresh, empty simulated device for each test: a temporary directory set as
// ORBA_DEVICE_ROOT, removed with everything in it afterwards.
class DeviceRootTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  const std::string& root() const { return root_; }
  // The host path of a device path.
  std::string HostPath(const std::string& device_path) const { return root_ + device_path; }
  // Writes a file at a device path, making its directories.
  void WriteDeviceFile(const std::string& device_path, const std::string& content) const;
  std::string ReadDeviceFile(const std::string& device_path) const;

 private:
  std::string root_;
};

// Leaves the test process without a device root, to check that nothing reaches the host.
class NoDeviceRootTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

 private:
  std::string saved_;
  bool had_root_ = false;
};

}  // namespace orba::test

#endif
