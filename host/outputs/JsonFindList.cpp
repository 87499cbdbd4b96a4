#include <limits>

#include "host/base/Error.h"
#include "host/base/JsonLine.h"
#include "host/base/Text.h"
#include "host/outputs/FindListFormat.h"
#include "host/outputs/TextLines.h"

namespace qzmtraw::host {
namespace {

/// No line that is written comes near to so many characters, apart from its ranges of sectors.
constexpr std::size_t kMostCharacters = 1U << 20U;

/// Nor is anything nested so deeply.
constexpr int kMostLevels = 16;

constexpr const char* kRanges = "unreadable_ranges";

/// A line as an object. Its members are there, and of the kind that is asked for, or Failure is thrown.
class LineFields {
 public:
  LineFields(const Json& line, std::string where) : line_(line), where_(std::move(where)) {}

  [[nodiscard]] const std::string& Where() const { return where_; }

  /// Whether the member is there and isn't null.
  [[nodiscard]] bool Has(const char* name) const {
    const auto member = line_.find(name);
    return member != line_.end() && !member->is_null();
  }

  [[nodiscard]] std::uint64_t Number(const char* name, std::uint64_t most) const {
    const Json& value = At(name);
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > most) Fail(name);
    return value.get<std::uint64_t>();
  }

  [[nodiscard]] std::uint64_t NumberOr0(const char* name) const {
    return Has(name) ? Number(name, std::numeric_limits<std::uint64_t>::max()) : 0;
  }

  [[nodiscard]] bool Flag(const char* name) const {
    if (!Has(name)) return false;
    const Json& value = At(name);
    if (!value.is_boolean()) Fail(name);
    return value.get<bool>();
  }

  [[nodiscard]] std::string Text(const char* name) const {
    const Json& value = At(name);
    if (!value.is_string()) Fail(name);
    return value.get<std::string>();
  }

  [[nodiscard]] std::string TextOrNone(const char* name) const { return Has(name) ? Text(name) : std::string(); }

  [[nodiscard]] std::vector<std::string> Texts(const char* name) const {
    std::vector<std::string> texts;
    if (!Has(name)) return texts;
    const Json& value = At(name);
    if (!value.is_array()) Fail(name);
    for (const Json& each : value) {
      if (!each.is_string()) Fail(name);
      texts.push_back(each.get<std::string>());
    }
    return texts;
  }

  [[nodiscard]] std::optional<LineFields> Object(const char* name) const {
    if (!Has(name)) return std::nullopt;
    const Json& value = At(name);
    if (!value.is_object()) Fail(name);
    return LineFields(value, where_);
  }

 private:
  [[nodiscard]] const Json& At(const char* name) const {
    const auto member = line_.find(name);
    if (member == line_.end()) Fail(name);
    return *member;
  }

  [[noreturn]] void Fail(const char* name) const {
    ListRules::Fail(std::string("\"") + name + "\" is missing or isn't what belongs there", where_);
  }

  const Json& line_;
  std::string where_;
};

/// A find's place and row.
Find FindIn(const LineFields& fields) {
  Find find;
  find.startSector = fields.Number("start_sector", std::numeric_limits<std::uint64_t>::max());
  find.row = static_cast<std::int32_t>(fields.Number("row", std::numeric_limits<std::int32_t>::max()));
  return find;
}

ListedFind ListedFindIn(const LineFields& fields) {
  ListedFind listed;
  listed.find = FindIn(fields);
  const std::uint64_t size = fields.NumberOr0("size");
  if (fields.Flag("size_estimated")) {
    listed.estimatedSize = size;
  } else {
    listed.find.size = size;
  }
  if (fields.Has("confidence")) {
    listed.confidence = ListRules::ConfidenceNamed(fields.Text("confidence"), fields.Where());
  }
  if (fields.Has("verdict")) listed.verdict = ListRules::VerdictNamed(fields.Text("verdict"), fields.Where());
  if (const auto around = fields.Object("embedded_in")) {
    listed.embeddedIn = FindIn(*around);
    listed.embeddedIn->size = around->NumberOr0("size");
  }
  listed.content = fields.TextOrNone("content");
  listed.notes = fields.Texts("notes");
  if (fields.Has("path") || fields.Has("written")) {
    RecoveredFile file;
    if (fields.Has("path")) file.path = fields.Text("path");
    file.sha256 = fields.TextOrNone("sha256");
    file.isDuplicate = fields.Flag("duplicate");
    listed.recovered = file;
  }
  return listed;
}

SourceInfo SourceIn(const LineFields& fields) {
  SourceInfo source;
  source.path = fields.Text("path");
  source.size = fields.Number("size", std::numeric_limits<std::uint64_t>::max());
  source.sectorSize =
      static_cast<std::uint32_t>(fields.Number("sector_size", std::numeric_limits<std::uint32_t>::max()));
  source.typeCount = fields.NumberOr0("file_types");
  source.sha256 = fields.TextOrNone("sha256");
  source.run.program = fields.TextOrNone("program");
  source.run.version = fields.TextOrNone("version");
  source.run.compiler = fields.TextOrNone("compiler");
  source.run.commandLine = fields.TextOrNone("command_line");
  source.run.host = fields.TextOrNone("host");
  source.run.user = fields.TextOrNone("user");
  source.run.uid = fields.NumberOr0("uid");
  return source;
}

class JsonFindList final : public FindListReader::IFormat {
 public:
  JsonFindList(const std::string& path, const TypeCatalogue& catalogue) : lines_(path), rules_(catalogue) {
    while (lines_.NextLine()) {
      const std::optional<Json> line = ReadLine(nullptr);
      if (!line) break;
      const LineFields fields(*line, lines_.Where());
      const std::string type = fields.TextOrNone("type");
      if (type == "source") {
        rules_.SetSource(SourceIn(fields), fields.Where());
        return;
      }
      if (type == "find" || type == "summary") break;
    }
    throw Failure(Quoted(path) + " has no line for the source: give a list as this program wrote it");
  }

