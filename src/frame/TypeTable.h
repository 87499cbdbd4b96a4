#ifndef QZMTRAW_FRAME_TYPE_TABLE_H
#define QZMTRAW_FRAME_TYPE_TABLE_H

/// \file
/// What a row of the table of kinds holds. The rows themselves stand in TypeTable.def.

#include <array>
#include <cstdint>

#include "qzmtraw/RawFileType.h"

namespace qzmtraw {

/// The group of kinds under which a host shows a kind, as the number that IRawFileTypeFactory::CreateType gives.
enum class Category : std::int32_t {
  kDocuments = 1,
  kArchives = 2,
  kGraphics = 3,
  kAudioVideo = 4,
  kInternetMail = 5,
  kDatabases = 6,
  kExecutables = 7,
  kDevelopment = 8,
  kFonts = 9,
  kSourceCode = 10,
  kOther = -1,
};

/// The mark of the kinds whose detectors do their work in one common pass, as 16 bytes in the order of a GUID in a
/// file. All zero for a detector that stands alone.
using GroupGuid = std::array<std::uint8_t, 16>;

/// The marks by the letters that the table uses.
struct Group {
  static constexpr GroupGuid kNone{};
  /// KCompoundFileType
  static constexpr GroupGuid kA{0x4D, 0xD8, 0xE1, 0xFB, 0x05, 0x53, 0x4A, 0x4D,
                                0x93, 0x7C, 0xDE, 0xD5, 0x05, 0x05, 0x92, 0x8D};
  /// KZipFileSearcher
  static constexpr GroupGuid kB{0xBE, 0x72, 0x72, 0x8D, 0xD4, 0xBC, 0x77, 0x4E,
                                0x9B, 0xDB, 0xDE, 0xE8, 0x33, 0x5A, 0xDC, 0x42};
  /// KTxtFileType
  static constexpr GroupGuid kC{0xD5, 0xAA, 0x1A, 0xFA, 0x0C, 0x0D, 0x8E, 0x4B,
                                0xB3, 0x87, 0x62, 0xCA, 0x96, 0xBB, 0x3E, 0x9D};
  /// CKUtf8TxtFileType
  static constexpr GroupGuid kD{0x86, 0x40, 0x9E, 0x26, 0x41, 0xBA, 0x6E, 0x4D,
                                0xB6, 0x4D, 0x76, 0x65, 0xDC, 0x4C, 0xC1, 0x7C};
  /// KXMLFileType
  static constexpr GroupGuid kE{0xC5, 0xD8, 0x17, 0xB4, 0xD8, 0x75, 0x81, 0x41,
                                0x9C, 0x31, 0x30, 0x3F, 0x1A, 0x9B, 0xBB, 0xCF};
  /// KTIFileType
  static constexpr GroupGuid kF{0x2C, 0x25, 0x30, 0xC3, 0x0A, 0x27, 0x60, 0x40,
                                0x9C, 0x2B, 0xB1, 0xDC, 0x89, 0xEC, 0xB7, 0x73};
  /// CKGPortablegraphics
  static constexpr GroupGuid kG{0x51, 0xCC, 0x85, 0xA2, 0x20, 0x8D, 0xC6, 0x4A,
                                0xAA, 0xEA, 0xBE, 0xDA, 0x6C, 0x18, 0xCC, 0x10};
  /// KASFFileType
  static constexpr GroupGuid kH{0x49, 0xEF, 0x28, 0xBD, 0xB0, 0x65, 0xDF, 0x45,
                                0x93, 0x49, 0x83, 0x0A, 0x02, 0xDB, 0xAD, 0xA3};
  /// CKEPeFileType
  static constexpr GroupGuid kI{0xA3, 0xE8, 0x0D, 0x36, 0x14, 0x4C, 0xEB, 0x4B,
                                0x8E, 0x36, 0xE3, 0xD5, 0x2C, 0xB7, 0xAC, 0x67};
  /// CKOElfFileType
  static constexpr GroupGuid kJ{0x88, 0x1B, 0xB8, 0x3B, 0xF8, 0x39, 0xE0, 0x4C,
                                0xA1, 0x7D, 0xDD, 0xA2, 0x23, 0x5B, 0x94, 0x45};
};

struct TypeRow;

/// Creates the detector of a row; the caller owns it. Defined by DETECTOR beside each class, so that a row whose class
/// is missing doesn't link.
template <class Class>
IRawFileType* Create(const TypeRow& row);

/// One row of the table.
struct TypeRow {
  std::int32_t index;
  const char* className;
  const char* description;  ///< Latin-1.
  const char* extension;
  Category category;
  GroupGuid group;
  IRawFileType* (*create)(const TypeRow& row);
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_TYPE_TABLE_H
