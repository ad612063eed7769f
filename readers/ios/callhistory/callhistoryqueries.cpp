#include "readers/ios/callhistory/callhistoryqueries.h"

#include "platform/common/commonutils.h"
#include "platform/common/sqlutils.h"
#include "readers/ios/callhistory/phonenumber.h"

#include <QStringList>

#include <sqlite3.h>

namespace {
const char kTelephony[] = "com.apple.Telephony";

const char kNewSelect[] = "select zanswered, zcalltype, zface_time_data, zoriginated, zdate, zduration, zaddress, "
                          "ziso_country_code, zname, z_pk from zcallrecord order by zdate desc";
const char kNewSelectWithProvider[] = "select zanswered, zcalltype, zface_time_data, zoriginated, zdate, zduration, "
                                      "zaddress, ziso_country_code, zname, z_pk, zservice_provider from zcallrecord "
                                      "order by zdate desc";
} // namespace

bool CallRecord::isFaceTime() const {
  if (hasServiceProvider && serviceProvider == QLatin1String(kTelephony))
    return false;
  return faceTimeData;
}

// ---- CallHistory.storedata ----

const char CCallHistoryQuery::kNoLocation[] = "<<RecentsNumberLocationNotFound>>";

CCallHistoryQuery::CCallHistoryQuery() {
  m_sqls << QString::fromLatin1(kNewSelect);
  m_countSqls << QStringLiteral("select count(*) from zcallrecord");
}

CCallHistoryQuery::~CCallHistoryQuery() { qDeleteAll(m_records); }

QString CCallHistoryQuery::customSql(sqlite3* db) {
  m_locations.clear();
  sqlite3_stmt* stmt = nullptr;
  if (SqlUtils::prepareSqlite(db, "select z_pk, zlocation from zcallrecord", -1, &stmt, nullptr) == 0) {
    while (sqlite3_step(stmt) == SQLITE_ROW)
      m_locations.insert(sqlite3_column_int64(stmt, 0), columnText(stmt, 1));
    sqlite3_finalize(stmt);
  }
  m_hasServiceProvider = SqlUtils::hasColumn(db, QStringLiteral("zcallrecord"), QStringLiteral("zservice_provider"));
  return m_hasServiceProvider ? QString::fromLatin1(kNewSelectWithProvider) : QString();
}

bool CCallHistoryQuery::onRow(sqlite3_stmt* stmt) {
  auto* r = new CallRecord;
  r->answered = sqlite3_column_int64(stmt, 0) != 0;
  r->callType = sqlite3_column_int(stmt, 1);
  r->faceTimeData = sqlite3_column_type(stmt, 2) != SQLITE_NULL;
  r->originated = sqlite3_column_int64(stmt, 3) != 0;
  // Whole seconds: the fraction of the start time is dropped.
  r->date = CCommonUtils::buildDateTimeBase2001(double(sqlite3_column_int64(stmt, 4)));
  r->duration = sqlite3_column_double(stmt, 5);
  r->address = columnText(stmt, 6); // text or blob, depending on the row
  r->countryCode = columnText(stmt, 7);
  r->name = columnText(stmt, 8);
  r->pk = sqlite3_column_int64(stmt, 9);
  if (m_hasServiceProvider) {
    r->hasServiceProvider = true;
    r->serviceProvider = columnText(stmt, 10);
  }
  const auto location = m_locations.constFind(r->pk);
  if (location != m_locations.constEnd()) {
    r->hasLocation = true;
    r->location = location.value() == QLatin1String(kNoLocation) ? QString() : location.value();
  }
  m_records.append(r);
  return true;
}

// ---- call_history.db ----

COldCallHistoryQuery::COldCallHistoryQuery() {
  m_sqls << QStringLiteral("select ROWID, address, date, duration, flags, id, name, face_time_data from call "
                           "order by date desc");
  m_countSqls << QStringLiteral("select count(*) from call");
}

COldCallHistoryQuery::~COldCallHistoryQuery() { qDeleteAll(m_records); }

QString COldCallHistoryQuery::customSql(sqlite3* db) {
  // The first systems wrote neither the cached name nor the FaceTime column.
  static const char* const kOptional[] = {"id", "name", "face_time_data"};
  QStringList select{QStringLiteral("ROWID"), QStringLiteral("address"), QStringLiteral("date"),
                     QStringLiteral("duration"), QStringLiteral("flags")};
  bool missing = false;
  for (const char* column : kOptional) {
    const QString name = QString::fromLatin1(column);
    if (SqlUtils::hasColumn(db, QStringLiteral("call"), name)) {
      select << name;
    } else {
      select << (name == QLatin1String("id") ? QStringLiteral("-1") : QStringLiteral("NULL"));
      missing = true;
    }
  }
  if (!missing)
    return QString();
  return QStringLiteral("select %1 from call order by date desc").arg(select.join(QStringLiteral(", ")));
}

bool COldCallHistoryQuery::onRow(sqlite3_stmt* stmt) {
  auto* r = new CallRecord;
  r->pk = sqlite3_column_int64(stmt, 0);
  r->address = columnText(stmt, 1);
  r->date = CCommonUtils::buildDateTimeBaseUnixEx(sqlite3_column_int64(stmt, 2));
  r->duration = sqlite3_column_double(stmt, 3);
  const qint64 flags = sqlite3_column_int64(stmt, 4);
  r->personId = sqlite3_column_type(stmt, 5) == SQLITE_NULL ? -1 : sqlite3_column_int64(stmt, 5);
  r->name = columnText(stmt, 6);
  r->originated = (flags & FlagOutgoing) != 0;
  // The store keeps no answered mark: an incoming call that lasted was answered.
  r->answered = !r->originated && r->duration > 0;
  // No audio-only FaceTime in this generation.
  r->callType = 1;
  r->faceTimeData =
      (flags & FlagFaceTime) != 0 || (sqlite3_column_type(stmt, 7) == SQLITE_BLOB && sqlite3_column_bytes(stmt, 7) > 0);
  // No place names either; an international number at least tells its country.
  const CPhoneNumber number(r->address);
  if (!number.callingCode().isEmpty()) {
    r->hasLocation = true;
    r->location = CPhoneNumber::countryNameOfCallingCode(number.callingCode());
  }
  m_records.append(r);
  return true;
}
