#include "readers/whatsapp/whatsappdeleted.h"

#include "platform/common/log.h"
#include "platform/sqlitecarve/sqlitecarver.h"

#include <sqlite3.h>

#include <algorithm>
#include <climits>

using sqlitecarve::CarvedRecord;
using sqlitecarve::CarvedRow;
using sqlitecarve::TableLayout;

namespace {
const char kModule[] = "WhatsappService";

// What a reader sees of a message: chat, date, kind, direction and text, as
// a 64-bit digest.
quint64 shownKey(const WAMessage& m) {
  const uint a = qHash(m.text, uint(m.messageType) * 31u + uint(m.isFromMe != 0));
  const uint b = qHash(qint64(m.messageDate * 1000.0)) ^ qHash(m.chatSession, 0x5bd1e995u);
  return (quint64(a) << 32) | b;
}

void tune(TableLayout& layout, const QString& path) {
  sqlitecarve::tuneForCoreData(layout, path);
}
} // namespace

CWADeletedRecords::~CWADeletedRecords() {
  qDeleteAll(m_messages);
  qDeleteAll(m_sessions);
  qDeleteAll(m_keyless);
}

void CWADeletedRecords::noteLive(const WAMessage& live) {
  m_shown.insert(shownKey(live));
}

void CWADeletedRecords::read(const QString& path) {
  // Every session the store has, hidden and removed ones included.
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "select z_pk from zwachatsession", -1, &stmt, nullptr) == SQLITE_OK) {
      while (sqlite3_step(stmt) == SQLITE_ROW)
        m_liveSessions.insert(sqlite3_column_int64(stmt, 0));
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);

  QString error;
  TableLayout sessionLayout;
  const QVector<CarvedRecord> sessions = sqlitecarve::carveTable(
      path, QStringLiteral("ZWACHATSESSION"),
      [&](TableLayout& s) {
        tune(s, path);
        sessionLayout = s;
      },
      &error);
  if (!error.isEmpty())
    Log(kModule, 1, "No deleted chats: %s", qPrintable(error));
  for (const CarvedRecord& r : sessions) {
    if (r.hasRowid && (m_liveSessions.contains(r.rowid) || m_sessions.contains(r.rowid)))
      continue;
    const CarvedRow row(sessionLayout, r);
    if (row.integer(QStringLiteral("ZHIDDEN")) != 0)
      continue;
    if (!r.hasRowid) {
      const QString jid = row.text(QStringLiteral("ZCONTACTJID"));
      if (jid.isEmpty() || m_keyless.contains(jid))
        continue;
      auto* s = new WAChatSession;
      s->contactJid = jid;
      s->partnerName = row.text(QStringLiteral("ZPARTNERNAME"));
      s->contactAbId = row.integer(QStringLiteral("ZCONTACTABID"));
      s->sessionType = int(row.integer(QStringLiteral("ZSESSIONTYPE")));
      m_keyless.insert(jid, s);
      continue;
    }
    auto* s = new WAChatSession;
    s->pk = r.rowid;
    s->contactAbId = row.integer(QStringLiteral("ZCONTACTABID"));
    s->sessionType = int(row.integer(QStringLiteral("ZSESSIONTYPE")));
    s->partnerName = row.text(QStringLiteral("ZPARTNERNAME"));
    s->contactJid = row.text(QStringLiteral("ZCONTACTJID"));
    s->removed = int(row.integer(QStringLiteral("ZREMOVED")));
    m_sessions.insert(s->pk, s);
  }

  error.clear();
  TableLayout messageLayout;
  const QVector<CarvedRecord> carved = sqlitecarve::carveTable(
      path, QStringLiteral("ZWAMESSAGE"),
      [&](TableLayout& s) {
        tune(s, path);
        s.require(QStringLiteral("ZCHATSESSION"), 1, s.maxRowid > 0 ? s.maxRowid : INT_MAX);
        messageLayout = s;
      },
      &error);
  if (!error.isEmpty())
    Log(kModule, 1, "No deleted messages: %s", qPrintable(error));
  if (carved.isEmpty())
    return;

  // Messages with their key first, so that a keyless copy of one of them is
  // recognised as such.
  QVector<const CarvedRecord*> order;
  for (const CarvedRecord& r : carved)
    order.append(&r);
  std::stable_sort(order.begin(), order.end(),
                   [](const CarvedRecord* a, const CarvedRecord* b) { return a->hasRowid && !b->hasRowid; });
  for (const CarvedRecord* r : order) {
    const CarvedRow row(messageLayout, *r);
    auto* m = new WAMessage;
    m->pk = r->hasRowid ? r->rowid : 0;
    m->groupEventType = int(row.integer(QStringLiteral("ZGROUPEVENTTYPE")));
    m->isFromMe = int(row.integer(QStringLiteral("ZISFROMME")));
    m->messageStatus = int(row.integer(QStringLiteral("ZMESSAGESTATUS")));
    m->messageType = int(row.integer(QStringLiteral("ZMESSAGETYPE")));
    m->chatSession = row.integer(QStringLiteral("ZCHATSESSION"));
    m->groupMember = row.integer(QStringLiteral("ZGROUPMEMBER"));
    m->mediaItem = row.integer(QStringLiteral("ZMEDIAITEM"));
    m->parentMessage = row.integer(QStringLiteral("ZPARENTMESSAGE"));
    m->messageDate = row.real(QStringLiteral("ZMESSAGEDATE"));
    m->text = row.text(QStringLiteral("ZTEXT"));
    m->toJid = row.text(QStringLiteral("ZTOJID"));
    // A version of a live message that shows the same (its status
    // changed), or a copy of a message already listed, is no news.
    const quint64 key = shownKey(*m);
    if (m_shown.contains(key)) {
      delete m;
      continue;
    }
    m_shown.insert(key);
    const QString partner = m->isFromMe ? m->toJid : row.text(QStringLiteral("ZFROMJID"));
    if (!partner.isEmpty() && !m_partnerOf.contains(m->chatSession))
      m_partnerOf.insert(m->chatSession, partner);
    m_messages.append(m);
    m_bySession[m->chatSession].append(m);
  }
  for (auto& list : m_bySession) {
    std::stable_sort(list.begin(), list.end(),
                     [](const WAMessage* a, const WAMessage* b) { return a->messageDate < b->messageDate; });
  }
  Log(kModule, 1, "%s: %d deleted messages, %d deleted chats recovered", qPrintable(path), m_messages.size(),
      m_sessions.size() + m_keyless.size());
}

const WAChatSession* CWADeletedRecords::recoveredSession(qint64 pk) const {
  if (const WAChatSession* s = m_sessions.value(pk, nullptr))
    return s;
  return m_keyless.value(m_partnerOf.value(pk), nullptr);
}

QList<qint64> CWADeletedRecords::deletedSessions() const {
  QList<qint64> keys = m_sessions.keys();
  for (auto it = m_bySession.constBegin(); it != m_bySession.constEnd(); ++it) {
    if (!m_liveSessions.contains(it.key()) && !m_sessions.contains(it.key()))
      keys.append(it.key());
  }
  std::sort(keys.begin(), keys.end());
  return keys;
}
