#include "readers/whatsapp/whatsappcollection.h"

#include "model/oxbackup.h"
#include "platform/common/commonutils.h"
#include "readers/whatsapp/whatsappqueries.h"
#include "service/progress.h"
#include "tests/readers/messengers/common/chattest.h"
#include "samples/apps/whatsapp.h"
#include "tests/support/testdata.h"

#include <QFileInfo>
#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {
using chattest::itemNamed;
using fixture::WaMember;
using fixture::WaMessage;
using fixture::WaSession;
using fixture::WhatsappDb;

// Knows a fixed set of files; a known file's local path is "/local/" + its
// name and its display name "name:<path>><suffix of source>".
class FakeLocator : public CWhatsappCollection {
public:
  QString mediaFilePath(const QString& path) override {
    return known.contains(path) ? QStringLiteral("/local/") + path : QString();
  }
  QString mediaFileName(const QString& path, const QString& source) override {
    return known.contains(path) ? QStringLiteral("name:%1>%2").arg(path, QFileInfo(source).suffix()) : QString();
  }
  QSet<QString> known;
};

// Adds up what it is given and refuses once the total passes the limit.
class CountingSink : public CIProgressCallback {
public:
  CountingSink(int range, double limit) : m_range(range), m_limit(limit) {}
  void initRange(int range) override { m_range = range; }
  int range() override { return m_range; }
  bool progress(double amount) override { return (total += amount) <= m_limit; }
  bool finish() override { return total <= m_limit; }
  void download(bool) override {}
  double total = 0;

private:
  int m_range;
  double m_limit;
};

class WhatsappCollection : public testdata::ErrorLogTest {
protected:
  QString writeDb(const WhatsappDb& rows) {
    return testdata::writeSqliteDb(dir.filePath(QStringLiteral("ChatStorage.sqlite")),
                                   fixture::whatsappSchema() + fixture::whatsappInserts(rows));
  }
};

