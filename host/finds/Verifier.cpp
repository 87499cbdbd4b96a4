#include "host/finds/Verifier.h"

#include <algorithm>
#include <array>

namespace qzmtraw::host {
namespace {

struct MimeRule {
  std::string_view extension;
  std::string_view beginning;
};

#define MIME(extension, beginning) MimeRule{extension, beginning},
constexpr auto kMimeRules = std::to_array<MimeRule>({
#include "host/finds/MimeTypes.def"
});
#undef MIME

struct EndMarkRule {
  std::string_view extension;
  std::string_view mark;
  std::size_t distance;
};

#define END_MARK(extension, mark, distance) EndMarkRule{extension, std::string_view(mark, sizeof(mark) - 1), distance},
constexpr std::array kEndMarkRules = {
#include "host/finds/EndMarks.def"
};
#undef END_MARK

/// What libmagic says when it knows nothing, and of everything that looks like text.
constexpr std::array<std::string_view, 4> kSayLittle = {"application/octet-stream", "text/", "application/x-empty",
                                                        "inode/"};

}  // namespace

Verdict VerdictOnMimeType(std::string_view extension, std::string_view mimeType) {
  bool isKnown = false;
  for (const MimeRule& rule : kMimeRules) {
    if (rule.extension != extension) continue;
    if (mimeType.starts_with(rule.beginning)) return Verdict::kConfirmed;
    isKnown = true;
  }
  const bool saysLittle = mimeType.empty() || std::ranges::any_of(kSayLittle, [&](std::string_view beginning) {
                            return mimeType.starts_with(beginning);
                          });
  return isKnown && !saysLittle ? Verdict::kContradicted : Verdict::kUndecided;
}

EndMark EndMarkIn(std::string_view extension, std::span<const std::uint8_t> tail) {
  const auto rule = std::ranges::find(kEndMarkRules, extension, &EndMarkRule::extension);
  if (rule == kEndMarkRules.end()) return EndMark::kNotKnown;
  const auto place = tail.last(std::min(rule->distance, tail.size()));
  const auto isSame = [](std::uint8_t byte, char c) { return byte == static_cast<std::uint8_t>(c); };
  const auto found = std::search(place.begin(), place.end(), rule->mark.begin(), rule->mark.end(), isSame);
  return found == place.end() ? EndMark::kMissing : EndMark::kPresent;
}

void Verifier::Look(FindRecord& record, const Device::StopCheck& stop) {
  const CarvePlan& plan = record.plan;
  const std::string& extension = record.type->extension;
  const std::span<const std::uint8_t> head = Read(plan.offset, std::min<std::uint64_t>(plan.length, kGuessBytes), stop);
  if (head.empty()) return;
  record.content = guess_.MimeTypeOf(head);
  record.verdict = VerdictOnMimeType(extension, record.content);
  if (record.verdict == Verdict::kContradicted) {
    record.confidence = Confidence::kDoubtful;
    return;
  }
  if (plan.isEstimated || plan.isTruncated) return;
  const std::uint64_t tailLength = std::min<std::uint64_t>(plan.length, kTailBytes);
  const std::span<const std::uint8_t> tail = Read(plan.offset + (plan.length - tailLength), tailLength, stop);
  if (tail.empty()) return;
  switch (EndMarkIn(extension, tail)) {
    case EndMark::kPresent:
      record.verdict = Verdict::kConfirmed;
      record.confidence = Confidence::kCheckedEnd;
      break;
    case EndMark::kMissing:
      record.confidence = std::min(record.confidence, Confidence::kStartOnly);
      record.notes.emplace_back(kNoteNoEndMark);
      break;
    case EndMark::kNotKnown:
      break;
  }
}

/// Bytes of the device, or none if they can't be read.
std::span<const std::uint8_t> Verifier::Read(std::uint64_t offset, std::uint64_t length,
                                             const Device::StopCheck& stop) {
  if (length == 0) return {};
  const std::uint32_t sectorSize = device_.SectorSize();
  const std::uint64_t first = offset / sectorSize;
  const auto skipped = static_cast<std::size_t>(offset % sectorSize);
  const std::uint64_t sectors = (skipped + length - 1) / sectorSize + 1;
  buffer_.resize(static_cast<std::size_t>(sectors * sectorSize));
  if (!device_.Read(first, buffer_, stop)) return {};
  return std::span(buffer_).subspan(skipped, static_cast<std::size_t>(length));
}

}  // namespace qzmtraw::host
