#include "readers/whatsapp/whatsappitunescollection.h"

#include "model/oxbackup.h"
#include "platform/backup/mobilebackup.h"
#include "tests/readers/messengers/common/chattest.h"
#include "samples/apps/whatsapp.h"
#include "tests/support/testdata.h"

#include <QLocale>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {
using chattest::itemNamed;
using chattest::messageTotal;
using fixture::StoredFile;
using fixture::WaMessage;
using fixture::WaSession;
using fixture::WhatsappDb;

const QString kGroup = fixture::whatsappGroupDomain();
const QString kApp = fixture::whatsappAppDomain();

class WhatsappBackup : public testdata::ErrorLogTest {
protected:
  std::unique_ptr<MobileBackup> backupOf(const QList<StoredFile>& files) {
    const QString folder = dir.filePath(QStringLiteral("b%1").arg(++m_backups));
    QString error;
    EXPECT_TRUE(fixture::writeBackup(folder, fixture::BackupPlan(), files, &error)) << qPrintable(error);
    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(folder));
    EXPECT_TRUE(b);
    return b;
  }
  void load(MobileBackup* backup, OxBackup& registry) {
    CWhatsappiTunesCollection whatsapp(&registry);
    whatsapp.setSwitches(true, false);
    whatsapp.load(backup);
  }
  int m_backups = 0;
};

WaMessage message(qint64 pk, qint64 session, int sort, const char* text, double date = 0) {
  return fixture::waMessage(pk, session, sort, date, QString::fromUtf8(text));
}

TEST_F(WhatsappBackup, FileIndexAliasesAndMediaNames) {
  const quint32 t = 1684333287; // the record time names the file
  auto f = [](const QString& domain, const char* path, int size = 3) {
    return fixture::file(domain, QString::fromUtf8(path), QByteArray(size, 'x'));
  };
  std::unique_ptr<MobileBackup> backup = backupOf({
      f(kGroup, "ChatStorage.sqlite"),
      f(kGroup, "Message/Media/12345/a/b.jpg"),
      f(kGroup, "Library/Preferences/x.plist"),
      f(kGroup, "Message/Media/12345/a/empty.jpg", 0),
      f(kApp, "Library/Media/555/c/d.jpg"),
      f(QStringLiteral("HomeDomain"), "Media/elsewhere.jpg"),
      fixture::whatsappMediaFile(QStringLiteral("Media/j/x.thumb"), t),
  });
  ASSERT_TRUE(backup);
  OxBackup registry;
  CWhatsappiTunesCollection whatsapp(&registry);
  whatsapp.setBackup(backup.get());
  whatsapp.buildFileIndex();
  whatsapp.mediaPass(nullptr);
  EXPECT_EQ(whatsapp.fileIndex().keys(), QStringList({"/Documents/ChatStorage.sqlite", "/Library/Media/555/c/d.jpg",
                                                      "/Message/Media/12345/a/b.jpg", "/Message/Media/j/x.thumb"}));

  const struct {
    const char* stored;       // as the database names it
    const char* relativePath; // of the record found; null: none
  } rows[] = {
      {"Media/12345/a/b.jpg", "Message/Media/12345/a/b.jpg"},
      {"/Media/12345/a/b.jpg", "Message/Media/12345/a/b.jpg"},
      {"Media/555/c/d.jpg", "Library/Media/555/c/d.jpg"},
      {"Media/12345/a/empty.jpg", nullptr},
      {"Media/12345/a/B.jpg", nullptr},
  };
  for (const auto& row : rows) {
    const QString stored = QString::fromUtf8(row.stored);
    const WAFileEntry* e = whatsapp.findFile(stored);
    ASSERT_EQ(bool(e), bool(row.relativePath)) << row.stored;
    EXPECT_EQ(QFileInfo(whatsapp.mediaFilePath(stored)).isFile(), bool(e)) << row.stored;
    EXPECT_EQ(e ? e->relativePath : QString(), QString::fromUtf8(row.relativePath)) << row.stored;
  }

  const QString when = QLocale::system().toString(QDateTime::fromSecsSinceEpoch(t, Qt::UTC), QLocale::ShortFormat);
  const QString thumb = QStringLiteral("Media/j/x.thumb");
  EXPECT_EQ(whatsapp.mediaFileName(thumb, QStringLiteral("Media/j/x.mp4")), when + QStringLiteral(".MOV"));
  EXPECT_EQ(whatsapp.mediaFileName(thumb, QStringLiteral("Media/j/x.MP4")), when + QStringLiteral(".MP4"));
  EXPECT_EQ(whatsapp.mediaFileName(thumb, QStringLiteral("https://m/1.enc?x=1")), when + QStringLiteral(".enc?x=1"));
  EXPECT_EQ(whatsapp.mediaFileName(QStringLiteral("Media/j/no.mp4"), QStringLiteral("Media/j/no.mp4")), QString());
}

