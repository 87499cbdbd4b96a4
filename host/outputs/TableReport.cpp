#include "host/outputs/TableReport.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/base/Text.h"
#include "host/finds/FindJudge.h"

namespace qzmtraw::host {
namespace {

constexpr std::size_t kSectorWidth = 12;
constexpr std::size_t kOffsetWidth = 16;
constexpr std::size_t kSizeWidth = 30;
constexpr std::size_t kConfidenceWidth = 11;
constexpr std::size_t kExtensionWidth = 11;
constexpr std::size_t kDescriptionWidth = 44;

std::string ExactSize(std::uint64_t bytes) {
  if (bytes < 1024) return FormatSize(bytes);
  return FormatSize(bytes) + " (" + std::to_string(bytes) + ")";
}

std::string SizeText(const FindRecord& record) {
  if (record.find.size != 0) {
    return record.plan.isEstimated ? "up to " + ExactSize(record.plan.length) : ExactSize(record.find.size);
  }
  const std::optional<SizeHints>& hints = record.type->hints;
  if (!hints) return "unknown";
  return "unknown, " + FormatSize(hints->least) + " to " + FormatSize(hints->greatest);
}

std::string NoteOn(const FindRecord& record) {
  std::string note;
  if (record.recovered) {
    note = record.recovered->path ? Printable(*record.recovered->path) : "not written";
    if (record.embeddedIn && !record.recovered->path) note = "not copied";
    if (record.plan.isEstimated && record.recovered->path)
      note += " (estimated: " + ExactSize(record.plan.length) + ")";
  }
  const auto add = [&note](const std::string& text) { note += (note.empty() ? "(" : " (") + text + ")"; };
  if (record.embeddedIn) add("inside the find at " + std::to_string(record.embeddedIn->startSector));
  if (record.plan.isTruncated) add(kNoteTruncated);
  for (const std::string& each : record.notes) {
    if (each != kNoteEstimated && each != kNoteTruncated) add(Printable(each));
  }
  if (record.verdict == Verdict::kContradicted) add("looks like " + Printable(record.content));
  return note;
}

/// The two columns of it. Embedded finds are indented.
std::string ExtensionText(const FindRecord& record) {
  return PadRight(std::string(ConfidenceName(record.confidence)), kConfidenceWidth) + "  " +
         (record.embeddedIn ? "  " : "") + Printable(record.type->extension);
}

std::string Row(const std::string& sector, const std::string& offset, const std::string& size,
                const std::string& extension, const std::string& description, const std::string& note) {
  std::string line = PadLeft(sector, kSectorWidth) + "  " + PadLeft(offset, kOffsetWidth) + "  " +
                     PadRight(size, kSizeWidth) + "  " + PadRight(extension, kConfidenceWidth + 2 + kExtensionWidth) +
                     " ";
  line += note.empty() ? description : PadRight(description, kDescriptionWidth) + "  " + note;
  line.resize(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

std::string ByExtension(const std::map<std::string, std::uint64_t>& finds) {
  std::vector<std::pair<std::string, std::uint64_t>> counts(finds.begin(), finds.end());
  std::ranges::stable_sort(counts, [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text;
  for (const auto& [extension, count] : counts) {
    if (!text.empty()) text += ", ";
    text += std::to_string(count) + ' ' + Printable(extension);
  }
  return text;
}

}  // namespace

void TableReport::Begin(const SourceInfo& source) {
  source_ = source;
  out_ << "Source: " << Printable(source.path) << ", " << FormatSize(source.size) << " (" << source.size
       << " bytes), sectors of " << source.sectorSize << " bytes\n";
  const Provenance& run = source.run;
  if (!run.program.empty()) {
    out_ << "Listed by " << run.program << ' ' << run.version << " for " << run.user << " on " << run.host << " since "
         << FormatUtc(source.started) << ": " << run.commandLine << '\n';
  }
  if (!source.part) return;
  out_ << "Scanned: bytes " << source.part->offset << " to " << source.part->offset + source.part->size << ", "
       << FormatSize(source.part->size);
  if (const std::uint64_t count = source.part->leftOutSectors; count != 0)
    out_ << ", without " << CountText(count, "sector that is", "sectors that are") << " in use";
  out_ << '\n';
}

void TableReport::Add(const FindRecord& record) {
  if (!hasHeader_)
    out_ << '\n' << Row("Sector", "Offset", "Size", "Confidence   Ext", "Description", record.recovered ? "File" : "");
  hasHeader_ = true;
  out_ << Row(std::to_string(record.find.startSector), std::to_string(record.plan.offset), SizeText(record),
              ExtensionText(record), Printable(record.type->description), NoteOn(record));
}

void TableReport::End(const Summary& summary, const SectorSet& unreadable) {
  AddSectors(unreadable, "Could not be read");
  if (summary.skipped != nullptr) AddSectors(*summary.skipped, "Skipped: not rescued");
  if (hasHeader_) out_ << '\n';
  if (!summary.error.empty()) {
    out_ << "Failed. ";
  } else if (summary.isInterrupted) {
    out_ << "Interrupted. ";
  }
  if (summary.findCount == 0) {
    out_ << "Nothing found";
  } else {
    out_ << CountText(summary.findCount, "find", "finds") << " (" << ByExtension(summary.findsByExtension) << ")";
  }
  if (summary.filesWritten) out_ << ", " << CountText(*summary.filesWritten, "file", "files") << " written";
  out_ << "; scanned " << FormatSize(summary.bytesScanned) << " (" << summary.bytesScanned << " of " << source_.size
       << " bytes) for " << CountText(source_.typeCount, "file type", "file types") << " in "
       << FormatDuration(summary.seconds);
  if (summary.seconds > 0) {
    const double rate = static_cast<double>(summary.bytesScanned) / summary.seconds;
    out_ << ", " << FormatSize(static_cast<std::uint64_t>(rate)) << "/s";
  }
  const std::uint64_t bad = unreadable.Count();
  if (bad != 0) out_ << "; " << CountText(bad, "sector", "sectors") << " could not be read";
  if (summary.skipped != nullptr && summary.skipped->Count() != 0)
    out_ << "; " << CountText(summary.skipped->Count(), "sector was", "sectors were") << " skipped";
  if (summary.sizeAtEnd != source_.size) out_ << "; the source now has " << summary.sizeAtEnd << " bytes";
  out_ << ".\n";
}

/// Lists ranges of sectors.
void TableReport::AddSectors(const SectorSet& sectors, const std::string& title) {
  if (sectors.Count() == 0) return;
  out_ << '\n' << Row("Sector", "Offset", title, "", "", "");
  SectorSet::Cursor ranges(sectors);
  while (const auto range = ranges.Next()) {
    out_ << Row(std::to_string(range->first), std::to_string(range->first * source_.sectorSize),
                CountText(range->count, "sector", "sectors"), "", "", "");
  }
  hasHeader_ = true;
}

}  // namespace qzmtraw::host
