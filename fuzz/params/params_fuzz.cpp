// Input: one byte for the destination size (0..63), then the text, a NUL, and the key.
// The text and destination live in heap blocks of their exact sizes, so any read or write past
// them is caught; the answer must match a model built on std::string.

#include <android/log.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>

namespace {

// -1, or the size bytes dst must hold.
int Model(const std::string& text, const std::string& key, size_t size, std::string* dst) {
  size_t at = text.find(key);
  if (at == std::string::npos) return -1;
  size_t open = text.find('[', at);
  size_t close = text.find(']', at);
  if (open == std::string::npos || close == std::string::npos || close < open + 2) return -1;
  size_t distance = close - open;
  *dst = distance < size ? text.substr(open + 1, distance - 1) : text.substr(open + 1, size);
  dst->resize(size, '\0');
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  size_t dst_size = data[0] % 64;
  std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
  size_t split = rest.find('\0');
  std::string text = rest.substr(0, split);
  std::string key = split == std::string::npos ? std::string() : rest.substr(split + 1);
  key = key.substr(0, key.find('\0'));

  std::vector<char> text_buf(text.begin(), text.end());
  text_buf.push_back('\0');
  char* text_heap = static_cast<char*>(malloc(text_buf.size()));
  memcpy(text_heap, text_buf.data(), text_buf.size());
  char* key_heap = strdup(key.c_str());
  char* dst = static_cast<char*>(malloc(dst_size > 0 ? dst_size : 1));
  memset(dst, 0x5a, dst_size > 0 ? dst_size : 1);

  int ret = parse_parameters(text_heap, key_heap, dst, static_cast<int>(dst_size));
  std::string expected;
  int model = Model(text, key, dst_size, &expected);
  if (ret != model) abort();
  if (ret == 0 && memcmp(dst, expected.data(), dst_size) != 0) abort();
  if (memcmp(text_heap, text_buf.data(), text_buf.size()) != 0) abort();  // text is read-only

  free(dst);
  free(key_heap);
  free(text_heap);
  return 0;
}
