// Bracketed sections inside a policy buffer, such as one item's block of a calibration-data file:
// cutting one out for reading, or deleting it before the item is written again.

#include <string.h>

#include <orbafactory/config.h>
#include <platform/log.h>

namespace {

constexpr size_t kSectionBufferSize = 1024;

const char* Text(const char* s) { return s != nullptr ? s : "(null)"; }

// Copies the text from `from` up to `end` into dst: the whole of it when it is shorter than
// dst_size, else dst_size bytes and no terminator.
void CopySection(const char* from, const char* end, char* dst, int dst_size) {
  memset(dst, 0, static_cast<size_t>(dst_size));
  size_t length = static_cast<size_t>(end - from);
  size_t n = length < static_cast<size_t>(dst_size) ? length : static_cast<size_t>(dst_size);
  memcpy(dst, from, n);
}

}  // namespace

extern "C" ORBA_EXPORT int get_inner_data_between_flag(char* buffer, char* dst, int dst_size,
                                                       const char* start_flag,
                                                       const char* end_flag) {
  if (buffer == nullptr || dst == nullptr || dst_size < 0 || start_flag == nullptr ||
      end_flag == nullptr) {
    ORBA_LOGD("%s not found ", Text(start_flag));
    return -1;
  }
  const char* start = strstr(buffer, start_flag);
  if (start == nullptr) {
    ORBA_LOGD("%s not found ", start_flag);
    return -1;
  }
  const char* end = strstr(buffer, end_flag);
  const char* inner = start + strlen(start_flag);
  // An end flag found inside the start flag itself would give a negative length: such a buffer
  // has no section either.
  if (end == nullptr || end - start <= 1 || end < inner) {
    ORBA_LOGD("%s not found ", Text(end));
    return -1;
  }
  CopySection(inner, end, dst, dst_size);
  return 0;
}

extern "C" ORBA_EXPORT int get_inner_data_between_flag_no_start(char* buffer, char* dst,
                                                                int dst_size,
                                                                const char* start_flag,
                                                                const char* end_flag) {
  if (buffer == nullptr || dst == nullptr || dst_size < 0 || start_flag == nullptr ||
      end_flag == nullptr) {
    ORBA_LOGD("%s not found ", Text(start_flag));
    return -1;
  }
  const char* start = strstr(buffer, start_flag);
  if (start == nullptr) {
    ORBA_LOGD("%s not found ", start_flag);
    return -1;
  }
  const char* inner = start + strlen(start_flag);
  // The search starts one past the start flag, so an end flag right after it is skipped; a start
  // flag at the very end of the text has nothing after it to search.
  const char* end = *inner != '\0' ? strstr(inner + 1, end_flag) : nullptr;
  if (end == nullptr) {
    ORBA_LOGD("%s not found ", Text(end));
    return -1;
  }
  CopySection(inner, end, dst, dst_size);
  return 0;
}

extern "C" ORBA_EXPORT int delete_inner_data_between_flag(const char* buffer, char* dst,
                                                          unsigned n, const char* start_flag,
                                                          const char* end_flag) {
  ORBA_LOGD("buffer=%s, start_flag=%s, end_flag=%s", Text(buffer), Text(start_flag),
            Text(end_flag));
  if (n > kSectionBufferSize || (buffer != nullptr && strlen(buffer) >= kSectionBufferSize) ||
      (dst == nullptr && n > 0)) {
    ORBA_LOGD("out of scope!!");
    return -1;
  }
  if (buffer == nullptr || buffer[0] == '\0') {
    ORBA_LOGD("buffer is null: %s", Text(buffer));
    return 0;
  }
  char work[kSectionBufferSize] = {};
  strcpy(work, buffer);  // length checked above
  char* start = start_flag != nullptr ? strstr(work, start_flag) : nullptr;
  if (start == nullptr) {
    ORBA_LOGD("%s: not found ", Text(start_flag));
    return 0;
  }
  char* end = end_flag != nullptr ? strstr(start, end_flag) : nullptr;
  if (end == nullptr) {
    ORBA_LOGD("%s: not found ", Text(end_flag));
    return 0;
  }
  ORBA_LOGD("index_start=%s, index_end =%s, copy_buffer=%s", start, end, work);
  // Only the end flag's first character goes: callers close their sections with "]".
  size_t old_length = strlen(work);
  size_t tail = strlen(end + 1);
  memmove(start, end + 1, tail + 1);
  size_t new_length = static_cast<size_t>(start - work) + tail;
  memset(work + new_length, 0, old_length - new_length);
  memcpy(dst, work, n);
  ORBA_LOGD("deleted result = %s", work);
  return 1;
}
