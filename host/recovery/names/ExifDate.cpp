#include <libexif/exif-data.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "host/recovery/names/Titles.h"

namespace qzmtraw::host {
namespace {

/// The EXIF part of a JPEG is a segment, so it can't be larger.
constexpr std::size_t kMostExifBytes = 64U << 10U;

/// Segments before the one with EXIF.
constexpr int kMostSegments = 16;

constexpr std::string_view kExifMark("Exif\0\0", 6);

struct ReleaseExif {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};

/// The EXIF part, with its mark, of a picture. Empty: there is none.
std::vector<std::uint8_t> ExifPart(ByteReader& file) {
  if (!file.Has(0, "\xFF\xD8")) {
    // The file itself is made like the part behind the mark.
    std::vector<std::uint8_t> part(kExifMark.begin(), kExifMark.end());
    const std::vector<std::uint8_t> start = file.Part(0, kMostExifBytes);
    part.insert(part.end(), start.begin(), start.end());
    return part;
  }
  std::uint64_t at = 2;
  for (int i = 0; i < kMostSegments; ++i) {
    const std::uint64_t mark = file.Number<2>(at, ByteOrder::kBig).value_or(0);
    const std::uint64_t length = file.Number<2>(at + 2, ByteOrder::kBig).value_or(0);
    if (mark < 0xFFE0 || mark > 0xFFEF || length < 2) return {};
    if (mark == 0xFFE1 && file.Has(at + 4, kExifMark)) return file.Part(at + 4, static_cast<std::size_t>(length - 2));
    at += 2 + length;
  }
  return {};
}

/// "2004:02:29 12:30:00" as "2004-02-29_12-30-00"; empty: it is something else, or the camera didn't know.
std::string DateIn(const ExifEntry* entry) {
  constexpr std::string_view kForm = "0000:00:00 00:00:00";
  if (entry == nullptr || entry->data == nullptr || entry->size < kForm.size()) return {};
  std::string date;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const auto c = static_cast<char>(entry->data[i]);
    const bool isDigit = c >= '0' && c <= '9';
    if (isDigit != (kForm[i] == '0') || (!isDigit && c != kForm[i])) return {};
    date += c == ':' ? '-' : c == ' ' ? '_' : c;
  }
  return date.starts_with("0000") ? std::string() : date;
}

}  // namespace

std::string ExifDate(ByteReader& file) {
  const std::vector<std::uint8_t> part = ExifPart(file);
  if (part.empty()) return {};
  const std::unique_ptr<ExifData, ReleaseExif> data(
      exif_data_new_from_data(part.data(), static_cast<unsigned>(part.size())));
  if (data == nullptr) return {};
  constexpr std::array<std::pair<ExifIfd, ExifTag>, 3> kDates = {{{EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL},
                                                                  {EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED},
                                                                  {EXIF_IFD_0, EXIF_TAG_DATE_TIME}}};
  for (const auto& [directory, tag] : kDates) {
    std::string date = DateIn(exif_content_get_entry(data->ifd[directory], tag));
    if (!date.empty()) return date;
  }
  return {};
}

}  // namespace qzmtraw::host
