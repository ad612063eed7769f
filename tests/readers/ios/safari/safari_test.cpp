#include "readers/ios/safari/bookmarkcollection.h"
#include "readers/ios/safari/deletedvisits.h"
#include "readers/ios/safari/safariplist.h"

#include "model/oxdata.h"
#include "model/oxsafaribookmarkitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "service/whatsappservice.h"
#include "samples/apps/safari.h"
#include "samples/backupfixture.h"
#include "tests/support/testdata.h"

#include <QMap>
#include <QSet>
#include <QTemporaryDir>

#include <memory>

#include <gtest/gtest.h>

namespace {
using fixture::SafariPlistEntry;
using testdata::LogCapture;

OxSafariBookmarkItem* titled(OxData& list, const QString& title) {
  for (int row = 0; row < list.count(0); ++row)
    if (list.at(row, false)->value(0) == title)
      return dynamic_cast<OxSafariBookmarkItem*>(list.at(row, false));
  return nullptr;
}

// Each item as "title|url".
QStringList titlesAndUrls(OxData& list) {
  QStringList out;
  for (int row = 0; row < list.count(0); ++row)
    out << testdata::fields(list.at(row, false)->value(0), list.at(row, false)->value(1));
  return out;
}

TEST(SafariUrlHost, TitleFallback) {
  const std::pair<const char*, const char*> rows[] = {{"https://www.example.com/path/page", "www.example.com"},
                                                      {"example.com/a/b", "example.com"},
                                                      {"/local/path", "/local/path"},
                                                      {"file:///var/mobile/x", "/var/mobile/x"}};
  for (const auto& [url, host] : rows)
    EXPECT_EQ(SafariUrl::host(QString::fromLatin1(url)), QString::fromLatin1(host)) << url;
}

TEST(SafariRead, BookmarkFoldersAndReadingList) {
  // Rows come in id order. The reading list's own row (special 3, id 30)
  // comes after one of its children, which therefore stays under "Bookmarks".
  const std::pair<fixture::SafariBookmark, const char*> rows[] = {
      // first layer|second layer (the group)|icon
      {{0, 0, "Root", {}, 0}, nullptr},
      {{1, 0, "BookmarksBar", {}, 1}, nullptr},
      {{2, 0, "BookmarksMenu", {}, 2}, nullptr},
      {{10, 1, "Fav", "https://fav.example/", 0}, "Bookmarks|Favorites|5"},
      {{12, 2, "Travel", {}, 0}, nullptr},
      {{13, 12, "Train", "https://train.example/a", 0}, "Bookmarks|Travel|5"},
      {{15, 30, "Early reading", "https://early.example/", 0}, "Bookmarks|Reading List|5"},
      {{30, 0, "com.apple.ReadingList", {}, 3}, nullptr},
      {{32, 30, {}, "https://untitled.example/article/1", 0}, "Reading List|Reading List|9"},
      {{18, 99, "Orphan", "https://orphan.example/", 0}, "Bookmarks||5"},
      {{19, 20, "Before its folder", "https://early-folder.example/", 0}, "Bookmarks|Late folder|5"},
      {{20, 2, "Late folder", {}, 0}, nullptr},
  };
  QList<fixture::SafariBookmark> stored;
  for (const auto& r : rows)
    stored << r.first;
  QTemporaryDir dir;
  OxData list(9);
  LogCapture log;
  CBookmarkQuery query(&list);
  query.query({testdata::writeSqliteDb(dir.filePath("Bookmarks.db"), fixture::bookmarksStatements(stored, false))},
              nullptr);
  ASSERT_EQ(list.count(0), 6); // folder rows are no items
  for (const auto& [row, expected] : rows) {
    OxSafariBookmarkItem* b = titled(list, row.title.isEmpty() ? SafariUrl::host(row.url) : row.title);
    if (!expected)
      continue;
    ASSERT_TRUE(b) << expected;
    EXPECT_EQ(testdata::fields(b->getTreeFirstLayerName(), b->getTreeSecondLayerName(), b->getFirstLayerIconType()),
              QLatin1String(expected));
    EXPECT_EQ(b->bookmarkGroup(), b->getTreeSecondLayerName());
  }
  EXPECT_TRUE(log.contains(QStringLiteral("whose folder is not in the database")));
  EXPECT_TRUE(list.getCategoryTree().value(QStringLiteral("Bookmarks")).contains(QStringLiteral("Late folder")));
}

TEST(SafariRead, PropertyLists) {
  const QList<SafariPlistEntry> entries = {
      {QStringLiteral("http://a.example/1"), QStringLiteral("Amínósýrur"), {}},
      {QStringLiteral("http://b.example/start"), QString(), {QStringLiteral("http://b.example/final")}},
  };
  QByteArray childrenNotArray = fixture::bookmarksPlist({}, false);
  childrenNotArray.replace("<array/>", "<string>nope</string>").replace("<array></array>", "<string>nope</string>");
  const QByteArray binary = fixture::historyPlist(entries);
  const struct {
    const char* name;
    bool history;
    QByteArray bytes;
    int count;
    const char* logged;
  } rows[] = {
      {"binary history", true, binary, 2, ""},
      {"XML history", true, fixture::historyPlist(entries, false), 2, "not binary"},
      {"truncated binary", true, binary.left(binary.size() - 20), 0, "Not a readable property list"},
      {"Children not an array", false, childrenNotArray, 0, "No \"Children\" array"},
  };
  QTemporaryDir dir;
  for (const auto& r : rows) {
    OxData list(9);
    LogCapture log;
    const QString path = testdata::writeFile(dir.filePath(QLatin1String(r.name)), r.bytes);
    const int read = r.history ? SafariPlist::readHistory(path, &list) : SafariPlist::readBookmarks(path, &list);
    EXPECT_EQ(read, r.count > 0 ? r.count : -1) << r.name;
    EXPECT_TRUE(!*r.logged || log.contains(QString::fromLatin1(r.logged)))
        << r.name << ": " << log.lines.join('|').toStdString();
    EXPECT_TRUE(r.count == 0 || titlesAndUrls(list).contains(QStringLiteral("b.example|http://b.example/final")))
        << r.name;
  }
}

// Copies a real file (without companions) into the folder; empty when absent.
QString copyReal(const QTemporaryDir& dir, const QString& name) {
  return testdata::copyReal(QStringLiteral(SHERD_REALDATA_DIR "/safari/") + name, dir.filePath(name), false);
}

TEST(SafariRead, RealHistoryDbOneItemPerVisitAndRealHistoryPlist) {
  QTemporaryDir dir;
  const QString db = copyReal(dir, QStringLiteral("History.db")),
                plist = copyReal(dir, QStringLiteral("History.plist"));
  if (db.isEmpty() || plist.isEmpty())
    GTEST_SKIP() << "no real Safari history";
  OxData list(9);
  HistoryQuery query;
  query.query({db}, nullptr);
  query.appendItems(&list);
  ASSERT_EQ(list.count(0), 25);
  QStringList visits = titlesAndUrls(list);
  EXPECT_EQ(visits.count(QStringLiteral("Yahoo|https://www.yahoo.com/")), 2);
  EXPECT_EQ(visits.count(QStringLiteral("lyft.com|http://lyft.com/")), 1); // untitled: the host
  EXPECT_TRUE(visits.contains(QStringLiteral("sso.foxnews.com|https://sso.foxnews.com/static/server.html?origin="
                                             "http%3A%2F%2Fwww.foxnews.com%2F"))); // NULL title
  // The first visit, 531955414.79, is 2017-11-09 21:23:34 UTC: the fraction is dropped.
  EXPECT_EQ(titled(list, QStringLiteral("Ubuntu Start Page"))->sortValue(2).toDateTime(),
            QDateTime(QDate(2017, 11, 9), QTime(21, 23, 34), Qt::UTC));

  list.clear();
  ASSERT_EQ(SafariPlist::readHistory(plist, &list), 18);
  visits = titlesAndUrls(list);
  EXPECT_TRUE(visits.contains(QString::fromUtf8("Amínósýrur|http://netverslun.sci-mx.is/aminosyrur")));
  EXPECT_TRUE(visits.contains(QStringLiteral("www.google.com|http://www.google.com/chrome/"))); // no title: the host
}

// Deleted visits: single ones of pages still listed, runs, and a page
// cleared with all its visits; rollback journal and log.
TEST(SafariRead, DeletedVisitsComeBackFlaggedWithTheirPage) {
  struct Case {
    const char* name;
    bool wal;
  };
  const Case cases[] = {{"rollback journal", false}, {"deletion in the log", true}};
  // 60 pages of 5 visits each; visit k (1-based) is of page (k-1)/5+1.
  QList<fixture::SafariVisit> rows;
  for (int k = 1; k <= 300; ++k) {
    const int page = (k - 1) % 60 + 1;
    rows << fixture::SafariVisit{QStringLiteral("https://site%1.example/page").arg(page),
                                 QStringLiteral("Visit %1 of page %2").arg(k).arg(page), 600000000.75 + k * 90};
  }
  auto pageOf = [](int k) { return (k - 1) % 60 + 1; };
  // Page 7 is cleared with its visits; the others lose single visits or runs.
  QSet<int> gone{1, 150, 300};
  for (int k = 100; k <= 140; ++k)
    gone.insert(k);
  for (int k = 7; k <= 300; k += 60)
    gone.insert(k);
  QStringList keys;
  for (int k : gone)
    keys << QString::number(k);
  const QStringList deleting{QStringLiteral("delete from history_visits where id in (%1)").arg(keys.join(',')),
                             QStringLiteral("delete from history_items where id = 7")};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QTemporaryDir dir;
    QByteArray db, wal;
    QString error;
    ASSERT_TRUE(fixture::makeSqliteDb(QStringList{QStringLiteral("pragma secure_delete=off")} +
                                          fixture::historyStatements(rows) + deleting,
                                      c.wal, &db, &wal, &error))
        << error.toStdString();
    const QString path = testdata::writeFile(dir.filePath(QStringLiteral("History.db")), db);
    if (c.wal)
      testdata::writeFile(path + QStringLiteral("-wal"), wal);
    const QByteArray bytes = db + wal;
    HistoryQuery live;
    live.query({path}, nullptr);
    ASSERT_EQ(live.visits().size(), size_t(300 - gone.size()));
    const std::vector<HistoryQuery::Visit> found = SafariHistory::deletedVisits(path, live.visits());
    QMap<QString, QString> byTitle; // title -> url|time
    for (const HistoryQuery::Visit& v : found) {
      EXPECT_FALSE(byTitle.contains(v.title)) << "listed twice: " << v.title.toStdString();
      byTitle.insert(v.title, testdata::fields(v.url, qint64(v.visitTime)));
    }
    int recovered = 0;
    for (int k = 1; k <= 300; ++k) {
      const fixture::SafariVisit& row = rows.at(k - 1);
      if (!gone.contains(k)) {
        EXPECT_FALSE(byTitle.contains(row.title)) << "live visit " << k << " recovered";
        continue;
      }
      if (!bytes.contains(row.title.toUtf8()))
        continue;
      ASSERT_TRUE(byTitle.contains(row.title)) << "visit " << k << " not recovered";
      ++recovered;
      const QString url = byTitle.value(row.title).section('|', 0, 0);
      // The cleared page's URL comes with its carved row; in a rollback store
      // a free block may have taken its key.
      if (pageOf(k) != 7 || c.wal)
        EXPECT_EQ(url, row.url) << k;
      else
        EXPECT_TRUE(url == row.url || url.isEmpty()) << k;
      EXPECT_EQ(byTitle.value(row.title).section('|', 1), QString::number(qint64(row.visitTime))) << k;
    }
    EXPECT_EQ(int(found.size()), recovered); // nothing invented
    EXPECT_GE(recovered, gone.size() * 3 / 4);

    // Through the reader: flagged, and only while recovery is on.
    for (const bool on : {true, false}) {
      fixture::BackupPlan plan;
      QList<fixture::StoredFile> files{fixture::file(QStringLiteral("HomeDomain"),
                                                     QStringLiteral("Library/Safari/History.db"), db)};
      if (c.wal)
        files << fixture::file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Safari/History.db-wal"), wal);
      const QString folder = dir.filePath(on ? QStringLiteral("on") : QStringLiteral("off"));
      ASSERT_TRUE(fixture::writeBackup(folder, plan, files, &error)) << error.toStdString();
      std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder));
      OxData list(9);
      CBookmarkCollection reader(&list);
      reader.setRecoverDeleted(on);
      reader.load(backup.get());
      EXPECT_EQ(list.count(0), int(live.visits().size()) + (on ? recovered : 0));
      EXPECT_EQ(list.allDeletedCount(), on ? recovered : 0);
      for (int i = 0; i < list.count(0); ++i) {
        const OxAbstractItem* item = list.at(i, false);
        EXPECT_EQ(item->flag(OxAbstractItem::ItemDeleted), byTitle.contains(item->value(0))) << item->value(0).toStdString();
      }
    }
  }
}

