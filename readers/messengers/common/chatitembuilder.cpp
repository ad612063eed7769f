#include "readers/messengers/common/chatitembuilder.h"

#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"

#include <QVariant>

QString CChatItemBuilder::lastContent(const OxWhatsappChat& chat) {
  const QList<OxWhatsappMsg*>& messages = chat.messages();
  for (int i = messages.size() - 1; i >= 0; --i) {
    const OxWhatsappMsg* m = messages.at(i);
    if (m && !m->content().isEmpty())
      return m->content();
  }
  return QString();
}

QDateTime CChatItemBuilder::lastDate(const OxWhatsappChat& chat) {
  const QList<OxWhatsappMsg*>& messages = chat.messages();
  if (messages.isEmpty() || !messages.last())
    return QDateTime();
  return messages.last()->msgDate();
}

QString CChatItemBuilder::lastDateText(const QDateTime& date) { return CCommonUtils::dateToString(date, true); }

OxWhatsappItem* CChatItemBuilder::createChatItem(OxWhatsappChat* chat, const ChatItemColumns& columns) {
  OxWhatsappItem* item = OxWhatsappItem::createItem();
  if (!item) {
    delete chat;
    return nullptr;
  }
  const QDateTime date = chat ? lastDate(*chat) : QDateTime();
  item->setValue(columns.name, 0);
  item->setValue(columns.title, 1);
  item->setValue(columns.numbers, 2);
  item->setValue(lastDateText(date), 3);
  item->setSortValue(QVariant(date), 6);
  item->setValue(chat ? lastContent(*chat) : QString(), 4);
  item->setValue(columns.avatar, 5);
  item->setDetailContent(chat);
  // The size is the chat's: it needs the chat in place.
  if (chat)
    item->setSize(0);
  if (columns.showLastMessage)
    item->setShowLastMes(true);
  return item;
}

QString CChatItemBuilder::locationText(double latitude, double longitude, const QString& address) {
  const QString coordinates =
      QStringLiteral("%1, %2").arg(QString::number(latitude, 'f', 6), QString::number(longitude, 'f', 6));
  return address.isEmpty() ? coordinates : QStringLiteral("%1 (%2)").arg(address, coordinates);
}
