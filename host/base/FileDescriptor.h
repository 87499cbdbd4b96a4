#ifndef QZMTRAW_HOST_BASE_FILE_DESCRIPTOR_H
#define QZMTRAW_HOST_BASE_FILE_DESCRIPTOR_H

namespace qzmtraw::host {

/// Owns an open file of the operating system. Negative: none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  /// Takes over `descriptor`; a negative one, such as a failed open gives, is allowed.
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept;
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor();

  [[nodiscard]] int Get() const { return descriptor_; }
  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }

  /// Closes the file.
  /// \return 0 or the error number; some file systems tell only here that the data did not fit.
  int Close();

 private:
  int descriptor_ = -1;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_FILE_DESCRIPTOR_H
