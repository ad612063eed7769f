#include "readers/messengers/common/coredatajoin.h"

#include "platform/common/log.h"
#include "platform/common/sqlrow.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

namespace {
const char kModule[] = "iTunesBackup";

QStringList columnsOf(sqlite3* db, const QString& table) {
  QStringList columns;
  // The name comes from sqlite_master; quoting keeps any name safe anyway.
  QString quoted = table;
  quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
  SqlStatement stmt(db, QStringLiteral("pragma table_info(\"%1\")").arg(quoted));
  while (stmt.step()) {
    SqlRow r(stmt);
    r.skip(); // cid
    if (!r.isNull())
      columns << r.text();
  }
  return columns;
}

QString findColumn(const QStringList& columns, const QRegularExpression& re) {
  for (const QString& c : columns) {
    if (re.match(c).hasMatch())
      return c;
  }
  return QString();
}
} // namespace

namespace CoreDataJoin {
CoreDataJoinTable find(sqlite3* db, const QString& relation, const QString& ownerSuffix) {
  CoreDataJoinTable best;
  if (!db)
    return best;
  const QString rel = QRegularExpression::escape(relation);
  const QRegularExpression tableRe(QStringLiteral("^Z_(\\d+)%1$").arg(rel), QRegularExpression::CaseInsensitiveOption);
  const QRegularExpression memberRe(QStringLiteral("^Z_\\d+%1$").arg(rel), QRegularExpression::CaseInsensitiveOption);
  SqlStatement stmt(db, QStringLiteral("select name from sqlite_master where type = 'table'"));
  if (!stmt.isValid())
    return best;
  QStringList tables;
  while (stmt.step()) {
    SqlRow r(stmt);
    if (!r.isNull())
      tables << r.text();
  }

  qint64 bestNumber = -1;
  for (const QString& table : qAsConst(tables)) {
    const QRegularExpressionMatch m = tableRe.match(table);
    if (!m.hasMatch())
      continue;
    const qint64 number = m.captured(1).toLongLong();
    if (bestNumber >= 0 && number >= bestNumber)
      continue;
    // The owner's column carries the table's own number.
    const QRegularExpression ownerRe(
        QStringLiteral("^Z_%1%2$").arg(m.captured(1), QRegularExpression::escape(ownerSuffix)),
        QRegularExpression::CaseInsensitiveOption);
    const QStringList columns = columnsOf(db, table);
    const QString owner = findColumn(columns, ownerRe);
    const QString member = findColumn(columns, memberRe);
    if (owner.isEmpty() || member.isEmpty())
      continue;
    best = CoreDataJoinTable{table, owner, member};
    bestNumber = number;
  }
  return best;
}

bool hasShape(sqlite3* db, const CoreDataJoinTable& join) {
  if (!db || join.isNull())
    return false;
  const QStringList columns = columnsOf(db, join.table);
  return columns.contains(join.ownerCol, Qt::CaseInsensitive) && columns.contains(join.memberCol, Qt::CaseInsensitive);
}
} // namespace CoreDataJoin

// ---- the join query ----

CCoreDataJoinQuery::CCoreDataJoinQuery(const CoreDataJoinTable& named, const QString& relation, const QString& ownerSuffix,
                             bool ordered)
    : m_named(named), m_relation(relation), m_ownerSuffix(ownerSuffix), m_ordered(ordered) {
  m_sqls << selectFor(named);
  m_countSqls << countFor(named);
}

QString CCoreDataJoinQuery::selectFor(const CoreDataJoinTable& join) const {
  QString sql = QStringLiteral("select %1, %2 from %3").arg(join.ownerCol, join.memberCol, join.table);
  if (m_ordered)
    sql += QStringLiteral(" order by %1").arg(join.memberCol);
  return sql;
}

QString CCoreDataJoinQuery::countFor(const CoreDataJoinTable& join) {
  return QStringLiteral("select count(*) from %1").arg(join.table);
}

CoreDataJoinTable CCoreDataJoinQuery::resolve(sqlite3* db) const {
  if (CoreDataJoin::hasShape(db, m_named))
    return CoreDataJoinTable();
  return CoreDataJoin::find(db, m_relation, m_ownerSuffix);
}

void CCoreDataJoinQuery::query(const QStringList& files, CIProgressCallback* progress) {
  const QStringList listedCounts = m_countSqls;
  for (const QString& path : files) {
    // The base logs a missing file and skips it; only an existing one is probed.
    CoreDataJoinTable found;
    if (!path.isEmpty() && QFile::exists(path)) {
      SqlDatabase db;
      if (db.open(path))
        found = resolve(db.handle());
    }
    if (found.isNull()) {
      m_replacement.clear();
      m_countSqls = listedCounts;
    } else {
      Log(kModule, 1, "Join table %s stands for %s in %s", found.table.toUtf8().constData(),
          m_named.table.toUtf8().constData(), path.toUtf8().constData());
      m_replacement = selectFor(found);
      m_countSqls = QStringList{countFor(found)};
    }
    CISQLiteQuery::query(QStringList{path}, progress);
  }
  m_countSqls = listedCounts;
  m_replacement.clear();
}

QString CCoreDataJoinQuery::customSql(sqlite3*) { return m_replacement; }

bool CCoreDataJoinQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 owner = r.int64();
  m_links[owner].append(r.int64());
  return true;
}

