#include "media/KASFFileType.h"

#include <algorithm>
#include <array>

namespace qzmtraw {

namespace {

constexpr auto kFileProperties = Bytes("\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65");
constexpr auto kStreamProperties = Bytes("\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65");
constexpr auto kAudioMedia = Bytes("\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B");
constexpr auto kVideoMedia = Bytes("\xC0\xEF\x19\xBC\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B");

/// Bytes of a file. What can't be read is zero.
template <std::size_t kLength>
class Record {
 public:
  explicit Record(KFileSimulator& file) { file.Read(bytes_.data(), kLength); }

  bool BeginsWith(const ByteString<16>& guid) const {
    return std::equal(guid.bytes.begin(), guid.bytes.end(), bytes_.begin());
  }
  std::uint32_t U32(std::size_t offset) const { return LoadLittle<std::uint32_t>(bytes_.data() + offset); }

 private:
  std::array<std::uint8_t, kLength> bytes_{};
};

}  // namespace

std::int32_t KASFFileType::Reset() {
  cacheKey = kFirstKey;
  return OpenFile::Reset();
}

void KASFFileType::Lookup(const RawSectorBlock* block, IRawHitSink* sink, std::uint32_t code) {
  SharedClassifier::Lookup(block, sink, code);
}

bool KASFFileType::ScanBlock(const Block& block, IRawHitSink* sink) {
  code_ = kAsfWithoutStreams;
  ForEachHead(*this, block, [&](const Sector& sector) {
    KFileSimulator file(block.Raw(), sector.Number(), kDefaultMaxFileSize);
    const std::int64_t size = ReadHeader(file);
    Open(sector.Number());
    ReportSize(sink, static_cast<std::uint64_t>(size));
    Close();
  });
  return false;
}

void KASFFileType::Report(IRawHitSink* /*sink*/, std::uint64_t startSector, std::uint64_t size) {
  hits.push_back({{startSector, size}, code_});
  code_ = kAsfWithoutStreams;
}

std::int32_t KASFFileType::ReadHeader(KFileSimulator& file) {
  constexpr std::uint32_t kMostObjects = 32;
  const std::uint32_t objectCount = Record<30>(file).U32(24);
  std::uint32_t size = 0;
  for (std::uint32_t i = 0; i < std::min(objectCount, kMostObjects); ++i) {
    const Record<24> object(file);
    std::int64_t bytesRead = 24;
    if (object.BeginsWith(kFileProperties)) {
      size = Record<24>(file).U32(16);
      bytesRead = 48;
    } else if (object.BeginsWith(kStreamProperties)) {
      const Record<16> streamType(file);
      code_ = streamType.BeginsWith(kAudioMedia)   ? kAsfAudio
              : streamType.BeginsWith(kVideoMedia) ? kAsfVideo
                                                   : kAsfOther;
      bytesRead = 40;
    }
    file.Skip(static_cast<std::int32_t>(object.U32(16)) - bytesRead);
  }
  return static_cast<std::int32_t>(size);
}

#define ASF_FACE(Class, ...)                                            \
  class Class final : public Face<Class, KASFFileType, __VA_ARGS__> {}; \
  DETECTOR(Class)

ASF_FACE(KASFileType, kAsfOther, kAsfAudio, kAsfVideo);
ASF_FACE(KWMAFileType, kAsfAudio);
ASF_FACE(KWMVFileType, kAsfVideo, kAsfAudio);

}  // namespace qzmtraw
