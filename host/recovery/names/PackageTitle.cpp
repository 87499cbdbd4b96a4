#include <zlib.h>

#include <algorithm>
#include <string_view>

#include "host/recovery/names/Titles.h"

namespace qzmtraw::host {
namespace {

/// Beyond these sizes a title isn't looked for.
constexpr std::size_t kMostDirectoryBytes = 256U << 10U;
constexpr std::size_t kMostMemberBytes = 256U << 10U;

constexpr std::size_t kEndRecordSize = 22;
constexpr std::size_t kMostCommentBytes = 0xFFFF;
constexpr std::size_t kEntrySize = 46;
constexpr std::size_t kLocalHeaderSize = 30;

std::uint64_t NumberAt(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t size) {
  return NumberIn(bytes.subspan(offset, size), ByteOrder::kLittle);
}

std::string_view TextOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The directory of the ZIP file. Empty: there is none, or it is too large.
std::vector<std::uint8_t> DirectoryOf(ByteReader& file) {
  const std::uint64_t tailSize = std::min<std::uint64_t>(file.Length(), kEndRecordSize + kMostCommentBytes);
  const std::vector<std::uint8_t> tail = file.Part(file.Length() - tailSize, static_cast<std::size_t>(tailSize));
  const std::size_t at = TextOf(tail).rfind("PK\x05\x06");
  if (at == std::string_view::npos || tail.size() - at < kEndRecordSize) return {};
  const std::uint64_t size = NumberAt(tail, at + 12, 4);
  const std::uint64_t offset = NumberAt(tail, at + 16, 4);
  if (size > kMostDirectoryBytes) return {};
  return file.Part(offset, static_cast<std::size_t>(size));
}

/// Unpacks a member. Empty: it can't be, or is too large.
std::vector<std::uint8_t> Inflated(const std::vector<std::uint8_t>& packed, std::size_t size) {
  if (size > kMostMemberBytes) return {};
  std::vector<std::uint8_t> bytes(size);
  z_stream stream{};
  // Without zlib's own header.
  if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return {};
  stream.next_in = const_cast<Bytef*>(packed.data());
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = bytes.data();
  stream.avail_out = static_cast<uInt>(bytes.size());
  const int result = inflate(&stream, Z_FINISH);
  inflateEnd(&stream);
  if (result != Z_STREAM_END || stream.avail_out != 0) return {};
  return bytes;
}

/// \param entry  The member's in the directory.
std::vector<std::uint8_t> MemberOf(ByteReader& file, std::span<const std::uint8_t> entry) {
  const std::uint64_t method = NumberAt(entry, 10, 2);
  const std::uint64_t packedSize = NumberAt(entry, 20, 4);
  const std::uint64_t header = NumberAt(entry, 42, 4);
  const auto nameSize = file.Number<2>(header + 26);
  const auto extraSize = file.Number<2>(header + 28);
  if (!nameSize || !extraSize || packedSize > kMostMemberBytes) return {};
  const std::uint64_t start = header + kLocalHeaderSize + *nameSize + *extraSize;
  std::vector<std::uint8_t> packed = file.Part(start, static_cast<std::size_t>(packedSize));
  if (method == 0) return packed;
  return method == 8 ? Inflated(packed, static_cast<std::size_t>(NumberAt(entry, 24, 4))) : std::vector<std::uint8_t>();
}

}  // namespace

std::string PackageTitle(ByteReader& file) {
  const std::vector<std::uint8_t> directory = DirectoryOf(file);
  std::span<const std::uint8_t> rest = directory;
  while (rest.size() >= kEntrySize && TextOf(rest).starts_with("PK\x01\x02")) {
    const auto nameSize = static_cast<std::size_t>(NumberAt(rest, 28, 2));
    const auto whole = static_cast<std::size_t>(kEntrySize + nameSize + NumberAt(rest, 30, 2) + NumberAt(rest, 32, 2));
    if (whole > rest.size()) break;
    const std::string_view name = TextOf(rest.subspan(kEntrySize, nameSize));
    if (name == "docProps/core.xml" || name == "meta.xml") return XmlTitle(MemberOf(file, rest));
    rest = rest.subspan(whole);
  }
  return {};
}

}  // namespace qzmtraw::host
