// The notes of whole synthetic backups: the three store generations together,
// locked notes with and without their password, attachment files, and what
// damaged or missing pieces leave.
#include "readers/ios/notes/notecollection.h"

#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "tests/support/apps/notes.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

namespace {
using namespace fixture;
using namespace fixture::notes;

class NoteBackup : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    SherdLog::setSink([this](const char*, int, const QString& text) { log << text; });
  }
  void TearDown() override { SherdLog::toStderr(); }

  // Loads the notes of a backup of these files into list.
  void load(const QList<StoredFile>& files, OxData* list, const QStringList& passwords = {},
            const QString& deviceType = QStringLiteral("iPhone12,1")) {
    const QString folder = dir.filePath(QStringLiteral("b%1").arg(++count));
    QString error;
    ASSERT_TRUE(writeBackup(folder, BackupPlan(), files, &error)) << error.toStdString();
    backup.reset(MobileBackup::loadFromPath(folder));
    ASSERT_TRUE(backup);
    CNoteCollection notes(list, dir.filePath(QStringLiteral("rotated%1").arg(count)), deviceType);
    notes.setNotePasswords(passwords);
    notes.load(backup.get());
  }
  static OxNoteItem* byTitle(OxData& list, const QString& title) {
    for (int i = 0; i < list.count(0); ++i)
      if (list.at(i, false)->value(OxNoteItem::ColTitle) == title)
        return static_cast<OxNoteItem*>(list.at(i, false));
    return nullptr;
  }
  static QStringList titles(OxData& list) {
    QStringList out;
    for (int i = 0; i < list.count(0); ++i)
      out << list.at(i, false)->value(OxNoteItem::ColTitle);
    out.sort();
    return out;
  }

  QTemporaryDir dir;
  int count = 0;
  std::unique_ptr<MobileBackup> backup;
  QStringList log;
};

TEST_F(NoteBackup, SampleShowsAllThreeGenerationsWithTheLockedNoteOpened) {
  OxData list(7);
  load(sampleNoteFiles(), &list, {QStringLiteral("wrong"), kSamplePassword});
  // The trashed note is left out; the legacy copy of "Shopping list" too.
  EXPECT_EQ(titles(list),
            QStringList({"Diary", "First phone note", "Garden", "Safe combination", "Shopping list", "Trip budget"}));

  OxNoteItem* shopping = byTitle(list, QStringLiteral("Shopping list"));
  ASSERT_TRUE(shopping);
  EXPECT_EQ(shopping->value(OxNoteItem::ColLocation), QStringLiteral("iCloud"));
  ASSERT_EQ(shopping->notePieces().size(), 3);
  const OxNoteItem::NotePiece* photo = shopping->notePieces()[1];
  EXPECT_EQ(photo->name, QStringLiteral("receipt.jpeg"));
  EXPECT_TRUE(photo->content.contains(QStringLiteral("-1-400x300-0"))) << photo->content.toStdString();
  EXPECT_EQ(photo->thumbnail.width(), 250); // 400 wide, capped
  EXPECT_EQ(shopping->getATText(), QStringLiteral("1 photo"));
  EXPECT_EQ(shopping->sortValue(OxNoteItem::ColDate).toDateTime(),
            QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC).addSecs(720000000));

  OxNoteItem* safe = byTitle(list, QStringLiteral("Safe combination"));
  ASSERT_TRUE(safe);
  EXPECT_FALSE(safe->flag(OxAbstractItem::ItemNoteLocked));
  EXPECT_TRUE(safe->value(OxNoteItem::ColNotes).contains(QStringLiteral("12-34-56")));
  ASSERT_EQ(safe->notePieces().size(), 2);
  // The sketch is decrypted, then turned by 180 degrees into a new picture.
  QImage turned(safe->notePieces()[1]->content);
  ASSERT_FALSE(turned.isNull());
  EXPECT_EQ(turned.size(), QSize(200, 100));
  EXPECT_EQ(turned.pixel(199, 99) & 0xffffff, 0xff0000u); // the marked corner moved
  EXPECT_EQ(safe->getATText(), QStringLiteral("Handwritten note"));

  OxNoteItem* diary = byTitle(list, QStringLiteral("Diary"));
  ASSERT_TRUE(diary);
  EXPECT_TRUE(diary->flag(OxAbstractItem::ItemNoteLocked));
  EXPECT_TRUE(diary->value(OxNoteItem::ColNotes).isEmpty());
  EXPECT_EQ(log.filter(QStringLiteral("newer scheme")).size(), 1);

  OxNoteItem* garden = byTitle(list, QStringLiteral("Garden"));
  ASSERT_TRUE(garden);
  ASSERT_EQ(garden->notePieces().size(), 3);
  // Stored sideways at 400x300 with a quarter-turn tag: turned upright first,
  // then capped in width.
  EXPECT_EQ(garden->notePieces()[1]->thumbnail.size(), QSize(250, 334));
  EXPECT_EQ(garden->value(OxNoteItem::ColNotes), QStringLiteral("Garden\nTomatoes by the wall\nWater daily"));
}

