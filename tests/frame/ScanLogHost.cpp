// A host that uses the library twice in the current folder, keeps a copy of the log as it is then, and ends.

#include <filesystem>

#include "qzmtraw/RawFileTypeFactory.h"

int main() {
  GetRawFileTypeFactory();
  GetRawFileTypeFactory();
  std::error_code error;
  std::filesystem::copy_file("qzmtraw.log", "during.log", error);
  return GetRawFileTypeFactory()->GetTypeCount() == 320 ? 0 : 1;
}
