#ifndef QZMTRAW_HOST_SOURCES_SIZE_TEXT_H
#define QZMTRAW_HOST_SOURCES_SIZE_TEXT_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace qzmtraw::host {

/// A whole number, decimal or, behind "0x", hexadecimal. None when it is anything else or doesn't fit into 64 bits.
std::optional<std::uint64_t> ParseNumber(std::string_view text);

/// A number of bytes as people write it: "4096", "0x1000", "8s" for sectors, and with units as dd has them: "1K" and
/// "1KiB" are 1024, "1KB" is 1000, and so on for M, G, T, P and E, in capital letters or small ones. None when it is
/// anything else or doesn't fit into 64 bits.
std::optional<std::uint64_t> ParseSize(std::string_view text, std::uint32_t sectorSize);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SIZE_TEXT_H
