// Input: one byte for the destination size, then the buffer, a NUL, the start flag, a NUL and the
// end flag. The three section functions run on exact-size heap copies; their answers must match
// a model built on std::string.

#include <android/log.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include <orbafactory/config.h>

namespace {

constexpr size_t kSectionLimit = 1024;

char* HeapCopy(const std::string& s) {
  char* p = static_cast<char*>(malloc(s.size() + 1));
  memcpy(p, s.c_str(), s.size() + 1);
  return p;
}

std::string Field(const std::string& data, size_t* pos) {
  size_t end = data.find('\0', *pos);
  std::string field = data.substr(*pos, end == std::string::npos ? std::string::npos : end - *pos);
  *pos = end == std::string::npos ? data.size() : end + 1;
  return field;
}

// -1, or the dst_size bytes dst must hold.
int ModelGet(bool no_start, const std::string& text, const std::string& start,
             const std::string& end, size_t dst_size, std::string* dst) {
  size_t s = text.find(start);
  if (s == std::string::npos) return -1;
  size_t inner = s + start.size();
  size_t e;
  if (no_start) {
    if (inner >= text.size()) return -1;
    e = text.find(end, inner + 1);
    if (e == std::string::npos) return -1;
  } else {
    e = text.find(end);
    if (e == std::string::npos || e <= s + 1 || e < inner) return -1;
  }
  *dst = text.substr(inner, std::min(dst_size, e - inner));
  dst->resize(dst_size, '\0');
  return 0;
}

// -1, 0, or 1 with the n bytes dst must hold.
int ModelDelete(const std::string& text, const std::string& start, const std::string& end,
                size_t n, std::string* dst) {
  if (n > kSectionLimit || text.size() >= kSectionLimit) return -1;
  if (text.empty()) return 0;
  size_t s = text.find(start);
  if (s == std::string::npos) return 0;
  size_t e = text.find(end, s);
  if (e == std::string::npos) return 0;
  *dst = text.substr(0, s) + text.substr(e + 1);
  dst->resize(n, '\0');
  return 1;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // Small sizes exercise the cuts; 0xff stands for the refused 1025.
  size_t dst_size = data[0] == 0xff ? kSectionLimit + 1 : data[0] % 48;
  std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
  size_t pos = 0;
  std::string text = Field(rest, &pos);
  std::string start = Field(rest, &pos);
  std::string end = Field(rest, &pos);

  char* text_heap = HeapCopy(text);
  char* start_heap = HeapCopy(start);
  char* end_heap = HeapCopy(end);
  char* dst = static_cast<char*>(malloc(dst_size + 1));
  std::string expected;

  if (dst_size <= kSectionLimit) {
    for (bool no_start : {false, true}) {
      memset(dst, 0x5a, dst_size + 1);
      int ret = no_start ? get_inner_data_between_flag_no_start(text_heap, dst,
                                                                static_cast<int>(dst_size),
                                                                start_heap, end_heap)
                         : get_inner_data_between_flag(text_heap, dst, static_cast<int>(dst_size),
                                                       start_heap, end_heap);
      if (ret != ModelGet(no_start, text, start, end, dst_size, &expected)) abort();
      if (ret == 0 && memcmp(dst, expected.data(), dst_size) != 0) abort();
      if (static_cast<unsigned char>(dst[dst_size]) != 0x5a) abort();  // nothing past dst_size
    }
  }

  memset(dst, 0x5a, dst_size + 1);
  int ret = delete_inner_data_between_flag(text_heap, dst, static_cast<unsigned>(dst_size),
                                           start_heap, end_heap);
  if (ret != ModelDelete(text, start, end, dst_size, &expected)) abort();
  if (ret == 1 && memcmp(dst, expected.data(), dst_size) != 0) abort();
  if (static_cast<unsigned char>(dst[dst_size]) != 0x5a) abort();
  if (text != text_heap) abort();  // the source buffer is never changed

  free(dst);
  free(end_heap);
  free(start_heap);
  free(text_heap);
  return 0;
}
