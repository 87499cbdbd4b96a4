#include "host/scan/Progress.h"

#include <utility>

#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

constexpr std::chrono::milliseconds kInterval{200};
constexpr std::chrono::seconds kWindow{10};
/// Carriage return, and erase to the end of the line.
constexpr const char* kLineStart = "\r\x1b[K";

}  // namespace

Progress::Progress(std::ostream* terminal, std::string activity, std::uint64_t totalBytes)
    : terminal_(terminal), activity_(std::move(activity)), totalBytes_(totalBytes) {}

Progress::~Progress() {
  if (isDrawn_) *terminal_ << kLineStart << std::flush;
}

void Progress::Update(std::uint64_t doneBytes, std::uint64_t findCount, Time now) {
  if (terminal_ == nullptr) return;
  if (!samples_.empty() && now - samples_.back().time < kInterval) return;
  samples_.push_back({now, doneBytes});
  while (now - samples_.front().time > kWindow) samples_.pop_front();
  const std::chrono::duration<double> span = now - samples_.front().time;
  if (span.count() <= 0 || totalBytes_ == 0) return;

  const double rate = static_cast<double>(doneBytes - samples_.front().doneBytes) / span.count();
  const auto percent =
      static_cast<std::uint64_t>(100.0 * static_cast<double>(doneBytes) / static_cast<double>(totalBytes_));
  *terminal_ << kLineStart << activity_ << ' ' << percent << "%, " << FormatSize(doneBytes) << " of "
             << FormatSize(totalBytes_) << ", " << FormatSize(static_cast<std::uint64_t>(rate)) << "/s, ";
  if (rate > 0) *terminal_ << FormatDuration(static_cast<double>(totalBytes_ - doneBytes) / rate) << " left, ";
  *terminal_ << findCount << " found" << std::flush;
  isDrawn_ = true;
}

}  // namespace qzmtraw::host
