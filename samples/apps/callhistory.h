#pragma once
// Writers of the call-history, address-book and voicemail stores, with the
// schemas the phone has: CallHistory.storedata (iOS 14), the older
// call_history.db, AddressBook.sqlitedb, voicemail.db and AMR recordings.
#include "samples/backupfixture.h"

namespace fixture {

// One row of ZCALLRECORD. Dates in seconds since 2001-01-01 UTC.
struct StoredCall {
  qint64 pk = 0;
  int answered = 0;
  int callType = 1;
  QString faceTimeData = QStringLiteral("NULL"); // SQL literal: NULL, 0, 3785130
  int originated = 0;
  double date = 0;
  double duration = 0;
  QString address; // stored as a blob, as the phone does
  QString countryCode = QStringLiteral("us");
  QString name;     // empty: NULL
  QString location; // empty: NULL
  QString serviceProvider = QStringLiteral("com.apple.Telephony");
};

// One row of the older store's table "call". Dates in Unix seconds.
struct OldCall {
  qint64 rowId = 0;
  QString address;
  qint64 date = 0;
  int duration = 0;
  int flags = 4; // 4 incoming, 5 outgoing telephone call; 16, 17 FaceTime
  qint64 personId = -1;
  QString name;
};

struct Contact {
  qint64 rowId = 0;
  QString first;
  QString last;
  QString organization;
  QStringList phones;
  QStringList emails;
};

struct Voicemail {
  qint64 rowId = 0;
  qint64 date = 0; // Unix seconds
  QString sender;
  int duration = 0;
};

// The statements that create and fill each store.
QStringList callHistoryStatements(const QList<StoredCall>& calls, bool withServiceProvider = true);
QStringList oldCallHistoryStatements(const QList<OldCall>& calls);
QStringList addressBookStatements(const QList<Contact>& contacts);
// An AMR-NB file of that many 20 ms silent frames.
QByteArray amrRecording(int frames);

// The store in WAL mode, as on the phone: the calls are in the -wal record.
QList<StoredFile> callHistoryStoreFiles(const QList<StoredCall>& calls);
QList<StoredFile> oldCallHistoryFiles(const QList<OldCall>& calls,
                                      const QString& domain = QStringLiteral("WirelessDomain"));
QList<StoredFile> addressBookFiles(const QList<Contact>& contacts);
// voicemail.db (rollback journal) and one recording per message.
QList<StoredFile> voicemailFiles(const QList<Voicemail>& messages);

// What the sample backup holds: calls of every kind, a few contacts, and two
// voicemail messages.
QList<StoredFile> sampleCallHistoryFiles();

} // namespace fixture
