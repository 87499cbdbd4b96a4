#include <gtest/gtest.h>

#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x100000;

std::string Wide(const std::string& text) {
  std::string wide;
  for (const char character : text) wide += {character, '\0'};
  return wide;
}
std::string WideFile(const std::string& text) { return "\xFF\xFE" + Wide(text); }

Hits ScanPages(const Device& device) { return ScanAnyCut("KHTMLFileType", device); }

Hits ScanFile(const std::string& file, int sectorCount = 60) {
  return ScanPages(Device(sectorCount, 512, kFirst, 'x').Put(kFirst + 1, file));
}

/// A page of `size` bytes.
std::string Page(std::size_t size, const std::string& opening = "<html>") {
  return opening + std::string(size - opening.size() - 7, 'y') + "</html>";
}

TEST(KHTMLFileType, PageThatClosesInItsHeadIsTwoBytesLonger) {
  EXPECT_EQ(ScanFile(Page(1000)), (Hits{{kFirst + 1, 1002}}));
  EXPECT_EQ(ScanFile(Page(4000)), (Hits{{kFirst + 1, 4002}}));
}

TEST(KHTMLFileType, HeadIsSearchedForTagsBelowOffset4089) {
  EXPECT_EQ(ScanFile(Page(4088 + 7)), (Hits{{kFirst + 1, 4097}}));
  // At 4089 the tag straddles no sector's end yet but its last byte ends one.
  EXPECT_EQ(ScanFile(Page(4089 + 7)), Hits{});
  EXPECT_EQ(ScanFile(Page(4200)), (Hits{{kFirst + 1, 9 * 512}}));
}

TEST(KHTMLFileType, PageThatClosesLaterHasWholeSectors) {
  EXPECT_EQ(ScanFile(Page(5000)), (Hits{{kFirst + 1, 10 * 512}}));
  EXPECT_EQ(ScanFile(Page(16000)), (Hits{{kFirst + 1, 32 * 512}}));
}

TEST(KHTMLFileType, TagThatEndsOrLeavesItsSectorIsNotSeen) {
  EXPECT_EQ(ScanFile(Page(5120 - 1)), (Hits{{kFirst + 1, 5120}}));
  for (std::size_t beyond = 0; beyond < 7; ++beyond) EXPECT_EQ(ScanFile(Page(5120 + beyond)), Hits{}) << beyond;
  EXPECT_EQ(ScanFile(Page(5120 + 7)), (Hits{{kFirst + 1, 5120 + 512}}));
}

TEST(KHTMLFileType, SectorsAreCountedByTheirNumbers) {
  // The host leaves sectors out: they count for the page's end, and not for the limit.
  const Detector detector = CreateDetector("KHTMLFileType");
  Scan(*detector, Device(10, 512, kFirst, 'x').Put(kFirst, "<html>"));
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 50, 'x').Put(kFirst + 50, "</html>")), (Hits{{kFirst, 51 * 512}}));
}

TEST(KHTMLFileType, PageBelow256BytesIsDropped) {
  EXPECT_EQ(ScanFile(Page(253)), Hits{});
  EXPECT_EQ(ScanFile(Page(254)), (Hits{{kFirst + 1, 256}}));
  EXPECT_EQ(ScanFile(Page(200) + std::string(5000, 'y') + "</html>y"), Hits{});
}

TEST(KHTMLFileType, SearchedPageBelow256BytesIsDropped) {
  // Behind 4096 bytes a page is larger. Sectors of the host's make may still be counted anew.
  const Detector detector = CreateDetector("KHTMLFileType");
  Scan(*detector, Device(40, 200, kFirst, 'x').Put(kFirst, "<html>"));
  EXPECT_EQ(Scan(*detector, Device(1, 200, kFirst, 'x').Put(kFirst, "y</html>")), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 200, kFirst + 2, 'x').Put(kFirst + 2, "y</html>")), Hits{});
  Scan(*detector, Device(40, 200, kFirst, 'x').Put(kFirst, "<html>"));
  EXPECT_EQ(Scan(*detector, Device(1, 200, kFirst + 1, 'x').Put(kFirst + 1, "y</html>")), (Hits{{kFirst, 400}}));
}

