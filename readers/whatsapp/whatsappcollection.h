#pragma once
// CWhatsappCollection: turns WhatsApp's chat database into chat items.
//
// It runs the five queries of ChatStorage.sqlite (sessions, group members,
// media items, messages, profile pictures) and joins their records into one
// OxWhatsappItem per visible chat, appended to the registry's WhatsApp list.
// It knows nothing of backups: where the database and the media files are is
// asked through three virtual operations, which CWhatsappiTunesCollection
// answers from an opened backup. The base answers them with empty strings, so
// that a database file can be read directly (readDatabase with its path).
//
// What a chat item holds (values of OxWhatsappItem):
//   0 the partner's name (group subject for a group)
//   1 the title: the members that are address-book contacts as
//     "name(+number)" joined with ","; the partner's name when there are none
//   2 the members' numbers ("+" and the jid's part before "@") joined with ","
//   3 the last date as text, sort value 6 the last date
//   4 the last content
//   5 for a chat with a profile picture row: the local path of the row's path
//     followed by ".jpg" (".jpg" alone when the file is not in the backup or
//     the path is empty); empty for a chat without such a row
// The chat's messages are sorted newest first, and "last" means the end of
// that list: the date and content of the OLDEST message (the content of the
// oldest one that has a content). The chat list orders the items by that date.
//
// Traps worth knowing:
//  - Joining is linear: messages arrive ordered by session and are grouped
//    once; members, media items and parent messages are looked up by key.
//  - Picture rows name the file without its extension ("Media/Profile/
//    <number>-<id>"), and the backup holds it as that name plus ".jpg". The
//    suffix is added to the looked-up path, not to the name looked up, so on
//    such a backup the column reads ".jpg"; the picture itself is the file of
//    the row's path plus ".jpg" in the backup.
//  - Chats marked removed are left out (as are hidden ones, by the query).
//  - Message rows of type 10 (system notices) make no message; messages of a
//    session that does not exist are never shown.
//  - Progress: readDatabase reports five query stages of an eighth of its
//    sink's range each, and the chat building half of it, so the whole run
//    reports more than the range. A sink that answers false stops the run at
//    that point; the chats appended so far stay.
#include <QHash>
#include <QMap>
#include <QString>

class CIProgressCallback;
class CWAChatMemberQuery;
class CWAChatSessionQuery;
class CWAMediaQuery;
class CWAMessageQuery;
class CWAProfilePicQuery;
class OxBackup;
class OxData;
class OxWhatsappMsg;
struct WAGroupMember;
struct WAMediaItem;
struct WAMessage;

class CWhatsappCollection {
public:
  CWhatsappCollection();
  virtual ~CWhatsappCollection();

  // Local path of a readable copy of the named database, or empty.
  virtual QString dbFilePath(const QString& name);
  // Local path of a file named as the database stores it, or empty.
  virtual QString mediaFilePath(const QString& path);
  // Display name of a file named as the database stores it (the suffix taken
  // from source), or empty when the file is unknown.
  virtual QString mediaFileName(const QString& path, const QString& source);

  // The two switches every messenger collection has, both on after
  // construction: buildChats makes readDatabase build the chat items; the
  // second one is part of the common shape and is not consulted by WhatsApp.
  void setSwitches(bool buildChats, bool mediaOnly);
  bool isBuildingChats() const { return m_buildChats; }
  bool isMediaOnly() const { return m_mediaOnly; }
  // Deleted messages and chats recovered from the database's free space (on
  // after construction): a recovered message joins its chat, marked deleted;
  // those of a chat the store no longer has make a chat item of their own,
  // flagged ItemDeleted, whose chat is marked deleted.
  void setRecoverDeleted(bool on) { m_recoverDeleted = on; }
  bool isRecoveringDeleted() const { return m_recoverDeleted; }

  // Runs the five queries over the database (dbFilePath("ChatStorage.sqlite")
  // when dbPath is blank) and, when all of them finished and the switch is on,
  // appends the chats to registry->getWhatsappMsg(): one chat item per visible
  // session, in the session query's order. The messages are built as their
  // rows are read (no row outlives its message); the building's share of the
  // progress reports one step per message and 0 per chat, chat by chat once
  // the queries are done. The sink may be null.
  void readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath);

  // The message of one record, or null for a record that shows nothing
  // (type 10). parent is the record's parent message, or null; membersByJid,
  // when given, maps a member jid to the name of the first member (in pk
  // order) with that jid, which spares a scan of the members for every group
  // event. The caller owns the result.
  OxWhatsappMsg* createMsg(const WAMessage& message, const WAMessage* parent,
                           const QMap<qint64, WAGroupMember*>& members, const QMap<qint64, WAMediaItem*>& media,
                           const QHash<QString, QString>* membersByJid = nullptr);

protected:
  // A media file of the app. WhatsApp's media are shown inside their messages
  // only, never as items of their own, so this does nothing.
  void addMediaFile(OxBackup* registry, const QString& name, const QString& path, qint64 size);

private:
  CWhatsappCollection(const CWhatsappCollection&) = delete;
  CWhatsappCollection& operator=(const CWhatsappCollection&) = delete;

  bool m_buildChats = true;
  bool m_mediaOnly = true;
  bool m_recoverDeleted = true;
};
