#ifndef QZMTRAW_TESTS_HOST_SUPPORT_FILE_ON_DEVICE_H
#define QZMTRAW_TESTS_HOST_SUPPORT_FILE_ON_DEVICE_H

#include <string>

#include "host/recovery/ByteReader.h"
#include "tests/host/support/FakeSource.h"

namespace qzmtraw::host {

/// A device that holds one file, from its start on, and a reader for it.
struct FileOnDevice {
  explicit FileOnDevice(const Bytes& content) : source(content) {}

  FakeSource source;
  Device device{source, 512};
  ByteReader file{device, 0, source.Size(), 4096, 10000};
};

/// Appends a number.
inline void Append(Bytes& bytes, std::uint64_t number, std::size_t size, ByteOrder order = ByteOrder::kLittle) {
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t place = order == ByteOrder::kLittle ? i : size - 1 - i;
    bytes.push_back(static_cast<std::uint8_t>(place < 8 ? number >> (8 * place) : 0));
  }
}

inline void Append(Bytes& bytes, std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_FILE_ON_DEVICE_H