TEST_F(NoteBackup, WithoutThePasswordTheLockedNoteIsListedMarkedWithItsTitleOnly) {
  OxData list(7);
  load(sampleNoteFiles(), &list, {QStringLiteral("wrong")});
  OxNoteItem* safe = byTitle(list, QStringLiteral("Safe combination"));
  ASSERT_TRUE(safe);
  EXPECT_TRUE(safe->flag(OxAbstractItem::ItemNoteLocked));
  EXPECT_TRUE(safe->notePieces().isEmpty());
  EXPECT_EQ(safe->value(OxNoteItem::ColFolder), QStringLiteral("Notes"));
}

TEST_F(NoteBackup, MissingAndDamagedPartsLeaveWhatCanBeRead) {
  ModernNote n;
  n.identifier = QStringLiteral("E0000000-0000-4000-8000-000000000001");
  n.title = QStringLiteral("Pictures");
  n.text = QStringLiteral("Pictures\n\uFFFC\uFFFC\uFFFC");
  auto attachment = [](int id, const char* fileName, const QByteArray& data) {
    ModernAttachment a;
    a.identifier = QStringLiteral("E0000000-0000-4000-8000-00000000000%1").arg(id);
    a.mediaId = QStringLiteral("E0000000-0000-4000-8000-00000000000%1").arg(id + 1);
    a.fileName = QString::fromLatin1(fileName);
    a.mediaData = data;
    return a;
  };
  const ModernAttachment gone = attachment(2, "gone.jpeg", QByteArray()); // named, no file in the backup
  const ModernAttachment broken = attachment(4, "broken.jpeg", "not a picture");
  ModernAttachment movie = attachment(6, "clip.mov", "moov");
  movie.uti = QStringLiteral("com.apple.quicktime-movie");
  movie.previewId = movie.identifier + QStringLiteral("-1-64x64-0");
  movie.previewData = pngImage(64, 64, 0x000000);
  movie.orientedPreview = true;
  n.attachments << gone << broken << movie;
  LegacyNote legacy;
  legacy.guid = QStringLiteral("L1");
  legacy.title = QStringLiteral("Unclosed");
  legacy.html = QStringLiteral("<div><b>bold <i>never closed<object type=\"x\" data=\"cid:one\"></object>"
                               "<object type=\"x\" data=\"cid:TWO\"></object><div>tail");
  LegacyAttachment one;
  one.contentId = QStringLiteral("one");
  one.fileName = QStringLiteral("one.png");
  one.data = pngImage(10, 10, 0xffffff);
  LegacyAttachment two; // no row in ZNOTEATTACHMENT
  two.contentId = QStringLiteral("two");
  two.rowMissing = true;
  legacy.attachments << one << two;
  LegacyNote deleted;
  deleted.guid = QStringLiteral("L2");
  deleted.title = QStringLiteral("Deleted legacy");
  deleted.deleted = true;

  OxData list(7);
  load(modernFiles({n}, ModernLayout::Ios17) + legacyFiles({legacy, deleted}, {}), &list, {},
       QStringLiteral("iPad8,1"));
  EXPECT_EQ(titles(list), QStringList({"Pictures", "Unclosed"}));
  OxNoteItem* pictures = byTitle(list, QStringLiteral("Pictures"));
  ASSERT_TRUE(pictures);
  ASSERT_EQ(pictures->notePieces().size(), 4);
  EXPECT_TRUE(pictures->notePieces()[1]->content.isEmpty()); // not in the backup
  EXPECT_EQ(pictures->notePieces()[1]->name, QStringLiteral("gone.jpeg"));
  EXPECT_FALSE(pictures->notePieces()[2]->content.isEmpty());
  EXPECT_TRUE(pictures->notePieces()[2]->thumbnail.isNull()); // does not load
  const OxNoteItem::NotePiece* clip = pictures->notePieces()[3];
  EXPECT_TRUE(clip->content.contains(QStringLiteral("oriented")));
  EXPECT_TRUE(clip->moviePath.endsWith(QStringLiteral("clip.mov")));
  EXPECT_EQ(pictures->getATText(), QStringLiteral("3 attachments"));

  OxNoteItem* unclosed = byTitle(list, QStringLiteral("Unclosed"));
  ASSERT_TRUE(unclosed);
  EXPECT_EQ(unclosed->value(OxNoteItem::ColLocation), QStringLiteral("On My iPad"));
  ASSERT_EQ(unclosed->notePieces().size(), 3);
  EXPECT_EQ(unclosed->notePieces()[0]->content, QStringLiteral("\nbold never closed"));
  EXPECT_EQ(unclosed->notePieces()[1]->name, QStringLiteral("one.png"));
  EXPECT_EQ(unclosed->notePieces()[2]->content, QStringLiteral("\ntail"));
}

TEST_F(NoteBackup, NoStoreAtAllListsNothing) {
  OxData list(7);
  load({file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Preferences/x.plist"), "bplist00")}, &list);
  EXPECT_EQ(list.count(0), 0);
  // A modern store that is not one: the legacy pass still runs.
  LegacyNote n;
  n.guid = QStringLiteral("only");
  n.title = QStringLiteral("Only legacy");
  n.html = QStringLiteral("Only legacy");
  OxData list2(7);
  load(QList<StoredFile>{file(kNotesDomain, QStringLiteral("NoteStore.sqlite"), QByteArray(2048, 'x'))} +
           legacyFiles({n}, {}),
       &list2);
  EXPECT_EQ(titles(list2), QStringList({"Only legacy"}));
}

} // namespace
