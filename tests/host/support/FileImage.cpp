#include "tests/host/support/FileImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

namespace qzmtraw::host {
namespace {

constexpr std::size_t kSectorSize = 512;

/// Heads of the kinds that reverse a field in the block, behind the heads of files that end where the field does or
/// doesn't hold zeros.
std::vector<Bytes> WrittenHeads() {
  std::vector<Bytes> files;
  const auto add = [&](std::string_view head) {
    Bytes file = BytesOf(head);
    file.resize(kSectorSize, 'x');
    files.push_back(file);
  };
  for (int round = 0; round < 2; ++round) {
    add(std::string_view("\xFF\xFE\x42\0l\0u\0f\0f\0T\0i\0t\0l\0e\0r\0", 24));
    add(std::string_view("FORM\0\0\x31\x32LWOB", 12));
    add("A text that fills a sector and then some, as it goes on in the next one. ");
    add(std::string_view("FORM\0\0\x31\x32LWO2", 12));
    add("<?xml version=\"1.0\"?><a>");
    add(std::string_view("FOR4\0\0\x31\0MayaFOR4\0\0\0\x20VERS", 24));
    add(std::string_view("FOR4\0\0\x31\0MayaFOR4\0\0\0\0\0\0ADVERS", 28));
    add(std::string_view("\0\0\x27\x0A\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x64", 28));
  }
  return files;
}

}  // namespace

Bytes ImageOfFiles(unsigned seed) {
  std::vector<Bytes> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(QZMTRAW_TEST_DATA)) {
    if (entry.is_regular_file() && entry.path().extension() != ".frm") files.push_back(ReadFile(entry.path()));
  }
  std::mt19937 random(seed);
  std::ranges::sort(files);
  std::ranges::shuffle(files, random);
  const std::vector<Bytes> heads = WrittenHeads();
  files.insert(files.begin() + static_cast<std::ptrdiff_t>(files.size() / 2), heads.begin(), heads.end());
  Bytes image;
  for (const Bytes& file : files) {
    image.insert(image.end(), file.begin(), file.end());
    const bool isNoise = random() % 2 == 0;
    const std::size_t gap = random() % 3 == 0 ? random() % 20000 : 0;
    for (std::size_t i = 0; i < gap || image.size() % kSectorSize != 0; ++i) {
      image.push_back(static_cast<std::uint8_t>(isNoise ? random() : 0));
    }
  }
  return image;
}

std::string WithoutEnds(const std::string& list) {
  std::size_t first = list.find('\n') + 1;
  // In a table the command has a line of its own.
  if (list.compare(first, 10, "Listed by ") == 0) first = list.find('\n', first) + 1;
  return list.substr(first, list.rfind('\n', list.size() - 2) - first);
}

std::string Listing(const std::string& image, const std::vector<std::string>& options) {
  std::vector<std::string> arguments = {"scan", image};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const ToolResult result = RunTool(arguments);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return WithoutEnds(result.out);
}

}  // namespace qzmtraw::host
