#include "platform/common/sqlrow.h"

#include "platform/common/sqlutils.h"

#include <sqlite3.h>

#include <cstring>
#include <utility>

// ---- database ----

SqlDatabase::~SqlDatabase() { close(); }

SqlDatabase::SqlDatabase(SqlDatabase&& other) noexcept
    : m_db(std::exchange(other.m_db, nullptr)), m_path(std::move(other.m_path)), m_error(std::move(other.m_error)),
      m_openFailure(std::move(other.m_openFailure)) {}

SqlDatabase& SqlDatabase::operator=(SqlDatabase&& other) noexcept {
  if (this != &other) {
    close();
    m_db = std::exchange(other.m_db, nullptr);
    m_path = std::move(other.m_path);
    m_error = std::move(other.m_error);
    m_openFailure = std::move(other.m_openFailure);
  }
  return *this;
}

bool SqlDatabase::open(const QString& path, QString* error) {
  close();
  m_path = path;
  m_error.clear();
  m_openFailure.clear();
  const int rc = SqlUtils::openSqlite(path, &m_db);
  if (rc != SQLITE_OK) {
    m_openFailure = QString::fromUtf8(sqlite3_errstr(rc));
    m_error = QStringLiteral("cannot open %1: %2").arg(path, m_openFailure);
    if (error)
      *error = m_error;
    return false;
  }
  return true;
}

bool SqlDatabase::openWithFlags(const QByteArray& name, int sqliteFlags, const char* vfs, QString* error) {
  close();
  m_path = QString::fromUtf8(name);
  m_error.clear();
  m_openFailure.clear();
  const int rc = sqlite3_open_v2(name.constData(), &m_db, sqliteFlags, vfs);
  if (rc != SQLITE_OK) {
    sqlite3_close(m_db);
    m_db = nullptr;
    m_openFailure = QString::fromUtf8(sqlite3_errstr(rc));
    m_error = QStringLiteral("cannot open %1: %2").arg(m_path, m_openFailure);
    if (error)
      *error = m_error;
    return false;
  }
  return true;
}

void SqlDatabase::close() {
  // The _v2 form lets statements that outlive their database still finalise:
  // the connection goes when the last of them does, instead of staying open.
  if (m_db)
    sqlite3_close_v2(m_db);
  m_db = nullptr;
}

QString SqlDatabase::sqliteMessage() const {
  return m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : m_openFailure;
}

bool SqlDatabase::hasTable(const QString& table) const { return SqlUtils::hasTable(m_db, table); }

bool SqlDatabase::hasColumn(const QString& table, const QString& column) const {
  return SqlUtils::hasColumn(m_db, table, column);
}

// ---- statement ----

SqlStatement::SqlStatement(const SqlDatabase& db, const QString& sql) { prepare(db.handle(), sql); }

SqlStatement::SqlStatement(sqlite3* db, const QString& sql) { prepare(db, sql); }

SqlStatement::~SqlStatement() { sqlite3_finalize(m_stmt); }

SqlStatement::SqlStatement(SqlStatement&& other) noexcept
    : m_stmt(std::exchange(other.m_stmt, nullptr)), m_sql(std::move(other.m_sql)), m_error(std::move(other.m_error)) {}

SqlStatement& SqlStatement::operator=(SqlStatement&& other) noexcept {
  if (this != &other) {
    sqlite3_finalize(m_stmt);
    m_stmt = std::exchange(other.m_stmt, nullptr);
    m_sql = std::move(other.m_sql);
    m_error = std::move(other.m_error);
  }
  return *this;
}

bool SqlStatement::prepare(sqlite3* db, const QString& sql) {
  sqlite3_finalize(m_stmt);
  m_stmt = nullptr;
  m_sql = sql;
  m_error.clear();
  const QByteArray text = sql.toUtf8();
  if (SqlUtils::prepareSqlite(db, text.constData(), text.size(), &m_stmt, nullptr) != SQLITE_OK) {
    const QString why = db ? QString::fromUtf8(sqlite3_errmsg(db)) : QStringLiteral("no open database");
    m_error = QStringLiteral("cannot prepare \"%1\": %2").arg(sql, why);
    m_stmt = nullptr;
    return false;
  }
  return true;
}

bool SqlStatement::step() {
  if (!m_stmt)
    return false;
  const int rc = sqlite3_step(m_stmt);
  if (rc == SQLITE_ROW)
    return true;
  if (rc != SQLITE_DONE)
    m_error = QStringLiteral("\"%1\" stopped: %2").arg(m_sql, QString::fromUtf8(sqlite3_errstr(rc)));
  return false;
}

