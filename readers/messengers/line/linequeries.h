#pragma once
// The queries of the Line reader, one per table of Line.sqlite, and the records
// they fill.
//
// Each query puts one SELECT and one COUNT into its lists, keeps what its rows
// hold and owns its records; the collection reads them through the accessors
// while the query is alive. A table or column missing from the schema at hand
// leaves the query's containers empty (the failure is logged). A NULL text
// column reads as an empty string, a NULL number as 0.
#include "backup/cisqlitequery.h"
#include "readers/messengers/common/coredatajoin.h"

#include <QList>
#include <QMap>
#include <QString>

// A chat: its key and the mid of the partner, group or room it is with.
struct LineChat {
  qint64 key = 0;
  QString mid;
};

// A message or system line.
struct LineMessage {
  QString id;            // the server's message id; names the thumbnail and attachment files
  qint64 sender = 0;     // a user key; 0 for the owner's messages
  bool outgoing = false; // sender is 0
  int sendStatus = 0;    // below 2 when the send is done; 0 on system lines
  int type = 0;          // the message type derived from the content type (deriveType)
  qint64 chat = 0;
  qint64 timestamp = 0;  // milliseconds since 1970, possibly with bit 61 set
  QString text;
  qint64 sticker = 0;    // the sticker number of a sticker message
};

// User names by mid and by key.
class CLineUserQuery : public CISQLiteQuery {
public:
  CLineUserQuery();
  const QMap<QString, QString>& namesByMid() const { return m_byMid; }
  const QMap<qint64, QString>& namesByKey() const { return m_byKey; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QMap<QString, QString> m_byMid;
  QMap<qint64, QString> m_byKey;
};

// Group names by group id (mid); a later row of the same id wins.
class CLineGroupQuery : public CISQLiteQuery {
public:
  CLineGroupQuery();
  const QMap<QString, QString>& names() const { return m_names; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QMap<QString, QString> m_names;
};

// Member user keys by chat key, each list in row order (links()).
class CLineChatMembersQuery : public CCoreDataJoinQuery {
public:
  CLineChatMembersQuery();
};

// The chats, in row order.
class CLineChatSessionQuery : public CISQLiteQuery {
public:
  CLineChatSessionQuery();
  ~CLineChatSessionQuery() override;
  const QList<LineChat*>& chats() const { return m_chats; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<LineChat*> m_chats;
};

// Messages by chat, each chat's list in ascending time stamp.
class CLineMessageQuery : public CISQLiteQuery {
public:
  CLineMessageQuery();
  ~CLineMessageQuery() override;
  const QMap<qint64, QList<LineMessage*>>& messagesByChat() const { return m_byChat; }
  int messageCount() const { return m_count; }

  // The message type of a content type and send status: content types 6, 13,
  // 14 and 100 become 0, 4, 8 and 5, others are kept; a send status of 0 makes
  // any message a system line (6).
  static int deriveType(int contentType, int sendStatus);

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QMap<qint64, QList<LineMessage*>> m_byChat;
  int m_count = 0;
};
