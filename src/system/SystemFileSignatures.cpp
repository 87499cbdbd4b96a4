/// \file
/// Files of operating systems and of programs that guard them, told by a fixed head.

#include "frame/StartOnly.h"

namespace qzmtraw {

/// What a small file of settings or state is taken to have where its head doesn't tell its size.
constexpr SizeHints kSmallFileHints{256, 1048576};

/// Shell links ([MS-SHLLINK]): the header's size and the shell link's class identifier.
class CKOLnkFileType final : public StartOnly<CKOLnkFileType> {
 public:
  static constexpr auto kHead = At(0, "\x4C\0\0\0\x01\x14\x02\0\0\0\0\0\xC0\0\0\0");
  static constexpr SizeHints kHints = kSmallFileHints;
};
DETECTOR(CKOLnkFileType);

/// Archives of AIX's backup command, made by name.
class CKOBffFileType final : public StartOnly<CKOBffFileType> {
 public:
  static constexpr auto kHead = At(0, "\x09\0\x6B\xEA") && At(16, "\377\377\377\177by name");
  static constexpr SizeHints kHints = kSmallFileHints;
};
DETECTOR(CKOBffFileType);

/// Index files of the Java plug-in's cache. The zeros in front of the version don't lead.
class CKOIdxFileType final : public StartOnly<CKOIdxFileType> {
 public:
  static constexpr auto kHead = At(4, "\x02\x5D\0\0\0") && At(0, "\0\0\0\0");
  static constexpr SizeHints kHints = kSmallFileHints;
};
DETECTOR(CKOIdxFileType);

/// Update files of NOD32, by the name of the certificate that signs them. Its place is taken as it is, whatever the
/// sector size.
class CKONupFileType final : public StartOnly<CKONupFileType> {
 public:
  static constexpr auto kHead = At(278, "ESET Update Signing Certificate\x89");
  static constexpr SizeHints kHints = kSmallFileHints;
};
DETECTOR(CKONupFileType);

/// Themes of the PlayStation 3.
class CKOP3tFileType final : public StartOnly<CKOP3tFileType> {
 public:
  static constexpr auto kHead = At(0, "P3TF\0\0\x01\x10");
  static constexpr SizeHints kHints = kSmallFileHints;
};
DETECTOR(CKOP3tFileType);

/// Saved contents of the Windows clipboard.
class CKOClpFileType final : public StartOnly<CKOClpFileType> {
 public:
  static constexpr auto kHead = At(0, "\x50\xC3") && At(3, "\0") && At(6, "\x04\0\0\0") && At(12, "\0\0");
  static constexpr SizeHints kHints = kSmallFileHints;
};
DETECTOR(CKOClpFileType);

/// Code pages of Windows, for characters of one and of two bytes, by the characters that stand for those that a page
/// doesn't have.
class CKONlsFileType final : public StartOnly<CKONlsFileType> {
 public:
  static constexpr auto kHead =
      At(0, "\x0D\0") && (At(4, "\x01\0") || At(4, "\x02\0")) && (At(6, "?\0?\0?\0?\0") || At(6, "o\0?\0?\0o\0"));
  static constexpr SizeHints kHints = kSmallFileHints;
};
DETECTOR(CKONlsFileType);

/// Signature bases of Kaspersky's scanner.
class CKOKdcFileType final : public StartOnly<CKOKdcFileType> {
 public:
  static constexpr auto kHead = At(0, "KDC1\0\x01\x0A\0");
  static std::uint64_t SizeAt(const Sector& sector) { return std::uint64_t{sector.U32(20)} + sector.U32(24); }
};
DETECTOR(CKOKdcFileType);

/// Reports of Kaspersky's scanner.
class CKORptFileType final : public StartOnly<CKORptFileType> {
 public:
  static constexpr auto kHead = At(0, "RPD2\x02\0\0\0");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(32); }
};
DETECTOR(CKORptFileType);

/// Every cabinet ([MS-CAB]): tables of contents have been seen that are packed in one.
class CKOCntFileType final : public StartOnly<CKOCntFileType> {
 public:
  static constexpr auto kHead = At(0, "MSCF\0\0\0\0");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(8); }
};
DETECTOR(CKOCntFileType);

/// Prefetch files of Windows Vista and 7, which is what version 23 stands for.
class CKOPfFileType final : public StartOnly<CKOPfFileType> {
 public:
  static constexpr auto kHead = At(0, "\x17\0\0\0SCCA\x11\0\0\0");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(12); }
};
DETECTOR(CKOPfFileType);

/// Colour profiles (ICC.1), by their device class and colour space: scanners, printers and displays. The mark "acsp"
/// isn't asked for.
class CKOIcmFileType final : public StartOnly<CKOIcmFileType> {
 public:
  static constexpr auto kHead = At(12, "scnrRGB ") || At(12, "prtrRGB ") || At(12, "prtrCMYK") || At(12, "mntrRGB ");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.BigU32(0); }
};
DETECTOR(CKOIcmFileType);

}  // namespace qzmtraw
