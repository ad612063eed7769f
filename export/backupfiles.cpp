#include "export/backupfiles.h"

#include "export/outputfolder.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "service/progress.h"

#include <QDir>
#include <QRegularExpression>

namespace {
QRegularExpression patternOf(const QString& glob) {
  if (glob.isEmpty())
    return QRegularExpression();
  QString re = QRegularExpression::escape(glob);
  re.replace(QLatin1String("\\*"), QLatin1String(".*"));
  re.replace(QLatin1String("\\?"), QLatin1String("."));
  return QRegularExpression(QRegularExpression::anchoredPattern(re), QRegularExpression::DotMatchesEverythingOption);
}

bool matchesPattern(const QRegularExpression& re, const QString& text) {
  return re.pattern().isEmpty() || re.match(text).hasMatch();
}
} // namespace

struct BackupFileFilter::Private {
  QRegularExpression domain;
  QRegularExpression path;
};

BackupFileFilter::BackupFileFilter(const QString& domainPattern, const QString& pathPattern)
    : d(new Private{patternOf(domainPattern), patternOf(pathPattern)}) {}
BackupFileFilter::~BackupFileFilter() { delete d; }
BackupFileFilter::BackupFileFilter(const BackupFileFilter& other) : d(new Private(*other.d)) {}
BackupFileFilter& BackupFileFilter::operator=(const BackupFileFilter& other) {
  *d = *other.d;
  return *this;
}

bool BackupFileFilter::matches(const BackupFileRecord& record) const {
  return matchesPattern(d->domain, record.domain) && matchesPattern(d->path, record.relativePath);
}

QList<int> BackupFileFilter::select(const MobileBackup& backup) const {
  QList<int> indexes;
  for (int i = 0; i < backup.fileCount(); ++i)
    if (matches(backup.fileAt(i)))
      indexes << i;
  return indexes;
}

QString ExtractSummary::line() const {
  if (!error.isEmpty())
    return QStringLiteral("failed: ") + error;
  QString text = QStringLiteral("%1 %2 written").arg(files).arg(files == 1 ? "file" : "files");
  if (!skipped.isEmpty()) {
    QStringList reasons;
    for (const ExportSkip& s : skipped)
      if (!reasons.contains(s.reason))
        reasons << s.reason;
    text += QStringLiteral("; %1 skipped (%2)").arg(skipped.size()).arg(reasons.join(QStringLiteral(", ")));
  }
  if (cancelled)
    text += QStringLiteral("; cancelled");
  return text;
}

ExtractSummary extractBackupFiles(MobileBackup& backup, const QList<int>& records, const QString& outputFolder,
                                  CIProgressCallback* progress) {
  using exporting::safeFileName;
  ExtractSummary summary;
  summary.error = CExporter::checkOutputFolder(outputFolder);
  if (summary.error.isEmpty() && !QDir().mkpath(outputFolder))
    summary.error = QStringLiteral("cannot create ") + outputFolder;
  if (!summary.error.isEmpty())
    return summary;
  exporting::OutputFolder out(outputFolder);
  if (progress)
    progress->initRange(std::max(1, int(records.size())));
  for (int index : records) {
    const BackupFileRecord record = backup.fileAt(index);
    const QString what = record.domain + QLatin1Char('/') + record.relativePath;
    QStringList parts;
    parts << safeFileName(record.domain, QStringLiteral("domain"));
    for (const QString& part : record.relativePath.split(QLatin1Char('/'), Qt::SkipEmptyParts))
      parts << safeFileName(part);
    const QString name = parts.takeLast();
    const QString folder = parts.join(QLatin1Char('/'));
    const QString source = backup.filePath(index);
    QString error;
    if (source.isEmpty())
      error = QStringLiteral("missing from the backup");
    else if (!out.makeFolder(folder))
      error = QStringLiteral("cannot create the folder ") + folder;
    else
      error = out.copyInto(source, out.reserve(folder, name), CCommonUtils::buildDateTimeBaseUnix(record.modified));
    if (error.isEmpty())
      ++summary.files;
    else
      summary.skipped.append({what, error});
    if (progress && !progress->progress(1)) {
      summary.cancelled = true;
      break;
    }
  }
  if (progress)
    progress->finish();
  return summary;
}
