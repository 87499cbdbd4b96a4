#include "tests/host/support/Tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <sstream>

#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

[[noreturn]] void BecomeTool(const std::vector<std::string>& arguments, const ToolSetup& setup, int out, int err) {
  ::dup2(out, STDOUT_FILENO);
  ::dup2(err, STDERR_FILENO);
  if (!setup.directory.empty() && ::chdir(setup.directory.c_str()) != 0) ::_exit(99);
  if (setup.temporaryDirectory) ::setenv("TMPDIR", setup.temporaryDirectory->c_str(), 1);
  if (!setup.faults.empty()) {
    ::setenv("LD_PRELOAD", QZMTRAW_FAULTS, 1);
    ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
    for (const auto& [name, value] : setup.faults) ::setenv(("QZMTRAW_FAULT_" + name).c_str(), value.c_str(), 1);
  }
  if (setup.fileSizeLimit) {
    const rlimit limit{*setup.fileSizeLimit, *setup.fileSizeLimit};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  std::vector<std::string> texts = {QZMTRAW_TOOL};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  // What counts the lines that run writes its file when everything is over.
  const bool isScan = !arguments.empty() && (arguments[0] == "scan" || arguments[0] == "recover");
  if (isScan && std::getenv("LLVM_PROFILE_FILE") != nullptr) texts.emplace_back("--no-sandbox");
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  ::execv(QZMTRAW_TOOL, pointers.data());
  ::_exit(98);
}

/// Everything that comes out of a pipe; when it is more than so many bytes it sets off the signal.
std::string Drain(int pipe, pid_t tool, int signal, std::size_t signalBehind) {
  std::string text;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while ((count = ::read(pipe, buffer.data(), buffer.size())) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
    if (signal == 0 || text.size() <= signalBehind) continue;
    ::kill(tool, signal);
    signal = 0;
  }
  return text;
}

}  // namespace

ToolResult RunTool(const std::vector<std::string>& arguments, const ToolSetup& setup) {
  const Workspace workspace;
  const std::string errorPath = workspace / "stderr";
  const int err = ::open(errorPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  std::array<int, 2> pipe{};
  EXPECT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
  const int out = setup.outputPath.empty() ? pipe[1] : ::open(setup.outputPath.c_str(), O_WRONLY | O_CLOEXEC);
  EXPECT_GE(out, 0);
  if (setup.hasBrokenPipe) ::close(pipe[0]);

  const pid_t tool = ::fork();
  if (tool == 0) BecomeTool(arguments, setup, out, err);
  ::close(pipe[1]);
  ToolResult result;
  if (!setup.hasBrokenPipe) result.out = Drain(pipe[0], tool, setup.signal, setup.signalBehind);
  int status = 0;
  rusage usage{};
  EXPECT_EQ(::wait4(tool, &status, 0, &usage), tool);
  result.peakMemory = static_cast<std::uint64_t>(usage.ru_maxrss) << 10U;
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  if (!setup.hasBrokenPipe) ::close(pipe[0]);
  if (!setup.outputPath.empty()) ::close(out);
  ::close(err);
  const Bytes messages = ReadFile(errorPath);
  result.err.assign(messages.begin(), messages.end());
  // On a machine whose kernel has none this stands in front of all else that is told.
  const std::size_t notice = result.err.find("qzmtraw: running without a sandbox: ");
  if (notice != std::string::npos && !setup.faults.contains("NO_LANDLOCK")) {
    result.err.erase(notice, result.err.find('\n', notice) - notice + 1);
  }
  return result;
}

std::vector<nlohmann::json> JsonLines(const std::string& text) {
  std::vector<nlohmann::json> objects;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    objects.push_back(nlohmann::json::parse(line, nullptr, false));
    EXPECT_TRUE(objects.back().is_object()) << line;
  }
  return objects;
}

}  // namespace qzmtraw::host
