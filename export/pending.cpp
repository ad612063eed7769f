#include "export/exportcontext.h"
namespace exporting {
void writeNotes(ExportContext&, const ItemList& items, Walk& walk) { for (int i = 0; i < items.size(); ++i) if (!walk.itemDone()) return; }
void writeCalendar(ExportContext&, const ItemList& items, Walk& walk) { for (int i = 0; i < items.size(); ++i) if (!walk.itemDone()) return; }
void writeSafari(ExportContext&, const ItemList& items, Walk& walk) { for (int i = 0; i < items.size(); ++i) if (!walk.itemDone()) return; }
void writeCalls(ExportContext&, const ItemList& items, Walk& walk) { for (int i = 0; i < items.size(); ++i) if (!walk.itemDone()) return; }
void writeJson(ExportContext&, const ExportSummary&, const QString&, const QList<int>&, const QList<ItemList>&) {}
}
