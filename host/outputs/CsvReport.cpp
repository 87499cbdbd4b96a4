#include "host/outputs/CsvReport.h"

#include <string_view>

#include "host/base/Text.h"
#include "host/outputs/FindFields.h"

namespace qzmtraw::host {
namespace {

constexpr std::string_view kColumns =
    "row,class,extension,category,description,start_sector,offset,size,size_estimated,size_min,size_max,truncated,"
    "confidence,embedded_in_sector,embedded_in_row,verdict,content,notes,path,written,sha256,duplicate\r\n";

/// Puts fields beside each other.
class Line {
 public:
  void Add(std::uint64_t number) { AddPlain(std::to_string(number)); }
  void Add(const std::optional<std::uint64_t>& number) { AddPlain(number ? std::to_string(*number) : std::string()); }
  void AddFlag(bool flag) { AddPlain(flag ? "true" : "false"); }

  void AddText(std::string_view text) {
    constexpr std::string_view kFormula = "=+-@";
    std::string field = Printable(text);
    if (!field.empty() && kFormula.find(field.front()) != std::string_view::npos) field.insert(0, "'");
    if (field.find_first_of(",\"") == std::string::npos) {
      AddPlain(field);
      return;
    }
    std::string quoted = "\"";
    for (const char c : field) {
      quoted += c;
      if (c == '"') quoted += c;
    }
    AddPlain(quoted + '"');
  }

  [[nodiscard]] std::string Text() const { return text_ + "\r\n"; }

 private:
  void AddPlain(std::string_view field) {
    if (!isFirst_) text_ += ',';
    isFirst_ = false;
    text_ += field;
  }

  std::string text_;
  bool isFirst_ = true;
};

std::string Joined(const std::vector<std::string>& notes) {
  std::string text;
  for (const std::string& note : notes) text += (text.empty() ? "" : "; ") + note;
  return text;
}

}  // namespace

void CsvReport::Begin(const SourceInfo& /*source*/) { out_ << kColumns; }

void CsvReport::Add(const FindRecord& record) {
  const FindSizes sizes = SizesOf(record);
  const RecoveredFile file = record.recovered.value_or(RecoveredFile{});
  Line line;
  line.Add(static_cast<std::uint64_t>(record.find.row));
  line.AddText(record.type->facts.className);
  line.AddText(record.type->extension);
  line.AddText(CategoryName(record.type->category));
  line.AddText(record.type->description);
  line.Add(record.find.startSector);
  line.Add(record.plan.offset);
  line.Add(sizes.size);
  line.AddFlag(sizes.isEstimated);
  line.Add(sizes.least);
  line.Add(sizes.greatest);
  line.AddFlag(record.plan.isTruncated);
  line.AddText(ConfidenceName(record.confidence));
  line.Add(record.embeddedIn ? std::optional(record.embeddedIn->startSector) : std::nullopt);
  line.Add(record.embeddedIn ? std::optional(static_cast<std::uint64_t>(record.embeddedIn->row)) : std::nullopt);
  line.AddText(VerdictName(record.verdict));
  line.AddText(record.content);
  line.AddText(Joined(record.notes));
  line.AddText(file.path.value_or(std::string()));
  line.Add(sizes.written);
  line.AddText(file.sha256);
  line.AddFlag(file.isDuplicate);
  out_ << line.Text();
}

void CsvReport::End(const Summary& /*summary*/, const SectorSet& /*unreadable*/) {}

}  // namespace qzmtraw::host
