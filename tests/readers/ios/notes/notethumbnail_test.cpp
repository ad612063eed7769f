#include "readers/ios/notes/notethumbnail.h"
#include "samples/apps/notes.h"

#include <QColor>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
// A 40x20 picture of four solid quarters, so that every turn and mirror moves
// a different colour into the top-left corner.
QImage quarters() {
  QImage image(40, 20, QImage::Format_RGB32);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 40; ++x)
      image.setPixel(
          x, y, y < 10 ? (x < 20 ? qRgb(255, 0, 0) : qRgb(0, 255, 0)) : (x < 20 ? qRgb(0, 0, 255) : qRgb(255, 255, 0)));
  return image;
}

QString corner(const QImage& image) {
  const QColor c = image.pixelColor(3, 3); // inside the quarter, away from JPEG ringing
  return QStringLiteral("%1%2%3").arg(c.red() > 128).arg(c.green() > 128).arg(c.blue() > 128);
}

// A camera photo is shown the way its orientation tag says, whichever of the
// eight it is.
TEST(NoteThumbnail, AppliesEveryExifOrientation) {
  QTemporaryDir dir;
  const QString red = "100", green = "010", blue = "001", yellow = "110";
  struct Row {
    int orientation;
    QSize size;
    QString topLeft;
  } rows[] = {
      {1, {40, 20}, red},    // as stored
      {2, {40, 20}, green},  // mirrored left to right
      {3, {40, 20}, yellow}, // half turn
      {4, {40, 20}, blue},   // flipped top to bottom
      {5, {20, 40}, red},    // transposed
      {6, {20, 40}, blue},   // quarter turn clockwise
      {7, {20, 40}, yellow}, // transposed across the other diagonal
      {8, {20, 40}, green},  // quarter turn anticlockwise
  };
  for (const Row& r : rows) {
    const QString path = dir.filePath(QStringLiteral("o%1.jpg").arg(r.orientation));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(fixture::notes::jpegWithOrientation(quarters(), r.orientation));
    file.close();
    QImage stored;
    ASSERT_TRUE(stored.load(path)) << r.orientation;
    ASSERT_EQ(stored.size(), QSize(40, 20)) << r.orientation; // loading alone does not turn it
    const QImage upright = NoteThumbnail::load(path);
    EXPECT_EQ(upright.size(), r.size) << r.orientation;
    EXPECT_EQ(corner(upright), r.topLeft) << r.orientation;
  }
}

// A file without an orientation is shown as stored; a wide one is scaled down
// to the thumbnail width; a missing or unreadable one gives no picture.
TEST(NoteThumbnail, KeepsUntaggedPicturesScalesWideOnesAndRefusesBadFiles) {
  QTemporaryDir dir;
  const QString png = dir.filePath("plain.png");
  ASSERT_TRUE(quarters().save(png, "PNG"));
  EXPECT_EQ(NoteThumbnail::load(png).convertToFormat(QImage::Format_RGB32), quarters());
  const QString wide = dir.filePath("wide.png");
  ASSERT_TRUE(quarters().scaled(1000, 500).save(wide, "PNG"));
  EXPECT_EQ(NoteThumbnail::load(wide).size(), QSize(NoteThumbnail::kMaxWidth, NoteThumbnail::kMaxWidth / 2));
  const QString junk = dir.filePath("junk.jpg");
  QFile file(junk);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("not a picture");
  file.close();
  for (const QString& path : {dir.filePath("missing.jpg"), junk, QString()})
    EXPECT_TRUE(NoteThumbnail::load(path).isNull()) << qPrintable(path);
}
} // namespace
