#include "readers/ios/callhistory/calllistcollection.h"

#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "readers/ios/callhistory/callhistoryqueries.h"
#include "readers/ios/callhistory/deletedcalls.h"

#include <QCoreApplication>
#include <QFile>

#include <limits>

namespace {
const char kModule[] = "iTunesBackup";
const char kContext[] = "iTunesBackup";
const char kStore[] = "Library/CallHistoryDB/CallHistory.storedata";
const char kOldStore[] = "Library/CallHistory/call_history.db";

QString tr(const char* text) { return QCoreApplication::translate(kContext, text); }
QString home() { return QStringLiteral("HomeDomain"); }
} // namespace

CCalllistCollection::CCalllistCollection(OxData* list, const QMap<QString, QString>& contactToName,
                                         const QMap<int, QString>& idToName)
    : m_list(list),
      m_texts{tr("Canceled"),
              tr("Missed"),
              tr("Outgoing Calls"),
              tr("Incoming Calls"),
              tr("Outgoing FaceTime"),
              tr("Outgoing FaceTime Audio"),
              tr("Incoming FaceTime"),
              tr("Incoming FaceTime Audio")},
      m_contactToName(contactToName), m_idToName(idToName), m_contacts(contactToName) {}

CCalllistCollection::~CCalllistCollection() = default;

void CCalllistCollection::load(MobileBackup* backup) {
  if (!backup || !m_list)
    return;
  const QString dbFolder = Utils::tempPath() + QStringLiteral("CallHistoryDB");
  const QString store = backup->generalSqlDbFile(dbFolder, home(), QString::fromLatin1(kStore));
  if (!store.isEmpty() && QFile::exists(store)) {
    if (backup->findFile(QStringLiteral("WirelessDomain"), QString::fromLatin1(kOldStore)) >= 0 ||
        backup->findFile(home(), QString::fromLatin1(kOldStore)) >= 0)
      Log(kModule, 1, "The backup holds both call stores; only %s is read", kStore);
    if (m_contacts.isEmpty())
      locateAddressBook(backup);
    loadStore(store);
    return;
  }
  m_oldCallDbPath =
      backup->generalSqlDbFile(dbFolder, QStringLiteral("WirelessDomain"), QString::fromLatin1(kOldStore));
  if (m_oldCallDbPath.isEmpty() || !QFile::exists(m_oldCallDbPath))
    m_oldCallDbPath = backup->generalSqlDbFile(dbFolder, home(), QString::fromLatin1(kOldStore));
  if (m_oldCallDbPath.isEmpty() || !QFile::exists(m_oldCallDbPath)) {
    m_oldCallDbPath.clear();
    Log(kModule, 1, "No call history in the backup");
    return;
  }
  locateAddressBook(backup);
  loadOldStore(m_oldCallDbPath);
}

void CCalllistCollection::locateAddressBook(MobileBackup* backup) {
  const QString folder = Utils::tempPath() + QStringLiteral("AddressBook");
  for (const char* path : {"Library/AddressBook/AddressBook.sqlitedb", "Library/AddressBook/AddressBook.db"}) {
    const QString copy = backup->generalSqlDbFile(folder, home(), QString::fromLatin1(path));
    if (!copy.isEmpty() && QFile::exists(copy)) {
      loadAddressBook(copy);
      return;
    }
  }
  Log(kModule, 1, "No address book in the backup; calls without a stored name show their number");
}

bool CCalllistCollection::loadAddressBook(const QString& path) {
  const bool loaded = m_addressBook.load(path);
  m_bookContacts = CContactNameIndex(m_addressBook.contactMap());
  return loaded;
}

void CCalllistCollection::loadStore(const QString& storePath) {
  CCallHistoryQuery query;
  query.query({storePath}, m_progress);
  for (const CallRecord* r : query.records())
    addItem(buildItem(*r, false));
  if (m_recoverDeleted)
    addDeleted(storePath, false, query.records());
}

