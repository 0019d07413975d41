#include "zip_builder.h"

#include <stdio.h>
#include <zlib.h>

#include <fstream>
#include <sstream>

#include "support/subprocess.h"

namespace orba::test {

namespace {

void Append16(std::string& b, uint16_t v) {
  b.push_back(static_cast<char>(v & 0xff));
  b.push_back(static_cast<char>(v >> 8));
}
void Append32(std::string& b, uint32_t v) {
  Append16(b, static_cast<uint16_t>(v & 0xffff));
  Append16(b, static_cast<uint16_t>(v >> 16));
}
uint32_t Usize(const Member& m) {
  return static_cast<uint32_t>(m.uncompressed < 0 ? static_cast<long>(m.data.size())
                                                  : m.uncompressed);
}

}  // namespace

void Put16(std::string& b, size_t off, uint16_t v) {
  b[off] = static_cast<char>(v & 0xff);
  b[off + 1] = static_cast<char>(v >> 8);
}
void Put32(std::string& b, size_t off, uint32_t v) {
  Put16(b, off, static_cast<uint16_t>(v & 0xffff));
  Put16(b, off + 2, static_cast<uint16_t>(v >> 16));
}

BuiltZip BuildZip(const std::vector<Member>& members, const std::string& comment) {
  BuiltZip z;
  for (const Member& m : members) {
    z.local.push_back(z.bytes.size());
    Append32(z.bytes, 0x04034b50);
    Append16(z.bytes, 20);
    Append16(z.bytes, 0);
    Append16(z.bytes, static_cast<uint16_t>(m.method));
    Append32(z.bytes, 0x5a210000);
    Append32(z.bytes, 0);
    Append32(z.bytes, static_cast<uint32_t>(m.data.size()));
    Append32(z.bytes, Usize(m));
    Append16(z.bytes, static_cast<uint16_t>(m.name.size()));
    Append16(z.bytes, static_cast<uint16_t>(m.local_extra.size()));
    z.bytes += m.name + m.local_extra + m.data;
  }
  const size_t cd = z.bytes.size();
  for (size_t i = 0; i < members.size(); ++i) {
    const Member& m = members[i];
    z.central.push_back(z.bytes.size());
    Append32(z.bytes, 0x02014b50);
    Append16(z.bytes, m.made_by);
    Append16(z.bytes, 20);
    Append16(z.bytes, 0);
    Append16(z.bytes, static_cast<uint16_t>(m.method));
    Append32(z.bytes, 0x5a210000);
    Append32(z.bytes, 0x12345678);
    Append32(z.bytes, static_cast<uint32_t>(m.data.size()));
    Append32(z.bytes, Usize(m));
    Append16(z.bytes, static_cast<uint16_t>(m.name.size()));
    Append16(z.bytes, 0);
    Append16(z.bytes, 0);
    Append16(z.bytes, 0);
    Append16(z.bytes, 0);
    Append32(z.bytes, m.external_attributes);
    Append32(z.bytes, static_cast<uint32_t>(z.local[i]));
    z.bytes += m.name;
  }
  const size_t cd_len = z.bytes.size() - cd;
  z.end_record = z.bytes.size();
  Append32(z.bytes, 0x06054b50);
  Append16(z.bytes, 0);
  Append16(z.bytes, 0);
  Append16(z.bytes, static_cast<uint16_t>(members.size()));
  Append16(z.bytes, static_cast<uint16_t>(members.size()));
  Append32(z.bytes, static_cast<uint32_t>(cd_len));
  Append32(z.bytes, static_cast<uint32_t>(cd));
  Append16(z.bytes, static_cast<uint16_t>(comment.size()));
  z.bytes += comment;
  return z;
}

std::string RawDeflate(const std::string& data) {
  z_stream zs = {};
  deflateInit2(&zs, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&zs, data.size()), '\0');
  zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  zs.avail_in = static_cast<uInt>(data.size());
  zs.next_out = reinterpret_cast<Bytef*>(out.data());
  zs.avail_out = static_cast<uInt>(out.size());
  deflate(&zs, Z_FINISH);
  out.resize(zs.total_out);
  deflateEnd(&zs);
  return out;
}

bool RunPython(const std::string& script, const std::vector<std::string>& args) {
  std::vector<std::string> argv = {"/usr/bin/env", "python3", "-c", script};
  argv.insert(argv.end(), args.begin(), args.end());
  const ProgramResult r = RunProgram(argv);
  if (r.status != 0) fprintf(stderr, "python3 failed: %s\n", r.err.c_str());
  return r.status == 0;
}

bool RunShell(const std::string& command) {
  const ProgramResult r = RunProgram({"/bin/sh", "-c", command});
  if (r.status != 0) fprintf(stderr, "'%s' failed: %s\n", command.c_str(), r.err.c_str());
  return r.status == 0;
}

std::string ReadHostFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

OpenedZip::OpenedZip(const std::string& bytes) : bytes_(bytes) {
  rc_ =
      mzOpenZipArchive(reinterpret_cast<const unsigned char*>(bytes_.data()), bytes_.size(), &za_);
}

OpenedZip::~OpenedZip() {
  if (rc_ == 0) mzCloseZipArchive(&za_);
}

std::string OpenedZip::Extract(const char* name) {
  const ZipEntry* e = mzFindZipEntry(&za_, name);
  if (e == nullptr) return "<missing>";
  std::string out(static_cast<size_t>(e->uncompressed_length), '\0');
  if (!mzExtractZipEntryToBuffer(&za_, e, reinterpret_cast<unsigned char*>(out.data()))) {
    return "<fail>";
  }
  return out;
}

}  // namespace orba::test
