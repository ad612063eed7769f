// WhatsApp in a backup: the file index, the paths the database stores, the
// database copy with its -wal, bad inputs, and the real iOS 15 database.
#include "readers/whatsapp/whatsappitunescollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "tests/support/apps/whatsapp.h"
#include "tests/support/testdata.h"

#include <QLocale>

#include <gtest/gtest.h>

#include <memory>

namespace {
using fixture::StoredFile;
using fixture::WaMessage;
using fixture::WaSession;
using fixture::WhatsappDb;

const QString kGroup = fixture::whatsappGroupDomain();
const QString kApp = fixture::whatsappAppDomain();

class WhatsappBackup : public testdata::ErrorLogTest {
protected:
  // Writes a backup of the files and opens it.
  std::unique_ptr<MobileBackup> backupOf(const QList<StoredFile>& files, const QString& password = QString()) {
    const QString folder = dir.filePath(QStringLiteral("b%1").arg(++m_backups));
    fixture::BackupPlan plan;
    plan.password = password;
    QString error;
    EXPECT_TRUE(fixture::writeBackup(folder, plan, files, &error)) << qPrintable(error);
    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(folder, password));
    EXPECT_TRUE(b);
    return b;
  }
  // Loads WhatsApp out of the backup into the registry.
  void load(MobileBackup* backup, OxBackup& registry) {
    CWhatsappiTunesCollection whatsapp(&registry);
    whatsapp.setSwitches(true, false);
    whatsapp.load(backup);
  }
  int m_backups = 0;
};

int messageTotal(OxData* list) {
  int n = 0;
  for (int i = 0; i < list->count(OxData::CountRaw); ++i)
    n += static_cast<OxWhatsappItem*>(list->at(i, false))->detailContent()->messages().size();
  return n;
}

OxWhatsappItem* itemNamed(OxData* list, const QString& name) {
  for (int i = 0; i < list->count(OxData::CountRaw); ++i)
    if (list->at(i, false)->value(0) == name)
      return static_cast<OxWhatsappItem*>(list->at(i, false));
  return nullptr;
}

WaMessage message(qint64 pk, qint64 session, int sort, const char* text, double date = 0) {
  return fixture::waMessage(pk, session, sort, date, QString::fromUtf8(text));
}

TEST_F(WhatsappBackup, FileIndexKeysAndAliases) {
  auto f = [](const QString& domain, const char* path, int size = 3) {
    return fixture::file(domain, QString::fromUtf8(path), QByteArray(size, 'x'));
  };
  std::unique_ptr<MobileBackup> backup = backupOf({
      f(kGroup, "ChatStorage.sqlite"),
      f(kGroup, "ChatStorage.sqlite-wal"),
      f(kGroup, "Message/Media/12345/a/b.jpg"),
      f(kGroup, "Media/Profile/1-2.jpg"),
      f(kGroup, "Library/gif/x.mp4"),
      f(kGroup, "Library/Preferences/x.plist"),
      f(kGroup, "Message/Media/12345/a/empty.jpg", 0),
      f(kApp, "Library/Media/555/c/d.jpg"),
      f(kApp, "Library/Preferences/y.plist"),
      f(QStringLiteral("HomeDomain"), "Media/elsewhere.jpg"),
  });
  ASSERT_TRUE(backup);
  OxBackup registry;
  CWhatsappiTunesCollection whatsapp(&registry);
  whatsapp.setBackup(backup.get());
  whatsapp.buildFileIndex();
  whatsapp.mediaPass(nullptr);
  EXPECT_EQ(whatsapp.fileIndex().keys(),
            QStringList({"/Documents/ChatStorage.sqlite", "/Library/Media/555/c/d.jpg", "/Library/Preferences/y.plist",
                         "/Library/gif/x.mp4", "/Media/Profile/1-2.jpg", "/Message/Media/12345/a/b.jpg"}));

  struct Row {
    const char* stored;       // as the database names it
    const QString* domain;    // of the record found; null: none
    const char* relativePath; // of the record found
  } rows[] = {
      {"Media/12345/a/b.jpg", &kGroup, "Message/Media/12345/a/b.jpg"},
      {"/Media/12345/a/b.jpg", &kGroup, "Message/Media/12345/a/b.jpg"},
      {"Message/Media/12345/a/b.jpg", &kGroup, "Message/Media/12345/a/b.jpg"},
      {"Media/555/c/d.jpg", &kApp, "Library/Media/555/c/d.jpg"},
      {"Media/Profile/1-2.jpg", &kGroup, "Media/Profile/1-2.jpg"},
      {"Media/12345/a/empty.jpg", nullptr, nullptr},
      {"Media/12345/a/B.jpg", nullptr, nullptr},
  };
  for (const Row& row : rows) {
    const QString stored = QString::fromUtf8(row.stored);
    const WAFileEntry* e = whatsapp.findFile(stored);
    ASSERT_EQ(bool(e), bool(row.domain)) << row.stored;
    EXPECT_EQ(QFileInfo(whatsapp.mediaFilePath(stored)).isFile(), bool(row.domain)) << row.stored;
    if (e) {
      EXPECT_EQ(e->domain, *row.domain) << row.stored;
      EXPECT_EQ(e->relativePath, QString::fromUtf8(row.relativePath)) << row.stored;
    }
  }
}

