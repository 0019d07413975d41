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
#include <vector>

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
  return Error(reply, kUsage,
               "--image works on a workstation only; on the phone use the partition");
#else
  std::error_code ec;
  if (!fs::is_regular_file(options.image, ec)) {
    // The image is the engineer's own file on this host, not a device path.
    return Error(reply, kUsage, "--image %s: not a readable file on this host: %s",
                 options.image.c_str(), ec ? ec.message().c_str() : "not a regular file");
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
    if (options.write_back) {
      reply.Note(Format("orbafactory: %s left unchanged", options.image.c_str()));
    }
    return rc;
  }
  fs::copy_file(partition, options.image, fs::copy_options::overwrite_existing, ec);
  if (ec) {
    return Error(reply, kFailed, "cannot write %s back: %s", options.image.c_str(),
                 ec.message().c_str());
  }
  reply.Note(Format("orbafactory: %s written back", options.image.c_str()));
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

int Decimals(const Field& f) {
  const char* dot = strstr(f.format, "%.");
  return dot != nullptr ? atoi(dot + 2) : 6;  // "%f" shows six places
}

// The record view's conversion of a field, without its name. Some conversions start with a
// space ("= 0x%x"): that is the view's layout, never part of the value.
const char* Conversion(const Field& f) {
  const char* conversion = strchr(f.format, '=') + 1;
  while (*conversion == ' ') ++conversion;
  return conversion;
}

// A field's value, typed; a word the view writes in hex ("0x1f", "1f") stays text, as shown.
orba::cli::Value FieldValue(const uint8_t* record, const Field& f) {
  switch (f.type) {
    case kInt32:
      return orba::cli::Value(GetInt(record, f.offset));
    case kUint32:
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
      return orba::cli::Value(
          orba::cli::Format(Conversion(f), static_cast<unsigned>(GetInt(record, f.offset))));
#pragma GCC diagnostic pop
    case kFloat32: {
      float v;
      memcpy(&v, record + f.offset, sizeof(v));
      return orba::cli::Value::Real(static_cast<double>(v), Decimals(f));
    }
    case kChar:
      return orba::cli::Value(std::string(1, static_cast<char>(record[f.offset])));
    case kText:
    case kTextFfUnset:
      break;
  }
  if (f.type == kTextFfUnset && record[f.offset] == 0xFF) return orba::cli::Value("");
  size_t n = 0;
  while (n < f.width && record[f.offset + n] != '\0') ++n;
  return orba::cli::Value(std::string(reinterpret_cast<const char*>(record + f.offset), n));
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
        orba::cli::Error(reply, orba::cli::kUsage, "%s: '%s' is not a hex number",
                         UserName(f).c_str(), value.c_str());
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
        orba::cli::Error(reply, orba::cli::kUsage, "%s: one character expected",
                         UserName(f).c_str());
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
  orba::cli::Fields fields;
  for (const Field& f : kFields) fields.push_back({UserName(f), FieldValue(record, f)});
  reply.Record(fields);
  return orba::cli::kOk;
}

int UnknownField(orba::cli::Reply& reply, const std::string& name) {
  std::string names;
  for (const Field& f : kFields) names += "\n  " + UserName(f);
  return orba::cli::Error(reply, orba::cli::kUsage, "nv: no field '%s'; the fields are:%s",
                          name.c_str(), names.c_str());
}

int GetBody(const Args& args, orba::cli::Reply& reply) {
  const Field* f = FindField(args[0]);
  if (f == nullptr) return UnknownField(reply, args[0]);
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (int rc = ReadRecord(reply, record); rc != orba::cli::kOk) return rc;
  reply.Answer({{"value", FieldValue(record, *f)}});
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
  reply.Answer({{"field", UserName(*f)}, {"value", FieldValue(record, *f)}});
  return orba::cli::kOk;
}

int Run(orba::cli::Reply& reply, Args args, int (*body)(const Args&, orba::cli::Reply&),
        size_t min, size_t max) {
  orba::cli::ImageOptions options;
  if (!orba::cli::TakeImageOptions(reply, &args, &options)) return orba::cli::kUsage;
  if (args.size() < min || args.size() > max) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "wrong number of arguments (see orbafactory nv --help)");
  }
  // Checked before the image is copied anywhere, so a typo costs nothing.
  if (!args.empty() && FindField(args[0]) == nullptr) return UnknownField(reply, args[0]);
  return orba::cli::WithBackupPartition(reply, options, body, args);
}

// Every command's first argument is a field, named as the dump names it.
std::vector<std::string> FieldNames(size_t index) {
  std::vector<std::string> names;
  if (index != 0) return names;
  for (const Field& f : kFields) names.push_back(UserName(f));
  return names;
}

int Dump(const Args& args, orba::cli::Reply& reply) { return Run(reply, args, DumpBody, 0, 0); }
int Get(const Args& args, orba::cli::Reply& reply) { return Run(reply, args, GetBody, 1, 1); }
int Set(const Args& args, orba::cli::Reply& reply) { return Run(reply, args, SetBody, 2, 2); }

const orba::cli::Family kNv{
    "nv",
    "the factory record in the backup partition, field by field",
    {
        {"dump", "[--image FILE [--write-back]]",
         "every field, one name=value line each; --image works on a copy of a pulled partition "
         "image (a read repairs damaged copies in the copy only), --write-back stores the "
         "repaired copy into FILE",
         0, 3, Dump, "nv dump"},
        {"get", "FIELD [--image FILE [--write-back]]",
         "one field's value, the field named as in the dump", 1, 4, Get, "nv get als_cali_flag",
         FieldNames},
        {"set", "FIELD VALUE [--image FILE [--write-back]]",
         "change one field and store both copies (into FILE only with --write-back); answers "
         "the field and its stored value",
         2, 5, Set, "nv set als_cali_flag 1", FieldNames},
    }};
orba::cli::Registrar registrar(kNv);

}  // namespace
