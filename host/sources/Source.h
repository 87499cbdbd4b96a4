#ifndef QZMTRAW_HOST_SOURCES_SOURCE_H
#define QZMTRAW_HOST_SOURCES_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qzmtraw::host {

/// What one read of a source brought.
struct ReadResult {
  /// Number of bytes that were read, from the first one on.
  std::size_t count = 0;
  /// 0, or the error number that stopped the read behind these bytes.
  int error = 0;
};

/// The bytes that are to be scanned, whatever they are kept in.
class ISource {
 public:
  ISource() = default;
  ISource(const ISource&) = delete;
  ISource& operator=(const ISource&) = delete;
  virtual ~ISource() = default;

  /// Number of bytes. Stays the same.
  [[nodiscard]] virtual std::uint64_t Size() const = 0;

  /// The number of bytes that it has by now, because somebody may be writing to it.
  [[nodiscard]] virtual std::uint64_t SizeNow() const { return Size(); }

  /// Bytes per sector, where the source itself says that.
  [[nodiscard]] virtual std::optional<std::uint32_t> SectorSize() const { return std::nullopt; }

  /// What the user should know about how it was opened, a sentence each.
  [[nodiscard]] virtual std::vector<std::string> Notes() const { return {}; }

  /// Reads bytes from `offset` on. May bring fewer than asked for; none without an error means that there are no more.
  /// Several threads may call it at once.
  /// \param into  The caller's; `offset` plus its size is at most Size().
  virtual ReadResult ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SOURCE_H
