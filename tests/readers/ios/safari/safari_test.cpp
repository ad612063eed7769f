#include "readers/ios/safari/bookmarkcollection.h"
#include "readers/ios/safari/safariplist.h"

#include "model/oxdata.h"
#include "model/oxsafaribookmarkitem.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "service/whatsappservice.h"
#include "tests/support/apps/safari.h"
#include "tests/support/testdata.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {
using fixture::SafariBookmark;
using fixture::SafariPlistEntry;
using testdata::LogCapture;

class SafariRead : public ::testing::Test {
protected:
  QString writeBytes(const QByteArray& bytes) {
    return testdata::writeFile(dir.filePath(QStringLiteral("f%1").arg(++n)), bytes);
  }
  QString writeDb(const QStringList& statements) {
    return testdata::writeSqliteDb(dir.filePath(QStringLiteral("f%1").arg(++n)), statements);
  }
  OxSafariBookmarkItem* titled(const QString& title) {
    for (int row = 0; row < list.count(0); ++row)
      if (list.at(row, false)->value(0) == title)
        return dynamic_cast<OxSafariBookmarkItem*>(list.at(row, false));
    return nullptr;
  }

  QTemporaryDir dir;
  int n = 0;
  OxData list{9};
};

TEST(SafariUrlHost, TitleFallback) {
  struct Row {
    const char* url;
    const char* host;
  } rows[] = {
      {"https://www.example.com/path/page", "www.example.com"},
      {"example.com/a/b", "example.com"},
      {"/local/path", "/local/path"},
      {"file:///var/mobile/x", "/var/mobile/x"},
      {"ftp://host:21/", "host:21"},
      {"", ""},
      {"a://b://c/d", "b:"},
  };
  for (const auto& r : rows)
    EXPECT_EQ(SafariUrl::host(QString::fromLatin1(r.url)), QString::fromLatin1(r.host)) << r.url;
}

TEST(SafariDefaults, UserGuideFollowsTheDevice) {
  struct Row {
    const char* product;
    const char* guide;
    const char* path;
  } rows[] = {
      {"iPhone12,1", "iPhone User Guide", "/iphone/guide/"},
      {"iPhone on an iPad", "iPad User Guide", "/ipad/guide/"},
      {"ipad", "iPod touch User Guide", "/ipodtouch/guide/"}, // the test is case-sensitive
      {"", "iPod touch User Guide", "/ipodtouch/guide/"},
  };
  for (const auto& r : rows) {
    OxData list(9);
    addDefaultBookmarks(&list, QString::fromLatin1(r.product));
    QMap<QString, QString> urls;
    for (int row = 0; row < 5; ++row)
      urls.insert(list.at(row, false)->value(0), list.at(row, false)->value(1));
    EXPECT_EQ(urls.keys(), (QStringList{QStringLiteral("Apple"), QStringLiteral("Bing"), QStringLiteral("Google"),
                                        QStringLiteral("Yahoo!"), QString::fromLatin1(r.guide)}))
        << r.product;
    EXPECT_TRUE(urls.value(QLatin1String(r.guide)).endsWith(QLatin1String(r.path))) << r.product;
    EXPECT_EQ(list.at(0, false)->getFirstLayerIconType(), 5);
  }
  addDefaultBookmarks(nullptr, QStringLiteral("iPhone")); // nothing to fill: no crash
}

