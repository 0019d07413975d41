// Messages to the engineer-mode apps: edition choice, readiness passes, replies and the lock.

#include <gtest/gtest.h>
#include <pthread.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <orbafactory/engineer.h>

#include "em_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class EngineerMessageTest : public EmTest {
 protected:
  void SetUp() override {
    EmTest::SetUp();
    StartAtcmd();
    StartEm();
  }
};

TEST_F(EngineerMessageTest, WithoutAnyEngineerModeAppTheAnswerIsOkAndNobodyIsAsked) {
  LogCapture log;
  SetProp("sim.em.refresh_rate", "120");
  for (auto* send : {sendMessage, sendUserMessage}) {
    char* reply = send("get_lcm_refreshrate max");
    EXPECT_STREQ(reply, "ok");
    EXPECT_NE(reply, recv_buf);
  }
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "bsp_version!")) << log.Dump();
  EXPECT_TRUE(Calls().empty());
}

TEST_F(EngineerMessageTest, EditionFollowsTheModeProperties) {
  struct Case {
    const char* user;
    const char* aftersale;
    const char* component;
  } const cases[] = {
      {"1", "1", kUserComponent},      {"10", "0", kUserComponent},
      {"0", "1", kAftersaleComponent}, {"2", "", kStandardComponent},
      {"", "0", kStandardComponent},
  };
  WriteDeviceFile("/system/app/orbaUserEngineerMode/orbaUserEngineerMode.apk", "");
  SetProp("sim.em.default_reply", "pong");
  for (const Case& c : cases) {
    SetProp("persist.sys.user.qztem", c.user);
    SetProp("persist.sys.aftersale.qztem", c.aftersale);
    StopEm();  // nothing of an earlier case stays up
    StartEm();
    WriteDeviceFile("/data/sim/em_calls", "");
    EXPECT_STREQ(sendMessage("ping"), "pong") << c.user << "/" << c.aftersale;
    std::string start = std::string("doAction\tstartServiceFromAtcid\t") + c.component;
    EXPECT_EQ(CountCalls(start), 1) << c.user << "/" << c.aftersale;
    EXPECT_EQ(CountCalls("doAction\tstartServiceFromAtcid"), 1);
  }
}

TEST_F(EngineerMessageTest, UserMessageAlwaysGoesToTheUserEdition) {
  InstallEngineerMode();
  SetProp("persist.sys.user.qztem", "0");
  SetProp("sim.em.global.screen_brightness", "200");
  ASSERT_TRUE(startServiceFromAtcid(kStandardComponent, nullptr, nullptr));
  EXPECT_STREQ(sendUserMessage("get_global_setting_int screen_brightness"), "200");
  EXPECT_EQ(CountCalls(std::string("doAction\tstartServiceFromAtcid\t") + kUserComponent), 1);
  EXPECT_EQ(CountCalls("sendToUserEngineer\tuserEngineerMode\t"), 1);
}

TEST_F(EngineerMessageTest, AppAlreadyUpCostsOnePassAndNoStart) {
  InstallEngineerMode();
  LogCapture log;
  SetProp("sim.em.refresh_rate", "90");
  ASSERT_TRUE(startServiceFromAtcid(kStandardComponent, nullptr, nullptr));
  WriteDeviceFile("/data/sim/em_calls", "");
  char* reply = sendMessage("get_lcm_refreshrate max");
  EXPECT_EQ(reply, recv_buf);
  EXPECT_STREQ(reply, "90");
  EXPECT_EQ(CountCalls("doAction\tisServiceWork"), 1);
  EXPECT_EQ(CountCalls("doAction\tstartServiceFromAtcid"), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, std::string("service: ") + kStandardClass +
                                             " is working!"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "ret: 9, OrbaEmcheckCallback: EngineerMode"))
      << log.Dump();
}

