#include "readers/whatsapp/whatsappcollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "samples/apps/whatsapp.h"
#include "tests/support/testdata.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {
using fixture::WaSession;
using fixture::WhatsappDb;

// Alice's chat keeps 38 of its 40 messages; Bob's chat is deleted whole.
// The store is copied (with its log) while the connection is still open, so a
// log is not checkpointed away.
QString buildStore(const QString& folder, bool wal) {
  WhatsappDb rows;
  WaSession alice;
  alice.pk = 1;
  alice.jid = QStringLiteral("4915111@s.whatsapp.net");
  alice.partnerName = QStringLiteral("Alice");
  WaSession bob;
  bob.pk = 2;
  bob.jid = QStringLiteral("4915222@s.whatsapp.net");
  bob.partnerName = QStringLiteral("Bob");
  rows.sessions = {alice, bob};
  for (int i = 1; i <= 60; ++i) {
    const bool isAlice = i <= 40;
    rows.messages << fixture::waMessage(i, isAlice ? 1 : 2, i, 600000000.0 + i * 60,
                                        QStringLiteral("%1 message %2").arg(isAlice ? "alice" : "bob").arg(i));
    rows.messages.last().fromJid = isAlice ? alice.jid : bob.jid;
  }
  const QString live = folder + QStringLiteral("/live.sqlite");
  sqlite3* db = nullptr;
  sqlite3_open(live.toUtf8().constData(), &db);
  QStringList statements{QStringLiteral("pragma secure_delete=off")};
  if (wal)
    statements << QStringLiteral("pragma journal_mode=wal") << QStringLiteral("pragma wal_autocheckpoint=0");
  statements << fixture::whatsappSchema() << fixture::whatsappInserts(rows)
             << QStringLiteral("delete from zwamessage where z_pk in (10, 11)")
             << QStringLiteral("delete from zwamessage where zchatsession = 2")
             << QStringLiteral("delete from zwachatsession where z_pk = 2");
  for (const QString& s : statements)
    EXPECT_EQ(sqlite3_exec(db, s.toUtf8().constData(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  const QString copy = folder + QStringLiteral("/ChatStorage.sqlite");
  for (const char* suffix : {"", "-wal"}) {
    if (QFile::exists(live + suffix))
      QFile::copy(live + suffix, copy + suffix);
  }
  sqlite3_close(db);
  return copy;
}

const OxWhatsappItem* chatNamed(OxData* list, const QString& name) {
  for (int i = 0; i < list->count(OxData::CountRaw); ++i) {
    const auto* item = dynamic_cast<const OxWhatsappItem*>(list->at(i, false));
    if (item && item->value(0) == name)
      return item;
  }
  return nullptr;
}
} // namespace

class WhatsappDeleted : public ::testing::TestWithParam<bool> {};

TEST_P(WhatsappDeleted, RecoveredMessagesJoinTheirChatAndADeletedChatStandsApart) {
  QTemporaryDir dir;
  const QString path = buildStore(dir.path(), GetParam());
  OxBackup registry;
  CWhatsappCollection reader;
  reader.readDatabase(&registry, nullptr, path);
  OxData* list = registry.getWhatsappMsg();
  // A message can only come back while its bytes are still in the files.
  QByteArray bytes;
  for (const char* suffix : {"", "-wal"}) {
    QFile f(path + QLatin1String(suffix));
    if (f.open(QIODevice::ReadOnly))
      bytes += f.readAll();
  }
  auto remaining = [&](const QStringList& texts) {
    QStringList kept;
    for (const QString& t : texts) {
      if (bytes.contains(t.toUtf8() + '\0') || bytes.contains(t.toUtf8()))
        kept << t;
    }
    return kept;
  };

  const OxWhatsappItem* alice = chatNamed(list, QStringLiteral("Alice"));
  ASSERT_NE(alice, nullptr);
  EXPECT_FALSE(alice->flags() & OxAbstractItem::ItemDeleted);
  QStringList deletedTexts;
  int liveCount = 0;
  for (const OxWhatsappMsg* m : alice->detailContent()->messages()) {
    if (m->isDeleted())
      deletedTexts << m->content();
    else
      ++liveCount;
  }
  deletedTexts.sort();
  EXPECT_EQ(deletedTexts, remaining({QStringLiteral("alice message 10"), QStringLiteral("alice message 11")}));
  EXPECT_EQ(liveCount, 38);

  const OxWhatsappItem* bob = chatNamed(list, QStringLiteral("Bob"));
  ASSERT_NE(bob, nullptr) << "the deleted chat is listed under its recovered name";
  EXPECT_TRUE(bob->flags() & OxAbstractItem::ItemDeleted);
  EXPECT_TRUE(bob->detailContent()->deleted());
  EXPECT_EQ(list->at(0, false), bob) << "deleted items come first";
  QStringList bobTexts;
  for (int i = 41; i <= 60; ++i)
    bobTexts << QStringLiteral("bob message %1").arg(i);
  int bobMessages = 0;
  for (const OxWhatsappMsg* m : bob->detailContent()->messages()) {
    EXPECT_TRUE(m->isDeleted());
    EXPECT_TRUE(m->content().startsWith(QLatin1String("bob message "))) << m->content().toStdString();
    ++bobMessages;
  }
  EXPECT_EQ(bobMessages, remaining(bobTexts).size());
  EXPECT_GE(bobMessages, 10) << "the case no longer shows what it is about";

  // Switched off, the reader shows the live rows only.
  OxBackup plain;
  CWhatsappCollection off;
  off.setRecoverDeleted(false);
  off.readDatabase(&plain, nullptr, path);
  EXPECT_EQ(plain.getWhatsappMsg()->count(OxData::CountRaw), 1);
  EXPECT_EQ(plain.getWhatsappMsg()->allDeletedCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Journal, WhatsappDeleted, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return std::string(info.param ? "Wal" : "Rollback");
                         });
