#include "device_commands.h"

#include <orbafactory/foundation.h>
#include <orbafactory/persist.h>
#include <orbafactory/sysaccess.h>

namespace orba::at {
namespace {

// The library's longest error report: a module name, fixed words and a 1023-character message.
constexpr size_t kReportSize = 1200;

// The property names the identification answers come from.
constexpr char kManufacturer[] = "ro.orba.oem.name";
constexpr char kModel[] = "ro.orba.product.model";
constexpr char kRevision[] = "ro.build.version.group";

// A build property through the AT-command service, as every step of the library reads them.
// False with the library's report in `report` when the build does not set it.
bool BuildProperty(const char* name, std::string* value, std::string* report) {
  char buf[92] = {};
  orbaatcmd_get_system_property(name, buf, "");
  if (buf[0] == '\0') {
    char text[kReportSize] = {};
    log_em_check_val_err(ORBA_MODULE_SOFTWARE, __func__, __LINE__, text, "%s is not set", name);
    *report = text;
    return false;
  }
  *value = buf;
  return true;
}

// +CGMI, +CGMM, +CGMR: the value alone on its line (27.007 gives these no "+NAME:" prefix);
// the test form answers OK and nothing else, the others do not exist.
Handler IdentificationCommand(const char* property) {
  return [property](const Request& req, Sink& sink) {
    if (req.form == Form::kTest) return Verdict::Ok();
    if (req.form != Form::kAction) return Verdict::Error();
    std::string value, report;
    if (!BuildProperty(property, &value, &report)) {
      return Verdict::Cme(CmeError::kPhoneFailure, report);
    }
    sink.Info(value);
    return Verdict::Ok();
  };
}

// ATI (and ATI0): manufacturer, model and revision, one per line.
Verdict Identify(const Request& req, Sink& sink) {
  if (req.form == Form::kSet && req.args[0] != "0") return Verdict::Error();
  std::string lines[3], report;
  const char* properties[] = {kManufacturer, kModel, kRevision};
  for (int i = 0; i < 3; ++i) {
    if (!BuildProperty(properties[i], &lines[i], &report)) {
      return Verdict::Cme(CmeError::kPhoneFailure, report);
    }
  }
  for (const std::string& line : lines) sink.Info(line);
  return Verdict::Ok();
}

// +CGSN: the serial number in the factory record. Of 27.007's serial number types the phone
// has only type 0, the serial number itself (no IMEI is kept in the record).
Verdict SerialNumber(const Request& req, Sink& sink) {
  if (req.form == Form::kTest) {
    sink.Info("+CGSN: (0)");
    return Verdict::Ok();
  }
  if (req.form == Form::kRead) return Verdict::Error();
  if (req.form == Form::kSet && !(req.args.size() == 1 && req.args[0] == "0")) {
    return Verdict::Cme(CmeError::kIncorrectParameters);
  }
  char sn[64] = {};
  int ret = get_sn_from_backup(sn);
  if (ret != 0) {
    char text[kReportSize] = {};
    log_em_check_val_err(ORBA_MODULE_SOFTWARE, __func__, __LINE__, text,
                         "no serial number in the factory record (ret:%d)", ret);
    return Verdict::Cme(CmeError::kPhoneFailure, text);
  }
  sink.Info(sn);
  return Verdict::Ok();
}

}  // namespace

void AddDeviceCommands(AtEngine* engine) {
  engine->Add("I", Identify);
  engine->Add("+CGMI", IdentificationCommand(kManufacturer));
  engine->Add("+CGMM", IdentificationCommand(kModel));
  engine->Add("+CGMR", IdentificationCommand(kRevision));
  engine->Add("+CGSN", SerialNumber);
}

}  // namespace orba::at
