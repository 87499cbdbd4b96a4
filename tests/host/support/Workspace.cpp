#include "tests/host/support/Workspace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace qzmtraw::host {

Bytes BytesOf(std::string_view text) { return {text.begin(), text.end()}; }

Bytes ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::filesystem::path& path, const Bytes& content) {
  std::ofstream file(path, std::ios::binary);
  std::ranges::copy(content, std::ostreambuf_iterator<char>(file));
  file.flush();
  ASSERT_TRUE(file.good()) << path;
}

std::vector<std::string> NamesIn(const std::filesystem::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) names.push_back(entry.path().filename());
  std::ranges::sort(names);
  return names;
}

Workspace::Workspace() {
  std::string name = (std::filesystem::temp_directory_path() / "qzmtraw-test-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
  path_ = name;
}

Workspace::~Workspace() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace qzmtraw::host
