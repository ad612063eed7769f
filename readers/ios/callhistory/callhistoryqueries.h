#pragma once
// The queries of the two call stores and the one record both fill.
//
// CallHistory.storedata (Core Data, table ZCALLRECORD) is the store of every
// system since iOS 8; call_history.db (table "call") the older one. Both give a
// CallRecord per call, newest first, with the generation's own columns mapped
// onto the same fields, so that one set of rules turns either into an item.
#include "backup/cisqlitequery.h"
#include "platform/common/sqlrow.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <deque>

struct CallRecord {
  qint64 pk = 0;
  bool answered = false;
  bool originated = false;         // placed by the phone's owner
  int callType = 0;                // 1 telephone, 8 FaceTime video, 16 FaceTime audio, 0 app call
  bool faceTimeData = false;       // the FaceTime column is not NULL
  bool hasServiceProvider = false; // the store records the provider of each call
  QString serviceProvider;         // com.apple.Telephony, com.apple.FaceTime, an app's bundle id
  QDateTime date;                  // UTC, whole seconds
  double duration = 0;             // seconds
  QString address;                 // number or e-mail address, as stored
  QString countryCode;             // two-letter country of the number (newer store)
  QString name;                    // name stored with the call
  bool hasLocation = false;        // the store has a location row for the call
  QString location;
  qint64 personId = -1; // address-book row id (older store), -1 when none

  // A FaceTime call: the store says so by a non-NULL FaceTime column, except
  // that stores of iOS 14 and later write 0 there for ordinary telephone calls,
  // which their provider column marks as such.
  bool isFaceTime() const;
};

// ZCALLRECORD of CallHistory.storedata, newest first, with each call's
// provider and location where the store has those columns (the marker that
// the phone found no location becomes an empty text).
class CCallHistoryQuery : public CISQLiteQuery {
public:
  static const char kNoLocation[]; // "<<RecentsNumberLocationNotFound>>"

  CCallHistoryQuery();
  ~CCallHistoryQuery() override;
  const QList<CallRecord*>& records() const { return m_records; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;
  QString customSql(sqlite3* db) override;

private:
  std::deque<CallRecord> m_storage; // the records, in one block per few dozen
  QList<CallRecord*> m_records;     // into m_storage
  SqlTextCache m_repeated;          // country codes, providers, places
  bool m_hasServiceProvider = false;
  bool m_hasLocation = false;
};

// Table "call" of call_history.db, newest first. Flags: bit value 1 set for a
// call the owner placed; 16 for FaceTime. An incoming call that lasted 0
// seconds was missed. Columns that the oldest schemas lack read as NULL.
class COldCallHistoryQuery : public CISQLiteQuery {
public:
  enum Flag { FlagOutgoing = 1, FlagFaceTime = 16 };

  COldCallHistoryQuery();
  ~COldCallHistoryQuery() override;
  const QList<CallRecord*>& records() const { return m_records; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;
  QString customSql(sqlite3* db) override;

private:
  QList<CallRecord*> m_records;
};
