#include "host/outputs/FindList.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <string_view>
#include <system_error>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/outputs/FindListFormat.h"
#include "host/sources/SourceOptions.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint64_t kMostListedBytes = std::numeric_limits<std::int64_t>::max();

/// Every SQLite database begins with it.
constexpr std::string_view kSqliteMark = "SQLite format 3";

/// Whether a file is a database. Not if it can't be read.
bool IsDatabase(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  std::ifstream file(path, std::ios::binary);
  std::string start(kSqliteMark.size(), '\0');
  file.read(start.data(), static_cast<std::streamsize>(start.size()));
  return file.good() && start == kSqliteMark;
}

}  // namespace

void ListRules::SetSource(const SourceInfo& source, const std::string& where) {
  if (source.size > kMostListedBytes) Fail("the source has more bytes than a source can have", where);
  if (source.sectorSize == 0 || source.sectorSize > kMaxSectorSize) Fail("there are no sectors of such a size", where);
  source_ = source;
  sectorCount_ = source.size / source.sectorSize + (source.size % source.sectorSize == 0 ? 0 : 1);
}

void ListRules::Check(ListedFind& find, const std::string& extension, const std::string& where) const {
  CheckPlace(find.find, where);
  find.type = &catalogue_.at(static_cast<std::size_t>(find.find.row));
  if (find.type->extension != extension) {
    Fail("row " + std::to_string(find.find.row) + " is " + Quoted(extension) + " there and " +
             Quoted(find.type->extension) + " here",
         where);
  }
  if (find.find.size > kMostListedBytes || find.estimatedSize.value_or(0) > kMostListedBytes) {
    Fail("a file has more bytes than a source can have", where);
  }
  if (find.embeddedIn) CheckPlace(*find.embeddedIn, where);
}

void ListRules::CheckPlace(const Find& find, const std::string& where) const {
  if (find.row < 0 || static_cast<std::size_t>(find.row) >= catalogue_.size()) {
    Fail("there is no file type in row " + std::to_string(find.row), where);
  }
  if (find.startSector >= sectorCount_) {
    Fail("sector " + std::to_string(find.startSector) + " lies behind the source's end", where);
  }
}

void ListRules::Check(const SectorRange& sectors, const std::string& where) const {
  if (sectors.first >= sectorCount_ || sectors.count > sectorCount_ - sectors.first) {
    Fail("sectors that could not be read lie behind the source's end", where);
  }
}

Confidence ListRules::ConfidenceNamed(std::string_view name, const std::string& where) {
  for (const Confidence confidence :
       {Confidence::kDoubtful, Confidence::kStartOnly, Confidence::kFromHeader, Confidence::kCheckedEnd}) {
    if (ConfidenceName(confidence) == name) return confidence;
  }
  Fail("there is no confidence " + Quoted(name), where);
}

Verdict ListRules::VerdictNamed(std::string_view name, const std::string& where) {
  for (const Verdict verdict :
       {Verdict::kNotLooked, Verdict::kUndecided, Verdict::kConfirmed, Verdict::kContradicted}) {
    if (VerdictName(verdict) == name) return verdict;
  }
  Fail("there is no verdict " + Quoted(name), where);
}

void ListRules::Fail(const std::string& what, const std::string& where) {
  throw Failure(where + ": " + what + ": give a list as this program wrote it");
}

FindListReader::FindListReader(const std::string& path, const TypeCatalogue& catalogue)
    : format_(IsDatabase(path) ? OpenSqliteList(path, catalogue) : OpenJsonList(path, catalogue)) {}

FindListReader::~FindListReader() = default;

const SourceInfo& FindListReader::Source() const { return format_->Source(); }

std::optional<ListedFind> FindListReader::Next() { return format_->Next(); }

const ListEnd& FindListReader::End() const { return format_->End(); }

void FindListReader::ReadUnreadable(const std::function<void(const SectorRange&)>& take) {
  format_->ReadUnreadable(take);
}

}  // namespace qzmtraw::host
