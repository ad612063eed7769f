#pragma once
// StartPage: the first thing the viewer shows: the device backups found in the
// default backup folders (device, iOS version, date, encryption, size) and a
// way to open any other folder.
//
// Sizes are summed on a worker thread after the list shows, since a large
// backup has hundreds of thousands of files; leaving the page stops the sums.
#include <QList>
#include <QWidget>

#include <atomic>

class QLabel;
class QPushButton;
class QThread;
class QTreeWidget;

class StartPage : public QWidget {
  Q_OBJECT
public:
  explicit StartPage(QWidget* parent = nullptr);
  ~StartPage() override;

  // Lists the backups of root (the default folders when empty) again.
  void refresh(const QString& root = QString());
  QTreeWidget* list() const { return m_list; }
  bool countingSizes() const { return m_sizes != nullptr; }

Q_SIGNALS:
  void openRequested(const QString& folder);
  // Every listed backup's size is shown.
  void sizesCounted();

private:
  void openSelected();
  void chooseFolder();
  void stopSizes();
  void onSize(int row, qint64 bytes);

  QTreeWidget* m_list = nullptr;
  QLabel* m_empty = nullptr;
  QPushButton* m_open = nullptr;
  QThread* m_sizes = nullptr;
  std::atomic<bool> m_stopSizes{false};
  QString m_root;
  int m_generation = 0; // of the listing the size thread counts for
};