void SqlStatement::reset() {
  if (m_stmt)
    sqlite3_reset(m_stmt);
}

void SqlStatement::bind(int index, qint64 value) { sqlite3_bind_int64(m_stmt, index, value); }

void SqlStatement::bind(int index, double value) { sqlite3_bind_double(m_stmt, index, value); }

void SqlStatement::bind(int index, const QString& value) {
  const QByteArray text = value.toUtf8();
  sqlite3_bind_text(m_stmt, index, text.constData(), text.size(), SQLITE_TRANSIENT);
}

void SqlStatement::bind(int index, const QByteArray& blob) {
  sqlite3_bind_blob(m_stmt, index, blob.constData(), blob.size(), SQLITE_TRANSIENT);
}

void SqlStatement::bindNull(int index) { sqlite3_bind_null(m_stmt, index); }

int SqlStatement::columnCount() const { return m_stmt ? sqlite3_column_count(m_stmt) : 0; }

// ---- row ----

SqlRow::SqlRow(sqlite3_stmt* stmt, int first)
    : m_stmt(stmt), m_column(first), m_count(stmt ? sqlite3_data_count(stmt) : 0) {}

qint64 SqlRow::int64() {
  const qint64 v = inRange() ? sqlite3_column_int64(m_stmt, m_column) : 0;
  ++m_column;
  return v;
}

int SqlRow::integer() {
  const int v = inRange() ? sqlite3_column_int(m_stmt, m_column) : 0;
  ++m_column;
  return v;
}

double SqlRow::real() {
  const double v = inRange() ? sqlite3_column_double(m_stmt, m_column) : 0.0;
  ++m_column;
  return v;
}

QString SqlRow::text() {
  QString v;
  if (inRange()) {
    const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(m_stmt, m_column));
    if (p)
      v = QString::fromUtf8(p, sqlite3_column_bytes(m_stmt, m_column));
  }
  ++m_column;
  return v;
}

QString SqlRow::text(SqlTextCache& cache) {
  QString v;
  if (inRange()) {
    const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(m_stmt, m_column));
    if (p)
      v = cache.text(p, sqlite3_column_bytes(m_stmt, m_column));
  }
  ++m_column;
  return v;
}

QString SqlTextCache::text(const char* bytes, int size) {
  if (size > LongestKept)
    return QString::fromUtf8(bytes, size);
  // FNV-1a over the bytes picks the slot.
  quint32 h = 2166136261u;
  for (int i = 0; i < size; ++i)
    h = (h ^ quint8(bytes[i])) * 16777619u;
  Entry& e = m_entries[h % Slots];
  if (e.text.isNull() || e.bytes.size() != size || memcmp(e.bytes.constData(), bytes, size_t(size)) != 0) {
    e.bytes = QByteArray(bytes, size);
    e.text = QString::fromUtf8(bytes, size);
    if (e.text.isNull()) // an empty text is kept as empty, not null
      e.text = QLatin1String("");
  }
  return e.text;
}

QByteArray SqlRow::blob() {
  QByteArray v;
  if (inRange()) {
    const void* p = sqlite3_column_blob(m_stmt, m_column);
    if (p)
      v = QByteArray(static_cast<const char*>(p), sqlite3_column_bytes(m_stmt, m_column));
  }
  ++m_column;
  return v;
}

qint64 SqlRow::int64Or(qint64 ifNull) {
  if (isNull()) {
    ++m_column;
    return ifNull;
  }
  return int64();
}

const char* SqlRow::rawText(int* bytes) {
  const char* p = inRange() ? reinterpret_cast<const char*>(sqlite3_column_text(m_stmt, m_column)) : nullptr;
  *bytes = p ? sqlite3_column_bytes(m_stmt, m_column) : 0;
  ++m_column;
  return p;
}

const char* SqlRow::rawBlob(int* bytes) {
  const char* p = inRange() ? static_cast<const char*>(sqlite3_column_blob(m_stmt, m_column)) : nullptr;
  *bytes = p ? sqlite3_column_bytes(m_stmt, m_column) : 0;
  ++m_column;
  return p;
}

SqlRow::Type SqlRow::type() const {
  return inRange() ? static_cast<Type>(sqlite3_column_type(m_stmt, m_column)) : Null;
}
