#pragma once
// Writing a large synthetic SQLite database straight to a file, as the
// benchmarks' app writers do: the file is replaced, the journal is off and the
// statements run in one transaction, so generating many rows stays quick.
// Also the quoting of texts into the statements the app writers generate.
#include <QString>
#include <QStringList>

namespace fixture {

// Replaces the file at path with a database made by the statements, in order.
// False, with the reason in *error (when given), once one fails or the file
// cannot be created.
bool writeSqliteFile(const QString& path, const QStringList& statements, QString* error);

// SQL literals for the statements the app writers generate: the text in
// single quotes with its quotes doubled. sqlQuoted always quotes (a null text
// gives ''); sqlNullable gives NULL for a null text; sqlQuotedOrNull gives
// NULL for an empty one as well.
QString sqlQuoted(const QString& text);
QString sqlNullable(const QString& text);
QString sqlQuotedOrNull(const QString& text);

} // namespace fixture
