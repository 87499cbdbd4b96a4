#include "host/outputs/FindList.h"

#include <cerrno>

#include "host/base/Error.h"
#include "host/base/JsonLine.h"
#include "host/base/Text.h"
#include "host/sources/SourceOptions.h"

namespace qzmtraw::host {

FindListReader::FindListReader(const std::string& path, const TypeCatalogue& catalogue)
    : path_(path), catalogue_(catalogue), file_(path) {
  if (!file_) throw Failure("cannot open the list " + Quoted(path) + ": " + ErrorText(errno) + ": check the path");
  std::string text;
  std::getline(file_, text);
  ++lineNumber_;
  const Json line = Json::parse(text, nullptr, false);
  if (!line.is_object() || line.value("type", Json()) != "source") Fail("it has no line for the source");
  try {
    line.at("path").get_to(source_.path);
    line.at("size").get_to(source_.size);
    line.at("sector_size").get_to(source_.sectorSize);
  } catch (const Json::exception&) {
    Fail("the line for the source is not right");
  }
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
    try {
      const auto type = line.at("type").get<std::string>();
      if (type == "summary") {
        end_.ending = line.at("interrupted").get<bool>() ? ListEnding::kInterrupted : ListEnding::kFinished;
        if (!line.at("error").is_null()) end_.ending = ListEnding::kFailed;
      }
      if (type != "find") continue;
      ListedFind listed;
      line.at("start_sector").get_to(listed.find.startSector);
      line.at("row").get_to(listed.find.row);
      if (!line.at("size").is_null() && !line.value("size_estimated", false)) line.at("size").get_to(listed.find.size);
      if (listed.find.row < 0 || static_cast<std::size_t>(listed.find.row) >= catalogue_.size()) {
        Fail("there is no such file type");
      }
      if (listed.find.startSector >= (source_.size + source_.sectorSize - 1) / source_.sectorSize) {
        Fail("the find lies behind the source's end");
      }
      listed.type = &catalogue_[static_cast<std::size_t>(listed.find.row)];
      return listed;
    } catch (const Json::exception&) {
      Fail("something is missing or isn't what belongs there");
    }
  }
  return std::nullopt;
}

void FindListReader::Fail(const std::string& what) const {
  throw Failure(Quoted(path_) + ", line " + std::to_string(lineNumber_) + ": " + what +
                ": give a list as this program wrote it");
}

}  // namespace qzmtraw::host
