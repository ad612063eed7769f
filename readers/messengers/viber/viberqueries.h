#pragma once
// The queries of the Viber reader, one per table of Contacts.data (Viber's one
// Core Data store of contacts, chats, messages and calls), and the records they
// fill.
//
// Each statement is built from the database's own schema (SqlSchema): a column
// this app version lacks is selected as NULL, so that an older or newer store
// loses the column and not the table. A missing table leaves the query empty;
// the base logs the file and the reason. A NULL text reads as an empty string,
// a NULL number as 0.
//
// Two generations of the contact tables exist. The newer one keeps one ZMEMBER
// row per Viber identity and its numbers in ZPHONENUMBER (ZMEMBER -> the
// member); the older one keeps name and number together in ZPHONENUMBERINDEX.
// Messages (ZPHONENUMINDEX), conversations (ZINTERLOCUTOR) and call lines
// point at whichever of the two the store has, so both are read through one
// record type keyed by Z_PK.
#include "backup/cisqlitequery.h"
#include "readers/messengers/common/coredatajoin.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVector>

class SqlSchema;

// A person (or a group's own identity) of either contact generation.
struct ViberContact {
  QString name;  // the display name, else the short name, else the name
  QString phone; // the number as the app shows it, else its international digits
  QString icon;  // the avatar's file under ViberIcons/, or empty
};

struct ViberConversation {
  qint64 key = 0;
  QString name;       // a group's name; empty for a one-to-one chat
  qint64 partner = 0; // the contact of a one-to-one chat, 0 for groups
  bool deleted = false;
};

struct ViberMessage {
  qint64 key = 0;
  qint64 conversation = 0;
  qint64 sender = 0;  // the contact who wrote it; 0 for most of the owner's messages
  double date = 0;    // seconds since 2001-01-01 UTC, with milliseconds
  QString state;      // "received" for incoming; "send", "delivered"... for outgoing
  QString text;       // the text, or the caption of a media message
  QString systemType; // names a system line; empty for ordinary messages
  qint64 attachment = 0;
  qint64 location = 0;
  bool deleted = false;
  QString callType;   // set on the chat line of a call
  qint64 callDuration = 0;
  QString metadata;   // JSON: link previews, rich messages
};

struct ViberAttachment {
  QString name; // the file's name under Documents/Attachments/
  QString type; // "picture", "video", "voice", "file", "sticker"...
  qint64 size = 0;
};

struct ViberLocation {
  double latitude = 0;
  double longitude = 0;
  QString address;
};

struct ViberCall {
  double date = 0; // seconds since 2001-01-01 UTC
  qint64 duration = 0;
  QString callType; // incoming, missed, outgoing_viber, and their _with_video forms
  qint64 line = 0;    // -> ZRECENTSLINE
  qint64 message = 0; // -> the call's line in a chat, 0 when there is none
};

// The number and contact of a line of the recent-calls list.
struct ViberRecentsLine {
  QString number;
  qint64 contact = 0;
};

// Contacts of either generation, by key (ZMEMBER or ZPHONENUMBERINDEX).
class CViberContactQuery : public CISQLiteQuery {
public:
  explicit CViberContactQuery(const SqlSchema& schema);
  // Whether the store keeps the newer ZMEMBER table (numbers then come from
  // CViberPhoneQuery).
  bool isMemberGeneration() const { return m_members; }
  const QHash<qint64, ViberContact>& contacts() const { return m_contacts; }
  // Fills in the numbers of the newer generation: the first number of each member.
  void addPhones(const QHash<qint64, QString>& phones);

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  bool m_members;
  QHash<qint64, ViberContact> m_contacts;
};

// The newer generation's numbers: the first number of each member.
class CViberPhoneQuery : public CISQLiteQuery {
public:
  explicit CViberPhoneQuery(const SqlSchema& schema);
  const QHash<qint64, QString>& phones() const { return m_phones; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, QString> m_phones;
};

// The conversations, in row order.
class CViberConversationQuery : public CISQLiteQuery {
public:
  explicit CViberConversationQuery(const SqlSchema& schema);
  const QVector<ViberConversation>& conversations() const { return m_conversations; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QVector<ViberConversation> m_conversations;
};

// The members of each group: contact keys by conversation key. The join
// table is numbered by entity (Z_5PHONENUMINDEXES in the stores seen); another
// numbering is found by its shape.
class CViberGroupMemberQuery : public CCoreDataJoinQuery {
public:
  CViberGroupMemberQuery();
};

class CViberAttachmentQuery : public CISQLiteQuery {
public:
  explicit CViberAttachmentQuery(const SqlSchema& schema);
  const QHash<qint64, ViberAttachment>& attachments() const { return m_attachments; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, ViberAttachment> m_attachments;
};

class CViberLocationQuery : public CISQLiteQuery {
public:
  explicit CViberLocationQuery(const SqlSchema& schema);
  const QHash<qint64, ViberLocation>& locations() const { return m_locations; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, ViberLocation> m_locations;
};

// The messages by conversation, each list in ascending date (then key).
class CViberMessageQuery : public CISQLiteQuery {
public:
  explicit CViberMessageQuery(const SqlSchema& schema);
  const QHash<qint64, QVector<ViberMessage>>& byConversation() const { return m_byConversation; }
  int messageCount() const { return m_count; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, QVector<ViberMessage>> m_byConversation;
  int m_count = 0;
};

// The calls, newest first.
class CViberCallQuery : public CISQLiteQuery {
public:
  explicit CViberCallQuery(const SqlSchema& schema);
  const QVector<ViberCall>& calls() const { return m_calls; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QVector<ViberCall> m_calls;
};

class CViberRecentsLineQuery : public CISQLiteQuery {
public:
  explicit CViberRecentsLineQuery(const SqlSchema& schema);
  const QHash<qint64, ViberRecentsLine>& lines() const { return m_lines; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, ViberRecentsLine> m_lines;
};

// Who a call's chat line is with: for each message that is a call's line, its
// sender and its conversation's partner.
class CViberCallPartnerQuery : public CISQLiteQuery {
public:
  CViberCallPartnerQuery();
  // The contact key of the message's sender, else of its conversation's partner; 0 when unknown.
  const QHash<qint64, qint64>& partners() const { return m_partners; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QHash<qint64, qint64> m_partners;
};
