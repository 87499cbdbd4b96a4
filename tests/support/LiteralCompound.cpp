#include "tests/support/LiteralCompound.h"

#include <algorithm>
#include <array>
#include <functional>
#include <set>

namespace qzmtraw::test {

namespace {

using Numbers = std::vector<std::uint32_t>;

struct LiteralReader {
  std::function<std::uint8_t(std::uint64_t)> byteAt;  ///< By the position in the file; 0 where there is none.
  Numbers difat;
  Numbers fat;
  Numbers miniFat;
  std::vector<std::array<std::uint8_t, 128>> directory;
  std::set<std::string> names;
  bool clean = true;
  std::uint32_t sectorSize = 0;
  std::uint32_t sectorLimit = 0x80000;
  std::uint32_t miniStreamSize = 0;

  std::uint32_t U16(std::uint64_t at) const { return byteAt(at) | std::uint32_t{byteAt(at + 1)} << 8; }
  std::uint32_t U32(std::uint64_t at) const { return U16(at) | U16(at + 2) << 16; }

  bool HeaderIsGood() const {
    const std::array<std::uint8_t, 8> signature = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    for (std::size_t i = 0; i < 8; ++i) {
      if (byteAt(i) != signature[i]) return false;
    }
    if (U16(28) != 0xFFFE && U16(28) != 0xFEFF) return false;
    if (U16(24) >= 255 || U16(26) >= 255) return false;
    if (U16(30) >= 255 || U16(32) >= 255 || U16(32) > U16(30)) return false;
    return U32(72) <= U32(44);
  }

  /// Appends a sector's numbers. \return The last one; 0 when there is none.
  std::uint32_t Append(Numbers& table, std::uint32_t sector) const {
    for (std::uint32_t i = 0; i < sectorSize / 4; ++i) {
      table.push_back(U32((std::uint64_t{sector} + 1) * sectorSize + std::uint64_t{4} * i));
    }
    return sectorSize >= 4 ? table.back() : 0;
  }

  void LoadTables() {
    const std::uint32_t reach = 0x7fffffff / sectorSize;
    for (std::uint32_t i = 0; i < 109; ++i) difat.push_back(U32(76 + 4 * i));
    if (U32(68) != 0 && U32(72) != 0) {
      std::uint32_t sector = U32(68);
      std::uint32_t read = 0;
      while (static_cast<std::int32_t>(sector) >= 1 && read < std::min(U32(72), 8192U)) {
        if (sector > reach) break;
        sector = Append(difat, sector);
        ++read;
      }
    }
    std::uint32_t listed = std::min<std::uint32_t>(U32(44), static_cast<std::uint32_t>(difat.size()));
    if (listed >= 8193) listed = 8192;
    for (std::uint32_t i = 0; i < listed; ++i) {
      if (difat[i] > reach) break;
      if (static_cast<std::int32_t>(difat[i]) >= 0) Append(fat, difat[i]);
    }
    sectorLimit = static_cast<std::uint32_t>(fat.size());
    std::uint32_t sector = U32(60);
    std::uint32_t read = 0;
    while (static_cast<std::int32_t>(sector) > 0 && read < std::min(U32(64), 2048U)) {
      if (sector > reach) break;
      sector = Append(miniFat, U32(60));
      ++read;
    }
  }

  static std::uint32_t Field(const std::array<std::uint8_t, 128>& entry, std::size_t at) {
    return entry[at] | std::uint32_t{entry[at + 1]} << 8 | std::uint32_t{entry[at + 2]} << 16 |
           std::uint32_t{entry[at + 3]} << 24;
  }

  static std::string Upper(std::string text) {
    for (char& letter : text) {
      if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    }
    return text;
  }

  /// The name in capitals, as far as there is ASCII for it.
  static std::string NameOf(const std::array<std::uint8_t, 128>& entry) {
    std::string found;
    for (std::size_t i = 0; i < 32 && (entry[2 * i] != 0 || entry[2 * i + 1] != 0); ++i) {
      found += entry[2 * i + 1] == 0 ? static_cast<char>(entry[2 * i]) : '\xFF';
    }
    return Upper(found);
  }

  void WalkDirectory() {
    std::uint32_t sector = U32(48);
    std::uint32_t pass = 0;
    for (;;) {
      const std::uint32_t position = (sector + 1) * sectorSize;
      std::uint32_t bad = 0;
      for (std::uint32_t i = 0; i < sectorSize / 128; ++i) {
        std::array<std::uint8_t, 128> entry{};
        for (std::size_t k = 0; k < 128; ++k) entry[k] = byteAt(std::uint64_t{position} + 128 * i + k);
        const std::uint32_t nameLength = Field(entry, 64) & 0xFFFF;
        if (nameLength == 0 || nameLength > 64) continue;
        if (NameOf(entry) == "ROOT ENTRY") miniStreamSize = Field(entry, 120);
        const std::uint32_t start = Field(entry, 116);
        const bool startIsGood = start == 0xFFFFFFFD || start == 0xFFFFFFFE || start == 0xFFFFFFFF ||
                                 start < std::max(sectorLimit, miniStreamSize);
        if (startIsGood && Field(entry, 120) <= 0x4000000 && (entry[67] == 0 || entry[67] == 1) && entry[66] < 6) {
          directory.push_back(entry);
          names.insert(NameOf(entry));
        } else {
          ++bad;
          clean = false;
        }
      }
      if (sector >= fat.size()) return;
      sector = fat[sector];
      if (bad == sectorSize / 128 || static_cast<std::int32_t>(sector) < 1) return;
      if (pass + 1 > sectorSize / 4 * U32(44)) return;
      ++pass;
    }
  }

