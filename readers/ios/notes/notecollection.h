#pragma once
// CNoteCollection: the notes of a backup, all three store generations in one
// pass: the modern store (read through IosNote, with locked notes, attachment
// files and previews), then the two legacy stores, skipping legacy notes that
// the modern store already listed, and (unless told not to, setRecoverDeleted)
// the legacy notes the phone deleted that the legacy stores still hold,
// flagged ItemDeleted.
#include "backup/cidatacollection.h"
#include "model/oxnoteitem.h"
#include "platform/notes/iosnote.h"
#include "readers/ios/notes/notefileindex.h"

#include <QSet>
#include <QString>
#include <QStringList>

class OxData;

class CNoteCollection : public CIDataCollection {
public:
  // list: the notes list (not owned); tempFolder: where decrypted and rotated
  // attachment images go, a folder under the temporary root (Utils::tempPath;
  // any other is replaced by one there, with a logged reason); deviceType:
  // names the on-device account.
  CNoteCollection(OxData* list, const QString& tempFolder, const QString& deviceType);
  ~CNoteCollection() override;

  void setNotePasswords(const QStringList& passwords) { m_passwords = passwords; }
  void load(MobileBackup* backup) override;

  // Identifiers (lower-case) of the modern store's notes of the last load.
  const QSet<QString>& modernIdentifiers() const { return m_modernIds; }

private:
  void loadModern();
  // An attachment piece of the modern store with its files found, decrypted,
  // turned upright and pictured.
  OxNoteItem::NotePiece* modernAttachment(IosNote& store, const IosNote::Piece& piece);
  // The file of the notes domain for an identifier, as the search rule says:
  // the last qualifying "oriented" file, else the first qualifying file.
  QString findAttachment(const QString& identifier, bool previews, bool* oriented);

  OxData* m_list;
  QString m_tempFolder;
  QString m_deviceType;
  MobileBackup* m_backup = nullptr;
  QSet<QString> m_modernIds;
  QStringList m_passwords;
  NoteFileIndex m_index;
  QString m_extractFolder;
  NoteFileCopies m_copies; // the attachment files copied in this load
};
