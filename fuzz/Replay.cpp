// Runs a target over files, without libFuzzer: for other compilers, and for a debugger.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

/// The files that the arguments name, and those in the directories that they name.
std::vector<fs::path> FilesIn(const std::vector<std::string>& arguments) {
  std::vector<fs::path> files;
  for (const std::string& argument : arguments) {
    if (!fs::is_directory(argument)) {
      files.emplace_back(argument);
      continue;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(argument)) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

void Replay(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot open " + file.string());
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  std::fprintf(stderr, "%s\n", file.c_str());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::vector<fs::path> files = FilesIn({argv + 1, argv + argc});
    for (const fs::path& file : files) Replay(file);
    std::printf("%zu inputs, none breaks an invariant\n", files.size());
    return files.empty() ? 2 : 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 2;
  }
}
