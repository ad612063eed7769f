#include "apps/viewer/recoveryrun.h"

#include "apps/viewer/progressrelay.h"

#include <QThread>

RecoveryRun::RecoveryRun(QObject* parent) : QObject(parent) {}

RecoveryRun::~RecoveryRun() {
  cancel();
  wait();
  delete m_thread;
}

bool RecoveryRun::start(OxBackup* registry, MobileBackup* backup, const ExportOptions& options) {
  if (m_thread || !registry)
    return false;
  m_options = options;
  m_summary = ExportSummary();
  m_stop = false;
  m_exporter.reset(new CExporter(registry, backup));
  m_thread = QThread::create([this] {
    ProgressRelay relay([this](int percent) { Q_EMIT progressChanged(percent); }, m_stop);
    m_summary = m_exporter->run(m_options, &relay);
  });
  connect(m_thread, &QThread::finished, this, &RecoveryRun::onWorkerDone);
  m_thread->start();
  return true;
}

void RecoveryRun::cancel() {
  m_stop = true;
  if (m_exporter)
    m_exporter->cancel();
}

void RecoveryRun::wait() {
  if (m_thread)
    m_thread->wait();
}

void RecoveryRun::onWorkerDone() {
  if (!m_thread)
    return;
  m_thread->wait();
  delete m_thread;
  m_thread = nullptr;
  m_exporter.reset();
  Q_EMIT finished();
}
