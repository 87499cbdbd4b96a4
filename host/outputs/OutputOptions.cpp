#include "host/outputs/OutputOptions.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

using NamedFormat = std::pair<std::string_view, OutputFormat>;

constexpr std::array<NamedFormat, 5> kFileFormats = {{{"table", OutputFormat::kTable},
                                                      {"jsonl", OutputFormat::kJsonLines},
                                                      {"csv", OutputFormat::kCsv},
                                                      {"dfxml", OutputFormat::kDfxml},
                                                      {"sqlite", OutputFormat::kSqlite}}};

constexpr std::array<NamedFormat, 7> kExtensions = {{{".txt", OutputFormat::kTable},
                                                     {".jsonl", OutputFormat::kJsonLines},
                                                     {".csv", OutputFormat::kCsv},
                                                     {".dfxml", OutputFormat::kDfxml},
                                                     {".xml", OutputFormat::kDfxml},
                                                     {".sqlite", OutputFormat::kSqlite},
                                                     {".db", OutputFormat::kSqlite}}};

}  // namespace

OutputTarget OutputTargetOf(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon != std::string_view::npos && colon + 1 < text.size()) {
    const auto* const named = std::ranges::find(kFileFormats, text.substr(0, colon), &NamedFormat::first);
    if (named != kFileFormats.end()) return {named->second, std::string(text.substr(colon + 1))};
  }
  const std::string extension = std::filesystem::path(text).extension().string();
  const auto* const named = std::ranges::find(kExtensions, std::string_view(extension), &NamedFormat::first);
  if (named != kExtensions.end()) return {named->second, std::string(text)};
  throw UsageError(
      "--output: " + Quoted(text) +
      " doesn't tell its format: name it .txt, .jsonl, .csv, .xml or .sqlite, or put table:, jsonl:, csv:, "
      "dfxml: or sqlite: in front");
}

}  // namespace qzmtraw::host
