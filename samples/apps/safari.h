#pragma once
// Writers of the web browser's stores: Bookmarks.db, History.db (with the
// phone's schema) and the older binary property lists Bookmarks.plist and
// History.plist.
#include "samples/backupfixture.h"

namespace fixture {

// One row of the table "bookmarks": a folder (empty url) or a bookmark.
struct SafariBookmark {
  int id = 0;
  int parent = 0;
  QString title;
  QString url;
  int specialId = 0; // 1 favourites, 2 bookmarks menu, 3 reading list
};

// One visit; visits of the same URL share one history_items row.
struct SafariVisit {
  QString url;
  QString title;
  double visitTime = 0; // seconds since 2001-01-01 UTC
};

// One element of a property list: a URL, its title and its redirect targets.
struct SafariPlistEntry {
  QString url;
  QString title;
  QStringList redirectUrls;
};

// The root folder (id 0), BookmarksBar (1, favourites), BookmarksMenu (2) and
// com.apple.ReadingList (3), then the rows given.
QStringList bookmarksStatements(const QList<SafariBookmark>& rows, bool withSpecialFolders = true);
QStringList historyStatements(const QList<SafariVisit>& visits);
// Binary property lists (XML with binary = false).
QByteArray bookmarksPlist(const QList<SafariPlistEntry>& readingList, bool binary = true);
QByteArray historyPlist(const QList<SafariPlistEntry>& entries, bool binary = true);

// HomeDomain/Library/Safari/Bookmarks.db (rollback journal, as on the phone).
QList<StoredFile> bookmarksDbFiles(const QStringList& statements);
// Library/Safari/History.db of the domain, in WAL mode with its -wal record.
QList<StoredFile> historyDbFiles(const QStringList& statements,
                                 const QString& domain = QStringLiteral("AppDomain-com.apple.mobilesafari"));

// What the sample backup holds: favourites, a folder, the reading list, two
// history databases' worth of visits and an old History.plist.
QList<StoredFile> sampleSafariFiles();

} // namespace fixture
