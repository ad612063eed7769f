#pragma once
// RecoveryRun: one recovery of checked items (the export layer's run) on a
// worker thread, so that the window stays live and can show a progress
// dialog with a Cancel button.
//
// The run reads the lists and the opened backup of a finished load; the
// window starts no load while it runs. Destroying the object cancels a running
// recovery and waits for it (what was written so far stays complete).
#include "export/exporter.h"

#include <QObject>

#include <atomic>
#include <memory>

class QThread;

class RecoveryRun : public QObject {
  Q_OBJECT
public:
  explicit RecoveryRun(QObject* parent = nullptr);
  ~RecoveryRun() override;

  // False (nothing started) while another run is going.
  bool start(OxBackup* registry, MobileBackup* backup, const ExportOptions& options);
  void cancel();
  bool isRunning() const { return m_thread != nullptr; }
  void wait();
  const ExportSummary& summary() const { return m_summary; }
  const ExportOptions& options() const { return m_options; }

Q_SIGNALS:
  void progressChanged(int percent);
  void finished();

private:
  void onWorkerDone();

  std::unique_ptr<CExporter> m_exporter;
  QThread* m_thread = nullptr;
  std::atomic<bool> m_stop{false};
  ExportOptions m_options;
  ExportSummary m_summary;
};
