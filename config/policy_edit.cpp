// Read-modify-write edits of small policy files: appending text and replacing a bracketed
// section. Each edit reads the whole file into one 1024-byte buffer and writes it back whole.

#include <string.h>

#include <orbafactory/config.h>
#include <platform/log.h>

namespace {

constexpr int kPolicyBufferSize = 1024;

const char* Text(const char* s) { return s != nullptr ? s : "(null)"; }

}  // namespace

extern "C" ORBA_EXPORT int append_policy_file(int flag, const char* path, int oflag,
                                              const char* content, int size) {
  ORBA_LOGD("entered: path=%s, content=%s, size=%d", Text(path), Text(content), size);
  char buffer[kPolicyBufferSize] = {};
  int result = 0;
  do {
    if (size < 0 || size >= kPolicyBufferSize) {
      ORBA_LOGD("%d error: out of scope 1", size);
      break;
    }
    // A missing or empty file leaves the buffer empty: the content alone becomes the file. A read
    // that failed after storing text is not trusted to be the whole file.
    if (read_policy_file(flag, path, buffer, kPolicyBufferSize) != 0 && buffer[0] != '\0') break;
    size_t used = strlen(buffer);
    if (used + static_cast<size_t>(size) >= static_cast<size_t>(kPolicyBufferSize)) {
      ORBA_LOGD("error: out of scope 2");
      break;
    }
    if (content != nullptr) strncat(buffer, content, static_cast<size_t>(size));
    int ret = write_policy_file(flag, path, oflag, buffer);
    if (ret < 0) {
      ORBA_LOGD("save cali_data fail, ret = %d", ret);
      break;
    }
    memset(buffer, 0, sizeof(buffer));
    result = read_policy_file(flag, path, buffer, kPolicyBufferSize) == 0 ? 1 : 0;
  } while (false);
  ORBA_LOGD("result = %d, appended file data=%s", result, buffer);
  return result;
}

extern "C" ORBA_EXPORT int replace_policy_file(int flag, const char* path, int oflag,
                                               const char* content, unsigned size,
                                               const char* start_flag, const char* end_flag) {
  ORBA_LOGD("entered: path =%s, content=%s, size=%d, start_flag=%s, end_flag=%s", Text(path),
            Text(content), static_cast<int>(size), Text(start_flag), Text(end_flag));
  char old_text[kPolicyBufferSize] = {};
  char new_text[kPolicyBufferSize] = {};
  int result = 0;
  do {
    if (size > static_cast<unsigned>(kPolicyBufferSize)) {
      ORBA_LOGD("error:out of scope!!");
      break;
    }
    if (read_policy_file(flag, path, old_text, kPolicyBufferSize) != 0 && old_text[0] != '\0') {
      break;
    }
    int ret = delete_inner_data_between_flag(old_text, new_text, kPolicyBufferSize - 1,
                                             start_flag, end_flag);
    ORBA_LOGD("delete_inner_data_between_flag finished: ret = %d", ret);
    if (ret == 0) {
      // No old section: the new one simply goes at the end. Callers take the section as written
      // even when the append itself was refused; that answer is kept for them.
      append_policy_file(flag, path, oflag, content, static_cast<int>(size));
      result = 1;
      break;
    }
    if (ret < 0) break;
    if (content != nullptr) {
      size_t room = sizeof(new_text) - 1 - strlen(new_text);
      strncat(new_text, content, room);
    }
    // Emptying the file first matters for callers whose flags truncate: the new text may be
    // shorter than the old one.
    if (write_policy_file(flag, path, oflag, "") != 0) break;
    ORBA_LOGD("dest_buffer=%s", new_text);
    if (write_policy_file(flag, path, oflag, new_text) != 0) break;
    memset(new_text, 0, sizeof(new_text));
    result = read_policy_file(flag, path, new_text, kPolicyBufferSize) == 0 ? 1 : 0;
  } while (false);
  ORBA_LOGD("result = %d, dest_buffer = %s", result, new_text);
  return result;
}
