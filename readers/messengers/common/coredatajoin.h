#pragma once
// Core Data join tables whose names carry entity numbers.
//
// Core Data names the table of a to-many relationship Z_<n><RELATION> and its
// two columns Z_<n><INVERSE> and Z_<m><RELATION>, where n and m are the entity
// numbers of the two sides. The numbers follow the order of the entities in the
// app's data model, so they move when a new app version adds an entity: one Kik
// version joins chats to messages in Z_4MESSAGES(Z_4CHAT, Z_6MESSAGES), another
// in Z_3MESSAGES(Z_3CHAT, Z_5MESSAGES). A reader finds the table of the
// database at hand by its shape instead.
#include "backup/cisqlitequery.h"

#include <QList>
#include <QMap>
#include <QString>

struct sqlite3;

struct CoreDataJoinTable {
  QString table;      // e.g. Z_3MESSAGES
  QString ownerCol;   // the owning side's key, e.g. Z_3CHAT
  QString memberCol;  // the other side's key, e.g. Z_5MESSAGES
  bool isNull() const { return table.isEmpty(); }
};

namespace CoreDataJoin {
// Finds a table named Z_<digits><relation> with a column Z_<digits><owner>
// and a column Z_<digits><relation> (names compared without regard to case).
// With several candidates the one with the lowest number wins. Null when the
// schema has none or cannot be read.
CoreDataJoinTable find(sqlite3* db, const QString& relation, const QString& ownerSuffix);

// Whether the table exists and has both columns (case-insensitive).
bool hasShape(sqlite3* db, const CoreDataJoinTable& join);
} // namespace CoreDataJoin

// A join table read into a map from the owning key to its member keys, each
// list in row order. The statements name one numbering of the table; where the
// database at hand lacks that table, the table of the same shape is found in
// its schema and queried instead.
class CCoreDataJoinQuery : public CISQLiteQuery {
public:
  const QMap<qint64, QList<qint64>>& links() const { return m_links; }

  // Runs the named statements, or for each database whose join table is
  // numbered otherwise, the equivalent COUNT and SELECT of its own table.
  void query(const QStringList& files, CIProgressCallback* progress) override;

  // The table the statements name, and the statements for another table of the
  // same shape.
  const CoreDataJoinTable& namedTable() const { return m_named; }
  QString selectFor(const CoreDataJoinTable& join) const;
  static QString countFor(const CoreDataJoinTable& join);

protected:
  CCoreDataJoinQuery(const CoreDataJoinTable& named, const QString& relation, const QString& ownerSuffix, bool ordered);
  bool onRow(sqlite3_stmt* stmt) override;
  QString customSql(sqlite3* db) override;

private:
  // The table to query in this database: null when the named one is there (or
  // nothing better is), else the one found by its shape.
  CoreDataJoinTable resolve(sqlite3* db) const;

  CoreDataJoinTable m_named;
  QString m_relation;
  QString m_ownerSuffix;
  bool m_ordered; // order the rows by the member key
  QString m_replacement; // the SELECT for the database being read, empty for the listed one
  QMap<qint64, QList<qint64>> m_links;
};

