#pragma once
// MainWindow: the viewer's window. Three pages: the start page (backups found,
// "Open folder..."), the load page (progress, Cancel, counts as each type is
// read) and the browser: a sidebar of the eleven data types with their counts
// and categories, the chosen type's table with its filters, and the detail of
// the selected item; the status bar counts the items.
//
// The window owns the loader, and through it the service and every list it
// shows. Closing the window during a load stops the load after its current
// reader and waits for it.
#include <QMainWindow>
#include <QPointer>
#include <QStringList>

#include <memory>

#include "apps/viewer/backuploader.h"
#include "apps/viewer/itemtablemodel.h"
#include "apps/viewer/recoverysummary.h"

#include <QProgressDialog>

class CheckBoxHeaderView;
class DetailPane;
class OxDataCheckBinding;
class QAction;
class RecoveryRun;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTableView;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;
class StartPage;

class MainWindow : public QMainWindow {
  Q_OBJECT
public:
  explicit MainWindow(QWidget* parent = nullptr);
  ~MainWindow() override;

  // When false, the window asks nothing (no password or message boxes) and
  // launches no other program: a failed load only emits loadFinished(false).
  void setInteractive(bool interactive);
  void showStartPage(const QString& root = QString());
  void openBackup(const QString& folder, const QString& password = QString(),
                  const QStringList& notePasswords = QStringList());

  // The browser's state, for the command line and the tests.
  bool showType(int type);
  int currentType() const { return m_type; }
  bool selectRow(int row);
  void setTextFilter(const QString& text);
  void setStateFilter(int state);
  void setCategory(const QString& first, const QString& second);
  void setAccountFilter(int account);
  QString statusText() const;
  ItemTableModel* tableModel() const { return m_model; }
  QTableView* table() const { return m_table; }
  CheckBoxHeaderView* header() const { return m_header; }
  DetailPane* detail() const { return m_detail; }
  BackupLoader* loader() const { return m_loader.get(); }
  QTreeWidget* sidebar() const { return m_sidebar; }
  QAction* recoverAction() const { return m_recover; }
  StartPage* startPage() const { return m_start; }

  // Recovers the checked items of every list's view into folder (or, when the
  // folder already holds files, into a new folder inside it). False when
  // nothing is checked or a load or recovery is running.
  bool recoverTo(const QString& folder);
  RecoveryRun* recovery() const { return m_recovery.get(); }
  // The summary of the last recovery (also built, not shown, when the window
  // is not interactive).
  RecoverySummaryDialog* recoverySummary() const { return m_summary; }

Q_SIGNALS:
  // The browser shows the loaded backup (true), or the backup did not open.
  void loadFinished(bool ok);
  // A recovery ended; its summary is ready.
  void recoveryFinished();

private:
  QWidget* buildLoadPage();
  QWidget* buildBrowser();
  void buildMenus();
  void onProgress(int percent, const QString& stage);
  void onTypeLoaded(int type, int count);
  void onLoadFinished(BackupLoader::Outcome outcome, const QString& message);
  void askPassword(bool wrong);
  void fillSidebar();
  void onSidebarSelection();
  void onRowSelected();
  void applyFilter();
  void fillAccounts();
  void fitColumns();
  void updateStatus();
  void checkSelected(bool on);
  void detachViews();
  void recoverChecked();
  void onRecoveryFinished();
  bool busy() const;

  std::unique_ptr<BackupLoader> m_loader;
  std::unique_ptr<RecoveryRun> m_recovery;
  QPointer<QProgressDialog> m_recoverProgress;
  QPointer<RecoverySummaryDialog> m_summary;
  bool m_interactive = true;
  int m_type = -1;
  ItemFilter m_filter;
  int m_loadedTypes = 0;

  QStackedWidget* m_pages = nullptr;
  StartPage* m_start = nullptr;
  QWidget* m_loadPage = nullptr;
  QLabel* m_loadTitle = nullptr;
  QLabel* m_loadStage = nullptr;
  QProgressBar* m_loadBar = nullptr;
  QPushButton* m_cancel = nullptr;
  QListWidget* m_loadCounts = nullptr;
  QWidget* m_browser = nullptr;
  QTreeWidget* m_sidebar = nullptr;
  QLineEdit* m_search = nullptr;
  QTimer* m_searchDelay = nullptr;
  QComboBox* m_state = nullptr;
  QComboBox* m_account = nullptr;
  QLabel* m_accountLabel = nullptr;
  QTableView* m_table = nullptr;
  CheckBoxHeaderView* m_header = nullptr;
  OxDataCheckBinding* m_binding = nullptr;
  ItemTableModel* m_model = nullptr;
  DetailPane* m_detail = nullptr;
  QLabel* m_status = nullptr;
  QAction* m_recover = nullptr;
  QAction* m_openAction = nullptr;
  QString m_loadNote; // said in the status bar after a cancelled load
};
