// The notes of whole synthetic backups: the three store generations, locked
// notes, attachment files, and what damaged or missing pieces leave.
#include "readers/ios/notes/notecollection.h"
#include "readers/ios/notes/notefileindex.h"

#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/utils.h"
#include "samples/apps/notes.h"
#include "tests/support/testdata.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QMap>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

namespace {
using namespace fixture;
using namespace fixture::notes;

LegacyNote legacyNote(const char* guid, const char* title, const char* html) {
  LegacyNote n;
  n.guid = QString::fromLatin1(guid);
  n.title = QString::fromLatin1(title);
  n.html = QString::fromLatin1(html);
  return n;
}

class NoteBackup : public ::testing::Test {
protected:
  MobileBackup* open(const QList<StoredFile>& files) {
    const QString folder = dir.filePath(QStringLiteral("b%1").arg(++count));
    QString error;
    EXPECT_TRUE(writeBackup(folder, BackupPlan(), files, &error)) << error.toStdString();
    backup.reset(MobileBackup::loadFromPath(folder));
    EXPECT_TRUE(backup);
    return backup.get();
  }
  // Loads the notes of a backup of these files into list.
  void load(const QList<StoredFile>& files, const QStringList& passwords = {},
            const QString& deviceType = QStringLiteral("iPhone12,1")) {
    MobileBackup* b = open(files);
    list.clear();
    CNoteCollection notes(&list, Utils::tempPath() + QStringLiteral("rotated%1").arg(count), deviceType);
    notes.setNotePasswords(passwords);
    notes.load(b);
  }
  OxNoteItem* byTitle(const char* title) {
    for (int i = 0; i < list.count(0); ++i)
      if (list.at(i, false)->value(OxNoteItem::ColTitle) == QLatin1String(title))
        return static_cast<OxNoteItem*>(list.at(i, false));
    return nullptr;
  }
  QString titles() {
    QStringList out;
    for (int i = 0; i < list.count(0); ++i)
      out << list.at(i, false)->value(OxNoteItem::ColTitle);
    out.sort();
    return out.join('|');
  }

