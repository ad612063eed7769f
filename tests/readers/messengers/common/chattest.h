#pragma once
// What the chat reader tests share: finding a chat by name, counting its
// messages, and a folder standing in for a backup.
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"

#include <QDir>
#include <QFile>

namespace chattest {
inline OxWhatsappItem* itemNamed(OxData* list, const QString& name) {
  for (int i = 0; i < list->count(OxData::CountRaw); ++i)
    if (list->at(i, false)->value(0) == name)
      return static_cast<OxWhatsappItem*>(list->at(i, false));
  return nullptr;
}

inline int messageTotal(OxData* list) {
  int n = 0;
  for (int i = 0; i < list->count(OxData::CountRaw); ++i)
    n += static_cast<OxWhatsappItem*>(list->at(i, false))->detailContent()->messages().size();
  return n;
}

// The file at the app's path under the folder, or empty when there is none.
inline QString fileIn(const QString& folder, const QString& path) {
  const QString local = QDir(folder).filePath(path.startsWith(QLatin1Char('/')) ? path.mid(1) : path);
  return QFile::exists(local) ? local : QString();
}
} // namespace chattest
