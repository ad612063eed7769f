#pragma once
// Writing a large synthetic SQLite database straight to a file, as the
// benchmarks' app writers do: the file is replaced, the journal is off and the
// statements run in one transaction, so generating many rows stays quick.
// Also the quoting of texts into the statements the app writers generate.
#include <QString>
#include <QStringList>

#include <type_traits>

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

// The statement with %1, %2, ... replaced in one pass: texts as they are,
// integers in decimal (format other numbers before).
inline QString sqlArg(const QString& text) { return text; }
template <typename T, typename = std::enable_if_t<std::is_integral<T>::value || std::is_enum<T>::value>>
QString sqlArg(T v) {
  return QString::number(qlonglong(v));
}
template <typename... T> QString sqlf(const char* statement, const T&... values) {
  return QString::fromUtf8(statement).arg(sqlArg(values)...);
}

} // namespace fixture
