#pragma once
// CViberCollection: turns Viber's store (Contacts.data) into chat items and
// call records.
//
// Like the other chat builders it asks virtual operations where the database
// and the app's files are; CViberiTunesCollection answers them from an opened
// backup, the base with empty strings (readDatabase and readCalls can then be
// given a database path).
//
// What a chat item holds (values of OxWhatsappItem), one per conversation
// that has messages, in the store's conversation order:
//   0 the chat's name: a group's name, else the partner's display name, else
//     the partner's number
//   1 the title: a group's members ("name" each) joined with ", ", else the
//     chat's name
//   2 the partner's number (one-to-one chats)
//   3 the last date as text, sort value 6 the last date
//   4 the last content
//   5 the local path of the partner's or group's avatar (ViberIcons/), or empty
// Messages stay in ascending date.
//
// Messages. The direction comes from the state text: "received" is incoming,
// the sending states ("send", "delivered", "seen", "pending", "failed"...) are
// outgoing, and an unknown state is incoming exactly when the row names a
// sender. "pending" and "failed" leave the send not done. The sender of an
// incoming message is its own contact, else the conversation's partner; it is
// named on every incoming message, so group messages say who wrote them.
// A message is, by the first that applies:
//   - a system line (ZSYSTEMTYPE set): a group event whose content is the text,
//     else the system type made readable ("group_created" -> "Group created");
//   - a call's chat line (ZCALLTYPE set): a group event such as "Missed video
//     call" or "Outgoing call (0:42)";
//   - a location: the address, if any, and the coordinates;
//   - an attachment: picture, video, voice or file by its type text (the file
//     name's extension when the type says nothing); a sticker is a text
//     "[Sticker]". The media is the file Documents/Attachments/<name> of the
//     app's container, else a thumbnail of it under Documents/Thumbnails/; the
//     content is the caption, and a file without caption shows its name;
//   - a text; an empty text takes the link preview's text, title or address
//     from the JSON metadata.
//
// Deleted rows. A conversation marked ZBEINGDELETED gives an item flagged
// deleted (its chat marked deleted too). Messages marked ZBEINGDELETED in a
// conversation that is not deleted go to a second item of the same name and
// columns, flagged deleted, right after the first: the model has no deleted
// mark for a single message, and the deleted item is what a host filters on.
//
// Calls (readCalls): one OxCallHistoryItem per ZRECENT row, newest first, under
// the first layer "Viber Call History": name (the Viber contact, else the
// number), number, date, type ("Incoming Calls", "Outgoing Calls", or their
// "Video" forms), duration ("Missed" for a missed call, "Canceled" for an
// outgoing call under one second, as the phone's own call list says).
//
// Progress: the queries report half the sink's range, the chat building the
// other half. A sink that answers false stops the load; the chats appended so
// far stay.
#include "readers/messengers/common/chatappcollection.h"

#include <QString>

class CIProgressCallback;
class CViberAttachmentQuery;
class CViberContactQuery;
class CViberConversationQuery;
class CViberGroupMemberQuery;
class CViberLocationQuery;
class CViberMessageQuery;
class OxBackup;
class OxData;
class OxWhatsappMsg;
struct ViberConversation;
struct ViberMessage;

class CViberCollection : public CChatAppCollection {
public:
  CViberCollection();
  ~CViberCollection() override;

  // The base folder is the folder of the database's "database/" folder
  // (com.viber/ in a backup); avatars are under its ViberIcons/.

  // Reads the store (dbFilePath("database/Contacts.data") when dbPath is
  // blank) and, with the chat switch on, builds its chats into
  // registry->getViberMsg(). The sink may be null.
  void readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath = QString());

  // Reads the store's calls into the call list.
  void readCalls(OxData* calls, const QString& dbPath = QString());

  // The parts of a message that tests check one by one.
  static bool isOutgoing(const QString& state, bool hasSender);
  static bool isSendDone(const QString& state);
  static QString readableSystemType(const QString& systemType);
  // The message type of an attachment by its type text, else its file name.
  static int attachmentType(const QString& type, const QString& fileName);
  static QString callLineText(const QString& callType, qint64 duration);

private:
  struct Queries;
  void buildChats(CIProgressCallback* sub, OxData* list, const Queries& q);
  OxWhatsappMsg* createMsg(const ViberMessage& record, const ViberConversation& chat, const Queries& q);
  void attachMedia(OxWhatsappMsg* msg, const QString& fileName);
};
