#ifndef QZMTRAW_HOST_RECOVERY_NAMES_TITLES_H
#define QZMTRAW_HOST_RECOVERY_NAMES_TITLES_H

#include <cstdint>
#include <span>
#include <string>

#include "host/recovery/ByteReader.h"

namespace qzmtraw::host {

/// Each takes what files of one format call themselves, as it stands there: any text, usually in UTF-8. Empty: nothing.
/// @{
/// When a picture was taken, as "2004-02-29_12-30-00". For JPEG and TIFF, and raw pictures that are made like one.
std::string ExifDate(ByteReader& file);
/// Of text documents and the like that are kept in a ZIP file with a part for such words.
std::string PackageTitle(ByteReader& file);
std::string PdfTitle(ByteReader& file);
/// Of a file with an ID3 tag at its start.
std::string Id3Title(ByteReader& file);
/// Of Ogg and FLAC.
std::string VorbisTitle(ByteReader& file);
/// @}

/// The text of the first element for titles, of Dublin Core, in an XML document. Empty: it has none.
std::string XmlTitle(std::span<const std::uint8_t> document);

/// The library that reads XML wants this before threads come.
void PrepareXml();

/// UTF-16 as UTF-8. What isn't well-formed becomes '?'.
std::string Utf16ToUtf8(std::span<const std::uint8_t> text, ByteOrder order);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_NAMES_TITLES_H
