#include "readers/ios/safari/bookmarkcollection.h"

#include "model/oxdata.h"
#include "model/oxsafaribookmarkitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "platform/common/utils.h"
#include "readers/ios/safari/deletedvisits.h"
#include "readers/ios/safari/safariplist.h"

#include <QCoreApplication>
#include <QFile>

namespace {
const QString kBookmarks = QStringLiteral("Bookmarks");
const QString kReadingList = QStringLiteral("Reading List");
const QString kHistory = QStringLiteral("History");

enum IconType {
  IconBookmarks = 5,
  IconFavoritesFolder = 6,
  IconFolder = 7,
  IconHistory = 8,
  IconReadingList = 9,
};

QString tr(const char* text) { return QCoreApplication::translate("iTunesBackup", text); }

void appendBookmark(OxData* list, const QString& title, const QString& url) {
  OxSafariBookmarkItem* item = OxSafariBookmarkItem::createItem();
  if (!item)
    return;
  item->setValue(title, OxSafariBookmarkItem::ColTitle);
  item->setValue(url, OxSafariBookmarkItem::ColUrl);
  item->setTreeFirstLayerName(kBookmarks);
  item->setFirstLayerIconType(IconBookmarks);
  item->setSize(0);
  list->append(item);
}

// A local copy of a file of the backup, or empty when the backup lacks it.
// Each domain gets its own folder: History.db and History.plist exist in two
// domains under the same name.
QString localCopy(MobileBackup* backup, const QString& domain, const QString& relativePath) {
  const QString copy =
      backup->generalSqlDbFile(Utils::tempPath() + QStringLiteral("Safari/") + domain, domain, relativePath);
  return (!copy.isEmpty() && QFile::exists(copy)) ? copy : QString();
}
} // namespace

// ---- helpers -----------------------------------------------------------------

QString SafariUrl::host(const QString& url) {
  const int scheme = url.indexOf(QLatin1String("://"));
  const int start = scheme < 0 ? 0 : scheme + 3;
  const int slash = url.indexOf(QLatin1Char('/'), start);
  if (slash < 0 || slash == start) // no "/", or the host part starts with one
    return url.mid(start);
  return url.mid(start, slash - start);
}

void addDefaultBookmarks(OxData* list, const QString& productText) {
  if (!list)
    return;
  appendBookmark(list, tr("Apple"), tr("https://www.apple.com/iphone/"));
  appendBookmark(list, tr("Yahoo!"), tr("https://www.yahoo.com/"));
  appendBookmark(list, tr("Google"), tr("https://www.google.com/"));
  appendBookmark(list, tr("Bing"), tr("https://www.bing.com/?pc=APPT"));
  if (productText.contains(QLatin1String("iPad")))
    appendBookmark(list, tr("iPad User Guide"), tr("https://help.apple.com/ipad/guide/"));
  else if (productText.contains(QLatin1String("iPhone")))
    appendBookmark(list, tr("iPhone User Guide"), tr("https://help.apple.com/iphone/guide/"));
  else
    appendBookmark(list, tr("iPod touch User Guide"), tr("https://help.apple.com/ipodtouch/guide/"));
}

// ---- CBookmarkQuery ----------------------------------------------------------

CBookmarkQuery::CBookmarkQuery(OxData* list) : m_list(list) {
  m_sqls << QStringLiteral("select title, url, id, parent, type, special_id from bookmarks");
  m_countSqls << QStringLiteral("select count(*) from bookmarks");
}

CBookmarkQuery::~CBookmarkQuery() {
  for (const Pending& p : m_pending)
    delete p.item;
}

void CBookmarkQuery::query(const QStringList& files, CIProgressCallback* progress) {
  m_folderNames.clear();
  for (const Pending& p : m_pending)
    delete p.item;
  m_pending.clear();
  CISQLiteQuery::query(files, progress);
  flush();
}

bool CBookmarkQuery::onRow(sqlite3_stmt* stmt) {
  if (!m_list)
    return false;
  SqlRow r(stmt);
  const QString title = r.text();
  const QString url = r.text();
  const int id = r.integer();
  const int parent = r.integer();
  r.skip();
  const int special = r.integer();

  QString folderName = title;
  int secondIcon = IconFolder;
  if (id == 0) {
    folderName.clear();
  } else if (special == 1) {
    folderName = QStringLiteral("Favorites");
    secondIcon = IconFavoritesFolder;
  } else if (special == 3) {
    m_readingListId = id;
    folderName = kReadingList;
  }
  const bool inReadingList = parent == m_readingListId;
  const QString& layer = inReadingList ? kReadingList : kBookmarks;
  m_folderNames.insert(id, folderName);

  if (url.isEmpty())
    return true; // folders only name their children's place
  OxSafariBookmarkItem* item = OxSafariBookmarkItem::createItem();
  if (!item)
    return false;
  item->setValue(title.isEmpty() ? SafariUrl::host(url) : title, OxSafariBookmarkItem::ColTitle);
  item->setValue(url, OxSafariBookmarkItem::ColUrl);
  item->setTreeFirstLayerName(layer);
  const auto folder = m_folderNames.constFind(parent);
  if (folder != m_folderNames.constEnd() && parent != 2)
    item->setTreeSecondLayerName(folder.value());
  item->setFirstLayerIconType(inReadingList ? IconReadingList : IconBookmarks);
  item->setSecondLayerIconType(secondIcon);
  item->setSize(0);
  m_pending.push_back({item, parent});
  return true;
}

