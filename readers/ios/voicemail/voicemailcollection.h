#pragma once
// CVoiceMailCollection: the visual-voicemail recordings of the phone
// (HomeDomain Library/Voicemail/<ROWID>.amr), listed as file items after the
// calls in the call list, under the first layer "Voice Mail".
//
// When the backup holds Library/Voicemail/voicemail.db, a recording's "Phone"
// column shows the caller's number from the row whose ROWID is the recording's
// file name; without the database, or for a recording without a row, it stays
// empty.
#include "backup/cisqlitequery.h"
#include "readers/ios/files/filecollection.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

class OxData;

struct VoicemailRecord {
  qint64 rowId = 0;
  qint64 date = 0; // Unix seconds
  QString sender;  // the caller's number
  QString callbackNumber;
  qint64 duration = 0; // seconds
  qint64 trashedDate = 0;
  qint64 flags = 0;
};

// Table voicemail of voicemail.db, by ROWID.
class CVoicemailQuery : public CISQLiteQuery {
public:
  CVoicemailQuery();
  ~CVoicemailQuery() override;
  const QHash<qint64, VoicemailRecord*>& records() const { return m_records; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<VoicemailRecord*> m_owned;
  QHash<qint64, VoicemailRecord*> m_records;
};

class CVoiceMailCollection : public CFileCollection {
public:
  explicit CVoiceMailCollection(OxData* list);
  ~CVoiceMailCollection() override;

  void load(MobileBackup* backup) override;
  // Reads the callers' numbers from a copy of voicemail.db.
  void loadVoicemailDb(const QString& path);
  // The caller of the recording "<rowId>.amr"; empty when unknown.
  QString senderOf(const QString& recordingName) const;

protected:
  void fillItem(OxFileItem* item, const BackupFileRecord& record) override;

private:
  QHash<qint64, QString> m_senders; // ROWID -> caller
  QSet<qint64> m_seen;              // ROWIDs of the recordings listed
};
