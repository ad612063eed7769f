#include "readers/ios/callhistory/callhistoryqueries.h"

#include "platform/common/commonutils.h"
#include "platform/common/sqlrow.h"
#include "platform/common/sqlutils.h"
#include "readers/ios/callhistory/phonenumber.h"

#include <QStringList>

#include <sqlite3.h>

namespace {
const char kTelephony[] = "com.apple.Telephony";

const char kNewColumns[] = "select zanswered, zcalltype, zface_time_data, zoriginated, zdate, zduration, zaddress, "
                           "ziso_country_code, zname, z_pk";
const char kNewOrder[] = " from zcallrecord order by zdate desc";
} // namespace

bool CallRecord::isFaceTime() const {
  if (hasServiceProvider && serviceProvider == QLatin1String(kTelephony))
    return false;
  return faceTimeData;
}

// ---- CallHistory.storedata ----

const char CCallHistoryQuery::kNoLocation[] = "<<RecentsNumberLocationNotFound>>";

CCallHistoryQuery::CCallHistoryQuery() {
  m_sqls << QString::fromLatin1(kNewColumns) + QLatin1String(kNewOrder);
  m_countSqls << QStringLiteral("select count(*) from zcallrecord");
}

CCallHistoryQuery::~CCallHistoryQuery() = default;

QString CCallHistoryQuery::customSql(sqlite3* db) {
  // The provider and location columns follow the others when the store has them.
  m_hasServiceProvider = SqlUtils::hasColumn(db, QStringLiteral("zcallrecord"), QStringLiteral("zservice_provider"));
  m_hasLocation = SqlUtils::hasColumn(db, QStringLiteral("zcallrecord"), QStringLiteral("zlocation"));
  if (!m_hasServiceProvider && !m_hasLocation)
    return QString();
  QString sql = QString::fromLatin1(kNewColumns);
  if (m_hasServiceProvider)
    sql += QLatin1String(", zservice_provider");
  if (m_hasLocation)
    sql += QLatin1String(", zlocation");
  return sql + QLatin1String(kNewOrder);
}

bool CCallHistoryQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow c(stmt);
  m_storage.emplace_back();
  CallRecord* r = &m_storage.back();
  r->answered = c.int64() != 0;
  r->callType = c.integer();
  r->faceTimeData = !c.isNull();
  c.skip();
  r->originated = c.int64() != 0;
  // Whole seconds: the fraction of the start time is dropped.
  r->date = CCommonUtils::buildDateTimeBase2001(double(c.int64()));
  r->duration = c.real();
  r->address = c.text(); // text or blob, depending on the row
  r->countryCode = c.text(m_repeated);
  r->name = c.text();
  r->pk = c.int64();
  if (m_hasServiceProvider) {
    r->hasServiceProvider = true;
    r->serviceProvider = c.text(m_repeated);
  }
  if (m_hasLocation) {
    r->hasLocation = true;
    const QString location = c.text(m_repeated);
    if (location != QLatin1String(kNoLocation))
      r->location = location;
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
  SqlRow c(stmt);
  auto* r = new CallRecord;
  r->pk = c.int64();
  r->address = c.text();
  r->date = CCommonUtils::buildDateTimeBaseUnixEx(c.int64());
  r->duration = c.real();
  const qint64 flags = c.int64();
  r->personId = c.int64Or(-1);
  r->name = c.text();
  const bool faceTimeBlob = c.type() == SqlRow::Blob && !c.blob().isEmpty();
  r->originated = (flags & FlagOutgoing) != 0;
  // The store keeps no answered mark: an incoming call that lasted was answered.
  r->answered = !r->originated && r->duration > 0;
  // No audio-only FaceTime in this generation.
  r->callType = 1;
  r->faceTimeData = (flags & FlagFaceTime) != 0 || faceTimeBlob;
  // No place names either; an international number at least tells its country.
  const CPhoneNumber number(r->address);
  if (!number.callingCode().isEmpty()) {
    r->hasLocation = true;
    r->location = CPhoneNumber::countryNameOfCallingCode(number.callingCode());
  }
  m_records.append(r);
  return true;
}
