#include "readers/messengers/common/chatitembuilder.h"

#include "model/oxwhatsappitem.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {
QDateTime at(int minute) { return QDateTime(QDate(2023, 5, 17), QTime(10, minute), Qt::UTC); }

struct Msg {
  const char* content;
  int minute; // -1: no date
};

OxWhatsappChat* chatOf(const std::vector<Msg>& messages) {
  auto* chat = new OxWhatsappChat;
  for (const Msg& m : messages) {
    auto* msg = new OxWhatsappMsg;
    msg->setContent(QString::fromUtf8(m.content));
    if (m.minute >= 0)
      msg->setMsgDate(at(m.minute));
    chat->addMessage(msg);
  }
  return chat;
}

TEST(ChatItemBuilder, LastContentAndDateComeFromTheEndOfTheList) {
  struct Row {
    const char* name;
    std::vector<Msg> messages;
    const char* content;
    int minute; // -1: null date
  } rows[] = {
      {"no messages", {}, "", -1},
      {"the end of the list decides, not the newest date", {{"new", 9}, {"old", 1}}, "old", 1},
      {"empty contents at the end are passed over", {{"a", 1}, {"b", 2}, {"", 3}, {"", 4}}, "b", 4},
      {"nothing but empty contents", {{"", 1}, {"", 2}}, "", 2},
      {"last message without date", {{"a", 1}, {"b", -1}}, "b", -1},
  };
  for (const Row& row : rows) {
    std::unique_ptr<OxWhatsappChat> chat(chatOf(row.messages));
    EXPECT_EQ(CChatItemBuilder::lastContent(*chat), QString::fromUtf8(row.content)) << row.name;
    EXPECT_EQ(CChatItemBuilder::lastDate(*chat), row.minute < 0 ? QDateTime() : at(row.minute)) << row.name;
  }
}

TEST(ChatItemBuilder, ItemColumnsSizeAndDetailContent) {
  OxWhatsappChat* chat = chatOf({{"h\xc3\xa9llo", 5}, {"", 7}});
  ChatItemColumns columns;
  columns.name = QStringLiteral(" Team ");
  columns.title = QStringLiteral("Ann(+1),Bob(+2)");
  columns.numbers = QStringLiteral("+1,+2");
  columns.avatar = QStringLiteral("/tmp/a.jpg");
  std::unique_ptr<OxWhatsappItem> item(CChatItemBuilder::createChatItem(chat, columns));
  ASSERT_TRUE(item);
  QStringList values;
  for (int c = 0; c < 6; ++c)
    values << item->value(c);
  EXPECT_EQ(values, (QStringList{QStringLiteral("Team"), columns.title, columns.numbers, // name trimmed by the item
                                 at(7).toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
                                 QString::fromUtf8("h\xc3\xa9llo"), columns.avatar}));
  EXPECT_EQ(item->sortValue(6).toDateTime(), at(7));
  EXPECT_EQ(item->detailContent(), chat);
  EXPECT_EQ(item->size(), 6u); // UTF-8 bytes of the contents
  EXPECT_FALSE(item->showLastMes());

  // Without messages: no date text, a null date of the date type, size 0.
  columns.showLastMessage = true;
  std::unique_ptr<OxWhatsappItem> empty(CChatItemBuilder::createChatItem(new OxWhatsappChat, columns));
  EXPECT_TRUE(empty->showLastMes());
  EXPECT_EQ(empty->value(3), QString());
  EXPECT_EQ(empty->sortValue(6).userType(), QMetaType::QDateTime);
  EXPECT_FALSE(empty->sortValue(6).toDateTime().isValid());
  EXPECT_EQ(empty->size(), 0u);
}
} // namespace
