#include "apps/viewer/mainwindow.h"

#include "apps/viewer/chattranscriptview.h"
#include "apps/viewer/datatypes.h"
#include "apps/viewer/detailpane.h"
#include "apps/viewer/recoveryrun.h"
#include "apps/viewer/recoverysummary.h"
#include "apps/viewer/startpage.h"
#include "model/oxabstractitem.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "widgets/checkboxheaderview.h"
#include "widgets/oxdatacheckbinding.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QSet>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
const int kTypeRole = Qt::UserRole;
const int kFirstRole = Qt::UserRole + 1;
const int kSecondRole = Qt::UserRole + 2;

QString sized(quint64 bytes) { return QLocale().formattedDataSize(qint64(bytes)); }
} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), m_loader(new BackupLoader), m_recovery(new RecoveryRun) {
  setWindowTitle(tr("sherd viewer"));
  m_pages = new QStackedWidget;
  m_start = new StartPage;
  connect(m_start, &StartPage::openRequested, this, [this](const QString& folder) { openBackup(folder); });
  m_pages->addWidget(m_start);
  m_loadPage = buildLoadPage();
  m_pages->addWidget(m_loadPage);
  m_browser = buildBrowser();
  m_pages->addWidget(m_browser);
  setCentralWidget(m_pages);
  m_status = new QLabel;
  statusBar()->addWidget(m_status, 1);
  buildMenus();

  connect(m_loader.get(), &BackupLoader::progressChanged, this, &MainWindow::onProgress);
  connect(m_loader.get(), &BackupLoader::typeLoaded, this, &MainWindow::onTypeLoaded);
  connect(m_loader.get(), &BackupLoader::finished, this, &MainWindow::onLoadFinished);
  connect(m_recovery.get(), &RecoveryRun::progressChanged, this, [this](int percent) {
    if (m_recoverProgress)
      m_recoverProgress->setValue(percent);
  });
  connect(m_recovery.get(), &RecoveryRun::finished, this, &MainWindow::onRecoveryFinished);
  resize(1280, 800);
}

MainWindow::~MainWindow() {
  // The lists die with the loader's service: stop the load, then let go of
  // them before they go.
  m_recovery.reset();
  m_loader->cancel();
  m_loader->wait();
  detachViews();
  m_loader.reset();
}

void MainWindow::setInteractive(bool interactive) {
  m_interactive = interactive;
  m_detail->transcript()->setOpenExternally(interactive);
}

void MainWindow::buildMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  m_openAction = file->addAction(tr("&Open backup..."), this, [this] { showStartPage(); }, QKeySequence::Open);
  m_recover = file->addAction(tr("&Recover checked..."), this, &MainWindow::recoverChecked,
                              QKeySequence(Qt::CTRL | Qt::Key_R));
  m_recover->setEnabled(false);
  file->addSeparator();
  file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);
  QToolBar* bar = addToolBar(tr("Main"));
  bar->setMovable(false);
  bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
  bar->addAction(m_openAction);
  bar->addAction(m_recover);
}

QWidget* MainWindow::buildLoadPage() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(48, 48, 48, 48);
  m_loadTitle = new QLabel;
  QFont big = m_loadTitle->font();
  big.setPointSizeF(big.pointSizeF() * 1.4);
  big.setBold(true);
  m_loadTitle->setFont(big);
  m_loadTitle->setWordWrap(true);
  m_loadStage = new QLabel;
  m_loadBar = new QProgressBar;
  m_loadBar->setRange(0, 100);
  m_cancel = new QPushButton(tr("Cancel"));
  connect(m_cancel, &QPushButton::clicked, this, [this] {
    m_loader->cancel();
    m_cancel->setEnabled(false);
    m_loadStage->setText(tr("Stopping after the current step..."));
  });
  auto* row = new QHBoxLayout;
  row->addWidget(m_loadBar, 1);
  row->addWidget(m_cancel);
  m_loadCounts = new QListWidget;
  m_loadCounts->setSelectionMode(QAbstractItemView::NoSelection);
  layout->addWidget(m_loadTitle);
  layout->addWidget(m_loadStage);
  layout->addLayout(row);
  layout->addWidget(m_loadCounts, 1);
  return page;
}

