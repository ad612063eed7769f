#include "readers/ios/notes/deletednotes.h"

#include "platform/common/log.h"
#include "platform/sqlitecarve/sqlitecarver.h"

#include <QHash>

#include <sqlite3.h>

#include <algorithm>

using sqlitecarve::CarvedRecord;
using sqlitecarve::CarvedRow;
using sqlitecarve::TableLayout;

namespace {
const char kModule[] = "CNoteQuery";

// The live bodies of the store by their key (ZNOTEBODY.Z_PK; note_id in
// notes.db), and the keys of its live notes.
QHash<qint64, QString> liveBodies(const QString& path, bool coreData, QSet<qint64>* liveNotes) {
  QHash<qint64, QString> bodies;
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    const char* sql = coreData ? "select z_pk, zcontent from znotebody" : "select note_id, data from note_bodies";
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) == SQLITE_OK) {
      while (sqlite3_step(stmt) == SQLITE_ROW)
        bodies.insert(sqlite3_column_int64(stmt, 0),
                      QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1))));
    }
    sqlite3_finalize(stmt);
    stmt = nullptr;
    if (sqlite3_prepare_v2(db, coreData ? "select z_pk from znote" : "select rowid from note", -1, &stmt, nullptr) ==
        SQLITE_OK) {
      while (sqlite3_step(stmt) == SQLITE_ROW)
        liveNotes->insert(sqlite3_column_int64(stmt, 0));
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  return bodies;
}
} // namespace

QString LegacyNotes::shownKey(const QString& title, qint64 modified, const QString& html) {
  return QStringLiteral("%1|%2|%3").arg(modified).arg(title, html);
}

QList<LegacyNoteRow> LegacyNotes::deletedNotes(const QString& path, bool coreData,
                                               const QSet<QString>& liveIdentifiers, const QSet<QString>& liveShown) {
  QList<LegacyNoteRow> out;
  auto tune = [&](TableLayout& t) {
    if (coreData)
      sqlitecarve::tuneForCoreData(t, path);
  };
  QString error;
  // Bodies: by key, and by owner for those whose key was lost.
  QSet<qint64> liveNotes;
  QHash<qint64, QString> byKey = liveBodies(path, coreData, &liveNotes);
  QHash<qint64, QString> byOwner;
  QHash<qint64, qint64> ownerOfKey; // carved bodies that kept their key
  TableLayout bodies;
  const QString ownerColumn = coreData ? QStringLiteral("ZOWNER") : QStringLiteral("note_id");
  const QString contentColumn = coreData ? QStringLiteral("ZCONTENT") : QStringLiteral("data");
  const QVector<CarvedRecord> carvedBodies = sqlitecarve::carveTable(
      path, QString::fromLatin1(coreData ? "ZNOTEBODY" : "note_bodies"),
      [&](TableLayout& t) {
        tune(t);
        bodies = t;
      },
      &error);
  for (const CarvedRecord& r : carvedBodies) {
    const CarvedRow row(bodies, r);
    const QString content = row.text(contentColumn);
    if (content.isEmpty())
      continue;
    const qint64 owner = row.integer(ownerColumn);
    if (owner > 0 && !byOwner.contains(owner))
      byOwner.insert(owner, content);
    // notes.db keys its bodies by note_id, not by row.
    if (coreData && r.hasRowid && !r.rowidLive && !byKey.contains(r.rowid)) {
      byKey.insert(r.rowid, content);
      ownerOfKey.insert(r.rowid, owner);
    }
  }

  error.clear();
  TableLayout notes;
  const QVector<CarvedRecord> carved = sqlitecarve::carveTable(
      path, QString::fromLatin1(coreData ? "ZNOTE" : "Note"),
      [&](TableLayout& t) {
        tune(t);
        notes = t;
      },
      &error);
  if (!error.isEmpty()) {
    Log(kModule, 1, "No deleted legacy notes: %s", qPrintable(error));
    return out;
  }
  QSet<QString> identifiers = liveIdentifiers;
  QSet<QString> shown = liveShown;
  QSet<qint64> claimed; // owners whose body a carved note took or could take
  for (const CarvedRecord* r : sqlitecarve::deletedRowsKeyedFirst(carved)) {
    const CarvedRow row(notes, *r);
    LegacyNoteRow n;
    n.key = r->hasRowid ? r->rowid : 0;
    n.title = row.text(coreData ? QStringLiteral("ZTITLE") : QStringLiteral("title"));
    n.modified = row.real(coreData ? QStringLiteral("ZMODIFICATIONDATE") : QStringLiteral("modification_date"));
    if (n.title.isEmpty() || !(n.modified > 0 && n.modified < 3124137600.0))
      continue;
    if (coreData) {
      n.identifier = row.text(QStringLiteral("ZGUID")).toLower();
      n.store = row.integer(QStringLiteral("ZSTORE"));
      const qint64 body = row.integer(QStringLiteral("ZBODY"));
      n.html = byKey.value(body);
      if (ownerOfKey.contains(body))
        claimed.insert(ownerOfKey.value(body));
    } else {
      n.html = n.key > 0 ? byKey.value(n.key) : QString();
    }
    if (n.key > 0)
      claimed.insert(n.key);
    if (n.html.isEmpty() && n.key > 0)
      n.html = byOwner.value(n.key);
    if (!n.identifier.isEmpty() && identifiers.contains(n.identifier))
      continue;
    const QString key = shownKey(n.title, qint64(n.modified), n.html);
    if (shown.contains(key))
      continue;
    if (!n.identifier.isEmpty())
      identifiers.insert(n.identifier);
    shown.insert(key);
    out << n;
  }
  // A rollback store's free blocks take the keys of both a note and its
  // body: when exactly one recovered note lacks its body and exactly one
  // deleted body has no note, they belong together.
  int bodiless = -1;
  int bodilessCount = 0;
  for (int i = 0; i < out.size(); ++i) {
    if (out.at(i).html.isEmpty()) {
      bodiless = i;
      ++bodilessCount;
    }
  }
  QStringList orphans;
  for (auto it = byOwner.constBegin(); it != byOwner.constEnd(); ++it) {
    if (!liveNotes.contains(it.key()) && !claimed.contains(it.key()))
      orphans << it.value();
  }
  if (bodilessCount == 1 && orphans.size() == 1)
    out[bodiless].html = orphans.first();
  Log(kModule, 1, "%s: %d deleted notes recovered", qPrintable(path), out.size());
  return out;
}
