/// \file
/// What compilers and linkers leave behind, told by a fixed head.

#include "frame/StartOnly.h"

namespace qzmtraw {

/// What a library or an object file is taken to have where its head doesn't tell its size.
constexpr SizeHints kObjectHints{256, 16777216};

/// Import and static libraries in the archive form of COFF (Microsoft's PE and COFF specification). The first member is
/// the linker member, whose name is a slash. An archive of ar whose first member has another name isn't one.
class CKLibFileType final : public StartOnly<CKLibFileType> {
 public:
  static constexpr auto kHead = At(0, "!<arch>\n/");
  static constexpr SizeHints kHints = kObjectHints;
};
DETECTOR(CKLibFileType);

/// Libraries of the object module format, OMF 1.1: a library header record of 16 bytes, and the first module's THEADR
/// record behind it.
class CKOmfLibFileType final : public StartOnly<CKOmfLibFileType> {
 public:
  static constexpr auto kHead = At(0, "\xF0\x0D") && At(16, "\x80");
  static constexpr SizeHints kHints = kObjectHints;
};
DETECTOR(CKOmfLibFileType);

/// Compiled resources of 32-bit Windows, which begin with an empty resource. The first four bytes are the commonest of
/// all and so don't lead.
class CKResFileType final : public StartOnly<CKResFileType> {
 public:
  static constexpr auto kHead =
      At(4, " \0\0\0\xFF\xFF\0\0\xFF\xFF\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0") && At(0, "\0\0\0\0");
  static constexpr SizeHints kHints = kObjectHints;
};
DETECTOR(CKResFileType);

/// Precompiled headers of Visual C++.
class CKPchFileType final : public StartOnly<CKPchFileType> {
 public:
  static constexpr auto kHead = At(0, "VCPC\x48\x30\0\0\0\0\0\0");
  static constexpr SizeHints kHints = kObjectHints;
};
DETECTOR(CKPchFileType);

/// Compiled units of Turbo Pascal 6 and 7.
class CKTpuFileType final : public StartOnly<CKTpuFileType> {
 public:
  static constexpr auto kHead = At(0, "TPU9\0\0\0\0\xD2\0\x50\0");
  static constexpr SizeHints kHints = kObjectHints;
};
DETECTOR(CKTpuFileType);

/// Compiled classes (The Java Virtual Machine Specification, chapter 4).
class CKEJavaClassFileType final : public StartOnly<CKEJavaClassFileType> {
 public:
  static constexpr auto kHead = At(0, "\xCA\xFE\xBA\xBE");
  static constexpr SizeHints kHints = kObjectHints;
};
DETECTOR(CKEJavaClassFileType);

/// Compiled units of Delphi 6.
class CKDelphi6DcuFileType final : public StartOnly<CKDelphi6DcuFileType> {
 public:
  static constexpr auto kHead = At(0, "\xDD\0\0\x0E");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(4); }
};
DETECTOR(CKDelphi6DcuFileType);

/// Compiled units of Delphi 7.
class CKDelphi7DcuFileType final : public StartOnly<CKDelphi7DcuFileType> {
 public:
  static constexpr auto kHead = At(0, "\xDF\0\0\x0F");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(4); }
};
DETECTOR(CKDelphi7DcuFileType);

/// Type libraries of XPCOM, Mozilla's component model. The file's length stands at 20 with its most significant byte
/// first, and is taken the other way round.
class CKXptFileType final : public StartOnly<CKXptFileType> {
 public:
  static constexpr auto kHead = At(0, "XPCOM\nTypeLib\r\n\x1A");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(20); }
};
DETECTOR(CKXptFileType);

}  // namespace qzmtraw
