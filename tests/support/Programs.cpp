#include "tests/support/Programs.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace qzmtraw::test {

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "qzmtraw-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder can be made");
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void TemporaryFolder::Write(const std::string& name, const std::string& contents) const {
  std::ofstream(path_ / name, std::ios::binary) << contents;
}

std::string TemporaryFolder::Read(const std::string& name) const {
  std::ifstream file(path_ / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool TemporaryFolder::Run(const std::string& command) const {
  return std::system(("cd '" + path_.string() + "' && " + command).c_str()) == 0;
}

std::string SampleText(std::size_t size) {
  std::mt19937 random(1);
  std::string text;
  while (text.size() < size) text += static_cast<char>(' ' + random() % 95);
  return text;
}

}  // namespace qzmtraw::test
