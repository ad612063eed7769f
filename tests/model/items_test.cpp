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
  } rows[] = {{"no columns, 0", &none, 0}, {"3 columns, -1", &three, -1}, {"3 columns, 3", &three, 3}};
  for (const auto& r : rows) {
    EXPECT_FALSE(r.item->setValue(QStringLiteral("x"), r.column)) << r.name;
    EXPECT_FALSE(r.item->setSortValue(1, r.column)) << r.name;
    EXPECT_TRUE(r.item->value(r.column).isEmpty()) << r.name;
    EXPECT_FALSE(r.item->value(r.column).isNull()) << r.name;
    const QVariant key = r.item->sortValue(r.column);
    EXPECT_EQ(key.userType(), int(QMetaType::Bool)) << r.name;
    EXPECT_FALSE(key.toBool()) << r.name;
  }
  // In range: values are trimmed, keys are not, an unset key is an invalid variant.
  EXPECT_TRUE(three.setValue(QStringLiteral("  hello world \n"), 1));
  EXPECT_EQ(three.value(1), QStringLiteral("hello world"));
  EXPECT_TRUE(three.setSortValue(QStringLiteral("  key "), 0));
  EXPECT_EQ(three.sortValue(0).toString(), QStringLiteral("  key "));
  EXPECT_FALSE(three.sortValue(2).isValid());
}

TEST(ItemBase, FlagMasks) {
  struct Row {
    const char* name;
    int start;
    bool on;
    int mask, expected;
  } rows[] = {{"clear checked and host check keeps deleted and recover", 1 | 2 | 4 | 16, false, 2 | 16, 1 | 4},
              {"set several", 2, true, 1 | 8, 11},
              {"clear absent bit", 2, false, 8, 2}};
  for (const auto& r : rows) {
    OxAbstractItem item(1);
    item.setFlag(false, ~0);
    item.setFlag(true, r.start);
    item.setFlag(r.on, r.mask);
    for (int bit : {1, 2, 4, 8, 16})
      EXPECT_EQ(item.flag(bit), (r.expected & bit) != 0) << r.name << " bit " << bit;
  }
  OxAbstractItem fresh(1); // checked when made; a mask asks for any of its bits
  EXPECT_FALSE(fresh.flag(OxAbstractItem::ItemDeleted));
  EXPECT_TRUE(fresh.flag(OxAbstractItem::ItemDeleted | OxAbstractItem::ItemChecked));
}

// A size of 0 asks for the computed one: the UTF-16 code units of the values, not bytes.
TEST(ItemBase, ComputedSizeAndTextFilter) {
  OxAbstractItem item(5);
  item.setValue(QStringLiteral("abc"), 0);
  item.setValue(QStringLiteral("xé€x"), 4);
  item.setSortValue(QStringLiteral("zzz"), 1);
  item.setSize(0);
  EXPECT_EQ(item.size(), 7u);
  item.setSize(1000);
  EXPECT_EQ(item.size(), 1000u);
  // The text filter: a case-insensitive substring of any value, never of a key.
  struct Row {
    const char* text;
    bool match;
  } rows[] = {{"ABC", true}, {"X\u00c9\u20ac", true}, {"", true}, {"zzz", false}, {"abd", false}};
  for (const auto& r : rows)
    EXPECT_EQ(item.filter(QString::fromUtf8(r.text)), r.match) << r.text;
  EXPECT_FALSE(OxAbstractItem().filter(QString()));
}

TEST(ChatItems, MessageTypesOutOfRangeBecomeText) {
  OxWhatsappMsg m;
  struct Row {
    int in, stored;
  } rows[] = {{5, 5}, {10, 10}, {11, 0}, {-1, 0}, {1000, 0}};
  for (const auto& r : rows) {
    m.setType(r.in);
    EXPECT_EQ(int(m.type()), r.stored) << r.in;
  }
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
  OxWhatsappItem* item = OxWhatsappItem::createItem();
  item->setDetailContent(chat);
  item->setSize(0);
  EXPECT_EQ(item->size(), quint64(total));
  delete item; // deletes the chat and its messages (sanitizers check: once)
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
