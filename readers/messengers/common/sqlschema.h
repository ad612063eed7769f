#pragma once
// SqlSchema: the tables and columns of one database, read once before a
// reader builds its statements.
//
// App versions add and drop columns. A reader that names a column the
// database at hand lacks would lose the whole table (the statement does not
// prepare); selecting NULL in its place keeps the table and reads the column
// as "not set". selectFrom builds such a statement. A table the database
// lacks is left named as it is: its statement fails and the query logs the
// file and the reason, as for any other missing table.
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

class SqlSchema {
public:
  // Reads the names of the tables and views and their columns; false (and an
  // empty schema) when the file cannot be opened or is not a database.
  bool load(const QString& path);

  // Names are compared without regard to case.
  bool hasTable(const QString& table) const;
  bool hasColumn(const QString& table, const QString& column) const;

  // "select c1, c2, ... from table" + tail, each column the table lacks
  // replaced by NULL (the column list keeps its positions). When the table
  // itself is missing every column is named as given.
  QString selectFrom(const QString& table, const QStringList& columns, const QString& tail = QString()) const;

  // "order by c1, c2..." over the columns the table has, in that order (a
  // column may carry " desc"); empty when it has none of them.
  QString orderBy(const QString& table, const QStringList& columns) const;

private:
  QHash<QString, QSet<QString>> m_columns; // lower-case table -> lower-case columns
};
