#include <dlfcn.h>
#include <tsk/libtsk.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <mutex>

#include "host/base/Error.h"
#include "host/base/Interrupt.h"
#include "host/base/Text.h"
#include "host/sources/Tsk.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define QZMTRAW_LEAKS_ARE_OBSERVED
#endif
#endif

namespace qzmtraw::host {
namespace {

/// As long as it lives, what is lost is not ours: the library forgets memory where it opens in vain.
#ifdef QZMTRAW_LEAKS_ARE_OBSERVED
using ForeignMemory = __lsan::ScopedDisabler;
#else
struct ForeignMemory {
  ForeignMemory() {}  // NOLINT(modernize-use-equals-default): its variables count as used.
};
#endif

using Reading = ImageFormat::Reading;

/// The library's functions. It brings forty other libraries along, so it is loaded when the first image needs it and
/// not with the program.
class Tsk {
 public:
  static const Tsk& Instance() {
    static const Tsk kInstance;
    return kInstance;
  }

  /// Why the last call failed.
  [[nodiscard]] std::string ErrorOf() const {
    const char* text = errorGet();
    return text == nullptr ? "no reason was told" : Printable(text);
  }

 private:
  template <class Function>
  Function* Find(const char* name) const {
    void* const function = library_ == nullptr ? nullptr : ::dlsym(library_, name);
    if (function == nullptr) {
      throw Failure("cannot load The Sleuth Kit, " QZMTRAW_TSK_LIBRARY
                    ", which such sources need: install it, from the "
                    "package libtsk19");
    }
    return reinterpret_cast<Function*>(function);
  }

  void* library_ = ::dlopen(QZMTRAW_TSK_LIBRARY, RTLD_NOW | RTLD_LOCAL);

 public:
  decltype(&tsk_error_get) errorGet = Find<decltype(tsk_error_get)>("tsk_error_get");
  decltype(&tsk_img_open_utf8_sing) openImage = Find<decltype(tsk_img_open_utf8_sing)>("tsk_img_open_utf8_sing");
  decltype(&tsk_img_open_external) openExternal = Find<decltype(tsk_img_open_external)>("tsk_img_open_external");
  decltype(&tsk_img_close) closeImage = Find<decltype(tsk_img_close)>("tsk_img_close");
  decltype(&tsk_img_read) readImage = Find<decltype(tsk_img_read)>("tsk_img_read");
  decltype(&tsk_vs_open) openVolumes = Find<decltype(tsk_vs_open)>("tsk_vs_open");
  decltype(&tsk_vs_close) closeVolumes = Find<decltype(tsk_vs_close)>("tsk_vs_close");
  decltype(&tsk_fs_open_img) openFileSystem = Find<decltype(tsk_fs_open_img)>("tsk_fs_open_img");
  decltype(&tsk_fs_close) closeFileSystem = Find<decltype(tsk_fs_close)>("tsk_fs_close");
  decltype(&tsk_fs_block_walk) walkBlocks = Find<decltype(tsk_fs_block_walk)>("tsk_fs_block_walk");
  decltype(&tsk_fs_type_toname) fileSystemName = Find<decltype(tsk_fs_type_toname)>("tsk_fs_type_toname");
};

/// What the library opened, and how it is closed.
template <class Info>
using TskOwner = std::unique_ptr<Info, void (*)(Info*)>;

TSK_IMG_TYPE_ENUM TypeFor(Reading reading) {
  switch (reading) {
    case Reading::kEwf:
      return TSK_IMG_TYPE_EWF_EWF;
    case Reading::kAff:
      return TSK_IMG_TYPE_AFF_AFF;
    case Reading::kVmdk:
      return TSK_IMG_TYPE_VMDK_VMDK;
    case Reading::kVhd:
      return TSK_IMG_TYPE_VHD_VHD;
    default:
      return TSK_IMG_TYPE_UNSUPP;
  }
}

/// An image that the library reads.
class TskSource final : public ISource {
 public:
  TskSource(const std::string& path, const ImageFormat& format)
      : tsk_(Tsk::Instance()), image_(tsk_.openImage(path.c_str(), TypeFor(format.reading), 0), tsk_.closeImage) {
    if (image_ == nullptr) {
      throw Failure("cannot open " + Quoted(path) + " as an image in the format " + format.name + ": " +
                    tsk_.ErrorOf() +
                    ": see whether all its segments are there and whole, or scan the file's own bytes with --raw");
    }
  }

