#pragma once
// The base of every reader's collection.
//
// A collection knows one app: where its database files lie in an opened backup,
// which queries to run in which order, and how to join their records into items
// of the model. A subclass implements load(), which reads the app's data out of
// the backup and appends the items it builds to the app's data list; the list
// owns them from then on. Collections live on the stack for one load.
//
// Apps come in two layers: an app class that holds the joining logic and knows
// nothing of backups, and a backup class that derives from both this class and
// the app class and supplies the file locations.

class CIProgressCallback;
class MobileBackup;

class CIDataCollection {
public:
  CIDataCollection();
  virtual ~CIDataCollection();

  // Reads the app's data out of the opened backup into the model.
  virtual void load(MobileBackup* backup) = 0;

  // The sink is not owned; null (the default) means nobody listens.
  void setProgress(CIProgressCallback* progress);
  // Reports an amount to the sink, unchanged. True when there is no sink;
  // otherwise the sink's answer (false means stop).
  bool reportProgress(double amount);

  // Whether load also recovers the rows the app deleted but its database
  // still holds (readers that can say so); on after construction.
  void setRecoverDeleted(bool on) { m_recoverDeleted = on; }
  bool recoverDeleted() const { return m_recoverDeleted; }

protected:
  CIProgressCallback* m_progress; // not owned
  bool m_recoverDeleted = true;

private:
  CIDataCollection(const CIDataCollection&) = delete;
  CIDataCollection& operator=(const CIDataCollection&) = delete;
};
