#include "service/whatsappservice.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/backup/nzbackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "readers/whatsapp/whatsappitunescollection.h"
#include "readers/messengers/kik/kikitunescollection.h"
#include "readers/messengers/line/lineitunescollection.h"
#include "readers/messengers/messenger/messengeritunescollection.h"
#include "readers/messengers/viber/viberitunescollection.h"
#include "readers/messengers/qq/qqitunescollection.h"
#include "readers/messengers/wechat/weixinitunescollection.h"
#include "readers/ios/callhistory/calllistcollection.h"
#include "readers/ios/voicemail/voicemailcollection.h"
#include "readers/ios/calendar/calendarcollection.h"
#include "readers/ios/safari/bookmarkcollection.h"
#include "readers/ios/notes/notecollection.h"

#include <QDir>

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace {
const char kModule[] = "WhatsappService";

// ThreadSanitizer does not see into Qt's semaphore (Qt is not built with it):
// these tell it that whatever a load did happens before whoever takes the
// load lock next, as the semaphore guarantees. Nothing in other builds.
#if defined(__SANITIZE_THREAD__)
void lockTaken(void* lock) { __tsan_acquire(lock); }
void lockGiven(void* lock) { __tsan_release(lock); }
#else
void lockTaken(void*) {}
void lockGiven(void*) {}
#endif
} // namespace

struct WhatsappService::Opened {
  std::vector<std::unique_ptr<MobileBackup>> backups;
};

WhatsappService::WhatsappService(const QString& backupIdentifier, bool hostFlag)
    : m_backupIdentifier(backupIdentifier), m_backup(new OxBackup), m_hostFlag(hostFlag), m_opened(new Opened) {}

WhatsappService::~WhatsappService() {
  m_loadLock.acquire();
  lockTaken(&m_loadLock);
  lockGiven(&m_loadLock);
  m_loadLock.release();
  delete m_backup;
  m_backup = nullptr;
  // The notes' decrypted and turned images go with the items that showed them.
  if (!m_scratchFolder.isEmpty() && Utils::isInsideTempPath(m_scratchFolder))
    QDir(m_scratchFolder).removeRecursively();
}

bool WhatsappService::onBeginLoadWhatsappOnly() {
  m_shutdown = false;
  m_msgCountCached = false;
  m_otherCountCached = false;
  m_loadLock.acquire();
  lockTaken(&m_loadLock);
  m_deviceBackupFolder = NzBackup::getDeviceBackupPath(m_backupIdentifier);
  m_mobileBackup = loadMobileBackup(QDir(m_deviceBackupFolder), QString());
  if (!m_mobileBackup)
    return false;
  m_backup->clearAllData();
  // Nothing refers to the files of earlier openings any more.
  auto& opened = m_opened->backups;
  opened.erase(opened.begin(), opened.end() - 1);
  return true;
}

MobileBackup* WhatsappService::loadMobileBackup(const QDir& folder, QString suffix) {
  const QString path = folder.absoluteFilePath(m_backupIdentifier) + suffix;
  Log(kModule, 1, "loadMobileBackup %s", path.toLocal8Bit().constData());
  MobileBackup* backup = MobileBackup::loadFromPath(path, m_password);
  m_lastOpenError = MobileBackup::lastError();
  m_lastOpenErrorCode = MobileBackup::lastErrorCode();
  // Only a bare identifier is a device's name that a tool may have written
  // without its hyphens; a path names one folder.
  const bool bareName = !m_backupIdentifier.contains(QLatin1Char('/')) && !QDir::isAbsolutePath(m_backupIdentifier);
  if (!backup && bareName && m_backupIdentifier.contains(QLatin1Char('-'))) {
    QString bare = m_backupIdentifier;
    bare.remove(QLatin1Char('-'));
    backup = MobileBackup::loadFromPath(folder.absoluteFilePath(bare) + suffix, m_password);
    // A folder that exists under the first form explains a failure better
    // than a missing one under the second.
    if (backup || MobileBackup::lastErrorCode() != MobileBackup::Error::NotFound ||
        m_lastOpenErrorCode == MobileBackup::Error::NotFound) {
      m_lastOpenError = MobileBackup::lastError();
      m_lastOpenErrorCode = MobileBackup::lastErrorCode();
    }
  }
  if (backup)
    m_opened->backups.emplace_back(backup);
  return backup;
}

