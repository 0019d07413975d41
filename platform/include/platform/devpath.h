#ifndef ORBA_PLATFORM_DEVPATH_H
#define ORBA_PLATFORM_DEVPATH_H

// The library is written with the phone's absolute paths. DevPath is where such a path meets a
// system call: on the phone it is the path itself; on a host it lands under the simulated
// device's root ($ORBA_DEVICE_ROOT), so host runs never touch the host's own /dev, /sys or /data.
//
//   FILE* f = fopen(DevPath("/cache/recovery/last_test_cali_result.xml"), "r");
//
// Log lines keep showing the device path, never the resolved one.

#include <limits.h>
#include <stddef.h>

#if defined(__ANDROID__)

class DevPath {
 public:
  explicit DevPath(const char* device_path) : path_(device_path ? device_path : "") {}
  operator const char*() const { return path_; }
  const char* c_str() const { return path_; }
  bool ok() const { return true; }

 private:
  const char* path_;
};

class DevSocketName {
 public:
  explicit DevSocketName(const char* name) : name_(name ? name : "") {}
  operator const char*() const { return name_; }
  const char* c_str() const { return name_; }

 private:
  const char* name_;
};

#else  // host

#include <platform/host/device_root.h>

class DevPath {
 public:
  explicit DevPath(const char* device_path)
      : ok_(orba_resolve_device_path(device_path, buf_, sizeof(buf_)) == 0) {}
  DevPath(const DevPath&) = delete;
  DevPath& operator=(const DevPath&) = delete;
  operator const char*() const { return buf_; }
  const char* c_str() const { return buf_; }
  // False when the path was refused (no device root, or too long): the resolved text is then ""
  // so any system call given it fails with ENOENT instead of reaching the host.
  bool ok() const { return ok_; }

 private:
  char buf_[PATH_MAX];
  bool ok_;
};

class DevSocketName {
 public:
  explicit DevSocketName(const char* name) { orba_device_socket_name(name, buf_, sizeof(buf_)); }
  operator const char*() const { return buf_; }
  const char* c_str() const { return buf_; }

 private:
  char buf_[108];  // sun_path
};

#endif

#endif
