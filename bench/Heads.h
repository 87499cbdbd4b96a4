#ifndef QZMTRAW_BENCH_HEADS_H
#define QZMTRAW_BENCH_HEADS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace qzmtraw::bench {

/// Bytes at whose sight detectors go to work.
struct Head {
  struct Part {
    std::size_t offset;
    std::string_view bytes;
  };

  std::string_view name;
  std::vector<Part> parts;

  /// Puts the head where it stands in a file's first sector. What doesn't belong to it stays.
  void WriteTo(std::span<std::uint8_t> sector) const;
};

/// Heads that stand on ordinary disks in numbers: programs, MPEG audio, JPEG, archives, compound documents, RIFF.
const std::vector<Head>& CommonHeads();

/// Heads of the kinds for which more is done than to look at one sector: files that stay open until an end is met,
/// chains that are followed, files that are read ahead.
const std::vector<Head>& LaboriousHeads();

}  // namespace qzmtraw::bench

#endif  // QZMTRAW_BENCH_HEADS_H
