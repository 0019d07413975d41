#ifndef ORBA_TESTS_MINZIP_ZIP_BUILDER_H
#define ORBA_TESTS_MINZIP_ZIP_BUILDER_H

#include <orbafactory/minzip.h>
#include <stdint.h>

#include <string>
#include <utility>
#include <vector>

namespace orba::test {

// A member of a hand-built archive. Real tools refuse to write most of the broken archives the
// parser must reject, so those are built here and then patched byte by byte.
struct Member {
  Member(std::string n, std::string d, int m = ZIP_STORED, long u = -1)
      : name(std::move(n)), data(std::move(d)), method(m), uncompressed(u) {}

  std::string name;
  std::string data;  // as stored (already deflated for method 8)
  int method = ZIP_STORED;
  long uncompressed = -1;     // -1: data.size()
  uint16_t made_by = 0x0314;  // Unix, 2.0
  uint32_t external_attributes = 0;
  std::string local_extra;
};

struct BuiltZip {
  std::string bytes;
  std::vector<size_t> local;    // offset of each member's local header
  std::vector<size_t> central;  // offset of each member's central header
  size_t end_record = 0;
};

BuiltZip BuildZip(const std::vector<Member>& members, const std::string& comment = "");
std::string RawDeflate(const std::string& data);
void Put16(std::string& bytes, size_t offset, uint16_t value);
void Put32(std::string& bytes, size_t offset, uint32_t value);

// Runs python3 with `script` (its sys.argv[1:] are `args`); true if it exited 0.
bool RunPython(const std::string& script, const std::vector<std::string>& args);
// Runs a shell command line; true if it exited 0.
bool RunShell(const std::string& command);
std::string ReadHostFile(const std::string& path);

// An archive opened on bytes held in memory.
class OpenedZip {
 public:
  explicit OpenedZip(const std::string& bytes);
  ~OpenedZip();
  int rc() const { return rc_; }
  ZipArchive* get() { return &za_; }
  std::string Extract(const char* name);  // via mzExtractZipEntryToBuffer; "<fail>" on failure

 private:
  std::string bytes_;
  ZipArchive za_;
  int rc_;
};

}  // namespace orba::test

#endif
