#include "host/scan/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "host/base/Text.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::host {
namespace {

using ProgressStyle = ProgressStream::Style;

constexpr std::chrono::seconds kWindow{30};
/// Carriage return, and erase to the end of the line.
constexpr const char* kLineStart = "\r\x1b[K";
constexpr std::size_t kUsualWidth = 80;

std::chrono::milliseconds IntervalOf(ProgressStyle style) {
  switch (style) {
    case ProgressStyle::kLines:
      return std::chrono::seconds(10);
    case ProgressStyle::kJson:
      return std::chrono::milliseconds(500);
    default:
      return std::chrono::milliseconds(200);
  }
}

std::size_t TerminalWidth() {
  winsize size{};
  const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
  return isKnown ? size.ws_col : kUsualWidth;
}

std::size_t AnyWidth() { return std::numeric_limits<std::size_t>::max(); }

/// As many of the parts as fit behind the text; a sign that there are more takes the place of the others.
std::string Fit(std::string text, const std::vector<std::string>& parts, std::size_t width) {
  constexpr std::string_view kMore = " \xE2\x80\xA6";
  const char* separator = ": ";
  for (const std::string& part : parts) {
    const bool isLast = &part == &parts.back();
    std::string longer = text;
    longer.append(separator).append(part);
    if (CharacterCount(longer) + (isLast ? 0 : CharacterCount(kMore)) > width) {
      if (CharacterCount(text) + CharacterCount(kMore) <= width) text += kMore;
      break;
    }
    text = longer;
    separator = ", ";
  }
  // Up to here there are only letters of one byte, unless it fits.
  if (CharacterCount(text) > width) text.resize(width);
  return text;
}

}  // namespace

ProgressStream::ProgressStream(const std::ostream& target, Style style, WidthOf width)
    : std::ostream(target.rdbuf()), style_(style), width_(std::move(width)) {}

std::unique_ptr<std::ostream> OpenProgress(ProgressMode mode, const std::ostream& err, bool isWatched) {
  if (mode == ProgressMode::kNone || (mode == ProgressMode::kAuto && !isWatched)) return nullptr;
  if (mode == ProgressMode::kJson) return std::make_unique<ProgressStream>(err, ProgressStyle::kJson, AnyWidth);
  if (!isWatched) return std::make_unique<ProgressStream>(err, ProgressStyle::kLines, AnyWidth);
  return std::make_unique<ProgressStream>(err, ProgressStyle::kRedrawn, TerminalWidth);
}

Progress::Progress(std::ostream* output, std::string activity, std::uint64_t totalBytes)
    : output_(output), width_(AnyWidth), activity_(std::move(activity)), totalBytes_(totalBytes) {
  if (const auto* stream = dynamic_cast<const ProgressStream*>(output)) {
    style_ = stream->GetStyle();
    width_ = [stream] { return stream->Width(); };
  }
  interval_ = IntervalOf(style_);
}

Progress::~Progress() {
  if (isDrawn_ && style_ == ProgressStyle::kRedrawn) *output_ << kLineStart << std::flush;
  if (isDrawn_ && style_ == ProgressStyle::kJson) TellProgram(RateSince(samples_.front()));
}

void Progress::CountFind(std::int32_t category) {
  if (output_ != nullptr) ++findsOfCategory_[category];
}

void Progress::Update(std::uint64_t doneBytes, std::uint64_t findCount, Time now) {
  if (output_ == nullptr) return;
  last_ = {now, doneBytes};
  findCount_ = findCount;
  if (!samples_.empty() && now - samples_.back().time < interval_) return;
  samples_.push_back(last_);
  while (samples_.size() > 2 && now - samples_[1].time >= kWindow) samples_.pop_front();
  const std::chrono::duration<double> span = now - samples_.front().time;
  const double rate = RateSince(samples_.front());
  if (style_ == ProgressStyle::kJson) {
    TellProgram(rate);
  } else {
    TellPeople(span.count(), rate);
  }
}

double Progress::RateSince(const Sample& sample) const {
  const std::chrono::duration<double> span = last_.time - sample.time;
  return span.count() > 0 ? static_cast<double>(last_.doneBytes - sample.doneBytes) / span.count() : 0;
}

double Progress::SecondsLeft(double rate) const {
  return static_cast<double>(totalBytes_ - std::min(totalBytes_, last_.doneBytes)) / rate;
}

void Progress::TellPeople(double seconds, double rate) {
  if (seconds <= 0 || totalBytes_ == 0) return;
  const double share = 100.0 * static_cast<double>(last_.doneBytes) / static_cast<double>(totalBytes_);
  std::string text = activity_ + ' ' + std::to_string(static_cast<std::uint64_t>(share)) + "%, " +
                     FormatSize(last_.doneBytes) + " of " + FormatSize(totalBytes_) + ", " +
                     FormatSize(static_cast<std::uint64_t>(rate)) + "/s, ";
  if (rate > 0) text += FormatDuration(SecondsLeft(rate)) + " left, ";
  text += std::to_string(findCount_) + " found";

  std::vector<std::pair<std::int32_t, std::uint64_t>> counts(findsOfCategory_.begin(), findsOfCategory_.end());
  std::ranges::stable_sort(counts, std::ranges::greater(), &std::pair<std::int32_t, std::uint64_t>::second);
  std::vector<std::string> parts;
  parts.reserve(counts.size());
  for (const auto& [category, count] : counts) {
    parts.push_back(std::string(CategoryName(category)) + ' ' + std::to_string(count));
  }
  // In its last column a terminal might begin the next line.
  text = Fit(text, parts, width_() - 1);
  *output_ << (style_ == ProgressStyle::kRedrawn ? kLineStart + text : text + '\n') << std::flush;
  isDrawn_ = true;
}

/// In one piece, so that no message gets between its parts. All texts in it are our own.
void Progress::TellProgram(double rate) {
  const auto rounded = [](double number) { return std::to_string(static_cast<std::uint64_t>(number)); };
  std::string text = R"({"type":"progress","phase":")" + activity_ + R"(","bytes":)" + std::to_string(last_.doneBytes) +
                     R"(,"total":)" + std::to_string(totalBytes_) + R"(,"bytes_per_second":)" + rounded(rate) +
                     R"(,"seconds_left":)" + (rate >= 1 ? rounded(SecondsLeft(rate)) : "null") + R"(,"finds":)" +
                     std::to_string(findCount_) + R"(,"finds_by_category":{)";
  const char* separator = "\"";
  for (const auto& [category, count] : findsOfCategory_) {
    text += separator + std::string(CategoryName(category)) + "\":" + std::to_string(count);
    separator = ",\"";
  }
  *output_ << text + "}}\n" << std::flush;
  isDrawn_ = true;
}

}  // namespace qzmtraw::host
