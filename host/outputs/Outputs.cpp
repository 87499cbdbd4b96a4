#include "host/outputs/Outputs.h"

#include <algorithm>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/outputs/SqliteReport.h"

namespace qzmtraw::host {

Outputs::Outputs(const OutputOptions& options, std::ostream& standardOutput) {
  outputs_.push_back({.stream = &standardOutput, .report = MakeReport(options.format, standardOutput)});
  for (const OutputTarget& target : options.files) {
    Output output{.file = std::make_unique<NewFile>(target.path)};
    if (target.format == OutputFormat::kSqlite) {
      output.report = MakeSqliteReport(target.path);
    } else {
      output.ownStream = std::make_unique<OutputStream>(output.file->Descriptor(), Quoted(target.path));
      output.stream = output.ownStream.get();
      output.report = MakeReport(target.format, *output.stream);
    }
    outputs_.push_back(std::move(output));
  }
}

Outputs::~Outputs() = default;

void Outputs::Begin(const SourceInfo& source) {
  for (const Output& output : outputs_) {
    if (output.file) output.file->Keep();
  }
  ForEach([&](Output& output) {
    output.report->Begin(source);
    FlushOne(output);
  });
}

bool Outputs::WantsProvisional() const {
  return std::ranges::any_of(outputs_, [](const Output& output) { return output.report->WantsProvisional(); });
}

void Outputs::AddProvisional(const FindRecord& record) {
  ForEach([&](Output& output) { output.report->AddProvisional(record); });
}

void Outputs::Add(const FindRecord& record) {
  ForEach([&](Output& output) { output.report->Add(record); });
}

void Outputs::Flush() { ForEach(FlushOne); }

void Outputs::End(const Summary& summary, const SectorSet& unreadable) {
  ForEach([&](Output& output) {
    output.report->End(summary, unreadable);
    FlushOne(output);
    if (output.file) output.file->Close();
  });
}

void Outputs::FlushOne(Output& output) {
  output.report->Flush();
  if (output.stream != nullptr) output.stream->flush();
}

/// Does something with every list that can still be written, and gives up those with which it fails.
void Outputs::ForEach(const std::function<void(Output&)>& work) {
  const std::size_t errorsBefore = errors_.size();
  for (Output& output : outputs_) {
    try {
      work(output);
    } catch (const Failure& failure) {
      errors_.emplace_back(failure.what());
      output.report = nullptr;
    }
  }
  if (errors_.size() == errorsBefore) return;
  std::erase_if(outputs_, [](const Output& output) { return output.report == nullptr; });
}

}  // namespace qzmtraw::host
