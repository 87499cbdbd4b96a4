#include "host/sources/EwfSegments.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

/// The last section of a segment takes so many bytes, and begins with its kind.
constexpr std::streamoff kSectionSize = 76;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Whether a file ends with a section of this kind: "next" or, in the last segment, "done".
bool EndsWith(const std::string& path, std::string_view kind) {
  std::ifstream file(path, std::ios::binary);
  std::array<char, 4> bytes{};
  file.seekg(-kSectionSize, std::ios::end);
  file.read(bytes.data(), bytes.size());
  return file.good() && std::string_view(bytes.data(), bytes.size()) == kind;
}

}  // namespace

std::string NextSegmentName(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || path.size() - dot != 4) return {};
  std::string name = path;
  char& letter = name[dot + 1];
  char& tens = name[dot + 2];
  char& ones = name[dot + 3];
  const bool isSmall = letter >= 'a' && letter <= 'z';
  const char first = isSmall ? 'a' : 'A';
  const char last = isSmall ? 'z' : 'Z';
  const auto countUp = [&](char& digit, char from, char to) {
    const bool isOver = digit == to;
    digit = isOver ? from : static_cast<char>(digit + 1);
    return isOver;
  };
  if (IsDigit(tens) && IsDigit(ones)) {
    if (countUp(ones, '0', '9') && countUp(tens, '0', '9')) tens = ones = first;
    return name;
  }
  if (tens < first || tens > last || ones < first || ones > last || letter < first || letter > last) return {};
  if (countUp(ones, first, last) && countUp(tens, first, last) && countUp(letter, first, last)) return {};
  return name;
}

void CheckSegments(const std::string& path) {
  std::string segment = path;
  while (!EndsWith(segment, "done")) {
    if (!EndsWith(segment, "next")) {
      throw Failure(
          "the segment " + Quoted(segment) + " of the image " + Quoted(path) +
          " is cut off: copy it again from where the image was made, or scan the file's own bytes with --raw");
    }
    const std::string next = NextSegmentName(segment);
    std::error_code error;
    if (next.empty() || !std::filesystem::exists(next, error)) {
      throw Failure(
          "the segment " + Quoted(next) + " of the image " + Quoted(path) +
          " is missing: put all segments into one folder and name the first one, or scan the file's own bytes "
          "with --raw");
    }
    segment = next;
  }
}

}  // namespace qzmtraw::host
