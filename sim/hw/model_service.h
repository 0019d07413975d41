#ifndef ORBA_SIM_HW_MODEL_SERVICE_H
#define ORBA_SIM_HW_MODEL_SERVICE_H

#include <memory>
#include <optional>
#include <sys/stat.h>
#include <string>
#include <vector>

#include "hw_model.h"

namespace orba::sim::hw {

// Runs the fitted models on the calling thread until a stop signal arrives: inotify on the
// directories of the command nodes wakes it for a command, a model's tick request for motion,
// and nothing else. With sim.hw.enable = 0 it touches no node and only waits for the signal.
class ModelService {
 public:
  // `stop_fd`: becomes readable when the service must end (a signalfd).
  explicit ModelService(int stop_fd);
  // Sets up the watches and the resting sensor nodes; then writes `ready_file` (a device path)
  // so whoever started the service knows commands will be seen. False on a setup failure.
  bool Start(const std::string& ready_file, std::string* error);
  void Run();

 private:
  struct Watched {
    HardwareModel* model;
    std::string node;  // device path
    std::string name;  // file name inside the watched directory
    int wd;
    // The node as its last command was handed over (file, size, time stamp): the events of one
    // store (the truncation and the write) can come apart, and the second must not be taken
    // for a store of its own.
    struct stat handed {};
  };
  // Hands the commands waiting in the queue to their models; `tick` is the time the models are
  // about to be brought up to.
  void OnEvents(Clock::time_point tick);
  // The store that left the node as it is now; false when the node is still as its last
  // command was handed over, or is being written.
  bool StoreOf(Watched* w, Clock::time_point seen, Store* store) const;

  int stop_fd_;
  int inotify_fd_ = -1;
  bool enabled_ = false;
  std::vector<std::unique_ptr<HardwareModel>> models_;
  std::vector<std::optional<Clock::time_point>> wake_;
  std::vector<Watched> watched_;
  // The last look that found the queue empty: every store not yet taken was made after it.
  Clock::time_point last_quiet_{};
};

}  // namespace orba::sim::hw

#endif