void CCalllistCollection::loadOldStore(const QString& callDbPath) {
  COldCallHistoryQuery query;
  query.query({callDbPath}, m_progress);
  for (const CallRecord* r : query.records())
    addItem(buildItem(*r, true));
  if (m_recoverDeleted)
    addDeleted(callDbPath, true, query.records());
}

void CCalllistCollection::addDeleted(const QString& path, bool olderStore, const QList<CallRecord*>& live) {
  CDeletedCalls deleted;
  deleted.read(path, olderStore, live);
  for (const CallRecord* r : deleted.records()) {
    OxCallHistoryItem* item = buildItem(*r, olderStore);
    if (item)
      item->setFlag(true, OxAbstractItem::ItemDeleted);
    addItem(item);
  }
}

QString CCalllistCollection::nameLookup(const QString& numberOrAddress) const {
  if (numberOrAddress.trimmed().isEmpty())
    return QString();
  const QString name = m_contacts.find(numberOrAddress);
  return name.isEmpty() ? numberOrAddress : name;
}

QString CCalllistCollection::nameOf(const CallRecord& r, bool olderStore) const {
  QString name = r.name.trimmed();
  if (name.isEmpty() && olderStore && r.personId >= 0) {
    name = m_addressBook.personName(r.personId);
    if (name.isEmpty() && r.personId <= std::numeric_limits<int>::max())
      name = m_idToName.value(int(r.personId));
  }
  if (name.isEmpty())
    name = m_contacts.find(r.address);
  if (name.isEmpty() && (olderStore || m_contacts.isEmpty())) {
    name = m_bookContacts.find(r.address);
    if (name.isEmpty())
      name = m_addressBook.nameOf(r.address, r.countryCode);
  }
  return name;
}

OxCallHistoryItem* CCalllistCollection::buildItem(const CallRecord& r, bool olderStore) const {
  OxCallHistoryItem* item = OxCallHistoryItem::createItem();
  if (!item)
    return nullptr;
  item->setValue(r.address, OxCallHistoryItem::ColPhone);
  const QString name = nameOf(r, olderStore);
  // An unknown caller is shown by number.
  item->setValue(name.isEmpty() ? r.address : name, OxCallHistoryItem::ColName);
  item->setValue(CCommonUtils::datetimeToMinute(r.date, true), OxCallHistoryItem::ColDate);
  item->setSortValue(r.date, OxCallHistoryItem::ColDate);
  item->setTreeFirstLayerName(QStringLiteral("Call History"));

  const int seconds = r.duration > 0 && r.duration < 2147483647.0 ? int(r.duration) : 0;
  if (r.originated) {
    if (r.duration < 1) {
      item->setValue(m_texts.canceled, OxCallHistoryItem::ColDuration);
      item->setSortValue(-1, OxCallHistoryItem::ColDuration);
    } else {
      item->setValue(CCommonUtils::durationToString(seconds, true), OxCallHistoryItem::ColDuration);
      item->setSortValue(seconds, OxCallHistoryItem::ColDuration);
    }
  } else {
    item->setValue(r.answered ? CCommonUtils::durationToString(seconds, true) : m_texts.missed,
                   OxCallHistoryItem::ColDuration);
    item->setSortValue(seconds, OxCallHistoryItem::ColDuration);
  }

  const bool audio = r.callType == 16;
  const Texts& t = m_texts;
  const QString& type =
      r.isFaceTime() ? (r.originated ? (audio ? t.outgoingFaceTimeAudio : t.outgoingFaceTime)
                                     : (audio ? t.incomingFaceTimeAudio : t.incomingFaceTime))
                     : (r.originated ? t.outgoing : t.incoming);
  item->setValue(type, OxCallHistoryItem::ColType);

  if (r.hasLocation)
    item->setValue(r.location, OxCallHistoryItem::ColLocation);
  return item;
}

void CCalllistCollection::addItem(OxCallHistoryItem* item) {
  if (!item || !m_list) {
    delete item;
    return;
  }
  if (item->value(OxCallHistoryItem::ColName).isEmpty())
    item->setValue(nameLookup(item->value(OxCallHistoryItem::ColPhone)), OxCallHistoryItem::ColName);
  item->setSize(0);
  m_list->append(item);
}
