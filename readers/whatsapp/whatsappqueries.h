#pragma once
// The queries of the WhatsApp reader, one per table of ChatStorage.sqlite, and
// the records they fill.
//
// Each query puts one SELECT and one COUNT into its lists, keeps one heap record
// per row (the message query hands its rows to a sink instead when given one)
// and owns it: the records live as long as the query, and the
// collection that joins them into chats reads them through the accessors while
// the query is alive. A table or column missing from the schema at hand leaves
// the query's containers empty (the failure is logged). A NULL text column
// reads as an empty string, a NULL number as 0.
#include "backup/cisqlitequery.h"
#include "platform/common/sqlrow.h"

#include <QList>
#include <QMap>
#include <QString>

#include <functional>

// A chat: one-to-one, group, broadcast list or status feed.
struct WAChatSession {
  qint64 pk = 0;
  qint64 contactAbId = 0; // non-zero when the partner is in the address book
  int sessionType = 0;
  QString partnerName;
  QString contactJid;
  int removed = 0;
};

// A member of a group chat.
struct WAGroupMember {
  qint64 pk = 0;
  qint64 contactAbId = 0;
  QString contactName;
  QString memberJid;
};

// A media item: a file, location, contact card, link preview or quote carrier.
struct WAMediaItem {
  qint64 pk = 0;
  qint64 fileSize = 0;
  int movieDuration = 0;
  qint64 message = 0; // the message's pk
  QString localPath;
  QString mediaUrl;
  QString thumbPath;
  QString vcardName;
  QString vcardString;
  QString title;
  QString authorName;
};

// A message, system line or group event.
struct WAMessage {
  qint64 pk = 0;
  int groupEventType = 0;
  int isFromMe = 0;
  int messageStatus = 0;
  int messageType = 0;
  qint64 chatSession = 0;   // the session's pk
  qint64 groupMember = 0;   // a member's pk, 0 when none
  qint64 mediaItem = 0;     // a media item's pk, 0 when none
  qint64 parentMessage = 0; // another message's pk, 0 when none
  double messageDate = 0;   // seconds since 2001-01-01 00:00:00 UTC
  QString text;
  QString toJid;
};

// Visible chats, newest last message first (hidden system sessions are left out).
// Chats. Stores without ZHIDDEN or ZREMOVED (older app versions) are read
// without them, with a logged line that names the file and the column: every
// chat is then shown, and none counts as removed.
class CWAChatSessionQuery : public CISQLiteQuery {
public:
  CWAChatSessionQuery();
  ~CWAChatSessionQuery() override;
  const QList<WAChatSession*>& sessions() const { return m_sessions; }
  void query(const QStringList& files, CIProgressCallback* progress) override;

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<WAChatSession*> m_sessions;
};

// Group members, by pk and by their chat (each chat's list in row order).
class CWAChatMemberQuery : public CISQLiteQuery {
public:
  CWAChatMemberQuery();
  ~CWAChatMemberQuery() override;
  const QMap<qint64, WAGroupMember*>& members() const { return m_members; }
  const QMap<qint64, QList<WAGroupMember*>>& membersBySession() const { return m_bySession; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<WAGroupMember*> m_owned;
  QMap<qint64, WAGroupMember*> m_members;
  QMap<qint64, QList<WAGroupMember*>> m_bySession;
};

// Media items by pk.
class CWAMediaQuery : public CISQLiteQuery {
public:
  CWAMediaQuery();
  ~CWAMediaQuery() override;
  const QMap<qint64, WAMediaItem*>& mediaItems() const { return m_items; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<WAMediaItem*> m_owned;
  QMap<qint64, WAMediaItem*> m_items;
};

// Messages in chat order (by session, then WhatsApp's own sort key) and by pk.
// Also decodes the two properties of a message row that the chat needs: whether
// it was sent, and the display text of a group event.
class CWAMessageQuery : public CISQLiteQuery {
public:
  // Message type of a group event.
  enum { GroupEventType = 6 };

  CWAMessageQuery();
  ~CWAMessageQuery() override;
  // With a sink, each row is handed to it as it is read and nothing is kept
  // (messages() stays empty): a reader that builds from the rows at once never
  // holds them all.
  void setSink(std::function<void(const WAMessage&)> sink) { m_sink = std::move(sink); }
  const QList<WAMessage*>& messages() const { return m_messages; }
  // By pk; a later row of the same pk wins. Built on first use from the list:
  // a million inserts into a tree cost as much as reading the rows, and the
  // chat building looks messages up by key only for the few that have a
  // parent.
  const QMap<qint64, WAMessage*>& messageMap() const;

  // A status counts as sent when it is non-zero and its two low bits are not
  // both set.
  static bool isSentStatus(int status);

  // The display text of a group event. `actor` is the name of the member who
  // acted, empty for the device owner; `target` the name of the member the
  // event's text names, empty when unknown; `self` whether the event's text is
  // the recipient's own jid.
  static QString groupEventText(int code, const QString& text, const QString& actor, const QString& target, bool self);
  // The same for a message of the group-event type, with the actor and the
  // target looked up among the chat members by pk (the first member in pk order
  // whose jid is the message's text is the target).
  static QString groupEventText(const WAMessage& message, const QMap<qint64, WAGroupMember*>& members);

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  std::function<void(const WAMessage&)> m_sink;
  WAMessage m_row;     // the row being handed to the sink
  SqlTextCache m_jids; // a chat's messages name the same few addresses
  QList<WAMessage*> m_messages;
  mutable QMap<qint64, WAMessage*> m_byPk;
  mutable bool m_byPkBuilt = false;
};

// Profile picture paths by jid; a later row of the same jid wins.
class CWAProfilePicQuery : public CISQLiteQuery {
public:
  CWAProfilePicQuery();
  const QMap<QString, QString>& pictures() const { return m_pictures; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QMap<QString, QString> m_pictures;
};
