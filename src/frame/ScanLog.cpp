#include "frame/ScanLog.h"

namespace qzmtraw {

ScanLog::ScanLog() : file_(std::fopen("qzmtraw.log", "wb")) { Write("Raw scan begin\r\n"); }

ScanLog::~ScanLog() {
  Write("Raw scan end\r\n");
  if (file_ != nullptr) std::fclose(file_);
}

void ScanLog::Write(const char* line) {
  if (file_ == nullptr) return;
  std::fputs(line, file_);
  std::fflush(file_);
}

}  // namespace qzmtraw