TEST_F(SafariRead, BookmarkFoldersAndReadingList) {
  // Rows come in id order. The reading list's own row (special 3, id 30)
  // comes after one of its children, which therefore stays under "Bookmarks".
  const QList<SafariBookmark> rows = {
      {0, 0, QStringLiteral("Root"), QString(), 0},
      {1, 0, QStringLiteral("BookmarksBar"), QString(), 1},
      {2, 0, QStringLiteral("BookmarksMenu"), QString(), 2},
      {10, 1, QStringLiteral("Fav"), QStringLiteral("https://fav.example/"), 0},
      {11, 2, QStringLiteral("In menu"), QStringLiteral("https://menu.example/"), 0},
      {12, 2, QStringLiteral("Travel"), QString(), 0},
      {13, 12, QStringLiteral("Train"), QStringLiteral("https://train.example/a"), 0},
      {14, 0, QStringLiteral("At root"), QStringLiteral("https://root.example/"), 0},
      {15, 30, QStringLiteral("Early reading"), QStringLiteral("https://early.example/"), 0},
      {30, 0, QStringLiteral("com.apple.ReadingList"), QString(), 3},
      {31, 30, QStringLiteral("Late reading"), QStringLiteral("https://late.example/"), 0},
      {32, 30, QString(), QStringLiteral("https://untitled.example/article/1"), 0},
      {18, 99, QStringLiteral("Orphan"), QStringLiteral("https://orphan.example/"), 0},
      {19, 20, QStringLiteral("Before its folder"), QStringLiteral("https://early-folder.example/"), 0},
      {20, 2, QStringLiteral("Late folder"), QString(), 0},
  };
  LogCapture log;
  CBookmarkQuery query(&list);
  query.query(QStringList{writeDb(fixture::bookmarksStatements(rows, false))}, nullptr);

  struct Expect {
    const char* title;
    const char* first;
    const char* second; // also the bookmark group
    int firstIcon;
  } expected[] = {
      {"Fav", "Bookmarks", "Favorites", 5},
      {"In menu", "Bookmarks", "BookmarksMenu", 5},
      {"Train", "Bookmarks", "Travel", 5},
      {"At root", "Bookmarks", "", 5},
      {"Early reading", "Bookmarks", "Reading List", 5},
      {"Late reading", "Reading List", "Reading List", 9},
      {"untitled.example", "Reading List", "Reading List", 9},
      {"Orphan", "Bookmarks", "", 5},
      {"Before its folder", "Bookmarks", "Late folder", 5},
  };
  ASSERT_EQ(list.count(0), int(std::size(expected))); // folder rows are no items
  for (const auto& e : expected) {
    OxSafariBookmarkItem* b = titled(QString::fromLatin1(e.title));
    ASSERT_TRUE(b) << e.title;
    EXPECT_EQ(b->getTreeFirstLayerName(), QString::fromLatin1(e.first)) << e.title;
    EXPECT_EQ(b->getTreeSecondLayerName(), QString::fromLatin1(e.second)) << e.title;
    EXPECT_EQ(b->bookmarkGroup(), QString::fromLatin1(e.second)) << e.title;
    EXPECT_EQ(b->getFirstLayerIconType(), e.firstIcon) << e.title;
    EXPECT_EQ(b->getSecondLayerIconType(), 7) << e.title;
  }
  EXPECT_TRUE(log.contains(QStringLiteral("whose folder is not in the database")));
  // The category tree is built from the settled folder names.
  EXPECT_TRUE(list.getCategoryTree().value(QStringLiteral("Bookmarks")).contains(QStringLiteral("Late folder")));
  EXPECT_EQ(list.at(0, false)->value(0), QStringLiteral("At root")); // ordered by title
}

