#ifndef QZMTRAW_HOST_SOURCES_SOURCE_PART_H
#define QZMTRAW_HOST_SOURCES_SOURCE_PART_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/sources/Device.h"
#include "host/sources/Source.h"
#include "host/sources/SourceOptions.h"

namespace qzmtraw::host {

/// What of a source is to be scanned, and how.
struct SourcePart {
  std::uint32_t sectorSize = kDefaultSectorSize;
  DeviceView view{};
  /// Whether that may be less than everything.
  bool isPart = false;
  /// What the user should know about it and about the source, a sentence each.
  std::vector<std::string> notes{};
};

/// Finds out what the options ask for. Reads partition tables, file systems and the map where they ask for these.
/// Throws UsageError where there is no such part, and Failure where it can't be told.
SourcePart ChoosePart(const SourceOptions& options, ISource& source);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SOURCE_PART_H
