#pragma once
// CWeixinCollection: turns WeChat's chats, read through the social-app library
// (platform/wechat), into chat items of the WeChat list.
//
// Every account folder of the container is read; each conversation (one
// Chat_<hash> table, in however many databases it is split) becomes one
// OxWhatsappItem:
//   0 the chat's name: the contact's remark, else nickname, else user name;
//     the table's hash when no known user name hashes to it
//   1 the title: a chat room's member names joined with ", "; the user name
//     (the WeChat id) of a one-to-one chat
//   3 the last date as text, sort value 6 the last date, 4 the last content
//   7 the account's number (1, 2, ... in the order of the account folders'
//     names); the list says how many accounts there are (setHaveAccounts)
// Messages are oldest first. A received message's member is the sender's
// name: in a chat room the name the sender uses in the room, else the
// contact's display name, else the user name; in a one-to-one chat the chat's
// name. The texts and media of the message kinds are those of
// WeixinMessages::view; a voice note keeps its Silk-coded .aud file as its
// media.
//
// Progress: each account has an equal share, each chat of it an equal step;
// a sink that answers false stops the load, the chats appended so far stay.
#include "readers/messengers/common/chatappcollection.h"

class CIProgressCallback;
class OxBackup;
class OxData;
class OxWhatsappMsg;
class Weixin;
class WxFileSource;
struct WxChat;
struct WxMsg;

class CWeixinCollection : public CChatAppCollection {
public:
  CWeixinCollection();
  ~CWeixinCollection() override;

  // Reads every account of the source into registry->getWeChart(). The sink
  // may be null; nothing is owned.
  void readWeixin(OxBackup* registry, CIProgressCallback* progress, WxFileSource* source);

private:
  // The chats of the account Weixin has open; false when the sink stops.
  bool buildChats(Weixin& weixin, OxData* list, int accountNumber, CIProgressCallback* progress);
  OxWhatsappMsg* createMsg(Weixin& weixin, const WxChat& chat, const WxMsg& msg, const QString& chatName);
};
