#pragma once
// CWeixiniTunesCollection: WeChat's data in an opened device backup.
//
// load() keeps the files of the app's container ("AppDomain-com.tencent.xin")
// from the backup's records (empty records are passed over), hands them to the
// social-app library as its file source, and reads every account into the
// registry's WeChat list. Databases are copied (with the -wal and -shm
// companions the backup holds) below the temporary root's "Weixin" folder,
// each under its folder in the container, so that the same database name of
// two accounts never shares a copy.
#include "backup/cidatacollection.h"
#include "platform/wechat/weixin.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/wechat/weixincollection.h"

class MobileBackup;
class OxBackup;
struct BackupFileRecord;

class CWeixiniTunesCollection : public CIDataCollection, public CWeixinCollection, public WxFileSource {
public:
  // The registry is not owned; its WeChat list receives the chats.
  explicit CWeixiniTunesCollection(OxBackup* registry);
  ~CWeixiniTunesCollection() override;

  // Scans the backup and reads the chats. The backup is not owned.
  void load(MobileBackup* backup) override;

  // The file source over the backup's records.
  QStringList files() override;
  QString localPath(const QString& relativePath) override;
  QString databasePath(const QString& relativePath) override;

  // The steps of load(), for tests.
  void setBackup(MobileBackup* backup) { m_backup = backup; }
  void scanFiles();

private:
  MobileBackup* m_backup = nullptr; // not owned
  MessengerFiles m_files;           // "/" + relative path -> backup record
  OxBackup* m_registry;             // not owned
};
