#include "host/outputs/Report.h"

#include <array>

#include "host/outputs/JsonReport.h"
#include "host/outputs/TableReport.h"

namespace qzmtraw::host {

std::string_view ConfidenceName(Confidence confidence) {
  constexpr std::array<std::string_view, 4> kNames = {"doubtful", "start-only", "from-header", "checked-end"};
  return kNames.at(static_cast<std::size_t>(confidence));
}

std::string_view VerdictName(Verdict verdict) {
  constexpr std::array<std::string_view, 4> kNames = {"not-looked", "undecided", "confirmed", "contradicted"};
  return kNames.at(static_cast<std::size_t>(verdict));
}

std::unique_ptr<IReport> MakeReport(OutputFormat format, std::ostream& out) {
  if (format == OutputFormat::kJsonLines) return std::make_unique<JsonReport>(out);
  return std::make_unique<TableReport>(out);
}

}  // namespace qzmtraw::host