WhatsappDb smallRows() {
  WhatsappDb d;
  d.media << fixture::WaMedia();
  d.media[0].pk = 1;
  d.sessions << WaSession{1, QStringLiteral("111@s.whatsapp.net"), QStringLiteral("Anna"), 0, 0, 300, 0, 0}
             << WaSession{2, QStringLiteral("222@s.whatsapp.net"), QStringLiteral("Ben"), 0, 0, 200, 0, 0};
  d.messages << message(1, 1, 1, "a1", 101) << message(2, 1, 2, "a2", 102) << message(3, 2, 3, "b1", 103)
             << message(4, 1, 4, "a3", 104);
  return d;
}

TEST_F(WhatsappBackup, BadInputsLoadWhatCanBeLoaded) {
  const QStringList schema = fixture::whatsappSchema();
  const QStringList rows = fixture::whatsappInserts(smallRows());
  auto with = [&](const QStringList& extra) { return fixture::whatsappDbFilesFrom(schema + rows + extra); };
  auto sql = [](const char* s) { return QString::fromLatin1(s).split(QLatin1Char(';')); };

  WhatsappDb nulls;
  nulls.sessions << WaSession{1, QString(), QString(), 0, 0, 0, 0, 0};
  nulls.messages << message(1, 1, 0, "");
  WhatsappDb newer;
  newer.sessions << WaSession{3, QStringLiteral("333@s.whatsapp.net"), QStringLiteral("Cleo"), 0, 0, 400, 0, 0};
  newer.messages << message(20, 3, 1, "only in the log", 500) << message(21, 1, 9, "newer in Anna's chat", 500);

  const QList<StoredFile> elsewhere{fixture::file(QStringLiteral("HomeDomain"), QStringLiteral("x.db"), "x")};
  const QList<StoredFile> corrupt{fixture::file(kGroup, QStringLiteral("ChatStorage.sqlite"),
                                                QByteArray("SQLite format 3\0", 16) + QByteArray(3000, '\x5a'))};
  struct Row {
    const char* name;
    QList<StoredFile> files;
    int chats, messages;
    const char* error; // a logged error that must appear; null: none
  } cases[] = {
      {"backup without WhatsApp: nothing to read, no error", elsewhere, 0, 0, nullptr},
      {"no member table", with(sql("DROP TABLE ZWAGROUPMEMBER")), 2, 4, "its rows are not read"},
      {"chats without ZHIDDEN and ZREMOVED: read without them",
       with(sql("DROP INDEX Z_WAChatSession_byRemovedIndex;ALTER TABLE ZWACHATSESSION DROP COLUMN ZHIDDEN;"
                "ALTER TABLE ZWACHATSESSION DROP COLUMN ZREMOVED")),
       2,
       4, nullptr},
      {"no message table", with(sql("DROP TABLE ZWAMESSAGE")), 2, 0, "its rows are not read"},
      {"media table without ZTITLE", with(sql("ALTER TABLE ZWAMEDIAITEM DROP COLUMN ZTITLE")), 2, 4,
       "its rows are not read"},
      {"NULL columns", fixture::whatsappDbFilesFrom(schema + fixture::whatsappInserts(nulls)), 1, 1, nullptr},
      {"-wal with newer rows", fixture::whatsappDbFilesFrom(schema + rows, fixture::whatsappInserts(newer)), 3, 6,
       nullptr},
      {"corrupt database", corrupt, 0, 0, "cannot open"},
  };
  for (Row& row : cases) {
    errors.clear();
    std::unique_ptr<MobileBackup> backup = backupOf(row.files);
    ASSERT_TRUE(backup) << row.name;
    OxBackup registry;
    load(backup.get(), registry);
    OxData* list = registry.getWhatsappMsg();
    EXPECT_EQ(list->count(OxData::CountRaw), row.chats) << row.name;
    EXPECT_EQ(messageTotal(list), row.messages) << row.name;
    const QString logged = errors.join(QLatin1Char('\n'));
    EXPECT_TRUE(row.error ? logged.contains(QLatin1String(row.error)) : logged.isEmpty())
        << row.name << ": " << qPrintable(logged);
  }
}

