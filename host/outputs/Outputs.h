#ifndef QZMTRAW_HOST_OUTPUTS_OUTPUTS_H
#define QZMTRAW_HOST_OUTPUTS_OUTPUTS_H

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "host/outputs/NewFile.h"
#include "host/outputs/OutputOptions.h"
#include "host/outputs/OutputStream.h"
#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// All lists of a run. One that can't be written any more ends there; the others go on. So nothing here throws Failure
/// but the constructor; Errors tells what went wrong. The operations are those of IReport.
class Outputs {
 public:
  /// Makes the files. They go again if Begin is never called. Throws Failure when one is there already or can't be
  /// made.
  /// \param standardOutput  Throws Failure as OutputStream does. Must live as long as this.
  Outputs(const OutputOptions& options, std::ostream& standardOutput);
  Outputs(const Outputs&) = delete;
  Outputs& operator=(const Outputs&) = delete;
  ~Outputs();

  void Begin(const SourceInfo& source);
  [[nodiscard]] bool WantsProvisional() const;
  void AddProvisional(const FindRecord& record);
  void Add(const FindRecord& record);
  /// Brings everything that was added to where others can read it.
  void Flush();
  /// Flushes and closes, too.
  void End(const Summary& summary, const SectorSet& unreadable);

  /// What went wrong, one text for each list that ended early.
  [[nodiscard]] const std::vector<std::string>& Errors() const { return errors_; }

 private:
  /// One list. Of the last three members those are set that its format needs.
  struct Output {
    std::unique_ptr<NewFile> file{};
    std::unique_ptr<OutputStream> ownStream{};
    std::ostream* stream = nullptr;
    std::unique_ptr<IReport> report{};
  };

  void ForEach(const std::function<void(Output&)>& work);
  static void FlushOne(Output& output);

  std::vector<Output> outputs_;
  std::vector<std::string> errors_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_OUTPUTS_H
