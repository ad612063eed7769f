#pragma once
// CCalllistCollection: the phone's call history as one OxCallHistoryItem per
// call in the call list (data type 10), under the first layer "Call History".
//
// The store of iOS 8 and later (HomeDomain Library/CallHistoryDB/
// CallHistory.storedata) is read when the backup has it, and then only it; else
// the older call_history.db (WirelessDomain, else HomeDomain, Library/
// CallHistory/) together with the address book.
//
// A call's name, in this order: the name stored with the call; for the older
// store, the address-book contact the call points to (by row id, else from the
// host's id map); the host's contact map (first key in key order whose
// "-"-and-space-free text ends with the number or the other way round, both
// longer than five characters); the backup's own address book (always for the
// older store; for the newer one when the host gave no contact map), first by
// that same rule over its numbers and addresses as the cards hold them, then
// by the number's normal form, which adds what the rule misses ("(919)
// 888-7386" for "+19198887386") and never takes away what it finds; at last
// the number itself.
//
// Unless told not to (setRecoverDeleted), the calls the phone deleted that the
// store still holds follow the live ones, flagged ItemDeleted (deletedcalls.h).
#include "backup/cidatacollection.h"
#include "readers/ios/callhistory/addressbook.h"
#include "readers/ios/callhistory/contactnameindex.h"

#include <QList>
#include <QMap>
#include <QString>

class OxCallHistoryItem;
class OxData;
struct CallRecord;

class CCalllistCollection : public CIDataCollection {
public:
  CCalllistCollection(OxData* list, const QMap<QString, QString>& contactToName, const QMap<int, QString>& idToName);
  ~CCalllistCollection() override;

  void load(MobileBackup* backup) override;

  // The same from local copies of the stores (the caller owns them).
  void loadStore(const QString& storePath);
  void loadOldStore(const QString& callDbPath);
  // Reads an address book copy; false when it gives no contacts.
  bool loadAddressBook(const QString& path);

  // The host map's name of a number or address; the text as given when no key
  // matches, empty for an empty or blank text.
  QString nameLookup(const QString& numberOrAddress) const;
  // Names the item from its number when it has no name yet, and appends it.
  void addItem(OxCallHistoryItem* item);
  // The item of one call, named as described above.
  OxCallHistoryItem* buildItem(const CallRecord& record, bool olderStore) const;

  // The older store's copy when that generation was read; empty otherwise.
  QString oldCallDbPath() const { return m_oldCallDbPath; }
  const CAddressBook& addressBook() const { return m_addressBook; }

private:
  void locateAddressBook(MobileBackup* backup);
  QString nameOf(const CallRecord& record, bool olderStore) const;
  // Appends the store's recovered calls that no live one shows.
  void addDeleted(const QString& path, bool olderStore, const QList<CallRecord*>& live);

  // The list's fixed texts, translated once rather than per call.
  struct Texts {
    QString canceled, missed, outgoing, incoming;
    QString outgoingFaceTime, outgoingFaceTimeAudio, incomingFaceTime, incomingFaceTimeAudio;
  };

  OxData* m_list; // not owned
  Texts m_texts;
  QMap<QString, QString> m_contactToName;
  QMap<int, QString> m_idToName;
  QString m_oldCallDbPath;
  CContactNameIndex m_contacts;     // the host's map
  CAddressBook m_addressBook;
  CContactNameIndex m_bookContacts; // the address book's contactMap()
};
