#pragma once
// Deleted records of one SQLite table: the rows that an app deleted (or
// rewrote) but whose bytes the database file or its write-ahead log still
// hold. Read-only; the files are never written, and SQLite itself is not asked
// to parse them.
//
// Where a row's bytes stay after the app deleted it:
//  - free blocks of the table's leaf pages: a deleted cell becomes a free
//    block whose first 4 bytes are overwritten by the block's header (next
//    block offset and size). Those bytes held the cell's payload length, its
//    rowid and, for small records, the record header's length and the first
//    serial type. The record is rebuilt from the table's declared columns: the
//    header length follows from the column count and the serial types that
//    survive; a lost first serial type is taken from the column (NULL for an
//    INTEGER PRIMARY KEY column, else the type whose size fills the block
//    exactly; a zero-size integer there is ambiguous between NULL, 0 and 1 and
//    is reported as NULL with the column marked guessed). The rowid is lost
//    whenever all its bytes lie in the first 4 (hasRowid false).
//  - the unallocated gap between the cell pointers and the cell content of a
//    leaf page: a cell freed at the top of the content area is left whole.
//  - freelist pages: a whole page freed keeps its old cells until reused.
//  - older versions of a page: a database-file page that a log frame
//    replaced, log frames that a later committed frame replaced, frames after
//    the last commit, frames of an earlier log generation, and pages beyond
//    the committed size. Their cells are whole, rowid included.
//
// A candidate is kept only when it decodes to a whole record that fits the
// table: a column count between minColumns and the declared count, every
// serial type allowed by its column's affinity (below), an INTEGER PRIMARY
// KEY column stored as NULL, a positive rowid, NOT NULL and range checks, text
// that is valid in the database's encoding and holds no NUL, an overflow
// chain that gives the whole payload, and at least two values (one in a table
// of two columns) that are neither NULL nor 0. Partial records are never
// returned.
//
// Affinity rules applied to the stored serial type (stricter than SQLite's
// own typing, which allows anything anywhere, because a deleted row is only
// believed when it looks like the app wrote it):
//   INTEGER: NULL or integer;  REAL and NUMERIC: NULL, integer or real;
//   TEXT: NULL, text or blob;  BLOB (no affinity): anything.
//
// Deduplication done here: a candidate with the rowid and the payload of a
// live row is dropped (an old copy of a row that still exists); candidates
// with equal payloads are listed once (the newest source); of several
// versions with one rowid only the newest is listed. A candidate whose rowid
// is live with another payload is an older version of a live row: it is kept
// with rowidLive set, and the caller decides whether what changed matters.
// "Newest": the current state's free space and freelist, then log frames by
// index (later is newer), then the database file's replaced pages, then
// frames of an earlier log generation.
//
// Cost: one pass over the table's live leaves (to know live rowids and
// payloads) plus one over every older image and freelist page; linear in the
// size of the two files.
#include <QString>
#include <QVariant>
#include <QVector>

#include <functional>

namespace sqlitecarve {

enum class Affinity { Integer, Real, Numeric, Text, Blob };

// The affinity SQLite gives a declared column type.
Affinity affinityOf(const QString& declaredType);

struct ColumnLayout {
  QString name;
  Affinity affinity = Affinity::Blob;
  bool rowidAlias = false; // INTEGER PRIMARY KEY: stored as NULL, the rowid is the value
  bool notNull = false;
  bool hasRange = false; // integer values must lie in [min, max]
  qint64 min = 0;
  qint64 max = 0;
};

struct TableLayout {
  QString name;
  quint32 rootPage = 0;
  QVector<ColumnLayout> columns;
  int minColumns = 0;   // fewest columns a record may have; 0 means all of them
  qint64 maxRowid = 0;  // rowids above it are implausible; 0 means no limit

