#include "export/csvtable.h"

#include "model/oxabstractitem.h"

namespace exporting {
QByteArray csvRow(const QStringList& fields) {
  QByteArray row;
  for (int i = 0; i < fields.size(); ++i) {
    if (i > 0)
      row.append(',');
    const QString& f = fields.at(i);
    const bool quote = f.contains(QLatin1Char(',')) || f.contains(QLatin1Char('"')) ||
                       f.contains(QLatin1Char('\n')) || f.contains(QLatin1Char('\r')) ||
                       (!f.isEmpty() && (f.front().isSpace() || f.back().isSpace()));
    if (!quote) {
      row.append(f.toUtf8());
      continue;
    }
    row.append('"');
    row.append(QString(f).replace(QLatin1Char('"'), QLatin1String("\"\"")).toUtf8());
    row.append('"');
  }
  row.append("\r\n");
  return row;
}

int writeCsvTable(ExportContext& ctx, const QString& relativePath, const ItemList& items, int dateColumn,
                  const std::function<bool(const OxAbstractItem&)>& accept) {
  TextFile out;
  if (!out.open(ctx.out().absolute(relativePath))) {
    ctx.skip(relativePath, QStringLiteral("cannot write: ") + out.errorString());
    return 0;
  }
  int rows = 0;
  for (const OxAbstractItem* item : items) {
    if (!item || !accept(*item))
      continue;
    if (rows == 0) {
      QStringList header;
      for (int c = 0; c < item->columnCount(); ++c)
        header << item->columnName(c);
      out << csvRow(header << QStringLiteral("Date (UTC)"));
    }
    QStringList fields;
    for (int c = 0; c < item->columnCount(); ++c)
      fields << item->value(c);
    const QVariant key = item->sortValue(dateColumn);
    const QDateTime date = key.userType() == QMetaType::QDateTime ? key.toDateTime() : QDateTime();
    fields << (date.isValid() ? date.toUTC().toString(Qt::ISODate) : QString());
    out << csvRow(fields);
    ++rows;
  }
  if (!out.close())
    ctx.skip(relativePath, QStringLiteral("cannot write: ") + out.errorString());
  return rows;
}
} // namespace exporting
