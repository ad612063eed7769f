#include "readers/ios/notes/notethumbnail.h"

#include "platform/common/commonutils.h"

#include <QImageReader>
#include <QTransform>

namespace NoteThumbnail {

QImage load(const QString& path) {
  if (path.isEmpty())
    return QImage();
  // Photos from a camera are stored as the sensor read them, with an
  // orientation tag (EXIF in JPEG and HEIF); the reader applies all eight.
  QImageReader reader(path);
  reader.setAutoTransform(true);
  QImage image = reader.read();
  if (image.isNull())
    return QImage();
  if (image.width() > kMaxWidth)
    image = image.scaledToWidth(kMaxWidth, Qt::SmoothTransformation);
  return image;
}

QString rotate(const QString& path, int orientation, qint64 number, const QString& folder) {
  static const int kAngles[] = {0, 180, 270, 90};
  if (orientation < 0 || orientation > 3 || kAngles[orientation] == 0)
    return path;
  QImage image;
  if (!image.load(path))
    return path;
  const QImage turned = image.transformed(QTransform().rotate(kAngles[orientation]), Qt::SmoothTransformation);
  if (turned.isNull())
    return path;
  const QString target = CCommonUtils::uniqFileName(folder, QStringLiteral("attach_%1.png").arg(number));
  return turned.save(target, "PNG") ? target : path;
}

} // namespace NoteThumbnail
