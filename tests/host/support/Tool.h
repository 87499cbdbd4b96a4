#ifndef QZMTRAW_TESTS_HOST_SUPPORT_TOOL_H
#define QZMTRAW_TESTS_HOST_SUPPORT_TOOL_H

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace qzmtraw::host {

/// What a run of the tool left.
struct ToolResult {
  /// Its exit code, or 1000 plus the number of the signal that killed it.
  int exitCode = -1;
  std::string out;
  std::string err;
  /// The most memory that it had at a time, in bytes.
  std::uint64_t peakMemory = 0;
};

/// The circumstances of a run.
struct ToolSetup {
  /// Current directory; empty: that of the test.
  std::string directory{};
  /// File that takes the standard output; empty: it is caught.
  std::string outputPath{};
  /// The standard output is a pipe that nobody reads.
  bool hasBrokenPipe = false;
  /// $TMPDIR; none: as in the test.
  std::optional<std::string> temporaryDirectory{};
  /// Most bytes of a file that the tool may write, as on a disk that is full then.
  std::optional<std::size_t> fileSizeLimit{};
  /// What fails and where: names and values as Faults.cpp takes them, without QZMTRAW_FAULT_.
  std::map<std::string, std::string> faults{};
  /// Signal that is sent as soon as more than so many bytes have come out of the caught standard output.
  int signal = 0;
  std::size_t signalBehind = 0;
};

/// Runs the built tool and waits for its end.
ToolResult RunTool(const std::vector<std::string>& arguments, const ToolSetup& setup = {});

/// The objects of JSON lines. Fails the test when a line is none.
std::vector<nlohmann::json> JsonLines(const std::string& text);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_TOOL_H