  [[nodiscard]] std::uint64_t Size() const override { return static_cast<std::uint64_t>(image_->size); }
  [[nodiscard]] std::optional<std::uint32_t> SectorSize() const override {
    return image_->sector_size == 0 ? std::nullopt : std::optional<std::uint32_t>(image_->sector_size);
  }

  ReadResult ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override {
    // Not all formats can be read on several threads at once.
    const std::scoped_lock lock(mutex_);
    const ssize_t count =
        tsk_.readImage(image_.get(), static_cast<TSK_OFF_T>(offset), reinterpret_cast<char*>(into.data()), into.size());
    // Of the reason no number is told. An image's size is fixed, so it has no end ahead of it.
    if (count <= 0 && !into.empty()) return {0, EIO};
    return {std::min(into.size(), static_cast<std::size_t>(count)), 0};
  }

 private:
  const Tsk& tsk_;
  TskOwner<TSK_IMG_INFO> image_;
  std::mutex mutex_;
};

/// A source as an image of the library's, so that its volumes and file systems can be read, whatever it is kept in.
class SourceImage {
 public:
  SourceImage(ISource& source, std::uint32_t sectorSize) {
    const Tsk& tsk = Tsk::Instance();
    info_->source = &source;
    image_ =
        tsk.openExternal(info_.get(), static_cast<TSK_OFF_T>(source.Size()), sectorSize, &Read, &Ignore, &IgnoreStat);
  }
  SourceImage(const SourceImage&) = delete;
  SourceImage& operator=(const SourceImage&) = delete;
  ~SourceImage() {
    if (image_ != nullptr) Tsk::Instance().closeImage(image_);
  }

  /// May be null.
  [[nodiscard]] TSK_IMG_INFO* Get() const { return image_; }

 private:
  /// The library takes the first member for the whole.
  struct Info {
    TSK_IMG_INFO base;
    ISource* source;
  };

  static ssize_t Read(TSK_IMG_INFO* image, TSK_OFF_T offset, char* buffer, size_t size) {
    ISource& source = *reinterpret_cast<Info*>(image)->source;
    const auto begin = static_cast<std::uint64_t>(offset);
    if (offset < 0 || begin >= source.Size()) return -1;
    const std::span into(reinterpret_cast<std::uint8_t*>(buffer),
                         static_cast<std::size_t>(std::min<std::uint64_t>(size, source.Size() - begin)));
    std::size_t done = 0;
    while (done < into.size()) {
      const ReadResult result = source.ReadAt(begin + done, into.subspan(done));
      done += result.count;
      if (result.count == 0 || result.error != 0) break;
    }
    return done == 0 ? -1 : static_cast<ssize_t>(done);
  }
  static void Ignore(TSK_IMG_INFO* /*image*/) {}
  static void IgnoreStat(TSK_IMG_INFO* /*image*/, FILE* /*file*/) {}

  /// It has a cache of two megabytes in it.
  std::unique_ptr<Info> info_ = std::make_unique<Info>();
  TSK_IMG_INFO* image_ = nullptr;
};

constexpr std::uint32_t kTskSectorSize = 512;

/// As fdisk counts: primary partitions by slot, those in extended ones from 5 on, table by table.
std::uint32_t NumberOf(const TSK_VS_PART_INFO& part) {
  if (part.vs->vstype == TSK_VS_TYPE_DOS && part.table_num > 0) {
    std::uint32_t number = 5;
    for (const TSK_VS_PART_INFO* other = part.vs->part_list; other != nullptr; other = other->next) {
      if (other->flags == TSK_VS_PART_FLAG_ALLOC && other->table_num > 0 && other->table_num < part.table_num) ++number;
    }
    return number;
  }
  // The library keeps no more of a slot than a byte.
  return static_cast<std::uint32_t>(static_cast<std::uint8_t>(part.slot_num)) + 1;
}

std::vector<Partition> PartitionsIn(const TSK_VS_INFO& volumes) {
  std::vector<Partition> partitions;
  for (const TSK_VS_PART_INFO* part = volumes.part_list; part != nullptr; part = part->next) {
    if (part->flags != TSK_VS_PART_FLAG_ALLOC) continue;
    partitions.push_back({NumberOf(*part), volumes.offset + part->start * volumes.block_size,
                          part->len * volumes.block_size, part->desc == nullptr ? "" : part->desc});
  }
  return partitions;
}

/// What goes through the library's C code to its callback and back.
struct Walk {
  const std::function<void(std::uint64_t, std::uint64_t)>& take;
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  bool isStopped = false;
  std::exception_ptr failure;

