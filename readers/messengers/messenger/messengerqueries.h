#pragma once
// The queries of the Messenger reader and the records they fill, for the two
// generations of the app's chat store.
//
// Lightspeed (lightspeed-userDatabases/<owner id>.db, the app since about
// 2020): plain tables keyed by Facebook ids. _user_info names the owner;
// threads, participants and contacts the chats and people; messages (in some
// versions only the view thread_messages) the messages, times in Unix
// milliseconds; attachments and attachment_items what a message carries (file
// names of media, titles of shared links, call lines).
//
// Orca (orca2.db, the app before): threads keyed by text ("ONE_TO_ONE:<a>:<b>",
// "GROUP:<id>"), the sender of a message as JSON ({"user_key":
// "FACEBOOK:<id>", "name": ...}), attachments and coordinates as JSON. Its
// records are turned into the Lightspeed ones: each thread key text gets a
// number of its own, users their Facebook id.
//
// Statements are built from the database's own schema (SqlSchema): a column the
// app version lacks reads as NULL. A NULL text reads as empty, a NULL number as 0.
#include "backup/cisqlitequery.h"

#include <QHash>
#include <QString>
#include <QVector>

class SqlSchema;

struct FbThread {
  qint64 key = 0;
  QString name;       // a group's name; often empty for one-to-one chats
  bool group = false;
};

struct FbMessage {
  qint64 thread = 0;
  qint64 sender = 0;      // a contact id
  qint64 timestampMs = 0; // Unix milliseconds
  bool unsent = false;    // the sender took it back
  QString id;             // joins the attachments
  QString text;
  QString senderName;     // the name the row itself carries (Orca)
  QString attachmentText; // Orca: the attachments' file names, or a location's coordinates
  bool location = false;  // Orca: attachmentText is a location
};

struct FbAttachment {
  QString fileName; // the media's file name, when a file
  QString title;    // a link's title, a call's kind ("Audio call")
  QString subtitle; // a link's site, a call's duration
};

// The owner's id.
class CFbOwnerQuery : public CISQLiteQuery {
public:
  CFbOwnerQuery();
  qint64 owner() const { return m_owner; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  qint64 m_owner = 0;
};

// Contact names by id.
class CFbContactQuery : public CISQLiteQuery {
public:
  explicit CFbContactQuery(const SqlSchema& schema);
  const QHash<qint64, QString>& names() const { return m_names; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, QString> m_names;
};

// The threads, in row order.
class CFbThreadQuery : public CISQLiteQuery {
public:
  explicit CFbThreadQuery(const SqlSchema& schema);
  const QVector<FbThread>& threads() const { return m_threads; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QVector<FbThread> m_threads;
};

// Participant ids by thread, in row order, and their nicknames.
class CFbParticipantQuery : public CISQLiteQuery {
public:
  explicit CFbParticipantQuery(const SqlSchema& schema);
  const QHash<qint64, QVector<qint64>>& byThread() const { return m_byThread; }
  const QHash<qint64, QString>& nicknames() const { return m_nicknames; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, QVector<qint64>> m_byThread;
  QHash<qint64, QString> m_nicknames; // a contact's last non-empty nickname
};

// Messages by thread, each list in ascending time. Reads the table messages,
// or the view thread_messages where the store has no such table.
class CFbMessageQuery : public CISQLiteQuery {
public:
  explicit CFbMessageQuery(const SqlSchema& schema);
  const QHash<qint64, QVector<FbMessage>>& byThread() const { return m_byThread; }
  int messageCount() const { return m_count; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, QVector<FbMessage>> m_byThread;
  int m_count = 0;
};

// Attachments by message id, from the table attachments or attachment_items.
class CFbAttachmentQuery : public CISQLiteQuery {
public:
  CFbAttachmentQuery(const SqlSchema& schema, const QString& table);
  const QHash<QString, QVector<FbAttachment>>& byMessage() const { return m_byMessage; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<QString, QVector<FbAttachment>> m_byMessage;
};

// ---- Orca ----

// The Facebook id of a user key ("FACEBOOK:123" -> 123); 0 when there is none.
qint64 orcaUserId(const QString& userKey);

// Orca's threads and their participants (from the threads' JSON).
class COrcaThreadQuery : public CISQLiteQuery {
public:
  explicit COrcaThreadQuery(const SqlSchema& schema);
  const QVector<FbThread>& threads() const { return m_threads; }
  const QHash<qint64, QVector<qint64>>& participants() const { return m_participants; }
  const QHash<QString, qint64>& keys() const { return m_keys; }
  // The number of a thread key text, given on first sight.
  qint64 keyOf(const QString& threadKey);
  // The participants' names the JSON carries, by id.
  const QHash<qint64, QString>& names() const { return m_names; }
  // The ids the one-to-one thread keys name, each with the number of keys naming it.
  const QHash<qint64, int>& oneToOneIds() const { return m_oneToOne; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QVector<FbThread> m_threads;
  QHash<qint64, QVector<qint64>> m_participants;
  QHash<QString, qint64> m_keys;
  QHash<qint64, QString> m_names;
  QHash<qint64, int> m_oneToOne;
};

// Orca's users: names by Facebook id.
class COrcaUserQuery : public CISQLiteQuery {
public:
  explicit COrcaUserQuery(const SqlSchema& schema);
  const QHash<qint64, QString>& names() const { return m_names; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, QString> m_names;
};

// Orca's messages, by thread number (threads are numbered through the thread query).
class COrcaMessageQuery : public CISQLiteQuery {
public:
  COrcaMessageQuery(const SqlSchema& schema, COrcaThreadQuery* threads);
  const QHash<qint64, QVector<FbMessage>>& byThread() const { return m_byThread; }
  int messageCount() const { return m_count; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  COrcaThreadQuery* m_threads; // not owned
  QHash<qint64, QVector<FbMessage>> m_byThread;
  int m_count = 0;
};
