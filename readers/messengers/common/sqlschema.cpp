#include "readers/messengers/common/sqlschema.h"

#include "platform/common/sqlutils.h"

#include <sqlite3.h>

namespace {
QString textAt(sqlite3_stmt* stmt, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
  return text ? QString::fromUtf8(text) : QString();
}
} // namespace

bool SqlSchema::load(const QString& path) {
  m_columns.clear();
  sqlite3* db = nullptr;
  if (path.isEmpty() || SqlUtils::openSqlite(path, &db) != 0)
    return false;
  sqlite3_stmt* stmt = nullptr;
  const char* sql = "select m.name, p.name from sqlite_master m join pragma_table_info(m.name) p"
                    " where m.type in ('table', 'view')";
  if (SqlUtils::prepareSqlite(db, sql, -1, &stmt, nullptr) != 0) {
    sqlite3_close(db);
    return false;
  }
  while (sqlite3_step(stmt) == SQLITE_ROW)
    m_columns[textAt(stmt, 0).toLower()].insert(textAt(stmt, 1).toLower());
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return true;
}

bool SqlSchema::hasTable(const QString& table) const { return m_columns.contains(table.toLower()); }

bool SqlSchema::hasColumn(const QString& table, const QString& column) const {
  const auto it = m_columns.constFind(table.toLower());
  return it != m_columns.constEnd() && it->contains(column.toLower());
}

QString SqlSchema::selectFrom(const QString& table, const QStringList& columns, const QString& tail) const {
  const bool known = hasTable(table);
  QStringList list;
  for (const QString& c : columns)
    list << (!known || hasColumn(table, c) ? c : QStringLiteral("NULL"));
  QString sql = QStringLiteral("select %1 from %2").arg(list.join(QStringLiteral(", ")), table);
  if (!tail.isEmpty())
    sql += QLatin1Char(' ') + tail;
  return sql;
}

QString SqlSchema::orderBy(const QString& table, const QStringList& columns) const {
  QStringList present;
  for (const QString& c : columns)
    if (hasColumn(table, c.section(QLatin1Char(' '), 0, 0))) // "zdate desc" names zdate
      present << c;
  return present.isEmpty() ? QString() : QStringLiteral("order by ") + present.join(QStringLiteral(", "));
}
