#ifndef QZMTRAW_HOST_OUTPUTS_FIND_LIST_FORMAT_H
#define QZMTRAW_HOST_OUTPUTS_FIND_LIST_FORMAT_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/outputs/FindList.h"

namespace qzmtraw::host {

/// Reads lists of one kind. The operations are those of FindListReader.
class FindListReader::IFormat {
 public:
  IFormat() = default;
  IFormat(const IFormat&) = delete;
  IFormat& operator=(const IFormat&) = delete;
  virtual ~IFormat() = default;

  [[nodiscard]] virtual const SourceInfo& Source() const = 0;
  virtual std::optional<ListedFind> Next() = 0;
  [[nodiscard]] virtual const ListEnd& End() const = 0;
  virtual void ReadUnreadable(const std::function<void(const SectorRange&)>& take) = 0;
};

/// Each opens a list of one kind. As FindListReader's constructor.
/// @{
std::unique_ptr<FindListReader::IFormat> OpenJsonList(const std::string& path, const TypeCatalogue& catalogue);
std::unique_ptr<FindListReader::IFormat> OpenSqliteList(const std::string& path, const TypeCatalogue& catalogue);
/// @}

/// What every list has to keep, of whatever kind it is.
class ListRules {
 public:
  explicit ListRules(const TypeCatalogue& catalogue) : catalogue_(catalogue) {}

  /// Each throws Failure where something is not right.
  /// \param where  The list's name and the place in it, for the message.
  /// @{
  void SetSource(const SourceInfo& source, const std::string& where);
  /// Sets the find's type as well.
  /// \param extension  What the list says of the type.
  void Check(ListedFind& find, const std::string& extension, const std::string& where) const;
  void Check(const SectorRange& sectors, const std::string& where) const;
  static Confidence ConfidenceNamed(std::string_view name, const std::string& where);
  static Verdict VerdictNamed(std::string_view name, const std::string& where);
  [[noreturn]] static void Fail(const std::string& what, const std::string& where);
  /// @}

  [[nodiscard]] const SourceInfo& Source() const { return source_; }

 private:
  void CheckPlace(const Find& find, const std::string& where) const;

  const TypeCatalogue& catalogue_;
  SourceInfo source_;
  std::uint64_t sectorCount_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_FIND_LIST_FORMAT_H
