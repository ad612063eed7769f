#pragma once
// The queries of the Kik reader, one per table of kik.sqlite, and the records
// they fill.
//
// Each query puts one SELECT and one COUNT into its lists, keeps what its rows
// hold and owns its records; the collection reads them through the accessors
// while the query is alive. A table or column missing from the schema at hand
// leaves the query's containers empty (the failure is logged). A NULL text
// column reads as an empty string, a NULL number as 0.
//
// Kik's Core Data model numbers its join tables by entity number, and the
// numbers move between app versions. The two join queries keep the statements
// of the numbering they name, and run the equivalent statements, COUNT
// included, against a database that numbers the tables otherwise
// (CCoreDataJoinQuery).
#include "backup/cisqlitequery.h"
#include "readers/messengers/common/coredatajoin.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>

// One Kik chat and the user it is with (a partner, or the group's own user row).
struct KikChatPair {
  qint64 chat = 0;
  qint64 user = 0;
};

// An attachment of a message.
struct KikAttachment {
  qint64 type = 0;    // 6 picture, 7 video
  qint64 message = 0; // the message's key
  QString dataCachePath;  // base folder + content_manager/data_cache/<content id>: the full file
  QString attachmentPath; // base folder + attachments/<content id>: its descriptor, with a thumbnail
};

// A message or system line.
struct KikMessage {
  // The kind of a system line.
  enum { SystemKind = 6 };
  qint64 key = 0;
  bool outgoing = false; // sent by the owner
  int state = 0;         // delivery state; 2 is a send not yet done
  int kind = 0;          // SystemKind for system lines; else the flags: 0 text, anything else media
  qint64 user = 0;       // the sender of a received message; the chat's user of a sent one
  double timestamp = 0;  // seconds since 2001-01-01 00:00:00 UTC
  QString body;          // the text; a content id for an attachment
};

// Display names and jids of every user row (people, bots and groups), by key.
class CKikUserQuery : public CISQLiteQuery {
public:
  CKikUserQuery();
  const QMap<qint64, QString>& names() const { return m_names; }
  const QMap<qint64, QString>& jids() const { return m_jids; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QMap<qint64, QString> m_names;
  QMap<qint64, QString> m_jids;
};

// The chats, in row order.
class CKikChatSessionQuery : public CISQLiteQuery {
public:
  CKikChatSessionQuery();
  ~CKikChatSessionQuery() override;
  const QList<KikChatPair*>& chats() const { return m_chats; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<KikChatPair*> m_chats;
};

// Message keys by chat key, in ascending message key.
class CKikChatMessagesQuery : public CCoreDataJoinQuery {
public:
  CKikChatMessagesQuery();
};

// Member user keys by the group's user key.
class CKikChatMemberQuery : public CCoreDataJoinQuery {
public:
  CKikChatMemberQuery();
};

// Attachments by message key, with their paths under the Kik base folder.
class CKikMediaQuery : public CISQLiteQuery {
public:
  explicit CKikMediaQuery(const QString& baseFolder);
  ~CKikMediaQuery() override;
  const QMap<qint64, KikAttachment*>& attachments() const { return m_byMessage; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QString m_baseFolder;
  QList<KikAttachment*> m_owned;
  QMap<qint64, KikAttachment*> m_byMessage;
};

// Messages by key, all keys in ascending time stamp, and each user's keys.
class CKikMessageQuery : public CISQLiteQuery {
public:
  CKikMessageQuery();
  ~CKikMessageQuery() override;
  const QMap<qint64, KikMessage*>& messages() const { return m_byKey; }
  const QList<qint64>& keys() const { return m_keys; }
  const QMap<qint64, QList<qint64>>& keysByUser() const { return m_byUser; }
  // The position of a key in keys() (its last one if it repeats), -1 when absent.
  int position(qint64 key) const { return m_position.value(key, -1); }

  // The records of message keys, ordered by their position in keys(), without
  // the keys the message table lacks. Uses the position index: no search and
  // no lookup by key.
  QList<const KikMessage*> inMessageOrder(const QList<qint64>& keys) const;

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<KikMessage*> m_owned;
  QMap<qint64, KikMessage*> m_byKey;
  QList<qint64> m_keys;
  QMap<qint64, QList<qint64>> m_byUser;
  QHash<qint64, int> m_position;
};
