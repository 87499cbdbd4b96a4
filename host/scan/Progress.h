#ifndef QZMTRAW_HOST_SCAN_PROGRESS_H
#define QZMTRAW_HOST_SCAN_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>

namespace qzmtraw::host {

/// How to tell how far the work has come.
enum class ProgressMode {
  /// A line where somebody watches, otherwise nothing.
  kAuto,
  kNone,
  /// A line, also where no terminal is known to redraw it: there a new one now and then.
  kLine,
  /// JSON objects, for programs.
  kJson,
};

/// A stream that states how progress is to be written to it. Progress treats other streams as terminals.
class ProgressStream final : public std::ostream {
 public:
  enum class Style { kRedrawn, kLines, kJson };
  /// Tells how many characters fit into a line. Asked for each line.
  using WidthOf = std::function<std::size_t()>;

  /// \param target  Where it all goes; must live as long as this.
  ProgressStream(const std::ostream& target, Style style, WidthOf width);

  [[nodiscard]] Style GetStyle() const { return style_; }
  [[nodiscard]] std::size_t Width() const { return width_(); }

 private:
  Style style_;
  WidthOf width_;
};

/// What to give to Progress, or null where nothing is to be told.
/// \param err        The error output; must live as long as the stream.
/// \param isWatched  It is a terminal on which a line can be redrawn.
std::unique_ptr<std::ostream> OpenProgress(ProgressMode mode, const std::ostream& err, bool isWatched);

/// Tells how far the work has come: share, bytes, rate, time left, finds. The rate is that of the last thirty seconds,
/// so that a slow stretch of the device doesn't spoil the time left for good.
class Progress {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// \param output     Where it is told; null: nowhere.
  /// \param activity   First word of the line, such as "scanning".
  /// \param totalBytes What is to be done in all.
  Progress(std::ostream* output, std::string activity, std::uint64_t totalBytes);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Erases the line, or tells a program how it all ended.
  ~Progress();

  /// Counts a find of a category, see CategoryName. Without such calls nothing is told about categories.
  void CountFind(std::int32_t category);

  /// Tells anew, if the last time is long enough ago. The first call only starts the clock of a line.
  void Update(std::uint64_t doneBytes, std::uint64_t findCount, Time now = std::chrono::steady_clock::now());

 private:
  struct Sample {
    Time time{};
    std::uint64_t doneBytes = 0;
  };

  void TellPeople(double seconds, double rate);
  void TellProgram(double rate);
  [[nodiscard]] double RateSince(const Sample& sample) const;
  [[nodiscard]] double SecondsLeft(double rate) const;

  std::ostream* output_;
  ProgressStream::Style style_ = ProgressStream::Style::kRedrawn;
  ProgressStream::WidthOf width_;
  std::chrono::milliseconds interval_{};
  std::string activity_;
  std::uint64_t totalBytes_;
  /// Those of the window, and the last one before it.
  std::deque<Sample> samples_;
  Sample last_;
  std::uint64_t findCount_ = 0;
  std::map<std::int32_t, std::uint64_t> findsOfCategory_;
  bool isDrawn_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_PROGRESS_H
