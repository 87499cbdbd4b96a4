// Loaded in front of the C library, makes files and disks fail at places that environment variables name, each time at
// the same. All places are in bytes.
//
//   QZMTRAW_FAULT_FILE           the file that the next four are about
//   QZMTRAW_FAULT_UNREADABLE     FROM-TO/PERIOD: in every stretch of PERIOD bytes, reading fails from here to there
//   QZMTRAW_FAULT_LATER          reading fails only when so many bytes have been written to files
//   QZMTRAW_FAULT_RESIZE         AT-TO: the first read that reaches AT gives the file the size TO
//   QZMTRAW_FAULT_REPEAT         the file reads as if its first so many bytes stood there again and again
//   QZMTRAW_FAULT_DELAY          a long read of the file takes so many milliseconds more
//   QZMTRAW_FAULT_ERROR          the error of reading that fails; EIO unless stated
//   QZMTRAW_FAULT_ROOM           all files together take so many bytes, then the disk is full
//   QZMTRAW_FAULT_FREE           all file systems say that so many bytes are free
//   QZMTRAW_FAULT_SIGNAL         signal that the process gets once, when …
//   QZMTRAW_FAULT_SIGNAL_READ    … the file is read at this place, or
//   QZMTRAW_FAULT_SIGNAL_WRITE   … so many bytes have been written to files
//   QZMTRAW_FAULT_NO_LANDLOCK    1: the kernel has no Landlock
//   QZMTRAW_FAULT_PROBE          a file that is opened for reading, and one beside it that is made, when …
//   QZMTRAW_FAULT_PROBE_READ     … the file is read at this place; a line on standard error tells what came of it

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace {

/// Such as those of a whole piece.
constexpr size_t kLongRead = size_t{1} << 18U;

constexpr off_t kNowhere = std::numeric_limits<off_t>::max();

struct Span {
  off_t from = kNowhere;
  off_t to = kNowhere;
  off_t period = kNowhere;
};

/// Up to three numbers with a character between them.
Span SpanOf(const char* variable) {
  Span span;
  const char* text = std::getenv(variable);
  for (off_t* number : {&span.from, &span.to, &span.period}) {
    if (text == nullptr || *text == '\0') break;
    char* end = nullptr;
    *number = std::strtoll(text, &end, 10);
    text = *end == '\0' ? end : end + 1;
  }
  return span;
}

off_t NumberOf(const char* variable) { return SpanOf(variable).from; }

bool IsTheFile(int file) {
  static const char* const kPath = std::getenv("QZMTRAW_FAULT_FILE");
  // Who reads a file never closes it before the end.
  static std::atomic<int> known = -1;
  if (file == known) return true;
  struct stat named {};
  struct stat open {};
  const bool isIt = kPath != nullptr && ::stat(kPath, &named) == 0 && ::fstat(file, &open) == 0 &&
                    named.st_ino == open.st_ino && named.st_dev == open.st_dev;
  if (isIt) known = file;
  return isIt;
}

bool IsOnDisk(int file) {
  struct stat open {};
  return file != STDERR_FILENO && ::fstat(file, &open) == 0 && S_ISREG(open.st_mode);
}

void SignalOnce() {
  static std::atomic<bool> isSent = false;
  if (!isSent.exchange(true)) ::kill(::getpid(), static_cast<int>(NumberOf("QZMTRAW_FAULT_SIGNAL")));
}

/// By all writes to files.
std::atomic<off_t> written = 0;
void ProbeOnce() {
  static std::atomic<bool> isDone = false;
  if (isDone.exchange(true)) return;
  const std::string path = std::getenv("QZMTRAW_FAULT_PROBE");
  const int old = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const int fresh = ::open((path + ".new").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  std::fprintf(stderr, "probe: %s, %s\n", old < 0 ? "not opened" : "opened", fresh < 0 ? "not made" : "made");
}

template <class Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

ssize_t ReadRepeated(int file, char* buffer, size_t size, off_t offset, size_t unit) {
  static const auto kRealPread = Real<ssize_t(int, void*, size_t, off_t)>("pread");
  struct stat status {};
  if (::fstat(file, &status) != 0 || offset >= status.st_size) return 0;
  size = std::min(size, static_cast<size_t>(status.st_size - offset));
  const auto phase = static_cast<size_t>(offset) % unit;
  const size_t first = std::min(size, unit - phase);
  if (kRealPread(file, buffer, first, static_cast<off_t>(phase)) < 0) return -1;
  if (first < size && kRealPread(file, buffer + first, std::min(size - first, unit), 0) < 0) return -1;
  for (size_t done = std::min(size, first + unit); done < size;) {
    const size_t count = std::min(size - done, done - first);
    std::memcpy(buffer + done, buffer + first, count);
    done += count;
  }
  return static_cast<ssize_t>(size);
}

ssize_t Read(int file, void* buffer, size_t size, off_t offset) {
  static const auto kRealPread = Real<ssize_t(int, void*, size_t, off_t)>("pread");
  static const Span kUnreadable = SpanOf("QZMTRAW_FAULT_UNREADABLE");
  static const Span kResize = SpanOf("QZMTRAW_FAULT_RESIZE");
  static const off_t kLater = NumberOf("QZMTRAW_FAULT_LATER");
  static const off_t kRepeat = NumberOf("QZMTRAW_FAULT_REPEAT");
  static const off_t kDelay = NumberOf("QZMTRAW_FAULT_DELAY");
  static const off_t kError = NumberOf("QZMTRAW_FAULT_ERROR");
  static const off_t kSignalAt = NumberOf("QZMTRAW_FAULT_SIGNAL_READ");
  static const off_t kProbeAt = NumberOf("QZMTRAW_FAULT_PROBE_READ");
  static std::atomic<bool> isResized = false;
  if (!IsTheFile(file)) return kRealPread(file, buffer, size, offset);
  const off_t end = offset + static_cast<off_t>(size);
  if (end > kSignalAt) SignalOnce();
  if (kDelay != kNowhere && size >= kLongRead) ::usleep(static_cast<useconds_t>(kDelay * 1000));
  if (end > kProbeAt) ProbeOnce();
  if (end > kResize.from && !isResized.exchange(true)) {
    if (::truncate(std::getenv("QZMTRAW_FAULT_FILE"), kResize.to) != 0) return -1;
  }
  if (kUnreadable.from != kNowhere && (kLater == kNowhere || written >= kLater)) {
    const off_t phase = offset % kUnreadable.period;
    if (phase >= kUnreadable.from && phase < kUnreadable.to) {
      errno = kError == kNowhere ? EIO : static_cast<int>(kError);
      return -1;
    }
    // The good bytes up to the next bad one.
    const off_t good = phase < kUnreadable.from         ? kUnreadable.from - phase
                       : kUnreadable.period == kNowhere ? kNowhere
                                                        : kUnreadable.period - phase + kUnreadable.from;
    size = std::min(size, static_cast<size_t>(good));
  }
  if (kRepeat != kNowhere) {
    return ReadRepeated(file, static_cast<char*>(buffer), size, offset, static_cast<size_t>(kRepeat));
  }
  return kRealPread(file, buffer, size, offset);
}

/// How many of the bytes still fit onto the disk.
size_t Room(int file, size_t size) {
  static const off_t kRoom = NumberOf("QZMTRAW_FAULT_ROOM");
  static const off_t kSignalAt = NumberOf("QZMTRAW_FAULT_SIGNAL_WRITE");
  if (!IsOnDisk(file)) return size;
  const off_t before = written;
  const size_t room = std::min(size, static_cast<size_t>(kRoom - std::min(kRoom, before)));
  written = before + static_cast<off_t>(room);
  if (written >= kSignalAt) SignalOnce();
  return room;
}

ssize_t Full() {
  errno = ENOSPC;
  return -1;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
  return Read(file, buffer, size, offset);
}

__attribute__((visibility("default"))) ssize_t pread64(int file, void* buffer, size_t size, off_t offset) {
  return Read(file, buffer, size, offset);
}

__attribute__((visibility("default"))) ssize_t pwrite(int file, const void* buffer, size_t size, off_t offset) {
  static const auto kRealPwrite = Real<ssize_t(int, const void*, size_t, off_t)>("pwrite");
  const size_t room = Room(file, size);
  return room == 0 && size != 0 ? Full() : kRealPwrite(file, buffer, room, offset);
}

__attribute__((visibility("default"))) ssize_t pwrite64(int file, const void* buffer, size_t size, off_t offset) {
  return pwrite(file, buffer, size, offset);
}

__attribute__((visibility("default"))) ssize_t write(int file, const void* buffer, size_t size) {
  static const auto kRealWrite = Real<ssize_t(int, const void*, size_t)>("write");
  const size_t room = Room(file, size);
  return room == 0 && size != 0 ? Full() : kRealWrite(file, buffer, room);
}

/// Passes on six arguments, as the C library does, however many there are.
__attribute__((visibility("default"), no_sanitize("address"))) long syscall(long number, ...) {
  static const auto kRealSyscall = Real<long(long, ...)>("syscall");
  static const bool kHasNoLandlock = NumberOf("QZMTRAW_FAULT_NO_LANDLOCK") == 1;
  if (number == SYS_landlock_create_ruleset && kHasNoLandlock) {
    errno = ENOSYS;
    return -1;
  }
  std::va_list list;
  va_start(list, number);
  long arguments[6];
  for (long& argument : arguments) argument = va_arg(list, long);
  va_end(list);
  return kRealSyscall(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

__attribute__((visibility("default"))) int fstatvfs(int file, struct statvfs* status) {
  static const auto kRealFstatvfs = Real<int(int, struct statvfs*)>("fstatvfs");
  static const off_t kFree = NumberOf("QZMTRAW_FAULT_FREE");
  const int result = kRealFstatvfs(file, status);
  if (kFree != kNowhere) status->f_bavail = static_cast<fsblkcnt_t>(kFree) / status->f_frsize;
  return result;
}

__attribute__((visibility("default"))) int fstatvfs64(int file, struct statvfs64* status) {
  return fstatvfs(file, reinterpret_cast<struct statvfs*>(status));
}

}  // extern "C"
