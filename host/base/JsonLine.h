#ifndef QZMTRAW_HOST_BASE_JSON_LINE_H
#define QZMTRAW_HOST_BASE_JSON_LINE_H

#include <nlohmann/json.hpp>
#include <string>

namespace qzmtraw::host {

/// Keeps members in the order in which they are added.
using Json = nlohmann::ordered_json;

/// The object on a line of its own, in ASCII, so that no text in it can harm a terminal or a reader.
inline std::string JsonLine(const Json& object) {
  return object.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_JSON_LINE_H
