// How fast devices are scanned, as bytes per second and as a share of the rate at which this machine reads memory,
// measured in the same run. `AllRows` has all 320 detectors at work, `Row` a single one on noise.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/Data.h"
#include "qzmtraw/RawFileTypeFactory.h"

namespace qzmtraw::bench {
namespace {

constexpr std::size_t kMebibyte = 1 << 20;
constexpr std::int32_t kSectorSize = 512;
constexpr std::int32_t kBlockSectors = 64;

class CountingSink final : public IRawHitSink {
 public:
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReportHit(const RawFileHit* /*hit*/) override {
    ++hits;
    return 0;
  }
  std::int64_t hits = 0;
};

/// Serves the sectors of bytes in memory.
class MemoryReader final : public IRawSectorReader {
 public:
  MemoryReader(const std::vector<std::uint8_t>& bytes, std::uint64_t firstSector)
      : bytes_(bytes), firstSector_(firstSector) {}
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    const std::uint64_t size = std::uint64_t{sectorCount} * kSectorSize;
    const std::uint64_t first =
        std::min<std::uint64_t>(startSector - firstSector_, bytes_.size() / kSectorSize) * kSectorSize;
    const std::uint64_t served = std::min<std::uint64_t>(size, bytes_.size() - first);
    auto* target = static_cast<std::uint8_t*>(buffer);
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(first), served, target);
    std::fill_n(target + served, size - served, std::uint8_t{0});
    return 0;
  }

 private:
  const std::vector<std::uint8_t>& bytes_;
  std::uint64_t firstSector_;
};

struct Releaser {
  void operator()(IRawFileType* detector) const { detector->Release(); }
};
using Detector = std::unique_ptr<IRawFileType, Releaser>;

Detector Create(std::int32_t index) {
  std::int32_t category = 0;
  std::array<std::uint8_t, 16> group{};
  Detector detector(GetRawFileTypeFactory()->CreateType(index, &category, group.data()));
  detector->Reset();
  return detector;
}

/// Scans a device whose first sector has the given number, so that no block is taken for one that was read before.
void ScanOnce(const std::vector<Detector>& detectors, std::vector<std::uint8_t>& device, std::uint64_t firstSector,
              IRawHitSink& sink) {
  MemoryReader reader(device, firstSector);
  constexpr std::size_t kBlockSize = std::size_t{kBlockSectors} * kSectorSize;
  for (std::size_t first = 0; first < device.size(); first += kBlockSize) {
    const std::size_t sectors = std::min(kBlockSize, device.size() - first) / kSectorSize;
    const RawSectorBlock block{firstSector + first / kSectorSize, device.data() + first,
                               static_cast<std::int32_t>(sectors), kSectorSize, &reader};
    for (const Detector& detector : detectors) detector->Scan(&block, &sink);
  }
}

void Measure(benchmark::State& state, const std::vector<Detector>& detectors, std::vector<std::uint8_t>& device,
             double memoryReadRate) {
  CountingSink sink;
  std::uint64_t rounds = 0;
  for (auto _ : state) ScanOnce(detectors, device, ++rounds * (device.size() / kSectorSize), sink);
  const double bytes = static_cast<double>(rounds) * static_cast<double>(device.size());
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
  state.counters["of_memory_read"] = benchmark::Counter(bytes / memoryReadRate, benchmark::Counter::kIsRate);
  state.counters["hits"] = static_cast<double>(sink.hits) / static_cast<double>(rounds);
}

}  // namespace
}  // namespace qzmtraw::bench

int main(int argumentCount, char** arguments) {
  using namespace qzmtraw::bench;  // NOLINT(google-build-using-namespace)
  benchmark::Initialize(&argumentCount, arguments);
  if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 2;

  std::vector<std::pair<std::string, std::vector<std::uint8_t>>> devices;
  devices.emplace_back("zeros", Zeros(128 * kMebibyte));
  devices.emplace_back("noise", Noise(128 * kMebibyte));
  devices.emplace_back("text", Text(128 * kMebibyte));
  devices.emplace_back("files", RealFiles(256 * kMebibyte));
  const double memoryReadRate = MemoryReadRate(devices[1].second);
  std::printf("This machine reads memory at %.2f GB/s on one core.\n", memoryReadRate / 1e9);

  std::vector<Detector> all;
  all.reserve(static_cast<std::size_t>(GetRawFileTypeFactory()->GetTypeCount()));
  for (std::int32_t i = 0; i < GetRawFileTypeFactory()->GetTypeCount(); ++i) all.push_back(Create(i));
  for (auto& [name, device] : devices) {
    auto* bytes = &device;
    benchmark::RegisterBenchmark(("AllRows/" + name).c_str(), [&all, bytes, memoryReadRate](benchmark::State& state) {
      Measure(state, all, *bytes, memoryReadRate);
    })->Unit(benchmark::kMillisecond);
  }
  // One block, which stays in the first-level cache as it does while all rows look at it in turn.
  std::vector<std::uint8_t> block = Noise(std::size_t{kBlockSectors} * kSectorSize);
  for (std::int32_t i = 0; i < GetRawFileTypeFactory()->GetTypeCount(); ++i) {
    std::array<char, 64> extension{};
    all[static_cast<std::size_t>(i)]->GetExtension(extension.data(), extension.size());
    const std::string name = "Row/" + std::to_string(i) + "/" + extension.data();
    benchmark::RegisterBenchmark(name.c_str(),
                                 [i, &block, memoryReadRate](benchmark::State& state) {
                                   std::vector<Detector> one;
                                   one.push_back(Create(i));
                                   Measure(state, one, block, memoryReadRate);
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->MinTime(0.05);
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
