#include "host/command/TypesCommand.h"

#include <string>

#include "host/base/JsonLine.h"
#include "host/base/Text.h"
#include "host/types/Registry.h"

namespace qzmtraw::host {
namespace {

std::string TableLine(const std::string& row, const std::string& extension, const std::string& category,
                      const std::string& group, const std::string& sizes, const std::string& description) {
  return PadLeft(row, 4) + "  " + PadRight(extension, 11) + " " + PadRight(category, 18) + " " + PadRight(group, 5) +
         "  " + PadRight(sizes, 22) + "  " + description + "\n";
}

void WriteTable(const TypeCatalogue& catalogue, std::ostream& out) {
  out << TableLine("Row", "Ext", "Category", "Group", "Sizes if unknown", "Description");
  for (const TypeInfo& type : catalogue) {
    const std::string sizes =
        type.hints ? FormatSize(type.hints->least) + " to " + FormatSize(type.hints->greatest) : "";
    out << TableLine(std::to_string(type.row), Printable(type.extension), std::string(CategoryName(type.category)),
                     type.group, sizes, Printable(type.description));
  }
  out << '\n' << catalogue.size() << " file types. Those of one group share the work of reading a file.\n";
}

void WriteJsonLines(const TypeCatalogue& catalogue, std::ostream& out) {
  for (const TypeInfo& type : catalogue) {
    Json line;
    line["type"] = "file_type";
    line["row"] = type.row;
    line["extension"] = type.extension;
    line["category"] = CategoryName(type.category);
    line["group"] = type.group.empty() ? Json(nullptr) : Json(type.group);
    line["group_guid"] = type.groupGuid.empty() ? Json(nullptr) : Json(type.groupGuid);
    line["size_min"] = type.hints ? Json(type.hints->least) : Json(nullptr);
    line["size_max"] = type.hints ? Json(type.hints->greatest) : Json(nullptr);
    line["description"] = type.description;
    out << JsonLine(line);
  }
  Json summary;
  summary["type"] = "summary";
  summary["file_types"] = catalogue.size();
  out << JsonLine(summary);
}

}  // namespace

void WriteTypes(const TypeCatalogue& catalogue, OutputFormat format, std::ostream& out) {
  if (format == OutputFormat::kJsonLines) {
    WriteJsonLines(catalogue, out);
  } else {
    WriteTable(catalogue, out);
  }
}

ExitCode RunTypesCommand(OutputFormat format, const Console& console) {
  WriteTypes(ReadTypeCatalogue(OpenRegistry()), format, console.out);
  console.out.flush();
  return ExitCode::kDone;
}

}  // namespace qzmtraw::host
