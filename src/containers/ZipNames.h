#ifndef QZMTRAW_CONTAINERS_ZIP_NAMES_H
#define QZMTRAW_CONTAINERS_ZIP_NAMES_H

/// \file
/// The names by which kinds of ZIP file are told apart. They are names of members, some with the beginning of the
/// member's contents behind them: a first member "mimetype" that is stored tells its kind right behind its name.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace qzmtraw {

/// The kinds of ZIP file.
struct ZipCode {
  enum Value : std::uint32_t {
    kZip = 0,
    kDocx = 1,
    kXlsx = 2,
    kPptx = 3,
    kOdt = 4,
    kOds = 5,
    kOdp = 6,
    kOdg = 7,
    kSunBase = 8,
    kJar = 9,
    kOdf = 10,
    kPxl = 11,
    kXps = 12,
    kEpub = 13,
    kApk = 14,
    kIpa = 15,
    kFla = 16,
    kEnl = 17,
    kAccdt = 18,
    kOasisBase = 19,
    kCdr = 20,
  };
};

/// What a name means for the rest of the sector that it stands in. Most names settle the kind, and nothing more is
/// looked at there, not even the end of the file. The weak ones leave the last word to a later name in the sector.
enum class AtName { kSearchEnds, kSearchGoesOn };

struct ZipName {
  std::string_view text;
  ZipCode::Value code;
  AtName then = AtName::kSearchEnds;
};

// The groups. The first letter of a name in the file, in either case, says which group is tried; the names in it are
// tried in their order, and the first one that fits ends the trial. Small and capital letters differ in the names.

inline constexpr ZipName kNamesOfA[] = {
    {"application/vnd.oasis.opendocument.formula", ZipCode::kOdf},
    {"application/x-vnd.oasis.opendocument.formula", ZipCode::kOdf},
    {"application/epub", ZipCode::kEpub},
    {"AndroidManifest.xml", ZipCode::kApk},
};
inline constexpr ZipName kNamesOfD[] = {
    {"docProps/thumbnail.jpeg", ZipCode::kXps, AtName::kSearchGoesOn},
};
inline constexpr ZipName kNamesOfI[] = {
    {"iTunesArtwork", ZipCode::kIpa},
};
inline constexpr ZipName kNamesOfM[] = {
    {"mimetypeapplication/vnd.oasis.opendocument.text", ZipCode::kOdt},
    {"mimetypeapplication/vnd.oasis.opendocument.spreadsheet", ZipCode::kOds},
    {"mimetypeapplication/vnd.oasis.opendocument.presentation", ZipCode::kOdp},
    {"mimetypeapplication/vnd.sun.xml.base", ZipCode::kSunBase},
    {"mimetypeapplication/vnd.oasis.opendocument.graphics", ZipCode::kOdg},
    {"META-INF/MANIFEST.MF", ZipCode::kJar},
    {"mimetypeapplication/epub", ZipCode::kEpub},
    {"mimetypeapplication/vnd.adobe.xfl", ZipCode::kFla},
    {"mimetypeapplication/vnd.oasis.opendocument.base", ZipCode::kOasisBase},
};
inline constexpr ZipName kNamesOfP[] = {
    {"ppt/slides/", ZipCode::kPptx, AtName::kSearchGoesOn},
    {"ppt/slideLayouts/", ZipCode::kPptx, AtName::kSearchGoesOn},
    {"ppt/slideMasters/", ZipCode::kPptx, AtName::kSearchGoesOn},
    {"ppt/media/", ZipCode::kPptx, AtName::kSearchGoesOn},
    {"ppt/presProps.xml", ZipCode::kPptx, AtName::kSearchGoesOn},
    {"PxlPkg.plist", ZipCode::kPxl},
};
inline constexpr ZipName kNamesOfR[] = {
    {"RIMARY\xFFyearIndex", ZipCode::kEnl},
};
inline constexpr ZipName kNamesOfT[] = {
    {"template/database/databaseProperties.xml", ZipCode::kAccdt},
};
inline constexpr ZipName kNamesOfW[] = {
    {"word/_rels/document.xml.rels", ZipCode::kDocx},
    {"word/document.xml", ZipCode::kDocx},
    {"word/footnotes.xml", ZipCode::kDocx},
    {"word/endnotes.xml", ZipCode::kDocx},
    {"word/settings.xml", ZipCode::kDocx},
    {"word/styles.xml", ZipCode::kDocx},
};
inline constexpr ZipName kNamesOfX[] = {
    {"xl/_rels/workbook.xml", ZipCode::kXlsx},
    {"xl/workbook.xml", ZipCode::kXlsx},
    {"xl/worksheets/", ZipCode::kXlsx},
};

struct ZipNameGroup {
  std::uint8_t letter;  ///< The small one.
  std::span<const ZipName> names;
};

inline constexpr ZipNameGroup kZipNameGroups[] = {
    {'a', kNamesOfA}, {'d', kNamesOfD}, {'i', kNamesOfI}, {'m', kNamesOfM}, {'p', kNamesOfP},
    {'r', kNamesOfR}, {'t', kNamesOfT}, {'w', kNamesOfW}, {'x', kNamesOfX},
};

/// The names that are tried where `letter` stands; none for most bytes.
inline std::span<const ZipName> ZipNamesUnder(std::uint8_t letter) {
  static constexpr std::uint8_t kSmallFromCapital = 'a' - 'A';
  // One more than the group's place among the groups; 0 for no group.
  static constexpr auto kGroupOfLetter = [] {
    std::array<std::uint8_t, 256> groups{};
    std::uint8_t number = 0;
    for (const ZipNameGroup& group : kZipNameGroups) {
      ++number;
      groups[group.letter] = number;
      groups[group.letter - kSmallFromCapital] = number;
    }
    return groups;
  }();
  const std::uint8_t number = kGroupOfLetter[letter];
  return number == 0 ? std::span<const ZipName>{} : kZipNameGroups[number - 1U].names;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_CONTAINERS_ZIP_NAMES_H