TEST_F(EngineerMessageTest, AppThatComesUpLateIsStartedOncePerFailedPass) {
  InstallEngineerMode();
  SetProp("sim.em.start_delay_ms", "500");
  SetProp("sim.em.refresh_rate", "60");
  EXPECT_STREQ(sendMessage("get_lcm_refreshrate current"), "60");
  int passes = CountCalls("doAction\tisServiceWork");
  EXPECT_GE(passes, 2);
  EXPECT_LE(passes, 10);
  EXPECT_EQ(CountCalls("doAction\tstartServiceFromAtcid"), passes - 1);
}

TEST_F(EngineerMessageTest, CalibrationRequestsWriteTheStateFiles) {
  InstallEngineerMode();
  WriteDeviceFile("/cache/recovery/last_test_cali_result.xml", "gsensor_cali 1\nlight_cali 1\n");
  struct Case {
    std::string request;
    std::string reply;
    const char* file;
    std::string content;
  } const cases[] = {
      {"TQEGMCDK_clear light_cali 0", "ok", "/cache/recovery/last_test_cali_result.xml",
       "gsensor_cali 1\nlight_cali 0\n"},
      {"TQEGMCDK_clear new_item 1", "ok", "/cache/recovery/last_test_cali_result.xml",
       "gsensor_cali 1\nlight_cali 0\nnew_item 1\n"},
      {"TQEGMCDK_dark light_cali 2", "ok", "/cache/recovery/last_test_cali_bg_dark.xml",
       "light_cali 2\n"},
      {"TQEGMCDK_dark light_cali", "error", "/cache/recovery/last_test_cali_bg_dark.xml",
       "light_cali 2\n"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(std::string(sendMessage(c.request.c_str())), c.reply) << c.request;
    EXPECT_EQ(ReadDeviceFile(c.file), c.content) << c.request;
  }
}

TEST_F(EngineerMessageTest, RefreshRateAndSettingsComeFromTheDevice) {
  InstallEngineerMode();
  SetProp("sim.em.refresh_rate", "120");
  SetProp("sim.em.global.screen_brightness", "128");
  struct Step {
    const char* request;
    const char* reply;
  } const steps[] = {
      {"get_lcm_refreshrate max", "120"},     {"get_lcm_refreshrate current", "120"},
      {"set_lcm_refreshrate 90", "ok"},       {"get_lcm_refreshrate current", "90"},
      {"set_lcm_refreshrate 144", "error"},   {"set_lcm_refreshrate 0", "error"},
      {"get_lcm_refreshrate current", "90"},  {"get_global_setting_int screen_brightness", "128"},
      {"get_global_setting_int unknown", "error"}, {"what is this", "error"},
  };
  for (const Step& s : steps) EXPECT_STREQ(sendMessage(s.request), s.reply) << s.request;

  // A display that takes its time: the old rate stays current until the switch is done.
  SetProp("sim.em.refresh_rate.settle_ms", "600000");
  EXPECT_STREQ(sendMessage("set_lcm_refreshrate 60"), "ok");
  EXPECT_STREQ(sendMessage("get_lcm_refreshrate current"), "90");
  SetProp("sim.em.refresh_rate.settle_ms", "1");
  EXPECT_STREQ(sendMessage("set_lcm_refreshrate 30"), "ok");
  usleep(20000);
  EXPECT_STREQ(sendMessage("get_lcm_refreshrate current"), "30");
}

TEST_F(EngineerMessageTest, ReplyTableOverridesBuiltInAnswers) {
  InstallEngineerMode();
  SetProp("sim.em.refresh_rate", "120");
  WriteDeviceFile("/data/sim/em_replies",
                  "# comment\tignored\n"
                  "get_lcm_refreshrate max\t60\n"
                  "pop_camera *\t1#250\n"
                  "multi\tline1\\nline2\\tend\\\\\n"
                  "no tab here\n"
                  "TQEGMCDK_clear*\tok\n");
  struct Case {
    const char* request;
    const char* reply;
  } const cases[] = {
      {"get_lcm_refreshrate max", "60"}, {"pop_camera up", "1#250"},
      {"pop_camera", "error"},           {"multi", "line1\nline2\tend\\"},
      {"no tab here", "error"},          {"TQEGMCDK_clear x 1", "ok"},
  };
  for (const Case& c : cases) EXPECT_STREQ(sendMessage(c.request), c.reply) << c.request;
  // The table answered in the app's place, so the app wrote nothing.
  EXPECT_EQ(ReadDeviceFile("/cache/recovery/last_test_cali_result.xml"), "");
}

// Holding the lock keeps a sender from even asking whether the app runs.
TEST_F(EngineerMessageTest, SendLockIsHeldFromTheFirstPassToTheReply) {
  InstallEngineerMode();
  SetProp("sim.em.default_reply", "done");
  pthread_mutex_lock(&g_sendmessage_mutex);
  std::atomic<bool> finished{false};
  std::string reply;
  std::thread sender([&] {
    reply = sendMessage("anything");
    finished = true;
  });
  usleep(300000);
  EXPECT_FALSE(finished);
  EXPECT_EQ(CountCalls("doAction"), 0);
  EXPECT_EQ(CountCalls("checkCallback"), 0);
  pthread_mutex_unlock(&g_sendmessage_mutex);
  sender.join();
  EXPECT_EQ(reply, "done");
}

// A caller holding the lock sends and copies the reply before any other thread's send can
// overwrite the shared buffer; the send in between must not deadlock on the lock it holds.
TEST_F(EngineerMessageTest, HolderOfTheSendLockSendsAndReadsItsOwnReply) {
  InstallEngineerMode();
  SetProp("sim.em.default_reply", "mine");
  std::atomic<bool> other_done{false};
  std::thread other;
  struct Seen {
    std::string reply;
    bool other_done;
  };
  std::promise<Seen> seen;
  std::future<Seen> result = seen.get_future();
  // Detached: were the lock not recursive, this thread would stay blocked for good.
  std::thread([&] {
    pthread_mutex_lock(&g_sendmessage_mutex);
    other = std::thread([&] {
      sendMessage("from another thread");
      other_done = true;
    });
    std::string reply = sendMessage("mine");
    Seen s{reply, other_done.load()};
    pthread_mutex_unlock(&g_sendmessage_mutex);
    seen.set_value(s);
  }).detach();
  ASSERT_EQ(result.wait_for(std::chrono::seconds(20)), std::future_status::ready)
      << "a send under the held lock deadlocked";
  const Seen s = result.get();
  EXPECT_EQ(s.reply, "mine");
  EXPECT_FALSE(s.other_done);
  other.join();
  EXPECT_TRUE(other_done);
}

// Concurrent senders to two editions: each exchange's calls must form one unbroken run.
TEST_F(EngineerMessageTest, ConcurrentSendersDoNotInterleave) {
  InstallEngineerMode();
  WriteDeviceFile("/system/app/orbaUserEngineerMode/orbaUserEngineerMode.apk", "");
  SetProp("sim.em.start_delay_ms", "300");
  SetProp("sim.em.default_reply", "r");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 3; ++i) {
        if ((t + i) % 2 == 0) {
          sendMessage("m");
        } else {
          sendUserMessage("m");
        }
      }
    });
  }
  for (auto& th : threads) th.join();

  // Every line names its edition by class or tag, the send by its method (sendToEngineer
  // reaches whichever edition registered last); an exchange ends with its send.
  auto edition_of = [](const std::string& line) -> int {
    if (line.rfind("sendTo", 0) == 0) return line.rfind("sendToUserEngineer", 0) == 0 ? 1 : 0;
    return line.find("user") != std::string::npos ? 1 : 0;
  };
  int current = -1;
  int exchanges = 0;
  for (const std::string& line : Calls()) {
    int e = edition_of(line);
    if (current == -1) current = e;
    EXPECT_EQ(e, current) << line;
    if (line.rfind("sendTo", 0) == 0) {
      ++exchanges;
      current = -1;
    }
  }
  EXPECT_EQ(exchanges, 12);
}

}  // namespace
}  // namespace orba::test
