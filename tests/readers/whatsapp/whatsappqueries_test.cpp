#include "readers/whatsapp/whatsappqueries.h"

#include "samples/apps/whatsapp.h"
#include "tests/support/testdata.h"

#include <gtest/gtest.h>

namespace {
// Two copies of one database: the maps point at the second file's records,
// the lists keep both, and every record is freed (checked by the sanitizer).
TEST(WhatsappQueries, RepeatedKeysAcrossFilesReplaceWithoutLeaking) {
  QTemporaryDir dir;
  fixture::WhatsappDb rows;
  rows.sessions << fixture::WaSession{1, QStringLiteral("a@s"), QStringLiteral("A"), 0, 0, 0, 0, 0};
  rows.members << fixture::WaMember{1, 1, QStringLiteral("a@s"), QStringLiteral("Ann"), 0};
  rows.media << fixture::WaMedia();
  rows.media[0].pk = 1;
  rows.messages << fixture::waMessage(1, 1, 1, 0, QStringLiteral("hi"));
  const QStringList statements = fixture::whatsappSchema() + fixture::whatsappInserts(rows);
  const QStringList files{testdata::writeSqliteDb(dir.filePath(QStringLiteral("a.sqlite")), statements),
                          testdata::writeSqliteDb(dir.filePath(QStringLiteral("b.sqlite")), statements)};
  CWAChatSessionQuery sessions;
  CWAChatMemberQuery members;
  CWAMediaQuery media;
  CWAMessageQuery messages;
  for (CISQLiteQuery* q : std::initializer_list<CISQLiteQuery*>{&sessions, &members, &media, &messages})
    q->query(files, nullptr);
  EXPECT_EQ(members.members().value(1), members.membersBySession().value(1).value(1));
  EXPECT_EQ(media.mediaItems().size(), 1);
  EXPECT_EQ(messages.messageMap().value(1), messages.messages().value(1));
  EXPECT_EQ(sessions.sessions().size(), 2);
}

TEST(WhatsappStatus, SentWhenNonZeroAndLowBitsNotBothSet) {
  const struct {
    int status;
    bool sent;
  } rows[] = {{0, false}, {1, true}, {2, true}, {3, false}, {4, true}, {7, false}, {-1, false}};
  for (const auto& r : rows)
    EXPECT_EQ(CWAMessageQuery::isSentStatus(r.status), r.sent) << "status " << r.status;
}

TEST(WhatsappGroupEvent, TextOfEachEventCode) {
  const struct {
    int code;
    const char *text, *actor, *target;
    bool self;
    const char* expected;
  } rows[] = {
      {0, "x", "Bob", "Ann", false, ""},
      {1, "Trip", "Bob", "", false, "Bob changed the subject to \"Trip\""},
      {2, "a@s", "", "Ann", false, "Ann added you"},
      {2, "me@s", "", "", true, "You were added"},      // no actor: self does not matter
      {2, "me@s", "Bob", "Ann", true, "You added Bob"}, // self wins over a known target
      {2, "a@s", "Bob", "Ann", false, "Ann added Bob"},
      {2, "a@s", "Bob", "", false, "Bob joined"},
      {3, "", "Bob", "", false, "Bob left"},
      {4, "", "Bob", "", false, "Bob changed the group icon"},
      {5, "", "Bob", "", false, "Bob deleted the group icon"},
      {7, "a@s", "", "Ann", false, "You were removed"}, // the opposite sense from code 2
      {7, "a@s", "", "", false, " removed you"},
      {7, "a@s", "Bob", "Ann", false, "Ann removed Bob"},
      {7, "a@s", "Bob", "", false, "Bob was removed"},
      {8, "12", "Bob", "", false, "You created a broadcast list with 12 recipients"},
      {10, "", "Bob", "", false, "Bob is now an admin"},
      {12, "", "", "", false, "You created this group"},
      {12, "Trip", "Bob", "", false, "Bob created \"Trip\""},
      {6, "x", "Bob", "", false, "Unknown group event 6"},
      // Names are filled in at once: a "%1" inside one is not substituted again.
      {12, "50%1 off", "B%1", "", false, "B%1 created \"50%1 off\""},
  };
  for (const auto& r : rows)
    EXPECT_EQ(CWAMessageQuery::groupEventText(r.code, QString::fromUtf8(r.text), QString::fromUtf8(r.actor),
                                              QString::fromUtf8(r.target), r.self),
              QString::fromUtf8(r.expected))
        << r.code << " " << r.actor << "/" << r.target << "/" << r.self;
}

} // namespace
