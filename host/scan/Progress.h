#ifndef QZMTRAW_HOST_SCAN_PROGRESS_H
#define QZMTRAW_HOST_SCAN_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <ostream>
#include <string>

namespace qzmtraw::host {

/// A line on a terminal that tells how far the work has come: share, bytes, rate, time left, finds. The rate is that
/// of the last ten seconds, so that a slow stretch of the device doesn't spoil the time left for good.
class Progress {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// \param terminal   Where the line is drawn; null: nowhere.
  /// \param activity   First word of the line, such as "scanning".
  /// \param totalBytes What is to be done in all.
  Progress(std::ostream* terminal, std::string activity, std::uint64_t totalBytes);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Erases the line.
  ~Progress();

  /// Draws the line anew, at most five times a second. The first call only starts the clock.
  void Update(std::uint64_t doneBytes, std::uint64_t findCount, Time now = std::chrono::steady_clock::now());

 private:
  struct Sample {
    Time time;
    std::uint64_t doneBytes = 0;
  };

  std::ostream* terminal_;
  std::string activity_;
  std::uint64_t totalBytes_;
  std::deque<Sample> samples_;
  bool isDrawn_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_PROGRESS_H