QWidget* MainWindow::buildBrowser() {
  auto* splitter = new QSplitter(Qt::Horizontal);
  m_sidebar = new QTreeWidget;
  m_sidebar->setHeaderHidden(true);
  m_sidebar->setMinimumWidth(180);
  connect(m_sidebar, &QTreeWidget::itemSelectionChanged, this, &MainWindow::onSidebarSelection);
  splitter->addWidget(m_sidebar);

  auto* center = new QWidget;
  auto* centerLayout = new QVBoxLayout(center);
  centerLayout->setContentsMargins(0, 0, 0, 0);
  auto* filters = new QHBoxLayout;
  filters->setContentsMargins(6, 6, 6, 0);
  m_search = new QLineEdit;
  m_search->setPlaceholderText(tr("Search"));
  m_search->setClearButtonEnabled(true);
  m_searchDelay = new QTimer(this);
  m_searchDelay->setSingleShot(true);
  m_searchDelay->setInterval(250);
  connect(m_search, &QLineEdit::textChanged, m_searchDelay, qOverload<>(&QTimer::start));
  connect(m_searchDelay, &QTimer::timeout, this, [this] { setTextFilter(m_search->text()); });
  m_state = new QComboBox;
  m_state->addItem(tr("All items"), int(OxData::FilterAll));
  m_state->addItem(tr("Existing items"), int(OxData::FilterExistingOnly));
  m_state->addItem(tr("Deleted items"), int(OxData::FilterDeletedOnly));
  connect(m_state, qOverload<int>(&QComboBox::activated), this,
          [this](int index) { setStateFilter(m_state->itemData(index).toInt()); });
  m_accountLabel = new QLabel(tr("Account:"));
  m_account = new QComboBox;
  connect(m_account, qOverload<int>(&QComboBox::activated), this,
          [this](int index) { setAccountFilter(m_account->itemData(index).toInt()); });
  filters->addWidget(m_search, 1);
  filters->addWidget(m_state);
  filters->addWidget(m_accountLabel);
  filters->addWidget(m_account);
  centerLayout->addLayout(filters);

  m_model = new ItemTableModel(this);
  m_table = new QTableView;
  m_header = new CheckBoxHeaderView(Qt::Horizontal, m_table);
  m_header->setSectionsClickable(true);
  m_header->setSortIndicatorShown(true);
  m_header->setStretchLastSection(true);
  m_header->setCheckBoxColumn(0);
  // Column widths come from the first rows only, so that a long list shows
  // at once.
  m_header->setResizeContentsPrecision(100);
  m_table->setHorizontalHeader(m_header);
  m_table->setModel(m_model);
  m_table->setSortingEnabled(true);
  m_table->sortByColumn(-1, Qt::AscendingOrder);
  m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
  m_table->setWordWrap(false);
  m_table->setAlternatingRowColors(true);
  m_table->verticalHeader()->setVisible(false);
  m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 8);
  m_table->setContextMenuPolicy(Qt::ActionsContextMenu);
  auto* check = new QAction(tr("Check selected"), m_table);
  check->setShortcut(Qt::Key_Space);
  check->setShortcutContext(Qt::WidgetShortcut);
  connect(check, &QAction::triggered, this, [this] { checkSelected(true); });
  auto* uncheck = new QAction(tr("Uncheck selected"), m_table);
  uncheck->setShortcut(Qt::Key_Backspace);
  uncheck->setShortcutContext(Qt::WidgetShortcut);
  connect(uncheck, &QAction::triggered, this, [this] { checkSelected(false); });
  m_table->addAction(check);
  m_table->addAction(uncheck);
  m_binding = new OxDataCheckBinding(m_header, nullptr, m_table);
  connect(m_binding, &OxDataCheckBinding::checksChanged, this, [this] {
    m_model->refreshChecks();
    updateStatus();
  });
  connect(m_model, &ItemTableModel::checksChanged, this, [this] {
    m_binding->refresh();
    updateStatus();
  });
  connect(m_table->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &MainWindow::onRowSelected);
  centerLayout->addWidget(m_table, 1);
  splitter->addWidget(center);

  m_detail = new DetailPane;
  connect(m_detail, &DetailPane::unlockRequested, this, [this](const QString& password) {
    QStringList passwords = m_loader->request().notePasswords;
    if (!passwords.contains(password))
      passwords << password;
    openBackup(m_loader->request().backup, m_loader->request().password, passwords);
  });
  splitter->addWidget(m_detail);
  splitter->setStretchFactor(0, 0);
  splitter->setStretchFactor(1, 3);
  splitter->setStretchFactor(2, 4);
  splitter->setSizes({190, 560, 530});
  return splitter;
}

