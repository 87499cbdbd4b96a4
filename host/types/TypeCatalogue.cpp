#include "host/types/TypeCatalogue.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

using Guid = std::array<std::uint8_t, 16>;

/// Long enough for every text of the registry, with room for the zero that ends it.
using TextBuffer = std::array<char, 256>;

std::string TextIn(const TextBuffer& buffer) { return Latin1ToUtf8(buffer.data()); }

std::string RegistryForm(const Guid& guid) {
  // The first three fields are stored with the low byte first.
  constexpr std::array<std::size_t, 16> kOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  std::string text = "{";
  for (std::size_t i = 0; i < kOrder.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02X", static_cast<unsigned>(guid.at(kOrder.at(i))));
    text += digits.data();
  }
  return text + '}';
}

std::string LetterOf(const Guid& guid, std::vector<Guid>& known) {
  auto place = std::ranges::find(known, guid);
  if (place == known.end()) place = known.insert(known.end(), guid);
  const auto number = static_cast<std::size_t>(place - known.begin());
  if (number >= 26) return std::to_string(number + 1);
  return {static_cast<char>('A' + static_cast<int>(number))};
}

std::optional<SizeHints> HintsOf(IRawFileType& detector) {
  std::array<std::uint64_t, 2> hints{};
  if (detector.GetSizeHints(0, hints.data(), sizeof hints) != 0 || hints[1] == 0) return std::nullopt;
  return SizeHints{hints[0], hints[1]};
}

}  // namespace

TypeCatalogue ReadTypeCatalogue(IRawFileTypeFactory& registry) {
  TypeCatalogue catalogue;
  std::vector<Guid> groups;
  for (std::int32_t row = 0; row < registry.GetTypeCount(); ++row) {
    TypeInfo info;
    info.row = row;
    Guid guid{};
    const DetectorPtr detector(registry.CreateType(row, &info.category, guid.data()));
    if (detector == nullptr) throw Failure("the library lacks file type " + std::to_string(row) + ": reinstall it");
    TextBuffer extension{};
    detector->GetExtension(extension.data(), extension.size());
    info.extension = TextIn(extension);
    TextBuffer description{};
    detector->GetDescription(description.data(), description.size());
    info.description = TextIn(description);
    info.hints = HintsOf(*detector);
    if (guid != Guid{}) {
      info.group = LetterOf(guid, groups);
      info.groupGuid = RegistryForm(guid);
    }
    if (static_cast<std::size_t>(row) < AllTypeFacts().size()) {
      info.facts = AllTypeFacts()[static_cast<std::size_t>(row)];
      info.rule = AllTypeRules()[static_cast<std::size_t>(row)];
      info.greatestSize = info.rule.greatestSize;
    }
    catalogue.push_back(info);
  }
  return catalogue;
}

std::string_view CategoryName(std::int32_t category) {
  switch (category) {
    case 1:
      return "documents";
    case 2:
      return "archives";
    case 3:
      return "graphics";
    case 4:
      return "audio and video";
    case 5:
      return "internet and mail";
    case 6:
      return "databases";
    case 7:
      return "executables";
    case 8:
      return "development files";
    case 9:
      return "fonts";
    case 10:
      return "source code";
    default:
      return "other";
  }
}

}  // namespace qzmtraw::host
