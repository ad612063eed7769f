#pragma once
// CMessengerCollection: turns Messenger's chat store into chat items.
//
// The store is either the Lightspeed database (lightspeed-userDatabases/
// <id>.db) or, in backups of old app versions, orca2.db; readDatabase tells
// them apart by their tables (see messengerqueries.h). Like the other chat
// builders it asks virtual operations for files; CMessengeriTunesCollection
// answers them from an opened backup, the base with empty strings.
//
// What a chat item holds (values of OxWhatsappItem), one per thread that has
// messages, in the store's thread order:
//   0 the chat's name: the thread's name, else the names of the people in it
//     other than the owner, joined with ", "
//   1 the title: those names (the chat's name when there are none)
//   2 the Facebook ids of those people, joined with ", "
//   3 the last date as text, sort value 6 the last date
//   4 the last content
// Messenger keeps no avatar files, so value 5 stays empty.
//
// Messages stay in ascending time. The owner is the id _user_info names
// (Lightspeed) or, for Orca, the one id every one-to-one thread key shares;
// the owner's messages are outgoing, the others name their sender (contact
// name, else the nickname in the thread, else the name the row carries, else
// the id). Contents, by the first that applies:
//   - an unsent message: the text "This message was unsent";
//   - a call line (an attachment titled "... call" or "Video chat"): a group
//     event "title (subtitle)";
//   - a media file: a picture, video, sound or file by its name's extension,
//     its media the copy the backup holds (the encrypted chats' media cache),
//     the text as caption; a file without caption shows its name;
//   - a shared link: the text, followed by the link's title and subtitle on
//     lines of their own;
//   - Orca: a location's coordinates, or the attachments' file names;
//   - the text.
#include "readers/messengers/common/chatappcollection.h"

#include <QHash>
#include <QString>
#include <QVector>

class CIProgressCallback;
class OxBackup;
class OxData;
class OxWhatsappMsg;
struct FbAttachment;
struct FbMessage;
struct FbThread;

class CMessengerCollection : public CChatAppCollection {
public:
  CMessengerCollection();
  ~CMessengerCollection() override;

  // Reads the store at dbPath and, with the chat switch on, appends its chats
  // to registry->getMessengerMsg(). The sink may be null.
  void readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath);

  // The local path of a media file the backup holds under that file name, or
  // empty; the base knows none.
  virtual QString cachedMediaPath(const QString& fileName);

  // The chats of one store, as the two generations deliver them.
  struct Store {
    qint64 owner = 0;
    const QVector<FbThread>* threads = nullptr;
    const QHash<qint64, QVector<qint64>>* participants = nullptr;
    const QHash<qint64, QString>* names = nullptr;     // contacts
    const QHash<qint64, QString>* nicknames = nullptr; // may be null
    const QHash<qint64, QVector<FbMessage>>* messages = nullptr;
    const QHash<QString, QVector<FbAttachment>>* attachments = nullptr; // may be null
    int messageCount = 0;
  };
  void buildChats(CIProgressCallback* sub, OxData* list, const Store& store);

  // The owner of an Orca store: the id every one-to-one thread key names
  // (counts by id); 0 when none or several do.
  static qint64 orcaOwner(const QHash<qint64, int>& oneToOneIds, int oneToOneThreads);

private:
  void readLightspeed(OxBackup* registry, CIProgressCallback* progress, const QString& path, const class SqlSchema& schema);
  void readOrca(OxBackup* registry, CIProgressCallback* progress, const QString& path, const class SqlSchema& schema);
  OxWhatsappMsg* createMsg(const FbMessage& record, const Store& store, const QString& member);
};
