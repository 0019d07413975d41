// orbafactory tfdata type|list|check|size|clean: the preload ("TF data") inventory on the
// device's shared storage.

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <orbafactory/factorydata.h>
#include <platform/devpath.h>

#include "command.h"

namespace {

using orba::cli::Args;

struct ListFree {
  void operator()(tf_data_list* l) const { tf_data_list_free(l); }
};
using List = std::unique_ptr<tf_data_list, ListFree>;

int CountOf(const tf_data_list* l) {
  int n = 0;
  for (; l != nullptr; l = l->next) ++n;
  return n;
}

// Splits "--flag" options from positional arguments; false on an unknown option.
bool SplitArgs(orba::cli::Reply& reply, const Args& args, const std::vector<std::string>& known,
               Args* positional, std::vector<std::string>* flags) {
  for (const std::string& a : args) {
    if (a.rfind("--", 0) != 0) {
      positional->push_back(a);
      continue;
    }
    bool ok = false;
    for (const std::string& k : known) ok = ok || a == k;
    if (!ok) {
      orba::cli::Error(reply, orba::cli::kUsage, "tfdata: unknown option %s", a.c_str());
      return false;
    }
    flags->push_back(a);
  }
  return true;
}

bool Has(const std::vector<std::string>& flags, const char* flag) {
  for (const std::string& f : flags) {
    if (f == flag) return true;
  }
  return false;
}

List DeviceList(orba::cli::Reply& reply) {
  List list(get_tf_data_file_list());
  if (!list) {
    orba::cli::Error(reply, orba::cli::kFailed,
                     "tfdata: no preload list (no manifest, or no entries for this variant)");
  }
  return list;
}

int Type(const Args&, orba::cli::Reply& reply) {
  int type = get_tfdata_type();
  struct Manifest {
    const char* format;
    const char* path;
  };
  constexpr Manifest kManifests[] = {
      {"none", ""}, {"cfg", "/sdcard/.clear_sdcard.cfg"}, {"ini", "/sdcard/.clear_sdcard.ini"}};
  const Manifest& m = type >= 0 && type <= 2 ? kManifests[type] : kManifests[0];
  reply.Answer({{"type", type}, {"format", m.format}, {"path", m.path}});
  return orba::cli::kOk;
}

int ListCmd(const Args& args, orba::cli::Reply& reply) {
  Args pos;
  std::vector<std::string> flags;
  if (!SplitArgs(reply, args, {"--all", "--packages"}, &pos, &flags)) return orba::cli::kUsage;
  if (pos.size() > 1)
    return orba::cli::Error(reply, orba::cli::kUsage, "tfdata list: one VARIANT at most");
  if (!pos.empty() && Has(flags, "--packages")) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "tfdata list: --packages lists the device's variant");
  }
  List list;
  if (!pos.empty()) {
    list.reset(get_tf_data_file_list_by_oem(pos[0].c_str(), Has(flags, "--all") ? 1 : 0));
  } else if (Has(flags, "--packages")) {
    list.reset(get_tfdata_oem_app_list(1));
  } else {
    list.reset(get_tf_data_file_list());
  }
  if (!list) {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "tfdata list: no preload list (no manifest, or no entries for the "
                            "variant; --all allows the ALL section)");
  }
  for (const tf_data_list* n = list.get(); n != nullptr; n = n->next) {
    reply.Answer({{"path", n->path}});
  }
  return orba::cli::kOk;
}

