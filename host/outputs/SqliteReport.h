#ifndef QZMTRAW_HOST_OUTPUTS_SQLITE_REPORT_H
#define QZMTRAW_HOST_OUTPUTS_SQLITE_REPORT_H

#include <cstdint>
#include <memory>
#include <string>

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// The report as a database. Others may read it while it grows: what was added is there half a second later, or after
/// 10,000 finds. Finds of which it isn't known yet what becomes of them are in a table of their own until the end, and
/// the view `list` has the one or the other, whichever is whole.
/// \param path  An empty file, which becomes the database. Throws Failure where the files that SQLite keeps beside a
///              database are there already.
std::unique_ptr<IReport> MakeSqliteReport(const std::string& path);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_SQLITE_REPORT_H
