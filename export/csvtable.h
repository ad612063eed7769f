#pragma once
// A CSV table as RFC 4180 has it: UTF-8, CRLF line ends, a field quoted when
// it holds a comma, a quote, a line break or leading/trailing blanks, quotes
// doubled inside. Text goes in exactly as the backup has it.
#include "export/exportcontext.h"

#include <QStringList>

namespace exporting {
QByteArray csvRow(const QStringList& fields);

// The item list as a table: a header of the item kind's column names plus
// "Date (UTC)" (the ISO 8601 time of the date column's key), one row per item
// for which accept holds. Records a failure to write as a skip. Returns the
// number of rows written.
int writeCsvTable(ExportContext& ctx, const QString& relativePath, const ItemList& items, int dateColumn,
                  const std::function<bool(const OxAbstractItem&)>& accept);
} // namespace exporting
