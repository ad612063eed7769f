#pragma once
// IosNote: reads the modern notes store (NoteStore.sqlite, iOS 9 to 18) into
// notes with their folders, accounts and bodies, and opens password-protected
// notes and their attachment files with the user's passwords.
//
// The store is one wide Core Data table whose entity numbers and column
// suffixes move between iOS versions; loading resolves entities by name and
// picks each column by what the rows actually fill, so no version is assumed.
//
// Use: loadNote(path) once; unlockWithPasswords(list) (any number of times);
// buildNote(); then noteCount()/getNote(i). All records belong to the object.
// Nothing throws: damaged rows or bodies are logged (module "IosNote") and the
// note is kept with what could be read.
#include "platform/common/sherdglobal.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

class SHERD_EXPORT IosNote {
public:
  // One stretch of a note's body, in order: a text run ("plain.text") or an
  // attachment named by its type identifier.
  struct Piece {
    QString typeId;             // "plain.text" or a uniform type identifier ("public.jpeg")
    QString text;               // the run's text; for an attachment its title or summary
    qint64 number = 0;          // the attachment row's key, used to name rotated images
    QString name;               // the attachment's file name, when known
    qint64 previewKeyId = 0;    // key of the preview's row, for decryptAttach
    QString previewId;          // identifier that the preview file's path contains
    qint64 mediaKeyId = 0;      // key of the media's row, for decryptAttach
    QString mediaId;            // identifier that the media file's path contains
    int orientation = -1;       // 0 to 3, or -1 for none
  };

  struct Note {
    qint64 key = 0;      // the note's row key
    QString identifier;  // UUID text
    QString title;
    QString text;        // readable text, attachments left out
    QString folder;
    QString account;     // the account's name; empty for a note without a named account
    qint64 modified = 0; // whole seconds since 2001-01-01 UTC
    qint64 created = 0;
    bool deleted = false; // in the trash folder or marked for deletion
    bool locked = false;  // password-protected and not opened
    bool passcodeLocked = false; // locked under the scheme a backup alone cannot open
    QList<Piece> pieces;
  };

  struct CryptedNote {
    qint64 key = 0;
    bool unlocked = false;
  };

  // Error codes of loadNote.
  enum Error { Ok = 0, CannotOpen = 1, NotANoteStore = 2, QueryFailed = 3 };
  // Outcomes of decryptAttach.
  enum AttachResult {
    AttachDecrypted = 0,
    AttachNotEncrypted = 1,  // the row holds no encryption: the file is plain
    AttachNoPassword = 2,    // no password given opens the row's key
    AttachFileError = 3,     // the file cannot be read or written
    AttachUndecryptable = 4, // the key opens but the file does not decrypt
  };

  IosNote();
  ~IosNote();
  IosNote(const IosNote&) = delete;
  IosNote& operator=(const IosNote&) = delete;

  // Reads the store at path (a local copy; its -wal beside it is applied).
  int loadNote(const QString& path);
  // Tries every password on every protected note that is still locked;
  // returns how many notes it opened.
  int unlockWithPasswords(const QStringList& passwords);
  // The protected notes and whether they were opened.
  QList<CryptedNote*> getCryptedNote();
  // Assembles the notes (titles, texts, pieces) from what was read and opened.
  void buildNote();
  unsigned noteCount() const;
  Note* getNote(unsigned index);
  // Decrypts an attachment file of a protected note with the key of the row
  // keyId (a media, preview or drawing row); an AttachResult as int. On
  // failure dst is not left behind.
  int decryptAttach(qint64 keyId, const QString& src, const QString& dst);

private:
  struct Private;
  std::unique_ptr<Private> d;
};
