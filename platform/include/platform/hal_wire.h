#ifndef ORBA_PLATFORM_HAL_WIRE_H
#define ORBA_PLATFORM_HAL_WIRE_H

// How a HAL call travels on a host, where there is no binder: one Unix stream connection in the
// abstract namespace per call, one request, one reply, then the connection is closed. Clients
// (platform/host/hal_client.cpp) and the simulated services (sim/) both speak it through the
// reader and writer below, so this header is the whole contract.
//
// Message:  u32 body_length (little-endian), then body_length bytes of fields.
// Field:    u8 kind, u32 length (little-endian), then length bytes:
//             'u'  uint32, length 4          'i'  int32, length 4
//             'b'  bool, length 1 (0 or 1)   's'  string, UTF-8 bytes, no terminator
//             'v'  vec<uint8>
// Request:  'u' method slot (1-based HIDL declaration order), then the arguments in order.
// Reply:    'i' transport status (0, or a negative errno: unknown slot, malformed arguments),
//           then, when the status is 0, the method's results in declaration order.
//
// A body is at most kHalMaxMessage bytes; anything larger or shorter than announced is
// malformed and the peer drops the connection.

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

// The host transport lives in libhostdevice.so, built with hidden visibility like everything
// else; its entry points are exported from there (never from liborbafactory).
#define ORBA_HAL_API __attribute__((visibility("default")))

namespace orba::hal {

constexpr uint32_t kHalMaxMessage = 16u * 1024u * 1024u;

enum class WireKind : unsigned char {
  kUint32 = 'u',
  kInt32 = 'i',
  kBool = 'b',
  kString = 's',
  kBytes = 'v',
};

// Builds one message body; Finish() prepends the length.
class ORBA_HAL_API WireWriter {
 public:
  void PutUint32(uint32_t v);
  void PutInt32(int32_t v);
  void PutBool(bool v);
  void PutString(std::string_view s);
  void PutBytes(const unsigned char* data, size_t size);
  // Appends the fields another writer holds.
  void Append(const WireWriter& fields) { body_ += fields.body_; }
  // The framed message, ready to send. False when the body exceeds kHalMaxMessage.
  bool Finish(std::string* framed) const;

 private:
  void PutField(WireKind kind, const void* data, size_t size);
  std::string body_;
};

// Reads the fields of one body in order. Every getter fails (returns false) on a kind or length
// mismatch or past the end; views point into the body, which must outlive them.
class ORBA_HAL_API WireReader {
 public:
  explicit WireReader(std::string_view body) : body_(body) {}
  bool GetUint32(uint32_t* v);
  bool GetInt32(int32_t* v);
  bool GetBool(bool* v);
  bool GetString(std::string_view* s);
  bool GetBytes(std::string_view* bytes);
  bool AtEnd() const { return pos_ == body_.size(); }

 private:
  bool GetField(WireKind kind, std::string_view* payload);
  std::string_view body_;
  size_t pos_ = 0;
};

// Whole-message I/O on a connected stream socket (EINTR and short transfers handled).
ORBA_HAL_API bool WireSend(int fd, const std::string& framed);
// Reads one framed message body. False on EOF, error, or a length outside kHalMaxMessage; with
// `within_ms` >= 0, also when the whole message has not arrived that long after the call
// (ETIMEDOUT), however steadily it trickles in.
ORBA_HAL_API bool WireReceive(int fd, std::string* body, int within_ms = -1);

// The abstract socket name (before DevSocketName) a service instance listens on.
ORBA_HAL_API std::string HalSocketName(const char* descriptor, const char* instance);

}  // namespace orba::hal

#endif
