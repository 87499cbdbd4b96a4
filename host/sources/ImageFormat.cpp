#include "host/sources/ImageFormat.h"

#include <algorithm>
#include <string_view>

namespace qzmtraw::host {
namespace {

using Reading = ImageFormat::Reading;
using namespace std::string_view_literals;

struct FormatMark {
  std::size_t offset;
  std::string_view bytes;
  ImageFormat format;
};

constexpr FormatMark kStartMarks[] = {
    {0, "EVF\x09\x0D\x0A\xFF\0"sv, {Reading::kEwf, "E01"}},
    {0, "AFF10\x0D\x0A\0"sv, {Reading::kAff, "AFF"}},
    {0, "KDMV"sv, {Reading::kVmdk, "VMDK"}},
    {0, "COWD"sv, {Reading::kVmdk, "VMDK"}},
    {0, "# Disk DescriptorFile"sv, {Reading::kVmdk, "VMDK"}},
    {0, "conectix"sv, {Reading::kVhd, "VHD"}},
    {0, "EVF2\x0D\x0A\x81\0"sv, {Reading::kNot, "Ex01"}},
    {0, "LVF\x09\x0D\x0A\xFF\0"sv, {Reading::kNot, "L01"}},
    {0, "QFI\xFB"sv, {Reading::kNot, "QCOW"}},
    {0, "vhdxfile"sv, {Reading::kNot, "VHDX"}},
    {64, "\x7F\x10\xDA\xBE"sv, {Reading::kNot, "VDI"}},
};

bool HasMark(std::span<const std::uint8_t> bytes, std::size_t offset, std::string_view mark) {
  return bytes.size() >= offset + mark.size() &&
         std::equal(mark.begin(), mark.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                    [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

}  // namespace

ImageFormat FormatOf(std::span<const std::uint8_t> start) {
  for (const FormatMark& mark : kStartMarks) {
    if (HasMark(start, mark.offset, mark.bytes)) return mark.format;
  }
  return {};
}

}  // namespace qzmtraw::host
