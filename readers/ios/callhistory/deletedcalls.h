#pragma once
// The calls that the phone deleted but a call store (or its log) still holds,
// carved out of the database's free space (platform/sqlitecarve) and turned
// into the same records the queries make.
//
// What is kept: a call that no live or other recovered call shows (date in
// whole seconds, address, duration and direction). Dropped: an older version
// of a live row (its key is live: the same call with another read mark or
// revision), and a copy of a call already listed, whether its key survived
// or not (a free block's header overwrites it). The newer store's rows must
// carry the Core Data marks (entity, revision, a key the store handed out);
// the older store's a date and flags, and a key not above the table's
// AUTOINCREMENT counter.
#include "readers/ios/callhistory/callhistoryqueries.h"

#include <QList>
#include <QString>

class CDeletedCalls {
public:
  CDeletedCalls() = default;
  ~CDeletedCalls();
  CDeletedCalls(const CDeletedCalls&) = delete;
  CDeletedCalls& operator=(const CDeletedCalls&) = delete;

  // Carves ZCALLRECORD of CallHistory.storedata (olderStore false) or "call"
  // of call_history.db; live: the calls the query read from the same file. A
  // store that cannot be carved is logged and gives nothing.
  void read(const QString& path, bool olderStore, const QList<CallRecord*>& live);

  // The recovered calls, newest first.
  const QList<CallRecord*>& records() const { return m_records; }

private:
  QList<CallRecord*> m_records; // owned
};
