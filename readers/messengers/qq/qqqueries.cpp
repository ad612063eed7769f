#include "readers/messengers/qq/qqqueries.h"

#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "platform/common/sqlutils.h"
#include "service/progress.h"

#include <QFile>
#include <QStringList>

#include <sqlite3.h>

namespace {
const char kModule[] = "iTunesBackup";
// SQLite allows 500 terms in one compound SELECT by default.
const int kTablesPerStatement = 400;

QString quoted(QString text, QChar quote) {
  text.replace(quote, QString(2, quote));
  return quote + text + quote;
}

// The id of a message table's conversation, and the select list of its rows
// in the order onRow reads them.
struct TableShape {
  const char* prefix; // of the table's name
  char kind;          // of the conversation key
  const char* columns[7]; // sender, time, type, flag, content, picUrl, nickName (null: none)
};
const TableShape kShapes[] = {
    {"tb_c2cMsg_", 'c', {"uin", "time", "type", "flag", "content", "picUrl", nullptr}},
    {"tb_TroopMsg_", 'g', {"SendUin", "MsgTime", "sMsgType", nullptr, "strMsg", "picUrl", "nickName"}},
};

QString selectOf(sqlite3* db, const QString& table, const TableShape& shape, const QString& key, const QString& file) {
  QStringList list{key};
  for (const char* c : shape.columns) {
    if (c && SqlUtils::hasColumn(db, table, QLatin1String(c))) {
      list << QLatin1String(c);
    } else {
      if (c)
        Log(kModule, 0, "Table %s of %s has no column %s", qPrintable(table), qPrintable(file), c);
      list << QStringLiteral("NULL");
    }
  }
  return QStringLiteral("select %1 from %2").arg(list.join(QStringLiteral(", ")), quoted(table, QLatin1Char('"')));
}
} // namespace

// ---- friends ----

CQQFriendQuery::CQQFriendQuery() {
  m_sqls << QStringLiteral("select uin, nick, remark from tb_userSummary");
  m_countSqls << QStringLiteral("select count(*) from tb_userSummary");
}

bool CQQFriendQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const QString uin = r.text();
  const QString nick = r.text();
  const QString remark = r.text();
  m_names.insert(uin, remark.isEmpty() ? nick : remark);
  return true;
}

// ---- groups ----

CQQGroupQuery::CQQGroupQuery() {
  m_sqls << QStringLiteral("select groupCode, groupName from tb_troop");
  m_countSqls << QStringLiteral("select count(*) from tb_troop");
}

bool CQQGroupQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const QString code = r.text();
  m_names.insert(code, r.text());
  return true;
}

// ---- group members ----

CQQGroupMemberQuery::CQQGroupMemberQuery() {
  m_sqls << QStringLiteral("select GroupCode, MemUin, nick from tb_TroopMem");
  m_countSqls << QStringLiteral("select count(*) from tb_TroopMem");
}

bool CQQGroupMemberQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const QString group = r.text();
  const QString member = r.text();
  m_names.insert(group + QLatin1Char('/') + member, r.text());
  m_members[group].append(member);
  return true;
}

// ---- messages ----

CQQMessageQuery::CQQMessageQuery() = default;

QStringList CQQMessageQuery::statementsFor(sqlite3* db, const QString& file) {
  QStringList selects;
  SqlStatement stmt(db, QStringLiteral("select name from sqlite_master where type = 'table' order by name"));
  if (!stmt.isValid()) {
    Log(kModule, 0, "Cannot list the tables of %s: %s", qPrintable(file), qPrintable(stmt.errorString()));
    return {};
  }
  while (stmt.step()) {
    const QString table = SqlRow(stmt).text();
    for (const TableShape& shape : kShapes) {
      const QLatin1String prefix(shape.prefix);
      if (table.startsWith(prefix) && table.size() > prefix.size()) {
        const QString key = quoted(QLatin1Char(shape.kind) + table.mid(prefix.size()), QLatin1Char('\''));
        selects << selectOf(db, table, shape, key, file);
      }
    }
    // The older single table of all friends: the uin column names the friend.
    if (table == QLatin1String("tb_message"))
      selects << selectOf(db, table, kShapes[0], QStringLiteral("'c' || uin"), file);
  }

  QStringList statements;
  for (int i = 0; i < selects.size(); i += kTablesPerStatement)
    statements << selects.mid(i, kTablesPerStatement).join(QStringLiteral(" union all "));
  return statements;
}

void CQQMessageQuery::query(const QStringList& files, CIProgressCallback* progress) {
  for (const QString& path : files) {
    if (path.isEmpty() || !QFile::exists(path)) {
      if (!path.isEmpty())
        Log(kModule, 0, "%s is missing: nothing read from it", path.toUtf8().constData());
      continue;
    }
    sqlite3* db = nullptr;
    if (SqlUtils::openSqlite(path, &db) != 0) {
      Log(kModule, 0, "Fail to open db file: %s", path.toUtf8().constData());
      continue;
    }
    m_sqls = statementsFor(db, path);
    sqlite3_close(db);
    if (m_sqls.isEmpty()) {
      Log(kModule, 0, "No message table in %s", path.toUtf8().constData());
      continue;
    }
    // Rows are not counted ahead: the progress moves one statement at a time.
    m_progress = progress;
    m_step = 0;
    const double share = progress ? double(progress->range()) / double(m_sqls.size() * files.size()) : 0.0;
    for (const QString& sql : qAsConst(m_sqls)) {
      execSql(path, sql);
      if (progress && !progress->progress(share))
        break;
    }
  }
  m_progress = nullptr;
}

namespace {
// The column's bytes, without decoding them.
QByteArray rawText(sqlite3_stmt* stmt, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
  return QByteArray::fromRawData(text ? text : "", text ? sqlite3_column_bytes(stmt, column) : 0);
}
} // namespace

bool CQQMessageQuery::onRow(sqlite3_stmt* stmt) {
  const QByteArray key = rawText(stmt, 0);
  if (!m_current || key != m_lastKey) {
    m_lastKey = QByteArray(key.constData(), key.size());
    m_current = &m_byChat[QString::fromUtf8(m_lastKey)];
  }
  const QByteArray sender = rawText(stmt, 1);
  if (sender != m_lastSender) {
    m_lastSender = QByteArray(sender.constData(), sender.size());
    m_sender = QString::fromUtf8(m_lastSender);
  }
  SqlRow r(stmt, 2);
  QQMessage m;
  m.sender = m_sender;
  m.time = r.int64();
  m.type = r.integer();
  m.flag = int(r.int64Or(-1));
  m.content = r.text();
  m.picUrl = r.text();
  m.nickName = r.text();
  m_current->append(std::move(m));
  ++m_count;
  return true;
}
