#ifndef QZMTRAW_HOST_SOURCES_SPLIT_SOURCE_H
#define QZMTRAW_HOST_SOURCES_SPLIT_SOURCE_H

#include <memory>
#include <string>
#include <vector>

#include "host/sources/RawSource.h"
#include "host/sources/Source.h"

namespace qzmtraw::host {

/// Whether a path could be that of a split image's first part: its extension counts, and does so from its start:
/// ".001", ".000", ".00", ".01", ".aa", ".aaa" ….
bool IsFirstPartName(const std::string& path);

/// How the part behind one can be called. Usually there is one name; where the extension has come near to its end
/// there is a second one, because split makes it longer then: ".89", ".9000". None behind the last one of letters.
std::vector<std::string> NextPartNames(const std::string& path);

/// The parts of the split image of which `path` is the first, as far as they are there without a gap; `path` alone if
/// it is none. Throws Failure when a part is missing in the middle.
std::vector<std::string> PartsOf(const std::string& path);

/// If `path` could be a later part of a split image, the first part that is there, otherwise empty.
std::string FirstPartFor(const std::string& path);

/// A raw image that was split into several files. They are opened for reading only.
class SplitSource final : public ISource {
 public:
  /// \param paths  Of the parts in order, at least one. Throws Failure as RawSource does, and for a part that is no
  ///               file.
  explicit SplitSource(const std::vector<std::string>& paths);

  [[nodiscard]] std::uint64_t Size() const override { return size_; }
  [[nodiscard]] std::uint64_t SizeNow() const override;
  [[nodiscard]] std::vector<std::string> Notes() const override;
  ReadResult ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override;

 private:
  struct Part {
    std::string path;
    std::unique_ptr<RawSource> source;
    /// Where it begins.
    std::uint64_t offset = 0;
  };

  std::vector<Part> parts_;
  std::uint64_t size_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SPLIT_SOURCE_H
