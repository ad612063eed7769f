#include "readers/ios/safari/safariplist.h"

#include "model/oxdata.h"
#include "model/oxsafaribookmarkitem.h"
#include "platform/common/log.h"
#include "readers/ios/safari/bookmarkcollection.h"

#include <QFile>

#include <plist/plist.h>

#include <memory>

namespace {
const char* const kModule = "iTunesBackup";

struct PlistFree {
  void operator()(plist_t p) const { plist_free(p); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// The string at a path of dictionary keys below node, or empty.
QString stringAt(plist_t node, std::initializer_list<const char*> keys) {
  for (const char* key : keys) {
    if (!node || plist_get_node_type(node) != PLIST_DICT)
      return QString();
    node = plist_dict_get_item(node, key);
  }
  if (!node || plist_get_node_type(node) != PLIST_STRING)
    return QString();
  char* text = nullptr;
  plist_get_string_val(node, &text);
  const QString s = QString::fromUtf8(text);
  free(text);
  return s;
}

// The first redirect target of an element, when it has one.
QString firstRedirect(plist_t element) {
  plist_t redirects = plist_dict_get_item(element, "redirectURLs");
  if (!redirects || plist_get_node_type(redirects) != PLIST_ARRAY || plist_array_get_size(redirects) == 0)
    return QString();
  plist_t first = plist_array_get_item(redirects, 0);
  if (!first || plist_get_node_type(first) != PLIST_STRING)
    return QString();
  char* text = nullptr;
  plist_get_string_val(first, &text);
  const QString s = QString::fromUtf8(text);
  free(text);
  return s;
}

PlistPtr parseFile(const QString& path) {
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly)) {
    Log(kModule, 0, "Cannot read the property list %s", path.toUtf8().constData());
    return nullptr;
  }
  const QByteArray data = f.readAll();
  if (data.size() > 0x7fffffff)
    return nullptr;
  plist_t root = nullptr;
  if (data.startsWith("bplist00")) {
    plist_from_bin(data.constData(), uint32_t(data.size()), &root);
  } else if (data.trimmed().startsWith('<')) {
    Log(kModule, 1, "The property list %s is not binary; reading it as XML", path.toUtf8().constData());
    plist_from_xml(data.constData(), uint32_t(data.size()), &root);
  }
  if (!root)
    Log(kModule, 0, "Not a readable property list: %s", path.toUtf8().constData());
  return PlistPtr(root);
}

// The array at key of the root dictionary, or null with a logged reason.
plist_t topArray(plist_t root, const char* key, const QString& path) {
  plist_t array = plist_get_node_type(root) == PLIST_DICT ? plist_dict_get_item(root, key) : nullptr;
  if (!array || plist_get_node_type(array) != PLIST_ARRAY) {
    Log(kModule, 0, "No \"%s\" array in %s", key, path.toUtf8().constData());
    return nullptr;
  }
  return array;
}

int readElements(const QString& path, OxData* list, const char* arrayKey, bool underUriDictionary,
                 const QString& layer) {
  if (!list)
    return -1;
  const PlistPtr root = parseFile(path);
  if (!root)
    return -1;
  plist_t array = topArray(root.get(), arrayKey, path);
  if (!array)
    return -1;
  int appended = 0;
  const uint32_t n = plist_array_get_size(array);
  for (uint32_t i = 0; i < n; ++i) {
    plist_t element = plist_array_get_item(array, i);
    if (!element || plist_get_node_type(element) != PLIST_DICT)
      continue;
    QString title;
    QString url;
    if (underUriDictionary) {
      title = stringAt(element, {"URIDictionary", "title"});
      url = stringAt(element, {"URIDictionary", ""});
    } else {
      title = stringAt(element, {"title"});
      url = stringAt(element, {""});
    }
    const QString redirect = firstRedirect(element);
    if (!redirect.isEmpty())
      url = redirect;
    OxSafariBookmarkItem* item = OxSafariBookmarkItem::createItem();
    if (!item)
      break;
    item->setValue(title.isEmpty() ? SafariUrl::host(url) : title, OxSafariBookmarkItem::ColTitle);
    item->setValue(url, OxSafariBookmarkItem::ColUrl);
    item->setTreeFirstLayerName(layer);
    item->setBookmarkGroup(layer);
    item->setSize(0);
    list->append(item);
    ++appended;
  }
  return appended;
}
} // namespace

namespace SafariPlist {
int readBookmarks(const QString& path, OxData* list) {
  return readElements(path, list, "Children", true, QStringLiteral("Reading List"));
}

int readHistory(const QString& path, OxData* list) {
  return readElements(path, list, "WebHistoryDates", false, QStringLiteral("History"));
}
} // namespace SafariPlist
