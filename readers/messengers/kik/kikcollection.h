#pragma once
// CKikCollection: turns Kik's chat database (kik.sqlite) into chat items.
//
// It runs the six Kik queries and joins their records into one OxWhatsappItem
// per chat, appended to the registry's Kik list. It knows nothing of backups:
// where the database and the Kik files are is asked through virtual
// operations, which CKikiTunesCollection answers from an opened backup. The
// base answers them with empty strings, so that a database file can be read
// directly (readDatabase with its path).
//
// What a chat item holds (values of OxWhatsappItem):
//   0 the display name of the chat's user (the partner, or the group)
//   1 the title: the senders other than the owner as "name(jid)" (the name
//     alone when the jid is unknown) joined with ", ", in the order of their
//     first messages; the chat's name when nobody else wrote
//   3 the last date as text, sort value 6 the last date
//   4 the last content
//   5 the local path of the chat user's profile picture, or empty
// Messages stay in ascending time stamp, so "last" is the newest message.
//
// Message kinds: system lines (message types 3, 4 and 5) become group events
// (6); flags 0 a text; any other flags an attachment, whose type is the flags
// until the attachment row says picture (6 -> 1) or video (7 -> 2). An
// attachment's media is its descriptor file (attachments/<content id>), a
// property list that carries the thumbnail; the host reads the picture out of
// the file's data. A descriptor that names a video kind makes the message a
// video. Attachment bodies are content ids and are never shown as text.
//
// Traps worth knowing:
//  - A message can sit in two chats; each chat gets its own copy.
//  - A chat's messages are ordered by their position in the message list
//    (ascending time stamp) through a position index, not by key.
//  - Progress: the six queries report a twelfth of the sink's range each, the
//    chat building half of it. A sink that answers false stops the load; the
//    chats appended so far stay.
#include "readers/messengers/common/chatappcollection.h"

#include <QMap>
#include <QString>

class CIProgressCallback;
class CKikChatMessagesQuery;
class CKikChatSessionQuery;
class CKikMediaQuery;
class CKikMessageQuery;
class CKikUserQuery;
class OxBackup;
class OxData;
class OxWhatsappMsg;
struct KikAttachment;
struct KikMessage;

class CKikCollection : public CChatAppCollection {
public:
  CKikCollection();
  ~CKikCollection() override;

  // The base's file hooks name Kik's files (mediaFileName: an attachment
  // file's display name). The base folder is the folder of kik.sqlite, and
  // with the chat switch off, mediaOnly registers the attachments of every
  // message instead.

  // Remembers a message's attachment (descriptor path, full file path, message
  // type) for the pass over the attachment files.
  virtual void registerAttachment(const QString& attachmentPath, const QString& dataCachePath, int type);

  // Runs the six queries over the database (dbFilePath("kik.sqlite") when
  // dbPath is blank) and, when all of them finished, builds the chats into
  // registry->getKikMsg() or registers the attachments (see the switches).
  // The sink may be null.
  void readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath = QString());

  // One chat item per chat of the chat list that has messages linked to it,
  // in list order, appended to list. sub reports one step per message and 0
  // per chat.
  void buildChats(CIProgressCallback* sub, OxData* list, const CKikUserQuery& users,
                  const CKikChatSessionQuery& chats, const CKikChatMessagesQuery& chatMessages,
                  const CKikMediaQuery& media, const CKikMessageQuery& messages);

  // The message of one record; the caller owns it.
  OxWhatsappMsg* createMsg(const KikMessage& record, const CKikUserQuery& users, const CKikMediaQuery& media);

protected:
  // The attachment steps of a media message: the message type, the media
  // path (set on msg when given) and the registration of the attachment.
  int attachMedia(const KikMessage& record, const KikAttachment* attachment, OxWhatsappMsg* msg);

};
