#include "containers/CompoundRules.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "containers/KCompoundReader.h"

namespace qzmtraw {

namespace {

// Streams whose names begin with an unprintable character.
constexpr std::string_view kSummary = "\x05SummaryInformation";
constexpr std::string_view kDocumentSummary =
    "\x05"
    "DocumentSummaryInformation";
constexpr std::string_view kCompObj =
    "\x01"
    "CompObj";

/// The class identifier of a Flash movie's root, {597CAA70-72AA-11CF-831E-524153480000}.
constexpr auto kFlashMovie = Bytes("\x70\xAA\x7C\x59\xAA\x72\xCF\x11\x83\x1E\x52\x41\x53\x48\x00\x00");

/// A document that has all of these streams, and whose first entry has this class, is of the kind.
struct Rule {
  CompoundKind kind;
  std::array<std::string_view, 5> streams;  ///< An empty name asks for nothing.
  ByteView firstEntryClass{};               ///< Empty: any class.

  bool Holds(const KCompoundReader& document) const {
    return std::all_of(streams.begin(), streams.end(),
                       [&](std::string_view name) { return name.empty() || document.HasStream(name); }) &&
           (firstEntryClass.empty() || document.FirstEntryHasClass(firstEntryClass));
  }
};

using enum CompoundKind;

// In both lists the first rule that holds decides. Of two rules in a row with one kind, either will do.

/// For documents that have both streams of summary information.
constexpr Rule kOfficeRules[] = {
    {kWord, {"WordDocument"}},
    {kExcel, {"Workbook"}},
    {kExcel, {"Book"}},
    {kPowerPoint, {"PowerPoint Document"}},
    {kPowerPoint, {"PP40"}},
    {kVisio, {"VisioDocument", "VisioInformation"}},
    {kPublisher, {"Contents", kCompObj}},
    {kProject, {"Props9", kCompObj}},
    {kProject, {"Props", kCompObj}},
};

/// For what the office rules leave over.
constexpr Rule kOtherRules[] = {
    {k3DMax, {"Scene", "DllDirectory", "ClassDirectory3", "ClassData", "VideoPostQueue"}},
    {kAdp, {"DataAccessPages"}},
    {kAdp, {"AcessVBAData"}},
    {kWtf, {"CONTENTS", "SPELLING", "Root Entry"}},
    {kQpw, {"NativeContent_MAIN"}},
    {kP65, {"PageMaker"}},
    {kFla, {}, kFlashMovie},
    {kFla, {"Symbol 1"}},
    {kQbb, {"modulesinbackup", "mfbu_header"}},
    {kQbm, {"reload.sql", "header"}},
    {kMsg, {"__properties_version1.0", "__nameid_version1.0"}},
    {kRpt, {"QESession", "ReportInfo", "Root Entry"}},
    {kQdf, {".IDX", ".QDF", ".QEL"}},
    {kHwp, {"FileHeader", "DocInfo", "BodyText"}},
    {kShw, {"PerfectOffice_MAIN", "SlideShow"}},
    {kShw, {"PerfectOffice_OBJECTS", "SlideShow"}},
    {kDcd, {"Layer", "PAPER SPACE", "VIEWDATA", "PREVIEW", "SYMBOL"}},
    {kExb, {"*PreviewStream", "*IDMgr", "*ImageMgrSgm"}},
};

std::optional<CompoundKind> FirstAnswer(std::span<const Rule> rules, const KCompoundReader& document) {
  const auto found = std::find_if(rules.begin(), rules.end(), [&](const Rule& rule) { return rule.Holds(document); });
  if (found == rules.end()) return std::nullopt;
  return found->kind;
}

}  // namespace

CompoundKind KindOf(const KCompoundReader& document) {
  std::optional<CompoundKind> kind;
  if (document.HasStream(kSummary) && document.HasStream(kDocumentSummary)) kind = FirstAnswer(kOfficeRules, document);
  if (!kind) kind = FirstAnswer(kOtherRules, document);
  return kind.value_or(kUnknown);
}

}  // namespace qzmtraw
