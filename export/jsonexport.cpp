// sherd.json: the dump document over the items the run wrote; every path in
// it is the exported copy's, relative to the output folder, or empty when the
// file was not written. The backup is named by its folder's name, so that a
// plain and an encrypted backup of the same phone give the same bytes.
#include "export/dumpwriter.h"
#include "export/exportcontext.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"

#include <cstdio>

namespace exporting {
void writeJson(ExportContext& ctx, OxBackup& registry, const QString& backupName, const QList<int>& types,
               const QList<ItemList>& chosen) {
  const QString relative = QStringLiteral("sherd.json");
  const QString path = ctx.out().absolute(relative);
  FILE* file = std::fopen(QFile::encodeName(path).constData(), "wbx");
  if (!file) {
    ctx.skip(relative, QStringLiteral("cannot write"));
    return;
  }
  {
    JsonWriter w(file);
    w.setPathNamer([&ctx](const QString& local) { return ctx.exportedPath(local); });
    DumpWriter dump(w);
    QStringList properties;
    for (int i = 0; i < OxBackup::PropertyCount; ++i)
      properties << registry.backupPropertyOriginal(i);
    dump.begin(backupName, properties);
    for (int i = 0; i < types.size(); ++i) {
      OxData* list = registry.getOxData(types.at(i));
      if (list)
        dump.writeList(types.at(i), CExporter::typeFolderName(types.at(i)), *list, chosen.value(i));
    }
    dump.end();
  }
  if (std::ferror(file) || std::fclose(file) != 0)
    ctx.skip(relative, QStringLiteral("cannot write"));
}
} // namespace exporting
