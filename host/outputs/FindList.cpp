#include "host/outputs/FindList.h"

#include "host/base/Error.h"
#include "host/base/JsonLine.h"
#include "host/base/Text.h"
#include "host/sources/SourceOptions.h"

namespace qzmtraw::host {
namespace {

std::uint64_t NumberOr0(const Json& line, const char* name) {
  const auto member = line.find(name);
  return member != line.end() && member->is_number_unsigned() ? member->get<std::uint64_t>() : 0;
}

std::string TextOrNone(const Json& line, const char* name) {
  const auto member = line.find(name);
  return member != line.end() && member->is_string() ? member->get<std::string>() : std::string();
}

}  // namespace

FindListReader::FindListReader(const std::string& path, const TypeCatalogue& catalogue)
    : path_(path), catalogue_(catalogue), file_(path) {
  std::string text;
  if (!file_.is_open()) throw Failure("cannot open " + Quoted(path) + ": check the path");
  std::getline(file_, text);
  ++lineNumber_;
  const Json line = Json::parse(text, nullptr, false);
  if (!line.is_object() || TextOrNone(line, "type") != "source") Fail("the list has no line for the source");
  source_.path = TextOrNone(line, "path");
  source_.size = NumberOr0(line, "size");
  source_.sectorSize = static_cast<std::uint32_t>(NumberOr0(line, "sector_size"));
  source_.typeCount = NumberOr0(line, "file_types");
  if (source_.sectorSize == 0 || source_.sectorSize > kMaxSectorSize) Fail("there are no sectors of such a size");
}

std::optional<ListedFind> FindListReader::Next() {
  std::string text;
  while (std::getline(file_, text)) {
    ++lineNumber_;
    const Json line = Json::parse(text, nullptr, false);
    if (!line.is_object()) {
      if (file_.eof()) return std::nullopt;
      Fail("it is no JSON object");
    }
    const std::string type = TextOrNone(line, "type");
    if (type == "summary") {
      end_.ending = line.value("interrupted", false) ? ListEnding::kInterrupted : ListEnding::kFinished;
      end_.error = TextOrNone(line, "error");
      if (!end_.error.empty()) end_.ending = ListEnding::kFailed;
      end_.bytesScanned = NumberOr0(line, "bytes");
      end_.sizeAtEnd = NumberOr0(line, "size_at_end");
      end_.unreadableSectors = NumberOr0(line, "unreadable_sectors");
      for (const Json& range : line.value("unreadable_ranges", Json::array())) {
        unreadable_.push_back({NumberOr0(range, "start_sector"), NumberOr0(range, "sectors")});
      }
    }
    if (type != "find") continue;
    ListedFind listed;
    listed.find.startSector = NumberOr0(line, "start_sector");
    listed.find.size = line.value("size_estimated", false) ? 0 : NumberOr0(line, "size");
    const std::uint64_t row = NumberOr0(line, "row");
    if (row >= catalogue_.size()) Fail("there is no file type in row " + std::to_string(row));
    listed.find.row = static_cast<std::int32_t>(row);
    listed.type = &catalogue_[static_cast<std::size_t>(row)];
    return listed;
  }
  return std::nullopt;
}

void FindListReader::ReadUnreadable(const std::function<void(const SectorRange&)>& take) {
  for (const SectorRange& range : unreadable_) take(range);
}

void FindListReader::Fail(const std::string& what) const {
  throw Failure(Quoted(path_) + ", line " + std::to_string(lineNumber_) + ": " + what +
                ": give a list as this program wrote it");
}

}  // namespace qzmtraw::host
