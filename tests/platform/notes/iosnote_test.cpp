// IosNote against the real stores and against synthetic stores of several
// schema generations written by the fixture builder.
#include "platform/notes/iosnote.h"

#include "platform/common/log.h"
#include "samples/apps/notes.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

void writeFile(const QString& path, const QByteArray& bytes) {
  QFile f(path);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
  f.write(bytes);
}

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

// Counts of notes, locked, passcode-locked and deleted ones, and the text of
// one unlocked note.
struct Expected {
  unsigned notes, locked, passcodeLocked, deleted;
  unsigned sample; // an unlocked note
  const char* sampleText;
};

void checkStore(const char* name, const Expected& e) {
  QTemporaryDir tmp;
  if (!copyRealStore(name, tmp))
    GTEST_SKIP() << "real data absent";
  QStringList logged;
  SherdLog::setSink([&](const char*, int, const QString& text) { logged << text; });
  IosNote store;
  ASSERT_EQ(store.loadNote(tmp.filePath("NoteStore.sqlite")), 0);
  EXPECT_EQ(store.unlockWithPasswords({QStringLiteral("not the password")}), 0);
  EXPECT_EQ(unsigned(store.getCryptedNote().size()), e.locked);
  store.buildNote();
  SherdLog::setSink(nullptr);
  ASSERT_EQ(store.noteCount(), e.notes);
  unsigned locked = 0, passcode = 0, deleted = 0;
  for (unsigned i = 0; i < store.noteCount(); ++i) {
    const IosNote::Note* n = store.getNote(i);
    locked += n->locked;
    passcode += n->passcodeLocked;
    deleted += n->deleted;
    EXPECT_TRUE(!n->locked || n->text.isEmpty()) << qPrintable(n->title);
  }
  EXPECT_EQ(locked, e.locked);
  EXPECT_EQ(passcode, e.passcodeLocked);
  EXPECT_EQ(deleted, e.deleted);
  EXPECT_TRUE(store.getNote(e.sample)->text.startsWith(QString::fromUtf8(e.sampleText)));
  EXPECT_EQ(logged.filter(QStringLiteral("newer scheme")).size(), e.passcodeLocked ? 1 : 0);
}

TEST(IosNoteRealData, StoreWithTheOlderLockSchemeLoads) {
  checkStore("notes-ios13", {8, 4, 0, 1, 3, "My First Note\n\nThis is my first note."});
}

TEST(IosNoteRealData, StoreInItsWriteAheadLogWithPasscodeLockedNotesLoads) {
  checkStore("notes-ios17", {14, 6, 6, 2, 9, "My iOS 17 Note\nTest note 1"});
}

TEST(IosNote, MissingOrForeignFilesFailWithACode) {
  SherdLog::silence();
  QTemporaryDir tmp;
  IosNote store;
  EXPECT_EQ(store.loadNote(tmp.filePath("absent.sqlite")), IosNote::CannotOpen);
  writeFile(tmp.filePath("junk.sqlite"), QByteArray(4096, 'j'));
  EXPECT_NE(store.loadNote(tmp.filePath("junk.sqlite")), IosNote::Ok);
  store.buildNote();
  EXPECT_EQ(store.noteCount(), 0u);
  SherdLog::toStderr();
}

using fixture::notes::ModernAttachment;
using fixture::notes::ModernLayout;
using fixture::notes::ModernNote;

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
    EXPECT_EQ(plain->modified, 700000000);
    ASSERT_EQ(plain->pieces.size(), 3);
    const IosNote::Piece& photo = plain->pieces[1];
    EXPECT_EQ(photo.mediaId, uuid('3'));
    EXPECT_EQ(photo.previewId, uuid('2') + QStringLiteral("-1-64x48-0"));
    EXPECT_EQ(photo.orientation, 2);
    EXPECT_EQ(plain->text, QStringLiteral("Plain\nbefore  after #tag\na\tb\nc\td\n"));

    EXPECT_EQ(store.getNote(1)->text, QStringLiteral("Locked\nsecret"));
    EXPECT_TRUE(store.getNote(2)->locked && store.getNote(2)->passcodeLocked);
    EXPECT_EQ(store.getNote(3)->folder, QStringLiteral("Recently Deleted"));
    EXPECT_TRUE(store.getNote(4)->deleted);
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
  ASSERT_EQ(store.noteCount(), 3u);
  // A body that does not decode gives way to the stored summary.
  EXPECT_EQ(store.getNote(1)->text, QStringLiteral("summary of truncated gzip"));
  const IosNote::Note* orphanNote = store.getNote(2);
  EXPECT_EQ(orphanNote->account, QStringLiteral("iCloud")); // from the note's own account column
  ASSERT_EQ(orphanNote->pieces.size(), 2);
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
  EXPECT_EQ(store.unlockWithPasswords({QStringLiteral("open sesame")}), 1);
  store.buildNote();
  const IosNote::Piece piece = store.getNote(0)->pieces.value(1);
  ASSERT_EQ(piece.mediaId, photo.mediaId);
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