TEST_F(WhatsappCollection, CreateMsgOneRowPerKind) {
  WAGroupMember ann{1, 5, QStringLiteral("Ann"), QStringLiteral("ann@s.whatsapp.net")};
  WAGroupMember ben{2, 0, QStringLiteral("Ben"), QStringLiteral("ben@s.whatsapp.net")};
  const QMap<qint64, WAGroupMember*> members{{1, &ann}, {2, &ben}};
  auto mediaItem = [](const char* local, const char* thumb, const char* card, const char* title, const char* author) {
    auto q = [](const char* text) { return QString::fromUtf8(text); };
    return WAMediaItem{0, 0, 0, 0, q(local), QString(), q(thumb), q(card), QString(), q(title), q(author)};
  };
  WAMediaItem picture = mediaItem("Media/x/1.jpg", "Media/x/1.thumb", "vcard", "caption", "author");
  WAMediaItem document = mediaItem("Media/x/2.pdf", "", "", "doc.pdf", "Doc author");
  WAMediaItem place = mediaItem("", "Media/x/4.thumb", "Place", "", "");
  WAMediaItem clip = mediaItem("Media/x/5.mp4", "", "", "", "");
  const QMap<qint64, WAMediaItem*> media{{1, &picture}, {2, &document}, {4, &place}, {5, &clip}};
  WAMessage parentWithPicture;
  parentWithPicture.mediaItem = 1;

  struct Row {
    const char* name;
    int type, status, fromMe;
    qint64 member, mediaItem, parentPk;
    int groupEvent;
    const char* text;
    int shownType; // -1: no message at all
    const char *content, *mediaPath, *memberName;
    bool broadcast;
  } rows[] = {
      {"system notice", 10, 0, 0, 0, 0, 0, 2, "", -1, "", "", "", false},
      {"status 3 is not sent", 0, 3, 1, 0, 0, 0, 0, "x", 0, "x", "", "", false},
      {"missing member", 0, 8, 0, 99, 0, 0, 0, "yo", 0, "yo", "", "", false},
      {"parent makes a broadcast", 0, 8, 1, 0, 0, 77, 0, "b", 0, "b", "", "", true},
      {"text keeps its text despite a media row", 0, 8, 0, 0, 1, 0, 0, "quote", 0, "quote", "", "", false},
      {"picture: thumbnail, name and caption", 1, 8, 0, 0, 1, 0, 0, "", 1, "name:Media/x/1.thumb>jpg\n\ncaption",
       "/local/Media/x/1.thumb", "", false},
      {"document shows the author, no thumbnail", 8, 8, 1, 0, 2, 0, 0, "", 8, "name:Media/x/2.pdf>pdf\n\nDoc author",
       "", "", false},
      {"contact card", 4, 8, 0, 0, 1, 0, 0, "", 4, "vcard", "", "", false},
      {"location: map thumbnail and place", 5, 8, 0, 0, 4, 0, 0, "", 5, "Place", "/local/Media/x/4.thumb", "", false},
      {"missing media row", 1, 8, 0, 0, 99, 0, 0, "", 1, "", "", "", false},
      {"forwarded copy borrows the parent's thumbnail", 2, 8, 1, 0, 5, 9, 0, "", 2, "name:Media/x/1.thumb>mp4",
       "/local/Media/x/1.thumb", "", true},
      // Kinds above 10 are shown as kind 0 but still read their media.
      {"sticker", 15, 8, 0, 0, 2, 0, 0, "", 0, "name:Media/x/2.pdf>pdf\n\ndoc.pdf", "", "", false},
      {"group event by a member", 6, 0, 0, 1, 0, 0, 12, "Trip", 6, "Ann created \"Trip\"", "", "Ann", false},
      // The target is found by the jid in the text.
      {"group event with a target", 6, 0, 0, 2, 0, 0, 2, "ann@s.whatsapp.net", 6, "Ann added Ben", "", "Ben", false},
  };
  FakeLocator locator;
  locator.known = {QStringLiteral("Media/x/1.thumb"), QStringLiteral("Media/x/2.pdf"),
                   QStringLiteral("Media/x/4.thumb")};
  QHash<QString, QString> byJid{{ann.memberJid, ann.contactName}, {ben.memberJid, ben.contactName}};
  for (const Row& row : rows) {
    WAMessage m;
    m.messageType = row.type;
    m.messageStatus = row.status;
    m.isFromMe = row.fromMe;
    m.groupMember = row.member;
    m.mediaItem = row.mediaItem;
    m.parentMessage = row.parentPk;
    m.groupEventType = row.groupEvent;
    m.messageDate = 704736382.5;
    m.text = QString::fromUtf8(row.text);
    const WAMessage* parent = row.parentPk == 9 ? &parentWithPicture : nullptr;
    // With and without the jid index, the same message.
    const QHash<QString, QString>* indexes[] = {&byJid, nullptr};
    for (const QHash<QString, QString>* index : indexes) {
      std::unique_ptr<OxWhatsappMsg> msg(locator.createMsg(m, parent, members, media, index));
      ASSERT_EQ(bool(msg), row.shownType >= 0) << row.name;
      if (!msg)
        continue;
      EXPECT_EQ(testdata::fields(int(msg->type()), msg->content(), msg->media(), msg->member(), msg->isBroadcast()),
                testdata::fields(row.shownType, QString::fromUtf8(row.content), QString::fromUtf8(row.mediaPath),
                                 QString::fromUtf8(row.memberName), row.broadcast))
          << row.name;
      EXPECT_EQ(msg->isSentDone(), row.status != 3) << row.name;
      // Group events leave the direction as a new message has it.
      EXPECT_EQ(msg->isFromMe(), row.type == 6 || row.fromMe != 0) << row.name;
      EXPECT_EQ(msg->msgDate(), CCommonUtils::buildDateTimeBase2001(704736382.5)) << row.name;
    }
  }
}

WaMessage message(qint64 pk, qint64 session, int sort, double date, const char* text, int type = 0) {
  return fixture::waMessage(pk, session, sort, date, QString::fromUtf8(text), type);
}

