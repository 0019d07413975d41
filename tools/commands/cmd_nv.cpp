// orbafactory nv dump|get|set: the factory record in the backup partition, field by field, on
// the device or on a partition image pulled from a phone (--image).

#include <errno.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include <orbafactory/persist.h>
#include <persist/xole_nv_fields.h>

#include "command.h"
#include "cmd_nv.h"

#if !defined(__ANDROID__)
#include <platform/host/device_root.h>
#endif

namespace orba::cli {

bool TakeImageOptions(Reply& reply, Args* args, ImageOptions* options) {
  Args rest;
  for (size_t i = 0; i < args->size(); ++i) {
    const std::string& a = (*args)[i];
    if (a == "--image") {
      if (i + 1 >= args->size()) {
        Error(reply, kUsage, "--image needs a FILE");
        return false;
      }
      options->image = (*args)[++i];
    } else if (a == "--write-back") {
      options->write_back = true;
    } else {
      rest.push_back(a);
    }
  }
  if (options->write_back && options->image.empty()) {
    Error(reply, kUsage, "--write-back goes with --image FILE");
    return false;
  }
  *args = rest;
  return true;
}

namespace {

namespace fs = std::filesystem;

// The three names the library may find the partition under; the first is where slot writes go,
// the others link to it, as on the phone.
constexpr const char kPlatformBackup[] = "dev/block/platform/bootdevice/by-name/backup";
constexpr const char* kBackupLinks[] = {"dev/block/bootdevice/by-name/backup",
                                        "dev/block/by-name/backup"};

class TemporaryRoot {
 public:
  TemporaryRoot() {
    const char* tmp = getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") +
                          "/orbafactory-image-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;  // host path
  }
  ~TemporaryRoot() {
    std::error_code ec;
    if (!path_.empty()) fs::remove_all(path_, ec);
  }
  TemporaryRoot(const TemporaryRoot&) = delete;
  TemporaryRoot& operator=(const TemporaryRoot&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Points the library at `root` for the life of this object.
class RootSwitch {
 public:
  explicit RootSwitch(const std::string& root) {
    const char* old = getenv("ORBA_DEVICE_ROOT");
    had_ = old != nullptr;
    if (had_) saved_ = old;
    setenv("ORBA_DEVICE_ROOT", root.c_str(), 1);
    Reset();
  }
  ~RootSwitch() {
    if (had_) {
      setenv("ORBA_DEVICE_ROOT", saved_.c_str(), 1);
    } else {
      unsetenv("ORBA_DEVICE_ROOT");
    }
    Reset();
  }
  RootSwitch(const RootSwitch&) = delete;
  RootSwitch& operator=(const RootSwitch&) = delete;

 private:
  static void Reset() {
#if !defined(__ANDROID__)
    orba_device_root_reset();
#endif
  }
  bool had_ = false;
  std::string saved_;
};

}  // namespace

int WithBackupPartition(Reply& reply, const ImageOptions& options,
                        int (*body)(const Args&, Reply&), const Args& args) {
  if (options.image.empty()) return body(args, reply);
#if defined(__ANDROID__)
  return Error(reply, kUsage, "--image works on a workstation only; on the phone use the partition");
#else
  std::error_code ec;
  if (!fs::is_regular_file(options.image, ec)) {
    // The image is the engineer's own file on this host, not a device path.
    return Error(reply, kUsage, "--image %s: not a readable file on this host: %s", options.image.c_str(),
                 ec ? ec.message().c_str() : "not a regular file");
  }
  TemporaryRoot root;
  if (root.path().empty()) return Error(reply, kFailed, "cannot make a temporary device root");
  const fs::path base(root.path());
  const fs::path partition = base / kPlatformBackup;
  fs::create_directories(partition.parent_path(), ec);
  if (!ec) fs::copy_file(options.image, partition, ec);
  for (const char* link : kBackupLinks) {
    if (ec) break;
    fs::create_directories((base / link).parent_path(), ec);
    if (!ec) fs::create_symlink(partition, base / link, ec);
  }
  // The record's text view is rewritten on every store; give it its directory.
  if (!ec) fs::create_directories(base / "data/vendor/engineermode", ec);
  if (ec) {
    return Error(reply, kFailed, "cannot place %s in a temporary device root: %s",
                 options.image.c_str(), ec.message().c_str());
  }
  int rc;
  {
    RootSwitch use(root.path());
    rc = body(args, reply);
  }
  if (rc != kOk || !options.write_back) {
    if (options.write_back) fprintf(stderr, "orbafactory: %s left unchanged\n", options.image.c_str());
    return rc;
  }
  fs::copy_file(partition, options.image, fs::copy_options::overwrite_existing, ec);
  if (ec) {
    return Error(reply, kFailed, "cannot write %s back: %s", options.image.c_str(), ec.message().c_str());
  }
  fprintf(stderr, "orbafactory: %s written back\n", options.image.c_str());
  return kOk;
#endif
}

}  // namespace orba::cli

namespace {

using orba::cli::Args;

using Field = orba::persist::XoleNvField;
constexpr const Field (&kFields)[orba::persist::kXoleNvFieldCount] = orba::persist::kXoleNvFields;
using orba::persist::kChar;
using orba::persist::kFloat32;
using orba::persist::kInt32;
using orba::persist::kText;
using orba::persist::kTextFfUnset;
using orba::persist::kUint32;

std::string FieldName(const Field& f) {
  const char* eq = strchr(f.format, '=');
  return std::string(f.format, static_cast<size_t>(eq - f.format));
}

// The name a user types: unique, so the repeated key gets a suffix the second time.
std::string UserName(const Field& f) {
  std::string name = FieldName(f);
  for (const Field& other : kFields) {
    if (&other == &f) break;
    if (FieldName(other) == name) return name + ":2";
  }
  return name;
}

const Field* FindField(const std::string& name) {
  for (const Field& f : kFields) {
    if (UserName(f) == name) return &f;
  }
  return nullptr;
}

int32_t GetInt(const uint8_t* record, size_t offset) {
  int32_t v;
  memcpy(&v, record + offset, sizeof(v));
  return v;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string Format(const uint8_t* record, const Field& f) {
  char out[256];
  switch (f.type) {
    case kInt32:
      snprintf(out, sizeof(out), f.format, GetInt(record, f.offset));
      break;
    case kUint32:
      snprintf(out, sizeof(out), f.format, static_cast<unsigned>(GetInt(record, f.offset)));
      break;
    case kFloat32: {
      float v;
      memcpy(&v, record + f.offset, sizeof(v));
      snprintf(out, sizeof(out), f.format, static_cast<double>(v));
      break;
    }
    case kChar:
      snprintf(out, sizeof(out), f.format, record[f.offset]);
      break;
    case kText:
    case kTextFfUnset: {
      char text[160] = {};
      if (!(f.type == kTextFfUnset && record[f.offset] == 0xFF)) {
        size_t n = 0;
        while (n < f.width && record[f.offset + n] != '\0') ++n;
        memcpy(text, record + f.offset, n);
      }
      snprintf(out, sizeof(out), f.format, text);
      break;
    }
  }
  return out;
}
#pragma GCC diagnostic pop

// The printed line under the name the user types (the format keeps the record's own spacing).
std::string Line(const uint8_t* record, const Field& f) {
  std::string text = Format(record, f);
  return UserName(f) + text.substr(FieldName(f).size());
}

bool Parse(orba::cli::Reply& reply, const Field& f, const std::string& value, uint8_t* record) {
  switch (f.type) {
    case kInt32: {
      long v = 0;
      if (!orba::cli::ParseInt(reply, value, UserName(f).c_str(), &v)) return false;
      if (v < INT32_MIN || v > INT32_MAX) {
        orba::cli::Error(reply, orba::cli::kUsage, "%s: %s is out of range", UserName(f).c_str(),
                         value.c_str());
        return false;
      }
      int32_t x = static_cast<int32_t>(v);
      memcpy(record + f.offset, &x, sizeof(x));
      return true;
    }
    case kUint32: {
      char* end = nullptr;
      errno = 0;
      unsigned long v = strtoul(value.c_str(), &end, 16);
      if (value.empty() || *end != '\0' || errno != 0 || v > UINT32_MAX || value[0] == '-') {
        orba::cli::Error(reply, orba::cli::kUsage, "%s: '%s' is not a hex number", UserName(f).c_str(),
                         value.c_str());
        return false;
      }
      uint32_t x = static_cast<uint32_t>(v);
      memcpy(record + f.offset, &x, sizeof(x));
      return true;
    }
    case kFloat32: {
      char* end = nullptr;
      float v = strtof(value.c_str(), &end);
      if (value.empty() || *end != '\0' || !isfinite(v)) {
        orba::cli::Error(reply, orba::cli::kUsage, "%s: '%s' is not a number", UserName(f).c_str(),
                         value.c_str());
        return false;
      }
      memcpy(record + f.offset, &v, sizeof(v));
      return true;
    }
    case kChar:
      if (value.size() != 1) {
        orba::cli::Error(reply, orba::cli::kUsage, "%s: one character expected", UserName(f).c_str());
        return false;
      }
      record[f.offset] = static_cast<uint8_t>(value[0]);
      return true;
    case kText:
    case kTextFfUnset:
      // The field keeps its terminator, so readers never run into the next field.
      if (value.size() >= f.width || value.find('\0') != std::string::npos) {
        orba::cli::Error(reply, orba::cli::kUsage, "%s: at most %d characters", UserName(f).c_str(),
                         f.width - 1);
        return false;
      }
      memset(record + f.offset, 0, f.width);
      memcpy(record + f.offset, value.data(), value.size());
      return true;
  }
  return false;
}

int ReadRecord(orba::cli::Reply& reply, uint8_t* record) {
  int rc = get_XOLE_NV_item(record);
  if (rc != 0) {
    return orba::cli::Fail(reply, "cannot read the factory record (%d)", rc);
  }
  return orba::cli::kOk;
}

int DumpBody(const Args&, orba::cli::Reply& reply) {
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (int rc = ReadRecord(reply, record); rc != orba::cli::kOk) return rc;
  for (const Field& f : kFields) reply.Stream(orba::cli::Format("%s\n", Line(record, f).c_str()));
  return orba::cli::kOk;
}

int UnknownField(orba::cli::Reply& reply, const std::string& name) {
  std::string names;
  for (const Field& f : kFields) names += "\n  " + UserName(f);
  return orba::cli::Error(reply, orba::cli::kUsage, "nv: no field '%s'; the fields are:%s", name.c_str(),
                          names.c_str());
}

int GetBody(const Args& args, orba::cli::Reply& reply) {
  const Field* f = FindField(args[0]);
  if (f == nullptr) return UnknownField(reply, args[0]);
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (int rc = ReadRecord(reply, record); rc != orba::cli::kOk) return rc;
  reply.Stream(orba::cli::Format("%s\n", Line(record, *f).c_str()));
  return orba::cli::kOk;
}

int SetBody(const Args& args, orba::cli::Reply& reply) {
  const Field* f = FindField(args[0]);
  if (f == nullptr) return UnknownField(reply, args[0]);
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (int rc = ReadRecord(reply, record); rc != orba::cli::kOk) return rc;
  if (!Parse(reply, *f, args[1], record)) return orba::cli::kUsage;
  if (put_XOLE_NV_item(record) != 0) {
    return orba::cli::Fail(reply, "cannot store the factory record");
  }
  reply.Stream(orba::cli::Format("%s\n", Line(record, *f).c_str()));
  return orba::cli::kOk;
}

int Run(orba::cli::Reply& reply, Args args, int (*body)(const Args&, orba::cli::Reply&),
        size_t min, size_t max) {
  orba::cli::ImageOptions options;
  if (!orba::cli::TakeImageOptions(reply, &args, &options)) return orba::cli::kUsage;
  if (args.size() < min || args.size() > max) {
    return orba::cli::Error(reply, orba::cli::kUsage, "wrong number of arguments (see orbafactory nv --help)");
  }
  // Checked before the image is copied anywhere, so a typo costs nothing.
  if (!args.empty() && FindField(args[0]) == nullptr) return UnknownField(reply, args[0]);
  return orba::cli::WithBackupPartition(reply, options, body, args);
}

int Dump(const Args& args, orba::cli::Reply& reply) { return Run(reply, args, DumpBody, 0, 0); }
int Get(const Args& args, orba::cli::Reply& reply) { return Run(reply, args, GetBody, 1, 1); }
int Set(const Args& args, orba::cli::Reply& reply) { return Run(reply, args, SetBody, 2, 2); }

const orba::cli::Family kNv{
    "nv",
    "the factory record in the backup partition, field by field",
    {
        {"dump", "[--image FILE [--write-back]]",
         "every field; --image works on a copy of a pulled partition image (a read repairs "
         "damaged copies in the copy only), --write-back stores the repaired copy into FILE",
         0, 3, Dump},
        {"get", "FIELD [--image FILE [--write-back]]", "one field, named as in the dump", 1, 4,
         Get},
        {"set", "FIELD VALUE [--image FILE [--write-back]]",
         "change one field and store both copies (into FILE only with --write-back)", 2, 5, Set},
    }};
orba::cli::Registrar registrar(kNv);

}  // namespace
