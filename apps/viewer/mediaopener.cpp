#include "apps/viewer/mediaopener.h"

#include "platform/common/utils.h"

#include <QCryptographicHash>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QMimeDatabase>
#include <QScrollArea>
#include <QUrl>
#include <QVBoxLayout>

bool showPicture(QWidget* parent, const QString& path, const QString& title) {
  QImageReader reader(path);
  reader.setAutoTransform(true);
  const QImage image = reader.read();
  if (image.isNull())
    return false;
  auto* dialog = new QDialog(parent);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(title);
  auto* label = new QLabel;
  label->setPixmap(QPixmap::fromImage(image));
  auto* area = new QScrollArea;
  area->setWidget(label);
  area->setAlignment(Qt::AlignCenter);
  auto* layout = new QVBoxLayout(dialog);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(area);
  dialog->resize(qMin(image.width() + 24, 1200), qMin(image.height() + 24, 900));
  dialog->show();
  return true;
}

QString desktopCopy(const QString& path) {
  const QFileInfo info(path);
  if (path.isEmpty() || !info.isFile())
    return QString();
  const QString root = Utils::tempPath();
  if (root.isEmpty())
    return QString();
  QString suffix = info.suffix();
  if (suffix.isEmpty())
    suffix = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchContent).preferredSuffix();
  // One copy per source file, named after it so that a second click reuses it.
  const QByteArray id = QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
  const QString folder = root + QStringLiteral("viewer-open");
  QDir().mkpath(folder);
  const QString copy = folder + QLatin1Char('/') + QString::fromLatin1(id) +
                       (suffix.isEmpty() ? QString() : QLatin1Char('.') + suffix);
  if (!QFile::exists(copy) && !QFile::copy(path, copy))
    return QString();
  return copy;
}

bool openWithDesktop(const QString& path) {
  const QString copy = desktopCopy(path);
  return !copy.isEmpty() && QDesktopServices::openUrl(QUrl::fromLocalFile(copy));
}
