#ifndef QZMTRAW_FUZZ_KNOWN_STATE_H
#define QZMTRAW_FUZZ_KNOWN_STATE_H

namespace qzmtraw::fuzz {

/// Brings what the library keeps for the whole process, beside its detectors, into one and the same state, whatever was
/// scanned before. It does so as a host can, by showing blocks to detectors.
void BringIntoKnownState();

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_KNOWN_STATE_H
