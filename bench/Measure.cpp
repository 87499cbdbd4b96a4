#include "bench/Measure.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <latch>
#include <limits>
#include <numeric>
#include <thread>
#include <utility>

#include "bench/Data.h"
#include "host/scan/CacheAhead.h"
#include "host/scan/ScanLoop.h"
#include "host/types/Registry.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kBlockSize = host::kSectorsPerBlock * kSectorSize;

/// The processor time of this thread, in seconds. Unlike a clock's, it isn't spoilt by a moment in which another
/// program had the core.
double ThreadSeconds() {
  std::timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Keeps the compiler from leaving out what was computed.
void Keep(std::uint64_t value) { asm volatile("" : : "r"(value)); }

std::uint64_t SumOf(std::span<const std::uint8_t> bytes) {
  std::array<std::uint64_t, 16> sums{};
  for (std::size_t i = 0; i + sizeof sums <= bytes.size(); i += sizeof sums) {
    std::array<std::uint64_t, sums.size()> words;
    std::memcpy(words.data(), bytes.data() + i, sizeof words);
    for (std::size_t k = 0; k < words.size(); ++k) sums[k] += words[k];
  }
  return std::accumulate(sums.begin(), sums.end(), std::uint64_t{0});
}

class ForgetfulSink final : public IRawHitSink {
 public:
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReportHit(const RawFileHit* /*hit*/) override { return 0; }
};

/// Serves the sectors of bytes in memory, and zeros behind them.
class MemoryReader final : public IRawSectorReader {
 public:
  explicit MemoryReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    const std::size_t size = std::size_t{sectorCount} * kSectorSize;
    const std::size_t first = std::min<std::uint64_t>(startSector, bytes_.size() / kSectorSize) * kSectorSize;
    const std::span served = bytes_.subspan(first, std::min(size, bytes_.size() - first));
    auto* const target = static_cast<std::uint8_t*>(buffer);
    std::ranges::copy(served, target);
    std::fill_n(target + served.size(), size - served.size(), std::uint8_t{0});
    return served.size() == size ? 0 : 1;
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

/// A lane's detectors, as they are before a scan.
class Detectors {
 public:
  explicit Detectors(const host::Lane& lane) {
    IRawFileTypeFactory& registry = host::OpenRegistry();
    for (const host::LaneRow& row : lane) {
      detectors_.push_back({host::DetectorPtr(registry.CreateType(row.row, nullptr, nullptr)), row.isSilent});
      detectors_.back().detector->Reset();
    }
    // Ends the texts that the scan before has left open, and clears what the classifiers keep of its last block.
    std::vector<std::uint8_t> zeros(kSectorSize);
    constexpr std::uint64_t kNoSector = std::numeric_limits<std::uint64_t>::max();
    Scan({kNoSector - 1, zeros.data(), 1, kSectorSize, nullptr});
    Scan({kNoSector, zeros.data(), 0, kSectorSize, nullptr});
    for (const Entry& entry : detectors_) entry.detector->Reset();
  }

  [[nodiscard]] std::size_t Count() const { return detectors_.size(); }

  /// \param next  What is scanned next.
  void Scan(const RawSectorBlock& block, std::span<const std::uint8_t> next = {}) {
    host::CacheAhead ahead(next, detectors_.size());
    for (std::size_t i = 0; i < detectors_.size(); ++i) {
      ScanWith(i, block);
      ahead.Step();
    }
  }
  void ScanWith(std::size_t i, const RawSectorBlock& block) {
    detectors_[i].detector->Scan(&block, detectors_[i].isSilent ? nullptr : &sink_);
  }

 private:
  struct Entry {
    host::DetectorPtr detector;
    bool isSilent = false;
  };

  std::vector<Entry> detectors_;
  ForgetfulSink sink_;
};

/// One lane's way through a device.
class LaneScan {
 public:
  /// \param copiesBlocks  The detectors get copies of the blocks into which some of them may write.
  LaneScan(const host::Lane& lane, Device& device, bool copiesBlocks)
      : detectors_(lane), device_(device), reader_(device.bytes), copiesBlocks_(copiesBlocks) {}

  /// Scans what isn't measured, says so, waits for the other lanes and scans the rest, until the time is over.
  void Run(std::latch& prepared, double mostSeconds) {
    for (; position_ < device_.measuredFrom; Advance()) detectors_.Scan(NextBlock());
    const std::size_t from = position_;
    prepared.arrive_and_wait();
    const double start = ThreadSeconds();
    do {
      // A look at the clock isn't free either.
      constexpr int kBlocksBetweenLooks = 16;
      for (int i = 0; i < kBlocksBetweenLooks && position_ < device_.bytes.size(); ++i) {
        const RawSectorBlock block = NextBlock();
        Advance();
        detectors_.Scan(block, NextBytes());
      }
      seconds_ = ThreadSeconds() - start;
    } while (position_ < device_.bytes.size() && seconds_ < mostSeconds);
    byteCount_ = position_ - from;
  }

  [[nodiscard]] std::size_t ByteCount() const { return byteCount_; }
  [[nodiscard]] double Seconds() const { return seconds_; }

 private:
  RawSectorBlock NextBlock() {
    const std::span<std::uint8_t> bytes = NextBytes();
    std::uint8_t* data = bytes.data();
    if (copiesBlocks_ && host::MayBeWrittenInto(bytes, kSectorSize)) {
      copy_.assign(bytes.begin(), bytes.end());
      data = copy_.data();
    }
    return {position_ / kSectorSize, data, static_cast<std::int32_t>(bytes.size() / kSectorSize), kSectorSize,
            &reader_};
  }
  void Advance() { position_ += NextSize(); }
  [[nodiscard]] std::span<std::uint8_t> NextBytes() const {
    return std::span(device_.bytes).subspan(position_, NextSize());
  }
  [[nodiscard]] std::size_t NextSize() const { return std::min(kBlockSize, device_.bytes.size() - position_); }

  Detectors detectors_;
  Device& device_;
  MemoryReader reader_;
  bool copiesBlocks_;
  std::vector<std::uint8_t> copy_;
  std::size_t position_ = 0;
  std::size_t byteCount_ = 0;
  double seconds_ = 0;
};

/// One scan of the device: bytes that passed all lanes, and what the slowest took.
struct Pass {
  std::size_t byteCount = std::numeric_limits<std::size_t>::max();
  double seconds = 0;

  [[nodiscard]] double Rate() const { return static_cast<double>(byteCount) / seconds; }
};

Pass ScanOnce(const std::vector<host::Lane>& lanes, Device& device, double mostSeconds) {
  std::vector<LaneScan> scans;
  scans.reserve(lanes.size());
  for (const host::Lane& lane : lanes) scans.emplace_back(lane, device, lanes.size() > 1);
  std::latch prepared(static_cast<std::ptrdiff_t>(lanes.size()));
  std::vector<std::jthread> threads;
  threads.reserve(scans.size());
  for (LaneScan& scan : scans) threads.emplace_back([&] { scan.Run(prepared, mostSeconds); });
  threads.clear();
  Pass pass;
  for (const LaneScan& scan : scans) {
    pass.byteCount = std::min(pass.byteCount, scan.ByteCount());
    pass.seconds = std::max(pass.seconds, scan.Seconds());
  }
  return pass;
}

/// A clock that takes little to look at. What its unit is has to be measured.
std::uint64_t Ticks() {
#if defined(__x86_64__)
  return __builtin_ia32_rdtsc();
#else
  return static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
#endif
}

double TicksOfOneLook() {
  constexpr int kRounds = 100;
  constexpr int kLooks = 1000;
  std::uint64_t best = std::numeric_limits<std::uint64_t>::max();
  for (int round = 0; round < kRounds; ++round) {
    const std::uint64_t start = Ticks();
    for (int i = 0; i < kLooks; ++i) Keep(Ticks());
    best = std::min(best, Ticks() - start);
  }
  return static_cast<double>(best) / kLooks;
}

RowTimes MeasureRowsOnce(const host::Lane& lane, Device& device) {
  Detectors detectors(lane);
  MemoryReader reader(device.bytes);
  const double look = TicksOfOneLook();
  std::vector<std::uint64_t> ticks(detectors.Count());
  std::uint64_t fetchingTicks = 0;
  std::size_t position = 0;
  const auto nextBlock = [&] {
    const std::span bytes =
        std::span(device.bytes).subspan(position, std::min(kBlockSize, device.bytes.size() - position));
    const RawSectorBlock block{position / kSectorSize, bytes.data(),
                               static_cast<std::int32_t>(bytes.size() / kSectorSize), kSectorSize, &reader};
    position += bytes.size();
    return block;
  };
  while (position < device.measuredFrom) detectors.Scan(nextBlock());
  double blockCount = 0;
  double sectorCount = 0;
  const Clock::time_point start = Clock::now();
  const std::uint64_t startTicks = Ticks();
  while (position < device.bytes.size()) {
    const RawSectorBlock block = nextBlock();
    std::uint64_t before = Ticks();
    const auto turnEnds = [&](std::uint64_t& sum) {
      const std::uint64_t now = Ticks();
      sum += now - before;
      before = now;
    };
    Keep(SumOf({block.data, static_cast<std::size_t>(block.sectorCount) * kSectorSize}));
    turnEnds(fetchingTicks);
    for (std::size_t i = 0; i < detectors.Count(); ++i) {
      detectors.ScanWith(i, block);
      turnEnds(ticks[i]);
    }
    ++blockCount;
    sectorCount += block.sectorCount;
  }
  const double nanosecondsPerTick = std::chrono::duration<double, std::nano>(Clock::now() - start).count() /
                                    static_cast<double>(Ticks() - startTicks);
  const auto perSector = [&](std::uint64_t sum) {
    return std::max(0.0, static_cast<double>(sum) - blockCount * look) * nanosecondsPerTick / sectorCount;
  };
  RowTimes times;
  for (const std::uint64_t sum : ticks) times.rows.push_back(perSector(sum));
  times.fetching = perSector(fetchingTicks);
  return times;
}

}  // namespace

double MemoryReadRate(std::size_t threadCount) {
  const std::size_t part = std::max<std::size_t>(256 / threadCount, 32) * kMebibyte;
  const std::vector<std::uint8_t> bytes(part * threadCount, 1);
  constexpr int kRounds = 7;
  double best = 0;
  for (int round = 0; round < kRounds; ++round) {
    std::latch ready(static_cast<std::ptrdiff_t>(threadCount));
    std::vector<double> seconds(threadCount);
    {
      std::vector<std::jthread> threads;
      for (std::size_t i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
          ready.arrive_and_wait();
          const double start = ThreadSeconds();
          Keep(SumOf(std::span(bytes).subspan(i * part, part)));
          seconds[i] = ThreadSeconds() - start;
        });
      }
    }
    best = std::max(best, static_cast<double>(bytes.size()) / *std::ranges::max_element(seconds));
  }
  return best;
}

double ScanRate(const std::vector<host::Lane>& lanes, Device& device, const Patience& patience) {
  double best = 0;
  double passed = 0;
  do {
    const Pass pass = ScanOnce(lanes, device, patience.mostSeconds);
    best = std::max(best, pass.Rate());
    passed += pass.seconds;
  } while (passed < patience.leastSeconds);
  return best;
}

double RowTimes::Sum() const { return std::accumulate(rows.begin(), rows.end(), fetching); }

RowTimes MeasureRows(const host::Lane& lane, Device& device) {
  constexpr int kRounds = 3;
  RowTimes best = MeasureRowsOnce(lane, device);
  for (int round = 1; round < kRounds; ++round) {
    RowTimes times = MeasureRowsOnce(lane, device);
    if (times.Sum() < best.Sum()) best = std::move(times);
  }
  return best;
}

}  // namespace qzmtraw::bench
