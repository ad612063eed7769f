// IosNote against the real stores and against synthetic stores of several
// schema generations written by the fixture builder.
#include "platform/notes/iosnote.h"

#include "platform/common/log.h"

#include <QDir>
#include <QFile>
#include <QMap>
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
  const bool passcode =
      std::any_of(expected.begin(), expected.end(), [](const Expected& e) { return e.passcodeLocked; });
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

// --- synthetic stores --------------------------------------------------------

#include "tests/support/apps/notes.h"

namespace {

using fixture::notes::ModernAttachment;
using fixture::notes::ModernLayout;
using fixture::notes::ModernNote;

void writeFile(const QString& path, const QByteArray& bytes) {
  QFile f(path);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
  f.write(bytes);
}

// Writes the store (and its log) into dir and loads it.
bool loadSynthetic(IosNote* store, const QList<ModernNote>& notes, ModernLayout layout, const QTemporaryDir& dir) {
  QByteArray db, wal;
  QString error;
  if (!fixture::notes::makeModernStore(notes, layout, true, &db, &wal, &error))
    return false;
  writeFile(dir.filePath("NoteStore.sqlite"), db);
  writeFile(dir.filePath("NoteStore.sqlite-wal"), wal);
  return store->loadNote(dir.filePath("NoteStore.sqlite")) == IosNote::Ok;
}

// An identifier made of one repeated hex digit, in the shape the store uses.
QString uuid(char c) {
  const QString d(1, QLatin1Char(c));
  return QStringLiteral("%1-%2-4%3-8%3-%4").arg(d.repeated(8), d.repeated(4), d.repeated(3), d.repeated(12));
}

ModernNote note(char id, const char* title, const char* text) {
  ModernNote n;
  n.identifier = uuid(id);
  n.title = QString::fromUtf8(title);
  n.text = QString::fromUtf8(text);
  return n;
}

// A note with a photo, an inline hashtag and a table; one locked with a
// password; one locked under the passcode scheme; one in the recently deleted
// folder; one of the local account marked for deletion.
QList<ModernNote> mixedNotes() {
  ModernNote plain = note('1', "Plain", "Plain\nbefore \uFFFC after \uFFFC\n\uFFFC");
  ModernAttachment photo, hashtag, table;
  photo.identifier = uuid('2');
  photo.mediaId = uuid('3');
  photo.fileName = QStringLiteral("photo.jpeg");
  photo.previewId = photo.identifier + QStringLiteral("-1-64x48-0");
  photo.orientation = 2;
  hashtag.identifier = uuid('4');
  hashtag.uti = QStringLiteral("com.apple.notes.inlinetextattachment.hashtag");
  hashtag.inlineText = true;
  hashtag.title = QStringLiteral("#tag");
  table.identifier = uuid('5');
  table.uti = QStringLiteral("com.apple.notes.table");
  table.mergeable = fixture::notes::tableBlob(
      {{QStringLiteral("a"), QStringLiteral("b")}, {QStringLiteral("c"), QStringLiteral("d")}});
  plain.attachments << photo << hashtag << table;
  ModernNote locked = note('6', "Locked", "Locked\nsecret");
  locked.password = QStringLiteral("pässword");
  locked.folder = QStringLiteral("Private");
  ModernNote passcode = note('7', "Passcode", "");
  passcode.passcodeLocked = true;
  ModernNote trash = note('8', "Trash", "Trash");
  trash.inTrash = true;
  ModernNote local = note('9', "Local", "Local");
  local.account = QString();
  local.markedForDeletion = true;
  return {plain, locked, passcode, trash, local};
}

TEST(IosNote, EverySchemaGenerationReadsTheSameNotes) {
  const struct {
    const char* name;
    ModernLayout layout;
  } layouts[] = {{"iOS 11", ModernLayout::Ios11}, {"iOS 15", ModernLayout::Ios15}, {"iOS 17", ModernLayout::Ios17}};
  for (const auto& l : layouts) {
    SCOPED_TRACE(l.name);
    QTemporaryDir dir;
    IosNote store;
    SherdLog::silence();
    ASSERT_TRUE(loadSynthetic(&store, mixedNotes(), l.layout, dir));
    // The password as typed in decomposed form still opens the note.
    EXPECT_EQ(store.unlockWithPasswords({QStringLiteral("nope"), QString::fromUtf8("pa\xcc\x88ssword")}), 1);
    store.buildNote();
    SherdLog::toStderr();
    ASSERT_EQ(store.noteCount(), 5u);

    const IosNote::Note* plain = store.getNote(0);
    EXPECT_EQ(plain->folder, QStringLiteral("Notes"));
    EXPECT_EQ(plain->account, QStringLiteral("iCloud"));
    EXPECT_EQ(plain->modified, 700000000);
    EXPECT_EQ(plain->created, 699999000);
    ASSERT_EQ(plain->pieces.size(), 3);
    EXPECT_EQ(plain->pieces[0].text, QStringLiteral("Plain\nbefore "));
    const IosNote::Piece& photo = plain->pieces[1];
    EXPECT_EQ(photo.typeId, QStringLiteral("public.jpeg"));
    EXPECT_EQ(photo.name, QStringLiteral("photo.jpeg"));
    EXPECT_EQ(photo.mediaId, uuid('3'));
    EXPECT_EQ(photo.previewId, uuid('2') + QStringLiteral("-1-64x48-0"));
    EXPECT_EQ(photo.orientation, 2);
    EXPECT_NE(photo.number, 0);
    EXPECT_EQ(plain->pieces[2].text, QStringLiteral(" after #tag\na\tb\nc\td\n"));
    EXPECT_EQ(plain->text, plain->pieces[0].text + plain->pieces[2].text);

    const IosNote::Note* locked = store.getNote(1);
    EXPECT_FALSE(locked->locked);
    EXPECT_EQ(locked->folder, QStringLiteral("Private"));
    EXPECT_EQ(locked->text, QStringLiteral("Locked\nsecret"));
    const IosNote::Note* passcode = store.getNote(2);
    EXPECT_TRUE(passcode->locked && passcode->passcodeLocked);
    EXPECT_EQ(passcode->title, QStringLiteral("Passcode"));
    EXPECT_TRUE(passcode->text.isEmpty());
    EXPECT_TRUE(store.getNote(3)->deleted);
    EXPECT_EQ(store.getNote(3)->folder, QStringLiteral("Recently Deleted"));
    EXPECT_TRUE(store.getNote(4)->deleted);
    EXPECT_TRUE(store.getNote(4)->account.isEmpty());

    QMap<qint64, bool> crypted;
    for (const IosNote::CryptedNote* c : store.getCryptedNote())
      crypted.insert(c->key, c->unlocked);
    EXPECT_EQ(crypted.size(), 2);
    EXPECT_TRUE(crypted.value(locked->key));
    EXPECT_FALSE(crypted.value(passcode->key, true));
  }
}

// Bodies that do not decode, a note without its folder row and an attachment
// without its row: the note is still listed with what could be read.
TEST(IosNote, DamagedRowsKeepTheRestOfTheNote) {
  QList<ModernNote> notes;
  const struct {
    const char* name;
    QByteArray body;
  } bodies[] = {
      {"not compressed, not a document", QByteArray("\xff\xfe\xfd\xfc", 4)},
      {"truncated gzip", fixture::notes::bodyBlob(QStringLiteral("Some text here"), {}).left(15)},
      {"empty body", QByteArray("")},
  };
  for (const auto& b : bodies) {
    ModernNote n = note(char('a' + notes.size()), b.name, "");
    n.text = QStringLiteral("summary of %1").arg(b.name);
    n.rawBodySet = true;
    n.rawBody = b.body;
    notes << n;
  }
  ModernNote orphan = note('d', "No folder row", "No folder row\n\uFFFC");
  orphan.folderRowMissing = true;
  ModernAttachment ghost;
  ghost.identifier = uuid('e');
  ghost.rowMissing = true;
  orphan.attachments << ghost;
  notes << orphan;

  QTemporaryDir dir;
  IosNote store;
  QStringList logged;
  SherdLog::setSink([&](const char*, int, const QString& text) { logged << text; });
  ASSERT_TRUE(loadSynthetic(&store, notes, ModernLayout::Ios15, dir));
  store.unlockWithPasswords({});
  store.buildNote();
  SherdLog::setSink(nullptr);
  ASSERT_EQ(store.noteCount(), 4u);
  // A body that does not decode gives way to the stored summary.
  EXPECT_EQ(store.getNote(0)->text, QStringLiteral("summary of not compressed, not a document").left(40));
  EXPECT_EQ(store.getNote(1)->text, QStringLiteral("summary of truncated gzip"));
  EXPECT_TRUE(store.getNote(2)->text.isEmpty());
  EXPECT_EQ(store.getNote(2)->title, QStringLiteral("empty body"));
  const IosNote::Note* orphanNote = store.getNote(3);
  EXPECT_TRUE(orphanNote->folder.isEmpty());
  EXPECT_EQ(orphanNote->account, QStringLiteral("iCloud")); // from the note's own account column
  ASSERT_EQ(orphanNote->pieces.size(), 2);
  EXPECT_EQ(orphanNote->pieces[1].typeId, QStringLiteral("public.jpeg"));
  EXPECT_TRUE(orphanNote->pieces[1].mediaId.isEmpty());
  EXPECT_EQ(logged.filter(QStringLiteral("summary stands for the body")).size(), 2);
  EXPECT_EQ(logged.filter(QStringLiteral("no folder row")).size(), 1);
}

TEST(IosNote, AttachmentFilesOfALockedNoteDecryptWithItsPassword) {
  ModernNote n = note('f', "Locked photo", "Locked photo\n\uFFFC");
  n.password = QStringLiteral("open sesame");
  ModernAttachment photo;
  photo.identifier = uuid('a');
  photo.mediaId = uuid('b');
  photo.fileName = QStringLiteral("p.png");
  photo.mediaData = fixture::notes::pngImage(8, 8, 0x123456);
  n.attachments << photo;
  QTemporaryDir dir;
  IosNote store;
  ASSERT_TRUE(loadSynthetic(&store, {n}, ModernLayout::Ios17, dir));
  // The encrypted file as the backup holds it.
  QByteArray encrypted;
  for (const fixture::StoredFile& f : fixture::notes::modernFiles({n}, ModernLayout::Ios17))
    if (f.relativePath.contains(photo.mediaId))
      encrypted = f.data;
  ASSERT_FALSE(encrypted.isEmpty());
  const QString src = dir.filePath("media.bin");
  writeFile(src, encrypted);

  SherdLog::silence();
  EXPECT_EQ(store.unlockWithPasswords({QStringLiteral("wrong")}), 0);
  store.buildNote();
  EXPECT_TRUE(store.getNote(0)->locked);
  EXPECT_EQ(store.decryptAttach(42424242, src, dir.filePath("x")), 1); // no such key
  EXPECT_EQ(store.unlockWithPasswords({QStringLiteral("open sesame")}), 1);
  store.buildNote();
  const IosNote::Piece piece = store.getNote(0)->pieces.value(1);
  ASSERT_EQ(piece.mediaId, photo.mediaId);
  EXPECT_EQ(store.decryptAttach(piece.mediaKeyId, dir.filePath("absent"), dir.filePath("out.png")), 3);
  ASSERT_EQ(store.decryptAttach(piece.mediaKeyId, src, dir.filePath("out.png")), 0);
  QFile out(dir.filePath("out.png"));
  ASSERT_TRUE(out.open(QIODevice::ReadOnly));
  EXPECT_EQ(out.readAll(), photo.mediaData);
  // A damaged file does not decrypt and leaves nothing behind.
  encrypted[5] = char(encrypted[5] ^ 1);
  writeFile(src, encrypted);
  EXPECT_EQ(store.decryptAttach(piece.mediaKeyId, src, dir.filePath("bad.png")), 4);
  EXPECT_FALSE(QFile::exists(dir.filePath("bad.png")));
  SherdLog::toStderr();
}

} // namespace
