#ifndef QZMTRAW_HOST_OUTPUTS_DFXML_REPORT_H
#define QZMTRAW_HOST_OUTPUTS_DFXML_REPORT_H

#include <memory>
#include <ostream>

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// The namespace of what Digital Forensics XML has no elements for. It stands last wherever it stands.
inline constexpr const char* kOwnNamespace = "urn:x-qzmtraw:dfxml:1";

/// The report for forensic tools: Digital Forensics XML 1.2.0, one `fileobject` for each find. All texts are as
/// Printable makes them, so the document is well-formed whatever they are.
/// \param out  Must live as long as the report. What it throws comes out of the report's operations.
std::unique_ptr<IReport> MakeDfxmlReport(std::ostream& out);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_DFXML_REPORT_H
