#pragma once
// The WhatsApp rows that the app deleted but ChatStorage.sqlite (or its log)
// still holds: messages and chat sessions, carved out of the database's free
// space (platform/sqlitecarve) and turned into the same records the queries
// make.
//
// What is kept:
//  - a message that shows something no live or other recovered message shows
//    (chat, date, type, direction and text, compared as a 64-bit digest): a
//    message deleted, or an earlier version of a live one (a text edited, or
//    revoked and replaced by the notice that it was deleted). Versions that
//    differ in delivery status only are the live message itself and are
//    dropped, whether their key survived or not (a free block's header
//    overwrites it);
//  - a session whose key no session of the store has, unless it is hidden.
// Sessions the store still has (also hidden or removed ones) take their
// recovered messages; the others are "deleted chats".
#include "readers/whatsapp/whatsappqueries.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

class CWADeletedRecords {
public:
  CWADeletedRecords() = default;
  ~CWADeletedRecords();
  CWADeletedRecords(const CWADeletedRecords&) = delete;
  CWADeletedRecords& operator=(const CWADeletedRecords&) = delete;

  // What the live messages show, noted as their rows are read.
  void noteLive(const WAMessage& live);
  // Carves the database at path. A database that cannot be read is logged
  // and gives nothing.
  void read(const QString& path);

  // Recovered messages of a session, oldest first.
  QList<WAMessage*> messagesOf(qint64 session) const { return m_bySession.value(session); }
  // Keys of the sessions the store no longer has that recovered messages or
  // sessions name, in ascending order.
  QList<qint64> deletedSessions() const;
  // The recovered session of a key, or null when only messages name it. A
  // session whose key was lost is found through its partner's jid, which the
  // recovered messages of the key name (sender of one received, recipient of
  // one sent).
  const WAChatSession* recoveredSession(qint64 pk) const;
  int messageCount() const { return m_messages.size(); }

private:
  QList<WAMessage*> m_messages; // owned
  QHash<qint64, QList<WAMessage*>> m_bySession;
  QHash<qint64, WAChatSession*> m_sessions; // owned
  QHash<QString, WAChatSession*> m_keyless; // by partner jid, owned
  QHash<qint64, QString> m_partnerOf;       // session key -> partner jid from its messages
  QSet<qint64> m_liveSessions;
  QSet<quint64> m_shown; // digests of what live and kept messages show
};