TEST_F(SafariRead, PropertyLists) {
  const QList<SafariPlistEntry> entries = {
      {QStringLiteral("http://a.example/1"), QStringLiteral("Amínósýrur"), {}},
      {QStringLiteral("http://b.example/start"), QString(), {QStringLiteral("http://b.example/final")}},
      {QStringLiteral("http://c.example/"), QStringLiteral("C"), {}},
  };
  QByteArray childrenNotArray = fixture::bookmarksPlist({}, false);
  childrenNotArray.replace("<array/>", "<string>nope</string>").replace("<array></array>", "<string>nope</string>");
  const QByteArray binary = fixture::historyPlist(entries);
  struct Row {
    const char* name;
    bool history;
    QByteArray bytes;
    int count;
    const char* logged;
  } rows[] = {
      {"binary history", true, binary, 3, ""},
      {"binary reading list", false, fixture::bookmarksPlist(entries), 3, ""},
      {"XML history", true, fixture::historyPlist(entries, false), 3, "not binary"},
      {"truncated binary", true, binary.left(binary.size() - 20), 0, "Not a readable property list"},
      {"only the magic", false, QByteArray("bplist00"), 0, "Not a readable property list"},
      {"garbage", true, QByteArray(300, '\x7f'), 0, "Not a readable property list"},
      {"empty file", true, QByteArray(), 0, "Not a readable property list"},
      {"Children not an array", false, childrenNotArray, 0, "No \"Children\" array"},
      {"history list read as bookmarks", false, binary, 0, "No \"Children\" array"},
  };
  for (const auto& r : rows) {
    list.clear();
    LogCapture log;
    const QString path = writeBytes(r.bytes);
    const int read = r.history ? SafariPlist::readHistory(path, &list) : SafariPlist::readBookmarks(path, &list);
    EXPECT_EQ(list.count(0), r.count) << r.name;
    EXPECT_EQ(read, r.count > 0 ? r.count : -1) << r.name;
    if (*r.logged) {
      EXPECT_TRUE(log.contains(QString::fromLatin1(r.logged))) << r.name << ": " << log.lines.join('|').toStdString();
    }
    if (r.count == 3) {
      OxSafariBookmarkItem* redirected = titled(QStringLiteral("b.example"));
      ASSERT_TRUE(redirected) << r.name;
      EXPECT_EQ(redirected->value(1), QStringLiteral("http://b.example/final")) << r.name;
      EXPECT_EQ(redirected->bookmarkGroup(), r.history ? QStringLiteral("History") : QStringLiteral("Reading List"))
          << r.name;
      EXPECT_TRUE(redirected->value(2).isEmpty()) << r.name; // no date from the property lists
    }
  }
  LogCapture log;
  EXPECT_EQ(SafariPlist::readHistory(dir.filePath(QStringLiteral("absent.plist")), &list), -1);
  EXPECT_EQ(SafariPlist::readHistory(writeBytes(binary), nullptr), -1);
}

// ---- real data ---------------------------------------------------------------

// Copies a real file into the test's folder (without companions: the
// expectations are those of the main file alone); empty when absent.
QString copyReal(const QTemporaryDir& dir, const QString& name) {
  const QString source = QStringLiteral(SHERD_REALDATA_DIR "/safari/") + name;
  return QFile::exists(source) ? testdata::copyReal(source, dir.filePath(name), false) : QString();
}

TEST_F(SafariRead, RealHistoryDb) {
  const QString path = copyReal(dir, QStringLiteral("History.db"));
  if (path.isEmpty())
    GTEST_SKIP() << "no real Safari history";

  // What SQLite itself says of the same join; untitled visits take the host.
  QList<QPair<QString, QString>> expected;
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, "select v.title, i.url from history_items i join history_visits v on i.id = v.history_item",
                     -1, &stmt, nullptr);
  int untitled = 0;
  while (sqlite3_step(stmt) == SQLITE_ROW) {
    const QString url = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1)));
    QString title = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
    if (title.isEmpty()) {
      title = SafariUrl::host(url);
      ++untitled;
    }
    expected << qMakePair(title, url);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  ASSERT_EQ(expected.size(), 25);
  EXPECT_EQ(untitled, 9);

  HistoryQuery query;
  query.query(QStringList{path}, nullptr);
  query.appendItems(&list);
  QList<QPair<QString, QString>> got;
  // 531955414.79 is 2017-11-09 21:23:34 UTC: the fraction is dropped.
  const QDateTime when(QDate(2017, 11, 9), QTime(21, 23, 34), Qt::UTC);
  int found = 0;
  for (int row = 0; row < list.count(0); ++row) {
    got << qMakePair(list.at(row, false)->value(0), list.at(row, false)->value(1));
    if (list.at(row, false)->sortValue(2).toDateTime() == when) {
      ++found;
      EXPECT_EQ(list.at(row, false)->value(2), CCommonUtils::datetimeToString(when, true));
    }
  }
  std::sort(expected.begin(), expected.end());
  std::sort(got.begin(), got.end());
  EXPECT_EQ(got, expected);
  EXPECT_EQ(found, 1);
}

