#include "platform/notes/iosnote.h"

#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "platform/notes/iosnote_p.h"

#include <QFile>

namespace notestore {
const char* const kModule = "IosNote";
} // namespace notestore

using namespace notestore;

struct IosNote::Private {
  NoteStoreRows rows;
  NoteUnlocker unlocker{&rows};
  QList<CryptedNote> crypted;
  QList<CryptedNote*> cryptedPtrs;
  QList<Note> built;
};

IosNote::IosNote() : d(new Private) {}

IosNote::~IosNote() = default;

int IosNote::loadNote(const QString& path) {
  d.reset(new Private);
  if (!QFile::exists(path)) {
    Log(kModule, 0, "no notes store at %s", qPrintable(path));
    return CannotOpen;
  }
  SqlDatabase db;
  if (!db.open(path)) {
    Log(kModule, 0, "cannot open the notes store %s", qPrintable(path));
    return CannotOpen;
  }
  NoteStoreReader reader(db, &d->rows);
  if (!reader.readSchema()) {
    Log(kModule, 0, "%s is not a notes store (no note entity)", qPrintable(path));
    return NotANoteStore;
  }
  if (!reader.readNotes()) {
    Log(kModule, 0, "the notes of %s cannot be read", qPrintable(path));
    return QueryFailed;
  }
  reader.readBodies();
  reader.readFolderJoinTable();
  reader.readFolders();
  reader.readAccounts();
  reader.readAttachments();
  reader.readMedia();
  reader.readPreviews();
  reader.readInlines();
  db.close();

  d->crypted = d->unlocker.markLocked();
  for (CryptedNote& c : d->crypted)
    d->cryptedPtrs.append(&c);
  return Ok;
}

int IosNote::unlockWithPasswords(const QStringList& passwords) { return d->unlocker.unlock(passwords, d->cryptedPtrs); }

QList<IosNote::CryptedNote*> IosNote::getCryptedNote() { return d->cryptedPtrs; }

void IosNote::buildNote() { d->built = NoteBuilder(d->rows).build(); }

unsigned IosNote::noteCount() const { return unsigned(d->built.size()); }

IosNote::Note* IosNote::getNote(unsigned index) {
  return index < unsigned(d->built.size()) ? &d->built[int(index)] : nullptr;
}

int IosNote::decryptAttach(qint64 keyId, const QString& src, const QString& dst) {
  return d->unlocker.decryptAttach(keyId, src, dst);
}
