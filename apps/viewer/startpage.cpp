#include "apps/viewer/startpage.h"

#include "platform/backup/nzbackup.h"

#include <QDirIterator>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QThread>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
enum Column { ColDevice, ColVersion, ColDate, ColEncrypted, ColSize, ColFolder, ColumnCount };
const int kFolderRole = Qt::UserRole + 1;
} // namespace

StartPage::StartPage(QWidget* parent) : QWidget(parent) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 24, 24, 24);
  auto* heading = new QLabel(tr("Open an iPhone or iPad backup"));
  QFont big = heading->font();
  big.setPointSizeF(big.pointSizeF() * 1.6);
  big.setBold(true);
  heading->setFont(big);
  layout->addWidget(heading);
  auto* hint = new QLabel(tr("Choose one of the backups found on this computer, or open a backup folder. "
                             "Nothing in the backup is changed."));
  hint->setWordWrap(true);
  layout->addWidget(hint);

  m_list = new QTreeWidget;
  m_list->setColumnCount(ColumnCount);
  m_list->setHeaderLabels({tr("Device"), tr("iOS"), tr("Last backup"), tr("Encrypted"), tr("Size"), tr("Folder")});
  m_list->setRootIsDecorated(false);
  m_list->setUniformRowHeights(true);
  m_list->setAlternatingRowColors(true);
  m_list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  m_list->header()->setStretchLastSection(true);
  connect(m_list, &QTreeWidget::itemDoubleClicked, this, [this] { openSelected(); });
  connect(m_list, &QTreeWidget::itemSelectionChanged, this,
          [this] { m_open->setEnabled(!m_list->selectedItems().isEmpty()); });
  layout->addWidget(m_list, 1);
  m_empty = new QLabel;
  m_empty->setWordWrap(true);
  layout->addWidget(m_empty);

  auto* buttons = new QHBoxLayout;
  auto* other = new QPushButton(tr("Open folder..."));
  connect(other, &QPushButton::clicked, this, &StartPage::chooseFolder);
  auto* again = new QPushButton(tr("Refresh"));
  connect(again, &QPushButton::clicked, this, [this] { refresh(m_root); });
  m_open = new QPushButton(tr("Open"));
  m_open->setDefault(true);
  m_open->setEnabled(false);
  connect(m_open, &QPushButton::clicked, this, &StartPage::openSelected);
  buttons->addWidget(other);
  buttons->addWidget(again);
  buttons->addStretch(1);
  buttons->addWidget(m_open);
  layout->addLayout(buttons);
}

StartPage::~StartPage() { stopSizes(); }

void StartPage::stopSizes() {
  if (!m_sizes)
    return;
  m_stopSizes = true;
  m_sizes->wait();
  delete m_sizes;
  m_sizes = nullptr;
}

void StartPage::refresh(const QString& root) {
  stopSizes();
  m_root = root;
  m_list->clear();
  const QList<BackupSummary> backups = NzBackup::listBackups(root);
  QStringList folders;
  for (const BackupSummary& b : backups) {
    auto* row = new QTreeWidgetItem(m_list);
    row->setText(ColDevice, b.deviceName.isEmpty() ? b.identifier : b.deviceName);
    row->setText(ColVersion, b.productVersion);
    row->setText(ColDate, b.date.isValid() ? QLocale().toString(b.date.toLocalTime(), QLocale::ShortFormat) : QString());
    row->setText(ColEncrypted, b.encrypted ? tr("yes") : tr("no"));
    row->setText(ColSize, tr("counting..."));
    row->setText(ColFolder, b.folder);
    row->setData(ColDevice, kFolderRole, b.folder);
    folders << b.folder;
  }
  if (backups.isEmpty())
    m_empty->setText(tr("No backups were found in %1. Use \"Open folder...\" to open one from elsewhere.")
                         .arg(root.isEmpty() ? NzBackup::backupRoots().join(QStringLiteral(", ")) : root));
  else
    m_empty->clear();
  m_empty->setVisible(backups.isEmpty());
  if (!backups.isEmpty())
    m_list->setCurrentItem(m_list->topLevelItem(0));
  if (folders.isEmpty()) {
    Q_EMIT sizesCounted();
    return;
  }
  m_stopSizes = false;
  const int generation = ++m_generation;
  m_sizes = QThread::create([this, folders, generation] {
    for (int row = 0; row < folders.size() && !m_stopSizes; ++row) {
      qint64 total = 0;
      QDirIterator it(folders.at(row), QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDirIterator::Subdirectories);
      while (it.hasNext() && !m_stopSizes) {
        it.next();
        total += it.fileInfo().size();
      }
      if (!m_stopSizes)
        QMetaObject::invokeMethod(this, [this, row, total] { onSize(row, total); }, Qt::QueuedConnection);
    }
    if (!m_stopSizes)
      QMetaObject::invokeMethod(
          this,
          [this, generation] {
            if (generation != m_generation)
              return; // a later listing replaced this one
            stopSizes();
            Q_EMIT sizesCounted();
          },
          Qt::QueuedConnection);
  });
  m_sizes->start();
}

void StartPage::onSize(int row, qint64 bytes) {
  if (QTreeWidgetItem* item = m_list->topLevelItem(row))
    item->setText(ColSize, QLocale().formattedDataSize(bytes));
}

void StartPage::openSelected() {
  const QList<QTreeWidgetItem*> selected = m_list->selectedItems();
  if (selected.isEmpty())
    return;
  stopSizes();
  Q_EMIT openRequested(selected.first()->data(ColDevice, kFolderRole).toString());
}

void StartPage::chooseFolder() {
  const QString folder = QFileDialog::getExistingDirectory(this, tr("Open a backup folder"), m_root);
  if (folder.isEmpty())
    return;
  stopSizes();
  Q_EMIT openRequested(folder);
}
