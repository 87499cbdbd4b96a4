#ifndef QZMTRAW_FRAME_NULL_LOGGER_H
#define QZMTRAW_FRAME_NULL_LOGGER_H

namespace qzmtraw {

/// Takes the detectors' diagnostics, a printf format with its arguments, and does nothing with them. It is the place to
/// hook a real log in when a detector has to be watched at work.
/// \return 0.
template <class... Arguments>
constexpr int LogDiagnostic(const char* /*format*/, const Arguments&... /*arguments*/) {
  return 0;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_NULL_LOGGER_H
