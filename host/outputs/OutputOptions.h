#ifndef QZMTRAW_HOST_OUTPUTS_OUTPUT_OPTIONS_H
#define QZMTRAW_HOST_OUTPUTS_OUTPUT_OPTIONS_H

namespace qzmtraw::host {

/// How lists are written.
enum class OutputFormat {
  /// For people.
  kTable,
  /// One JSON object a line, for programs.
  kJsonLines,
};

/// Where lists go.
struct OutputOptions {
  /// Of the list on standard output.
  OutputFormat format = OutputFormat::kTable;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_OUTPUT_OPTIONS_H
