#include "samples/apps/safari.h"

#include "samples/sqlitefile.h"

#include <QHash>

#include <plist/plist.h>

#include <cstdlib>

namespace fixture {
namespace {
QByteArray serialize(plist_t root, bool binary) {
  char* out = nullptr;
  uint32_t length = 0;
  if (binary)
    plist_to_bin(root, &out, &length);
  else
    plist_to_xml(root, &out, &length);
  const QByteArray bytes(out, int(length));
  free(out);
  plist_free(root);
  return bytes;
}

plist_t entryNode(const SafariPlistEntry& e, bool underUriDictionary) {
  plist_t element = plist_new_dict();
  plist_t target = element;
  if (underUriDictionary) {
    target = plist_new_dict();
    plist_dict_set_item(element, "URIDictionary", target);
    plist_dict_set_item(element, "WebBookmarkType", plist_new_string("WebBookmarkTypeLeaf"));
    plist_dict_set_item(element, "URLString", plist_new_string(e.url.toUtf8().constData()));
  }
  plist_dict_set_item(target, "", plist_new_string(e.url.toUtf8().constData()));
  if (!e.title.isNull())
    plist_dict_set_item(target, "title", plist_new_string(e.title.toUtf8().constData()));
  if (!underUriDictionary) {
    plist_dict_set_item(element, "lastVisitedDate", plist_new_string("395010381.4"));
    plist_dict_set_item(element, "visitCount", plist_new_uint(1));
  }
  if (!e.redirectUrls.isEmpty()) {
    plist_t redirects = plist_new_array();
    for (const QString& r : e.redirectUrls)
      plist_array_append_item(redirects, plist_new_string(r.toUtf8().constData()));
    plist_dict_set_item(element, "redirectURLs", redirects);
  }
  return element;
}
} // namespace

QStringList bookmarksStatements(const QList<SafariBookmark>& rows, bool withSpecialFolders) {
  QStringList s{QStringLiteral("BEGIN")};
  s << QStringLiteral(
           "CREATE TABLE bookmarks (id INTEGER PRIMARY KEY AUTOINCREMENT, special_id INTEGER DEFAULT 0, parent "
           "INTEGER, "
           "type INTEGER, title TEXT, url TEXT COLLATE NOCASE, num_children INTEGER DEFAULT 0, editable INTEGER "
           "DEFAULT "
           "1, deletable INTEGER DEFAULT 1, hidden INTEGER DEFAULT 0, hidden_ancestor_count INTEGER DEFAULT 0, "
           "order_index INTEGER NOT NULL, external_uuid TEXT, read INTEGER DEFAULT NULL, last_modified REAL DEFAULT "
           "NULL, "
           "server_id TEXT, sync_key TEXT, sync_data BLOB, added INTEGER DEFAULT 1, deleted INTEGER DEFAULT 0, "
           "extra_attributes BLOB DEFAULT NULL, local_attributes BLOB DEFAULT NULL, fetched_icon BOOL DEFAULT 0, icon "
           "BLOB DEFAULT NULL, dav_generation INTEGER DEFAULT 0, locally_added BOOL DEFAULT 0, archive_status INTEGER "
           "DEFAULT 0, syncable BOOL DEFAULT 1, web_filter_status INTEGER DEFAULT 0, modified_attributes UNSIGNED BIG "
           "INT DEFAULT 0)")
    << QStringLiteral("CREATE TABLE bookmark_title_words (id INTEGER PRIMARY KEY AUTOINCREMENT, bookmark_id "
                      "INTEGER NOT NULL REFERENCES bookmarks(id) ON DELETE CASCADE, word TEXT, word_index INTEGER)")
    << QStringLiteral("CREATE INDEX parent_index ON bookmarks (parent, order_index)");
  QList<SafariBookmark> all;
  if (withSpecialFolders)
    all << SafariBookmark{0, 0, QStringLiteral("Root"), QString(), 0}
        << SafariBookmark{1, 0, QStringLiteral("BookmarksBar"), QString(), 1}
        << SafariBookmark{2, 0, QStringLiteral("BookmarksMenu"), QString(), 2}
        << SafariBookmark{3, 0, QStringLiteral("com.apple.ReadingList"), QString(), 3};
  all << rows;
  int order = 0;
  for (const SafariBookmark& b : all)
    s << sqlf("INSERT INTO bookmarks (id, special_id, parent, type, title, url, order_index, external_uuid) "
              "VALUES (%1, %2, %3, %4, %5, %6, %7, lower(hex(randomblob(16))))",
              b.id, b.specialId, b.parent, b.url.isEmpty() ? 1 : 0, sqlQuotedOrNull(b.title), sqlQuotedOrNull(b.url),
              order++);
  s << QStringLiteral("COMMIT");
  return s;
}

QStringList historyStatements(const QList<SafariVisit>& visits) {
  QStringList s;
  s << QStringLiteral(
           "CREATE TABLE history_items (id INTEGER PRIMARY KEY AUTOINCREMENT,url TEXT NOT NULL UNIQUE,"
           "domain_expansion TEXT NULL,visit_count INTEGER NOT NULL,daily_visit_counts BLOB NOT NULL,"
           "weekly_visit_counts BLOB NULL,autocomplete_triggers BLOB NULL,should_recompute_derived_visit_counts "
           "INTEGER NOT NULL,visit_count_score INTEGER NOT NULL)")
    << QStringLiteral(
           "CREATE TABLE history_visits (id INTEGER PRIMARY KEY AUTOINCREMENT,history_item INTEGER NOT NULL "
           "REFERENCES history_items(id) ON DELETE CASCADE,visit_time REAL NOT NULL,title TEXT NULL,"
           "load_successful BOOLEAN NOT NULL DEFAULT 1,http_non_get BOOLEAN NOT NULL DEFAULT 0,synthesized BOOLEAN "
           "NOT NULL DEFAULT 0,redirect_source INTEGER NULL UNIQUE REFERENCES history_visits(id) ON DELETE CASCADE,"
           "redirect_destination INTEGER NULL UNIQUE REFERENCES history_visits(id) ON DELETE CASCADE,origin INTEGER "
           "NOT NULL DEFAULT 0,generation INTEGER NOT NULL DEFAULT 0,attributes INTEGER NOT NULL DEFAULT 0,score "
           "INTEGER NOT NULL DEFAULT 0)")
    << QStringLiteral("CREATE TABLE history_tombstones (id INTEGER PRIMARY KEY AUTOINCREMENT,start_time REAL NOT "
                      "NULL,end_time REAL NOT NULL,url TEXT,generation INTEGER NOT NULL DEFAULT 0)")
    << QStringLiteral("CREATE TABLE metadata (key TEXT NOT NULL UNIQUE, value)")
    << QStringLiteral("CREATE INDEX history_visits__last_visit ON history_visits (history_item, visit_time DESC, "
                      "synthesized ASC)")
    << QStringLiteral("BEGIN");
  QHash<QString, int> itemIds;
  for (const SafariVisit& v : visits) {
    if (!itemIds.contains(v.url)) {
      itemIds.insert(v.url, itemIds.size() + 1);
      s << sqlf("INSERT INTO history_items (id, url, visit_count, daily_visit_counts, "
                "should_recompute_derived_visit_counts, visit_count_score) VALUES (%1, %2, 0, x'', 0, 0)",
                itemIds.size(), sqlQuoted(v.url));
    }
    s << sqlf("INSERT INTO history_visits (history_item, visit_time, title) VALUES (%1, %2, %3)", itemIds.value(v.url),
              QString::number(v.visitTime, 'f', 6), sqlNullable(v.title));
  }
  s << QStringLiteral("UPDATE history_items SET visit_count = (SELECT count(*) FROM history_visits WHERE "
                      "history_item = history_items.id)")
    << QStringLiteral("COMMIT");
  return s;
}

QByteArray bookmarksPlist(const QList<SafariPlistEntry>& readingList, bool binary) {
  plist_t root = plist_new_dict();
  plist_dict_set_item(root, "WebBookmarkFileVersion", plist_new_uint(1));
  plist_dict_set_item(root, "WebBookmarkType", plist_new_string("WebBookmarkTypeList"));
  plist_t children = plist_new_array();
  for (const SafariPlistEntry& e : readingList)
    plist_array_append_item(children, entryNode(e, true));
  plist_dict_set_item(root, "Children", children);
  return serialize(root, binary);
}

QByteArray historyPlist(const QList<SafariPlistEntry>& entries, bool binary) {
  plist_t root = plist_new_dict();
  plist_dict_set_item(root, "WebHistoryFileVersion", plist_new_uint(1));
  plist_t dates = plist_new_array();
  for (const SafariPlistEntry& e : entries)
    plist_array_append_item(dates, entryNode(e, false));
  plist_dict_set_item(root, "WebHistoryDates", dates);
  return serialize(root, binary);
}

QList<StoredFile> bookmarksDbFiles(const QStringList& statements) {
  QByteArray db;
  QList<StoredFile> files;
  if (makeSqliteDb(statements, false, &db, nullptr, nullptr))
    files << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Safari/Bookmarks.db"), db);
  return files;
}

QList<StoredFile> historyDbFiles(const QStringList& statements, const QString& domain) {
  QByteArray db;
  QByteArray wal;
  QList<StoredFile> files;
  if (!makeSqliteDb(statements, true, &db, &wal, nullptr))
    return files;
  const QString path = QStringLiteral("Library/Safari/History.db");
  files << file(domain, path, db) << file(domain, path + QStringLiteral("-wal"), wal);
  return files;
}

QList<StoredFile> sampleSafariFiles() {
  QList<StoredFile> files;
  files << bookmarksDbFiles(bookmarksStatements({
      {10, 1, QStringLiteral("Wikipedia"), QStringLiteral("https://en.wikipedia.org/wiki/Main_Page"), 0},
      {11, 1, QString(), QStringLiteral("https://news.ycombinator.com/"), 0},
      {12, 2, QStringLiteral("Travel"), QString(), 0},
      {13, 12, QStringLiteral("Deutsche Bahn"), QStringLiteral("https://www.bahn.de/"), 0},
      {14, 12, QStringLiteral("Zürich Tourismus"), QStringLiteral("https://www.zuerich.com/de"), 0},
      {15, 3, QStringLiteral("Long read for the train"), QStringLiteral("https://example.org/articles/42"), 0},
  }));
  // 2022-04-30 18:00 UTC is 673034400 seconds after 2001-01-01.
  const double t0 = 673034400;
  // The last two visits were cleared from the history, the gift page with
  // them; the log still holds their rows.
  files << historyDbFiles(
      QStringList{QStringLiteral("PRAGMA secure_delete=off")} +
      historyStatements({
          {QStringLiteral("https://www.bahn.de/"), QStringLiteral("DB Fahrplan"), t0},
          {QStringLiteral("https://www.bahn.de/"), QStringLiteral("DB Fahrplan"), t0 + 3600.5},
          {QStringLiteral("https://en.wikipedia.org/wiki/Glima"), QStringLiteral("Glíma – Wikipedia"), t0 + 7200},
          {QStringLiteral("https://example.org/redirected"), QString(), t0 + 7300},
          {QStringLiteral("https://gifts.example/anniversary"), QStringLiteral("Anniversary gift ideas"), t0 + 9000},
          {QStringLiteral("https://www.bahn.de/"), QStringLiteral("DB Fahrplan – Paris"), t0 + 9100},
      }) +
      QStringList{sqlf("DELETE FROM history_visits WHERE visit_time >= %1", QString::number(t0 + 9000, 'f', 0)),
                  QStringLiteral("DELETE FROM history_items WHERE url = 'https://gifts.example/anniversary'")});
  files << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Safari/History.plist"),
                historyPlist({{QStringLiteral("http://www.example.com/old/page"), QStringLiteral("Old page"), {}},
                              {QStringLiteral("http://short.example/x"),
                               QString(),
                               {QStringLiteral("http://www.example.com/long/target")}}}));
  return files;
}

} // namespace fixture
