#ifndef QZMTRAW_HOST_OUTPUTS_OUTPUT_OPTIONS_H
#define QZMTRAW_HOST_OUTPUTS_OUTPUT_OPTIONS_H

#include <string>
#include <string_view>
#include <vector>

namespace qzmtraw::host {

/// How lists are written.
enum class OutputFormat {
  /// For people.
  kTable,
  /// One JSON object a line, for programs.
  kJsonLines,
  /// One find a line, for spreadsheets.
  kCsv,
  /// Digital Forensics XML.
  kDfxml,
  /// An SQLite database; only into a file.
  kSqlite,
  /// Not at all.
  kNone,
};

/// A file that takes a list.
struct OutputTarget {
  OutputFormat format = OutputFormat::kTable;
  std::string path{};
};

/// Where lists go.
struct OutputOptions {
  /// Of the list on standard output.
  OutputFormat format = OutputFormat::kTable;
  std::vector<OutputTarget> files{};
};

/// Takes apart what the user said: "FORMAT:FILE", or "FILE" with an extension that tells the format. Throws UsageError
/// where it doesn't.
OutputTarget OutputTargetOf(std::string_view text);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_OUTPUT_OPTIONS_H
