// libFuzzer target: the browser's oldest generation, Bookmarks.plist and
// History.plist, read into a list as the Safari reader does.
#include "model/oxdata.h"
#include "readers/ios/safari/safariplist.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QTemporaryDir dir;
  const QString path = QDir(dir.path()).filePath(QStringLiteral("list.plist"));
  QFile f(path);
  if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
    return 0;
  f.write(reinterpret_cast<const char*>(data), qint64(size));
  f.close();
  OxData bookmarks(9), history(9);
  SafariPlist::readBookmarks(path, &bookmarks);
  SafariPlist::readHistory(path, &history);
  return 0;
}
