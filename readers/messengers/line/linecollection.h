#pragma once
// CLineCollection: turns Line's chat database (Line.sqlite) into chat items.
//
// It runs the five Line queries and joins their records into one
// OxWhatsappItem per chat, appended to the registry's Line list. Like the Kik
// reader it asks virtual operations where the database and Line's files are;
// CLineiTunesCollection answers them from an opened backup, the base with
// empty strings (readDatabase can then be given a database path).
//
// What a chat item holds (values of OxWhatsappItem):
//   0 the chat's name: the group's name for a group chat, the partner's for a
//     one-to-one chat (by the chat's mid), empty when unknown
//   1 the title: the member names joined with ", "; the chat's name when the
//     chat lists no members (a one-to-one chat is titled with the partner)
//   3 the last date as text, sort value 6 the last date
//   4 the last content
// Line chats have no avatar.
//
// Messages: time stamps are milliseconds since 1970 with bit 61 cleared (some
// rows carry it as a flag). Pictures, videos and voice messages show their
// thumbnail ("Message Thumbnails/<chat mid>/<id>.thumb"), or, for a message
// whose send is not done and that has no thumbnail, the preview beside the
// original ("Message Attachments/<chat mid>/S_<id>.jpg"). Stickers become
// pictures of the owned sticker package they belong to ("Owned
// Sticons/packages/<package>/<nnn>_key.png"); a sticker of an unknown package
// has no picture. Everything else shows its text.
//
// Progress: the five queries report a tenth of the sink's range each, the
// chat building half of it. A sink that answers false stops the load; the
// chats appended so far stay.
#include "readers/messengers/common/chatappcollection.h"

#include <QDateTime>
#include <QString>

class CIProgressCallback;
class CLineChatMembersQuery;
class CLineChatSessionQuery;
class CLineGroupQuery;
class CLineMessageQuery;
class CLineUserQuery;
class OxBackup;
class OxData;
class OxWhatsappMsg;
struct LineMessage;

class CLineCollection : public CChatAppCollection {
public:
  CLineCollection();
  ~CLineCollection() override;

  // The base's file hooks name Line's files. The base folder is the account
  // folder (the database's path without "Messages/Line.sqlite"); Line has no
  // media-only run.

  // Runs the five queries over the database (dbFilePath("Line.sqlite") when
  // dbPath is blank) and, when all of them finished and the switch is on,
  // builds the chats into registry->getLineMsg(). The sink may be null.
  void readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath = QString());

  // One chat item per chat of the chat list, in list order, appended to list.
  void buildChats(CIProgressCallback* sub, OxData* list, const CLineUserQuery& users, const CLineGroupQuery& groups,
                  const CLineChatSessionQuery& chats, const CLineMessageQuery& messages,
                  const CLineChatMembersQuery& members);

  // The message of one record of the chat with that mid; the caller owns it.
  OxWhatsappMsg* createMsg(const LineMessage& record, const QString& chatMid, const CLineUserQuery& users);

  // The date of a time stamp: bit 61 cleared, milliseconds cut to seconds.
  static QDateTime dateOf(qint64 timestamp);
  // The path of a sticker's picture relative to the base folder, or empty
  // when the number is below the first known package.
  static QString stickerPath(qint64 sticker);

};
