#pragma once
// The legacy notes that the phone deleted but notes.sqlite (the Core Data
// store: ZNOTE with its body in ZNOTEBODY) or the oldest notes.db (Note with
// note_bodies) still holds, carved out of the database's free space
// (platform/sqlitecarve).
//
// A note's body is found, in this order: the live body row of the note's body
// key (ZBODY), a carved one that kept its key, a carved one whose owner
// (ZOWNER; note_id in notes.db) is the note's key. A note without its key (a
// free block's header overwrote it) reaches its body only through ZBODY. A
// note whose body is lost keeps its title, and its text is empty.
//
// What is kept: a carved note that no live note shows: dropped are an older
// version of a live note (its key is live), a note whose identifier (ZGUID) a
// live note has, and copies (identifier, else title, date and body).
#include <QList>
#include <QSet>
#include <QString>

struct LegacyNoteRow {
  QString title;
  double modified = 0; // seconds since 2001-01-01 UTC
  QString html;        // the body
  qint64 key = 0;      // 0 when lost
  qint64 store = 0;
  QString identifier; // lower-case; empty in notes.db
};

namespace LegacyNotes {
// The deleted notes of one legacy store; live: identifiers (lower-case) and
// "title|date|body" texts of the notes the store (or the modern store) lists.
// A store that cannot be carved is logged and gives nothing.
QList<LegacyNoteRow> deletedNotes(const QString& path, bool coreData, const QSet<QString>& liveIdentifiers,
                                  const QSet<QString>& liveShown);
// The text a note shows, for liveShown.
QString shownKey(const QString& title, qint64 modified, const QString& html);
} // namespace LegacyNotes
