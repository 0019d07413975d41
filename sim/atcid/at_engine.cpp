#include "at_engine.h"

namespace orba::at {

AtEngine::AtEngine() {
  Add("E", [this](const Request& req, Sink&) { return Echo(req); });
  Add("+CMEE", [this](const Request& req, Sink& sink) { return Cmee(req, sink); });
}

void AtEngine::Add(const std::string& name, Handler handler) {
  entries_.push_back({name, false, std::move(handler)});
}

void AtEngine::AddFamily(const std::string& prefix, Handler handler) {
  entries_.push_back({prefix, true, std::move(handler)});
}

const Handler* AtEngine::Find(const std::string& name) const {
  for (auto it = entries_.rbegin(); it != entries_.rend(); ++it) {
    if (it->family ? name.compare(0, it->name.size(), it->name) == 0 && name != it->name
                   : name == it->name) {
      return &it->handler;
    }
  }
  return nullptr;
}

std::string AtEngine::Execute(const std::string& line) {
  CommandLine parsed = ParseCommandLine(line);
  if (parsed.empty) return "";
  if (!parsed.valid) return FinalResult(Verdict::Error(), cmee_);
  std::string out;
  ResponseSink sink(&out);
  for (const Request& req : parsed.requests) {
    const Handler* handler = Find(req.name);
    Verdict verdict = handler != nullptr ? (*handler)(req, sink) : Verdict::Error();
    // +CMEE=... applies to its own result too: the mode is read after the command ran.
    if (!verdict.ok()) return out + FinalResult(verdict, cmee_);
  }
  return out + FinalResult(Verdict::Ok(), cmee_);
}

Verdict AtEngine::Echo(const Request& req) {
  const std::string value = req.form == Form::kSet ? req.args[0] : "0";  // ATE is ATE0
  if (value == "0") {
    echo_ = false;
  } else if (value == "1") {
    echo_ = true;
  } else {
    return Verdict::Error();
  }
  return Verdict::Ok();
}

Verdict AtEngine::Cmee(const Request& req, Sink& sink) {
  switch (req.form) {
    case Form::kTest:
      sink.Info("+CMEE: (0-2)");
      return Verdict::Ok();
    case Form::kRead:
      sink.Info("+CMEE: " + std::to_string(static_cast<int>(cmee_)));
      return Verdict::Ok();
    case Form::kSet: {
      const std::string& value = req.args.size() == 1 ? req.args[0] : std::string("x");
      if (value.empty() || value == "0") {  // +CMEE= sets the default
        cmee_ = CmeeMode::kOff;
      } else if (value == "1") {
        cmee_ = CmeeMode::kNumeric;
      } else if (value == "2") {
        cmee_ = CmeeMode::kVerbose;
      } else {
        return Verdict::Cme(CmeError::kIncorrectParameters);
      }
      return Verdict::Ok();
    }
    case Form::kAction:
      break;
  }
  return Verdict::Cme(CmeError::kNotSupported);
}

}  // namespace orba::at
