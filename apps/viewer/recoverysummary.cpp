#include "apps/viewer/recoverysummary.h"

#include "apps/viewer/datatypes.h"
#include "export/exporter.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

RecoverySummaryDialog::RecoverySummaryDialog(const ExportSummary& summary, const QString& folder, QWidget* parent)
    : QDialog(parent), m_folder(folder) {
  setWindowTitle(tr("Recovery summary"));
  auto* layout = new QVBoxLayout(this);
  QString heading;
  switch (summary.outcome) {
  case ExportSummary::Finished: heading = tr("%1 recovered").arg(itemCount(summary.items())); break;
  case ExportSummary::Cancelled:
    heading = tr("Recovery cancelled after %1").arg(itemCount(summary.items()));
    break;
  case ExportSummary::Failed: heading = tr("The recovery failed"); break;
  }
  auto* title = new QLabel(heading);
  QFont big = title->font();
  big.setPointSizeF(big.pointSizeF() * 1.3);
  big.setBold(true);
  title->setFont(big);
  layout->addWidget(title);
  QString where = tr("into %1").arg(QDir::toNativeSeparators(folder));
  if (summary.outcome == ExportSummary::Failed)
    where = summary.error;
  auto* place = new QLabel(where);
  place->setWordWrap(true);
  place->setTextInteractionFlags(Qt::TextSelectableByMouse);
  layout->addWidget(place);
  layout->addWidget(new QLabel(tr("%1 recovered, %2 files copied, %3 duplicates stored once, %4 skipped")
                                   .arg(summary.items())
                                   .arg(summary.files())
                                   .arg(summary.duplicates())
                                   .arg(summary.skipped())));

  auto* table = new QTreeWidget;
  table->setRootIsDecorated(false);
  table->setHeaderLabels({tr("Data"), tr("Recovered"), tr("Files"), tr("Duplicates"), tr("Skipped")});
  for (const ExportTypeSummary& t : summary.types) {
    auto* row = new QTreeWidgetItem(table, {t.name.isEmpty() ? dataTypeTitle(t.type) : t.name, QString::number(t.items),
                                            QString::number(t.files), QString::number(t.duplicates),
                                            QString::number(t.skipped.size())});
    for (int c = 1; c < 5; ++c)
      row->setTextAlignment(c, Qt::AlignRight | Qt::AlignVCenter);
  }
  table->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  layout->addWidget(table, 1);

  QStringList reasons;
  for (const ExportTypeSummary& t : summary.types)
    for (const ExportSkip& s : t.skipped)
      reasons << QStringLiteral("%1: %2").arg(s.what, s.reason);
  if (!reasons.isEmpty()) {
    layout->addWidget(new QLabel(tr("Skipped:")));
    auto* list = new QTreeWidget;
    list->setHeaderHidden(true);
    list->setRootIsDecorated(false);
    for (const QString& r : reasons.mid(0, 500))
      new QTreeWidgetItem(list, {r});
    layout->addWidget(list, 1);
  }

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  if (summary.outcome != ExportSummary::Failed) {
    QPushButton* open = buttons->addButton(tr("Open folder"), QDialogButtonBox::ActionRole);
    open->setDefault(true);
    connect(open, &QPushButton::clicked, this, [this] { QDesktopServices::openUrl(QUrl::fromLocalFile(m_folder)); });
  }
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons);
  resize(560, 420);
}
