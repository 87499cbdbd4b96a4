#ifndef QZMTRAW_HOST_BASE_SQLITE_DATABASE_H
#define QZMTRAW_HOST_BASE_SQLITE_DATABASE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace qzmtraw::host {

/// The part of a result that says what went wrong on the whole.
inline constexpr int kSqlitePrimaryCode = 0xFF;

/// An SQLite database in a file. All operations throw Failure with the file's name.
class SqliteDatabase {
 public:
  enum class Access {
    /// The file is there, and may come from anybody.
    kRead,
    /// The file is there.
    kWrite,
    /// The file is made if it isn't there. From the first transaction on nobody else can use it.
    kOwn,
  };

  /// Makes the message of a failure.
  /// \param result  What the library returned, with its extended codes.
  /// \param reason  What that means.
  using FailureText = std::function<std::string(int result, const std::string& reason)>;

  /// \param failureText  Empty: messages tell that the database can't be read or written, and why.
  SqliteDatabase(const std::string& path, Access access, FailureText failureText = {});

  /// Runs statements that give nothing.
  void Run(const char* statements);

  /// Runs statements that may as well fail, such as when others have the database open.
  /// \return Whether they were run.
  bool TryToRun(const char* statements);

  /// Throws Failure for what went wrong.
  /// \param result  What the library returned.
  [[noreturn]] void Fail(int result) const;

  /// Whether a transaction was begun and not ended.
  [[nodiscard]] bool IsInTransaction() const;

  /// For statements. Belongs to the database.
  [[nodiscard]] sqlite3* Handle() const { return handle_.get(); }

 private:
  struct Closer {
    void operator()(sqlite3* handle) const;
  };

  std::string path_;
  Access access_;
  FailureText failureText_;
  std::unique_ptr<sqlite3, Closer> handle_;
};

/// A statement that is run many times.
class SqliteStatement {
 public:
  /// \param database  Must live as long as the statement.
  SqliteStatement(SqliteDatabase& database, const char* text);

  /// Each sets the next parameter, from the first one on behind Run or the last row of Step. What can't be stored as a
  /// number, from 2^63 on, is stored as the greatest one.
  /// @{
  SqliteStatement& Set(std::uint64_t number);
  SqliteStatement& Set(const std::optional<std::uint64_t>& number);
  SqliteStatement& Set(double number);
  /// Stored as NULL if empty.
  SqliteStatement& Set(std::string_view text);
  SqliteStatement& SetFlag(bool flag);
  /// Stored as a text even if empty.
  SqliteStatement& SetText(std::string_view text);
  /// Stored as the signed number that has the same bits, for Bits to give back.
  SqliteStatement& SetBits(std::uint64_t number);
  /// @}

  /// Runs a statement that gives nothing.
  void Run();

  /// Goes to the next row.
  /// \return Whether there is one.
  bool Step();

  /// Each reads a column of the row. None: NULL. Throws Failure for one that holds something else.
  /// @{
  [[nodiscard]] std::optional<std::int64_t> Integer(int column) const;
  [[nodiscard]] std::optional<std::string> Text(int column) const;
  /// @}

  /// Each reads a column of the row that holds a number, or throws Failure.
  /// @{
  [[nodiscard]] std::uint64_t Bits(int column) const;
  [[nodiscard]] double Real(int column) const;
  /// @}

 private:
  struct Finisher {
    void operator()(sqlite3_stmt* statement) const;
  };

  void Check(int result) const;

  SqliteDatabase& database_;
  std::unique_ptr<sqlite3_stmt, Finisher> statement_;
  int parameter_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_SQLITE_DATABASE_H
