#pragma once
// One way into SQLite: an open database, a prepared statement and a cursor over
// the columns of the current row.
//
//   SqlDatabase db;
//   QString why;
//   if (!db.open(path, &why)) { log(why); return; }
//   SqlStatement stmt(db, "select z_pk, ztext, zdate from zmessage where zchat = ?1");
//   if (!stmt.isValid()) { log(stmt.errorString()); return; }
//   stmt.bind(1, chat);
//   while (stmt.step()) {
//     SqlRow r(stmt);               // reads the columns in the order of the SELECT
//     rec.pk = r.int64();
//     rec.text = r.text();
//     rec.date = r.real();
//   }
//
// Both owners close what they opened in their destructors and never throw: a
// failure leaves them invalid with a reason that names the file or the
// statement. The C library's header stays out of this one; the handles are
// forward-declared and handed out for the few calls these classes do not wrap.
//
// SqlRow is a cursor and nothing more: each read returns the next column and
// moves on, isNull() and type() look at the next column without moving, skip()
// moves without reading. Reading past the last column gives what a NULL column
// gives (0, an empty text, an empty blob), so that a query whose SELECT list is
// shorter than its reader expects fails softly instead of reading stray memory.
#include "platform/common/sherdglobal.h"

#include <QByteArray>
#include <QString>

struct sqlite3;
struct sqlite3_stmt;

class SHERD_EXPORT SqlDatabase {
public:
  SqlDatabase() = default;
  ~SqlDatabase();
  SqlDatabase(SqlDatabase&& other) noexcept;
  SqlDatabase& operator=(SqlDatabase&& other) noexcept;
  SqlDatabase(const SqlDatabase&) = delete;
  SqlDatabase& operator=(const SqlDatabase&) = delete;

  // Opens the file read-only (closing what was open before) and reads its
  // schema once, so that a file which is not a database fails here and not at
  // the first query. On failure the reason, naming the file, goes to *error
  // and to errorString(). Hand it copies under the temporary root, never a
  // file inside a backup: SQLite may create the -shm index beside a database
  // that has a write-ahead log.
  bool open(const QString& path, QString* error = nullptr);
  // Opens a file name or URI with SQLite's own open flags and VFS (null for
  // the default) and nothing else: no schema read, no busy timeout. For the
  // few callers that need an immutable URI, another VFS or to replay a log.
  bool openWithFlags(const QByteArray& name, int sqliteFlags, const char* vfs, QString* error = nullptr);
  void close();
  bool isOpen() const { return m_db != nullptr; }
  QString errorString() const { return m_error; }
  QString path() const { return m_path; }
  // SQLite's own message for the last call on this connection, or for the
  // open that failed.
  QString sqliteMessage() const;

  // Whether a table (or view) of that name exists, case ignored.
  bool hasTable(const QString& table) const;
  // Whether the table has that column, case ignored.
  bool hasColumn(const QString& table, const QString& column) const;

  sqlite3* handle() const { return m_db; }

private:
  sqlite3* m_db = nullptr;
  QString m_path;
  QString m_error;
  QString m_openFailure;
};

class SHERD_EXPORT SqlStatement {
public:
  SqlStatement() = default;
  // Prepares at once; isValid() tells whether it worked.
  SqlStatement(const SqlDatabase& db, const QString& sql);
  SqlStatement(sqlite3* db, const QString& sql);
  ~SqlStatement();
  SqlStatement(SqlStatement&& other) noexcept;
  SqlStatement& operator=(SqlStatement&& other) noexcept;
  SqlStatement(const SqlStatement&) = delete;
  SqlStatement& operator=(const SqlStatement&) = delete;

  // Finalizes what was prepared before and prepares the statement; false with
  // errorString() set when the schema lacks a table or column it names.
  bool prepare(sqlite3* db, const QString& sql);
  bool isValid() const { return m_stmt != nullptr; }
  QString errorString() const { return m_error; }

  // Moves to the next result row: true while there is one. False at the end,
  // on an error (errorString() says which) and on an invalid statement.
  bool step();
  // Whether the last step (or the preparing) failed, rather than ran out of rows.
  bool failed() const { return !m_error.isEmpty(); }
  // Back before the first row, keeping the bound values, so that the statement
  // can run again (with other values bound).
  void reset();

  // Parameters are numbered from 1, as in "?1".
  void bind(int index, qint64 value);
  void bind(int index, int value) { bind(index, qint64(value)); }
  void bind(int index, double value);
  void bind(int index, const QString& value);
  void bind(int index, const QByteArray& blob);
  void bindNull(int index);

  int columnCount() const;
  sqlite3_stmt* handle() const { return m_stmt; }

private:
  sqlite3_stmt* m_stmt = nullptr;
  QString m_sql;
  QString m_error;
};

// Texts of columns whose values repeat from row to row (a country code, a
// provider, a place name): SqlRow::text(cache) hands out the string it decoded
// for the same bytes before, so that equal texts share one string instead of
// being decoded and stored once per row. A few recent texts are kept, chosen
// by a hash of their bytes; long texts are never kept.
class SHERD_EXPORT SqlTextCache {
public:
  // The text of those bytes (not null), decoded or found again.
  QString text(const char* bytes, int size);

private:
  enum { Slots = 64, LongestKept = 96 };
  struct Entry {
    QByteArray bytes;
    QString text;
  };
  Entry m_entries[Slots];
};

class SHERD_EXPORT SqlRow {
public:
  // SQLite's storage classes, in its own numbering.
  enum Type { Integer = 1, Float = 2, Text = 3, Blob = 4, Null = 5 };

  // A cursor over the current row of stmt, at its first column (or at `first`).
  explicit SqlRow(sqlite3_stmt* stmt, int first = 0);
  explicit SqlRow(const SqlStatement& stmt, int first = 0) : SqlRow(stmt.handle(), first) {}

  qint64 int64();
  int integer();
  double real();
  // The column as UTF-8 text; NULL gives a null QString.
  QString text();
  // The same, through a cache of recent texts (for columns whose values repeat).
  QString text(SqlTextCache& cache);
  // The column's bytes; NULL and a zero-length blob give an empty array.
  QByteArray blob();
  // The next column as an integer, or `ifNull` when it is NULL.
  qint64 int64Or(qint64 ifNull);
  // The column's bytes as SQLite holds them (text as UTF-8), without a copy:
  // valid until the statement steps again. Null, with *bytes 0, for NULL.
  const char* rawText(int* bytes);
  const char* rawBlob(int* bytes);

  // Look at the next column without moving.
  bool isNull() const { return type() == Null; }
  Type type() const;

  void skip(int columns = 1) { m_column += columns; }
  int column() const { return m_column; } // index of the next column
  int count() const { return m_count; }

private:
  bool inRange() const { return m_column >= 0 && m_column < m_count; }

  sqlite3_stmt* m_stmt;
  int m_column;
  int m_count;
};
