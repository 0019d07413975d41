#include "call_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>


#include <android-base/unique_fd.h>
#include <platform/devpath.h>
#include "device_fs.h"

namespace orba::sim {
namespace {

void Escape(const std::string& field, std::string* out) {
  for (char c : field) {
    if (c == '\t') {
      *out += "\\t";
    } else if (c == '\n') {
      *out += "\\n";
    } else if (c == '\\') {
      *out += "\\\\";
    } else {
      *out += c;
    }
  }
}

}  // namespace

void RecordCall(std::initializer_list<std::string> fields) {
  std::string line;
  for (const std::string& f : fields) {
    if (!line.empty()) line += '\t';
    Escape(f, &line);
  }
  line += '\n';
  MakeDirsInDevice("/data/sim", 0755);
  // O_APPEND with one write per line keeps lines whole across threads and processes.
  unique_fd fd = OpenInDevice(kEmCalls, O_WRONLY | O_APPEND | O_CREAT, 0644);
  if (fd.get() < 0) return;
  ssize_t ignored = write(fd.get(), line.data(), line.size());
  (void)ignored;
}

}  // namespace orba::sim
