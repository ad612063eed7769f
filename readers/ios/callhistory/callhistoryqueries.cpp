#include "readers/ios/callhistory/callhistoryqueries.h"

#include "platform/common/commonutils.h"
#include "platform/common/sqlrow.h"
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
  SqlStatement locations(db, QStringLiteral("select z_pk, zlocation from zcallrecord"));
  while (locations.step()) {
    SqlRow r(locations);
    const qint64 pk = r.int64();
    m_locations.insert(pk, r.text());
  }
  m_hasServiceProvider = SqlUtils::hasColumn(db, QStringLiteral("zcallrecord"), QStringLiteral("zservice_provider"));
  return m_hasServiceProvider ? QString::fromLatin1(kNewSelectWithProvider) : QString();
}

bool CCallHistoryQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow c(stmt);
  auto* r = new CallRecord;
  r->answered = c.int64() != 0;
  r->callType = c.integer();
  r->faceTimeData = !c.isNull();
  c.skip();
  r->originated = c.int64() != 0;
  // Whole seconds: the fraction of the start time is dropped.
  r->date = CCommonUtils::buildDateTimeBase2001(double(c.int64()));
  r->duration = c.real();
  r->address = c.text(); // text or blob, depending on the row
  r->countryCode = c.text();
  r->name = c.text();
  r->pk = c.int64();
  if (m_hasServiceProvider) {
    r->hasServiceProvider = true;
    r->serviceProvider = c.text();
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
