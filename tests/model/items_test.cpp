#include "model/oxabstractitem.h"
#include "model/oxwhatsappitem.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
TEST(ItemBase, OutOfRangeColumnsGiveTheEmptyValues) {
  OxAbstractItem none;
  OxAbstractItem three(3);
  struct Row {
    const char* name;
    OxAbstractItem* item;
    int column;
  } rows[] = {
      {"no columns, 0", &none, 0}, {"3 columns, -1", &three, -1}, {"3 columns, 3", &three, 3},
      {"3 columns, 99", &three, 99},
  };
  for (const auto& r : rows) {
    EXPECT_FALSE(r.item->setValue(QStringLiteral("x"), r.column)) << r.name;
    EXPECT_FALSE(r.item->setSortValue(1, r.column)) << r.name;
    EXPECT_TRUE(r.item->value(r.column).isEmpty()) << r.name;
    EXPECT_FALSE(r.item->value(r.column).isNull()) << r.name;
    const QVariant key = r.item->sortValue(r.column);
    EXPECT_EQ(key.userType(), int(QMetaType::Bool)) << r.name;
    EXPECT_FALSE(key.toBool()) << r.name;
  }
  EXPECT_EQ(none.dataColumn(), 0);
  none.setSize(0);
  EXPECT_EQ(none.size(), 0u);
}

TEST(ItemBase, ValuesAreTrimmedKeysAreNot) {
  OxAbstractItem item(2);
  EXPECT_TRUE(item.setValue(QStringLiteral("  hello world \n"), 1));
  EXPECT_EQ(item.value(1), QStringLiteral("hello world"));
  EXPECT_TRUE(item.setSortValue(QStringLiteral("  key "), 0));
  EXPECT_EQ(item.sortValue(0).toString(), QStringLiteral("  key "));
  EXPECT_FALSE(item.sortValue(1).isValid()); // an unset key in range is an invalid variant
}

TEST(ItemBase, FlagMasks) {
  struct Row {
    const char* name;
    int start;
    bool on;
    int mask;
    int expected;
  } rows[] = {
      {"new item is checked", 2, true, 0, 2},
      {"set deleted", 2, true, 1, 3},
      {"clear checked and host check keeps deleted and recover", 1 | 2 | 4 | 16, false, 2 | 16, 1 | 4},
      {"set several", 0, true, 4 | 8, 12},
      {"clear absent bit", 2, false, 8, 2},
  };
  for (const auto& r : rows) {
    OxAbstractItem item(1);
    item.setFlag(false, ~0);
    item.setFlag(true, r.start);
    item.setFlag(r.on, r.mask);
    for (int bit : {1, 2, 4, 8, 16})
      EXPECT_EQ(item.flag(bit), (r.expected & bit) != 0) << r.name << " bit " << bit;
  }
  OxAbstractItem fresh(1);
  EXPECT_TRUE(fresh.flag(OxAbstractItem::ItemChecked));
  EXPECT_FALSE(fresh.flag(OxAbstractItem::ItemDeleted));
  EXPECT_TRUE(fresh.flag(OxAbstractItem::ItemDeleted | OxAbstractItem::ItemChecked));
}

TEST(ItemBase, ExplicitColumnAndComputedSize) {
  OxAbstractItem item(5);
  EXPECT_EQ(item.column(), 5);
  item.setColumn(3);
  EXPECT_EQ(item.column(), 3);
  EXPECT_EQ(item.dataColumn(), 3);
  item.setColumn(0);
  EXPECT_EQ(item.dataColumn(), 5);
  item.setValue(QStringLiteral("abc"), 0);
  item.setValue(QStringLiteral("é€"), 4); // UTF-16 code units, not bytes
  item.setSize(0);
  EXPECT_EQ(item.size(), 5u);
  item.setSize(1000);
  EXPECT_EQ(item.size(), 1000u);
}

TEST(ItemBase, TextFilterIsCaseInsensitiveSubstringOfAnyColumn) {
  OxAbstractItem item(3);
  item.setValue(QStringLiteral("first"), 0);
  item.setValue(QStringLiteral("xxabcxx"), 2);
  item.setSortValue(QStringLiteral("zzz"), 1);
  struct Row {
    const char* text;
    bool match;
  } rows[] = {{"ABC", true}, {"xXa", true}, {"", true}, {"zzz", false}, {"abd", false}};
  for (const auto& r : rows)
    EXPECT_EQ(item.filter(QString::fromLatin1(r.text)), r.match) << r.text;
  EXPECT_FALSE(OxAbstractItem().filter(QString()));
}