TEST_F(WhatsappBackup, MediaFileNamesUseTheRecordTime) {
  const quint32 t = 1684333287; // 2023-05-17 14:21:27 UTC
  std::unique_ptr<MobileBackup> backup = backupOf({fixture::whatsappMediaFile(QStringLiteral("Media/j/x.mp4"), t),
                                                   fixture::whatsappMediaFile(QStringLiteral("Media/j/x.thumb"), t)});
  OxBackup registry;
  CWhatsappiTunesCollection whatsapp(&registry);
  whatsapp.setBackup(backup.get());
  whatsapp.buildFileIndex();
  whatsapp.mediaPass(nullptr);
  const QString when = QLocale::system().toString(QDateTime::fromSecsSinceEpoch(t, Qt::UTC), QLocale::ShortFormat);
  struct Row {
    const char *path, *source;
    QString name;
  } rows[] = {
      {"Media/j/x.mp4", "Media/j/x.mp4", when + QStringLiteral(".MOV")},
      {"Media/j/x.thumb", "Media/j/x.mp4", when + QStringLiteral(".MOV")},
      {"Media/j/x.thumb", "Media/j/x.MP4", when + QStringLiteral(".MP4")}, // only "mp4" is rewritten
      {"Media/j/x.thumb", "https://mmg.whatsapp.net/v/t62/1.enc?x=1", when + QStringLiteral(".enc?x=1")},
      {"Media/j/missing.mp4", "Media/j/missing.mp4", QString()},
  };
  for (const Row& row : rows)
    EXPECT_EQ(whatsapp.mediaFileName(QString::fromUtf8(row.path), QString::fromUtf8(row.source)), row.name) << row.path;
}

