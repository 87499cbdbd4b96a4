#ifndef QZMTRAW_HOST_SOURCES_RESCUE_MAP_H
#define QZMTRAW_HOST_SOURCES_RESCUE_MAP_H

#include <cstdint>
#include <functional>
#include <istream>
#include <string>

#include "host/base/FileDescriptor.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// Neighbouring bytes of one state, as a line of ddrescue's map tells it.
struct MapBlock {
  /// In bytes, as is the size. They don't wrap around.
  std::uint64_t position = 0;
  std::uint64_t size = 0;
  /// '+' was read; '-', '*', '/' and '?' were not, or not yet.
  char status = '?';
};

/// Reads a map. Throws Failure, which tells the line, when it is none: blocks have to follow one another without gaps.
/// \param path  Of the map, for messages.
/// \param take  Gets the blocks in order.
void ReadRescueMap(std::istream& text, const std::string& path, const std::function<void(const MapBlock&)>& take);

/// Writes a map to `out`, in pieces. What was scanned is '+', what couldn't be read '-', all else '?'.
/// \param sectorsDone  How many of the device's range were scanned, from its start.
void WriteRescueMap(const Device& device, std::uint64_t sectorsDone,
                    const std::function<void(const std::string&)>& out);

/// A new file for a map. It is made at once, so that what is wrong shows before the work, and written at the end.
/// Without that it goes with the object.
class RescueMapFile {
 public:
  /// Throws Failure when the file exists or can't be made.
  explicit RescueMapFile(std::string path);
  RescueMapFile(const RescueMapFile&) = delete;
  RescueMapFile& operator=(const RescueMapFile&) = delete;
  ~RescueMapFile();

  /// As WriteRescueMap. Throws Failure.
  void Write(const Device& device, std::uint64_t sectorsDone);

 private:
  std::string path_;
  FileDescriptor file_;
  bool isFinished_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_RESCUE_MAP_H