int WhatsappService::loadWhatsappOnly() {
  if (!onBeginLoadWhatsappOnly()) {
    onEndLoadWhatsappOnly();
    return -1;
  }
  if (m_shutdown)
    return 0; // the lock stays held, as documented
  for (int type = 0; type < OxBackup::DataTypeCount; ++type)
    loadWhatsappOnly(type);
  onEndLoadWhatsappOnly();
  return 0;
}

bool WhatsappService::loadWhatsappOnly(int type) {
  switch (type) {
  // Each case builds its reader on the stack, gives it no progress sink, runs
  // it against the opened backup and lets it go. Types whose reader is not
  // part of this build load nothing.
  case OxBackup::WhatsApp: {
    CWhatsappiTunesCollection whatsapp(m_backup);
    whatsapp.setSwitches(true, false);
    whatsapp.setRecoverDeleted(m_recoverDeleted);
    whatsapp.setProgress(m_progress);
    whatsapp.load(m_mobileBackup);
    break;
  }
  case OxBackup::Kik: {
    CKikiTunesCollection kik(m_backup);
    kik.setSwitches(true, false);
    kik.setProgress(m_progress);
    kik.load(m_mobileBackup);
    break;
  }
  case OxBackup::Line: {
    CLineiTunesCollection line(m_backup);
    line.setSwitches(true, false);
    line.setProgress(m_progress);
    line.load(m_mobileBackup);
    break;
  }
  case OxBackup::Viber: {
    CViberiTunesCollection viber(m_backup);
    viber.setSwitches(true, false);
    viber.setProgress(m_progress);
    viber.load(m_mobileBackup);
    break;
  }
  case OxBackup::Messenger: {
    CMessengeriTunesCollection messenger(m_backup);
    messenger.setSwitches(true, false);
    messenger.setProgress(m_progress);
    messenger.load(m_mobileBackup);
    break;
  }
  case OxBackup::WeChat: {
    CWeixiniTunesCollection wechat(m_backup);
    wechat.setSwitches(true, false);
    wechat.setProgress(m_progress);
    wechat.load(m_mobileBackup);
    break;
  }
  case OxBackup::QQ: {
    CQQiTunesCollection qq(m_backup);
    qq.setSwitches(true, false);
    qq.setProgress(m_progress);
    qq.load(m_mobileBackup);
    break;
  }
  case OxBackup::Notes: {
    const QString scratch = makeNoteTempPath();
    CNoteCollection notes(m_backup->getNote(), scratch, m_backup->backupProperty(OxBackup::ProductType));
    notes.setNotePasswords(m_notePasswords);
    notes.setRecoverDeleted(m_recoverDeleted);
    notes.setProgress(m_progress);
    notes.load(m_mobileBackup);
    break;
  }
  case OxBackup::Calendar: {
    CCalendarCollection calendar(m_backup->getCalendar());
    calendar.setProgress(m_progress);
    calendar.load(m_mobileBackup);
    break;
  }
  case OxBackup::Safari: {
    OxData* safari = m_backup->getSafari();
    if (safari)
      safari->onInsertFirstLayers(
          {QStringLiteral("Bookmarks"), QStringLiteral("Reading List"), QStringLiteral("History")});
    if (m_mobileBackup) {
      // The product type (iPhone12,1, iPad8,1...) names the kind of device.
      const BackupInfo& info = m_mobileBackup->backupInfo();
      addDefaultBookmarks(safari, !info.productType.isEmpty() ? info.productType : info.productName);
    }
    CBookmarkCollection bookmarks(safari);
    bookmarks.setRecoverDeleted(m_recoverDeleted);
    bookmarks.setProgress(m_progress);
    bookmarks.load(m_mobileBackup);
    break;
  }
  case OxBackup::CallHistory: {
    OxData* calls = m_backup->getCallHistory();
    calls->onInsertFirstLayers({QStringLiteral("Call History"), QStringLiteral("Voice Mail"),
                                QStringLiteral("Viber Call History")});
    {
      CCalllistCollection reader(calls, m_contactToName, m_idToName);
      reader.setRecoverDeleted(m_recoverDeleted);
      reader.setProgress(m_progress);
      reader.load(m_mobileBackup);
    }
    {
      CVoiceMailCollection voicemail(calls);
      voicemail.setProgress(nullptr); // short: the call reader's range stands for the type
      voicemail.load(m_mobileBackup);
    }
    // Viber's own calls, under their layer; its chats are type 3.
    CViberiTunesCollection viber(m_backup);
    viber.setSwitches(false, false);
    viber.setCallList(calls);
    viber.setProgress(nullptr);
    viber.load(m_mobileBackup);
    break;
  }
  default:
    break;
  }
  return true;
}