// The real iOS 15 database with its -wal, wrapped in a backup; the figures
// are what sqlite3 answers for the same file.
TEST_F(WhatsappBackup, RealIos15Database) {
  const QString db = testdata::copyReal(QStringLiteral(SHERD_REALDATA_DIR "/whatsapp-ios15/ChatStorage.sqlite"),
                                        dir.filePath(QStringLiteral("scratch/ChatStorage.sqlite")));
  if (db.isEmpty())
    GTEST_SKIP() << "no real WhatsApp database";
  QList<StoredFile> files;
  for (const QString suffix : {"", "-wal", "-shm"}) {
    QFile f(db + suffix);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    files << fixture::file(kGroup, QStringLiteral("ChatStorage.sqlite") + suffix, f.readAll());
  }
  // Files the database names: one picture's thumbnail and a profile picture.
  files << fixture::whatsappMediaFile(
               QStringLiteral("Media/19198887386@s.whatsapp.net/d/0/d041d159-fd7d-4abb-9192-0e97c10ddb00.thumb"))
        << fixture::whatsappMediaFile(QStringLiteral("Media/Profile/19198887386-1683042868.jpg"));
  std::unique_ptr<MobileBackup> backup = backupOf(files);
  ASSERT_TRUE(backup);
  OxBackup registry;
  load(backup.get(), registry);
  EXPECT_TRUE(errors.isEmpty()) << qPrintable(errors.join(QLatin1Char('\n')));
  OxData* list = registry.getWhatsappMsg();
  EXPECT_EQ(list->count(OxData::CountRaw), 5);
  EXPECT_EQ(messageTotal(list), 27); // all but the system notices

  OxWhatsappItem* dfir = itemNamed(list, QStringLiteral("This Is DFIR Two"));
  ASSERT_TRUE(dfir);
  EXPECT_EQ(testdata::fields(dfir->value(1), dfir->value(2)), QStringLiteral("This Is DFIR Two|+19198887386"));
  // The picture row names "Media/Profile/19198887386-1683042868", a name the
  // backup holds only with ".jpg": the lookup finds nothing, and the suffix
  // follows the empty result.
  EXPECT_EQ(dfir->value(5), QStringLiteral(".jpg"));
  const QList<OxWhatsappMsg*>& msgs = dfir->detailContent()->messages();
  EXPECT_EQ(std::count_if(msgs.begin(), msgs.end(), [](auto* m) { return QFileInfo(m->media()).isFile(); }), 1);
  // A group: the owner was added, by nobody known.
  EXPECT_EQ(itemNamed(list, QStringLiteral("Our Test Group"))->value(4), QStringLiteral("You were added"));
}
} // namespace
