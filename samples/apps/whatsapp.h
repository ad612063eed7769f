#pragma once
// Writer of WhatsApp's chat database, ChatStorage.sqlite, as WhatsApp on iOS 15
// has it (the five tables the reader queries, with all their columns and
// indexes), and of the files around it in a backup: the database in the shared
// group container with its -wal, message media under Message/Media/ and profile
// pictures under Media/Profile/.
//
// Rows are plain structures; an empty text and a zero key are written as NULL,
// as Core Data leaves unset attributes.
#include "samples/backupfixture.h"

namespace fixture {

// The shared group container that holds the database and the media.
QString whatsappGroupDomain();
// The app's own container (older installs keep the database in Documents/).
QString whatsappAppDomain();

struct WaSession {
  qint64 pk = 0;
  QString jid;         // ZCONTACTJID
  QString partnerName; // ZPARTNERNAME
  int sessionType = 0; // 0 one-to-one, 1 group
  qint64 contactAbId = 0;
  double lastMessageDate = 0; // Core Data seconds; orders the chats
  int hidden = 0;
  int removed = 0;
};

struct WaMember {
  qint64 pk = 0;
  qint64 session = 0;
  QString jid;
  QString contactName;
  qint64 contactAbId = 0;
};

struct WaMedia {
  qint64 pk = 0;
  qint64 message = 0;
  QString localPath; // relative to Message/: "Media/<jid>/a/b/<uuid>.jpg"
  QString thumbPath; // same rule, ".thumb"
  QString mediaUrl;
  QString title;
  QString authorName;
  QString vcardName;
  QString vcardString;
  qint64 fileSize = 0;
  int movieDuration = 0;
};

struct WaMessage {
  qint64 pk = 0;
  qint64 session = 0;
  int sort = 0; // order within the chat
  int type = 0; // ZMESSAGETYPE
  int groupEventType = 0;
  int isFromMe = 0;
  int status = 8;
  qint64 groupMember = 0;
  qint64 mediaItem = 0;
  qint64 parent = 0;
  double date = 0; // Core Data seconds
  QString text;
  QString toJid;
  QString fromJid;
};

struct WaPicture {
  qint64 pk = 0;
  QString jid;
  QString path; // "Media/Profile/<number>-<id>", without extension
};

struct WhatsappDb {
  QList<WaSession> sessions;
  QList<WaMember> members;
  QList<WaMedia> media;
  QList<WaMessage> messages;
  QList<WaPicture> pictures;
};

// CREATE TABLE and CREATE INDEX statements of the five tables. With
// allIndexes false, only the indexes the reader's ORDER BY uses (for large
// generated databases).
QStringList whatsappSchema(bool allIndexes = true);
// INSERT statements of the rows.
QStringList whatsappInserts(const WhatsappDb& rows);

// Statements that generate a large database inside SQLite: `messages` text
// messages spread evenly over `chats` one-to-one chats (every tenth message,
// when media is true, a picture with a media row), ordered by ZSORT per chat.
QStringList whatsappGeneratedInserts(int messages, int chats, bool media);

// A message row with the fields most tests set.
WaMessage waMessage(qint64 pk, qint64 session, int sort, double date, const QString& text, int type = 0);

// The same from statements; walStatements run after a checkpoint, so their
// rows live in the -wal record only.
QList<StoredFile> whatsappDbFilesFrom(const QStringList& statements, const QStringList& walStatements = QStringList());

// A media file of the group domain at Message/<localPath> (or at path itself
// for "Media/Profile/..."), with some bytes of a JPEG or MP4 start.
StoredFile whatsappMediaFile(const QString& path, quint32 modified = 1650000000);

// The sample backup's WhatsApp: a one-to-one chat with pictures, a document, a
// contact card and a location; a group with events and members; a chat
// without messages; a hidden and a removed chat; and a -wal that adds a chat
// and newer messages.
QList<StoredFile> sampleWhatsappFiles();

} // namespace fixture