  QTemporaryDir dir;
  int count = 0;
  std::unique_ptr<MobileBackup> backup;
  testdata::LogCapture log;
  OxData list{7};
};

TEST_F(NoteBackup, SampleShowsAllThreeGenerationsWithTheLockedNoteOpened) {
  load(sampleNoteFiles(), {QStringLiteral("wrong"), kSamplePassword});
  // The trashed note is left out; the legacy copy of "Shopping list" too. The
  // legacy note the phone deleted comes back flagged, with the one deleted
  // body that no note claims (free blocks took the keys that join them).
  ASSERT_EQ(titles(), QStringLiteral("Diary|First phone note|Garden|Safe combination|Shopping list|Surprise party "
                                     "guests|Trip budget"));
  EXPECT_TRUE(byTitle("Surprise party guests")->flag(OxAbstractItem::ItemDeleted));
  EXPECT_EQ(byTitle("Surprise party guests")->value(OxNoteItem::ColNotes),
            QStringLiteral("Surprise party guests\nAnna, Ben, Carl"));
  EXPECT_EQ(list.allDeletedCount(), 1);

  OxNoteItem* safe = byTitle("Safe combination");
  EXPECT_FALSE(safe->flag(OxAbstractItem::ItemNoteLocked));
  EXPECT_TRUE(safe->value(OxNoteItem::ColNotes).contains(QStringLiteral("12-34-56")));
  ASSERT_EQ(safe->notePieces().size(), 2);
  // The sketch is decrypted, then turned by 180 degrees into a new picture.
  QImage turned(safe->notePieces()[1]->content);
  ASSERT_EQ(turned.size(), QSize(200, 100));
  EXPECT_EQ(turned.pixel(199, 99) & 0xffffff, 0xff0000u); // the marked corner moved

  OxNoteItem* diary = byTitle("Diary"); // locked under the newer scheme
  EXPECT_TRUE(diary->flag(OxAbstractItem::ItemNoteLocked));
  EXPECT_TRUE(diary->value(OxNoteItem::ColNotes).isEmpty());
  EXPECT_TRUE(log.contains(QStringLiteral("newer scheme")));

  OxNoteItem* garden = byTitle("Garden");
  ASSERT_EQ(garden->notePieces().size(), 3);
  // Stored sideways at 400x300 with a quarter-turn tag: turned upright first,
  // then capped in width.
  EXPECT_EQ(garden->notePieces()[1]->thumbnail.size(), QSize(250, 334));
  EXPECT_EQ(garden->value(OxNoteItem::ColNotes), QStringLiteral("Garden\nTomatoes by the wall\nWater daily"));
}

TEST_F(NoteBackup, MissingAndDamagedPartsAndAWrongPasswordLeaveWhatCanBeRead) {
  ModernNote n;
  n.identifier = QStringLiteral("E0000000-0000-4000-8000-000000000001");
  n.title = QStringLiteral("Pictures");
  n.text = QStringLiteral("Pictures\n\uFFFC\uFFFC");
  auto attachment = [](int id, const char* fileName, const QByteArray& data) {
    ModernAttachment a;
    a.identifier = QStringLiteral("E0000000-0000-4000-8000-00000000000%1").arg(id);
    a.mediaId = QStringLiteral("E0000000-0000-4000-8000-00000000000%1").arg(id + 1);
    a.fileName = QString::fromLatin1(fileName);
    a.mediaData = data;
    return a;
  };
  n.attachments << attachment(2, "gone.jpeg", QByteArray()) // named, no file in the backup
                << attachment(4, "broken.jpeg", "not a picture");
  ModernNote locked;
  locked.identifier = QStringLiteral("E0000000-0000-4000-8000-000000000009");
  locked.title = locked.text = QStringLiteral("Locked");
  locked.password = QStringLiteral("right");
  const QString jpeg = QStringLiteral("image/jpeg");
  LegacyNote legacy = legacyNote("L1", "Unclosed",
                                 "<div><b>fish &amp; <i>chips<br>never closed<object type=\"x\" data=\"cid:one\">"
                                 "</object><object type=\"x\" data=\"cid:TWO\"></object><div>tail");
  legacy.attachments = {{"one", "one.png", jpeg, pngImage(10, 10, 0xffffff), false},
                        {"two", QString(), jpeg, QByteArray(), true}}; // no row for "two"
  LegacyNote deleted = legacyNote("L2", "Deleted legacy", "");
  deleted.deleted = true;
  load(modernFiles({n, locked}, ModernLayout::Ios17) + legacyFiles({legacy, deleted}, {}), {QStringLiteral("wrong")},
       QStringLiteral("iPad8,1"));
  ASSERT_EQ(titles(), QStringLiteral("Locked|Pictures|Unclosed"));
  EXPECT_TRUE(byTitle("Locked")->flag(OxAbstractItem::ItemNoteLocked)); // listed, marked, its title only
  EXPECT_TRUE(byTitle("Locked")->notePieces().isEmpty());
  const QList<OxNoteItem::NotePiece*> pictures = byTitle("Pictures")->notePieces();
  ASSERT_EQ(pictures.size(), 3);
  EXPECT_EQ(pictures[1]->name, QStringLiteral("gone.jpeg"));
  EXPECT_TRUE(pictures[1]->content.isEmpty()); // not in the backup
  EXPECT_FALSE(pictures[2]->content.isEmpty());
  EXPECT_TRUE(pictures[2]->thumbnail.isNull()); // does not load

  OxNoteItem* unclosed = byTitle("Unclosed");
  EXPECT_EQ(unclosed->value(OxNoteItem::ColLocation), QStringLiteral("On My iPad"));
  const QList<OxNoteItem::NotePiece*> pieces = unclosed->notePieces();
  ASSERT_EQ(pieces.size(), 3);
  EXPECT_EQ(testdata::fields(pieces[0]->content, pieces[1]->name, pieces[2]->content),
            QStringLiteral("\nfish & chips\nnever closed|one.png|\ntail"));
}

TEST_F(NoteBackup, WithoutAModernStoreTheLegacyOnesAreStillRead) {
  load({file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Preferences/x.plist"), "bplist00")});
  EXPECT_EQ(list.count(0), 0);
  load(QList<StoredFile>{file(kNotesDomain, QStringLiteral("NoteStore.sqlite"), QByteArray(2048, 'x'))} +
       legacyFiles({legacyNote("only", "Only legacy", "Only legacy")}, {}));
  EXPECT_EQ(titles(), QStringLiteral("Only legacy"));
}

// Legacy notes deleted from either legacy store come back flagged, with their
// title, date and body; live ones and notes only marked deleted stay as they
// are.
TEST_F(NoteBackup, PurgedLegacyNotesComeBackFlaggedWithTheirBody) {
  struct Case {
    const char* name;
    bool coreData;
    bool wal;
  };
  const Case cases[] = {
      {"notes.sqlite, rollback journal", true, false},
      {"notes.sqlite, deletion in the log", true, true},
      {"notes.db, rollback journal", false, false},
      {"notes.db, deletion in the log", false, true},
  };
  const QSet<int> purged{1, 13, 20, 21, 22, 40};
  QList<LegacyNote> notes;
  for (int i = 1; i <= 40; ++i) {
    // Note 13's body spills onto overflow pages.
    const QString body = i == 13 ? QStringLiteral("long line ").repeated(700) : QStringLiteral("line %1 ").arg(i).repeated(i);
    LegacyNote n = legacyNote("", "", "");
    n.guid = QStringLiteral("GUID-%1").arg(i);
    n.title = QStringLiteral("Legacy note %1").arg(i);
    n.html = QStringLiteral("<div>%1</div><div>end of %2</div>").arg(body, QString::number(i));
    n.modified = 400000000 + i * 3600;
    n.deleted = i == 30; // in the trash: never listed
    notes << n;
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto loadStore = [&](bool purge, bool recover) {
      QList<LegacyNote> rows = notes;
      for (int i = 0; i < rows.size(); ++i)
        rows[i].purged = purge && purged.contains(i + 1);
      QByteArray db, wal;
      QString error;
      EXPECT_TRUE(makeSqliteDb(c.coreData ? legacySqliteStatements(rows) : legacyDbStatements(rows), c.wal, &db,
                               &wal, &error))
          << error.toStdString();
      const QString path = c.coreData ? QStringLiteral("Library/Notes/notes.sqlite")
                                      : QStringLiteral("Library/Notes/notes.db");
      QList<StoredFile> files{file(QStringLiteral("HomeDomain"), path, db)};
      if (c.wal)
        files << file(QStringLiteral("HomeDomain"), path + QStringLiteral("-wal"), wal);
      MobileBackup* b = open(files);
      list.clear();
      CNoteCollection reader(&list, Utils::tempPath() + QStringLiteral("rotated%1").arg(count), QString());
      reader.setRecoverDeleted(recover);
      reader.load(b);
      // title -> "date|text|deleted"
      QMap<QString, QString> out;
      for (int i = 0; i < list.count(0); ++i) {
        const OxAbstractItem* item = list.at(i, false);
        EXPECT_FALSE(out.contains(item->value(OxNoteItem::ColTitle))) << "listed twice";
        out.insert(item->value(OxNoteItem::ColTitle),
                   testdata::fields(item->value(OxNoteItem::ColDate), item->value(OxNoteItem::ColNotes),
                                    item->flag(OxAbstractItem::ItemDeleted)));
      }
      return std::make_pair(out, db + wal);
    };
    const QMap<QString, QString> whole = loadStore(false, true).first;
    ASSERT_EQ(whole.size(), c.coreData ? 39 : 40); // notes.db has no trash mark
    const auto after = loadStore(true, true);
    int recovered = 0;
    for (int i = 1; i <= 40; ++i) {
      const QString title = QStringLiteral("Legacy note %1").arg(i);
      if (!purged.contains(i)) {
        EXPECT_EQ(after.first.value(title).toStdString(), whole.value(title).toStdString()) << i;
        continue;
      }
      if (!after.second.contains(title.toUtf8()) || !after.second.contains(QStringLiteral("end of %1<").arg(i).toUtf8()))
        continue;
      ASSERT_TRUE(after.first.contains(title)) << "note " << i << " not recovered";
      ++recovered;
      const QString expected = QString(whole.value(title)).replace(QStringLiteral("|false"), QStringLiteral("|true"));
      const QString got = after.first.value(title);
      // In a rollback store free blocks take both rows' keys, so a note finds
      // its body only in the log's older pages; without it the text is empty.
      const QString bodiless = expected.section('|', 0, 0) + QStringLiteral("||true");
      if (c.wal || got != bodiless)
        EXPECT_EQ(got.toStdString(), expected.toStdString()) << i;
    }
    EXPECT_EQ(after.first.size(), whole.size() - purged.size() + recovered); // nothing invented
    EXPECT_GE(recovered, purged.size() - 1);
    EXPECT_EQ(loadStore(true, false).first.size(), whole.size() - purged.size());
  }
}

// The file index answers every search as a walk over the whole file list does.
TEST_F(NoteBackup, FileIndexFindsWhatAWalkOverTheListFinds) {
  const QString a = QStringLiteral("0C6A7E1B-55D2-4A0B-8F0E-6D2A9C1B7E11");
  const QString b = a.toLower(); // same letters, other case
  const QString c = QStringLiteral("9E8D7C6B-5A49-4382-9170-6F5E4D3C2B03");
  QList<StoredFile> files{file(QStringLiteral("HomeDomain"), QStringLiteral("Library/%1.png").arg(a), "x")};
  for (const QString& p :
       {QStringLiteral("Accounts/X/Media/%1/photo.jpeg").arg(a),
        QStringLiteral("Accounts/X/Previews/%1-1-192x144-0-oriented.png").arg(a),
        QStringLiteral("Accounts/X/Media/%1/photo.jpeg").arg(b),
        // Two identifiers run together: the second starts inside the first's tail.
        QStringLiteral("Accounts/X/FallbackImages/%1-%2.png").arg(a, c), QStringLiteral("Media/plain-name/file.bin")})
    files << file(kNotesDomain, p, "x");
  MobileBackup* backup = open(files);
  ASSERT_TRUE(backup);
  NoteFileIndex index;
  index.build(backup);
  for (const QString& domain : {kNotesDomain, QStringLiteral("HomeDomain")}) {
    for (const QString& q : {a, b, a + QStringLiteral("-1-192x144-0"), c, QStringLiteral("plain-name"),
                             QStringLiteral("Media"), QString()}) {
      QVector<int> walked;
      for (int i = 0; i < backup->fileCount() && !q.isEmpty(); ++i)
        if (backup->fileAt(i).domain == domain && backup->fileAt(i).relativePath.contains(q))
          walked << i;
      EXPECT_EQ(index.find(domain, q), walked) << domain.toStdString() << " " << q.toStdString();
    }
  }
}
// Attachment copies: made when asked, once each, under their own names, and
// two files of one name never overwrite each other.
TEST_F(NoteBackup, FileCopiesAreMadeOnceAndKeepTheirNames) {
  MobileBackup* backup = open({file(kNotesDomain, QStringLiteral("Accounts/X/Media/A/photo.jpeg"), "first"),
                               file(kNotesDomain, QStringLiteral("Accounts/X/Media/B/photo.jpeg"), "second"),
                               file(kNotesDomain, QStringLiteral("Accounts/X/Media/C/clip.mov"), "third")});
  ASSERT_TRUE(backup);
  auto indexOf = [&](const char* rel) {
    return backup->findFile(kNotesDomain, QString::fromLatin1(rel));
  };
  const int first = indexOf("Accounts/X/Media/A/photo.jpeg");
  const int second = indexOf("Accounts/X/Media/B/photo.jpeg");
  const int third = indexOf("Accounts/X/Media/C/clip.mov");
  const QString folder = Utils::tempPath() + QStringLiteral("CopiesTest");
  NoteFileCopies copies;
  copies.reset(backup, folder);
  EXPECT_FALSE(QFileInfo::exists(folder)) << "nothing is copied before it is asked for";

  auto bytes = [](const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
  };
  struct Row {
    const char* name;
    int index;
    QByteArray content; // empty: no copy
    const char* fileName;
  } rows[] = {
      {"a file", first, "first", "photo.jpeg"},
      {"another file of the same name", second, "second", "photo.jpeg"},
      {"a third name", third, "third", "clip.mov"},
      {"no such record", 9999, "", ""},
      {"a negative record", -1, "", ""},
  };
  QSet<QString> paths;
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    const QString local = copies.copy(r.index);
    if (r.content.isEmpty()) {
      EXPECT_TRUE(local.isEmpty());
      continue;
    }
    ASSERT_FALSE(local.isEmpty());
    EXPECT_TRUE(Utils::isInsideTempPath(local));
    EXPECT_EQ(QFileInfo(local).fileName(), QString::fromLatin1(r.fileName));
    EXPECT_EQ(bytes(local), r.content);
    EXPECT_FALSE(paths.contains(local));
    paths.insert(local);
  }
  // Asked again: the same copy, not made a second time.
  const QString again = copies.copy(first);
  QFile marker(again);
  ASSERT_TRUE(marker.open(QIODevice::WriteOnly | QIODevice::Truncate));
  marker.write("marked");
  marker.close();
  EXPECT_EQ(copies.copy(first), again);
  EXPECT_EQ(bytes(again), QByteArray("marked"));
  QDir(folder).removeRecursively();
}
} // namespace

int main(int argc, char** argv) {
  // QTextDocument needs a GUI application object (test discovery runs without
  // the tests' environment). It is never destroyed: Qt 5.15's offscreen
  // platform would leak its screen then.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  static QGuiApplication* app = new QGuiApplication(argc, argv);
  (void)app;
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