void CBookmarkQuery::flush() {
  // Folder names are complete only now: a folder may be listed after its
  // children. This settles every bookmark's group, also those whose parent
  // the row pass already knew.
  int unknownParents = 0;
  for (const Pending& p : m_pending) {
    const auto folder = m_folderNames.constFind(p.parent);
    if (folder == m_folderNames.constEnd())
      ++unknownParents;
    const QString name = folder == m_folderNames.constEnd() ? QString() : folder.value();
    p.item->setBookmarkGroup(name);
    p.item->setTreeSecondLayerName(name);
  }
  if (unknownParents > 0)
    Log("iTunesBackup", 1, "%d bookmarks whose folder is not in the database", unknownParents);
  for (const Pending& p : m_pending)
    m_list->append(p.item);
  m_pending.clear();
}

// ---- HistoryQuery ------------------------------------------------------------

HistoryQuery::HistoryQuery() {
  m_sqls << QStringLiteral(
      "select title, url, visit_time from history_items as items inner join history_visits as visits on items.id = "
      "visits.history_item order by title desc");
  m_countSqls << QStringLiteral("select count(*) from history_items as items inner join history_visits as visits on "
                                "items.id = visits.history_item");
}

HistoryQuery::~HistoryQuery() = default;

bool HistoryQuery::onRow(sqlite3_stmt* stmt) {
  // The visit time is read in whole seconds, as the list shows it.
  SqlRow r(stmt);
  const QString title = r.text();
  const QString url = r.text();
  m_visits.push_back({title, url, double(r.int64())});
  return true;
}

void HistoryQuery::appendItems(OxData* list, const std::vector<Visit>& visits, bool deleted) {
  if (!list)
    return;
  for (const Visit& v : visits) {
    OxSafariBookmarkItem* item = OxSafariBookmarkItem::createItem();
    if (!item)
      return;
    item->setValue(v.title.isEmpty() ? SafariUrl::host(v.url) : v.title, OxSafariBookmarkItem::ColTitle);
    item->setValue(v.url, OxSafariBookmarkItem::ColUrl);
    const QDateTime date = CCommonUtils::buildDateTimeBase2001(v.visitTime);
    item->setValue(CCommonUtils::datetimeToString(date, true), OxSafariBookmarkItem::ColDate);
    item->setSortValue(date, OxSafariBookmarkItem::ColDate);
    item->setTreeFirstLayerName(kHistory);
    item->setFirstLayerIconType(IconHistory);
    item->setBookmarkGroup(kHistory);
    item->setSize(0);
    if (deleted)
      item->setFlag(true, OxAbstractItem::ItemDeleted);
    list->append(item);
  }
}

// ---- CBookmarkCollection -----------------------------------------------------

CBookmarkCollection::CBookmarkCollection(OxData* list) : m_list(list) {}
CBookmarkCollection::~CBookmarkCollection() = default;

void CBookmarkCollection::load(MobileBackup* backup) {
  if (!m_list || !backup)
    return;
  const QString home = QStringLiteral("HomeDomain");
  const QString browser = QStringLiteral("AppDomain-com.apple.mobilesafari");

  {
    const QString db = localCopy(backup, home, QStringLiteral("Library/Safari/Bookmarks.db"));
    CBookmarkQuery bookmarks(m_list);
    bookmarks.query(QStringList{db}, m_progress);
  }

  const QString bookmarkList = localCopy(backup, home, QStringLiteral("Library/Safari/Bookmarks.plist"));
  if (!bookmarkList.isEmpty())
    SafariPlist::readBookmarks(bookmarkList, m_list);

  for (const QString& domain : {home, browser}) {
    const QString historyList = localCopy(backup, domain, QStringLiteral("Library/Safari/History.plist"));
    if (!historyList.isEmpty())
      SafariPlist::readHistory(historyList, m_list);
  }

  QStringList historyDbs;
  for (const QString& domain : {browser, home}) {
    const QString db = localCopy(backup, domain, QStringLiteral("Library/Safari/History.db"));
    if (!db.isEmpty())
      historyDbs << db;
  }
  if (!historyDbs.isEmpty()) {
    HistoryQuery history;
    history.query(historyDbs, nullptr);
    history.appendItems(m_list);
    for (const QString& db : historyDbs) {
      if (m_recoverDeleted)
        HistoryQuery::appendItems(m_list, SafariHistory::deletedVisits(db, history.visits()), true);
    }
  }
}
