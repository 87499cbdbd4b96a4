#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "host/outputs/Provenance.h"

namespace qzmtraw::host {
namespace {

/// What a shell makes of a command line: its words, each with a zero behind it.
std::string WordsOf(const std::string& commandLine) {
  const std::string command = "exec bash -c \"$(cat <<'END'\nprintf '%s\\0' " + commandLine + "\nEND\n)\"";
  FILE* pipe = ::popen(command.c_str(), "r");
  std::string words;
  std::array<char, 4096> buffer{};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
    words.append(buffer.data(), count);
  ::pclose(pipe);
  return words;
}

TEST(ProvenanceTest, ACommandLineIsReadable) {
  EXPECT_EQ(CommandLineText({"qzmtraw", "scan", "/dev/sdb1", "--types=doc,jpg"}),
            "qzmtraw scan /dev/sdb1 --types=doc,jpg");
  EXPECT_EQ(CommandLineText({"a b", "", "it's"}), "'a b' '' 'it'\\''s'");
  EXPECT_EQ(CommandLineText({"a\x1B\xFF'\\"}), "$'a\\x1B\\xFF\\'\\\\'");
  EXPECT_EQ(CommandLineText({"a\\b", "\xC3\xA9"}), "'a\\b' '\xC3\xA9'");
}

TEST(ProvenanceTest, AShellReadsTheSameWords) {
  std::vector<std::string> words = {"a b", "", "it's", "a\x1B\xFF'\\", "\\x41", "$HOME `x`", "\n"};
  std::string every;
  for (int byte = 1; byte < 256; ++byte) every += static_cast<char>(byte);
  words.push_back(every);
  std::string expected;
  for (const std::string& word : words) expected += word + '\0';
  EXPECT_EQ(WordsOf(CommandLineText(words)), expected);
}

TEST(ProvenanceTest, ARunKnowsItself) {
  const Provenance run = ThisRun();
  EXPECT_EQ(run.program, "qzmtraw");
  EXPECT_EQ(run.version, QZMTRAW_VERSION);
  EXPECT_NE(run.commandLine.find("host_tests"), std::string::npos) << run.commandLine;
  EXPECT_FALSE(run.compiler.empty());
  EXPECT_FALSE(run.host.empty());
  EXPECT_FALSE(run.user.empty());
  EXPECT_EQ(run.system.name, "Linux");
  for (const char* library : {"CLI11", "glibc", "libxml2", "nlohmann_json", "sqlite"}) {
    EXPECT_TRUE(run.libraries.contains(library)) << library;
  }
}

}  // namespace
}  // namespace qzmtraw::host