WhatsappDb chatRows() {
  WhatsappDb d;
  d.sessions << WaSession{1, QStringLiteral("111@s.whatsapp.net"), QStringLiteral("Anna"), 0, 5, 300, 0, 0}
             << WaSession{2, QStringLiteral("g@g.us"), QStringLiteral("Group"), 1, 0, 200, 0, 0}
             << WaSession{3, QStringLiteral("444@s.whatsapp.net"), QStringLiteral("Empty"), 0, 0, 100, 0, 0}
             << WaSession{4, QStringLiteral("555@s.whatsapp.net"), QStringLiteral("Removed"), 0, 0, 400, 0, 1}
             << WaSession{5, QStringLiteral("status@broadcast"), QStringLiteral("Hidden"), 3, 0, 500, 1, 0};
  d.members << WaMember{1, 2, QStringLiteral("111@s.whatsapp.net"), QStringLiteral("Anna"), 5}
            << WaMember{2, 2, QStringLiteral("222@s.whatsapp.net"), QString(), 0}
            << WaMember{3, 2, QStringLiteral("333@s.whatsapp.net"), QStringLiteral("Cleo"), 7};
  // Anna: the notice shows nothing; after the newest-first sort the end of the
  // list is the oldest message.
  WaMessage copy = message(5, 1, 5, 35, "forwarded");
  copy.parent = 2;
  d.messages << message(1, 1, 1, 10, "", 10) << message(2, 1, 2, 20, "first") << message(3, 1, 3, 30, "second")
             << message(4, 1, 4, 40, "", 1) << copy;
  // Group: the oldest message is a picture without name; a member the table
  // lacks; a message of a chat that does not exist.
  WaMessage cleo = message(11, 2, 2, 6, "hello group");
  cleo.groupMember = 3;
  WaMessage stranger = message(12, 2, 3, 7, "later");
  stranger.groupMember = 42;
  d.messages << message(10, 2, 1, 5, "", 1) << cleo << stranger << message(13, 99, 1, 8, "orphan")
             << message(14, 4, 1, 9, "in a removed chat") << message(15, 5, 1, 9, "in a hidden chat");
  d.pictures << fixture::WaPicture{1, QStringLiteral("111@s.whatsapp.net"), QStringLiteral("Media/Profile/111-1")}
             << fixture::WaPicture{2, QStringLiteral("g@g.us"), QString()};
  return d;
}

TEST_F(WhatsappCollection, ChatItemsFromSessionsMembersAndMessages) {
  FakeLocator locator;
  locator.known = {QStringLiteral("Media/Profile/111-1")};
  OxBackup registry;
  locator.readDatabase(&registry, nullptr, writeDb(chatRows()));
  OxData* list = registry.getWhatsappMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 3) << "removed and hidden chats are left out";
  EXPECT_EQ(list->at(0, false)->value(0), QStringLiteral("Anna")) << "newest chat first";

  // The date is the oldest message's, the last content the oldest non-empty
  // one. The picture is the looked-up path followed by ".jpg".
  const struct {
    const char *name, *columns;
    double date; // -1: none
    int messages;
  } rows[] = {
      {"Anna", "Anna(+111)|+111|first|/local/Media/Profile/111-1.jpg", 20, 4},
      {"Group", "Anna(+111),Cleo(+333)|+111,+222,+333|hello group|.jpg", 5, 3}, // picture row, empty path
      {"Empty", "Empty|+444||", -1, 0},
  };
  for (const auto& row : rows) {
    OxWhatsappItem* item = itemNamed(list, QString::fromUtf8(row.name));
    ASSERT_TRUE(item) << row.name;
    EXPECT_EQ(testdata::fields(item->value(1), item->value(2), item->value(4), item->value(5)),
              QString::fromUtf8(row.columns));
    const QDateTime date = row.date < 0 ? QDateTime() : CCommonUtils::buildDateTimeBase2001(row.date);
    EXPECT_EQ(item->value(3), CCommonUtils::dateToString(date, true)) << row.name;
    EXPECT_EQ(item->sortValue(6).toDateTime(), date) << row.name;
    const QList<OxWhatsappMsg*>& msgs = item->detailContent()->messages();
    EXPECT_EQ(msgs.size(), row.messages) << row.name;
    for (int i = 1; i < msgs.size(); ++i)
      EXPECT_FALSE(msgs[i - 1]->msgDate() < msgs[i]->msgDate()) << row.name << ": newest first";
  }
}

TEST_F(WhatsappCollection, ProgressSharesStopsAndSwitchOff) {
  WhatsappDb rows = chatRows();
  // Only messages of shown chats (8, Anna's 5 first), so that the building
  // reports its whole share.
  rows.messages.erase(
      std::remove_if(rows.messages.begin(), rows.messages.end(), [](const WaMessage& m) { return m.session > 3; }),
      rows.messages.end());
  const QString db = writeDb(rows);
  // Five stages of 100 each and the building 400: more than the range.
  const struct {
    const char* name;
    bool build;
    double limit;
    int items;
  } cases[] = {
      {"never refused", true, 1e18, 3},
      {"refused in the third stage", true, 250, 0},
      {"refused after the first chat", true, 500 + 400.0 * 5.5 / 8, 1},
      {"chat building switched off", false, 1e18, 0},
  };
  for (const auto& row : cases) {
    FakeLocator locator;
    locator.setSwitches(row.build, false);
    OxBackup registry;
    CountingSink sink(800, row.limit);
    locator.readDatabase(&registry, &sink, db);
    EXPECT_EQ(registry.getWhatsappMsg()->count(OxData::CountRaw), row.items) << row.name;
    if (row.build && row.limit > 1e17) {
      EXPECT_NEAR(sink.total, 900.0, 1e-6);
    }
  }
}
} // namespace