// Two chats, three texts and a picture.
WhatsappDb smallRows() {
  WhatsappDb d;
  d.sessions << WaSession{1, QStringLiteral("111@s.whatsapp.net"), QStringLiteral("Anna"), 0, 0, 300, 0, 0}
             << WaSession{2, QStringLiteral("222@s.whatsapp.net"), QStringLiteral("Ben"), 0, 0, 200, 0, 0};
  fixture::WaMedia picture;
  picture.pk = 1;
  picture.message = 4;
  picture.localPath = QStringLiteral("Media/111@s.whatsapp.net/0/1/p.jpg");
  picture.thumbPath = QStringLiteral("Media/111@s.whatsapp.net/0/1/p.thumb");
  d.media << picture;
  WaMessage pic = message(4, 1, 4, "", 104);
  pic.type = 1;
  pic.mediaItem = 1;
  d.messages << message(1, 1, 1, "a1", 101) << message(2, 1, 2, "a2", 102) << message(3, 2, 3, "b1", 103) << pic;
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
  WhatsappDb dangling = smallRows();
  WaMessage ghostMember = message(10, 2, 5, "from nobody");
  ghostMember.groupMember = 55;
  WaMessage ghostMedia = message(11, 2, 6, "");
  ghostMedia.type = 2;
  ghostMedia.mediaItem = 66;
  dangling.messages << message(9, 77, 0, "orphan") << ghostMember << ghostMedia; // chat 77 does not exist
  WhatsappDb newer;
  newer.sessions << WaSession{3, QStringLiteral("333@s.whatsapp.net"), QStringLiteral("Cleo"), 0, 0, 400, 0, 0};
  newer.messages << message(20, 3, 1, "only in the log", 500) << message(21, 1, 9, "newer in Anna's chat", 500);

  struct Row {
    const char* name;
    QList<StoredFile> files;
    int chats, messages;
    const char* error; // a logged error that must appear; null: none
  } cases[] = {
      {"plain database", with({}), 2, 4, nullptr},
      {"backup without WhatsApp",
       {fixture::file(QStringLiteral("HomeDomain"), QStringLiteral("Library/x.db"), QByteArray("x"))},
       0,
       0,
       "Not exists"},
      {"no picture table", with(sql("DROP TABLE ZWAPROFILEPICTUREITEM")), 2, 4, "Fail to query sql"},
      {"no member table", with(sql("DROP TABLE ZWAGROUPMEMBER")), 2, 4, "Fail to query sql"},
      {"no message table", with(sql("DROP TABLE ZWAMESSAGE")), 2, 0, "Fail to query sql"},
      {"message table without ZSORT",
       with(sql("DROP INDEX Z_WAMessage_compoundIndex;DROP INDEX Z_WAMessage_bySortIndex;"
                "ALTER TABLE ZWAMESSAGE DROP COLUMN ZSORT")),
       2, 0, "Fail to query sql"},
      {"session table without ZREMOVED",
       with(sql("DROP INDEX Z_WAChatSession_byRemovedIndex;ALTER TABLE ZWACHATSESSION DROP COLUMN ZREMOVED")), 0, 0,
       "Fail to query sql"},
      {"media table without ZTITLE", with(sql("ALTER TABLE ZWAMEDIAITEM DROP COLUMN ZTITLE")), 2, 4,
       "Fail to query sql"},
      {"NULL columns", fixture::whatsappDbFilesFrom(schema + fixture::whatsappInserts(nulls)), 1, 1, nullptr},
      {"messages pointing at missing chats, members and media",
       fixture::whatsappDbFilesFrom(schema + fixture::whatsappInserts(dangling)), 2, 6, nullptr},
      {"-wal with newer rows", fixture::whatsappDbFilesFrom(schema + rows, fixture::whatsappInserts(newer)), 3, 6,
       nullptr},
      {"corrupt database",
       {fixture::file(kGroup, QStringLiteral("ChatStorage.sqlite"),
                      QByteArray("SQLite format 3\0", 16) + QByteArray(3000, '\x5a'))},
       0,
       0,
       "Fail to open db file"},
      {"not a database",
       {fixture::file(kGroup, QStringLiteral("ChatStorage.sqlite"), QByteArray(5000, '\x01'))},
       0,
       0,
       "Fail to open db file"},
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

// Runs a query on a private copy of the real database; the first column of
// each row as text.
QStringList sqlite(const QString& dbCopy, const QByteArray& sql) {
  sqlite3* db = nullptr;
  QStringList out;
  sqlite3_stmt* st = nullptr;
  if (sqlite3_open_v2(dbCopy.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(db, sql.constData(), -1, &st, nullptr) == SQLITE_OK) {
    while (sqlite3_step(st) == SQLITE_ROW)
      out << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
  }
  sqlite3_finalize(st);
  sqlite3_close(db);
  return out;
}

TEST_F(WhatsappBackup, RealIos15Database) {
  // A scratch copy for sqlite3 to answer from; the backup is made from it, so
  // the originals are never opened.
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

  const QByteArray shown = " zhidden = 0 and zremoved = 0";
  EXPECT_EQ(list->count(OxData::CountRaw), 5);
  EXPECT_EQ(QString::number(list->count(OxData::CountRaw)),
            sqlite(db, "select count(*) from zwachatsession where" + shown).value(0));
  EXPECT_EQ(QString::number(messageTotal(list)),
            sqlite(db, "select count(*) from zwamessage m join zwachatsession s on m.zchatsession = s.z_pk where" +
                           shown + " and m.zmessagetype != 10")
                .value(0));

  // Every chat: its numbers and date as sqlite3 gives them. The date is that
  // of the chat's oldest shown message.
  for (const QString& name : sqlite(db, "select zpartnername from zwachatsession where" + shown)) {
    OxWhatsappItem* item = itemNamed(list, name);
    ASSERT_TRUE(item) << qPrintable(name);
    const QByteArray chat = "(select z_pk from zwachatsession where zpartnername = '" + name.toUtf8() + "')";
    const double oldest =
        sqlite(db, "select min(zmessagedate) from zwamessage where zmessagetype != 10 and zchatsession = " + chat)
            .value(0)
            .toDouble();
    EXPECT_EQ(item->sortValue(6).toDateTime(), CCommonUtils::buildDateTimeBase2001(oldest)) << qPrintable(name);
    const QStringList numbers = sqlite(db, "select '+' || substr(zmemberjid, 1, instr(zmemberjid, '@') - 1) from "
                                           "zwagroupmember where zchatsession = " +
                                               chat + " order by z_pk");
    if (!numbers.isEmpty()) {
      EXPECT_EQ(item->value(2), numbers.join(QLatin1Char(','))) << qPrintable(name);
    }
  }
  // The one-to-one chat: its first text, its number, its picture.
  OxWhatsappItem* dfir = itemNamed(list, QStringLiteral("This Is DFIR Two"));
  ASSERT_TRUE(dfir);
  EXPECT_EQ(dfir->value(1), QStringLiteral("This Is DFIR Two")); // no address-book id: the name
  EXPECT_EQ(dfir->value(2), QStringLiteral("+19198887386"));
  EXPECT_EQ(dfir->value(4), sqlite(db, "select ztext from zwamessage where zchatsession = 5 and zmessagetype = 0 "
                                       "order by zmessagedate limit 1")
                                .value(0));
  EXPECT_TRUE(QFileInfo(dfir->value(5)).isFile()) << qPrintable(dfir->value(5));
  int withThumb = 0;
  for (const OxWhatsappMsg* m : dfir->detailContent()->messages())
    withThumb += QFileInfo(m->media()).isFile() ? 1 : 0;
  EXPECT_EQ(withThumb, 1);
  // A group: the owner was added, by nobody known.
  EXPECT_EQ(itemNamed(list, QStringLiteral("Our Test Group"))->value(4), QStringLiteral("You were added"));
}
} // namespace