bool MainWindow::busy() const { return m_loader->isRunning() || m_recovery->isRunning(); }

void MainWindow::showStartPage(const QString& root) {
  if (busy())
    return;
  m_start->refresh(root);
  m_pages->setCurrentWidget(m_start);
  m_recover->setEnabled(false);
  m_status->clear();
}

void MainWindow::detachViews() {
  m_detail->showItem(-1, nullptr);
  m_binding->setData(nullptr);
  m_model->setList(nullptr);
  m_type = -1;
}

void MainWindow::openBackup(const QString& folder, const QString& password, const QStringList& notePasswords) {
  if (busy())
    return;
  detachViews();
  m_sidebar->clear();
  m_loadedTypes = 0;
  m_loadNote.clear();
  m_loadTitle->setText(tr("Reading %1").arg(QDir::toNativeSeparators(folder)));
  m_loadStage->clear();
  m_loadBar->setValue(0);
  m_cancel->setEnabled(true);
  m_loadCounts->clear();
  m_recover->setEnabled(false);
  m_openAction->setEnabled(false);
  m_pages->setCurrentWidget(m_loadPage);
  m_status->setText(tr("Reading the backup..."));
  m_loader->start({folder, password, notePasswords, {}});
}

void MainWindow::onProgress(int percent, const QString& stage) {
  m_loadBar->setValue(percent);
  if (m_cancel->isEnabled())
    m_loadStage->setText(stage);
}

void MainWindow::onTypeLoaded(int type, int count) {
  ++m_loadedTypes;
  auto* line = new QListWidgetItem(QStringLiteral("%1: %2").arg(dataTypeTitle(type), itemCount(count)));
  if (count == 0)
    line->setForeground(palette().color(QPalette::Disabled, QPalette::Text));
  m_loadCounts->addItem(line);
}

void MainWindow::askPassword(bool wrong) {
  const QString folder = m_loader->request().backup;
  bool ok = false;
  const QString label = wrong ? tr("The password is wrong. Enter the password of this encrypted backup:")
                              : tr("This backup is encrypted. Enter its password:");
  const QString password =
      QInputDialog::getText(this, tr("Encrypted backup"), label, QLineEdit::Password, QString(), &ok);
  if (ok && !password.isEmpty())
    openBackup(folder, password, m_loader->request().notePasswords);
  else
    showStartPage();
}