void WhatsappService::onEndLoadWhatsappOnly() {
  lockGiven(&m_loadLock);
  m_loadLock.release();
}

OxData* WhatsappService::getOxData(int type) { return m_backup->getOxData(type); }

void WhatsappService::fillBackupProperties() {
  if (!m_mobileBackup || !m_backup)
    return;
  const BackupInfo& info = m_mobileBackup->backupInfo();
  const QString date = info.lastBackupDate.isValid() ? info.lastBackupDate.toUTC().toString(Qt::ISODate) : QString();
  const std::pair<OxBackup::Property, QString> properties[] = {
      {OxBackup::DeviceName, info.deviceName},     {OxBackup::ProductVersion, info.productVersion},
      {OxBackup::SerialNumber, info.serialNumber}, {OxBackup::PhoneNumber, info.phoneNumber},
      {OxBackup::ProductType, info.productType},   {OxBackup::Imei, info.imei},
      {OxBackup::LastBackupDate, date}};
  for (const auto& p : properties)
    m_backup->setBackupProperty(p.second, p.first);
}

unsigned WhatsappService::msgSessionCount() {
  if (m_backup && !m_msgCountCached) {
    m_msgSessionCount = m_backup->getMsgSessionCount();
    m_msgCountCached = true;
  }
  return m_msgSessionCount;
}

unsigned WhatsappService::OtherSessionCount() {
  if (m_backup && !m_otherCountCached) {
    m_otherSessionCount = m_backup->getOtherSessionCount();
    m_otherCountCached = true;
  }
  return m_otherSessionCount;
}

void WhatsappService::setContactToNameMap(QMap<QString, QString>& contactToName, QMap<int, QString>& idToName) {
  m_contactToName = contactToName;
  m_idToName = idToName;
}

void WhatsappService::setParam4DB(const QString& deviceBackupFolder) { m_deviceBackupFolder = deviceBackupFolder; }
void WhatsappService::shutdownService() { m_shutdown = true; }
void WhatsappService::setBackupPassword(const QString& password) { m_password = password; }

QString WhatsappService::makeNoteTempPath() {
  if (m_scratchFolder.isEmpty()) {
    const QString root = Utils::tempPath();
    if (root.isEmpty()) {
      Log(kModule, 0, "No temporary root: the notes scratch folder cannot be made");
      return QString();
    }
    // Numbered in creation order, so that a run names its files the same way
    // every time.
    static std::atomic<int> services{0};
    m_scratchFolder = root + QStringLiteral("Service%1").arg(++services);
  }
  const QString path = m_scratchFolder + QStringLiteral("/rotated");
  CCommonUtils::clearDir(path);
  if (!QDir().mkpath(path))
    Log(kModule, 0, "Cannot create the scratch folder %s", path.toLocal8Bit().constData());
  return path;
}
