#ifndef QZMTRAW_FRAME_SCAN_LOG_H
#define QZMTRAW_FRAME_SCAN_LOG_H

#include <cstdio>

namespace qzmtraw {

/// The only file that the library writes: "qzmtraw.log" in the current directory, with one line when the log is made
/// and one when it is destroyed. An earlier log is replaced. A log that can't be opened or written is done without.
class ScanLog {
 public:
  ScanLog();
  ~ScanLog();
  ScanLog(const ScanLog&) = delete;
  ScanLog& operator=(const ScanLog&) = delete;

 private:
  void Write(const char* line);

  std::FILE* file_;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_SCAN_LOG_H