void MainWindow::onLoadFinished(BackupLoader::Outcome outcome, const QString& message) {
  m_openAction->setEnabled(true);
  switch (outcome) {
  case BackupLoader::PasswordRequired:
  case BackupLoader::WrongPassword:
    if (!m_interactive) {
      Q_EMIT loadFinished(false);
      return;
    }
    askPassword(outcome == BackupLoader::WrongPassword);
    return;
  case BackupLoader::OpenFailed:
    if (m_interactive) {
      QMessageBox::warning(this, tr("Cannot open the backup"), message);
      showStartPage();
    }
    Q_EMIT loadFinished(false);
    return;
  case BackupLoader::Cancelled:
    m_loadNote = tr("Loading was cancelled: %1 of %2 data types were read.")
                     .arg(m_loadedTypes)
                     .arg(m_loader->request().types.size());
    break;
  case BackupLoader::Loaded: break;
  }
  OxBackup* registry = m_loader->registry();
  const QString device = registry ? registry->backupPropertyOriginal(0) : QString();
  setWindowTitle(device.isEmpty() ? tr("sherd viewer") : tr("%1 - sherd viewer").arg(device));
  fillSidebar();
  m_pages->setCurrentWidget(m_browser);
  m_recover->setEnabled(true);
  // The first type that holds something.
  int first = 0;
  for (int type = 0; type < OxBackup::DataTypeCount && registry; ++type) {
    if (registry->getOxData(type)->count(OxData::CountRaw) > 0) {
      first = type;
      break;
    }
  }
  showType(first);
  Q_EMIT loadFinished(true);
}

void MainWindow::fillSidebar() {
  const QSignalBlocker block(m_sidebar);
  m_sidebar->clear();
  const OxBackup* registry = m_loader->registry();
  if (!registry)
    return;
  const QColor grey = palette().color(QPalette::Disabled, QPalette::Text);
  for (int type = 0; type < OxBackup::DataTypeCount; ++type) {
    OxData* list = registry->getOxData(type);
    const int count = list->count(OxData::CountRaw);
    auto* top = new QTreeWidgetItem(m_sidebar, {QStringLiteral("%1 (%2)").arg(dataTypeTitle(type)).arg(count)});
    top->setData(0, kTypeRole, type);
    if (count == 0)
      top->setForeground(0, grey);
    for (const QString& first : list->firstLayerOrder()) {
      const int n = list->categoryItemCount(first);
      auto* child = new QTreeWidgetItem(top, {QStringLiteral("%1 (%2)").arg(first).arg(n)});
      child->setData(0, kTypeRole, type);
      child->setData(0, kFirstRole, first);
      if (n == 0)
        child->setForeground(0, grey);
      for (const QString& second : list->getCategoryTree().value(first)) {
        if (second.isEmpty())
          continue;
        const int m = list->categoryItemCount(first, second);
        auto* leaf = new QTreeWidgetItem(child, {QStringLiteral("%1 (%2)").arg(second).arg(m)});
        leaf->setData(0, kTypeRole, type);
        leaf->setData(0, kFirstRole, first);
        leaf->setData(0, kSecondRole, second);
      }
    }
  }
}

bool MainWindow::showType(int type) {
  for (int i = 0; i < m_sidebar->topLevelItemCount(); ++i) {
    QTreeWidgetItem* top = m_sidebar->topLevelItem(i);
    if (top->data(0, kTypeRole).toInt() == type) {
      m_sidebar->setCurrentItem(top);
      onSidebarSelection();
      return true;
    }
  }
  return false;
}

void MainWindow::onSidebarSelection() {
  QTreeWidgetItem* current = m_sidebar->currentItem();
  const OxBackup* registry = m_loader->registry();
  if (!current || !registry || m_loader->isRunning())
    return;
  const int type = current->data(0, kTypeRole).toInt();
  const QString first = current->data(0, kFirstRole).toString();
  const QString second = current->data(0, kSecondRole).toString();
  if (type != m_type || first != m_filter.firstLayer || second != m_filter.secondLayer) {
    if (type != m_type) {
      m_type = type;
      m_detail->showItem(type, nullptr);
      m_model->setList(registry->getOxData(type));
      m_binding->setData(m_model->list());
      m_filter.account = 0;
      fillAccounts();
      m_header->setSortIndicator(m_model->sortColumn(), Qt::SortOrder(m_model->list()->sortOrder()));
    }
    m_filter.firstLayer = first;
    m_filter.secondLayer = second;
    applyFilter();
    fitColumns();
  }
}

