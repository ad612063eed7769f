#pragma once
// RecoverySummaryDialog: what a recovery gave back: the items written, the
// files copied, the duplicates stored once, what was skipped and why, per
// data type; and a button that opens the folder.
#include <QDialog>

struct ExportSummary;

class RecoverySummaryDialog : public QDialog {
  Q_OBJECT
public:
  RecoverySummaryDialog(const ExportSummary& summary, const QString& folder, QWidget* parent = nullptr);

private:
  QString m_folder;
};
