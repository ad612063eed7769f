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
    EXPECT_FALSE(r.item->value(r.column).isNull()) << r.name;
    EXPECT_EQ(r.item->sortValue(r.column).userType(), int(QMetaType::Bool)) << r.name;
  }
  // In range: values are trimmed, keys are not.
  EXPECT_TRUE(three.setValue(QStringLiteral("  hello world \n"), 1));
  EXPECT_EQ(three.value(1), QStringLiteral("hello world"));
}

// A size of 0 asks for the computed one: the UTF-16 code units of the values, not bytes.
TEST(ItemBase, ComputedSizeAndTextFilter) {
  OxAbstractItem item(5);
  item.setValue(QStringLiteral("abc"), 0);
  item.setValue(QStringLiteral("xé€x"), 4);
  item.setSortValue(QStringLiteral("zzz"), 1);
  item.setSize(0);
  EXPECT_EQ(item.size(), 7u);
  // The text filter: a case-insensitive substring of any value, never of a key.
  struct Row {
    const char* text;
    bool match;
  } rows[] = {{"X\u00c9\u20ac", true}, {"", true}, {"zzz", false}};
  for (const auto& r : rows)
    EXPECT_EQ(item.filter(QString::fromUtf8(r.text)), r.match) << r.text;
  EXPECT_FALSE(OxAbstractItem().filter(QString()));
}

TEST(ChatItems, MessageTypesOutOfRangeBecomeText) {
  OxWhatsappMsg m;
  struct Row {
    int in, stored;
  } rows[] = {{10, 10}, {11, 0}, {-1, 0}};
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
      {"accented text and member", QStringLiteral("h\u00e9llo"), QStringLiteral("\u00fc"), QString(), 8},
      {"media on disk", QString(), QString(), media, 100},
      {"three-byte and four-byte characters", QString::fromUtf8("\u20ac\xf0\x9f\x98\x80"), QString(), QString(), 7},
      // A surrogate without its partner is written as one '?'.
      {"a lone high surrogate at the end", QStringLiteral("a") + QChar(0xD83D), QString(), QString(), 2},
      {"a lone low surrogate", QString(QChar(0xDE00)) + QStringLiteral("b"), QString(), QString(), 2},
      {"a high surrogate before a letter", QString(QChar(0xD83D)) + QStringLiteral("c"), QString(), QString(), 2},
  };
  OxWhatsappChat* chat = new OxWhatsappChat;
  qint64 total = 0;
  for (const auto& r : rows) {
    auto* m = new OxWhatsappMsg;
    m->setContent(r.content);
    m->setMember(r.member);
    m->setMedia(r.media);
    EXPECT_EQ(m->msgSize(), r.size) << r.name;
    EXPECT_EQ(m->msgSize(), r.content.toUtf8().size() + r.member.toUtf8().size() + (r.media.isEmpty() ? 0 : 100))
        << r.name << ": as QString::toUtf8 writes it";
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