TEST(KHTMLFileType, OpensWithADoctypeOrTheTag) {
  for (const char* opening : {"<html>", "<HTML>", "<hTmL lang=\"en\">", "<!DOCTYPE html>",
                              "<!doctype HTML PUBLIC \"-//W3C//DTD\">", "<!DocType Html5>", "<htmlx>"}) {
    EXPECT_EQ(ScanFile(Page(1000, opening)), (Hits{{kFirst + 1, 1002}})) << opening;
  }
  for (const char* opening :
       {"<head>", "<!-- -->", "<htm>", "<!DOCTYPE  html>", "<!DOCTYPE svg>", "html>", "< html>"}) {
    EXPECT_EQ(ScanFile(Page(1000, opening)), Hits{}) << opening;
  }
}

TEST(KHTMLFileType, OnlyLettersAreFolded) {
  // These differ from the tag's bytes by the bit that tells small letters from capitals.
  EXPECT_EQ(ScanFile(Page(1000, "\x1Chtml>")), Hits{});
  EXPECT_EQ(ScanFile(Page(1000,
                          "<\x01"
                          "doctype html>")),
            Hits{});
  EXPECT_EQ(ScanFile("<html>" + std::string(5000, 'y') + "<\x0Fhtml>" + "</html\x1E" + "</html>y"),
            (Hits{{kFirst + 1, 10 * 512}}));
  EXPECT_EQ(ScanFile("<html>" + std::string(5000, 'y') + "<\x0Fhtml>" + "</html\x1E"), Hits{});
}

TEST(KHTMLFileType, ClosingTagIsFolded) {
  EXPECT_EQ(ScanFile("<html>" + std::string(500, 'y') + "</HtMl>"), (Hits{{kFirst + 1, 515}}));
  EXPECT_EQ(ScanFile("<html>" + std::string(5000, 'y') + "</HtMl>y"), (Hits{{kFirst + 1, 5120}}));
}

TEST(KHTMLFileType, WhiteSpaceMayStandInFrontOfTheTag) {
  EXPECT_EQ(ScanFile(" \r\n\t" + Page(1000)), (Hits{{kFirst + 1, 1006}}));
  EXPECT_EQ(ScanFile(std::string(127, ' ') + Page(1000)), (Hits{{kFirst + 1, 1129}}));
  EXPECT_EQ(ScanFile(std::string(128, ' ') + Page(1000)), Hits{});
  EXPECT_EQ(ScanFile("\v" + Page(1000)), Hits{});
  EXPECT_EQ(ScanFile("\xEF\xBB\xBF" + Page(1000)), Hits{});
}

TEST(KHTMLFileType, OpeningTagEndsBelowOffset2048) {
  const auto opening = [](std::size_t end) { return "<html " + std::string(end - 6, 'a') + ">"; };
  EXPECT_EQ(ScanFile(Page(3000, opening(2047))), (Hits{{kFirst + 1, 3002}}));
  EXPECT_EQ(ScanFile(Page(3000, opening(2048))), Hits{});
  EXPECT_EQ(ScanFile(Page(3000, "<html <a>")), Hits{});
}

TEST(KHTMLFileType, TagIsScannedFromItsFifthByte) {
  // With "<html" taken for granted, the first ">" or "<" behind it counts.
  EXPECT_EQ(ScanFile(Page(1000, "<html<>")), Hits{});
}

TEST(KHTMLFileType, NewPageReportsTheOneBefore) {
  Device device(60, 512, kFirst, 'x');
  device.Put(kFirst + 1, "<html>").Put(kFirst + 20, Page(1000, "<html a>"));
  device.Put(kFirst + 20, 993, "yyyyyyy").Put(kFirst + 40, "</html>");
  EXPECT_EQ(ScanPages(device), (Hits{{kFirst + 1, 19 * 512}, {kFirst + 20, 21 * 512}}));
}

