#ifndef QZMTRAW_TESTS_HOST_SUPPORT_TITLED_FILES_H
#define QZMTRAW_TESTS_HOST_SUPPORT_TITLED_FILES_H

#include <array>
#include <string>
#include <string_view>

#include "tests/host/support/FileOnDevice.h"

namespace qzmtraw::host {

/// A JPEG with the date on which it was taken, "2004:02:29 12:30:00" unless stated.
inline Bytes DatedJpeg(std::string_view date = "2004:02:29 12:30:00") {
  Bytes exif = BytesOf("II*");
  Append(exif, 0, 1);
  Append(exif, 8, 4);
  // A directory that only leads to the next, and that with the date, which stands behind it.
  for (const auto& [tag, type, count, value] : {std::array{0x8769U, 4U, 1U, 26U}, std::array{0x9003U, 2U, 20U, 44U}}) {
    Append(exif, 1, 2);
    Append(exif, tag, 2);
    Append(exif, type, 2);
    Append(exif, count, 4);
    Append(exif, value, 4);
    Append(exif, 0, 4);
  }
  Append(exif, date);
  Append(exif, 0, 1);
  Bytes jpeg = {0xFF, 0xD8, 0xFF, 0xE1};
  Append(jpeg, 2 + 6 + exif.size(), 2, ByteOrder::kBig);
  Append(jpeg, std::string_view("Exif\0\0", 6));
  jpeg.insert(jpeg.end(), exif.begin(), exif.end());
  Append(jpeg, "\xFF\xD9");
  return jpeg;
}

/// A ZIP file with one member that isn't packed.
inline Bytes StoredZip(std::string_view name, std::string_view content) {
  Bytes zip = BytesOf("PK\x03\x04");
  const auto appendSizes = [&] {
    Append(zip, 0, 4);
    Append(zip, content.size(), 4);
    Append(zip, content.size(), 4);
    Append(zip, name.size(), 2);
    Append(zip, 0, 2);
  };
  Append(zip, 20, 2);
  Append(zip, 0, 8);
  appendSizes();
  Append(zip, name);
  Append(zip, content);
  const std::size_t directory = zip.size();
  Append(zip, "PK\x01\x02");
  Append(zip, 20, 2);
  Append(zip, 20, 2);
  Append(zip, 0, 8);
  appendSizes();
  Append(zip, 0, 14);
  Append(zip, name);
  const std::size_t end = zip.size();
  Append(zip, "PK\x05\x06");
  Append(zip, 0, 4);
  Append(zip, 1, 2);
  Append(zip, 1, 2);
  Append(zip, end - directory, 4);
  Append(zip, directory, 4);
  Append(zip, 0, 2);
  return zip;
}

/// The part of a document that tells its title.
inline std::string TitlePart(const std::string& title) {
  return R"(<?xml version="1.0"?><cp:props xmlns:cp="urn:cp" xmlns:dc="http://purl.org/dc/elements/1.1/">)"
         "<cp:title>no</cp:title><dc:title>" +
         title + "</dc:title></cp:props>";
}

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_TITLED_FILES_H