  std::uint32_t Size() const {
    const std::uint32_t ss = sectorSize;
    const auto count = [](const Numbers& table) { return static_cast<std::uint32_t>(table.size()); };
    const std::uint32_t difatSectors = (4 * count(difat) - 437 + ss) / ss;
    const std::uint32_t miniFatSectors = (4 * count(miniFat) - 1 + ss) / ss;
    const std::uint32_t fatSectors = (4 * count(fat) - 1 + ss) / ss;
    std::uint32_t total = (fatSectors + difatSectors + miniFatSectors) * ss + 512;
    total += (128 * static_cast<std::uint32_t>(directory.size()) + ss - 1) / ss * ss;
    for (const auto& entry : directory) total += (Field(entry, 120) + ss - 1) / ss * ss;
    const std::uint32_t bound = sectorLimit * ss;
    return total > bound || !clean ? bound : total;
  }

  bool Has(const std::string& name) const { return names.contains(Upper(name)); }

  bool HasAll(std::initializer_list<const char*> wanted) const {
    return std::all_of(wanted.begin(), wanted.end(), [&](const char* name) { return Has(name); });
  }

  std::uint32_t OfficeCode() const {
    const bool compObj = Has(std::string("\x01") + "CompObj");
    if (!Has("\x05SummaryInformation") || !Has(std::string("\x05") + "DocumentSummaryInformation")) return 0;
    if (Has("WordDocument")) return 2;
    if (Has("Workbook") || Has("Book")) return 3;
    if (Has("PowerPoint Document") || Has("PP40")) return 4;
    if (Has("VisioDocument") && Has("VisioInformation")) return 5;
    if (Has("Contents") && compObj) return 7;
    if ((Has("Props9") || Has("Props")) && compObj) return 6;
    return 0;
  }

  std::uint32_t OtherCode() const {
    const std::array<std::uint8_t, 16> flash = {0x70, 0xAA, 0x7C, 0x59, 0xAA, 0x72, 0xCF, 0x11,
                                                0x83, 0x1E, 0x52, 0x41, 0x53, 0x48, 0x00, 0x00};
    if (HasAll({"Scene", "DllDirectory", "ClassDirectory3", "ClassData", "VideoPostQueue"})) return 12;
    if (Has("DataAccessPages") || Has("AcessVBAData")) return 23;
    if (HasAll({"CONTENTS", "SPELLING", "Root Entry"})) return 16;
    if (Has("NativeContent_MAIN")) return 14;
    if (Has("PageMaker")) return 13;
    if (!directory.empty() && std::equal(flash.begin(), flash.end(), directory[0].begin() + 80)) return 11;
    if (Has("Symbol 1")) return 11;
    if (HasAll({"modulesinbackup", "mfbu_header"})) return 19;
    if (HasAll({"reload.sql", "header"})) return 20;
    if (HasAll({"__properties_version1.0", "__nameid_version1.0"})) return 22;
    if (HasAll({"QESession", "ReportInfo", "Root Entry"})) return 17;
    if (HasAll({".IDX", ".QDF", ".QEL"})) return 18;
    if (HasAll({"FileHeader", "DocInfo", "BodyText"})) return 21;
    if ((Has("PerfectOffice_MAIN") || Has("PerfectOffice_OBJECTS")) && Has("SlideShow")) return 15;
    if (HasAll({"Layer", "PAPER SPACE", "VIEWDATA", "PREVIEW", "SYMBOL"})) return 8;
    if (HasAll({"*PreviewStream", "*IDMgr", "*ImageMgrSgm"})) return 24;
    return 1;
  }
};

}  // namespace

std::vector<CodedHit> LiteralCompoundScan(const Device& device) {
  std::vector<CodedHit> hits;
  const auto sectorSize = static_cast<std::uint64_t>(device.SectorSize());
  if (sectorSize < 9 || sectorSize > 32768) return hits;
  for (std::uint64_t i = 0; i < static_cast<std::uint64_t>(device.SectorCount()); ++i) {
    LiteralReader reader;
    reader.byteAt = [&device, base = i * sectorSize](std::uint64_t position) {
      return base + position < device.Bytes().size() ? device.Bytes()[base + position] : std::uint8_t{0};
    };
    if (!reader.HeaderIsGood()) continue;
    reader.sectorSize = std::uint32_t{1} << (reader.U16(30) & 31);
    reader.LoadTables();
    reader.WalkDirectory();
    const auto size = static_cast<std::int32_t>(reader.Size());
    if (size < 1024) continue;
    std::uint32_t code = reader.OfficeCode();
    if (code == 0) code = reader.OtherCode();
    const Hit hit{device.FirstSector() + i, static_cast<std::uint64_t>(size)};
    hits.push_back({code, hit});
    if (code == 4) hits.push_back({10, hit});
    if (code == 3) hits.push_back({9, hit});
  }
  return hits;
}

}  // namespace qzmtraw::test
