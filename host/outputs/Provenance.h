#ifndef QZMTRAW_HOST_OUTPUTS_PROVENANCE_H
#define QZMTRAW_HOST_OUTPUTS_PROVENANCE_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qzmtraw::host {

/// What `uname` tells.
struct OperatingSystem {
  std::string name{};
  std::string release{};
  std::string version{};
  std::string machine{};
};

/// Which program, run by whom and where, made a list. What isn't known is empty.
struct Provenance {
  std::string program{};
  std::string version{};
  /// "GCC 12.2.0".
  std::string compiler{};
  /// Versions of the libraries that are in use, by name.
  std::map<std::string, std::string> libraries{};
  /// As a shell takes it; see CommandLineText.
  std::string commandLine{};
  /// The machine's name, its operating system and the user's name, in printable text.
  std::string host{};
  OperatingSystem system{};
  std::string user{};
  std::uint64_t uid = 0;
};

/// Of this process.
Provenance ThisRun();

/// Words as a command line that a shell takes apart into the same words. There are no control characters in it, and
/// only well-formed UTF-8: words that have others come out as $'\xHH', which the larger shells know.
std::string CommandLineText(const std::vector<std::string>& words);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_PROVENANCE_H
