#include "text/TextKinds.h"

#include <algorithm>

#include "frame/Search.h"
#include "text/KeywordRules.h"
#include "text/PairSet.h"

namespace qzmtraw {
namespace {

/// A sector up to its first zero byte.
using Whole = In<TextPart::kWhole>;
/// The first bytes of that, in which the words of an opening comment and the first directives stand.
using Head = In<TextPart::kHead>;
constexpr std::size_t kHeadSize = 65;
/// What stands behind a header of this size, up to the next zero byte.
using Tail = In<TextPart::kTail>;
constexpr std::size_t kTailOffset = 278;

// clang-format off

/// Formats that say at their beginning what they are. Those that only look like text, and have detectors of their own,
/// are no text.
constexpr KeywordRule kKnownHeadRules[] = {
    {kNoText,             Whole::Contains("TaxACT Encrypted")},
    {kNoText,             Whole::Contains("Microsoft Linker Database")},
    {kNoText,             Whole::Contains("Microsoft C/C++ MSF")},
    {kNoText,             Tail::Contains("ESET Update Signing Certificate")},
    {kNoText,             Whole::StartsWith("AVP Antiviral Database")},
    {kNoText,             Whole::StartsWith("VCPCH0")},
    {kNoText,             Head::StartsWith("XPCOMTypeLib")},
    {kNoText,             Head::StartsWith("TTFN")},
    {kNoText,             Head::StartsWith("SMARTDRW")},
    {kInternetShortcut,   Whole::Contains("[InternetShortcut]")},
    {kMailSummary,        Whole::StartsWith("// <!-- <mdb:mork:z v=")},
    {kClearTextMetafile,  Whole::StartsWith("BegMf")},
    {kPlayList,           Whole::StartsWith("#EXTM3U")},
    {kDataInterchange,    Head::Contains("TABLE") && Whole::Contains("\"EXCEL\"")},
    {kMail,               Whole::StartsWith("MIME-Version:")},
    {kMail,               Whole::StartsWith("Date: Wed") && Whole::Contains("@") && Whole::Contains("From:")},
    {kOziExplorerMap,     Whole::StartsWith("OziExplorer Map Data File Version")},
    {kRegistryExport,     Head::StartsWith("REGEDIT4") && Head::HasBelow(13, "[HKEY_")},
    {kHelpContents,       Head::StartsWith(":Base ") && Head::Contains(":Title ")},
    {kGuiDesign,          Head::StartsWith("<Screen")},
    {kClassWizard,        Whole::HasAt(2, "CLW file contains information for the")},
    {kStudioProject,      Whole::StartsWith("# Microsoft Developer Studio Project File - Name=")},
    {kStudioWorkspace,    Whole::StartsWith("Microsoft Developer Studio Workspace File, Format Version")},
    {kVisualBasicProject, Whole::StartsWith("Type=")},
    {kBitmapFont,         Whole::StartsWith("STARTFONT")},
};

/// Texts that begin with a comment in the manner of C. The comment often names the file.
constexpr KeywordRule kCommentedRules[] = {
    {kCHeader,            Whole::Contains("#pragma once")},
    {kCHeader,            Head::Contains(".h")},
    {kCHeader,            Whole::Contains("#import <") && !Whole::Contains("@")},
    {kCHeader,            Whole::Contains("#pragma pack(")},
    {kCSource,            Head::Contains(".c") && Whole::Contains("#include <")},
    {kCSource,            Head::Contains(".c") && Whole::Contains("#include \"")},
    {kJava,               Head::Contains(".java")},
    {kJava,               Whole::Contains("import java")},
    {kJavaScript,         Head::Contains("jQuery ")},
    {kJavaScript,         Head::Contains("JavaScript")},
    {kJavaScript,         Whole::Contains("function(") && Whole::Contains("var ") && !Whole::Contains("class")},
    {kJavaScript,         Whole::Contains("<script language=\"Javascript\"")},
    {kPhp,                Whole::Contains("<?php")},
    {kUndecided,          Head::StartsWith("/*") && !Whole::Contains("*/")},
    {kPlainText,          {}},
};

constexpr KeywordRule kPerlRules[] = {
    {kNo,                 Whole::Contains("#include")},
    {kNo,                 Whole::Contains("#import")},
    {kNo,                 Whole::Contains("def")},
    {kNo,                 !Whole::Contains("use ") && !Whole::Contains("my ")},
    {kNo,                 !Whole::Contains(";\n")},
    {kYes,                {}},
};
constexpr KeywordList kIsPerl{kPerlRules};

constexpr KeywordRule kPythonRules[] = {
    {kYes,                Head::StartsWith("# python")},
    {kYes,                Head::Contains("_metaclass_ = type")},
    {kNo,                 Whole::Contains(";")},
    {kNo,                 Head::Contains("import Qt")},
    {kNo,                 Head::Contains("import \"")},
    {kNo,                 Head::Contains("import <")},
    {kNo,                 !Head::Contains("\n")},
    {kYes,                Head::Contains("import ")},
    {kYes,                Whole::HasBelow(200, "class ") && Whole::Contains("def ") && Whole::Contains(":\n")},
};
constexpr KeywordList kIsPython{kPythonRules};

constexpr KeywordRule kObjectiveCSourceRules[] = {
    {kNo,                 Whole::Contains("@interface")},
    {kNo,                 !Head::Contains("#import <") && !Head::Contains("#import \"")},
    {kYes,                Whole::HasBelow(300, "@implementation")},
    {kYes,                Whole::Contains("NSAutoreleasePool") && Whole::Contains(" drain];")},
};
constexpr KeywordList kIsObjectiveCSource{kObjectiveCSourceRules};

/// All other texts. Where no rule holds, the text is a plain one.
constexpr KeywordRule kSourceRules[] = {
    {kCHeader,            Head::StartsWith("#pragma once")},
    {kCHeader,            Head::StartsWith("#ifndef")},
    {kCHeader,            Head::Contains("#pragma pack(")},
    {kCHeader,            Head::Contains("#import <") && !Whole::Contains("@")},
    {kCSource,            Head::Contains("#include <") && !Whole::Contains("#pragma once")},
    {kCSource,            Head::Contains("#include \"") && !Whole::Contains("#pragma once")},
    {kJava,               Whole::HasBelow(200, "import java")},
    {kJava,               Whole::HasBelow(200, "public interface")},
    {kJavaScript,         Whole::Contains("function(") && Whole::Contains("var ") && Whole::Contains(";\n") &&
                          !Whole::Contains("class")},
    {kJavaScript,         Whole::Contains("<script language=\"JavaScript\"")},
    {kJavaScript,         Whole::Contains("<SCRIPT LANGUAGE=\"JavaScript\"")},
    {kPerl,               Holds(kIsPerl)},
    {kPython,             Holds(kIsPython)},
    {kPhp,                Head::Contains("<?php")},
    {kObjectiveCHeader,   Head::Contains("#import <") && Whole::HasBelow(300, "@interface")},
    {kObjectiveCHeader,   Head::Contains("#import \"") && Whole::HasBelow(300, "@interface")},
    {kObjectiveCSource,   Holds(kIsObjectiveCSource)},
};

// clang-format on

constexpr KeywordList kKnownHeads{kKnownHeadRules};
constexpr KeywordList kCommented{kCommentedRules};
constexpr KeywordList kSource{kSourceRules};

bool StartsWith(ByteView bytes, std::string_view literal) {
  return bytes.size() >= literal.size() && std::equal(literal.begin(), literal.end(), bytes.begin());
}

/// A plotter file in HP-GL that begins with the order to initialise the plotter, on a line of its own. The sector must
/// hold a byte more.
bool IsPlotterFile(ByteView sector) { return sector.size() > 5 && StartsWith(sector, "IN;\r\n"); }

}  // namespace

bool IsCpioHeader(ByteView sector) {
  return StartsWith(sector, "070707") || StartsWith(sector, "070702") || StartsWith(sector, "070701");
}

bool OpensComment(ByteView sector) { return StartsWith(sector, "/*"); }

std::uint32_t TextKindOf(ByteView sector, bool wasUndecided) {
  if (IsPlotterFile(sector)) return kPlotterFile;
  const ByteView whole = UpToZero(sector);
  const ByteView head = whole.first(std::min(kHeadSize, whole.size()));
  const ByteView tail = sector.size() > kTailOffset ? UpToZero(sector.subspan(kTailOffset)) : ByteView{};
  const TextParts parts{whole, head, tail};
  const PairSet pairs(whole);
  const auto find = [&](const KeywordTest& test) {
    const bool missing = test.part != TextPart::kTail && !pairs.MayHold(test.literal);
    return missing ? std::nullopt : FindKeyword(test, parts);
  };
  if (const auto kind = FirstCode(kKnownHeads, find)) return *kind;
  const bool commented = StartsWith(sector, "//") || OpensComment(sector);
  if (const auto kind = FirstCode(commented ? kCommented : kSource, find)) return *kind;
  return wasUndecided ? kNoText : kPlainText;
}

}  // namespace qzmtraw
