#pragma once
// CQQCollection: turns one QQ account's QQ.db into chat items of the QQ list.
//
// One OxWhatsappItem per conversation (friend or group):
//   0 the name: a friend's remark, else nickname, else QQ number; a group's
//     name, else its number
//   1 the title: a friend's QQ number; a group's member names joined with ", "
//   3 the last date as text, sort value 6 the last date, 4 the last content
//   7 the account's number (1, 2, ... in the order of the account folders)
// Messages are oldest first (time is Unix seconds). In a friend's table flag 0
// is a message the owner sent; in a group's table the owner's messages carry
// the owner's own number as sender. A received message's member is the
// sender's name in the group (the member table, else the row's nickname),
// else the friend's name, else the number.
//
// Message kinds (QQ's numbers, no complete public list exists):
//   0 text; 1 picture and 181 video (the file named by the md5 in picUrl,
//   found under the account's Documents/<number>/ folder; "[Picture]" or
//   "[Video]" when missing); 3 voice (Documents/<number>/Audio/<content up
//   to its last '+'>.amr); 4 file (Documents/<number>/FileRecv/<name>, the
//   name being the content up to "||||||||"); 337 location (JSON); 141 and
//   7141 structured messages (XML: their title or brief, a link, a location
//   or a shared contact); 332 a recalled message (a system line); any other
//   type shows its content, with the file its GUID names when there is one.
//
// The file hooks of CChatAppCollection name files relative to the app's
// container; the base folder is the account's "Documents/contents/<number>/".
#include "readers/messengers/common/chatappcollection.h"

#include <QString>

class CIProgressCallback;
class CQQFriendQuery;
class CQQGroupMemberQuery;
class CQQGroupQuery;
class CQQMessageQuery;
class OxBackup;
class OxData;
class OxWhatsappMsg;
struct QQMessage;

class CQQCollection : public CChatAppCollection {
public:
  CQQCollection();
  ~CQQCollection() override;

  // Runs the queries over the database (dbFilePath("QQ.db") when dbPath is
  // blank) of the account with that QQ number and builds its chats into
  // registry->getQQMsg(), their value 7 the account's number. The sink may be
  // null; false when it asked to stop.
  bool readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& ownerUin,
                    int accountNumber = 1, const QString& dbPath = QString());

  // The local path of a file under the container folder whose name without
  // its extension is `stem` (case ignored), the best copy first (originals
  // before thumbnails); empty when there is none. The base finds nothing.
  virtual QString findFile(const QString& folder, const QString& stem);

  // The message of a record; the caller owns it.
  OxWhatsappMsg* createMsg(const QQMessage& record, bool group, const QString& ownerUin, const QString& senderName);

private:
  void buildChats(CIProgressCallback* progress, OxData* list, const QString& ownerUin, int accountNumber,
                  const CQQFriendQuery& friends, const CQQGroupQuery& groups, const CQQGroupMemberQuery& members,
                  const CQQMessageQuery& messages);
  QString m_userFolder; // Documents/<number>/ of the account being read
};
