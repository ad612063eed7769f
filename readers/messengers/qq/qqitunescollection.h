#pragma once
// CQQiTunesCollection: QQ's data in an opened device backup.
//
// load() keeps the files of the app's container ("AppDomain-com.tencent.mqq")
// from the backup's records (empty records are passed over), finds each
// account's database (Documents/contents/<QQ number>/QQ.db), copies it with its
// companions below the temporary root's "QQ/<number>" folder and reads the
// accounts one after another, in the order of their numbers, into the
// registry's QQ list. A database of the newer client (nt_msg.db) is encrypted
// and not read.
//
// Media are looked up among the account's files under Documents/<number>/:
// by path, or by a file name's stem (a picture's md5, a file's GUID).
#include "backup/cidatacollection.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/qq/qqcollection.h"

#include <QHash>
#include <QMap>
#include <QStringList>

class MobileBackup;
class OxBackup;

class CQQiTunesCollection : public CIDataCollection, public CQQCollection {
public:
  // The registry is not owned; its QQ list receives the chats.
  explicit CQQiTunesCollection(OxBackup* registry);
  ~CQQiTunesCollection() override;

  // Scans the backup and reads every account. The backup is not owned.
  void load(MobileBackup* backup) override;

  QString dbFilePath(const QString& name) override;
  QString mediaFilePath(const QString& path) override;
  QString findFile(const QString& folder, const QString& stem) override;

  // The steps of load(), for tests: the accounts' QQ numbers after a scan.
  void setBackup(MobileBackup* backup) { m_backup = backup; }
  void scanFiles();
  const QStringList& accounts() const { return m_accounts; }

private:
  MobileBackup* m_backup = nullptr; // not owned
  MessengerFiles m_files;           // "/" + relative path -> backup record
  QStringList m_accounts;           // QQ numbers with a QQ.db
  QHash<QString, QStringList> m_stems; // "<user folder>|<lower-case stem>" -> relative paths, best first
  OxBackup* m_registry;             // not owned
};
