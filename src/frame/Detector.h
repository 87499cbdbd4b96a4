#ifndef QZMTRAW_FRAME_DETECTOR_H
#define QZMTRAW_FRAME_DETECTOR_H

/// \file
/// What all detectors have in common. A detector is a class `Self` that derives from a pattern (StartOnly, SizedByHead,
/// HeadTail, TailWalk, Face …) and states as static members what is particular to its format:
///
///     kHead, IsHead(sector)    the head, see Head.h
///     kFloor                   least sector size in bytes at which a head is looked for; 0 unless stated
///     kHints                   the answer of GetSizeHints; none unless stated
///
/// and what its pattern asks for besides. A pattern, and a class that fits none and derives from Detector<Self>, has
///
///     bool ScanBlock(const Block& block, IRawHitSink* sink)
///
/// which the HeadGate calls for blocks in which there may be something to see, and which says whether a file is open
/// after it. Patterns call members of `Self` directly, so that every kind has code of its own with its head compiled
/// into it. A class that has to see every block overrides Scan. `DETECTOR(Self);` behind the class ties it to its row
/// of the table.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/Block.h"
#include "frame/Head.h"
#include "frame/HeadGate.h"
#include "frame/TypeTable.h"
#include "qzmtraw/RawFileType.h"

namespace qzmtraw {

/// The sizes in bytes that files of a kind are taken to have.
struct SizeHints {
  std::uint64_t least;
  std::uint64_t greatest;
};

/// The result of GetSizeHints when an argument is wrong: the operating system's ERROR_FUNCTION_FAILED.
inline constexpr std::uint32_t kFunctionFailed = 1627;

class CKEExeFileType;
class CKG3dsFileType;
class CKUtf8TxtFileType;

/// Whether a class's table of virtual functions goes on behind the operations of IRawFileType with its destructor. It
/// does, but for three classes that hosts know with the eleven operations alone.
template <class Class>
inline constexpr bool kHasVirtualDestructor = true;
template <>
inline constexpr bool kHasVirtualDestructor<CKEExeFileType> = false;
template <>
inline constexpr bool kHasVirtualDestructor<CKG3dsFileType> = false;
template <>
inline constexpr bool kHasVirtualDestructor<CKUtf8TxtFileType> = false;

/// IRawFileType, with a Scan of its own or a gate's, and the end of the table that its class has.
template <class Operations, bool kVirtualDestructor>
class OperationTable : public Operations {
 public:
  virtual ~OperationTable() = default;
};
template <class Operations>
class OperationTable<Operations, false> : public Operations {
 protected:
  ~OperationTable() = default;
};

/// Answers the operations that are the same in all classes; the base of every pattern.
template <class Self, class Gate = HeadGate>
class Detector : public OperationTable<Gate, kHasVirtualDestructor<Self>> {
 public:
  static constexpr std::int32_t kFloor = 0;

  Detector() {
    if constexpr (requires(Self & self, const Block& block) { self.ScanBlock(block, nullptr); })
      LookFor(ProbesOf<Self>());
  }

  std::int32_t Reset() override { return 1; }
  std::int32_t ResetLight() override { return this->Reset(); }
  std::int32_t ResetFull() override { return this->Reset(); }
  void SetMaxFileSize(std::uint64_t /*limit*/) override {}
  std::uint32_t ReservedQueryA(std::uint32_t /*argument*/) override { return 0; }
  std::uint32_t ReservedQueryB(std::uint32_t /*argument*/) override { return 0; }
  void Release() override { delete static_cast<Self*>(this); }

  void GetDescription(char* buffer, std::uint32_t size) override { CopyText(description_, buffer, size); }
  void GetExtension(char* buffer, std::uint32_t size) override { CopyText(extension_, buffer, size); }

  std::uint32_t GetSizeHints([[maybe_unused]] std::uint32_t id, [[maybe_unused]] std::uint64_t* out,
                             [[maybe_unused]] std::uint32_t size) override {
    if constexpr (requires { Self::kHints; }) {
      if (id != 0 || size != 2 * sizeof *out || out == nullptr) return kFunctionFailed;
      out[0] = Self::kHints.least;
      out[1] = Self::kHints.greatest;
    }
    return 0;
  }

  /// The texts that the detector answers with. They must live as long as it does; null gives nothing.
  void SetTexts(const char* description, const char* extension) {
    description_ = description;
    extension_ = extension;
  }

 protected:
  /// Shows the class only blocks at which one of the probes holds, and those that follow while a file is open.
  /// \param probes  They must live as long as the detector.
  void LookFor(std::span<const Probe> probes) { this->ShowBlocksTo(&ScanBlockOf, probes); }

  Self& ThisDetector() { return static_cast<Self&>(*this); }

  /// Hands a hit to the sink. The record reads zero afterwards, also for a sink that kept its address.
  void Report(IRawHitSink* sink, std::uint64_t startSector, std::uint64_t size) {
    hit = {startSector, size};
    if (sink != nullptr) sink->ReportHit(&hit);
    hit = {};
  }

  /// All zero between hits.
  RawFileHit hit{};

 private:
  static bool ScanBlockOf(HeadGate& gate, const Block& block, IRawHitSink* sink) {
    return static_cast<Self&>(gate).ScanBlock(block, sink);
  }

  static void CopyText(const char* text, char* buffer, std::uint32_t size) {
    if (text == nullptr || buffer == nullptr || size == 0) return;
    const std::size_t room = size - 1;
    const std::size_t length = std::min(std::strlen(text), room);
    // The copy isn't terminated where the text is cut: that is the operation's contract.
    std::memcpy(buffer, text, length);  // NOLINT(bugprone-not-null-terminated-result)
    std::memset(buffer + length, 0, room - length);
  }

  const char* description_ = nullptr;
  const char* extension_ = nullptr;
};

template <class Class>
IRawFileType* Create(const TypeRow& row) {
  auto* detector = new Class;
  detector->SetTexts(row.description, row.extension);
  return detector;
}

/// Ties a detector's class to its row of the table.
#define DETECTOR(Class) template IRawFileType* Create<Class>(const TypeRow& row)

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_DETECTOR_H
