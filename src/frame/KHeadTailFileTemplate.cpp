#include "frame/KHeadTailFileTemplate.h"

#include <algorithm>
#include <iterator>

namespace qzmtraw {

namespace {

/// What the rows of the table configure the class with, beyond their texts.
struct Configuration {
  std::int32_t row;
  ByteView head;
  ByteView tail;
};

constexpr auto kPhotoshopBrushHead = Bytes(
    "\x00\x06\x00\x02"
    "8BIM");
constexpr auto kPhotoshopBrushTail = Bytes("Rpt bool\0");
constexpr auto kCaxaHead = Bytes(
    "\x10"
    "CaxaEbForWindows");
constexpr auto kCaxaTail = Bytes("\x20\x3B\x01\0\0\0\0\xFF\xFF\0\0\0\0\0\0\0\0\0\0\0\0");
constexpr auto kGraphPadHead = Bytes("PCFFGRA");
constexpr auto kGraphPadTail = Bytes("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01\x40");

constexpr Configuration kConfigurations[] = {
    {93, kPhotoshopBrushHead, kPhotoshopBrushTail},
    {94, kCaxaHead, kCaxaTail},
    {270, kGraphPadHead, kGraphPadTail},
};

}  // namespace

KHeadTailFileTemplate::KHeadTailFileTemplate(const char* description, const char* extension, const std::uint8_t* head,
                                             std::uint32_t headLength, const std::uint8_t* tail,
                                             std::uint32_t tailLength, std::int32_t fixedSize)
    : head_(head, headLength),
      tail_(tail, tail == nullptr ? 0 : tailLength),
      headProbe_(Probe::Of(0, head_)),
      hasTail_(tail != nullptr),
      fixedSize_(fixedSize) {
  SetTexts(description, extension);
  LookFor({&headProbe_, 1});
}

bool KHeadTailFileTemplate::IsHead(const Sector& sector) const {
  return sector.Bytes().size() >= head_.size() && sector.Has(0, head_);
}

std::optional<std::int64_t> KHeadTailFileTemplate::KnownSize(const Sector& /*sector*/) const {
  if (hasTail_) return std::nullopt;
  return fixedSize_;
}

template <>
IRawFileType* Create<KHeadTailFileTemplate>(const TypeRow& row) {
  const auto* configuration = std::find_if(std::begin(kConfigurations), std::end(kConfigurations),
                                           [&](const Configuration& candidate) { return candidate.row == row.index; });
  if (configuration == std::end(kConfigurations)) return nullptr;
  const auto& [index, head, tail] = *configuration;
  return new KHeadTailFileTemplate(row.description, row.extension, head.data(), static_cast<std::uint32_t>(head.size()),
                                   tail.data(), static_cast<std::uint32_t>(tail.size()), 0);
}

}  // namespace qzmtraw
