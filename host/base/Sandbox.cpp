#include "host/base/Sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>

#if defined(__SANITIZE_ADDRESS__)
#define QZMTRAW_HAS_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QZMTRAW_HAS_ASAN 1
#endif
#endif
#ifdef QZMTRAW_HAS_ASAN
#include <sanitizer/common_interface_defs.h>
#endif

#include "host/base/FileDescriptor.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

// What kernels have learned since the headers of the oldest system that this is built on.
constexpr std::uint64_t kTruncate = 1U << 14U;
constexpr std::uint64_t kDeviceControl = 1U << 15U;
constexpr std::uint64_t kBindAndConnectTcp = 3;
constexpr std::uint64_t kScopeSocketsAndSignals = 3;

/// As the kernel's landlock_ruleset_attr. An older kernel is given as much of it as it knows.
struct Ruleset {
  std::uint64_t files;
  std::uint64_t network;
  std::uint64_t scopes;
};

constexpr std::uint64_t kReadFiles = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWriteFiles = kReadFiles | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG |
                                      LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
                                      LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REFER | kTruncate;
/// The rights that a single file can be given.
constexpr std::uint64_t kOfFiles = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE | kTruncate;

/// All rights to files that Landlock of a version knows.
std::uint64_t KnownRights(long version) {
  std::uint64_t rights = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1U) - 1;
  if (version >= 2) rights |= LANDLOCK_ACCESS_FS_REFER;
  if (version >= 3) rights |= kTruncate;
  if (version >= 5) rights |= kDeviceControl;
  return rights;
}

std::size_t KnownSize(long version) {
  if (version >= 6) return sizeof(Ruleset);
  return version >= 4 ? offsetof(Ruleset, scopes) : offsetof(Ruleset, network);
}

void Allow(const FileDescriptor& ruleset, const std::string& path, std::uint64_t rights) {
  const FileDescriptor file(::open(path.c_str(), O_PATH | O_CLOEXEC));
  struct stat status {};
  if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0) return;
  if (!S_ISDIR(status.st_mode)) rights &= kOfFiles;
  const landlock_path_beneath_attr rule{.allowed_access = rights, .parent_fd = file.Get()};
  // What can't be allowed is denied; who needs it will say so.
  ::syscall(SYS_landlock_add_rule, ruleset.Get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

}  // namespace

std::string EnterSandbox(const SandboxRules& rules) {
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return ErrorText(errno);
  const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return errno == ENOSYS || errno == EOPNOTSUPP ? "the kernel has no Landlock" : ErrorText(errno);
  const std::uint64_t known = KnownRights(version);
  const Ruleset all{.files = known, .network = kBindAndConnectTcp, .scopes = kScopeSocketsAndSignals};
  const FileDescriptor ruleset(static_cast<int>(::syscall(SYS_landlock_create_ruleset, &all, KnownSize(version), 0)));
  if (!ruleset.IsOpen()) return ErrorText(errno);
  for (const std::string& folder : rules.writableFolders) Allow(ruleset, folder, kWriteFiles & known);
  for (const std::string& path : rules.readablePaths) Allow(ruleset, path, kReadFiles);
#ifdef QZMTRAW_HAS_ASAN
  // It looks at the process and its threads once more when that ends.
  __sanitizer_sandbox_on_notify(nullptr);
  Allow(ruleset, "/proc/self", kReadFiles);
#endif
  if (::syscall(SYS_landlock_restrict_self, ruleset.Get(), 0) != 0) return ErrorText(errno);
  return {};
}

}  // namespace qzmtraw::host
