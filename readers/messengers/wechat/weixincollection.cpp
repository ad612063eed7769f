#include "readers/messengers/wechat/weixincollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/wechat/weixin.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/wechat/weixinmessages.h"
#include "service/progress.h"

#include <QStringList>

namespace {
// The name a chat room member goes by: the name used in the room, else the
// contact's, else the user name.
QString memberName(const Weixin& weixin, const WxContact* room, const QString& userName) {
  if (room) {
    const QString inRoom = room->memberNames.value(userName);
    if (!inRoom.isEmpty())
      return inRoom;
  }
  const WxContact* c = weixin.contact(userName);
  return c ? c->displayName() : userName;
}
} // namespace

CWeixinCollection::CWeixinCollection() = default;
CWeixinCollection::~CWeixinCollection() = default;

void CWeixinCollection::readWeixin(OxBackup* registry, CIProgressCallback* progress, WxFileSource* source) {
  if (!registry || !source)
    return;
  Weixin weixin(source);
  const QList<WxAccount> accounts = weixin.accounts();
  if (accounts.isEmpty()) {
    Log("iTunesBackup", 1, "No WeChat account in the backup");
    return;
  }
  OxData* list = registry->getWeChart();
  list->setHaveAccounts(accounts.size());
  const int share = progress ? int(progress->range() / double(accounts.size())) : 100;
  for (int i = 0; i < accounts.size(); ++i) {
    CSubProgress stage(progress, share);
    if (!weixin.openAccount(accounts.at(i)))
      continue;
    if (isBuildingChats() && !buildChats(weixin, list, i + 1, &stage))
      return;
    if (!stage.finish())
      return;
  }
}

bool CWeixinCollection::buildChats(Weixin& weixin, OxData* list, int accountNumber, CIProgressCallback* progress) {
  const QList<WxChat>& chats = weixin.chats();
  progress->initRange(100);
  const double step = chats.isEmpty() ? 0.0 : double(progress->range()) / double(chats.size());
  for (const WxChat& wx : chats) {
    const WxContact* contact = weixin.contact(wx.userName);
    ChatItemColumns columns;
    columns.name = contact ? contact->displayName() : wx.userName.isEmpty() ? wx.hash : wx.userName;
    if (contact && contact->isChatRoom()) {
      QStringList members;
      for (auto m = contact->memberNames.constBegin(); m != contact->memberNames.constEnd(); ++m)
        members << memberName(weixin, contact, m.key());
      columns.title = members.join(QStringLiteral(", "));
    } else {
      columns.title = wx.userName;
    }
    columns.showLastMessage = true;

    auto* chat = new OxWhatsappChat;
    for (const WxMsg& m : weixin.messages(wx))
      chat->addMessage(createMsg(weixin, wx, m, columns.name));
    if (OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat, columns)) {
      item->setValue(QString::number(accountNumber), 7);
      list->append(item);
    }
    if (!progress->progress(step))
      return false;
  }
  return true;
}

OxWhatsappMsg* CWeixinCollection::createMsg(Weixin& weixin, const WxChat& chat, const WxMsg& m,
                                            const QString& chatName) {
  auto* msg = new OxWhatsappMsg;
  msg->setMsgDate(m.date());
  msg->setFromMe(m.fromMe);
  if (!m.fromMe)
    msg->setMember(chat.isChatRoom() ? memberName(weixin, weixin.contact(chat.userName), m.sender) : chatName);

  const WeixinMessageView v = WeixinMessages::view(m);
  QString media;
  for (int kind : v.media) {
    media = weixin.mediaPath(chat, m, Weixin::Media(kind));
    if (!media.isEmpty())
      break;
  }
  if (!media.isEmpty())
    msg->setMedia(media);
  msg->setContent(media.isEmpty() && v.content.isEmpty() ? v.missingMedia : v.content);
  msg->setType(v.type);
  return msg;
}
