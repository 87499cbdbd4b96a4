#include "host/sources/OpenSource.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "host/base/Text.h"
#include "host/sources/EwfSegments.h"
#include "host/sources/ImageFormat.h"
#include "host/sources/RawSource.h"
#include "host/sources/SplitSource.h"
#include "host/sources/Tsk.h"

namespace qzmtraw::host {
namespace {

ImageFormat FormatOfSource(ISource& source) {
  std::array<std::uint8_t, kFormatBytes> start{};
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(source.Size(), start.size()));
  return FormatOf(std::span(start).first(source.ReadAt(0, std::span(start).first(count)).count));
}

bool IsFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

std::unique_ptr<ISource> OpenSource(const SourceOptions& options) {
  auto raw = std::make_unique<RawSource>(options.image);
  if (options.isRaw || !IsFile(options.image)) return raw;
  const ImageFormat format = FormatOfSource(*raw);
  if (format.reading == ImageFormat::Reading::kNot) {
    raw->SetNote(std::string("looks like an image in the format ") + format.name +
                 ", and its own bytes are scanned: to scan the disk in it, make it a raw image first");
    return raw;
  }
  if (format.reading == ImageFormat::Reading::kEwf) CheckSegments(options.image);
  if (format.reading != ImageFormat::Reading::kAsItIs) return OpenTskImage(options.image, format);
  const std::vector<std::string> parts = PartsOf(options.image);
  if (parts.size() > 1) return std::make_unique<SplitSource>(parts);
  const std::string first = FirstPartFor(options.image);
  if (!first.empty()) raw->SetNote("may be a part of a split image: name " + Quoted(first) + " to scan all of it");
  return raw;
}

}  // namespace qzmtraw::host