TEST(ChatItems, MessageDefaultsTypesAndLikes) {
  OxWhatsappMsg m;
  EXPECT_TRUE(m.isFromMe());
  EXPECT_TRUE(m.isSentDone());
  EXPECT_TRUE(m.isChecked());
  EXPECT_FALSE(m.isBroadcast());
  EXPECT_EQ(m.type(), 0);
  EXPECT_TRUE(m.content().isNull());
  struct Row {
    int in, stored;
  } rows[] = {{0, 0}, {5, 5}, {10, 10}, {11, 0}, {-1, 0}, {1000, 0}};
  for (const auto& r : rows) {
    m.setType(r.in);
    EXPECT_EQ(int(m.type()), r.stored) << r.in;
  }
  m.setDrawLike(3, 7);
  EXPECT_TRUE(m.isDrawLike());
  EXPECT_EQ(m.getLikeType(), 3);
  EXPECT_EQ(m.getLikeCount(), 7);
}

TEST(ChatItems, RefreshThumbIsReadOnceAndOnlyAfterAReplacement) {
  OxWhatsappMsg m;
  m.setMedia(QStringLiteral("/a.jpg"));
  EXPECT_FALSE(m.isRefreshThumb());
  m.setMedia(QStringLiteral("/b.jpg"));
  EXPECT_TRUE(m.isRefreshThumb());
  EXPECT_FALSE(m.isRefreshThumb());
  OxWhatsappMsg empty;
  empty.setMedia(QString());
  empty.setMedia(QStringLiteral("/c.jpg")); // replacing an empty path is a first assignment
  EXPECT_FALSE(empty.isRefreshThumb());
}

TEST(ChatItems, SizesCountUtf8BytesAndMediaOnDisk) {
  QTemporaryDir dir;
  const QString media = dir.filePath(QStringLiteral("m.bin"));
  QFile f(media);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write(QByteArray(100, 'x'));
  f.close();
  struct Row {
    const char* name;
    QString content, member, media;
    qint64 size;
  } rows[] = {
      {"accented text", QStringLiteral("h\u00e9llo"), QString(), QString(), 6},
      {"member counted", QStringLiteral("ab"), QStringLiteral("\u00fc"), QString(), 4},
      {"media on disk", QString(), QString(), media, 100},
      {"missing media", QStringLiteral("x"), QString(), dir.filePath(QStringLiteral("gone")), 1},
  };
  OxWhatsappChat* chat = new OxWhatsappChat;
  qint64 total = 0;
  for (const auto& r : rows) {
    auto* m = new OxWhatsappMsg;
    m->setContent(r.content);
    m->setMember(r.member);
    m->setMedia(r.media);
    EXPECT_EQ(m->msgSize(), r.size) << r.name;
    total += r.size;
    chat->addMessage(m);
  }
  EXPECT_EQ(chat->chatSize(), total);
  OxWhatsappItem* item = OxWhatsappItem::createItem();
  item->setDetailContent(chat);
  item->setSize(0);
  EXPECT_EQ(item->size(), quint64(total));
  delete item; // deletes the chat and its messages (sanitizers check: once)

  OxWhatsappItem empty;
  empty.setDetailContent(new OxWhatsappChat);
  empty.setSize(0);
  EXPECT_EQ(empty.size(), 0u);
}

TEST(ChatItems, ChatItemLayout) {
  OxWhatsappItem item;
  EXPECT_EQ(item.columnCount(), 8);
  EXPECT_EQ(item.dataColumn(), 2);
  EXPECT_EQ(item.columnName(0), QStringLiteral("Content"));
  EXPECT_EQ(item.columnName(1), QStringLiteral("Date"));
  EXPECT_TRUE(item.columnName(2).isEmpty());
  EXPECT_TRUE(item.columnName(-1).isEmpty());
  EXPECT_EQ(item.childrenCount(), 0);
  EXPECT_EQ(item.getFirstLayerIconType(), -1);
  EXPECT_EQ(item.detailContent(), nullptr);
  EXPECT_TRUE(item.setValue(QStringLiteral("7"), 7));
}

TEST(ChatItems, SortMsgBothDirectionsKeepsTiesStable) {
  OxWhatsappChat chat;
  const int secs[] = {30, 10, 20, 10};
  for (int i = 0; i < 4; ++i) {
    auto* m = new OxWhatsappMsg;
    m->setMsgDate(QDateTime::fromSecsSinceEpoch(secs[i], Qt::UTC));
    m->setContent(QString::number(i));
    chat.addMessage(m);
  }
  auto order = [&] {
    QString s;
    for (const OxWhatsappMsg* m : chat.messages())
      s += m->content();
    return s;
  };
  chat.sortMsg(true);
  EXPECT_EQ(order(), QStringLiteral("1320"));
  chat.sortMsg(false);
  EXPECT_EQ(order(), QStringLiteral("0213"));
}
} // namespace
