#include "host/scan/GiveUpRights.h"

#include <filesystem>
#include <system_error>

#include "host/base/TemporaryFile.h"
#include "host/base/Version.h"
#include "host/scan/ScanJob.h"

namespace qzmtraw::host {

std::string FolderOf(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

std::vector<std::string> FilesOfImage(const std::string& path) {
  namespace fs = std::filesystem;
  const fs::path image(path);
  const std::string stem = image.stem().string();
  std::vector<std::string> files = {path};
  std::error_code error;
  // Of a device there are no further files, and its folder has those of all devices.
  if (stem.empty() || !fs::is_regular_file(image, error)) return files;
  for (fs::directory_iterator entry(FolderOf(path), error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const fs::path name = entry->path().filename();
    const bool isSegment = name.stem() == stem;
    const bool isExtent = name.extension() == image.extension() && name.string().starts_with(stem + "-");
    if ((isSegment || isExtent) && name != image.filename()) files.push_back(entry->path().string());
  }
  return files;
}

void GiveUpRights(const ScanOptions& options, SandboxRules rules, const Console& console) {
  if (options.run.keepsRights || !console.isOwnProcess) return;
  rules.writableFolders.push_back(TemporaryDirectory());
  // A database makes and removes files beside it, and a map that can't be written whole is removed.
  for (const OutputTarget& target : options.outputs.files) {
    if (target.format == OutputFormat::kSqlite) rules.writableFolders.push_back(FolderOf(target.path));
  }
  for (const std::string& path : {options.run.state, options.source.mapToWrite}) {
    if (!path.empty()) rules.writableFolders.push_back(FolderOf(path));
  }
  // Libraries look into their data when they need them.
  for (const char* path : {"/usr/lib", "/usr/share", "/dev/urandom"}) rules.readablePaths.emplace_back(path);
  for (const std::string& file : FilesOfImage(options.source.image)) rules.readablePaths.push_back(file);
  const std::string error = EnterSandbox(rules);
  if (error.empty()) return;
  console.err << kProgramName << ": running without a sandbox: " << error << "; --no-sandbox leaves out this message\n";
}

}  // namespace qzmtraw::host