TEST(KHTMLFileType, SmallPageBeforeANewOneVanishes) {
  Device device(200, 64, kFirst, 'x');
  device.Put(kFirst, "<html>").Put(kFirst + 3, "<html>").Put(kFirst + 7, "<html>").Put(kFirst + 100, "</html>");
  EXPECT_EQ(ScanPages(device), (Hits{{kFirst + 3, 256}, {kFirst + 7, 94 * 64}}));
}

TEST(KHTMLFileType, PageWithoutEndIsGivenUpAboveTheLimit) {
  const auto sectors = static_cast<int>(kLimit / 4096);
  const Device device = Device(sectors + 1, 4096, kFirst, 'x').Put(kFirst, "<html>");
  EXPECT_EQ(ScanPages(device), (Hits{{kFirst, kLimit}}));
  Device closing = device;
  closing.Put(kFirst + static_cast<std::uint64_t>(sectors) - 1, "</html>");
  EXPECT_EQ(ScanPages(closing), (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(ScanPages(Device(sectors, 4096, kFirst, 'x').Put(kFirst, "<html>")), Hits{});
}

TEST(KHTMLFileType, LimitOfTheHostClips) {
  const Detector detector = CreateDetector("KHTMLFileType");
  detector->SetMaxFileSize(1001);
  const Device closing = Device(60, 512, kFirst, 'x').Put(kFirst, Page(1000));
  EXPECT_EQ(Scan(*detector, closing), (Hits{{kFirst, 1001}}));
  EXPECT_EQ(Scan(*detector, Device(9, 512, kFirst, 'x').Put(kFirst, "<html>")), (Hits{{kFirst, 1001}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, closing), (Hits{{kFirst, 1002}}));
}

TEST(KHTMLFileType, ResetForgetsTheOpenPage) {
  const Detector detector = CreateDetector("KHTMLFileType");
  Scan(*detector, Device(10, 512, kFirst, 'x').Put(kFirst, "<html>"));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 10, 'x').Put(kFirst + 10, "</html>")), Hits{});
}

// UTF-16.

TEST(KHTMLFileType, WidePageThatClosesInItsHeadHasItsSize) {
  // 2 bytes of mark, 2 a character: the size is two bytes and more behind the tag's end.
  for (const std::size_t characters : {500U, 501U, 4088U + 7U}) {
    EXPECT_EQ(ScanFile(WideFile(Page(characters)), 80), (Hits{{kFirst + 1, 22 + 2 * (characters - 7)}})) << characters;
  }
}

TEST(KHTMLFileType, WidePageThatClosesLaterRunsToTheLimit) {
  const auto sectors = static_cast<int>(kLimit / 512);
  Device device(sectors + 1, 512, kFirst, 'x');
  device.Put(kFirst, WideFile(Page(4089 + 7))).Put(kFirst + 100, Wide("</html>"));
  EXPECT_EQ(ScanPages(device), (Hits{{kFirst, kLimit}}));
}

TEST(KHTMLFileType, WidePageEndsAtATagInSingleBytesBehindItsFirstSector) {
  Device device(60, 512, kFirst, 'x');
  device.Put(kFirst, WideFile("<html>")).Put(kFirst + 40, "</html>");
  EXPECT_EQ(ScanPages(device), (Hits{{kFirst, 41 * 512}}));
}

TEST(KHTMLFileType, WideTagIsComparedAsFarAsItsBytesGo) {
  // Seven characters of the doctype, two and a half of the tag, three and a half of the closing tag.
  const std::string body(300, 'y');
  EXPECT_EQ(ScanFile(WideFile("<!doctyXX>" + body + "</hTXX")), (Hits{{kFirst + 1, 22 + 2 * 310}}));
  EXPECT_EQ(ScanFile(WideFile("<!doctXX>" + body + "</html>")), Hits{});
  EXPECT_EQ(ScanFile(WideFile("<hTXXX>" + body + "</html>")), (Hits{{kFirst + 1, 22 + 2 * 307}}));
  EXPECT_EQ(ScanFile(WideFile("<hXXXX>" + body + "</html>")), Hits{});
  // The half character behind them is not compared.
  std::string page = WideFile("<html>" + body + "</html>");
  page[2 + 4 + 1] = 'Z';
  EXPECT_EQ(ScanFile(page), (Hits{{kFirst + 1, 22 + 2 * 306}}));
  page[2 + 2 * 306 + 7] = 'Z';
  EXPECT_EQ(ScanFile(page), (Hits{{kFirst + 1, 22 + 2 * 306}}));
  page[2 + 2 * 306 + 5] = 'Z';
  EXPECT_EQ(ScanFile(page), Hits{});
}

