#include "readers/ios/safari/deletedvisits.h"

#include "platform/common/log.h"
#include "platform/sqlitecarve/sqlitecarver.h"

#include <QHash>
#include <QSet>

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <limits>

using sqlitecarve::CarvedRecord;
using sqlitecarve::CarvedRow;
using sqlitecarve::TableLayout;

namespace {
const char kModule[] = "iTunesBackup";
// Visits after 2100-01-01 (seconds since 2001) are not a browser's.
const double kLastSecond = 3124137600.0;

QString shownKey(const HistoryQuery::Visit& v) {
  return QStringLiteral("%1|%2|%3").arg(qint64(v.visitTime)).arg(v.url, v.title);
}

struct LiveState {
  QHash<qint64, QString> urls; // live history_items: id -> url
  qint64 lastItem = 0;         // AUTOINCREMENT counters, 0 when unknown
  qint64 lastVisit = 0;
};

LiveState readLive(const QString& path) {
  LiveState s;
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "select id, url from history_items", -1, &stmt, nullptr) == SQLITE_OK) {
      while (sqlite3_step(stmt) == SQLITE_ROW)
        s.urls.insert(sqlite3_column_int64(stmt, 0),
                      QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1))));
    }
    sqlite3_finalize(stmt);
    stmt = nullptr;
    if (sqlite3_prepare_v2(db, "select name, seq from sqlite_sequence", -1, &stmt, nullptr) == SQLITE_OK) {
      while (sqlite3_step(stmt) == SQLITE_ROW) {
        const QByteArray name(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
        if (name == "history_items")
          s.lastItem = sqlite3_column_int64(stmt, 1);
        else if (name == "history_visits")
          s.lastVisit = sqlite3_column_int64(stmt, 1);
      }
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  return s;
}
} // namespace

std::vector<HistoryQuery::Visit> SafariHistory::deletedVisits(const QString& path,
                                                              const std::vector<HistoryQuery::Visit>& live) {
  std::vector<HistoryQuery::Visit> out;
  const LiveState state = readLive(path);
  QString error;
  // Pages deleted with their visits: their URLs by key.
  QHash<qint64, QString> urls = state.urls;
  TableLayout items;
  const QVector<CarvedRecord> carvedItems = sqlitecarve::carveTable(
      path, QStringLiteral("history_items"),
      [&](TableLayout& t) {
        t.maxRowid = state.lastItem;
        items = t;
      },
      &error);
  for (const CarvedRecord& r : carvedItems) {
    if (r.hasRowid && !urls.contains(r.rowid)) {
      const QString url = CarvedRow(items, r).text(QStringLiteral("url"));
      if (!url.isEmpty())
        urls.insert(r.rowid, url);
    }
  }

  TableLayout visits;
  const QVector<CarvedRecord> carved = sqlitecarve::carveTable(
      path, QStringLiteral("history_visits"),
      [&](TableLayout& t) {
        t.maxRowid = state.lastVisit;
        t.require(QStringLiteral("history_item"), 1,
                  state.lastItem > 0 ? state.lastItem : std::numeric_limits<qint64>::max());
        visits = t;
      },
      &error);
  if (!error.isEmpty()) {
    Log(kModule, 1, "No deleted history visits: %s", qPrintable(error));
    return out;
  }
  QSet<QString> shown;
  for (const HistoryQuery::Visit& v : live)
    shown.insert(shownKey(v));
  for (const CarvedRecord* r : sqlitecarve::deletedRowsKeyedFirst(carved)) {
    const CarvedRow row(visits, *r);
    const double time = row.real(QStringLiteral("visit_time"));
    if (row.isNull(QStringLiteral("visit_time")) || !(time > 0 && time < kLastSecond))
      continue;
    // Whole seconds, as the query reads them.
    HistoryQuery::Visit v{row.text(QStringLiteral("title")), urls.value(row.integer(QStringLiteral("history_item"))),
                          std::trunc(time)};
    if (v.title.isEmpty() && v.url.isEmpty())
      continue;
    const QString key = shownKey(v);
    if (shown.contains(key))
      continue;
    shown.insert(key);
    out.push_back(v);
  }
  Log(kModule, 1, "%s: %d deleted history visits recovered", qPrintable(path), int(out.size()));
  return out;
}
