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