  [[nodiscard]] const SourceInfo& Source() const override { return rules_.Source(); }
  [[nodiscard]] const ListEnd& End() const override { return end_; }

  std::optional<ListedFind> Next() override {
    while (lines_.NextLine()) {
      if (summaryLine_ != 0) ListRules::Fail("it goes on behind its summary", lines_.Where());
      const std::uint64_t offset = lines_.Offset();
      const std::optional<Json> line = ReadLine(nullptr);
      if (!line) break;
      const LineFields fields(*line, lines_.Where());
      const std::string type = fields.TextOrNone("type");
      if (type == "source") ListRules::Fail("there is a second source", fields.Where());
      if (type == "summary") {
        summaryOffset_ = offset;
        summaryLine_ = lines_.Number();
        TakeSummary(fields);
      }
      if (type != "find") continue;
      ListedFind find = ListedFindIn(fields);
      rules_.Check(find, fields.Text("extension"), fields.Where());
      return find;
    }
    return std::nullopt;
  }

  void ReadUnreadable(const std::function<void(const SectorRange&)>& take) override {
    if (summaryLine_ == 0) return;
    lines_.GoTo(summaryOffset_, summaryLine_);
    ReadLine(take);
  }

 private:
  /// Takes the line in and goes to the next. Ranges of sectors go to `take`, if it is something, and don't stay.
  /// \return None: the line was cut off.
  std::optional<Json> ReadLine(const std::function<void(const SectorRange&)>& take) {
    std::string key;
    const auto watch = [&](int depth, Json::parse_event_t event, Json& value) {
      if (depth > kMostLevels) ListRules::Fail("it is nested too deeply", lines_.Where());
      if (event == Json::parse_event_t::key && depth == 1) key = value.get<std::string>();
      if (event != Json::parse_event_t::object_end || depth != 2 || key != kRanges) return true;
      const LineFields fields(value, lines_.Where());
      const SectorRange range{fields.NumberOr0("start_sector"), fields.NumberOr0("sectors")};
      rules_.Check(range, lines_.Where());
      if (take) take(range);
      lines_.SetAllowance(kMostCharacters);
      return false;
    };
    lines_.SetAllowance(kMostCharacters);
    Json line = Json::parse(TextLines::Iterator(lines_), TextLines::Iterator(), watch, false);
    const bool isWhole = lines_.Finish();
    if (line.is_object()) return line;
    if (!isWhole) return std::nullopt;
    ListRules::Fail("it is no JSON object", lines_.Where());
  }

  void TakeSummary(const LineFields& fields) {
    end_.error = fields.TextOrNone("error");
    end_.ending = ListEnding::kFinished;
    if (fields.Flag("interrupted")) end_.ending = ListEnding::kInterrupted;
    if (fields.Has("error")) end_.ending = ListEnding::kFailed;
    end_.bytesScanned = fields.NumberOr0("bytes");
    end_.sizeAtEnd = fields.NumberOr0("size_at_end");
    end_.unreadableSectors = fields.NumberOr0("unreadable_sectors");
  }

  TextLines lines_;
  ListRules rules_;
  ListEnd end_;
  /// Where the summary begins, and its number; 0: there is none so far.
  std::uint64_t summaryOffset_ = 0;
  std::uint64_t summaryLine_ = 0;
};

}  // namespace

std::unique_ptr<FindListReader::IFormat> OpenJsonList(const std::string& path, const TypeCatalogue& catalogue) {
  return std::make_unique<JsonFindList>(path, catalogue);
}

}  // namespace qzmtraw::host
