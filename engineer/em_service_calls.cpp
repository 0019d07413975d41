// The engineer-mode service's own calls: the generic action, the readiness probe, the two message
// exchanges and the microphone echo test.

#include <orbafactory/engineer.h>

#include <platform/log.h>

#include "em_service_ref.h"

using orba::engineer::CopyReply;
using orba::engineer::GetEm;
using orba::engineer::ReplyHolder;

extern "C" ORBA_EXPORT bool startOrbaEM(const char* action, const char* arg1, const char* arg2,
                                        const char* arg3) {
  auto service = GetEm(__func__);
  if (service == nullptr) return false;
  return service->doAction(action, arg1, arg2, arg3);
}

extern "C" ORBA_EXPORT bool OrbaEmcheckCallback(const char* edition_tag) {
  auto service = GetEm(__func__);
  if (service == nullptr) return false;
  return service->checkCallback(edition_tag);
}

namespace {

using Exchange = orba::hal::Ret<void> (orba::hal::IOrbaEm::*)(const char*,
                                                               const orba::hal::StringCallback&);

// The reply stays "error" when the service never delivers one, so a caller can tell a silent
// service from an empty answer.
int ExchangeWithEngineer(const char* caller, Exchange method, const char* msg, char* reply,
                         int len) {
  ReplyHolder holder("error");
  auto service = GetEm(caller);
  if (service == nullptr) {
    CopyReply("startOrbaEM Fail", reply, len);
    return 0;
  }
  ((*service).*method)(msg, holder.Callback());
  CopyReply(holder.text.c_str(), reply, len);
  return 0;
}

}  // namespace

extern "C" ORBA_EXPORT int sendToEngineerSocket(const char* msg, char* reply, int len) {
  return ExchangeWithEngineer(__func__, &orba::hal::IOrbaEm::sendToEngineer, msg, reply, len);
}

extern "C" ORBA_EXPORT int sendToUserEngineerSocket(const char* msg, char* reply, int len) {
  return ExchangeWithEngineer(__func__, &orba::hal::IOrbaEm::sendToUserEngineer, msg, reply, len);
}

extern "C" ORBA_EXPORT void orbaem_test_mic_echo(unsigned mode, char* reply, int len) {
  auto service = GetEm(__func__);
  if (service == nullptr) return;
  ReplyHolder holder("error");
  service->testMicEcho(mode, holder.Callback());
  CopyReply(holder.text.c_str(), reply, len);
}
