// orbafactory md5|sha256 FILE...: digests of device files, one answer per file.

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/digest.h>
#include <platform/devpath.h>

#include "command.h"

namespace {

using orba::cli::Args;

std::string Hex(const unsigned char* digest, size_t size) {
  std::string hex;
  for (size_t i = 0; i < size; ++i) hex += orba::cli::Format("%02x", digest[i]);
  return hex;
}

int Md5(const Args& files, orba::cli::Reply& reply) {
  int status = orba::cli::kOk;
  for (const std::string& path : files) {
    Md5Context ctx;
    MD5_Init(&ctx);
    if (MD5_Update_File(&ctx, path.c_str()) != 0) {
      status = orba::cli::FailPaths(reply, {{path, orba::cli::PathUse::kRead}},
                                    "md5: cannot read %s", path.c_str());
      continue;
    }
    unsigned char digest[16];
    MD5_Final(digest, &ctx);
    reply.Answer({{"path", path}, {"md5", Hex(digest, sizeof(digest))}});
  }
  return status;
}

int Sha256(const Args& files, orba::cli::Reply& reply) {
  int status = orba::cli::kOk;
  for (const std::string& path : files) {
    android::base::unique_fd fd(open(DevPath(path.c_str()), O_RDONLY | O_CLOEXEC));
    if (fd < 0) {
      status = orba::cli::FailPaths(reply, {{path, orba::cli::PathUse::kRead}},
                                    "sha256: cannot open %s", path.c_str());
      continue;
    }
    Sha256Context ctx;
    SHA256_init(&ctx);
    unsigned char buf[64 * 1024];
    ssize_t n;
    while ((n = read(fd, buf, sizeof(buf))) > 0) SHA256_update(&ctx, buf, static_cast<int>(n));
    if (n < 0) {
      status = orba::cli::Error(reply, orba::cli::kFailed, "sha256: cannot read %s: %s",
                                path.c_str(), strerror(errno));
      continue;
    }
    reply.Answer({{"path", path}, {"sha256", Hex(SHA256_final(&ctx), 32)}});
  }
  return status;
}

const orba::cli::Family kMd5{
    "md5",
    "MD5 of device files",
    {{"", "FILE...", "the MD5 of each file: its path and the digest in hex", 1, -1, Md5,
      "md5 /etc/em_features.xml"}}};
const orba::cli::Family kSha256{
    "sha256",
    "SHA-256 of device files",
    {{"", "FILE...", "the SHA-256 of each file: its path and the digest in hex", 1, -1, Sha256,
      "sha256 /dev/block/sdd"}}};
orba::cli::Registrar md5_registrar(kMd5);
orba::cli::Registrar sha256_registrar(kSha256);

}  // namespace
