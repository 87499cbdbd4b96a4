#include "host/outputs/JsonReport.h"

#include "host/base/JsonLine.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

std::string PathText(const std::string& path) { return IsUtf8(path) ? path : Printable(path); }

void WriteRanges(const SectorSet& sectors, std::ostream& out) {
  SectorSet::Cursor ranges(sectors);
  const char* separator = "";
  while (const auto range = ranges.Next()) {
    out << separator << R"({"start_sector":)" << range->first << R"(,"sectors":)" << range->count << '}';
    separator = ",";
  }
}

Json SizeOrNull(std::uint64_t size) { return size == 0 ? Json(nullptr) : Json(size); }

}  // namespace

void JsonReport::Begin(const SourceInfo& source) {
  Json line;
  line["type"] = "source";
  line["program"] = source.run.program;
  line["version"] = source.run.version;
  line["path"] = PathText(source.path);
  line["size"] = source.size;
  line["sector_size"] = source.sectorSize;
  if (source.part) {
    line["range_offset"] = source.part->offset;
    line["range_size"] = source.part->size;
    line["left_out_sectors"] = source.part->leftOutSectors;
  }
  line["file_types"] = source.typeCount;
  line["started"] = FormatUtc(source.started);
  if (!source.sha256.empty()) line["sha256"] = source.sha256;
  line["compiler"] = source.run.compiler;
  line["libraries"] = source.run.libraries;
  line["command_line"] = source.run.commandLine;
  line["host"] = source.run.host;
  line["user"] = source.run.user;
  line["uid"] = source.run.uid;
  out_ << JsonLine(line);
}

void JsonReport::Add(const FindRecord& record) {
  const bool isEstimate = record.plan.isEstimated && (record.recovered.has_value() || record.find.size != 0);
  Json line;
  line["type"] = "find";
  line["row"] = record.find.row;
  line["class"] = record.type->facts.className;
  line["extension"] = record.type->extension;
  line["category"] = CategoryName(record.type->category);
  line["description"] = record.type->description;
  line["start_sector"] = record.find.startSector;
  line["offset"] = record.plan.offset;
  line["size"] = isEstimate ? Json(record.plan.length) : SizeOrNull(record.find.size);
  line["size_estimated"] = isEstimate;
  if (record.find.size == 0) {
    const SizeHints hints = record.type->hints.value_or(SizeHints{});
    line["size_min"] = SizeOrNull(hints.least);
    line["size_max"] = SizeOrNull(hints.greatest);
  }
  line["truncated"] = record.plan.isTruncated;
  line["confidence"] = ConfidenceName(record.confidence);
  line["embedded_in"] = nullptr;
  if (record.embeddedIn) {
    line["embedded_in"] = Json{{"start_sector", record.embeddedIn->startSector}, {"row", record.embeddedIn->row}};
  }
  line["verdict"] = record.verdict == Verdict::kNotLooked ? Json(nullptr) : Json(VerdictName(record.verdict));
  line["content"] = record.content.empty() ? Json(nullptr) : Json(PathText(record.content));
  line["notes"] = record.notes;
  if (record.recovered) {
    line["path"] = record.recovered->path ? Json(PathText(*record.recovered->path)) : Json(nullptr);
    line["written"] = record.recovered->path ? record.plan.length : 0;
  }
  out_ << JsonLine(line);
}

void JsonReport::End(const Summary& summary, const SectorSet& unreadable) {
  Json line;
  line["type"] = "summary";
  line["finds"] = summary.findCount;
  line["finds_by_extension"] = summary.findsByExtension;
  line["bytes"] = summary.bytesScanned;
  line["seconds"] = summary.seconds;
  line["size_at_end"] = summary.sizeAtEnd;
  line["ended"] = FormatUtc(summary.ended);
  if (summary.filesWritten) line["files_written"] = *summary.filesWritten;
  line["interrupted"] = summary.isInterrupted;
  line["error"] = summary.error.empty() ? Json(nullptr) : Json(PathText(summary.error));
  line["unreadable_sectors"] = unreadable.Count();
  // There may be more ranges than fit into memory, so they are written one by one.
  std::string text = JsonLine(line);
  text.resize(text.rfind('}'));
  out_ << text << R"(,"unreadable_ranges":[)";
  WriteRanges(unreadable, out_);
  if (summary.skipped != nullptr) {
    out_ << R"(],"skipped_sectors":)" << summary.skipped->Count() << R"(,"skipped_ranges":[)";
    WriteRanges(*summary.skipped, out_);
  }
  out_ << "]}\n";
}

}  // namespace qzmtraw::host
