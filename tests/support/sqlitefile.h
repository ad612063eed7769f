#pragma once
// Writing a large synthetic SQLite database straight to a file, as the
// benchmarks' app writers do: the file is replaced, the journal is off and the
// statements run in one transaction, so generating many rows stays quick.
#include <QString>
#include <QStringList>

namespace fixture {

// Replaces the file at path with a database made by the statements, in order.
// False, with the reason in *error (when given), once one fails or the file
// cannot be created.
bool writeSqliteFile(const QString& path, const QStringList& statements, QString* error);

} // namespace fixture
