// IosNote against the real stores and against synthetic stores of several
// schema generations written by the fixture builder.
#include "platform/notes/iosnote.h"

#include "platform/common/log.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Copies a real store with its companions into dir; false when absent.
bool copyRealStore(const char* name, const QTemporaryDir& dir) {
  const QString src = QStringLiteral(SHERD_REALDATA_DIR "/%1").arg(QLatin1String(name));
  if (!QFile::exists(src + QStringLiteral("/NoteStore.sqlite")))
    return false;
  for (const QString& f : QDir(src).entryList(QDir::Files)) {
    QFile::copy(src + QLatin1Char('/') + f, dir.filePath(f));
    QFile(dir.filePath(f)).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  }
  return true;
}

struct Expected {
  qint64 key;
  const char* title;
  const char* folder;
  bool deleted;
  bool locked;
  bool passcodeLocked;
  const char* textStart; // for unlocked notes
};

void checkStore(const char* name, const QList<Expected>& expected) {
  QTemporaryDir tmp;
  if (!copyRealStore(name, tmp))
    GTEST_SKIP() << "real data absent";
  QStringList logged;
  SherdLog::setSink([&](const char*, int, const QString& text) { logged << text; });
  IosNote store;
  ASSERT_EQ(store.loadNote(tmp.filePath("NoteStore.sqlite")), 0);
  EXPECT_EQ(store.unlockWithPasswords({QStringLiteral("not the password")}), 0);
  int lockedCount = 0;
  for (IosNote::CryptedNote* c : store.getCryptedNote()) {
    EXPECT_FALSE(c->unlocked);
    ++lockedCount;
  }
  store.buildNote();
  SherdLog::setSink(nullptr);
  ASSERT_EQ(store.noteCount(), unsigned(expected.size()));
  int expectedLocked = 0;
  for (int i = 0; i < expected.size(); ++i) {
    const Expected& e = expected[i];
    const IosNote::Note* n = store.getNote(unsigned(i));
    SCOPED_TRACE(e.title);
    EXPECT_EQ(n->key, e.key);
    EXPECT_EQ(n->title, QString::fromUtf8(e.title));
    EXPECT_EQ(n->folder, QString::fromUtf8(e.folder));
    EXPECT_EQ(n->account, QStringLiteral("iCloud"));
    EXPECT_EQ(n->deleted, e.deleted);
    EXPECT_EQ(n->locked, e.locked);
    EXPECT_EQ(n->passcodeLocked, e.passcodeLocked);
    EXPECT_EQ(n->identifier.size(), 36);
    EXPECT_GT(n->modified, 600000000);
    if (e.locked) {
      ++expectedLocked;
      EXPECT_TRUE(n->text.isEmpty());
      EXPECT_TRUE(n->pieces.isEmpty());
    } else if (!e.deleted) {
      EXPECT_TRUE(n->text.startsWith(QString::fromUtf8(e.textStart))) << n->text.toStdString();
      ASSERT_EQ(n->pieces.size(), 1);
      EXPECT_EQ(n->pieces[0].typeId, QStringLiteral("plain.text"));
      EXPECT_EQ(n->pieces[0].text, n->text);
    }
  }
  EXPECT_EQ(lockedCount, expectedLocked);
  EXPECT_EQ(store.getNote(store.noteCount()), nullptr);
  const bool passcode = std::any_of(expected.begin(), expected.end(), [](const Expected& e) { return e.passcodeLocked; });
  EXPECT_EQ(logged.filter(QStringLiteral("newer scheme")).size(), passcode ? 1 : 0);
}

TEST(IosNoteRealData, StoreWithTheOlderLockSchemeLoads) {
  checkStore("notes-ios13",
             {{8, "My Secret Note", "Notes", false, true, false, ""},
              {9, "iOS 14 Locked Note", "Notes", false, true, false, ""},
              {10, "My Super Secret Note", "My New Folder", false, true, false, ""},
              {11, "My First Note", "Notes", false, false, false, "My First Note\n\nThis is my first note."},
              {12, "iOS 14 Note", "Notes", false, false, false, "iOS 14 Note\n\nThis is a note created for iOS 14."},
              {29, "iOS 15 Note", "Notes", false, false, false, "iOS 15 Note\n\nHere is the test iOS 15 note."},
              {30, "", "Notes", true, false, false, ""},
              {31, "Secure iOS 15 Note", "Notes", false, true, false, ""}});
}

TEST(IosNoteRealData, StoreInItsWriteAheadLogWithPasscodeLockedNotesLoads) {
  checkStore("notes-ios17",
             {{9, "iOS 15 Note", "Notes", false, false, false, "iOS 15 Note\n\nHere is the test iOS 15 note."},
              {10, "My First Note", "Notes", false, false, false, "My First Note"},
              {14, "iOS 14 Note", "Notes", false, false, false, "iOS 14 Note"},
              {33, "iOS 16 Note", "Notes", false, false, false, "iOS 16 Note\n\nHere is my first iOS 16 note."},
              {35, "Secure iOS 15 Note", "Notes", false, true, true, ""},
              {36, "iOS 14 Locked Note", "Notes", false, true, true, ""},
              {37, "My Super Secret Note", "My New Folder", false, true, true, ""},
              {38, "My Secret Note", "Notes", false, true, true, ""},
              {39, "iOS 16 Secure Note", "Notes", false, true, true, ""},
              {40, "My iOS 17 Note", "Notes", false, false, false, "My iOS 17 Note\nTest note 1"},
              {41, "Shared iOS 17 Note", "Notes", false, false, false, "Shared iOS 17 Note\nMy shared iOS 17 note"},
              {42, "New Note", "Recently Deleted", true, false, false, ""},
              {43, "", "Recently Deleted", true, false, false, ""},
              {44, "iOS 17 Locked Note", "Notes", false, true, true, ""}});
}

TEST(IosNote, MissingOrForeignFilesFailWithACode) {
  SherdLog::silence();
  QTemporaryDir tmp;
  IosNote store;
  EXPECT_EQ(store.loadNote(tmp.filePath("absent.sqlite")), IosNote::CannotOpen);
  QFile junk(tmp.filePath("junk.sqlite"));
  ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
  junk.write(QByteArray(4096, 'j'));
  junk.close();
  EXPECT_NE(store.loadNote(junk.fileName()), IosNote::Ok);
  store.buildNote();
  EXPECT_EQ(store.noteCount(), 0u);
  SherdLog::toStderr();
}

} // namespace
