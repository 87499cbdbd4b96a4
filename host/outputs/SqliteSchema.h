#ifndef QZMTRAW_HOST_OUTPUTS_SQLITE_SCHEMA_H
#define QZMTRAW_HOST_OUTPUTS_SQLITE_SCHEMA_H

#include <array>

namespace qzmtraw::host {

/// What the header of a database says of it: "qzmt", and the version of the tables.
inline constexpr int kSqliteApplication = 0x717A6D74;
inline constexpr int kSqliteSchemaVersion = 1;

/// The statements that make the tables, word by word as the database keeps them. Who reads a list asks for the same.
inline constexpr std::array<const char*, 8> kSqliteTables = {
    R"(CREATE TABLE run(
  program TEXT, version TEXT, compiler TEXT, libraries TEXT, command_line TEXT,
  host TEXT, system TEXT, user TEXT, uid INTEGER, started TEXT, ended TEXT,
  state TEXT NOT NULL CHECK(state IN ('running','finished','interrupted','failed')),
  listed TEXT NOT NULL CHECK(listed IN ('provisional','final'))))",
    R"(CREATE TABLE source(
  path TEXT, size INTEGER NOT NULL, sector_size INTEGER NOT NULL, sha256 TEXT, file_types INTEGER NOT NULL))",
    R"(CREATE TABLE types(
  row INTEGER PRIMARY KEY, class TEXT, extension TEXT, category TEXT, description TEXT,
  size_min INTEGER, size_max INTEGER))",
    R"(CREATE TABLE finds(
  id INTEGER PRIMARY KEY, row INTEGER NOT NULL, start_sector INTEGER NOT NULL, offset INTEGER NOT NULL,
  size INTEGER, size_estimated INTEGER NOT NULL, truncated INTEGER NOT NULL, confidence TEXT NOT NULL,
  embedded_in_sector INTEGER, embedded_in_row INTEGER, verdict TEXT NOT NULL, content TEXT, notes TEXT,
  path TEXT, written INTEGER, sha256 TEXT, duplicate INTEGER NOT NULL))",
    R"(CREATE TABLE provisional_finds(
  id INTEGER PRIMARY KEY, row INTEGER NOT NULL, start_sector INTEGER NOT NULL, offset INTEGER NOT NULL,
  size INTEGER, truncated INTEGER NOT NULL))",
    R"(CREATE TABLE unreadable_ranges(start_sector INTEGER PRIMARY KEY, sectors INTEGER NOT NULL))",
    R"(CREATE TABLE summary(
  finds INTEGER NOT NULL, bytes INTEGER NOT NULL, seconds REAL NOT NULL, size_at_end INTEGER NOT NULL,
  files_written INTEGER, unreadable_sectors INTEGER NOT NULL, error TEXT))",
    R"(CREATE TABLE finds_by_extension(extension TEXT PRIMARY KEY, finds INTEGER NOT NULL))"};

/// The view that people and programs read.
inline constexpr const char* kSqliteView = R"(CREATE VIEW list AS
  SELECT 'final' AS state, f.id, f.row, t.class, t.extension, t.category, t.description, f.start_sector, f.offset,
    f.size, f.size_estimated, CASE WHEN f.size IS NULL OR f.size_estimated THEN t.size_min END AS size_min,
    CASE WHEN f.size IS NULL OR f.size_estimated THEN t.size_max END AS size_max, f.truncated, f.confidence,
    f.embedded_in_sector, f.embedded_in_row, f.verdict, f.content, f.notes, f.path, f.written, f.sha256, f.duplicate
  FROM finds f JOIN types t ON t.row = f.row WHERE (SELECT listed FROM run) = 'final'
  UNION ALL
  SELECT 'provisional', p.id, p.row, t.class, t.extension, t.category, t.description, p.start_sector, p.offset,
    p.size, 0, CASE WHEN p.size IS NULL THEN t.size_min END, CASE WHEN p.size IS NULL THEN t.size_max END, p.truncated,
    NULL, NULL, NULL, 'not-looked', NULL, NULL, NULL, NULL, NULL, 0
  FROM provisional_finds p JOIN types t ON t.row = p.row WHERE (SELECT listed FROM run) = 'provisional')";

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_SQLITE_SCHEMA_H
