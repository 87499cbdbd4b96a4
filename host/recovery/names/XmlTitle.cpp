#include <libxml/xmlreader.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "host/recovery/names/Titles.h"

namespace qzmtraw::host {
namespace {

constexpr std::string_view kDublinCore = "http://purl.org/dc/elements/1.1/";

std::string_view TextOrEmpty(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

}  // namespace

void PrepareXml() { xmlInitParser(); }

std::string XmlTitle(std::span<const std::uint8_t> document) {
  const std::string_view text(reinterpret_cast<const char*>(document.data()), document.size());
  // Documents that are meant well don't declare anything, and what is declared could grow without end.
  if (text.empty() || text.find("<!") != std::string_view::npos) return {};
  const std::unique_ptr<xmlTextReader, decltype(&xmlFreeTextReader)> reader(
      xmlReaderForMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                         XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      &xmlFreeTextReader);
  if (reader == nullptr) return {};
  bool isInTitle = false;
  while (xmlTextReaderRead(reader.get()) == 1) {
    const int kind = xmlTextReaderNodeType(reader.get());
    if (isInTitle) return std::string(TextOrEmpty(xmlTextReaderConstValue(reader.get())));
    isInTitle = kind == XML_READER_TYPE_ELEMENT && xmlTextReaderIsEmptyElement(reader.get()) == 0 &&
                TextOrEmpty(xmlTextReaderConstLocalName(reader.get())) == "title" &&
                TextOrEmpty(xmlTextReaderConstNamespaceUri(reader.get())) == kDublinCore;
  }
  return {};
}

}  // namespace qzmtraw::host
