// How fast a ZIP file that is open is followed: the price of every large archive, as its end is looked for in each of
// its bytes, and names beside it until its kind is known.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "bench/Data.h"
#include "qzmtraw/RawFileTypeFactory.h"

namespace qzmtraw::bench {
namespace {

constexpr std::int32_t kZipRow = 143;
constexpr std::size_t kSectorSize = 512;
constexpr std::size_t kBlockSize = 64 * kSectorSize;

struct Releaser {
  void operator()(IRawFileType* detector) const { detector->Release(); }
};

/// Opens a file whose first sector holds `head` and follows it through `contents`, over and over.
void Follow(benchmark::State& state, std::string_view head, std::vector<std::uint8_t> contents) {
  const std::unique_ptr<IRawFileType, Releaser> zip(GetRawFileTypeFactory()->CreateType(kZipRow, nullptr, nullptr));
  zip->Reset();
  std::uint64_t sector = 1;
  const auto scan = [&](std::uint8_t* data, std::size_t size) {
    const auto sectors = static_cast<std::int32_t>(size / kSectorSize);
    const RawSectorBlock block{sector, data, sectors, kSectorSize, nullptr};
    zip->Scan(&block, nullptr);
    sector += static_cast<std::uint64_t>(sectors);
  };
  std::vector<std::uint8_t> first(kSectorSize);
  std::copy(head.begin(), head.end(), first.begin());
  scan(first.data(), first.size());

  for (auto _ : state) {
    for (std::size_t begin = 0; begin < contents.size(); begin += kBlockSize) {
      scan(contents.data() + begin, std::min(kBlockSize, contents.size() - begin));
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(contents.size()));
}

constexpr std::string_view kPlainHead = "PK\3\4";
constexpr std::string_view kDocumentHead = "PK\3\4 word/document.xml";
constexpr std::size_t kMemory = std::size_t{64} << 20;

// A document whose kind is known, and a plain archive, which is what every file is until a name has told its kind.
BENCHMARK_CAPTURE(Follow, plain_noise_cached, kPlainHead, Noise(kBlockSize));
BENCHMARK_CAPTURE(Follow, plain_noise, kPlainHead, Noise(kMemory));
BENCHMARK_CAPTURE(Follow, plain_zeros, kPlainHead, Zeros(kMemory));
BENCHMARK_CAPTURE(Follow, plain_text, kPlainHead, Text(kMemory));
BENCHMARK_CAPTURE(Follow, document_noise_cached, kDocumentHead, Noise(kBlockSize));
BENCHMARK_CAPTURE(Follow, document_noise, kDocumentHead, Noise(kMemory));
BENCHMARK_CAPTURE(Follow, document_zeros, kDocumentHead, Zeros(kMemory));
BENCHMARK_CAPTURE(Follow, document_text, kDocumentHead, Text(kMemory));

}  // namespace
}  // namespace qzmtraw::bench
