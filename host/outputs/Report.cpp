#include "host/outputs/Report.h"

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
  switch (confidence) {
    case Confidence::kDoubtful:
      return "doubtful";
    case Confidence::kStartOnly:
      return "start-only";
    case Confidence::kFromHeader:
      return "from-header";
    case Confidence::kCheckedEnd:
      return "checked-end";
  }
  return "start-only";
}

std::string_view VerdictName(Verdict verdict) {
  switch (verdict) {
    case Verdict::kNotLooked:
      return "not-looked";
    case Verdict::kUndecided:
      return "undecided";
    case Verdict::kConfirmed:
      return "confirmed";
    case Verdict::kContradicted:
      return "contradicted";
  }
  return "not-looked";
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
