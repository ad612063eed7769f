// WhatsApp in a backup: the file index, the paths the database stores, the
// database copy with its -wal, bad inputs, and the real iOS 15 database.
#include "readers/whatsapp/whatsappitunescollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "tests/support/apps/whatsapp.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <memory>

namespace {
using fixture::StoredFile;
using fixture::WaMessage;
using fixture::WaSession;
using fixture::WhatsappDb;

const QString kGroup = fixture::whatsappGroupDomain();
const QString kApp = fixture::whatsappAppDomain();

class WhatsappBackup : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(root.isValid());
    SherdLog::setSink([this](const char*, int level, const QString& text) {
      if (level == 0)
        errors << text;
    });
  }
  void TearDown() override { SherdLog::toStderr(); }

  // Writes a backup of the files and opens it.
  std::unique_ptr<MobileBackup> backupOf(const QList<StoredFile>& files, const QString& password = QString()) {
    const QString folder = root.filePath(QStringLiteral("b%1").arg(++m_backups));
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

  QTemporaryDir root;
  QStringList errors;
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

// ---- file index and paths ---------------------------------------------------------

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
    const char* stored; // as the database names it
    const char* domain; // of the record found; null: none
    const char* relativePath;
  } rows[] = {
      {"Media/12345/a/b.jpg", "group", "Message/Media/12345/a/b.jpg"},
      {"/Media/12345/a/b.jpg", "group", "Message/Media/12345/a/b.jpg"},
      {"Message/Media/12345/a/b.jpg", "group", "Message/Media/12345/a/b.jpg"},
      {"Media/555/c/d.jpg", "app", "Library/Media/555/c/d.jpg"},
      {"Media/Profile/1-2.jpg", "group", "Media/Profile/1-2.jpg"},
      {"Media/12345/a/empty.jpg", nullptr, nullptr},
      {"Media/12345/a/B.jpg", nullptr, nullptr},
  };
  for (const Row& row : rows) {
    const WAFileEntry* e = whatsapp.findFile(QString::fromUtf8(row.stored));
    if (!row.domain) {
      EXPECT_FALSE(e) << row.stored;
      EXPECT_EQ(whatsapp.mediaFilePath(QString::fromUtf8(row.stored)), QString()) << row.stored;
      continue;
    }
    ASSERT_TRUE(e) << row.stored;
    EXPECT_EQ(e->domain, QLatin1String(row.domain) == QLatin1String("app") ? kApp : kGroup) << row.stored;
    EXPECT_EQ(e->relativePath, QString::fromUtf8(row.relativePath)) << row.stored;
    const QString local = whatsapp.mediaFilePath(QString::fromUtf8(row.stored));
    EXPECT_TRUE(QFileInfo(local).isFile()) << row.stored;
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
  const QString when =
      QLocale::system().toString(QDateTime::fromSecsSinceEpoch(t, Qt::UTC), QLocale::ShortFormat);
  struct Row {
    const char* path;
    const char* source;
    QString name;
  } rows[] = {
      {"Media/j/x.mp4", "Media/j/x.mp4", when + QStringLiteral(".MOV")},
      {"Media/j/x.thumb", "Media/j/x.mp4", when + QStringLiteral(".MOV")},
      {"Media/j/x.thumb", "Media/j/x.MP4", when + QStringLiteral(".MP4")}, // only "mp4" is rewritten
      {"Media/j/x.thumb", "https://mmg.whatsapp.net/v/t62/1.enc?x=1", when + QStringLiteral(".enc?x=1")},
      {"Media/j/missing.mp4", "Media/j/missing.mp4", QString()},
  };
  for (const Row& row : rows)
    EXPECT_EQ(whatsapp.mediaFileName(QString::fromUtf8(row.path), QString::fromUtf8(row.source)), row.name)
        << row.path;
}

// ---- bad inputs ----------------------------------------------------------------

