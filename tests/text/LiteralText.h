#ifndef QZMTRAW_TESTS_TEXT_LITERAL_TEXT_H
#define QZMTRAW_TESTS_TEXT_LITERAL_TEXT_H

#include <cstdint>
#include <string>
#include <vector>

namespace qzmtraw::test {

/// The rules of plain text as they are told, step by step and sector by sector: each candidate is copied and sorted at
/// once, whatever becomes of it. Slow, and a second opinion on the library's classifier.
class LiteralText {
 public:
  struct Record {
    std::uint64_t fileStart;
    std::uint64_t fileSize;
    std::uint32_t code;
  };

  /// Examines a block.
  void Scan(const std::string& block, std::size_t sectorSize, std::uint64_t startSector);

  /// What was recorded so far, kind 1 included.
  std::vector<Record> hits;
  std::uint32_t textKind = 0;

 private:
  void WalkSectorBytes(const std::string& sector);
  void CloseText();
  void ClassifySector(const std::string& sector);
  bool CheckKnownHeads(const std::string& wholeText, const std::string& headText, const std::string& tailText);
  void ClassifyCommented(const std::string& wholeText, const std::string& headText);
  void ClassifySource(const std::string& wholeText, const std::string& headText);

  std::uint32_t fileOpen_ = 0;
  std::uint64_t fileStart_ = 0;
  std::uint64_t fileSize_ = 0;
  std::uint64_t maxFileSize_ = 0x10000;
};

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_TEXT_LITERAL_TEXT_H
