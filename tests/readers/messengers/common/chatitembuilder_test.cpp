#include "readers/messengers/common/chatitembuilder.h"

#include "model/oxwhatsappitem.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <memory>

namespace {
// Which message gives the last content and date, and a chat without
// messages, are checked through the readers.
TEST(ChatItemBuilder, ItemColumnsAndSize) {
  const QDateTime at(QDate(2023, 5, 17), QTime(10, 7), Qt::UTC);
  auto* chat = new OxWhatsappChat;
  for (const char* content : {"h\xc3\xa9llo", ""}) {
    auto* msg = new OxWhatsappMsg;
    msg->setContent(QString::fromUtf8(content));
    msg->setMsgDate(at);
    chat->addMessage(msg);
  }
  ChatItemColumns columns;
  columns.name = QStringLiteral(" Team ");
  columns.title = QStringLiteral("Ann(+1)");
  columns.numbers = QStringLiteral("+1");
  columns.avatar = QStringLiteral("/tmp/a.jpg");
  std::unique_ptr<OxWhatsappItem> item(CChatItemBuilder::createChatItem(chat, columns));
  QStringList values;
  for (int c = 0; c < 6; ++c)
    values << item->value(c);
  EXPECT_EQ(values, (QStringList{QStringLiteral("Team"), columns.title, columns.numbers,
                                 at.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
                                 QString::fromUtf8("h\xc3\xa9llo"), columns.avatar}));
  EXPECT_EQ(item->sortValue(6).toDateTime(), at);
  EXPECT_EQ(item->size(), 6u); // UTF-8 bytes of the contents
  EXPECT_FALSE(item->showLastMes());
}
} // namespace
