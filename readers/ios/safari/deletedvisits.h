#pragma once
// The history visits that the browser deleted (the user cleared history, or
// the browser expired old visits) but History.db (or its log) still holds,
// carved out of the database's free space (platform/sqlitecarve).
//
// A visit names its page by key (history_item). The URL comes from the live
// history_items row of that key, else from a carved one that kept its key
// (clearing history deletes the pages with their visits). A page carved
// without its key (a free block's header overwrote it) cannot be linked: the
// visit then keeps its title and an empty URL; a visit with neither title nor
// URL is dropped.
//
// What is kept: a visit that no live or other recovered visit shows (URL,
// title, time in whole seconds). Dropped: an older version of a live visit
// (its key is live), and copies. Visits must point to a page key the table
// handed out (AUTOINCREMENT counters) and carry a time.
#include "readers/ios/safari/bookmarkcollection.h"

#include <vector>

namespace SafariHistory {
// The deleted visits of one History.db; live: the visits the history query
// read from it. A database that cannot be carved is logged and gives nothing.
std::vector<HistoryQuery::Visit> deletedVisits(const QString& path, const std::vector<HistoryQuery::Visit>& live);
} // namespace SafariHistory
