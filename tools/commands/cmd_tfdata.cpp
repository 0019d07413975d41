// orbafactory tfdata type|list|check|size|clean: the preload ("TF data") inventory on the
// device's shared storage.

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
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
bool SplitArgs(orba::cli::Reply& reply, const Args& args, const std::vector<std::string>& known, Args* positional,
               std::vector<std::string>* flags) {
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
  const char* names[] = {"none", "cfg /sdcard/.clear_sdcard.cfg", "ini /sdcard/.clear_sdcard.ini"};
  reply.Stream(orba::cli::Format("%d %s\n", type, type >= 0 && type <= 2 ? names[type] : "?"));
  return orba::cli::kOk;
}

int ListCmd(const Args& args, orba::cli::Reply& reply) {
  Args pos;
  std::vector<std::string> flags;
  if (!SplitArgs(reply, args, {"--all", "--packages"}, &pos, &flags)) return orba::cli::kUsage;
  if (pos.size() > 1) return orba::cli::Error(reply, orba::cli::kUsage, "tfdata list: one VARIANT at most");
  if (!pos.empty() && Has(flags, "--packages")) {
    return orba::cli::Error(reply, orba::cli::kUsage, "tfdata list: --packages lists the device's variant");
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
  for (const tf_data_list* n = list.get(); n != nullptr; n = n->next) reply.Stream(orba::cli::Format("%s\n", n->path));
  return orba::cli::kOk;
}

int Check(const Args&, orba::cli::Reply& reply) {
  List list = DeviceList(reply);
  if (!list) return orba::cli::kFailed;
  static char report[64 * 1024];
  report[0] = '\0';
  int present = get_tf_data_file_number(report, sizeof(report), list.get());
  reply.Stream(report);
  int access_ok = check_tfdata_time_permission_abnormal(list.get());
  int listed = CountOf(list.get());
  if (present < 0) {
    reply.Stream(orba::cli::Format("missing files: %d of %d listed are not there\n",
           static_cast<int>(std::count(report, report + strlen(report), '\n')), listed));
  } else {
    reply.Stream(orba::cli::Format("present: %d of %d listed\n", present, listed));
  }
  reply.Stream(orba::cli::Format("access: %s\n", access_ok == 1 ? "ok" : "FAILED (a listed file is not readable and writable)"));
  return present >= 0 && access_ok == 1 ? orba::cli::kOk : orba::cli::kFailed;
}

int Size(const Args&, orba::cli::Reply& reply) {
  List list = DeviceList(reply);
  if (!list) return orba::cli::kFailed;
  reply.Stream(orba::cli::Format("%.0f bytes in %d listed files\n", get_tf_data_file_size(list.get()), CountOf(list.get())));
  return orba::cli::kOk;
}

int Clean(const Args& args, orba::cli::Reply& reply) {
  Args pos;
  std::vector<std::string> flags;
  if (!SplitArgs(reply, args, {"--yes", "--demo"}, &pos, &flags)) return orba::cli::kUsage;
  if (Has(flags, "--demo")) {
    if (pos.size() != 1) {
      return orba::cli::Error(reply, orba::cli::kUsage, "tfdata clean --demo: give the VARIANT to keep");
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
        reply.Stream(orba::cli::Format("deleted: %s\n", n->path));
        ++deleted;
      }
    }
    reply.Stream(orba::cli::Format("%d demo videos of other variants than %s deleted\n", deleted, pos[0].c_str()));
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
  reply.Stream(orba::cli::Format("/sdcard cleaned, %d listed paths kept\n", CountOf(keep.get())));
  return orba::cli::kOk;
}

const orba::cli::Family kTfdata{
    "tfdata",
    "the preload data inventory on shared storage",
    {
        {"type", "", "which manifest the device carries (2 ini, 1 cfg, 0 none)", 0, 0, Type},
        {"list", "[VARIANT] [--all] [--packages]",
         "the listed files (of VARIANT's section; --all: fall back to ALL; --packages: add the "
         "package archives)",
         0, 3, ListCmd},
        {"check", "", "every listed file present, readable and writable", 0, 0, Check},
        {"size", "", "total size of the listed files", 0, 0, Size},
        {"clean", "--yes | --demo VARIANT",
         "delete what the list does not name (or: demo videos of other variants)", 1, 2, Clean},
    }};
orba::cli::Registrar registrar(kTfdata);

}  // namespace
