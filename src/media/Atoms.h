#ifndef QZMTRAW_MEDIA_ATOMS_H
#define QZMTRAW_MEDIA_ATOMS_H

/// \file
/// Atoms, of which QuickTime files (QuickTime File Format Specification) and ISO base media files (ISO/IEC 14496-12,
/// where they are boxes) are made: a size, most significant byte first, that counts itself, and a name.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "frame/Bytes.h"
#include "frame/KFileSimulator.h"

namespace qzmtraw {

/// An atom's name as the number that its four bytes make, most significant byte first.
using AtomName = std::uint32_t;

consteval AtomName NameOf(const char (&name)[5]) {
  const auto bytes = Bytes(name);
  return LoadBig<AtomName>(bytes.bytes.data());
}

struct AtomHeader {
  std::uint32_t size;
  AtomName name;

  bool IsOneOf(std::span<const AtomName> names) const {
    return std::find(names.begin(), names.end(), name) != names.end();
  }
};

/// Reads at the file's position. What can't be read is zero.
inline AtomHeader ReadAtomHeader(KFileSimulator& file) {
  std::array<std::uint8_t, 8> header{};
  file.Read(header.data(), header.size());
  return {LoadBig<std::uint32_t>(header.data()), LoadBig<AtomName>(header.data() + 4)};
}

}  // namespace qzmtraw

#endif  // QZMTRAW_MEDIA_ATOMS_H
