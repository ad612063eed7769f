#pragma once
// The Safari reader: bookmarks, the reading list and the browsing history of
// the phone's web browser, as OxSafariBookmarkItems in the Safari list.
//
// Where they are (every file that the backup holds is read):
//  - Bookmarks.db (HomeDomain): bookmarks, folders, favourites, reading list;
//  - Bookmarks.plist (HomeDomain), the oldest generation, read as the reading
//    list;
//  - History.plist (HomeDomain, then the browser's AppDomain);
//  - History.db (the browser's AppDomain, then HomeDomain): one item per
//    visit, so a page visited three times is listed three times; unless told
//    not to (setRecoverDeleted), then the deleted visits the files still hold,
//    flagged ItemDeleted (deletedvisits.h).
//
// Tree layers: "Bookmarks" (icon 5), "Reading List" (9) and "History" (8) as
// first layers; the second layer of a database bookmark is its folder (icon
// 7; 6 for the favourites folder's own row). Items from the property lists
// carry no icon types.
//
// Traps worth knowing:
//  - A bookmark belongs to the reading list when its parent is the folder with
//    special_id 3, as known when its row is read: children listed before that
//    folder's row stay under "Bookmarks".
//  - A bookmark's folder name (group and second layer) is settled after all
//    rows are read, so rows may come in any order; the items reach the list
//    only then, and the list's category tree sees the final names.
//  - An empty title falls back to the URL's host.
#include "backup/cidatacollection.h"
#include "backup/cisqlitequery.h"

#include <QHash>
#include <QList>
#include <QString>

#include <vector>

class OxData;
class OxSafariBookmarkItem;

namespace SafariUrl {
// The host part of a URL: the text after the first "://" (or from the start
// when there is none) up to the next "/" (or to the end when there is none or
// when it is the first character).
QString host(const QString& url);
} // namespace SafariUrl

// The bookmarks every phone starts with: the maker's product page, three
// search engines, and the user guide of the kind of device that productText
// names ("iPad" first, then "iPhone", else the iPod touch; case-sensitive).
// Appended to the list under "Bookmarks" before anything of the backup.
void addDefaultBookmarks(OxData* list, const QString& productText);

class CBookmarkQuery : public CISQLiteQuery {
public:
  explicit CBookmarkQuery(OxData* list);
  ~CBookmarkQuery() override;

  // Reads the rows, settles every bookmark's folder, then appends the items.
  void query(const QStringList& files, CIProgressCallback* progress) override;

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  struct Pending {
    OxSafariBookmarkItem* item;
    int parent;
  };
  void flush();

  OxData* m_list;                  // not owned
  QHash<int, QString> m_folderNames; // bookmark id -> folder name
  std::vector<Pending> m_pending;    // items read, not yet handed to the list
  int m_readingListId = -1;
};

class HistoryQuery : public CISQLiteQuery {
public:
  struct Visit {
    QString title;
    QString url;
    double visitTime; // whole seconds since 2001-01-01 UTC
  };

  HistoryQuery();
  ~HistoryQuery() override;

  const std::vector<Visit>& visits() const { return m_visits; }
  // One item per visit, in row order.
  void appendItems(OxData* list) const { appendItems(list, m_visits, false); }
  // The same for the visits given, flagged ItemDeleted when deleted is set.
  static void appendItems(OxData* list, const std::vector<Visit>& visits, bool deleted);

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  std::vector<Visit> m_visits;
};

class CBookmarkCollection : public CIDataCollection {
public:
  // The Safari list; not owned. A null list loads nothing.
  explicit CBookmarkCollection(OxData* list);
  ~CBookmarkCollection() override;

  void load(MobileBackup* backup) override;

private:
  OxData* m_list;
};
