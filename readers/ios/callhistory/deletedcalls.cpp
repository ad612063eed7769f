#include "readers/ios/callhistory/deletedcalls.h"

#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/sqlitecarve/sqlitecarver.h"
#include "readers/ios/callhistory/phonenumber.h"

#include <QSet>

#include <sqlite3.h>

#include <algorithm>

using sqlitecarve::CarvedRecord;
using sqlitecarve::CarvedRow;
using sqlitecarve::TableLayout;

namespace {
const char kModule[] = "iTunesBackup";
// Dates after 2100-01-01 are not a call's.
const qint64 kLastUnixSecond = 4102444800LL;
const double kLastSecondSince2001 = 3124137600.0;

// What a reader sees of a call, as one text.
QString shownKey(const CallRecord& r) {
  return QStringLiteral("%1|%2|%3|%4")
      .arg(r.date.toSecsSinceEpoch())
      .arg(qRound64(r.duration * 1000))
      .arg(r.originated ? 1 : 0)
      .arg(r.address);
}

// The largest key the older store's AUTOINCREMENT handed out, 0 when unknown.
qint64 autoincrementCounter(const QString& path, const char* table) {
  qint64 seq = 0;
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "select seq from sqlite_sequence where name = ?", -1, &stmt, nullptr) == SQLITE_OK) {
      sqlite3_bind_text(stmt, 1, table, -1, SQLITE_STATIC);
      if (sqlite3_step(stmt) == SQLITE_ROW)
        seq = sqlite3_column_int64(stmt, 0);
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  return seq;
}

// A row of ZCALLRECORD as the newer store's query reads it; false when it is
// no call (no date, or one out of range).
bool newerRecord(const CarvedRow& row, CallRecord* r) {
  const double date = row.real(QStringLiteral("ZDATE"));
  const double duration = row.real(QStringLiteral("ZDURATION"));
  if (!(date > 0 && date < kLastSecondSince2001) || !(duration >= 0 && duration < 1e8))
    return false;
  r->answered = row.integer(QStringLiteral("ZANSWERED")) != 0;
  r->callType = int(row.integer(QStringLiteral("ZCALLTYPE")));
  r->faceTimeData = !row.isNull(QStringLiteral("ZFACE_TIME_DATA"));
  r->originated = row.integer(QStringLiteral("ZORIGINATED")) != 0;
  // Whole seconds, as the query reads them.
  r->date = CCommonUtils::buildDateTimeBase2001(qint64(date));
  r->duration = duration;
  r->address = row.text(QStringLiteral("ZADDRESS"));
  r->countryCode = row.text(QStringLiteral("ZISO_COUNTRY_CODE"));
  r->name = row.text(QStringLiteral("ZNAME"));
  if (row.has(QStringLiteral("ZSERVICE_PROVIDER"))) {
    r->hasServiceProvider = true;
    r->serviceProvider = row.text(QStringLiteral("ZSERVICE_PROVIDER"));
  }
  if (row.has(QStringLiteral("ZLOCATION"))) {
    const QString location = row.text(QStringLiteral("ZLOCATION"));
    r->hasLocation = true;
    r->location = location == QLatin1String(CCallHistoryQuery::kNoLocation) ? QString() : location;
  }
  return true;
}

// A row of "call" as the older store's query reads it.
bool olderRecord(const CarvedRow& row, CallRecord* r) {
  const qint64 date = row.integer(QStringLiteral("date"));
  const double duration = row.real(QStringLiteral("duration"));
  if (date <= 0 || date > kLastUnixSecond || !(duration >= 0 && duration < 1e8))
    return false;
  r->address = row.text(QStringLiteral("address"));
  r->date = CCommonUtils::buildDateTimeBaseUnixEx(date);
  r->duration = duration;
  const qint64 flags = row.integer(QStringLiteral("flags"));
  r->personId = row.has(QStringLiteral("id")) && !row.isNull(QStringLiteral("id")) ? row.integer(QStringLiteral("id"))
                                                                                   : -1;
  r->name = row.text(QStringLiteral("name"));
  const QVariant faceTime = row.value(QStringLiteral("face_time_data"));
  const bool faceTimeBlob = faceTime.type() == QVariant::ByteArray && !faceTime.toByteArray().isEmpty();
  r->originated = (flags & COldCallHistoryQuery::FlagOutgoing) != 0;
  r->answered = !r->originated && r->duration > 0;
  r->callType = 1;
  r->faceTimeData = (flags & COldCallHistoryQuery::FlagFaceTime) != 0 || faceTimeBlob;
  const CPhoneNumber number(r->address);
  if (!number.callingCode().isEmpty()) {
    r->hasLocation = true;
    r->location = CPhoneNumber::countryNameOfCallingCode(number.callingCode());
  }
  return true;
}
} // namespace

CDeletedCalls::~CDeletedCalls() { qDeleteAll(m_records); }

void CDeletedCalls::read(const QString& path, bool olderStore, const QList<CallRecord*>& live) {
  QSet<QString> shown;
  for (const CallRecord* r : live)
    shown.insert(shownKey(*r));

  QString error;
  TableLayout layout;
  const QVector<CarvedRecord> carved = sqlitecarve::carveTable(
      path, QString::fromLatin1(olderStore ? "call" : "ZCALLRECORD"),
      [&](TableLayout& t) {
        if (olderStore) {
          t.require(QStringLiteral("date"), 1, kLastUnixSecond);
          t.require(QStringLiteral("flags"), 0, 1 << 20);
          t.maxRowid = autoincrementCounter(path, "call");
        } else {
          sqlitecarve::tuneForCoreData(t, path);
          if (sqlitecarve::ColumnLayout* date = t.column(QStringLiteral("ZDATE")))
            date->notNull = true;
        }
        layout = t;
      },
      &error);
  if (!error.isEmpty()) {
    Log(kModule, 1, "No deleted calls: %s", qPrintable(error));
    return;
  }
  for (const CarvedRecord* c : sqlitecarve::deletedRowsKeyedFirst(carved)) {
    const CarvedRow row(layout, *c);
    auto* r = new CallRecord;
    r->pk = c->hasRowid ? c->rowid : 0;
    const bool fits = olderStore ? olderRecord(row, r) : newerRecord(row, r);
    const QString key = fits ? shownKey(*r) : QString();
    if (!fits || shown.contains(key)) {
      delete r;
      continue;
    }
    shown.insert(key);
    m_records.append(r);
  }
  std::stable_sort(m_records.begin(), m_records.end(),
                   [](const CallRecord* a, const CallRecord* b) { return a->date > b->date; });
  Log(kModule, 1, "%s: %d deleted calls recovered", qPrintable(path), m_records.size());
}
