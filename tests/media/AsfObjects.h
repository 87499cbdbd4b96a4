#ifndef QZMTRAW_TESTS_MEDIA_ASF_OBJECTS_H
#define QZMTRAW_TESTS_MEDIA_ASF_OBJECTS_H

#include <optional>
#include <string>
#include <vector>

#include "tests/support/Device.h"

namespace qzmtraw::test {

/// Types of streams.
inline const std::string kAsfAudio = Literal("\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B");
inline const std::string kAsfVideo = Literal("\xC0\xEF\x19\xBC\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B");

inline std::string AsfObject(const std::string& guid, const std::string& contents) {
  return guid + LittleU64(24 + contents.size()) + contents;
}

/// The object that tells the file's size.
inline std::string AsfProperties(std::uint64_t fileSize) {
  return AsfObject(Literal("\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"),
                   std::string(16, 'i') + LittleU64(fileSize) + std::string(56, 'p'));
}

/// The object that tells a stream's type.
inline std::string AsfStream(const std::string& type) {
  return AsfObject(Literal("\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"),
                   type + std::string(38, 's'));
}

/// A Header Object that counts its objects, or claims another number of them.
inline std::string AsfFile(const std::vector<std::string>& objects, std::optional<std::uint32_t> count = std::nullopt) {
  std::string contents = LittleU32(count.value_or(static_cast<std::uint32_t>(objects.size()))) + "\x01\x02";
  for (const std::string& object : objects) contents += object;
  return AsfObject(Literal("\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"), contents);
}

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_MEDIA_ASF_OBJECTS_H
