#include "host/outputs/DfxmlReport.h"

#include <libxml/xmlwriter.h>

#include <exception>
#include <new>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/outputs/FindFields.h"

namespace qzmtraw::host {
namespace {

constexpr const char* kDfxmlNamespace = "http://www.forensicswiki.org/wiki/Category:Digital_Forensics_XML";
constexpr const char* kDublinCoreNamespace = "http://purl.org/dc/elements/1.1/";
constexpr const char* kDfxmlVersion = "1.2.0";

const xmlChar* XmlText(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

/// Writes elements into a stream.
class XmlDocument {
 public:
  explicit XmlDocument(std::ostream& out) : out_(out) {
    xmlOutputBufferPtr buffer = xmlOutputBufferCreateIO(Write, nullptr, this, nullptr);
    // The writer takes the buffer over.
    writer_ = buffer == nullptr ? nullptr : xmlNewTextWriter(buffer);
    if (writer_ == nullptr) throw std::bad_alloc();
    Check(xmlTextWriterSetIndent(writer_, 1));
    Check(xmlTextWriterStartDocument(writer_, nullptr, "UTF-8", nullptr));
  }
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;
  ~XmlDocument() {
    isClosed_ = true;
    xmlFreeTextWriter(writer_);
  }

  void Start(const char* name) { Check(xmlTextWriterStartElement(writer_, XmlText(name))); }
  void EndElement() { Check(xmlTextWriterEndElement(writer_)); }
  void End() { Check(xmlTextWriterEndDocument(writer_)); }

  void Attribute(const char* name, const std::string& value) {
    Check(xmlTextWriterWriteAttribute(writer_, XmlText(name), XmlText(Printable(value).c_str())));
  }
  void Attribute(const char* name, std::uint64_t value) { Attribute(name, std::to_string(value)); }
  void Flag(const char* name, bool value) { Attribute(name, value ? "true" : "false"); }

  void Element(const char* name, const std::string& text) {
    Check(xmlTextWriterWriteElement(writer_, XmlText(name), XmlText(Printable(text).c_str())));
  }
  void Text(const std::string& text) { Check(xmlTextWriterWriteString(writer_, XmlText(Printable(text).c_str()))); }
  void Element(const char* name, std::uint64_t value) { Element(name, std::to_string(value)); }

  /// Brings everything into the stream.
  void Flush() { Check(xmlTextWriterFlush(writer_)); }

 private:
  /// For the library, which is written in C: exceptions may not pass through it. It isn't told of failures either,
  /// because it would write about them to the error output.
  static int Write(void* context, const char* bytes, int count) {
    auto& document = *static_cast<XmlDocument*>(context);
    if (document.isClosed_ || document.failure_ != nullptr) return count;
    try {
      document.out_.write(bytes, count);
    } catch (...) {
      document.failure_ = std::current_exception();
    }
    return count;
  }

  void Check(int result) const {
    if (failure_ != nullptr) std::rethrow_exception(failure_);
    if (result < 0) throw std::bad_alloc();
  }

  std::ostream& out_;
  xmlTextWriterPtr writer_ = nullptr;
  /// What the stream has thrown.
  std::exception_ptr failure_;
  /// Nothing is written any more.
  bool isClosed_ = false;
};

class DfxmlReport final : public IReport {
 public:
  explicit DfxmlReport(std::ostream& out) : document_(out) {}

  void Begin(const SourceInfo& source) override {
    document_.Start("dfxml");
    document_.Attribute("version", kDfxmlVersion);
    document_.Attribute("xmlns", kDfxmlNamespace);
    document_.Attribute("xmlns:dc", kDublinCoreNamespace);
    document_.Attribute("xmlns:q", kOwnNamespace);
    document_.Start("metadata");
    document_.Element("dc:type", "Carve Report");
    document_.EndElement();
    AddCreator(source);
    document_.Start("source");
    document_.Element("image_filename", source.path);
    document_.Element("image_size", source.size);
    document_.Element("sectorsize", source.sectorSize);
    AddHash(source.sha256);
    document_.EndElement();
  }

  void Add(const FindRecord& record) override {
    const FindSizes sizes = SizesOf(record);
    document_.Start("fileobject");
    if (record.recovered && record.recovered->path) document_.Element("filename", *record.recovered->path);
    if (sizes.size) document_.Element("filesize", *sizes.size);
    document_.Start("byte_runs");
    document_.Start("byte_run");
    document_.Attribute("file_offset", 0);
    document_.Attribute("img_offset", record.plan.offset);
    // Who only lists doesn't know where a file of unknown size ends.
    if (sizes.size) document_.Attribute("len", record.plan.length);
    document_.EndElement();
    document_.EndElement();
    if (record.recovered) AddHash(record.recovered->sha256);
    AddOwnFields(record, sizes);
    document_.EndElement();
  }

  void End(const Summary& summary, const SectorSet& unreadable) override {
    document_.Start("q:summary");
    document_.Attribute("finds", summary.findCount);
    document_.Attribute("bytes", summary.bytesScanned);
    document_.Attribute("seconds", std::to_string(summary.seconds));
    document_.Attribute("ended", FormatUtc(summary.ended));
    document_.Attribute("size_at_end", summary.sizeAtEnd);
    if (summary.filesWritten) document_.Attribute("files_written", *summary.filesWritten);
    document_.Flag("interrupted", summary.isInterrupted);
    document_.Attribute("unreadable_sectors", unreadable.Count());
    if (!summary.error.empty()) document_.Element("q:error", summary.error);
    SectorSet::Cursor ranges(unreadable);
    while (const auto range = ranges.Next()) {
      document_.Start("q:unreadable");
      document_.Attribute("start_sector", range->first);
      document_.Attribute("sectors", range->count);
      document_.EndElement();
    }
    document_.End();
    document_.Flush();
  }

  void Flush() override { document_.Flush(); }

 private:
  void AddCreator(const SourceInfo& source) {
    const Provenance& run = source.run;
    document_.Start("creator");
    document_.Element("program", run.program);
    document_.Element("version", run.version);
    document_.Start("build_environment");
    document_.Element("compiler", run.compiler);
    for (const auto& [name, version] : run.libraries) {
      document_.Start("library");
      document_.Attribute("name", name);
      document_.Attribute("version", version);
      document_.EndElement();
    }
    document_.EndElement();
    document_.Start("execution_environment");
    document_.Element("os_sysname", run.system.name);
    document_.Element("os_release", run.system.release);
    document_.Element("os_version", run.system.version);
    document_.Element("host", run.host);
    document_.Element("arch", run.system.machine);
    document_.Element("command_line", run.commandLine);
    document_.Element("uid", run.uid);
    document_.Element("username", run.user);
    document_.Element("start_time", FormatUtc(source.started));
    document_.EndElement();
    document_.EndElement();
  }

  void AddHash(const std::string& sha256) {
    if (sha256.empty()) return;
    document_.Start("hashdigest");
    document_.Attribute("type", "sha256");
    document_.Text(sha256);
    document_.EndElement();
  }

  void AddOwnFields(const FindRecord& record, const FindSizes& sizes) {
    document_.Start("q:find");
    document_.Attribute("row", static_cast<std::uint64_t>(record.find.row));
    if (!record.type->facts.className.empty()) document_.Attribute("class", std::string(record.type->facts.className));
    document_.Attribute("extension", record.type->extension);
    document_.Attribute("category", std::string(CategoryName(record.type->category)));
    document_.Attribute("description", record.type->description);
    document_.Attribute("start_sector", record.find.startSector);
    document_.Flag("size_estimated", sizes.isEstimated);
    if (sizes.least) document_.Attribute("size_min", *sizes.least);
    if (sizes.greatest) document_.Attribute("size_max", *sizes.greatest);
    document_.Flag("truncated", record.plan.isTruncated);
    document_.Attribute("confidence", std::string(ConfidenceName(record.confidence)));
    if (record.embeddedIn) {
      document_.Attribute("embedded_in_sector", record.embeddedIn->startSector);
      document_.Attribute("embedded_in_row", static_cast<std::uint64_t>(record.embeddedIn->row));
    }
    document_.Attribute("verdict", std::string(VerdictName(record.verdict)));
    if (sizes.written) document_.Attribute("written", *sizes.written);
    if (record.recovered) document_.Flag("duplicate", record.recovered->isDuplicate);
    if (!record.content.empty()) document_.Element("q:content", record.content);
    for (const std::string& note : record.notes) document_.Element("q:note", note);
    document_.EndElement();
  }

  XmlDocument document_;
};

}  // namespace

std::unique_ptr<IReport> MakeDfxmlReport(std::ostream& out) { return std::make_unique<DfxmlReport>(out); }

}  // namespace qzmtraw::host