  int columnIndex(const QString& name) const; // case-insensitive, -1 when absent
  ColumnLayout* column(const QString& name);    // null when absent
  // Tightens a column the table has (nothing when it lacks it): not NULL,
  // and an integer in [min, max].
  void require(const QString& column, qint64 min, qint64 max);
  bool isValid() const { return rootPage > 0 && !columns.isEmpty(); }
};

// The declared columns and root page of a table, read through SQLite from the
// database at path (with its log). An invalid layout, with the reason in
// *error, when the database or the table cannot be read.
TableLayout describeTable(const QString& path, const QString& table, QString* error = nullptr);

enum class Origin {
  FreeBlock,        // a free block of one of the table's leaf pages
  Unallocated,      // the gap between cell pointers and cell content
  FreelistPage,     // a page on the freelist
  OlderPageVersion, // a replaced, uncommitted or stale version of a page
};

struct Provenance {
  Origin origin = Origin::FreeBlock;
  quint32 page = 0;
  int offset = 0;     // of the cell within the page
  int frame = -1;     // log frame index, -1 for the database file
  bool rebuilt = false; // the record's first bytes were rebuilt (free block)
  QString text() const; // e.g. "free block, page 12 offset 3004"
};

struct CarvedRecord {
  bool hasRowid = false;
  qint64 rowid = 0;
  // One value per declared column: null, qint64, double, QString or
  // QByteArray; a rowid alias column holds the rowid (null when lost);
  // columns the record lacks hold null.
  QVector<QVariant> values;
  quint64 guessedColumns = 0; // bit i: value i was rebuilt, not read
  bool rowidLive = false;     // a live row has this rowid (with another payload)
  Provenance from;
  int age = 0; // larger is newer
};

struct CarveStats {
  int frames = 0;
  int commits = 0;
  int olderImages = 0;
  int freelistPages = 0;
  int freeBlocks = 0;
  int candidates = 0; // records that fitted the table, before deduplication
  int kept = 0;
};

class SqliteCarver {
public:
  SqliteCarver();
  ~SqliteCarver();
  SqliteCarver(const SqliteCarver&) = delete;
  SqliteCarver& operator=(const SqliteCarver&) = delete;

  // Reads the database at path and its "-wal" when present. False, with the
  // reason naming the file, when it is not a database.
  bool open(const QString& path, QString* error = nullptr);

  // The table's deleted records, newest first. `accept`, when given, is asked
  // about every candidate that fitted the table (before deduplication).
  QVector<CarvedRecord> carve(const TableLayout& table, CarveStats* stats = nullptr,
                              const std::function<bool(const CarvedRecord&)>& accept = {}) const;

private:
  struct Impl;
  Impl* d;
};

// A table of a Core Data store (Z_PK, Z_ENT, Z_OPT): Z_ENT and Z_OPT are
// never NULL, Z_ENT is one of the store's entity numbers and no key exceeds
// the largest one the store ever handed out (Z_PRIMARYKEY's Z_MAX), read from
// the database at path. Without Z_PRIMARYKEY only the NULL checks apply.
void tuneForCoreData(TableLayout& layout, const QString& path);

// The whole run for one table: describe it, let `tune` tighten the layout
// (keys, ranges), open the files and carve. Empty, with the reason in *error,
// when the database or the table cannot be read.
QVector<CarvedRecord> carveTable(const QString& path, const QString& table,
                                 const std::function<void(TableLayout&)>& tune = {}, QString* error = nullptr,
                                 CarveStats* stats = nullptr);

// The records that are no older version of a live row, those that kept
// their key first (in their order otherwise), so that a reader that lists a
// record once recognises a keyless copy of one it listed already.
QVector<const CarvedRecord*> deletedRowsKeyedFirst(const QVector<CarvedRecord>& records);

// A carved record read by column name, the way a query reads its row: a
// missing column or a NULL reads as 0 or an empty text; a blob read as text
// is taken as UTF-8.
class CarvedRow {
public:
  CarvedRow(const TableLayout& table, const CarvedRecord& record) : m_table(table), m_record(record) {}
  QVariant value(const QString& column) const;
  bool isNull(const QString& column) const { return value(column).isNull(); }
  qint64 integer(const QString& column) const;
  double real(const QString& column) const;
  QString text(const QString& column) const;
  bool has(const QString& column) const { return m_table.columnIndex(column) >= 0; }

private:
  const TableLayout& m_table;
  const CarvedRecord& m_record;
};

} // namespace sqlitecarve
