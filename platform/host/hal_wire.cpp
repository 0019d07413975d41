#include <platform/hal_wire.h>

#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include <android-base/file.h>

namespace orba::hal {
namespace {

void AppendLe32(std::string* out, uint32_t v) {
  const unsigned char b[4] = {static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8),
                              static_cast<unsigned char>(v >> 16),
                              static_cast<unsigned char>(v >> 24)};
  out->append(reinterpret_cast<const char*>(b), sizeof(b));
}

uint32_t Le32(const char* p) {
  const unsigned char* b = reinterpret_cast<const unsigned char*>(p);
  return static_cast<uint32_t>(b[0]) | static_cast<uint32_t>(b[1]) << 8 |
         static_cast<uint32_t>(b[2]) << 16 | static_cast<uint32_t>(b[3]) << 24;
}

}  // namespace

void WireWriter::PutField(WireKind kind, const void* data, size_t size) {
  body_.push_back(static_cast<char>(kind));
  AppendLe32(&body_, static_cast<uint32_t>(size));
  if (size != 0) body_.append(static_cast<const char*>(data), size);
}

void WireWriter::PutUint32(uint32_t v) {
  std::string le;
  AppendLe32(&le, v);
  PutField(WireKind::kUint32, le.data(), le.size());
}

void WireWriter::PutInt32(int32_t v) {
  std::string le;
  AppendLe32(&le, static_cast<uint32_t>(v));
  PutField(WireKind::kInt32, le.data(), le.size());
}

void WireWriter::PutBool(bool v) {
  const char b = v ? 1 : 0;
  PutField(WireKind::kBool, &b, 1);
}

void WireWriter::PutString(std::string_view s) { PutField(WireKind::kString, s.data(), s.size()); }

void WireWriter::PutBytes(const unsigned char* data, size_t size) {
  PutField(WireKind::kBytes, data, size);
}

bool WireWriter::Finish(std::string* framed) const {
  if (body_.size() > kHalMaxMessage) return false;
  framed->clear();
  framed->reserve(4 + body_.size());
  AppendLe32(framed, static_cast<uint32_t>(body_.size()));
  framed->append(body_);
  return true;
}

bool WireReader::GetField(WireKind kind, std::string_view* payload) {
  if (body_.size() - pos_ < 5) return false;
  if (static_cast<unsigned char>(body_[pos_]) != static_cast<unsigned char>(kind)) return false;
  uint32_t len = Le32(body_.data() + pos_ + 1);
  if (len > body_.size() - pos_ - 5) return false;
  *payload = body_.substr(pos_ + 5, len);
  pos_ += 5 + len;
  return true;
}

bool WireReader::GetUint32(uint32_t* v) {
  std::string_view p;
  size_t saved = pos_;
  if (!GetField(WireKind::kUint32, &p) || p.size() != 4) {
    pos_ = saved;
    return false;
  }
  *v = Le32(p.data());
  return true;
}

bool WireReader::GetInt32(int32_t* v) {
  std::string_view p;
  size_t saved = pos_;
  if (!GetField(WireKind::kInt32, &p) || p.size() != 4) {
    pos_ = saved;
    return false;
  }
  *v = static_cast<int32_t>(Le32(p.data()));
  return true;
}

bool WireReader::GetBool(bool* v) {
  std::string_view p;
  size_t saved = pos_;
  if (!GetField(WireKind::kBool, &p) || p.size() != 1 || static_cast<unsigned char>(p[0]) > 1) {
    pos_ = saved;
    return false;
  }
  *v = p[0] == 1;
  return true;
}

bool WireReader::GetString(std::string_view* s) { return GetField(WireKind::kString, s); }

bool WireReader::GetBytes(std::string_view* bytes) { return GetField(WireKind::kBytes, bytes); }

bool WireSend(int fd, const std::string& framed) {
  size_t done = 0;
  while (done < framed.size()) {
    ssize_t n = send(fd, framed.data() + done, framed.size() - done, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

namespace {

// Reads what is there, up to `size` bytes, once something is, waiting no later than `deadline`
// (no limit when it is the epoch). 0 at the end of the stream, -1 with errno on error.
ssize_t ReadBy(int fd, char* buf, size_t size,
               std::chrono::steady_clock::time_point deadline) {
  for (;;) {
    if (deadline.time_since_epoch().count() != 0) {
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      pollfd p{fd, POLLIN, 0};
      int n = left.count() > 0 ? poll(&p, 1, static_cast<int>(left.count())) : 0;
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return -1;
      if (n == 0) {
        errno = ETIMEDOUT;
        return -1;
      }
    }
    ssize_t n = read(fd, buf, size);
    if (n < 0 && errno == EINTR) continue;
    return n;
  }
}

}  // namespace

bool WireReceive(int fd, std::string* body, int within_ms) {
  std::chrono::steady_clock::time_point deadline{};
  if (within_ms >= 0) deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(within_ms);
  // Small messages, the usual case, arrive in one read together with their length.
  char first[4096];
  size_t got = 0;
  while (got < 4) {
    ssize_t n = ReadBy(fd, first + got, sizeof(first) - got, deadline);
    if (n <= 0) return false;
    got += static_cast<size_t>(n);
  }
  uint32_t len = Le32(first);
  if (len > kHalMaxMessage || got - 4 > len) return false;  // more than announced: malformed
  body->assign(first + 4, got - 4);
  size_t have = body->size();
  body->resize(len);
  while (have < len) {
    ssize_t n = ReadBy(fd, body->data() + have, len - have, deadline);
    if (n <= 0) return false;
    have += static_cast<size_t>(n);
  }
  return true;
}

std::string HalSocketName(const char* descriptor, const char* instance) {
  return std::string("hal.") + (descriptor != nullptr ? descriptor : "") + "/" +
         (instance != nullptr ? instance : "");
}

}  // namespace orba::hal
