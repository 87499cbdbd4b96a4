#ifndef QZMTRAW_TESTS_SUPPORT_PROGRAMS_H
#define QZMTRAW_TESTS_SUPPORT_PROGRAMS_H

#include <filesystem>
#include <string>

namespace qzmtraw::test {

/// A folder that goes away with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  /// Writes a file into the folder.
  void Write(const std::string& name, const std::string& contents) const;
  /// Reads a file of the folder. Throws when it isn't there.
  std::string Read(const std::string& name) const;
  /// Runs a shell command in the folder. \return Whether it ended with 0.
  bool Run(const std::string& command) const;

 private:
  std::filesystem::path path_;
};

/// Text that compresses badly, `size` bytes of it, always the same.
std::string SampleText(std::size_t size);

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_PROGRAMS_H
