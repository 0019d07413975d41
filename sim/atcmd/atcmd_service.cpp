#include "atcmd_service.h"

#include <errno.h>

#include <string>

#include <platform/hal.h>

#include "atcmd_methods.h"

namespace orba::sim {
namespace {

using hal::AtcmdSlot;
using hal::WireReader;
using hal::WireWriter;

// Argument decoding: every getter must succeed and nothing may follow the last argument.
class Args {
 public:
  explicit Args(WireReader& r) : r_(r) {}
  Args& Str(std::string_view* s) {
    ok_ = ok_ && r_.GetString(s);
    return *this;
  }
  Args& Bytes(std::string_view* b) {
    ok_ = ok_ && r_.GetBytes(b);
    return *this;
  }
  Args& I32(int32_t* v) {
    ok_ = ok_ && r_.GetInt32(v);
    return *this;
  }
  Args& U32(uint32_t* v) {
    ok_ = ok_ && r_.GetUint32(v);
    return *this;
  }
  bool Done() const { return ok_ && r_.AtEnd(); }

 private:
  WireReader& r_;
  bool ok_ = true;
};

std::string S(std::string_view v) { return std::string(v); }

}  // namespace

int HandleAtcmdCall(uint32_t slot, WireReader& reader, WireWriter& out) {
  Args args(reader);
  std::string_view a;
  std::string_view b;
  std::string_view c;
  int32_t i = 0;
  uint32_t u = 0;
  switch (static_cast<AtcmdSlot>(slot)) {
    case AtcmdSlot::kGetSystemProperty:
      if (!args.Str(&a).Str(&b).Done()) return -EINVAL;
      out.PutString(GetSystemProperty(S(a), S(b)));
      return 0;
    case AtcmdSlot::kSetSystemProperty:
      if (!args.Str(&a).Str(&b).Done()) return -EINVAL;
      SetSystemProperty(S(a), S(b));
      return 0;
    case AtcmdSlot::kExecSystemCmd:
      if (!args.Str(&a).Done()) return -EINVAL;
      out.PutString(ExecSystemCmd(S(a)));
      return 0;
    case AtcmdSlot::kReadSystemFile:
      if (!args.Str(&a).Done()) return -EINVAL;
      out.PutString(ReadSystemFile(a));
      return 0;
    case AtcmdSlot::kWriteSystemFile:
      if (!args.Str(&a).I32(&i).Str(&b).Done()) return -EINVAL;
      out.PutInt32(WriteSystemFile(a, i, b));
      return 0;
    case AtcmdSlot::kCopyFile:
      if (!args.Str(&a).Str(&b).Done()) return -EINVAL;
      out.PutInt32(CopyFile(a, b));
      return 0;
    case AtcmdSlot::kUzipFile:
      if (!args.Str(&a).Str(&b).Str(&c).Done()) return -EINVAL;
      out.PutInt32(UzipFile(a, b, c));
      return 0;
    case AtcmdSlot::kSelinuxRestorecon:
      if (!args.Str(&a).U32(&u).Done()) return -EINVAL;
      out.PutInt32(SelinuxRestorecon(a, u));
      return 0;
    case AtcmdSlot::kChmodSystemFile:
      if (!args.Str(&a).U32(&u).Done()) return -EINVAL;
      out.PutInt32(ChmodSystemFile(a, u));
      return 0;
    case AtcmdSlot::kRemoveSystemFile:
      if (!args.Str(&a).Done()) return -EINVAL;
      out.PutInt32(RemoveSystemFile(a));
      return 0;
    case AtcmdSlot::kSizeofSystemFile:
      if (!args.Str(&a).Done()) return -EINVAL;
      out.PutInt32(SizeofSystemFile(a));
      return 0;
    case AtcmdSlot::kFwriteSystemFile:
      if (!args.Str(&a).Str(&b).Str(&c).Done()) return -EINVAL;
      out.PutInt32(FwriteSystemFile(a, b, c));
      return 0;
    case AtcmdSlot::kFreadSystemFile:
      if (!args.Str(&a).Done()) return -EINVAL;
      out.PutString(ReadSystemFile(a));
      return 0;
    case AtcmdSlot::kFwriteDataFile:
      if (!args.Str(&a).Str(&b).Bytes(&c).I32(&i).Done()) return -EINVAL;
      out.PutInt32(FwriteDataFile(a, b, c, i));
      return 0;
    case AtcmdSlot::kKpWriteFile:
      if (!args.Bytes(&a).I32(&i).Done()) return -EINVAL;
      out.PutInt32(KpWriteFile(a, i));
      return 0;
    case AtcmdSlot::kMd5SystemFile: {
      if (!args.Str(&a).Done()) return -EINVAL;
      std::string digest = Md5SystemFile(a);
      out.PutBytes(reinterpret_cast<const unsigned char*>(digest.data()), digest.size());
      return 0;
    }
    case AtcmdSlot::kSendFingerprintMessage:
      if (!args.Str(&a).Done()) return -EINVAL;
      out.PutString(SendFingerprintMessage(S(a)));
      return 0;
  }
  return -ENOSYS;
}

std::unique_ptr<hal::HalServer> StartAtcmdService(int* error) {
  auto server = std::make_unique<hal::HalServer>(hal::IOrbaAtcmd::descriptor, "default",
                                                 HandleAtcmdCall);
  int rc = server->Start();
  if (rc != 0) {
    if (error != nullptr) *error = rc;
    return nullptr;
  }
  if (error != nullptr) *error = 0;
  return server;
}

}  // namespace orba::sim