TEST_F(SafariRead, RealHistoryPlist) {
  const QString path = copyReal(dir, QStringLiteral("History.plist"));
  if (path.isEmpty())
    GTEST_SKIP() << "no real Safari history list";
  ASSERT_EQ(SafariPlist::readHistory(path, &list), 18);
  // Titles and URLs as a property-list reader shows them (redirects applied).
  struct Row {
    const char* title;
    const char* url;
  } rows[] = {
      {"Amínósýrur", "http://netverslun.sci-mx.is/aminosyrur"},
      {"Vísir - Fyrrverandi framkvæmdastjóri ÍLS: Skýrslan full af slúðri og Gróusögum",
       "http://visir.is/fyrrverandi-framkvaemdastjori-ils-skyrslan-full-af-sludri-og-grousogum/article/"
       "2013130709266"},
      {"www.google.com", "http://www.google.com/chrome/"}, // no title: the host
      {"Glima Interview - YouTube", "http://www.youtube.com/watch?v=jm8iSg8eZdw"},
  };
  for (const auto& r : rows) {
    OxSafariBookmarkItem* b = titled(QString::fromUtf8(r.title));
    ASSERT_TRUE(b) << r.title;
    EXPECT_EQ(b->value(1), QString::fromUtf8(r.url)) << r.title;
  }
}

// Every generation of both domains, and the defaults, in one backup.
TEST(SafariService, EveryGenerationAndDomainThroughTheService) {
  const double t0 = 673034400;
  const QString home = QStringLiteral("HomeDomain");
  const QString app = QStringLiteral("AppDomain-com.apple.mobilesafari");
  auto entry = [](const char* url, const char* title) {
    return QList<SafariPlistEntry>{{QString::fromLatin1(url), QString::fromLatin1(title), {}}};
  };
  QList<fixture::StoredFile> files;
  files << fixture::bookmarksDbFiles(fixture::bookmarksStatements({
      {10, 1, QStringLiteral("Fav"), QStringLiteral("https://fav.example/"), 0},
      {11, 3, QStringLiteral("To read"), QStringLiteral("https://read.example/"), 0},
  }));
  files << fixture::historyDbFiles(
      fixture::historyStatements({{QStringLiteral("https://app.example/"), QStringLiteral("App domain"), t0}}));
  files << fixture::historyDbFiles(
      fixture::historyStatements({{QStringLiteral("https://home.example/"), QStringLiteral("Home domain"), t0},
                                  {QStringLiteral("https://home.example/"), QStringLiteral("Home domain"), t0 + 9}}),
      home);
  files << fixture::file(home, QStringLiteral("Library/Safari/History.plist"),
                         fixture::historyPlist(entry("http://old-home.example/", "Old home")))
        << fixture::file(app, QStringLiteral("Library/Safari/History.plist"),
                         fixture::historyPlist(entry("http://old-app.example/", "Old app")))
        << fixture::file(home, QStringLiteral("Library/Safari/Bookmarks.plist"),
                         fixture::bookmarksPlist(entry("http://plist.example/", "Plist read")));
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
  QStringList titles;
  for (int row = 0; row < safari->count(0); ++row) {
    const auto* item = dynamic_cast<const OxSafariBookmarkItem*>(safari->at(row, false));
    titles << item->value(0);
    if (item->value(0) == QLatin1String("Home domain")) { // one item per visit, grouped with the history
      EXPECT_EQ(item->bookmarkGroup(), QStringLiteral("History"));
    }
  }
  EXPECT_EQ(titles.count(QStringLiteral("Home domain")), 2);
  for (const char* t :
       {"App domain", "Fav", "Home domain", "Old app", "Old home", "Plist read", "To read", "iPad User Guide"})
    EXPECT_TRUE(titles.contains(QLatin1String(t))) << t;
  EXPECT_EQ(safari->firstLayerOrder().mid(0, 3),
            (QStringList{QStringLiteral("Bookmarks"), QStringLiteral("Reading List"), QStringLiteral("History")}));
  struct Row {
    const char* first;
    int count;
  } rows[] = {{"Bookmarks", 6}, {"Reading List", 2}, {"History", 5}};
  for (const auto& r : rows)
    EXPECT_EQ(safari->categoryItemCount(QString::fromLatin1(r.first)), r.count) << r.first;
  EXPECT_EQ(safari->getCategoryIconTypeMap().value(QStringLiteral("History")), 8); // the database is read last
}
} // namespace
