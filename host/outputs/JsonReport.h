#ifndef QZMTRAW_HOST_OUTPUTS_JSON_REPORT_H
#define QZMTRAW_HOST_OUTPUTS_JSON_REPORT_H

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// The report for programs: a "source" object, a "find" object per find, a "summary" object, each on a line of its own
/// and in ASCII. The summary has all ranges of sectors that could not be read, however many there are. A path that is
/// not UTF-8 is given as Printable makes it.
class JsonReport final : public IReport {
 public:
  explicit JsonReport(std::ostream& out) : out_(out) {}

  void Begin(const SourceInfo& source) override;
  void Add(const FindRecord& record) override;
  void End(const Summary& summary, const SectorSet& unreadable) override;

 private:
  std::ostream& out_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_JSON_REPORT_H
