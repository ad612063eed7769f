#include "apps/viewer/backuploader.h"

#include "apps/viewer/datatypes.h"
#include "apps/viewer/progressrelay.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "service/progress.h"
#include "service/whatsappservice.h"

#include <QThread>


void CancelFlag::set() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_set = true;
  }
  m_changed.notify_all();
}

void CancelFlag::clear() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_set = false;
}

bool CancelFlag::isSet() const { return m_set.load(); }

void CancelFlag::wait() const {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_changed.wait(lock, [this] { return m_set.load(); });
}

namespace {
// The share of the bar each type stands for: the messengers' databases are
// the big ones on real phones, WhatsApp above all.
int typeWeight(int type) {
  switch (type) {
  case OxBackup::WhatsApp: return 30;
  case OxBackup::Notes: return 8;
  case OxBackup::Calendar:
  case OxBackup::Safari: return 5;
  case OxBackup::CallHistory: return 4;
  default: return 8;
  }
}

} // namespace

BackupLoader::BackupLoader(QObject* parent) : QObject(parent) { qRegisterMetaType<BackupLoader::Outcome>(); }

BackupLoader::~BackupLoader() {
  cancel();
  if (m_thread) {
    m_thread->wait();
    delete m_thread;
  }
}

bool BackupLoader::start(const LoadRequest& request) {
  if (m_thread)
    return false;
  if (!m_service || request.backup != m_request.backup)
    m_service.reset(new WhatsappService(request.backup, false));
  m_request = request;
  if (m_request.types.isEmpty())
    for (int type = 0; type < OxBackup::DataTypeCount; ++type)
      m_request.types.append(type);
  m_cancel.clear();
  m_outcome = Loaded;
  m_message.clear();
  m_thread = QThread::create([this] { run(); });
  connect(m_thread, &QThread::finished, this, &BackupLoader::onWorkerDone);
  m_thread->start();
  return true;
}

void BackupLoader::cancel() { m_cancel.set(); }

bool BackupLoader::isRunning() const { return m_thread != nullptr; }

void BackupLoader::wait() {
  if (m_thread)
    m_thread->wait();
}

OxBackup* BackupLoader::registry() const { return m_service ? m_service->backupRegistry() : nullptr; }

MobileBackup* BackupLoader::openedBackup() const { return m_service ? m_service->openedBackup() : nullptr; }

void BackupLoader::run() {
  WhatsappService& service = *m_service;
  QString stage = tr("Opening the backup...");
  ProgressRelay sink([this, &stage](int percent) { Q_EMIT progressChanged(percent, stage); }, m_cancel.value());
  int total = 0;
  for (int type : m_request.types)
    total += typeWeight(type);
  sink.initRange(total);
  sink.repeat();

  service.setBackupPassword(m_request.password);
  service.setNotePasswords(m_request.notePasswords);
  if (!service.onBeginLoadWhatsappOnly()) {
    service.onEndLoadWhatsappOnly();
    m_message = service.lastOpenError();
    switch (service.lastOpenErrorCode()) {
    case MobileBackup::Error::PasswordRequired: m_outcome = PasswordRequired; break;
    case MobileBackup::Error::WrongPassword: m_outcome = WrongPassword; break;
    default: m_outcome = OpenFailed; break;
    }
    return;
  }
  m_backupFolder = service.openedBackup()->path();
  service.fillBackupProperties();

  for (int type : m_request.types) {
    if (m_typeHook)
      m_typeHook(type);
    if (m_cancel.isSet()) {
      m_outcome = Cancelled;
      break;
    }
    stage = tr("Reading %1...").arg(dataTypeTitle(type));
    sink.repeat();
    CSubProgress stage(&sink, typeWeight(type));
    service.loadWhatsappOnly(type);
    OxData* list = service.getOxData(type);
    // The list is complete: no later reader touches it.
    Q_EMIT typeLoaded(type, list ? list->count(OxData::CountRaw) : 0);
    stage.finish();
  }
  service.onEndLoadWhatsappOnly();
}

void BackupLoader::onWorkerDone() {
  if (!m_thread)
    return;
  m_thread->wait();
  delete m_thread;
  m_thread = nullptr;
  Q_EMIT finished(m_outcome, m_message);
}
