#include "readers/ios/voicemail/voicemailcollection.h"

#include "model/oxfileitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "platform/common/utils.h"

#include <QFile>
#include <QFileInfo>

namespace {
const char kModule[] = "iTunesBackup";
} // namespace

// ---- voicemail.db ----

CVoicemailQuery::CVoicemailQuery() {
  m_sqls << QStringLiteral("select ROWID, date, sender, callback_num, duration, trashed_date, flags from voicemail");
  m_countSqls << QStringLiteral("select count(*) from voicemail");
}

CVoicemailQuery::~CVoicemailQuery() { qDeleteAll(m_owned); }

bool CVoicemailQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow c(stmt);
  auto* r = new VoicemailRecord;
  r->rowId = c.int64();
  r->date = c.int64();
  r->sender = c.text();
  r->callbackNumber = c.text();
  r->duration = c.int64();
  r->trashedDate = c.int64();
  r->flags = c.int64();
  m_owned.append(r);
  m_records.insert(r->rowId, r);
  return true;
}

// ---- recordings ----

CVoiceMailCollection::CVoiceMailCollection(OxData* list)
    : CFileCollection(QStringLiteral("HomeDomain"), QStringLiteral("Library/Voicemail/")) {
  m_extensions << QStringLiteral("amr");
  m_list = list;
}

CVoiceMailCollection::~CVoiceMailCollection() = default;

void CVoiceMailCollection::load(MobileBackup* backup) {
  if (!backup)
    return;
  const QString db = backup->generalSqlDbFile(Utils::tempPath() + QStringLiteral("Voicemail"), m_domain,
                                              QStringLiteral("Library/Voicemail/voicemail.db"));
  if (!db.isEmpty() && QFile::exists(db))
    loadVoicemailDb(db);
  m_seen.clear();
  CFileCollection::load(backup);
  // Messages the database lists but whose recording the backup lacks (never
  // downloaded from the carrier, or left out of the backup).
  for (auto it = m_senders.constBegin(); it != m_senders.constEnd(); ++it)
    if (!m_seen.contains(it.key()))
      Log(kModule, 1, "Voicemail %lld from %s has no recording in the backup", it.key(),
          it.value().toUtf8().constData());
}

void CVoiceMailCollection::loadVoicemailDb(const QString& path) {
  CVoicemailQuery query;
  query.query({path}, nullptr);
  for (const VoicemailRecord* r : query.records())
    m_senders.insert(r->rowId, r->sender);
  Log(kModule, 1, "voicemail.db: %d messages", int(m_senders.size()));
}

QString CVoiceMailCollection::senderOf(const QString& recordingName) const {
  bool ok = false;
  const qint64 rowId = QFileInfo(recordingName).completeBaseName().toLongLong(&ok);
  return ok ? m_senders.value(rowId) : QString();
}

void CVoiceMailCollection::fillItem(OxFileItem* item, const BackupFileRecord& record) {
  bool ok = false;
  const qint64 rowId = QFileInfo(record.fileName()).completeBaseName().toLongLong(&ok);
  if (ok)
    m_seen.insert(rowId);
  const QString sender = senderOf(record.fileName());
  if (!sender.isEmpty())
    item->setValue(sender, OxFileItem::ColPhone);
}