void MainWindow::fitColumns() {
  // Sized from the first rows only (the header's precision), and no
  // column wider than a third of the table, so that long texts do not hide the
  // others.
  m_table->resizeColumnsToContents();
  const int widest = qMax(120, m_table->viewport()->width() / 3);
  for (int c = 0; c < m_model->columnCount(); ++c)
    if (m_header->sectionSize(c) > widest)
      m_header->resizeSection(c, widest);
}

void MainWindow::fillAccounts() {
  m_account->clear();
  m_account->addItem(tr("All accounts"), 0);
  OxData* list = m_model->list();
  QSet<int> accounts;
  if (list && isChatType(m_type)) {
    const int n = list->count(OxData::CountRaw);
    for (int row = 0; row < n; ++row) {
      bool ok = false;
      const int account = list->at(row, false)->value(OxWhatsappItem::ColAccount).toInt(&ok);
      if (ok && account != 0)
        accounts.insert(account);
    }
  }
  QList<int> sorted = accounts.values();
  std::sort(sorted.begin(), sorted.end());
  for (int account : sorted)
    m_account->addItem(tr("Account %1").arg(account), account);
  // One account is no choice.
  const bool show = sorted.size() > 1;
  m_account->setVisible(show);
  m_accountLabel->setVisible(show);
  if (list)
    list->setHaveAccounts(sorted.size());
}

void MainWindow::applyFilter() {
  if (!m_model->list())
    return;
  OxAbstractItem* shown = m_detail->item();
  m_model->setFilter(m_filter);
  m_binding->refresh();
  // The shown item stays selected when the filter keeps it.
  const int row = shown ? m_model->rowOf(shown) : -1;
  if (row >= 0)
    m_table->selectRow(row);
  else
    m_detail->showItem(m_type, nullptr);
  updateStatus();
}

void MainWindow::setTextFilter(const QString& text) {
  m_searchDelay->stop();
  if (m_search->text() != text) {
    const QSignalBlocker block(m_search);
    m_search->setText(text);
  }
  m_filter.text = text;
  applyFilter();
}

void MainWindow::setStateFilter(int state) {
  m_state->setCurrentIndex(qMax(0, m_state->findData(state)));
  m_filter.state = state;
  applyFilter();
}

void MainWindow::setCategory(const QString& first, const QString& second) {
  m_filter.firstLayer = first;
  m_filter.secondLayer = second;
  applyFilter();
}

void MainWindow::setAccountFilter(int account) {
  m_account->setCurrentIndex(qMax(0, m_account->findData(account)));
  m_filter.account = account;
  applyFilter();
}

bool MainWindow::selectRow(int row) {
  if (row < 0 || row >= m_model->rowCount())
    return false;
  m_table->selectRow(row);
  m_table->setCurrentIndex(m_model->index(row, 0));
  m_table->scrollTo(m_model->index(row, 0));
  onRowSelected();
  return true;
}

void MainWindow::onRowSelected() {
  const QModelIndex current = m_table->currentIndex();
  OxAbstractItem* item = current.isValid() ? m_model->itemAt(current.row()) : nullptr;
  if (item != m_detail->item())
    m_detail->showItem(m_type, item);
}

void MainWindow::checkSelected(bool on) {
  OxData* list = m_model->list();
  if (!list)
    return;
  for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
    list->setChecked(m_model->itemAt(index.row()), on);
  m_model->refreshChecks();
  m_binding->refresh();
  updateStatus();
}

QString MainWindow::statusText() const { return m_status->text(); }

