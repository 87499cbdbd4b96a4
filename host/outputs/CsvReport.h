#ifndef QZMTRAW_HOST_OUTPUTS_CSV_REPORT_H
#define QZMTRAW_HOST_OUTPUTS_CSV_REPORT_H

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// The report for spreadsheets, as RFC 4180 has it: a line with the names of the columns, then a line for each find.
/// What isn't known is empty. Texts are as Printable makes them; one that a spreadsheet could take for a formula begins
/// with an apostrophe. There is no place for what concerns the whole run.
class CsvReport final : public IReport {
 public:
  explicit CsvReport(std::ostream& out) : out_(out) {}

  void Begin(const SourceInfo& source) override;
  void Add(const FindRecord& record) override;
  void End(const Summary& summary, const SectorSet& unreadable) override;

 private:
  std::ostream& out_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_CSV_REPORT_H
