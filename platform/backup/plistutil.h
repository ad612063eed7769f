#pragma once
// Small helpers over libplist for the backup's property lists. Private to the
// backup library.
#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <plist/plist.h>

#include <memory>

struct PlistDeleter {
  void operator()(void* p) const {
    if (p)
      plist_free(static_cast<plist_t>(p));
  }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

namespace PlistUtil {
// Parses XML or binary property-list bytes; null when they are neither.
PlistPtr fromMemory(const QByteArray& bytes);
// Reads and parses a file; null, with *error set, when it is absent or unreadable.
PlistPtr fromFile(const QString& path, QString* error);

QString string(plist_t dict, const char* key);
bool boolean(plist_t dict, const char* key, bool fallback = false);
QByteArray data(plist_t dict, const char* key);
QDateTime date(plist_t dict, const char* key); // UTC; null when absent
quint64 uinteger(plist_t node, bool* ok = nullptr);
} // namespace PlistUtil
