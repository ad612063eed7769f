#pragma once
// The readable views of `sherd scan --details`: per data type, the items a
// person looks for first (chats with their messages, notes, calls and
// voicemail, events, bookmarks and history), one line each.
#include <QList>

class OxBackup;

namespace cli {
// Prints the view of each loaded type on stdout, in the order given.
void printDetails(OxBackup& registry, const QList<int>& types);
} // namespace cli
