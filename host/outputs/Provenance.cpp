#include "host/outputs/Provenance.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/outputs/LibraryVersions.h"

namespace qzmtraw::host {
namespace {

constexpr const char* kCompiler =
#ifdef __clang__
    "Clang " __clang_version__;
#else
    "GCC " __VERSION__;
#endif

std::vector<std::string> OwnCommandLine() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::vector<std::string> words;
  for (std::string word; std::getline(file, word, '\0');) words.push_back(word);
  return words;
}

std::string UserName() {
  std::array<char, 16384> memory{};
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, memory.data(), memory.size(), &found) != 0 || found == nullptr) return {};
  return Printable(entry.pw_name);
}

bool IsPlain(std::string_view word) {
  constexpr std::string_view kPlain = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz%+,-./:=@_";
  return !word.empty() && word.find_first_not_of(kPlain) == std::string_view::npos;
}

std::string ShellWord(const std::string& word) {
  if (IsPlain(word)) return word;
  // Printable doubles backslashes, and writes in hexadecimal what isn't fit, both as this kind of quotes has it.
  const std::string printable = Printable(word);
  const bool isHarmless = static_cast<std::size_t>(std::ranges::count(word, '\\')) + word.size() == printable.size();
  std::string text = isHarmless ? "'" : "$'";
  for (const char c : isHarmless ? word : printable) {
    if (c != '\'') {
      text += c;
    } else {
      text += isHarmless ? "'\\''" : "\\'";
    }
  }
  return text + "'";
}

}  // namespace

std::string CommandLineText(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + ShellWord(word);
  return text;
}

Provenance ThisRun() {
  Provenance run;
  run.program = kProgramName;
  run.version = Version();
  run.compiler = kCompiler;
  run.libraries = LibraryVersions();
  run.commandLine = CommandLineText(OwnCommandLine());
  utsname system{};
  if (::uname(&system) == 0) {
    run.host = Printable(std::begin(system.nodename));
    run.system = {Printable(std::begin(system.sysname)), Printable(std::begin(system.release)),
                  Printable(std::begin(system.version)), Printable(std::begin(system.machine))};
  }
  run.user = UserName();
  run.uid = ::getuid();
  return run;
}

}  // namespace qzmtraw::host
