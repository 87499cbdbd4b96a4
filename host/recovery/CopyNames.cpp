#include "host/recovery/CopyNames.h"

#include <algorithm>
#include <array>
#include <regex>

namespace qzmtraw::host {
namespace {

constexpr std::size_t kSectorDigits = 12;
constexpr std::size_t kMostFolderBytes = 60;
constexpr std::string_view kPartSuffix = ".part";

bool IsLetterOrDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

char SmallLetter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Names that can't be given to files on Windows, whatever follows behind a dot.
bool IsReserved(std::string_view name) {
  constexpr std::array<std::string_view, 4> kDevices = {"con", "prn", "aux", "nul"};
  std::string small(name.substr(0, name.find('.')));
  std::ranges::transform(small, small.begin(), SmallLetter);
  const bool isPort =
      small.size() == 4 && (small.starts_with("com") || small.starts_with("lpt")) && small[3] >= '0' && small[3] <= '9';
  return isPort || std::ranges::find(kDevices, small) != kDevices.end();
}

}  // namespace

std::string HarmlessName(std::string_view text, std::size_t most) {
  std::string name;
  for (const char c : text) {
    if (name.size() == most) break;
    const bool isPlain = IsLetterOrDigit(c) || c == '_' || c == '.';
    const char next = isPlain ? c : '-';
    const bool isRepeated = !name.empty() && name.back() == next && (next == '-' || next == '.');
    if (isRepeated || (name.empty() && (next == '-' || next == '.'))) continue;
    name += next;
  }
  name.resize(name.find_last_not_of("-.") + 1);
  return name;
}

std::string FolderName(std::string_view text) {
  std::string name = HarmlessName(text, kMostFolderBytes);
  if (name.empty()) return "bin";
  if (IsReserved(name)) name.insert(0, "_");
  return name;
}

std::string CopyName::FileName(const std::string& readable) const {
  return stem + (readable.empty() ? "" : "_" + readable) + "." + type;
}

std::string CopyName::PartName() const { return FileName({}) + std::string(kPartSuffix); }

bool IsPartName(std::string_view name) {
  if (!name.ends_with(kPartSuffix)) return false;
  name.remove_suffix(kPartSuffix.size());
  static const std::regex kPattern("[0-9]{12,20}(-r[0-9]+(-[0-9]+)?)?\\.[A-Za-z0-9_.-]+");
  return std::regex_match(name.begin(), name.end(), kPattern);
}

CopyName CopyNamer::NameFor(const Find& find, const TypeInfo& type) {
  if (find.startSector != sector_) counts_.clear();
  sector_ = find.startSector;
  CopyName name{FolderName(CategoryName(type.category)), FolderName(type.extension), std::to_string(find.startSector)};
  if (name.stem.size() < kSectorDigits) name.stem.insert(0, kSectorDigits - name.stem.size(), '0');
  const std::string place = name.category + '/' + name.type;
  if (++counts_[place] == 1) return name;
  const std::string row = "-r" + std::to_string(find.row);
  const std::size_t number = ++counts_[place + row];
  name.stem += row;
  if (number > 1) name.stem += "-" + std::to_string(number);
  return name;
}

}  // namespace qzmtraw::host
