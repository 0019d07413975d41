#include "model_service.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include <android/log.h>
#include <platform/devpath.h>

#include "device_fs.h"
#include "node_io.h"

namespace orba::sim::hw {
namespace {

constexpr char kTag[] = "orba-hw-models";
// A store taken later than this after it was made is logged: the module was meant to act on it
// within this.
constexpr double kLateMs = 1.0;
// A command node holds a number; anything longer is read no further.
constexpr size_t kMaxCommand = 4096;

std::string Parent(const std::string& path) { return path.substr(0, path.rfind('/')); }
std::string Base(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

ModelService::ModelService(int stop_fd) : stop_fd_(stop_fd) {}

bool ModelService::Start(const std::string& ready_file, std::string* error) {
  enabled_ = HardwareEnabled();
  if (enabled_) {
    inotify_fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (inotify_fd_ < 0) {
      *error = std::string("inotify: ") + strerror(errno);
      return false;
    }
    Clock::time_point now = Clock::now();
    for (const ModelKind& kind : ModelKinds()) {
      if (!kind.fitted()) continue;
      models_.push_back(kind.create());
      HardwareModel* model = models_.back().get();
      for (const std::string& node : model->CommandNodes()) {
        // The directory, not the node: a test that replaces a node by rename keeps being seen.
        // A driver takes a command when it is written, as a sysfs store does, not when the
        // writer closes: writers sync the node first, which on a plain file takes milliseconds
        // the module would spend moving.
        int wd = inotify_add_watch(inotify_fd_, DevPath(Parent(node).c_str()),
                                   IN_MODIFY | IN_MOVED_TO);
        if (wd < 0) {
          *error = "cannot watch " + Parent(node) + ": " + strerror(errno);
          return false;
        }
        watched_.push_back({model, node, Base(node), wd});
      }
      model->Start(now);
      __android_log_print(ANDROID_LOG_INFO, kTag, "%s model fitted", model->Name());
    }
    wake_.assign(models_.size(), std::nullopt);
    last_quiet_ = Clock::now();  // the watches are in place: any store from here is seen
  } else {
    __android_log_print(ANDROID_LOG_INFO, kTag, "sim.hw.enable is 0: leaving every node alone");
  }
  ReplaceNode(ready_file, std::to_string(getpid()) + "\n");
  return true;
}

namespace {

// A clock-time stamp of the kernel (a node's mtime) on the models' steady clock.
Clock::time_point SteadyFromReal(const timespec& stamp) {
  timespec real{};
  clock_gettime(CLOCK_REALTIME, &real);
  Clock::time_point now = Clock::now();
  auto ago = std::chrono::seconds(real.tv_sec - stamp.tv_sec) +
             std::chrono::nanoseconds(real.tv_nsec - stamp.tv_nsec);
  return now - std::chrono::duration_cast<Clock::duration>(ago);
}

}  // namespace

bool ModelService::StoreOf(Watched* w, Clock::time_point seen, Store* store) const {
  // A writer's store is two changes, the truncation and the write, each with its own event.
  // The text and the time stamp are taken from one look at the node, checked unchanged across
  // the read: a look that took the stamp between the two changes and the text after both had
  // the write's event hand the same command over a second time.
  unique_fd fd = OpenInDevice(w->node, O_RDONLY);
  struct stat before {}, after {};
  if (fd.get() < 0 || fstat(fd.get(), &before) != 0) return false;
  if (SameFileUnchanged(before, w->handed)) return false;
  std::string text;
  if (!ReadAll(fd.get(), &text, kMaxCommand) || fstat(fd.get(), &after) != 0) return false;
  // A store that landed meanwhile raises its event once it is done: the next look takes it.
  if (!SameFileUnchanged(before, after)) return false;
  w->handed = after;
  // The write's own time stamp is to the nanosecond where the kernel stamps files finely (it
  // does for a file whose times were looked at since its last change, as they are here); where
  // it is coarse it can fall a tick early. It cannot be before the last look that found the
  // queue empty, nor after the event was taken.
  store->at = std::clamp(SteadyFromReal(after.st_mtim), last_quiet_, seen);
  store->seen = seen;
  store->text = std::move(text);
  return true;
}

void ModelService::OnEvents(Clock::time_point tick) {
  // A node holds its last command only: a burst of writes (a turn re-commanded in a tight loop
  // writes hundreds a second) is taken once, as the driver would see the last store. Taking each
  // event alone let the model fall behind the writer and publish stale readings.
  std::vector<Watched*> touched;
  alignas(inotify_event) char buf[4096];
  Clock::time_point drained = last_quiet_;
  for (;;) {
    // A write not in the queue when it reads empty is made after this look.
    Clock::time_point look = Clock::now();
    ssize_t n = read(inotify_fd_, buf, sizeof(buf));
    if (n <= 0) {  // EAGAIN: drained
      drained = look;
      break;
    }
    for (char* p = buf; p < buf + n;) {
      auto* ev = reinterpret_cast<inotify_event*>(p);
      p += sizeof(inotify_event) + ev->len;
      if (ev->len == 0) continue;
      for (Watched& w : watched_) {
        if (w.wd == ev->wd && w.name == ev->name &&
            std::find(touched.begin(), touched.end(), &w) == touched.end()) {
          touched.push_back(&w);
        }
      }
    }
  }
  Clock::time_point seen = Clock::now();
  for (Watched* w : touched) {
    Store store;
    if (!StoreOf(w, seen, &store)) continue;
    auto late = std::chrono::duration<double, std::milli>(store.seen - store.at).count();
    if (late > kLateMs) {
      __android_log_print(ANDROID_LOG_WARN, kTag,
                          "%s: took the store to %s %.2f ms after it was made: the host did not "
                          "run the models; acting on it as of its store",
                          w->model->Name(), w->node.c_str(), late);
    }
    w->model->OnCommand(w->node, store);
    for (size_t i = 0; i < models_.size(); ++i) {
      if (models_[i].get() == w->model) wake_[i] = tick;
    }
  }
  last_quiet_ = drained;
}

void ModelService::Run() {
  for (;;) {
    // Sleep until a command, the stop signal, or the earliest time a model asked for: to the
    // nanosecond, as a model measuring every half millisecond needs; nothing moves: no timeout.
    std::optional<Clock::time_point> next;
    for (const auto& wake : wake_) {
      if (wake && (!next || *wake < *next)) next = *wake;
    }
    timespec timeout{};
    if (next) {
      auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(*next - Clock::now()).count();
      if (ns > 0) timeout = {static_cast<time_t>(ns / 1000000000), ns % 1000000000};
    }
    pollfd fds[2] = {{stop_fd_, POLLIN, 0}, {inotify_fd_, POLLIN, 0}};
    int rc = ppoll(fds, inotify_fd_ >= 0 ? 2 : 1, next ? &timeout : nullptr, nullptr);
    if (rc < 0 && errno != EINTR) return;
    if (fds[0].revents != 0) return;
    // The time to bring the models up to is taken before the queue is read, so every store made
    // before it is handed over first: no model runs on past a command it has not been given.
    Clock::time_point now = Clock::now();
    if (inotify_fd_ >= 0) OnEvents(now);
    for (size_t i = 0; i < models_.size(); ++i) {
      if (wake_[i] && *wake_[i] <= now) wake_[i] = models_[i]->Tick(now);
    }
  }
}

}  // namespace orba::sim::hw
