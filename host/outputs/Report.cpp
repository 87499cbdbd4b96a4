#include "host/outputs/Report.h"

#include "host/outputs/JsonReport.h"
#include "host/outputs/TableReport.h"

namespace qzmtraw::host {

std::unique_ptr<IReport> MakeReport(OutputFormat format, std::ostream& out) {
  if (format == OutputFormat::kJsonLines) return std::make_unique<JsonReport>(out);
  return std::make_unique<TableReport>(out);
}

}  // namespace qzmtraw::host
