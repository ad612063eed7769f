#pragma once
// Writers of the three notes stores and their attachment files, for tests,
// benchmarks and the sample backup:
//  - the modern store (NoteStore.sqlite in AppDomainGroup-group.com.apple.notes)
//    in three schema generations, with plain, password-locked and
//    passcode-locked notes, attachments, previews and table data;
//  - notes.sqlite and notes.db in HomeDomain, with legacy attachment files.
#include "samples/backupfixture.h"

class QImage;

namespace fixture {
namespace notes {

const QString kNotesDomain = QStringLiteral("AppDomainGroup-group.com.apple.notes");

// Column and entity layouts of the modern store's generations: entity numbers
// and column suffixes differ, the iOS 11 layout joins notes to folders
// through a table and links bodies from the note side only.
enum class ModernLayout { Ios11, Ios15, Ios17 };

struct ModernAttachment {
  QString identifier; // in the body and on the attachment row
  QString uti = QStringLiteral("public.jpeg");
  QString mediaId;              // media folder name; empty: no media row
  QString fileName;             // the media file's name
  QByteArray mediaData;         // written to the backup when not empty
  QString previewId;            // empty: no preview row
  QByteArray previewData;       // written when not empty
  bool orientedPreview = false; // preview file named <id>-oriented.png
  int orientation = -1;         // ZORIENTATION; -1 writes NULL
  QString title;                // ZTITLE (link cards)
  QString url;                  // ZURLSTRING (link cards)
  QByteArray mergeable;         // ZMERGEABLEDATA1 (tables)
  bool inlineText = false;      // an inline attachment row (hashtag) with title as its text
  bool rowMissing = false;      // named in the body only
};

struct ModernNote {
  QString identifier;
  QString title;
  QString text; // U+FFFC marks each attachment, in order
  QString folder = QStringLiteral("Notes");
  QString account = QStringLiteral("iCloud"); // empty: the local account, without a name
  double modified = 700000000.0;
  bool markedForDeletion = false;
  bool inTrash = false;
  QString password;            // not empty: locked under the older scheme
  bool passcodeLocked = false; // locked under the newer scheme
  bool folderRowMissing = false;
  QList<ModernAttachment> attachments;
  bool rawBodySet = false; // store rawBody as ZDATA as it is
  QByteArray rawBody;
};

// The body blob of a text with its attachments (gzip-compressed when asked).
QByteArray bodyBlob(const QString& text, const QList<ModernAttachment>& attachments, bool compress = true);
// The mergeable data of a table of rows of cells (gzip-compressed).
QByteArray tableBlob(const QList<QStringList>& rows);
// A small PNG picture.
QByteArray pngImage(int width, int height, unsigned rgb);
// JPEG bytes of image with an EXIF segment, right after the start marker, that
// holds one tag: Orientation (0x0112) set to orientation (1 to 8). Cameras
// write it this way; Qt's own JPEG writer stores no orientation.
QByteArray jpegWithOrientation(const QImage& image, int orientation);

bool makeModernStore(const QList<ModernNote>& notes, ModernLayout layout, bool wal, QByteArray* db,
                     QByteArray* walBytes, QString* error);
// The store (with its log when wal) and every attachment file, ready for a backup.
QList<StoredFile> modernFiles(const QList<ModernNote>& notes, ModernLayout layout, bool wal = true);

struct LegacyAttachment {
  QString contentId;
  QString fileName;
  QString mimeType = QStringLiteral("image/jpeg");
  QByteArray data;         // empty: the row without a file in the backup
  bool rowMissing = false; // the body names it, ZNOTEATTACHMENT does not
};

struct LegacyNote {
  QString guid;
  QString title;
  QString html; // the body; <object data="cid:..."></object> tags for attachments
  double modified = 400000000.0;
  bool deleted = false; // marked deleted (ZDELETEDFLAG), still a row
  bool purged = false;  // written, then deleted from the store: only its bytes remain
  bool icloud = false;
  QList<LegacyAttachment> attachments;
};

// The statements that make notes.sqlite (Core Data) and notes.db, purged
// notes deleted last with secure_delete off.
QStringList legacySqliteStatements(const QList<LegacyNote>& notes);
QStringList legacyDbStatements(const QList<LegacyNote>& notes);

// notes.sqlite (when sqliteNotes is not empty), notes.db (when dbNotes is
// not empty) and the attachment files of the first.
QList<StoredFile> legacyFiles(const QList<LegacyNote>& sqliteNotes, const QList<LegacyNote>& dbNotes);

// The notes of the sample backup: every generation, attachments, one note
// locked with the password "sherd", one passcode-locked.
QList<StoredFile> sampleNoteFiles();
const QString kSamplePassword = QStringLiteral("sherd");

} // namespace notes
} // namespace fixture