TEST(KHTMLFileType, WideClosingTagStandsOnAWholeUnit) {
  std::string page = WideFile("<html>" + std::string(300, 'y'));
  page += 'y' + Wide("</html>") + 'y' + Wide(std::string(50, 'y') + "</html>");
  EXPECT_EQ(ScanFile(page), (Hits{{kFirst + 1, 22 + 2 * (306 + 8 + 50)}}));
}

TEST(KHTMLFileType, WidePageHasItsLimitsInUnits) {
  const std::string body(300, 'y');
  EXPECT_EQ(ScanFile(WideFile(std::string(127, '\n') + "<html>" + body + "</html>")).size(), 1U);
  EXPECT_EQ(ScanFile(WideFile(std::string(128, '\n') + "<html>" + body + "</html>")), Hits{});
  EXPECT_EQ(ScanFile(WideFile("y<html>" + body + "</html>")), Hits{});
  EXPECT_EQ(ScanFile(WideFile("<html " + std::string(2041, 'a') + ">" + body + "</html>")).size(), 1U);
  EXPECT_EQ(ScanFile(WideFile("<html " + std::string(2042, 'a') + ">" + body + "</html>")), Hits{});
  EXPECT_EQ(ScanFile(WideFile("<html <a>" + body + "</html>")), Hits{});
}

TEST(KHTMLFileType, SmallWidePageIsDropped) {
  EXPECT_EQ(ScanFile(WideFile(Page(123))), Hits{});
  EXPECT_EQ(ScanFile(WideFile(Page(124))), (Hits{{kFirst + 1, 256}}));
}

TEST(KHTMLFileType, SectorWithTheMarkIsSearchedInUtf16) {
  const auto scan = [](const std::string& sector) {
    Device device(60, 512, kFirst, 'x');
    return ScanPages(device.Put(kFirst, "<html>").Put(kFirst + 20, sector).Put(kFirst + 50, "</html>"));
  };
  EXPECT_EQ(scan("y</html>"), (Hits{{kFirst, 21 * 512}}));
  EXPECT_EQ(scan("\xFF\xFE</html>"), (Hits{{kFirst, 51 * 512}}));
  EXPECT_EQ(scan("\xFF\xFE" + Wide("</hTMl>")), (Hits{{kFirst, 21 * 512}}));
  EXPECT_EQ(scan("\xFF\xFEyyy" + Wide("</hTMl>")), (Hits{{kFirst, 21 * 512}}));
  EXPECT_EQ(scan("y" + Wide("</html>")), (Hits{{kFirst, 51 * 512}}));
}

TEST(KHTMLFileType, WideTagEndsInFrontOfTheSectorsLastByte) {
  for (const std::size_t offset : {512U - 15, 512U - 14}) {
    Device device(60, 512, kFirst, 'x');
    device.Put(kFirst, "<html>").Put(kFirst + 20, "\xFF\xFE").Put(kFirst + 20, offset, Wide("</html>"));
    device.Put(kFirst + 50, "</html>");
    EXPECT_EQ(ScanPages(device), (Hits{{kFirst, (offset == 512 - 15 ? 21U : 51U) * 512}}));
  }
}

TEST(KHTMLFileType, ReadsThatFailLeaveNoHead) {
  EXPECT_EQ(ScanPages(Device(3, 40000, kFirst, 'x').Put(kFirst, Page(1000))), Hits{});
  EXPECT_EQ(ScanPages(Device(3, 40000, kFirst, 'x').Put(kFirst, WideFile(Page(1000)))), Hits{});
}

