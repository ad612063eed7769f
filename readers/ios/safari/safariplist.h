#pragma once
// The two property lists of the browser's oldest generation: Bookmarks.plist
// (whose top-level "Children" are read as the reading list) and History.plist
// ("WebHistoryDates"). Each element becomes one OxSafariBookmarkItem.
//
// Binary lists are the phone's form; an XML list (as desktop tools write it)
// is read too. A file that is neither, or is cut short, adds nothing and is
// logged. Only the top-level array is visited; elements without the expected
// keys give items with empty texts. A "redirectURLs" array replaces the URL
// with its first element.
#include <QString>

class OxData;

namespace SafariPlist {
// Appends the entries to the list; returns how many were appended, or -1 when
// the file could not be read as a property list of the expected shape.
int readBookmarks(const QString& path, OxData* list);
int readHistory(const QString& path, OxData* list);
} // namespace SafariPlist
