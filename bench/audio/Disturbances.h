#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace platform::audio {

// What a machine does beside playing.

/// Reads the tags of that many files, on this thread, as a scan does.
void readTags(int files);

/// Blurs a picture of 5120 x 2880 pixels twice, on this thread.
void blurTwice();

/// Keeps every processor busy with an ordinary thread, for as long as it lives.
class BusyProcessors {
  public:
    BusyProcessors();
    ~BusyProcessors();
    BusyProcessors(const BusyProcessors&) = delete;
    BusyProcessors& operator=(const BusyProcessors&) = delete;

  private:
    std::atomic<bool> ending_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace platform::audio