TEST(SafariRead, RealHistoryDbKeepsNoDeletedVisit) {
  QTemporaryDir dir;
  const QString db = copyReal(dir, QStringLiteral("History.db"));
  if (db.isEmpty())
    GTEST_SKIP() << "no real Safari history";
  HistoryQuery live;
  live.query({db}, nullptr);
  const std::vector<HistoryQuery::Visit> found = SafariHistory::deletedVisits(db, live.visits());
  QStringList got;
  for (const HistoryQuery::Visit& v : found)
    got << testdata::fields(v.title, v.url, qint64(v.visitTime));
  EXPECT_EQ(got, QStringList()) << got.join('\n').toStdString();
}

// Every generation of both domains, and the defaults, in one backup.
TEST(SafariService, EveryGenerationAndDomainThroughTheService) {
  const QString home = QStringLiteral("HomeDomain"), app = QStringLiteral("AppDomain-com.apple.mobilesafari");
  auto entry = [](const char* title) {
    return QList<SafariPlistEntry>{{QStringLiteral("http://x.example/") + title, QString::fromLatin1(title), {}}};
  };
  const QString url = QStringLiteral("https://x.example/");
  QList<fixture::StoredFile> files = fixture::bookmarksDbFiles(
      fixture::bookmarksStatements({{10, 1, QStringLiteral("Fav"), QStringLiteral("https://fav.example/"), 0},
                                    {11, 3, QStringLiteral("To read"), QStringLiteral("https://read.example/"), 0}}));
  files << fixture::historyDbFiles(fixture::historyStatements({{url, QStringLiteral("App domain"), 673034400}}))
        << fixture::historyDbFiles(fixture::historyStatements({{url, QStringLiteral("Home domain"), 673034400},
                                                               {url, QStringLiteral("Home domain"), 673034409}}),
                                   home)
        << fixture::file(home, QStringLiteral("Library/Safari/History.plist"), fixture::historyPlist(entry("Old home")))
        << fixture::file(app, QStringLiteral("Library/Safari/History.plist"), fixture::historyPlist(entry("Old app")))
        << fixture::file(home, QStringLiteral("Library/Safari/Bookmarks.plist"),
                         fixture::bookmarksPlist(entry("Plist read")));
  QTemporaryDir root;
  fixture::BackupPlan plan;
  plan.productType = QStringLiteral("iPad8,1");
  QString error;
  ASSERT_TRUE(fixture::writeBackup(root.filePath(QStringLiteral("b")), plan, files, &error)) << error.toStdString();
  SherdLog::silence();
  WhatsappService service(root.filePath(QStringLiteral("b")), false);
  ASSERT_TRUE(service.onBeginLoadWhatsappOnly());
  service.loadWhatsappOnly(9);
  service.onEndLoadWhatsappOnly();
  SherdLog::toStderr();

  OxData* safari = service.getOxData(9);
  EXPECT_TRUE(titled(*safari, QStringLiteral("iPad User Guide")));
  // Five defaults and "Fav"; two of the reading list; a visit of each source
  // and two of "Home domain".
  EXPECT_EQ(safari->firstLayerOrder().mid(0, 3).join('|'), QStringLiteral("Bookmarks|Reading List|History"));
  EXPECT_EQ(testdata::fields(safari->categoryItemCount(QStringLiteral("Bookmarks")),
                             safari->categoryItemCount(QStringLiteral("Reading List")),
                             safari->categoryItemCount(QStringLiteral("History"))),
            QStringLiteral("6|2|5"));
  EXPECT_EQ(safari->getCategoryIconTypeMap().value(QStringLiteral("History")), 8); // the database is read last
}
} // namespace
