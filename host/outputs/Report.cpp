#include "host/outputs/Report.h"

#include <array>

#include "host/outputs/CsvReport.h"
#include "host/outputs/DfxmlReport.h"
#include "host/outputs/JsonReport.h"
#include "host/outputs/TableReport.h"

namespace qzmtraw::host {
namespace {

/// Leaves everything out.
class NoReport final : public IReport {
 public:
  void Begin(const SourceInfo& /*source*/) override {}
  void Add(const FindRecord& /*record*/) override {}
  void End(const Summary& /*summary*/, const SectorSet& /*unreadable*/) override {}
};

}  // namespace

std::string_view ConfidenceName(Confidence confidence) {
  constexpr std::array<std::string_view, 4> kNames = {"doubtful", "start-only", "from-header", "checked-end"};
  return kNames.at(static_cast<std::size_t>(confidence));
}

std::string_view VerdictName(Verdict verdict) {
  constexpr std::array<std::string_view, 4> kNames = {"not-looked", "undecided", "confirmed", "contradicted"};
  return kNames.at(static_cast<std::size_t>(verdict));
}

std::unique_ptr<IReport> MakeReport(OutputFormat format, std::ostream& out) {
  switch (format) {
    case OutputFormat::kJsonLines:
      return std::make_unique<JsonReport>(out);
    case OutputFormat::kCsv:
      return std::make_unique<CsvReport>(out);
    case OutputFormat::kDfxml:
      return MakeDfxmlReport(out);
    case OutputFormat::kNone:
      return std::make_unique<NoReport>();
    default:
      return std::make_unique<TableReport>(out);
  }
}

}  // namespace qzmtraw::host
