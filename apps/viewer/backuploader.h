#pragma once
// BackupLoader: runs one load of a backup on a worker thread, so that the
// window never waits for a reader.
//
// The loader owns the one WhatsappService (and through it the registry) of the
// window. A load opens the backup, then runs the reader of each requested type
// in turn; the window is told how far it is (percent), when each type is done
// (with its item count) and when the whole load ends. cancel() stops the load
// between two readers: the lists already read stay, the others stay empty.
//
// Threads: the registry's lists are filled on the worker thread. Until
// finished() arrives the window reads nothing but the counts handed over by
// typeLoaded(). Destroying the loader cancels a running load and waits for it.
//
//   loader.start({folder, password, notePasswords, {}});
//   connect(&loader, &BackupLoader::finished, ...);   // registry() is ready
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

class MobileBackup;
class OxBackup;
class QThread;
class WhatsappService;

// A flag that one thread sets and another may wait for.
class CancelFlag {
public:
  void set();
  void clear();
  bool isSet() const;
  // Blocks until set() was called.
  void wait() const;
  const std::atomic<bool>& value() const { return m_set; }

private:
  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  std::atomic<bool> m_set{false};
};

struct LoadRequest {
  QString backup;            // folder path or identifier in the default backup folders
  QString password;          // of an encrypted backup; empty for none
  QStringList notePasswords; // tried on password-protected notes
  QList<int> types;          // data types in load order; empty means all eleven
};

class BackupLoader : public QObject {
  Q_OBJECT
public:
  // How a load ended.
  enum Outcome {
    Loaded,           // every requested type was read
    Cancelled,        // cancel() stopped it between readers
    PasswordRequired, // the backup is encrypted and no password was given
    WrongPassword,
    OpenFailed,       // not found, not a backup, damaged
  };
  Q_ENUM(Outcome)

  explicit BackupLoader(QObject* parent = nullptr);
  ~BackupLoader() override;

  // Starts a load; false (and nothing started) while another one runs. Every
  // list of the registry is emptied by it, so views must let go of the lists
  // before calling.
  bool start(const LoadRequest& request);
  // Stops a running load before its next reader. Returns at once.
  void cancel();
  bool isRunning() const;
  // Waits for a running load to end (its finished() is still delivered).
  void wait();

  // The lists of the last load, and the backup it opened; read them after
  // finished().
  OxBackup* registry() const;
  MobileBackup* openedBackup() const;
  // The request of the last load, and the backup folder it opened.
  const LoadRequest& request() const { return m_request; }
  QString backupFolder() const { return m_backupFolder; }

  // Called on the worker thread before the reader of each type runs: lets a
  // test hold a load at a known point.
  void setTypeHook(std::function<void(int type)> hook) { m_typeHook = std::move(hook); }
  const CancelFlag& cancelFlag() const { return m_cancel; }

Q_SIGNALS:
  // 0 to 100; only rises during one load.
  void progressChanged(int percent, const QString& stage);
  void typeLoaded(int type, int count);
  // message: why the backup did not open (empty when it did).
  void finished(BackupLoader::Outcome outcome, const QString& message);

private:
  void run();
  void onWorkerDone();

  std::unique_ptr<WhatsappService> m_service;
  QThread* m_thread = nullptr;
  LoadRequest m_request;
  QString m_backupFolder;
  CancelFlag m_cancel;
  std::function<void(int)> m_typeHook;
  Outcome m_outcome = Loaded;
  QString m_message;
};
