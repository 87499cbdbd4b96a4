#ifndef QZMTRAW_HOST_SCAN_READ_AHEAD_H
#define QZMTRAW_HOST_SCAN_READ_AHEAD_H

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "host/base/Threads.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// Some neighbouring sectors of a device.
struct Piece {
  std::uint64_t startSector = 0;
  std::uint64_t sectorCount = 0;
  std::vector<std::uint8_t> bytes;
};

/// Reads what a device shows from some sector to its end, piece by piece, on a thread of its own, as far ahead of those
/// who use
/// the pieces as there is memory for.
class ReadAhead {
 public:
  /// \param device        Must live as long as this.
  /// \param pieceSectors  Sectors of a piece, at least 1. The last piece may have fewer.
  /// \param pieceCount    How many pieces are in memory at most, at least 1.
  /// \param userCount     How many threads Get and Release every piece.
  /// \param failures      Receives what goes wrong on the thread.
  /// \param startSector   The first one of the first piece.
  ReadAhead(Device& device, std::uint64_t pieceSectors, std::size_t pieceCount, std::size_t userCount,
            Failures& failures, std::uint64_t startSector = 0);
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;
  /// All users must be gone.
  ~ReadAhead();

  /// Waits until a piece has been read. Each user asks for the pieces in order: 0, 1 ….
  /// \return The piece, which stays until all users have released it and whose bytes they share, or null: the device
  ///         has ended or was lost, or Stop was called.
  Piece* Get(std::uint64_t number);

  /// A user needs the piece no more.
  void Release(std::uint64_t number);

  /// Ends the reading; those who wait get no piece.
  void Stop();

 private:
  struct Slot {
    Piece piece;
    std::size_t users = 0;
  };

  void ReadAll();
  bool IsStopped();
  Slot& SlotOf(std::uint64_t number) { return slots_[static_cast<std::size_t>(number % slots_.size())]; }

  Device& device_;
  std::uint64_t pieceSectors_;
  std::size_t userCount_;
  Failures& failures_;
  std::uint64_t startSector_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Slot> slots_;
  std::uint64_t readCount_ = 0;
  bool isOver_ = false;
  bool isStopped_ = false;
  std::jthread thread_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_READ_AHEAD_H
