#ifndef QZMTRAW_HOST_OUTPUTS_TABLE_REPORT_H
#define QZMTRAW_HOST_OUTPUTS_TABLE_REPORT_H

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// The report for people: aligned columns and a summary line.
class TableReport final : public IReport {
 public:
  explicit TableReport(std::ostream& out) : out_(out) {}

  void Begin(const SourceInfo& source) override;
  void Add(const FindRecord& record) override;
  void End(const Summary& summary, const SectorSet& unreadable) override;

 private:
  void AddSectors(const SectorSet& sectors, const std::string& title);

  std::ostream& out_;
  SourceInfo source_;
  bool hasHeader_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_TABLE_REPORT_H
