#pragma once
// The queries of the QQ reader over one account's QQ.db, and their records.
//
// Friends, groups and group members come from one table each. Messages live
// in one table per conversation: tb_c2cMsg_<friend's QQ number> (columns uin,
// time, type, flag, content, picUrl), tb_TroopMsg_<group number> (SendUin,
// MsgTime, sMsgType, strMsg, picUrl, nickName: other names than the friend
// tables'), and in older versions one table tb_message for every friend (its
// uin column says which). A table missing one of the columns is read with the
// column as NULL (logged); a missing table leaves its map empty (logged).
#include "backup/cisqlitequery.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QVector>

// One message or system line.
struct QQMessage {
  QString sender;      // friend tables: the friend's number; group tables: the sender's
  qint64 time = 0;     // Unix seconds
  int type = 0;        // QQ's message type
  int flag = -1;       // friend tables: 0 sent by the owner, 1 received; -1 in group tables
  QString content;
  QString picUrl;      // JSON list naming the picture's or video's md5
  QString nickName;    // group tables: the sender's name in the group
};
Q_DECLARE_TYPEINFO(QQMessage, Q_MOVABLE_TYPE);

// Friends' names by QQ number: the remark, else the nickname.
class CQQFriendQuery : public CISQLiteQuery {
public:
  CQQFriendQuery();
  const QHash<QString, QString>& names() const { return m_names; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<QString, QString> m_names;
};

// Group names by group number.
class CQQGroupQuery : public CISQLiteQuery {
public:
  CQQGroupQuery();
  const QHash<QString, QString>& names() const { return m_names; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<QString, QString> m_names;
};

// Group members: their names by group number and member number, and each
// group's members in row order.
class CQQGroupMemberQuery : public CISQLiteQuery {
public:
  CQQGroupMemberQuery();
  QString name(const QString& group, const QString& member) const { return m_names.value(group + QLatin1Char('/') + member); }
  const QHash<QString, QList<QString>>& members() const { return m_members; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<QString, QString> m_names;
  QHash<QString, QList<QString>> m_members;
};

// Every message table of the database. The statements are made per database
// from its schema: one SELECT of many tables joined with UNION ALL, each row
// tagged with its conversation's key: "c<friend>" or "g<group>".
class CQQMessageQuery : public CISQLiteQuery {
public:
  CQQMessageQuery();
  // Messages by conversation key, each list in table order.
  const QMap<QString, QVector<QQMessage>>& messagesByChat() const { return m_byChat; }
  int messageCount() const { return m_count; }

  // Lists the message tables of each file and reads them. Progress advances
  // table by table.
  void query(const QStringList& files, CIProgressCallback* progress) override;

  // The SELECT statements for the database's message tables (each of at most
  // a few hundred tables); empty when it has none.
  static QStringList statementsFor(sqlite3* db, const QString& file);

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QMap<QString, QVector<QQMessage>> m_byChat;
  int m_count = 0;
  // Rows come table by table: the list and the texts of the row before are
  // kept, so that a conversation's key and a sender's number are decoded (and
  // looked up) once per run of equal values rather than once per row.
  QByteArray m_lastKey;
  QVector<QQMessage>* m_current = nullptr;
  QByteArray m_lastSender;
  QString m_sender;
};
