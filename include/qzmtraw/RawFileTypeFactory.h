#ifndef QZMTRAW_RAW_FILE_TYPE_FACTORY_H
#define QZMTRAW_RAW_FILE_TYPE_FACTORY_H

/// \file
/// The way into the library: its one exported function and the registry of the kinds of file that it knows.

#include "qzmtraw/RawFileType.h"

#if defined(_WIN32) && defined(QZMTRAW_BUILDING)
#define QZMTRAW_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define QZMTRAW_EXPORT __declspec(dllimport)
#else
#define QZMTRAW_EXPORT __attribute__((visibility("default")))
#endif

namespace qzmtraw {

/// The registry. It belongs to the library and lives until the process ends; a host never destroys it.
class IRawFileTypeFactory {
 public:
  /// \return The number of kinds, 320.
  virtual std::int32_t GetTypeCount() = 0;

  /// Creates a detector. The caller owns it and ends it with IRawFileType::Release.
  /// \param index      Row of the registry, from 0 to GetTypeCount() - 1. It stands for the same kind for ever.
  /// \param category   Receives the group under which a host shows the kind: 1 documents, 2 archives, 3 graphics,
  ///                   4 audio and video, 5 internet and mail, 6 databases, 7 executables, 8 development files, 9
  ///                   fonts, 10 source code, -1 other. Left alone if null.
  /// \param groupGuid  Receives 16 bytes: all zero for a kind that stands alone, otherwise the mark of the group whose
  ///                   detectors share a classifier and so must run on one thread. Left alone if null.
  /// \return The detector, or null when there is no such row; then nothing is written.
  virtual IRawFileType* CreateType(std::int32_t index, std::int32_t* category, std::uint8_t* groupGuid) = 0;

  virtual ~IRawFileTypeFactory() = default;
};

}  // namespace qzmtraw

/// Returns the registry of this process, always the same. The first call must not run on two threads at once. It opens
/// the scan log, "qzmtraw.log" in the current directory, which replaces an earlier one and gets two lines in all: one
/// now and one when the process ends. A log that can't be written is done without.
extern "C" QZMTRAW_EXPORT qzmtraw::IRawFileTypeFactory* GetRawFileTypeFactory();

#endif  // QZMTRAW_RAW_FILE_TYPE_FACTORY_H
