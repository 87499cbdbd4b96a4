#include "bench/Heads.h"

#include <algorithm>
#include <array>

namespace qzmtraw::bench {
namespace {

// NOLINTNEXTLINE(misc-unused-using-decls): used in every line of the lists.
using std::string_view_literals::operator""sv;

constexpr std::array<char, 508> kZeroBytes{};
constexpr std::string_view kZeros(kZeroBytes.data(), kZeroBytes.size());

}  // namespace

void Head::WriteTo(std::span<std::uint8_t> sector) const {
  for (const Part& part : parts) {
    std::ranges::copy(part.bytes, sector.subspan(part.offset, part.bytes.size()).begin());
  }
}

const std::vector<Head>& CommonHeads() {
  static const std::vector<Head> kHeads = {
      {"MZ", {{0, "MZ"sv}}},
      {"FF FB", {{0, "\xFF\xFB"sv}}},
      {"JPEG", {{0, "\xFF\xD8\xFF\xE0"sv}}},
      {"PK", {{0, "PK\3\4"sv}}},
      {"OLE2", {{0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv}}},
      {"RIFF", {{0, "RIFF"sv}}},
  };
  return kHeads;
}

const std::vector<Head>& LaboriousHeads() {
  static const std::vector<Head> kHeads = {
      {"arj", {{0, "\x60\xEA"sv}, {8, "\0\0\x02"sv}}},
      {"bkf", {{0, "TAPE"sv}}},
      {"cpio", {{0, "070707"sv}}},
      {"gz", {{0, "\x1F\x8B\x08"sv}, {3, "\0"sv}, {8, "\0"sv}}},
      {"ice", {{0, "IC\x01\x02\x01\0"sv}}},
      {"lzh", {{2, "-l"sv}}},
      {"rpm", {{0, "\xED\xAB\xEE\xDB\x03"sv}}},
      {"uha", {{0, "UHA"sv}}},
      {"webarchive", {{0, "bplist00"sv}}},
      {"xz", {{0, "\xFD\x37zXZ\0\0"sv}}},
      {"zoo", {{0, "ZOO"sv}, {20, "\xDC\xA7\xC4\xFD"sv}}},
      {"7z", {{0, "7z\xBC\xAF\x27\x1C"sv}}},
      {"cab", {{0, "MSCF\0\0\0\0"sv}}},
      {"rar", {{0, "Rar!\x1A\x07\0\xCF"sv}}},
      {"ole2", {{0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv}}},
      {"zip", {{0, "PK\3\4"sv}}},
      {"xpm", {{0, "/* XPM */"sv}}},
      {"fh11", {{0, "\x1C\x01\x00\x00\x02\x00\x04\x1C\x01\x14\x00\x02\x00\x14\x1C\x01\x16\x00\x02\x00"sv}}},
      {"fh9", {{0, "AGD"sv}}},
      {"xar", {{0, "XARA\xA3\xA3\x0D"sv}}},
      {"dtc", {{2, "CADEbinary"sv}}},
      {"lws", {{0, "LWSC\r\n"sv}}},
      {"dxf", {{0, "AutoCAD Binary DXF"sv}}},
      {"cgm", {{0, "\0"sv}}},
      {"grb", {{0, "GRIB"sv}, {7, "\x01\0\0\x1C"sv}}},
      {"pct", {{0, "PICT"sv}, {4, kZeros}}},
      {"crw", {{0, "II\x1A\0\0\0HEAPCCDR"sv}}},
      {"dwg", {{0, "AC10"sv}, {6, kZeros.substr(0, 5)}}},
      {"gif", {{0, "GIF87a"sv}}},
      {"mrw", {{0, "\0MRM"sv}, {8, "\0PRD"sv}}},
      {"orf", {{0, "IIR"sv}}},
      {"psd", {{0, "8BPS"sv}}},
      {"tif", {{0, "II*\0"sv}}},
      {"psp", {{0, "Paint Shop Pro Image File\n\x1A\0\0\0\0"sv}}},
      {"oci", {{0, "OPIM"sv}, {4, "\x30\0\0\0"sv}}},
      {"sdr", {{0, "SMARTDRW"sv}}},
      {"png", {{0, "\x89PNG\r\n\x1A\n"sv}}},
      {"bmp", {{0, "BM"sv}, {6, "\0\0\0\0"sv}}},
      {"cur", {{0, "\0\0\2\0"sv}}},
      {"ico", {{0, "\0\0\1\0"sv}}},
      {"cdr", {{0, "RIFF"sv}, {8, "CDR"sv}, {12, "vrsn"sv}}},
      {"wmf", {{0, "\xD7\xCD\xC6\x9A"sv}}},
      {"emf", {{40, " EMF"sv}, {0, "\x01\0\0\0"sv}}},
      {"swf", {{0, "FWS"sv}}},
      {"mb", {{0, "FOR4"sv}, {8, "Maya"sv}, {12, "FOR4"sv}}},
      {"3g2", {{4, "ftyp3g2a"sv}}},
      {"amr", {{0, "#!AMR\n"sv}}},
      {"amv", {{0, "RIFF"sv}, {8, "AMV "sv}, {12, "LIST"sv}}},
      {"fbx", {{0, "Kaydara FBX Binary "sv}}},
      {"mp2", {{0, "\xFF\xFD"sv}, {3, "\x04"sv}}},
      {"mpg", {{0, "\0\0\x01\xB3"sv}}},
      {"ofr", {{0, "OFR "sv}, {23, "HEAD"sv}}},
      {"voc", {{0, "Creative Voice File\x1A"sv}}},
      {"wv", {{0, "wvpk"sv}}},
      {"wav", {{8, "WAVE"sv}, {0, "RIFF"sv}, {12, "fmt "sv}}},
      {"ani", {{8, "ACON"sv}, {0, "RIFF"sv}, {12, "anih"sv}}},
      {"aif", {{8, "AIFF"sv}, {0, "FORM"sv}, {12, "COMM"sv}}},
      {"au", {{0, ".snd"sv}}},
      {"mp4", {{4, "ftypisom"sv}}},
      {"3gp", {{4, "ftyp3gp"sv}}},
      {"m4a", {{4, "ftypM4A "sv}}},
      {"asf", {{0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv}}},
      {"avi", {{8, "AVI "sv}, {0, "RIFF"sv}, {12, "LIST"sv}}},
      {"flv", {{0, "FLV\x01"sv}}},
      {"mp3", {{0, "ID3"sv}}},
      {"mid", {{0, "MThd"sv}, {4, "\0\0\0\x06"sv}}},
      {"mkv", {{0, "\x1A\x45\xDF\xA3"sv}}},
      {"mmf", {{0, "MMMD"sv}, {8, "CNTI"sv}}},
      {"mov", {{4, "moov"sv}}},
      {"mts", {{4, "\x47\x40\0\x10"sv}, {196, "\x47\x41\0\x10"sv}}},
      {"ogg", {{0, "OggS"sv}}},
      {"rm", {{0, ".RMF"sv}, {4, "\0\0\0\x12"sv}, {18, "PROP"sv}}},
      {"veg", {{0, "riff"sv}, {4, "\x2E\x91\xCF\x11"sv}}},
      {"bt", {{2, "B\0l\0u\0f\0f\0T\0i\0t\0l\0e\0r\0"sv}, {0, "\xFF\xFE"sv}}},
      {"gds", {{0, "\0\x06\0\x02"sv}, {6, "\0\x1C\x01\x02"sv}}},
      {"dbf", {{0, "\x30\x0F\x07\x03"sv}}},
      {"tax", {{0, "TTFN\x01\x01"sv}}},
      {"mobi", {{60, "BOOKMOBI"sv}}},
      {"wks", {{0, "\0\0\x02\0\x04\x04\x06\0"sv}, {9, "\0"sv}}},
      {"cpg", {{0, "\016Cool Page File\x01"sv}}},
      {"one", {{0, "\xE4\x52\x5C\x7B\x8C\xD8\xA7\x4D\xAE\xB1\x53\x78\xD0\x29\x96\xD3"sv}}},
      {"qxp", {{0, "\0\0IIXPR3D D XP\0\0"sv}}},
      {"qpt", {{0, "\0\0IIXPR3D D XT\0\0"sv}}},
      {"wpd", {{0, "\xFFWPC"sv}, {8, "\x01\x0A\x02\x01"sv}, {12, "\0\0\0\x02"sv}}},
      {"hlp", {{0, "\x3F\x5F\x03\0"sv}}},
      {"chm",
       {{0, "ITSF"sv},
        {24, "\x10\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\x00\xA0\xC9\x22\xE6\xEC"sv},
        {40, "\x11\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\x00\xA0\xC9\x22\xE6\xEC"sv}}},
      {"icc", {{36, "acsp"sv}}},
      {"pst", {{0, "!BDN"sv}}},
      {"dbx", {{0, "\xCF\xAD\x12\xFE"sv}, {5, "\xFD\x74\x6F\x66\xE3\xD1\x11\x9A\x4E\x00\xC0"sv}}},
      {"tbb", {{0, "\x20\x06\x79\x19\x08\x0C\0\0"sv}}},
      {"exe", {{0, "MZ"sv}, {12, "\xFF\xFF"sv}}},
      {"avc", {{0, "AVP Antiviral Database"sv}}},
      {"elf", {{0, "\177ELF\1\1"sv}}},
      {"pol", {{0, "PReg\x01\0\0\0["sv}}},
      {"pfb", {{0, "\x80\x01"sv}, {4, "\0\0%!PS-AdobeFont"sv}}},
      {"bookmarks", {{0, "<!"sv}}},
      {"eps", {{0, "\xC5\xD0\xD3\xC6"sv}}},
      {"reg", {{0, "\xFF\xFE"sv}, {2, "W\0i\0n\0d\0o\0w\0s\0 \0R\0e\0g\0i\0s\0t\0r\0y\0"sv}}},
      {"ps", {{0, "%!PS-Adobe-"sv}}},
      {"rtf", {{0, R"({\rtf)"sv}}},
      {"utf-16 txt", {{0, "\xFF\xFE"sv}}},
      {"utf-8 txt", {{0, "\xEF\xBB\xBF"sv}}},
      {"pdf", {{0, "%PDF-"sv}, {6, "."sv}}},
      {"jpg", {{0, "\xFF\xD8\xFF\xE0\0\x10JFIF\0"sv}}},
      {"jpg of a camera", {{0, "\xFF\xD8\xFF\xE1\x20\0Exif\0\0"sv}}},
      {"htm", {{0, "<!DOCTYPE html>\n<html>\n<head>\n<title>A page</title>\n"sv}}},
      {"xml", {{0, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<page>\n"sv}}},
      {"mht", {{0, "MIME-Version: 1.0\nContent-Type: multipart/related;boundary=\"--=Next\"\n"sv}}},
      {"dxf as text", {{0, "  0\r\nSECTION\r\n  2\r\nHEADER\r\n"sv}}},
      {"ppm", {{0, "P6\n640 480\n255\n"sv}}},
      {"pcx", {{0, "\x0A\x05\x01\x08"sv}, {74, kZeros.substr(0, 54)}}},
      {"mp3 without a tag", {{0, "\xFF\xFB\x90\x64"sv}}},
      {"abr", {{0, "\0\x06\0\0028BIM"sv}}},
      {"exb", {{0, "\020CaxaEbForWindows"sv}}},
      {"pzf", {{0, "PCFFGRA"sv}}},
  };
  return kHeads;
}

}  // namespace qzmtraw::bench
