#ifndef QZMTRAW_TESTS_HOST_SUPPORT_WORKSPACE_H
#define QZMTRAW_TESTS_HOST_SUPPORT_WORKSPACE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qzmtraw::host {

using Bytes = std::vector<std::uint8_t>;

/// The characters as bytes.
Bytes BytesOf(std::string_view text);

/// The whole content of a file. Fails the test when it can't be read.
Bytes ReadFile(const std::filesystem::path& path);

/// Writes a new file. Fails the test when that can't be done.
void WriteFile(const std::filesystem::path& path, const Bytes& content);

/// The files and directories directly below `directory`, by name, sorted.
std::vector<std::string> NamesIn(const std::filesystem::path& directory);

/// A fresh directory that goes with the object.
class Workspace {
 public:
  Workspace();
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;
  ~Workspace();

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
  [[nodiscard]] std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_WORKSPACE_H
