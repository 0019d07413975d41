// The key=value text view of the XOLE NV record that the engineer-mode app reads, one line per
// field of xole_nv_fields.h.

#include <stdio.h>
#include <string.h>

#include "backup_record.h"
#include "text_view.h"
#include "xole_nv_fields.h"

namespace orba::persist {
namespace {

constexpr const char kDumpPath[] = "/data/vendor/engineermode/nvram_item";

using Field = XoleNvField;
constexpr const XoleNvField (&kFields)[kXoleNvFieldCount] = kXoleNvFields;

// A text field printed as the record holds it: up to its first NUL, never past its width (a
// field filled to the brim is not left to run into its neighbour).
void FieldText(const unsigned char* record, const Field& f, char* out) {
  const unsigned char* src = record + f.offset;
  if (f.type == kTextFfUnset && src[0] == 0xFF) {
    out[0] = '\0';
    return;
  }
  size_t n = 0;
  while (n < f.width && src[n] != '\0') ++n;
  memcpy(out, src, n);
  out[n] = '\0';
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
int FormatField(const unsigned char* record, const Field& f, char* out, size_t size) {
  char text[160];
  switch (f.type) {
    case kInt32:
      return snprintf(out, size, f.format, GetInt32(record, f.offset));
    case kUint32:
      return snprintf(out, size, f.format, static_cast<unsigned>(GetInt32(record, f.offset)));
    case kFloat32:
      return snprintf(out, size, f.format, static_cast<double>(GetFloat32(record, f.offset)));
    case kChar:
      return snprintf(out, size, f.format, record[f.offset]);
    case kText:
    case kTextFfUnset:
      FieldText(record, f, text);
      return snprintf(out, size, f.format, text);
  }
  return 0;
}
#pragma GCC diagnostic pop

}  // namespace

void WriteXoleNvDump(const unsigned char* record) {
  char text[16384];
  size_t len = static_cast<size_t>(snprintf(text, sizeof(text), "nv=%s\r\n", kDumpPath));
  for (const Field& f : kFields) {
    const int n = FormatField(record, f, text + len, sizeof(text) - len);
    if (n < 0 || static_cast<size_t>(n) + 2 >= sizeof(text) - len) break;
    len += static_cast<size_t>(n);
    text[len++] = '\r';
    text[len++] = '\n';
  }

  ReplaceTextView(kDumpPath, text, len);
}

}  // namespace orba::persist