WhatsappDb smallRows() {
  WhatsappDb d;
  d.sessions << WaSession{1, QStringLiteral("111@s.whatsapp.net"), QStringLiteral("Anna"), 0, 0, 300, 0, 0}
             << WaSession{2, QStringLiteral("222@s.whatsapp.net"), QStringLiteral("Ben"), 0, 0, 200, 0, 0};
  auto m = [](qint64 pk, qint64 session, const char* text) {
    WaMessage r;
    r.pk = pk;
    r.session = session;
    r.sort = int(pk);
    r.date = 100 + pk;
    r.text = QString::fromUtf8(text);
    return r;
  };
  d.messages << m(1, 1, "a1") << m(2, 1, "a2") << m(3, 2, "b1");
  fixture::WaMedia picture;
  picture.pk = 1;
  picture.message = 4;
  picture.localPath = QStringLiteral("Media/111@s.whatsapp.net/0/1/p.jpg");
  picture.thumbPath = QStringLiteral("Media/111@s.whatsapp.net/0/1/p.thumb");
  d.media << picture;
  WaMessage pic = m(4, 1, "");
  pic.type = 1;
  pic.mediaItem = 1;
  d.messages << pic;
  return d;
}

TEST_F(WhatsappBackup, BadInputsLoadWhatCanBeLoaded) {
  const QStringList schema = fixture::whatsappSchema();
  const QStringList rows = fixture::whatsappInserts(smallRows());
  auto with = [&](const QStringList& extra) { return fixture::whatsappDbFilesFrom(schema + rows + extra); };

  WhatsappDb nulls;
  nulls.sessions << WaSession{1, QString(), QString(), 0, 0, 0, 0, 0};
  WaMessage empty;
  empty.pk = 1;
  empty.session = 1;
  nulls.messages << empty;
  WhatsappDb dangling = smallRows();
  WaMessage orphan;
  orphan.pk = 9;
  orphan.session = 77; // no such chat
  orphan.text = QStringLiteral("orphan");
  WaMessage ghostMember;
  ghostMember.pk = 10;
  ghostMember.session = 2;
  ghostMember.sort = 5;
  ghostMember.groupMember = 55;
  ghostMember.text = QStringLiteral("from nobody");
  WaMessage ghostMedia;
  ghostMedia.pk = 11;
  ghostMedia.session = 2;
  ghostMedia.sort = 6;
  ghostMedia.type = 2;
  ghostMedia.mediaItem = 66;
  dangling.messages << orphan << ghostMember << ghostMedia;
  WhatsappDb newer;
  newer.sessions << WaSession{3, QStringLiteral("333@s.whatsapp.net"), QStringLiteral("Cleo"), 0, 0, 400, 0, 0};
  WaMessage c1;
  c1.pk = 20;
  c1.session = 3;
  c1.sort = 1;
  c1.date = 500;
  c1.text = QStringLiteral("only in the log");
  WaMessage a3 = c1;
  a3.pk = 21;
  a3.session = 1;
  a3.sort = 9;
  a3.text = QStringLiteral("newer in Anna's chat");
  newer.messages << c1 << a3;

  struct Row {
    const char* name;
    QList<StoredFile> files;
    int chats;
    int messages;
    const char* error; // a logged error that must appear; null: none
  } cases[] = {
      {"plain database", with({}), 2, 4, nullptr},
      {"backup without WhatsApp",
       {fixture::file(QStringLiteral("HomeDomain"), QStringLiteral("Library/x.db"), QByteArray("x"))}, 0, 0,
       "Not exists"},
      {"no picture table", with({QStringLiteral("DROP TABLE ZWAPROFILEPICTUREITEM")}), 2, 4, "Fail to query sql"},
      {"no member table", with({QStringLiteral("DROP TABLE ZWAGROUPMEMBER")}), 2, 4, "Fail to query sql"},
      {"no message table", with({QStringLiteral("DROP TABLE ZWAMESSAGE")}), 2, 0, "Fail to query sql"},
      {"message table without ZSORT",
       with({QStringLiteral("DROP INDEX Z_WAMessage_compoundIndex"),
             QStringLiteral("DROP INDEX Z_WAMessage_bySortIndex"),
             QStringLiteral("ALTER TABLE ZWAMESSAGE DROP COLUMN ZSORT")}),
       2, 0, "Fail to query sql"},
      {"session table without ZREMOVED",
       with({QStringLiteral("DROP INDEX Z_WAChatSession_byRemovedIndex"),
             QStringLiteral("ALTER TABLE ZWACHATSESSION DROP COLUMN ZREMOVED")}),
       0, 0, "Fail to query sql"},
      {"media table without ZTITLE", with({QStringLiteral("ALTER TABLE ZWAMEDIAITEM DROP COLUMN ZTITLE")}), 2, 4,
       "Fail to query sql"},
      {"NULL columns", fixture::whatsappDbFilesFrom(schema + fixture::whatsappInserts(nulls)), 1, 1, nullptr},
      {"messages pointing at missing chats, members and media",
       fixture::whatsappDbFilesFrom(schema + fixture::whatsappInserts(dangling)), 2, 6, nullptr},
      {"-wal with newer rows", fixture::whatsappDbFilesFrom(schema + rows, fixture::whatsappInserts(newer)), 3, 6,
       nullptr},
      {"corrupt database",
       {fixture::file(kGroup, QStringLiteral("ChatStorage.sqlite"),
                      QByteArray("SQLite format 3\0", 16) + QByteArray(3000, '\x5a'))},
       0, 0, "Fail to open db file"},
      {"not a database", {fixture::file(kGroup, QStringLiteral("ChatStorage.sqlite"), QByteArray(5000, '\x01'))}, 0, 0,
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
    if (row.error) {
      EXPECT_TRUE(logged.contains(QLatin1String(row.error))) << row.name << ": " << qPrintable(logged);
    } else {
      EXPECT_TRUE(errors.isEmpty()) << row.name << ": " << qPrintable(logged);
    }
  }
}

TEST_F(WhatsappBackup, WalRowsAndMediaThroughTheBackup) {
  WhatsappDb newer;
  WaMessage late;
  late.pk = 30;
  late.session = 2;
  late.sort = 10;
  late.date = 50; // the oldest of Ben's chat: gives it its date and text
  late.text = QStringLiteral("written after the checkpoint");
  newer.messages << late;
  QList<StoredFile> files = fixture::whatsappDbFiles(smallRows(), newer);
  files << fixture::whatsappMediaFile(QStringLiteral("Media/111@s.whatsapp.net/0/1/p.jpg"))
        << fixture::whatsappMediaFile(QStringLiteral("Media/111@s.whatsapp.net/0/1/p.thumb"));
  for (const QString& password : {QString(), QStringLiteral("secret")}) {
    std::unique_ptr<MobileBackup> backup = backupOf(files, password);
    ASSERT_TRUE(backup);
    OxBackup registry;
    load(backup.get(), registry);
    OxData* list = registry.getWhatsappMsg();
    ASSERT_EQ(list->count(OxData::CountRaw), 2);
    OxWhatsappItem* ben = itemNamed(list, QStringLiteral("Ben"));
    ASSERT_TRUE(ben);
    EXPECT_EQ(ben->value(4), QStringLiteral("written after the checkpoint"));
    EXPECT_EQ(ben->sortValue(6).toDateTime(), CCommonUtils::buildDateTimeBase2001(50.0));
    // The database copy lies in the temporary root with its log.
    const QString copy = Utils::tempPath() + QStringLiteral("Whatsapp/ChatStorage.sqlite");
    EXPECT_TRUE(QFileInfo::exists(copy));
    // The picture's thumbnail is a readable local file with the backup's bytes.
    OxWhatsappItem* anna = itemNamed(list, QStringLiteral("Anna"));
    ASSERT_TRUE(anna);
    const OxWhatsappMsg* picture = anna->detailContent()->messages().first();
    ASSERT_EQ(int(picture->type()), 1);
    QFile thumb(picture->media());
    ASSERT_TRUE(thumb.open(QIODevice::ReadOnly)) << qPrintable(picture->media());
    EXPECT_TRUE(thumb.readAll().endsWith("Media/111@s.whatsapp.net/0/1/p.thumb"));
    EXPECT_TRUE(picture->content().endsWith(QStringLiteral(".jpg"))) << qPrintable(picture->content());
    EXPECT_GT(anna->size(), quint64(thumb.size()));
  }
}

// ---- the real iOS 15 database ----------------------------------------------------

QString realDir() { return QStringLiteral(SHERD_REALDATA_DIR) + QStringLiteral("/whatsapp-ios15"); }

// Runs a query on a private copy of the real database; the first column of
// each row as text.
QStringList sqlite(const QString& dbCopy, const char* sql) {
  sqlite3* db = nullptr;
  QStringList out;
  if (sqlite3_open_v2(dbCopy.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &st, nullptr) == SQLITE_OK) {
      while (sqlite3_step(st) == SQLITE_ROW)
        out << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
      sqlite3_finalize(st);
    }
  }
  sqlite3_close(db);
  return out;
}

