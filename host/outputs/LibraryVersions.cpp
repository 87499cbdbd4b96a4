#include "host/outputs/LibraryVersions.h"

#include <gnu/libc-version.h>
#include <libxml/parser.h>
#include <sqlite3.h>

#include <CLI/Version.hpp>
#include <cstdlib>
#include <nlohmann/json_fwd.hpp>

namespace qzmtraw::host {

namespace {

/// "2.9.14" for 20914.
std::string Dotted(int version) {
  return std::to_string(version / 10000) + "." + std::to_string(version / 100 % 100) + "." +
         std::to_string(version % 100);
}

}  // namespace

std::map<std::string, std::string> LibraryVersions() {
  return {{"CLI11", CLI11_VERSION},
          {"glibc", ::gnu_get_libc_version()},
          {"libxml2", Dotted(std::atoi(xmlParserVersion))},
          {"nlohmann_json", std::to_string(NLOHMANN_JSON_VERSION_MAJOR) + "." +
                                std::to_string(NLOHMANN_JSON_VERSION_MINOR) + "." +
                                std::to_string(NLOHMANN_JSON_VERSION_PATCH)},
          {"sqlite", ::sqlite3_libversion()}};
}

}  // namespace qzmtraw::host