int Check(const Args&, orba::cli::Reply& reply) {
  List list = DeviceList(reply);
  if (!list) return orba::cli::kFailed;
  static char report[64 * 1024];
  report[0] = '\0';
  int present = get_tf_data_file_number(report, sizeof(report), list.get());
  // The library reports each missing file on a line of its own, "lost:PATH".
  int lost = 0;
  for (std::string_view rest(report); !rest.empty();) {
    size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    size_t colon = line.find(':');
    if (colon == std::string_view::npos) continue;
    reply.Answer({{"path", line.substr(colon + 1)}, {"state", line.substr(0, colon)}});
    ++lost;
  }
  int access_ok = check_tfdata_time_permission_abnormal(list.get());
  int listed = CountOf(list.get());
  if (present < 0) {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "tfdata check: %d of %d listed files are not there%s", lost, listed,
                            access_ok == 1 ? "" : "; a listed file is not readable and writable");
  }
  if (access_ok != 1) {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "tfdata check: a listed file is not readable and writable");
  }
  reply.Answer({{"present", present}, {"listed", listed}});
  return orba::cli::kOk;
}

int Size(const Args&, orba::cli::Reply& reply) {
  List list = DeviceList(reply);
  if (!list) return orba::cli::kFailed;
  reply.Answer({{"size", static_cast<long long>(get_tf_data_file_size(list.get()))},
                {"files", CountOf(list.get())}});
  return orba::cli::kOk;
}

int Clean(const Args& args, orba::cli::Reply& reply) {
  Args pos;
  std::vector<std::string> flags;
  if (!SplitArgs(reply, args, {"--yes", "--demo"}, &pos, &flags)) return orba::cli::kUsage;
  if (Has(flags, "--demo")) {
    if (pos.size() != 1) {
      return orba::cli::Error(reply, orba::cli::kUsage,
                              "tfdata clean --demo: give the VARIANT to keep");
    }
    List list = DeviceList(reply);
    if (!list) return orba::cli::kFailed;
    std::vector<bool> existed;
    for (const tf_data_list* n = list.get(); n != nullptr; n = n->next) {
      existed.push_back(access(DevPath(n->path), F_OK) == 0);
    }
    delete_foreign_extra_demovideo_by_oem(pos[0].c_str());
    int deleted = 0;
    size_t i = 0;
    for (const tf_data_list* n = list.get(); n != nullptr; n = n->next, ++i) {
      if (existed[i] && access(DevPath(n->path), F_OK) != 0) {
        reply.Answer({{"path", n->path}});
        ++deleted;
      }
    }
    reply.Note(orba::cli::Format("%d demo videos of other variants than %s deleted", deleted,
                                 pos[0].c_str()));
    return orba::cli::kOk;
  }
  if (!pos.empty()) return orba::cli::Error(reply, orba::cli::kUsage, "tfdata clean: no arguments");
  if (!Has(flags, "--yes")) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "tfdata clean deletes everything on /sdcard the preload list does not "
                            "name; add --yes to do it");
  }
  // Without a list the cleaner would empty the storage: refuse instead.
  List keep = DeviceList(reply);
  if (!keep) return orba::cli::kFailed;
  delete_all_file_except_tfdata("/sdcard", keep.get());
  reply.Answer({{"path", "/sdcard"}, {"kept", CountOf(keep.get())}});
  return orba::cli::kOk;
}

const orba::cli::Family kTfdata{
    "tfdata",
    "the preload data inventory on shared storage",
    {
        {"type", "", "which manifest the device carries: type 2 ini, 1 cfg or 0 none, with "
         "its path", 0, 0, Type, "tfdata type"},
        {"list", "[VARIANT] [--all] [--packages]",
         "the path of each listed file (of VARIANT's section; --all: fall back to ALL; "
         "--packages: add the package archives)",
         0, 3, ListCmd, "tfdata list"},
        {"check", "",
         "every listed file present, readable and writable: each lost path, then the present "
         "and listed counts; exit 1 when a file is lost or not accessible",
         0, 0, Check, "tfdata check"},
        {"size", "", "total size in bytes of the listed files, and their number", 0, 0, Size,
         "tfdata size"},
        {"clean", "--yes | --demo VARIANT",
         "delete what the list does not name, answering /sdcard with the number of listed paths "
         "kept (or: delete the demo videos of other variants, answering each path deleted)",
         1, 2, Clean, "tfdata clean --demo ORBA"},
    }};
orba::cli::Registrar registrar(kTfdata);

}  // namespace
