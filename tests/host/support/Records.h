#ifndef QZMTRAW_TESTS_HOST_SUPPORT_RECORDS_H
#define QZMTRAW_TESTS_HOST_SUPPORT_RECORDS_H

#include <optional>
#include <string>

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// A kind of file whose detector knows no sizes.
inline TypeInfo AceType() {
  TypeInfo type{157, "ace", "ACE Archive \xC2\xA8", 2, "", "", SizeHints{256, 0x64000000}};
  type.facts.className = "CKAAceFileType";
  return type;
}

/// A source of 1 MiB whose path is bad for terminals and no UTF-8.
inline SourceInfo HostileSource() { return {"a\x1B[2J\xFF.img", 1U << 20U, 512, 320, {}}; }

/// The record with what became of the find's bytes.
inline FindRecord Recovered(FindRecord record, const std::optional<std::string>& path) {
  record.recovered = RecoveredFile{.path = path, .sha256 = {}};
  return record;
}

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_RECORDS_H
