// A service object held past the service's idle limit, as a daemon keeps one between test steps:
// the service has closed the connection getService opened, and the next call still works.

#include <unistd.h>

#include <string>

#include <cutils/properties.h>
#include <platform/hal.h>

#include "atcmd_fixture.h"

namespace orba::test {
namespace {

class HeldServiceTest : public SysDeviceTest {};

TEST_F(HeldServiceTest, CallAfterTheIdleLimitReconnects) {
  ASSERT_EQ(property_set("vendor.held.probe", "alive"), 0);
  StartInProcessService();
  auto service = hal::IOrbaAtcmd::getService("default", false);
  ASSERT_NE(service, nullptr);
  sleep(6);  // past the service's 5 s limit for a connection that sends nothing

  for (int call = 0; call < 2; ++call) {
    SCOPED_TRACE(call);
    std::string value;
    auto ret = service->getSystemProperty("vendor.held.probe", "absent",
                                          [&](std::string_view v) { value = v; });
    EXPECT_TRUE(ret.isOk());
    EXPECT_EQ(value, "alive");
  }
  StopInProcessService();
}

}  // namespace
}  // namespace orba::test
