#include "tests/text/LiteralText.h"

namespace qzmtraw::test {
namespace {

bool Contains(const std::string& text, const std::string& literal) { return text.find(literal) != std::string::npos; }
bool StartsWith(const std::string& text, const std::string& literal) { return text.find(literal) == 0; }
bool Below(const std::string& text, std::size_t limit, const std::string& literal) {
  return text.find(literal) < limit;
}

std::string UpToZero(const std::string& bytes) { return bytes.substr(0, bytes.find('\0')); }

bool RunTest(unsigned byte) {
  if (byte == 0xEF) return false;
  return byte == 0x09 || byte == 0x0A || byte == 0x0D || (byte >= 0x20 && byte <= 0xFD);
}

bool BodyTest(unsigned byte) { return byte == 0x09 || byte == 0x0A || byte == 0x0D || (byte >= 0x20 && byte <= 0xFE); }

bool Skipped(unsigned b, unsigned c) {
  if (((b >= 0x21 && b <= 0x2E) || (b >= 0x3D && b <= 0x3F)) && b != 0x23) return true;
  return b > 0x80 && (c == b || c < 0xB0 || c > 0xF7);
}

bool IsPerlText(const std::string& wholeText) {
  if (Contains(wholeText, "#include") || Contains(wholeText, "#import") || Contains(wholeText, "def")) return false;
  if (!Contains(wholeText, "use ") && !Contains(wholeText, "my ")) return false;
  return Contains(wholeText, ";\n");
}

bool IsPythonText(const std::string& wholeText, const std::string& headText) {
  if (StartsWith(headText, "# python")) return true;
  if (Contains(headText, "_metaclass_ = type")) return true;
  if (Contains(wholeText, ";")) return false;
  if (Contains(headText, "import Qt")) return false;
  if (Contains(headText, "import \"")) return false;
  if (Contains(headText, "import <")) return false;
  if (!Contains(headText, "\n")) return false;
  if (Contains(headText, "import ")) return true;
  return Below(wholeText, 200, "class ") && Contains(wholeText, "def ") && Contains(wholeText, ":\n");
}

bool IsObjectiveCSource(const std::string& wholeText, const std::string& headText) {
  if (Contains(wholeText, "@interface")) return false;
  if (!Contains(headText, "#import <") && !Contains(headText, "#import \"")) return false;
  if (Below(wholeText, 300, "@implementation")) return true;
  return Contains(wholeText, "NSAutoreleasePool") && Contains(wholeText, " drain];");
}

}  // namespace

void LiteralText::Scan(const std::string& block, std::size_t sectorSize, std::uint64_t startSector) {
  for (std::size_t i = 0; (i + 1) * sectorSize <= block.size(); ++i) {
    const std::string sector = block.substr(i * sectorSize, sectorSize);
    const std::uint32_t wasOpen = fileOpen_;
    const unsigned b = static_cast<unsigned char>(sector[0]);
    const unsigned c = i * sectorSize + 1 < block.size() ? static_cast<unsigned char>(block[i * sectorSize + 1]) : 0;
    if (wasOpen == 0 && Skipped(b, c)) continue;
    if (!RunTest(b)) {
      if (wasOpen != 0) CloseText();
      continue;
    }
    if (wasOpen == 0) {
      ClassifySector(sector);
      if (textKind == 0) continue;
      fileOpen_ = 1;
      fileStart_ = startSector + i;
    }
    if (textKind == 1) {
      ClassifySector(sector);
      if (textKind == 0) {
        fileOpen_ = 0;
        fileStart_ = 0;
        continue;
      }
    }
    WalkSectorBytes(sector);
  }
}

void LiteralText::WalkSectorBytes(const std::string& sector) {
  for (const char character : sector) {
    if (!BodyTest(static_cast<unsigned char>(character))) {
      CloseText();
      return;
    }
    ++fileSize_;
  }
}

void LiteralText::CloseText() {
  if (static_cast<std::int64_t>(fileSize_) >= 256 && textKind != 0) {
    Record record{fileStart_, fileSize_, textKind};
    if (textKind < 13 && static_cast<std::int64_t>(record.fileSize) > static_cast<std::int64_t>(maxFileSize_)) {
      record.fileSize = maxFileSize_;
    }
    hits.push_back(record);
    textKind = 0;
  }
  fileOpen_ = 0;
  fileSize_ = 0;
}

void LiteralText::ClassifySector(const std::string& sector) {
  const std::string wholeText = UpToZero(sector);
  const std::string headText = wholeText.substr(0, 65);
  std::string tailText;
  if (sector.size() > 278) tailText = UpToZero(sector.substr(278));
  if (sector.size() > 5 && sector.substr(0, 5) == "IN;\r\n") {
    textKind = 14;
    return;
  }
  const std::string six = sector.substr(0, 6);
  if (six == "070707" || six == "070702" || six == "070701") return;
  if (CheckKnownHeads(wholeText, headText, tailText)) return;
  const std::string two = sector.substr(0, 2);
  if (two == "//" || two == "/*") {
    ClassifyCommented(wholeText, headText);
  } else {
    ClassifySource(wholeText, headText);
  }
}

bool LiteralText::CheckKnownHeads(const std::string& wholeText, const std::string& headText,
                                  const std::string& tailText) {
  const auto settle = [this](std::uint32_t code) {
    textKind = code;
    return true;
  };
  if (Contains(wholeText, "TaxACT Encrypted")) return settle(0);
  if (Contains(wholeText, "Microsoft Linker Database")) return settle(0);
  if (Contains(wholeText, "Microsoft C/C++ MSF")) return settle(0);
  if (Contains(tailText, "ESET Update Signing Certificate")) return settle(0);
  if (StartsWith(wholeText, "AVP Antiviral Database")) return settle(0);
  if (StartsWith(wholeText, "VCPCH0")) return settle(0);
  if (StartsWith(headText, "XPCOMTypeLib")) return settle(0);
  if (StartsWith(headText, "TTFN")) return settle(0);
  if (StartsWith(headText, "SMARTDRW")) return settle(0);
  if (Contains(wholeText, "[InternetShortcut]")) return settle(11);
  if (StartsWith(wholeText, "// <!-- <mdb:mork:z v=")) return settle(16);
  if (StartsWith(wholeText, "BegMf")) return settle(13);
  if (StartsWith(wholeText, "#EXTM3U")) return settle(15);
  if (Contains(headText, "TABLE") && Contains(wholeText, "\"EXCEL\"")) return settle(18);
  if (StartsWith(wholeText, "MIME-Version:")) return settle(17);
  if (Contains(wholeText, "@") && StartsWith(wholeText, "Date: Wed") && Contains(wholeText, "From:")) return settle(17);
  if (StartsWith(wholeText, "OziExplorer Map Data File Version")) return settle(19);
  if (StartsWith(headText, "REGEDIT4") && Below(headText, 13, "[HKEY_")) return settle(20);
  if (StartsWith(headText, ":Base ") && Contains(headText, ":Title ")) return settle(21);
  if (StartsWith(headText, "<Screen")) return settle(22);
  if (wholeText.find("CLW file contains information for the") == 2) return settle(23);
  if (StartsWith(wholeText, "# Microsoft Developer Studio Project File - Name=")) return settle(24);
  if (StartsWith(wholeText, "Microsoft Developer Studio Workspace File, Format Version")) return settle(25);
  if (StartsWith(wholeText, "Type=")) return settle(26);
  if (StartsWith(wholeText, "STARTFONT")) return settle(27);
  return false;
}

// NOLINTBEGIN(bugprone-branch-clone): the rules stay apart, in their order.
void LiteralText::ClassifyCommented(const std::string& wholeText, const std::string& headText) {
  const bool hasInclude = Contains(wholeText, "#include <") || Contains(wholeText, "#include \"");
  if (Contains(wholeText, "#pragma once")) {
    textKind = 3;
  } else if (Contains(headText, ".h")) {
    textKind = 3;
  } else if (Contains(wholeText, "#import <") && !Contains(wholeText, "@")) {
    textKind = 3;
  } else if (Contains(wholeText, "#pragma pack(")) {
    textKind = 3;
  } else if (Contains(headText, ".c") && hasInclude) {
    textKind = 4;
  } else if (Contains(headText, ".java") || Contains(wholeText, "import java")) {
    textKind = 5;
  } else if (Contains(headText, "jQuery ") || Contains(headText, "JavaScript")) {
    textKind = 6;
  } else if (Contains(wholeText, "function(") && Contains(wholeText, "var ") && !Contains(wholeText, "class")) {
    textKind = 6;
  } else if (Contains(wholeText, "<script language=\"Javascript\"")) {
    textKind = 6;
  } else if (Contains(wholeText, "<?php")) {
    textKind = 12;
  } else if (StartsWith(headText, "/*") && !Contains(wholeText, "*/")) {
    textKind = 1;
  } else {
    textKind = 2;
  }
}

void LiteralText::ClassifySource(const std::string& wholeText, const std::string& headText) {
  const bool includes = Contains(headText, "#include <") || Contains(headText, "#include \"");
  const bool imports = Contains(headText, "#import <") || Contains(headText, "#import \"");
  if (StartsWith(headText, "#pragma once") || StartsWith(headText, "#ifndef") || Contains(headText, "#pragma pack(")) {
    textKind = 3;
  } else if (Contains(headText, "#import <") && !Contains(wholeText, "@")) {
    textKind = 3;
  } else if (includes && !Contains(wholeText, "#pragma once")) {
    textKind = 4;
  } else if (Below(wholeText, 200, "import java") || Below(wholeText, 200, "public interface")) {
    textKind = 5;
  } else if (Contains(wholeText, "function(") && Contains(wholeText, "var ") && Contains(wholeText, ";\n") &&
             !Contains(wholeText, "class")) {
    textKind = 6;
  } else if (Contains(wholeText, "<script language=\"JavaScript\"") ||
             Contains(wholeText, "<SCRIPT LANGUAGE=\"JavaScript\"")) {
    textKind = 6;
  } else if (IsPerlText(wholeText)) {
    textKind = 8;
  } else if (IsPythonText(wholeText, headText)) {
    textKind = 7;
  } else if (Contains(headText, "<?php")) {
    textKind = 12;
  } else if (imports && Below(wholeText, 300, "@interface")) {
    textKind = 9;
  } else if (IsObjectiveCSource(wholeText, headText)) {
    textKind = 10;
  } else {
    textKind = textKind == 1 ? 0 : 2;
  }
}

// NOLINTEND(bugprone-branch-clone)

}  // namespace qzmtraw::test
