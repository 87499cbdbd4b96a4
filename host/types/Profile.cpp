#include "host/types/Profile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

struct BuiltInProfile {
  std::string_view name;
  std::string_view text;
};

/// From host/types/profiles.
constexpr std::array kBuiltInProfiles = std::to_array<BuiltInProfile>({
#include "host/types/BuiltInProfiles.inc"
});

constexpr std::array<std::string_view, 4> kKeys = {"types", "category", "exclude", "max-size"};

/// A profile is written by hand; what is larger isn't one.
constexpr std::size_t kMostProfileBytes = std::size_t{1} << 20U;

std::string_view WithoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

Profile ReadProfileFile(const std::string& path) {
  const std::string name = "profile " + Quoted(path);
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text(kMostProfileBytes + 1, '\0');
  if (!file) throw Failure(name + " cannot be opened: " + ErrorText(errno));
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad() || (file.fail() && !file.eof())) throw Failure(name + " cannot be read: " + ErrorText(errno));
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > kMostProfileBytes) throw UsageError(name + " is larger than 1 MiB, which no profile is");
  return ParseProfile(name, text);
}

}  // namespace

Profile ParseProfile(const std::string& name, const std::string& text) {
  Profile profile{name, {}};
  std::string_view rest = text;
  for (std::size_t line = 1; !rest.empty(); ++line) {
    const std::size_t end = rest.find('\n');
    const std::string_view content = WithoutBlanks(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (content.empty() || content.front() == '#' || content.front() == ';') continue;
    const std::size_t sign = content.find('=');
    const std::string_view key = WithoutBlanks(content.substr(0, sign));
    if (sign == std::string_view::npos || std::ranges::find(kKeys, key) == kKeys.end()) {
      throw UsageError(name + ", line " + std::to_string(line) + ": " + Quoted(content) +
                       " isn't one of types, category, exclude and max-size with '=' and a list");
    }
    profile.entries.push_back({std::string(key), std::string(WithoutBlanks(content.substr(sign + 1))), line});
  }
  return profile;
}

ProfilePlaces UsualProfilePlaces() {
  ProfilePlaces places;
  const char* config = std::getenv("XDG_CONFIG_HOME");
  const char* home = std::getenv("HOME");
  if (config != nullptr && config[0] == '/') {
    places.directories.push_back(std::string(config) + "/qzmtraw/profiles");
  } else if (home != nullptr && home[0] == '/') {
    places.directories.push_back(std::string(home) + "/.config/qzmtraw/profiles");
  }
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) {
    places.directories.push_back((program.parent_path() / QZMTRAW_DATA_FROM_TOOL / "qzmtraw/profiles").string());
  }
  return places;
}

Profile ReadProfile(const std::string& name, const ProfilePlaces& places) {
  if (name.find('/') != std::string::npos || name.ends_with(".conf")) return ReadProfileFile(name);
  std::string lookedIn;
  if (!name.empty()) {
    for (const std::string& directory : places.directories) {
      std::string path = directory;
      path += "/" + name + ".conf";
      std::error_code error;
      if (std::filesystem::exists(path, error)) return ReadProfileFile(path);
      lookedIn += Quoted(directory) + ", ";
    }
    for (const BuiltInProfile& each : kBuiltInProfiles) {
      if (each.name == name) return ParseProfile("built-in profile " + Quoted(name), std::string(each.text));
    }
  }
  std::string known;
  for (const std::string& each : BuiltInProfileNames()) known += (known.empty() ? "" : ", ") + each;
  throw UsageError("--profile: there is no profile " + Quoted(name) + "; looked in " + lookedIn +
                   "and the program itself, which has " + known);
}

std::vector<std::string> BuiltInProfileNames() {
  std::vector<std::string> names;
  names.reserve(kBuiltInProfiles.size());
  for (const BuiltInProfile& each : kBuiltInProfiles) names.emplace_back(each.name);
  return names;
}

}  // namespace qzmtraw::host