/// The rules step by step and byte by byte, for a device in one block.
Hits ScanLiterally(const Device& device) {
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  const auto lower = [](int byte) { return byte >= 'A' && byte <= 'Z' ? byte + 32 : byte; };
  Hits hits;
  bool open = false;
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  for (std::size_t base = 0; base < bytes.size(); base += n) {
    // Behind the device the reader gives zeros, and the block nothing.
    const auto at = [&](std::size_t i) {
      return base + i < bytes.size() ? int{static_cast<unsigned char>(bytes[base + i])} : 0;
    };
    const auto stands = [&](std::size_t i, const std::string& text) {
      for (std::size_t k = 0; k < text.size(); ++k) {
        if (lower(at(i + k)) != lower(static_cast<unsigned char>(text[k]))) return false;
      }
      return true;
    };
    const bool isWide = at(0) == 0xFF && at(1) == 0xFE;
    const std::size_t width = isWide ? 2 : 1;
    const std::size_t origin = isWide ? 2 : 0;
    const auto unit = [&](std::size_t u) {
      return at(origin + u * width) + (isWide ? 256 * at(origin + u * width + 1) : 0);
    };
    const auto text = [&](const std::string& narrow, std::size_t wideBytes) {
      return isWide ? Wide(narrow).substr(0, wideBytes) : narrow;
    };
    std::uint64_t declared = 0;
    const bool isHead = [&] {
      std::size_t u = 0;
      for (; u < 128 && unit(u) != '<'; ++u) {
        if (unit(u) != '\r' && unit(u) != '\n' && unit(u) != '\t' && unit(u) != ' ') return false;
      }
      if (u == 128) return false;
      const std::size_t offset = origin + u * width;
      if (!stands(offset, text("<!DOCTYPE HTML", 14)) && !stands(offset, text("<HTML", 5))) return false;
      std::size_t p = u + 4;
      for (; unit(p) != '>'; ++p) {
        if (p >= 2048 || unit(p) == '<') return false;
      }
      if (p >= 2048) return false;
      for (++p; p < 4089; ++p) {
        if (!stands(origin + p * width, text("</HTML>", 7))) continue;
        declared = isWide ? 22 + 2 * p : p + 9;
        break;
      }
      return true;
    }();
    if (isHead) {
      if (open && size >= 256) hits.push_back({start, std::min(size, kLimit)});
      open = true;
      start = device.FirstSector() + base / n;
      size = 0;
      if (declared >= 256) hits.push_back({start, declared});
      if (declared != 0) open = false;
    }
    if (!open) continue;
    bool found = false;
    const std::string tag = text("</HTML>", 14);
    for (std::size_t j = 0; j + tag.size() < n; ++j) found = found || stands(j, tag);
    size = (device.FirstSector() + base / n - start + 1) * n;
    if (!found) continue;
    if (size >= 256) hits.push_back({start, size});
    open = false;
  }
  return hits;
}

TEST(KHTMLFileType, AgreesWithTheRulesTakenByteByByte) {
  const std::string pieces[] = {"</html>", "</HTML>", Wide("</Html>"), "</ht", "<html>", "<", ">", Wide("<html>")};
  const std::string heads[] = {
      "<html>",   " <!doctype html>", "<html",           WideFile("<html>"), WideFile(" <!doctype html>"),
      "\xFF\xFE", "<html <a>",        WideFile("<body>")};
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    const std::size_t sectorSize = 1 + random() % 200;
    const std::size_t size = sectorSize * (1 + random() % 120);
    std::string bytes;
    while (bytes.size() < size) {
      const auto kind = random() % 6;
      if (kind == 0) {
        bytes.resize((bytes.size() + sectorSize - 1) / sectorSize * sectorSize, 'x');
        bytes += heads[random() % std::size(heads)];
      } else if (kind < 3) {
        bytes += pieces[random() % std::size(pieces)];
      } else {
        bytes.resize(bytes.size() + random() % (kind == 3 ? 5000 : 100), 'x');
      }
    }
    bytes.resize(size);
    Device device(static_cast<int>(size / sectorSize), static_cast<int>(sectorSize));
    device.Put(kFirst, bytes);
    const Hits expected = ScanLiterally(device);
    ASSERT_EQ(Scan(*CreateDetector("KHTMLFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
