#pragma once
// Writer of Viber's store, Contacts.data, in either generation of its contact
// tables, and of the files around it: avatars in the shared group container,
// attachments and thumbnails in the app's own container.
//
// The newer generation has the tables of a 2023 store (ZMEMBER, ZPHONENUMBER,
// group members in Z_5PHONENUMINDEXES(Z_5CONVERSATIONS, Z_10PHONENUMINDEXES),
// messages with call columns); the older one keeps contacts in
// ZPHONENUMBERINDEX, numbers its member table Z_4PHONENUMINDEXES(
// Z_4CONVERSATIONS, Z_9PHONENUMINDEXES) and has messages without the call
// columns.
#include "samples/backupfixture.h"

namespace fixture {

struct ViberContactRow {
  qint64 pk = 0;
  QString name;
  QString phone;
  QString icon;
};

struct ViberConversationRow {
  qint64 pk = 0;
  QString name;       // a group's name
  qint64 partner = 0; // one-to-one chats
  bool deleted = false;
  QList<qint64> members;
};

struct ViberMessageRow {
  qint64 pk = 0;
  qint64 conversation = 0;
  qint64 sender = 0; // 0: NULL
  double date = 0;   // seconds since 2001
  QString state;
  QString text;
  QString systemType;
  qint64 attachment = 0;
  qint64 location = 0;
  bool deleted = false;
  QString callType;
  qint64 callDuration = 0;
  QString metadata;
};

struct ViberAttachmentRow {
  qint64 pk = 0;
  QString name;
  QString type;
};

struct ViberLocationRow {
  qint64 pk = 0;
  double latitude = 0;
  double longitude = 0;
  QString address;
};

struct ViberCallRow {
  qint64 pk = 0;
  double date = 0;
  qint64 duration = 0;
  QString callType;
  QString number;      // the recents line's number
  qint64 contact = 0;  // the recents line's contact
  qint64 message = 0;  // the call's chat line
};

struct ViberStore {
  bool olderContacts = false;
  QList<ViberContactRow> contacts;
  QList<ViberConversationRow> conversations;
  QList<ViberMessageRow> messages;
  QList<ViberAttachmentRow> attachments;
  QList<ViberLocationRow> locations;
  QList<ViberCallRow> calls;
};

QStringList viberStatements(const ViberStore& store);

// A file beside the store: in the app's container (Documents/...) or, when
// not, in the group container under com.viber/.
struct ViberExtraFile {
  bool appDomain = true;
  QString path;
  QByteArray data;
};
QList<StoredFile> viberFiles(const ViberStore& store, const QList<ViberExtraFile>& extraFiles);

// What the sample backup holds: a one-to-one chat with a picture, a location
// and a call line, a group with a system line, a deleted message, and two calls.
QList<StoredFile> sampleViberFiles();

// A store of `chats` one-to-one chats and `messages` messages spread evenly
// over them, written straight to path (benchmarks).
bool writeViberDatabase(const QString& path, int chats, int messages, QString* error);

} // namespace fixture