TEST_F(WhatsappBackup, RealIos15Database) {
  if (!QFileInfo::exists(realDir() + QStringLiteral("/ChatStorage.sqlite")))
    GTEST_SKIP() << "no real WhatsApp database";
  // The real files go into a fixture backup (and into a scratch copy for
  // sqlite3 to answer from); the originals are never opened.
  QList<StoredFile> files;
  QTemporaryDir scratch;
  for (const char* name : {"ChatStorage.sqlite", "ChatStorage.sqlite-wal", "ChatStorage.sqlite-shm"}) {
    QFile f(realDir() + QLatin1Char('/') + QLatin1String(name));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray data = f.readAll();
    files << fixture::file(kGroup, QLatin1String(name), data);
    QFile copy(scratch.filePath(QLatin1String(name)));
    ASSERT_TRUE(copy.open(QIODevice::WriteOnly));
    copy.write(data);
  }
  // Files the database names: one picture's thumbnail and a profile picture.
  files << fixture::whatsappMediaFile(
               QStringLiteral("Media/19198887386@s.whatsapp.net/d/0/d041d159-fd7d-4abb-9192-0e97c10ddb00.thumb"))
        << fixture::whatsappMediaFile(QStringLiteral("Media/Profile/19198887386-1683042868.jpg"));
  const QString db = scratch.filePath(QStringLiteral("ChatStorage.sqlite"));

  std::unique_ptr<MobileBackup> backup = backupOf(files);
  ASSERT_TRUE(backup);
  OxBackup registry;
  load(backup.get(), registry);
  EXPECT_TRUE(errors.isEmpty()) << qPrintable(errors.join(QLatin1Char('\n')));
  OxData* list = registry.getWhatsappMsg();

  const int chats = sqlite(db, "select count(*) from zwachatsession where zhidden = 0 and zremoved = 0").value(0).toInt();
  const int messages = sqlite(db, "select count(*) from zwamessage m join zwachatsession s on m.zchatsession = s.z_pk "
                                  "where s.zhidden = 0 and s.zremoved = 0 and m.zmessagetype != 10")
                           .value(0)
                           .toInt();
  EXPECT_EQ(chats, 5);
  EXPECT_EQ(list->count(OxData::CountRaw), chats);
  EXPECT_EQ(messageTotal(list), messages);

  // Every chat: its name, numbers and date as sqlite3 gives them. The date is
  // that of the chat's oldest shown message.
  const QStringList names = sqlite(db, "select zpartnername from zwachatsession where zhidden = 0 and zremoved = 0 "
                                       "order by zlastmessagedate desc");
  for (const QString& name : names) {
    OxWhatsappItem* item = itemNamed(list, name);
    ASSERT_TRUE(item) << qPrintable(name);
    const QByteArray where = "(select z_pk from zwachatsession where zpartnername = '" + name.toUtf8() + "')";
    const double oldest = sqlite(db, "select min(zmessagedate) from zwamessage where zmessagetype != 10 and "
                                     "zchatsession = " + where)
                              .value(0)
                              .toDouble();
    EXPECT_EQ(item->sortValue(6).toDateTime(), CCommonUtils::buildDateTimeBase2001(oldest)) << qPrintable(name);
    const QStringList numbers =
        sqlite(db, "select '+' || substr(zmemberjid, 1, instr(zmemberjid, '@') - 1) from zwagroupmember "
                   "where zchatsession = " + where + " order by z_pk");
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
  OxWhatsappItem* group = itemNamed(list, QStringLiteral("Our Test Group"));
  ASSERT_TRUE(group);
  EXPECT_EQ(group->value(4), QStringLiteral("You were added"));
}
} // namespace