  void Flush() {
    if (end > begin) take(begin, end - begin);
    begin = end = 0;
  }
};

TSK_WALK_RET_ENUM TakeBlock(const TSK_FS_BLOCK* block, void* pointer) {
  Walk& walk = *static_cast<Walk*>(pointer);
  const TSK_FS_INFO& fileSystem = *block->fs_info;
  const std::uint64_t begin = static_cast<std::uint64_t>(fileSystem.offset) + block->addr * fileSystem.block_size;
  try {
    if (begin != walk.end) {
      walk.Flush();
      walk.begin = begin;
    }
    walk.end = begin + fileSystem.block_size;
    walk.isStopped = IsInterrupted();
  } catch (...) {
    walk.failure = std::current_exception();
  }
  return walk.isStopped || walk.failure != nullptr ? TSK_WALK_STOP : TSK_WALK_CONT;
}

}  // namespace

std::unique_ptr<ISource> OpenTskImage(const std::string& path, const ImageFormat& format) {
  const ForeignMemory foreign;
  return std::make_unique<TskSource>(path, format);
}

std::vector<Partition> ReadPartitions(ISource& source, std::uint32_t sectorSize) {
  const ForeignMemory foreign;
  const Tsk& tsk = Tsk::Instance();
  // A table that counts in larger sectors doesn't fit when it is read in smaller ones, and the other way round.
  for (const std::uint32_t size : {sectorSize, kTskSectorSize}) {
    if (size % kTskSectorSize != 0) continue;
    const SourceImage image(source, size);
    if (image.Get() == nullptr) continue;
    const TskOwner<TSK_VS_INFO> volumes(tsk.openVolumes(image.Get(), 0, TSK_VS_TYPE_DETECT), tsk.closeVolumes);
    if (volumes == nullptr) continue;
    std::vector<Partition> partitions = PartitionsIn(*volumes);
    if (!partitions.empty()) return partitions;
  }
  return {};
}

std::optional<std::string> ReadClaimedSpace(ISource& source, std::uint64_t offset,
                                            const std::function<void(std::uint64_t, std::uint64_t)>& take) {
  const ForeignMemory foreign;
  const Tsk& tsk = Tsk::Instance();
  const SourceImage image(source, kTskSectorSize);
  if (image.Get() == nullptr) return std::nullopt;
  const TskOwner<TSK_FS_INFO> fileSystem(
      tsk.openFileSystem(image.Get(), static_cast<TSK_OFF_T>(offset), TSK_FS_TYPE_DETECT), tsk.closeFileSystem);
  if (fileSystem == nullptr) return std::nullopt;
  Walk walk{take, 0, 0, false, nullptr};
  constexpr auto kFlags =
      static_cast<TSK_FS_BLOCK_WALK_FLAG_ENUM>(TSK_FS_BLOCK_WALK_FLAG_ALLOC | TSK_FS_BLOCK_WALK_FLAG_CONT |
                                               TSK_FS_BLOCK_WALK_FLAG_META | TSK_FS_BLOCK_WALK_FLAG_AONLY);
  const bool hasFailed = tsk.walkBlocks(fileSystem.get(), fileSystem->first_block, fileSystem->last_block_act, kFlags,
                                        &TakeBlock, &walk) != 0;
  if (walk.failure != nullptr) std::rethrow_exception(walk.failure);
  if (hasFailed || walk.isStopped) return std::nullopt;
  walk.Flush();
  const char* const name = tsk.fileSystemName(fileSystem->ftype);
  return name == nullptr ? "" : Printable(name);
}

}  // namespace qzmtraw::host
