#include "host/command/TypesCommand.h"

#include <string>
#include <string_view>

#include "host/base/JsonLine.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/types/Registry.h"
#include "host/types/TypeSelection.h"

namespace qzmtraw::host {
namespace {

/// Longer rules are cut in tables, to so many characters.
constexpr std::size_t kRuleWidth = 100;

std::string TableLine(const std::string& row, const std::string& extension, const std::string& className,
                      const std::string& category, const std::string& group, const std::string& sizeSource,
                      const std::string& sizes, const std::string& description, const std::string& rule) {
  return PadLeft(row, 4) + "  " + PadRight(extension, 11) + " " + PadRight(className, 26) + "  " +
         PadRight(category, 18) + " " + PadRight(group, 5) + "  " + PadRight(sizeSource, 7) + "  " +
         PadRight(sizes, 22) + "  " + PadRight(description, 44) + "  " + rule + "\n";
}

/// The beginning of a text, up to a whole character.
std::string Shortened(std::string_view text) {
  if (text.size() <= kRuleWidth) return std::string(text);
  std::size_t end = kRuleWidth;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return std::string(text.substr(0, end)) + "…";
}

std::string SizesOf(const TypeInfo& type) {
  return type.hints ? FormatSize(type.hints->least) + " to " + FormatSize(type.hints->greatest) : "";
}

void WriteTable(const TypeCatalogue& catalogue, const std::vector<std::int32_t>& rows, std::ostream& out) {
  out << TableLine("Row", "Ext", "Class", "Category", "Group", "Size", "Sizes if unknown", "Description",
                   "How it is found");
  for (const std::int32_t row : rows) {
    const TypeInfo& type = catalogue.at(static_cast<std::size_t>(row));
    out << TableLine(std::to_string(type.row), Printable(type.extension), std::string(type.facts.className),
                     std::string(CategoryName(type.category)), type.group, std::string(SizeSourceName(type.facts.size)),
                     SizesOf(type), Printable(type.description), Shortened(type.rule.start));
  }
  out << '\n'
      << CountText(rows.size(), "file type", "file types")
      << ". Those of one group share the work of reading a file.\n";
}

Json TextOrNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

void WriteJsonLines(const TypeCatalogue& catalogue, const std::vector<std::int32_t>& rows, std::ostream& out) {
  for (const std::int32_t row : rows) {
    const TypeInfo& type = catalogue.at(static_cast<std::size_t>(row));
    Json line;
    line["type"] = "file_type";
    line["row"] = type.row;
    line["extension"] = type.extension;
    line["class"] = type.facts.className;
    line["category"] = CategoryName(type.category);
    line["group"] = TextOrNull(type.group);
    line["group_guid"] = TextOrNull(type.groupGuid);
    line["size_source"] = SizeSourceName(type.facts.size);
    line["size_reliable"] = type.facts.size != SizeSource::kNone && type.facts.reach != Reach::kFarOn;
    line["size_min"] = type.hints ? Json(type.hints->least) : Json(nullptr);
    line["size_max"] = type.hints ? Json(type.hints->greatest) : Json(nullptr);
    line["size_limit"] = type.greatestSize == 0 ? Json(nullptr) : Json(type.greatestSize);
    line["size_limit_settable"] = type.rule.isGreatestSizeSettable;
    line["container"] = type.facts.holdsFiles;
    line["description"] = type.description;
    line["start_rule"] = type.rule.start;
    line["size_rule"] = type.rule.size;
    out << JsonLine(line);
  }
  Json summary;
  summary["type"] = "summary";
  summary["file_types"] = rows.size();
  out << JsonLine(summary);
}

}  // namespace

void WriteTypes(const TypeCatalogue& catalogue, const std::vector<std::int32_t>& rows, OutputFormat format,
                std::ostream& out) {
  if (format == OutputFormat::kJsonLines) {
    WriteJsonLines(catalogue, rows, out);
  } else {
    WriteTable(catalogue, rows, out);
  }
}

ExitCode RunTypesCommand(const TypeOptions& options, OutputFormat format, const Console& console) {
  TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
  const TypeChoice choice = ChooseTypes(catalogue, options, UsualProfilePlaces());
  for (const std::string& warning : choice.warnings) console.err << kProgramName << ": " << warning << '\n';
  WriteTypes(catalogue, choice.rows, format, console.out);
  console.out.flush();
  return ExitCode::kDone;
}

}  // namespace qzmtraw::host
