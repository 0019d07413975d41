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
#include <stdio.h>
#include <unistd.h>

// DevPath follows a link at the last component, as open, stat, chmod and opendir do;
// DevPathNoFollow leaves it, for the calls that act on a name itself (remove, unlink, rmdir,
// rename, lstat, mkdir). DevPathText is the path as text, for comparing with what the kernel
// reports about processes (/proc/PID/exe) and for telling a person where a path lies; it never
// goes to a call that touches the file. DevLibrary names a vendor library loaded by bare name.

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

using DevPathNoFollow = DevPath;
using DevPathText = DevPath;
// The vendor linker namespace finds it in /vendor/lib64.
using DevLibrary = DevPath;

class DevSocketName {
 public:
  explicit DevSocketName(const char* name) : name_(name ? name : "") {}
  operator const char*() const { return name_; }
  const char* c_str() const { return name_; }

 private:
  const char* name_;
};

// On the phone a reserved socket's SELinux label decides who may listen on it.
inline bool DevSocketPeerTrusted(int /*fd*/, const char* /*name*/) { return true; }

// On the phone every process is the device's.
inline bool DevOwnsProcess(int /*pid*/) { return true; }

#else  // host

#include <platform/host/device_process.h>
#include <platform/host/device_root.h>

// On a host the kernel resolves a device path beneath the device's root only when asked to
// (openat2), and the library's calls take plain paths. So the path is resolved inside the root
// here, links included, and what the call receives names the result through a descriptor this
// object holds until the call has been made ("/proc/self/fd/N", or "/proc/self/fd/N/name" for a
// name still to be made in directory N): the kernel cannot be sent outside the root by a link
// planted in it, nor by a directory on the way swapped for a link in the meantime. What it
// cannot cover is a link planted at a name that did not exist yet, in the moment between this
// and the call that creates it.
class DevPath {
 public:
  explicit DevPath(const char* device_path) : DevPath(device_path, 1) {}
  ~DevPath() {
    if (fd_ >= 0) close(fd_);
  }
  DevPath(const DevPath&) = delete;
  DevPath& operator=(const DevPath&) = delete;
  operator const char*() const { return buf_; }
  const char* c_str() const { return buf_; }
  // False when the path was refused (no device root, or too long): the resolved text is then ""
  // so any system call given it fails with ENOENT instead of reaching the host.
  bool ok() const { return ok_ != 0; }

 protected:
  DevPath(const char* device_path, int follow_last)
      : fd_(orba_confine_device_path(device_path, follow_last, buf_, sizeof(buf_), &ok_)) {}

 private:
  char buf_[PATH_MAX];
  int ok_;
  int fd_;
};

class DevPathNoFollow : public DevPath {
 public:
  explicit DevPathNoFollow(const char* device_path) : DevPath(device_path, 0) {}
};

class DevPathText {
 public:
  explicit DevPathText(const char* device_path)
      : ok_(orba_resolve_device_path(device_path, buf_, sizeof(buf_)) == 0) {}
  DevPathText(const DevPathText&) = delete;
  DevPathText& operator=(const DevPathText&) = delete;
  operator const char*() const { return buf_; }
  const char* c_str() const { return buf_; }
  bool ok() const { return ok_; }

 private:
  char buf_[PATH_MAX];
  bool ok_;
};

// The device's /vendor/lib64, resolved inside the root: the host's loader search path
// (LD_LIBRARY_PATH) would reach the device's libraries for every program of a shell, and any
// library there for the programs' own dependencies.
class DevLibrary : public DevPath {
 public:
  explicit DevLibrary(const char* name) : DevPath(VendorPath(name).path, 1) {}

 private:
  struct Text {
    char path[PATH_MAX];
  };
  static Text VendorPath(const char* name) {
    Text t;
    snprintf(t.path, sizeof(t.path), "/vendor/lib64/%s", name != nullptr ? name : "");
    return t;
  }
};

class DevSocketName {
 public:
  explicit DevSocketName(const char* name) { orba_device_socket_name(name, buf_, sizeof(buf_)); }
  operator const char*() const { return buf_; }
  const char* c_str() const { return buf_; }

 private:
  char buf_[108];  // sun_path
};

// Whether the process answering a connection to a device socket is the device's: a host's
// abstract names are anyone's to take first, so a client asks before it sends a byte (the
// refusal is logged with who answered).
inline bool DevSocketPeerTrusted(int fd, const char* name) {
  return orba_device_socket_trusted(fd, name) != 0;
}

// Whether a host process is one of the simulated device's (its ps lists only those, but what a
// tool prints is only text): the others are none of the library's business to signal.
inline bool DevOwnsProcess(int pid) { return orba_process_of_device(pid) != 0; }

#endif

#endif
