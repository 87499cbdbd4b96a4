#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>

#include "host/base/Interrupt.h"
#include "host/base/TemporaryFile.h"
#include "host/base/Version.h"
#include "host/command/CommandLine.h"
#include "host/outputs/OutputStream.h"

namespace {

bool IsWatched() {
  const char* terminal = std::getenv("TERM");
  return ::isatty(STDERR_FILENO) != 0 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

/// Fills up standard streams that were closed, so that no file opened later takes the place of one and receives what is
/// meant for it. Writing to such a stream still fails.
void FillStandardStreams() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = ::open("/dev/null", O_RDONLY);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
}

}  // namespace

int main(int argc, char** argv) {
  using qzmtraw::host::ExitCode;
  FillStandardStreams();
  // SQLite would choose a folder by itself, which the sandbox may deny, and does so when it is first used.
  ::setenv("SQLITE_TMPDIR", qzmtraw::host::TemporaryDirectory().c_str(), 1);
  qzmtraw::host::CatchSignals();
  try {
    qzmtraw::host::OutputStream out(STDOUT_FILENO);
    const qzmtraw::host::Console console{out, std::cerr, IsWatched() ? &std::cerr : nullptr, true};
    return static_cast<int>(qzmtraw::host::RunCommandLine(argc, argv, console));
  } catch (const std::bad_alloc&) {
    std::cerr << qzmtraw::host::kProgramName << ": out of memory\n";
  } catch (const std::exception& error) {
    std::cerr << qzmtraw::host::kProgramName << ": " << error.what() << '\n';
  }
  return static_cast<int>(ExitCode::kFailed);
}