void MainWindow::updateStatus() {
  OxData* list = m_model->list();
  if (!list) {
    m_status->setText(m_loadNote);
    return;
  }
  QString text = tr("%1 items (%2), %3 shown (%4), %5 checked (%6)")
                     .arg(list->count(OxData::CountRaw))
                     .arg(sized(list->size(OxData::CountRaw)))
                     .arg(list->count(OxData::CountFiltered))
                     .arg(sized(list->size(OxData::CountFiltered)))
                     .arg(list->count(OxData::CountFilteredChecked))
                     .arg(sized(list->size(OxData::CountFilteredChecked)));
  if (!m_loadNote.isEmpty())
    text += QStringLiteral("   ") + m_loadNote;
  m_status->setText(text);
}

void MainWindow::recoverChecked() {
  const OxBackup* registry = m_loader->registry();
  if (!registry || busy())
    return;
  QStringList parts;
  int total = 0;
  for (int type = 0; type < OxBackup::DataTypeCount; ++type) {
    const int n = registry->listCount(type, true);
    if (n > 0)
      parts << QStringLiteral("%1 %2").arg(dataTypeTitle(type)).arg(n);
    total += n;
  }
  if (total == 0) {
    QMessageBox::information(this, tr("Recover checked items"),
                             tr("Nothing is checked. Tick the items to recover in the lists first."));
    return;
  }
  const QString folder = QFileDialog::getExistingDirectory(
      this, tr("Recover %1 checked (%2) into").arg(itemCount(total), parts.join(QStringLiteral(", "))));
  if (!folder.isEmpty())
    recoverTo(folder);
}

bool MainWindow::recoverTo(const QString& folder) {
  OxBackup* registry = m_loader->registry();
  if (!registry || busy())
    return false;
  ExportOptions options;
  int total = 0;
  for (int type = 0; type < OxBackup::DataTypeCount; ++type) {
    const int n = registry->listCount(type, true);
    if (n > 0)
      options.types << type;
    total += n;
  }
  if (total == 0)
    return false;
  // A folder that already holds files gets a new folder for this recovery.
  QString target = folder;
  if (!CExporter::checkOutputFolder(target).isEmpty()) {
    const QString base = QDir(folder).filePath(
        tr("Recovered %1").arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH.mm.ss"))));
    target = base;
    for (int n = 2; QFileInfo::exists(target); ++n)
      target = QStringLiteral("%1 (%2)").arg(base).arg(n);
  }
  options.outputFolder = target;
  const QString device = registry->backupPropertyOriginal(0);
  if (!device.isEmpty())
    options.backupName = device;
  if (!m_recovery->start(registry, m_loader->openedBackup(), options))
    return false;
  m_recover->setEnabled(false);
  m_openAction->setEnabled(false);
  if (m_interactive) {
    m_recoverProgress = new QProgressDialog(tr("Recovering %1...").arg(itemCount(total)), tr("Cancel"), 0, 100, this);
    m_recoverProgress->setWindowTitle(tr("Recover checked items"));
    m_recoverProgress->setAttribute(Qt::WA_DeleteOnClose);
    m_recoverProgress->setMinimumDuration(0);
    m_recoverProgress->setAutoClose(false);
    m_recoverProgress->setAutoReset(false);
    connect(m_recoverProgress, &QProgressDialog::canceled, m_recovery.get(), &RecoveryRun::cancel);
    m_recoverProgress->show();
  }
  m_status->setText(tr("Recovering %1 into %2...").arg(itemCount(total), QDir::toNativeSeparators(target)));
  return true;
}

void MainWindow::onRecoveryFinished() {
  if (m_recoverProgress)
    m_recoverProgress->close();
  m_recover->setEnabled(true);
  m_openAction->setEnabled(true);
  updateStatus();
  delete m_summary;
  m_summary = new RecoverySummaryDialog(m_recovery->summary(), m_recovery->options().outputFolder, this);
  m_summary->setAttribute(Qt::WA_DeleteOnClose);
  if (m_interactive)
    m_summary->show();
  Q_EMIT recoveryFinished();
}
