// orbafactory ini get|dump|sections FILE ...: the library's INI parser on a device file.

#include <stdio.h>
#include <stdlib.h>

#include <string>

#include <orbafactory/config.h>

#include "command.h"

namespace {

using orba::cli::Args;

// A parsed file for the length of one command.
class LoadedIni {
 public:
  LoadedIni(orba::cli::Reply& reply, const std::string& path)
      : dict_(iniparser_load(path.c_str())) {
    if (dict_ == nullptr) {
      orba::cli::FailPaths(reply, {{path, orba::cli::PathUse::kRead}}, "ini: cannot read %s",
                           path.c_str());
    }
  }
  ~LoadedIni() { iniparser_freedict(dict_); }
  LoadedIni(const LoadedIni&) = delete;
  LoadedIni& operator=(const LoadedIni&) = delete;

  const dictionary* get() const { return dict_; }

 private:
  dictionary* dict_;
};

int Get(const Args& args, orba::cli::Reply& reply) {
  LoadedIni ini(reply, args[0]);
  if (ini.get() == nullptr) return orba::cli::kFailed;
  int status = orba::cli::kOk;
  for (size_t i = 1; i < args.size(); ++i) {
    // Keys are "section:key"; a bare section name is an entry too, but has no value.
    const std::string& key = args[i];
    if (!iniparser_find_entry(ini.get(), key.c_str())) {
      status = orba::cli::Error(reply, orba::cli::kFailed, "ini: no key %s in %s", key.c_str(),
                                args[0].c_str());
      continue;
    }
    const char* value = iniparser_getstring(ini.get(), key.c_str(), nullptr);
    if (value == nullptr) {
      status = orba::cli::Error(reply, orba::cli::kFailed, "ini: %s is a section, not a key",
                                key.c_str());
      continue;
    }
    // One key asked: its bare value; several: each with its key.
    if (args.size() > 2) {
      reply.Answer({{"key", key}, {"value", value}});
    } else {
      reply.Answer({{"value", value}});
    }
  }
  return status;
}

int Dump(const Args& args, orba::cli::Reply& reply) {
  LoadedIni ini(reply, args[0]);
  if (ini.get() == nullptr) return orba::cli::kFailed;
  // The library writes its dump to a stream; the reply takes it as it stands.
  char* text = nullptr;
  size_t size = 0;
  FILE* out = open_memstream(&text, &size);
  if (out == nullptr) return orba::cli::Error(reply, orba::cli::kFailed, "ini dump: out of memory");
  iniparser_dump_ini(ini.get(), out);
  fclose(out);
  reply.Stream(std::string_view(text, size));
  free(text);
  return orba::cli::kOk;
}

int Sections(const Args& args, orba::cli::Reply& reply) {
  LoadedIni ini(reply, args[0]);
  if (ini.get() == nullptr) return orba::cli::kFailed;
  int count = iniparser_getnsec(ini.get());
  for (int i = 0; i < count; ++i) {
    const char* name = iniparser_getsecname(ini.get(), i);
    if (name == nullptr) continue;
    reply.Answer({{"section", name}, {"keys", iniparser_getsecnkeys(ini.get(), name)}});
  }
  return orba::cli::kOk;
}

const orba::cli::Family kIni{
    "ini",
    "INI files read by the library's parser",
    {
        {"get", "FILE KEY...",
         "values of section:key entries (one key: its value; several: each key with its value)",
         2, -1, Get, "ini get /vendor/etc/ntc.ini type_i:board_ntc"},
        {"dump", "FILE", "the whole file as the parser sees it, in INI form", 1, 1, Dump,
         "ini dump /vendor/etc/ntc.ini"},
        {"sections", "FILE", "each section's name with its number of keys", 1, 1, Sections,
         "ini sections /vendor/etc/ntc.ini"},
    }};
orba::cli::Registrar registrar(kIni);

}  // namespace
