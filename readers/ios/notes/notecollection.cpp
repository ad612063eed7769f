#include "readers/ios/notes/notecollection.h"

#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "readers/ios/notes/notequeries.h"
#include "readers/ios/notes/notethumbnail.h"

#include <QDir>
#include <QFileInfo>

namespace {
const char* kModule = "CNoteCollection";
const QString kNotesDomain = QStringLiteral("AppDomainGroup-group.com.apple.notes");
const QString kHomeDomain = QStringLiteral("HomeDomain");
} // namespace

CNoteCollection::CNoteCollection(OxData* list, const QString& tempFolder, const QString& deviceType)
    : m_list(list), m_tempFolder(tempFolder), m_deviceType(deviceType) {
  // Decrypted images must not outlive the process: they go under the
  // temporary root, whatever folder the caller named.
  if (!Utils::isInsideTempPath(m_tempFolder)) {
    const QString fallback = Utils::tempPath() + QStringLiteral("NotesImages");
    Log(kModule, 0, "The notes scratch folder %s is outside the temporary root; %s is used instead",
        m_tempFolder.toLocal8Bit().constData(), fallback.toLocal8Bit().constData());
    m_tempFolder = fallback;
  }
}

CNoteCollection::~CNoteCollection() = default;

void CNoteCollection::load(MobileBackup* backup) {
  m_backup = backup;
  m_modernIds.clear();
  if (!backup || !m_list)
    return;
  const QString prefix = Utils::tempPath() + QStringLiteral("Notes");
  m_extractFolder = Utils::tempPath() + QStringLiteral("NotesFiles");
  // One index of the file list per load serves every attachment search.
  m_index.build(backup);
  m_copies.reset(backup, m_extractFolder);

  if (!backup->generalSqlDbFile(prefix, kNotesDomain, QStringLiteral("NoteStore.sqlite")).isEmpty())
    loadModern();

  QStringList legacy;
  for (const QString& rel : {QStringLiteral("Library/Notes/notes.db"), QStringLiteral("Library/Notes/notes.sqlite")}) {
    const QString path = backup->generalSqlDbFile(prefix, kHomeDomain, rel);
    if (!path.isEmpty() && QFileInfo::exists(path))
      legacy << path;
  }
  if (!legacy.isEmpty()) {
    CNoteQuery query(m_list, m_deviceType);
    query.setModernIdentifiers(m_modernIds);
    query.setRecoverDeleted(m_recoverDeleted);
    query.prepareAttachments(legacy, backup, &m_copies);
    query.query(legacy, m_progress);
  }
}

void CNoteCollection::loadModern() {
  QDir().mkpath(m_tempFolder);
  IosNote store;
  const QString path =
      m_backup->generalSqlDbFile(Utils::tempPath() + QStringLiteral("Notes"), kNotesDomain, QStringLiteral("NoteStore.sqlite"));
  const int rc = store.loadNote(path);
  if (rc != 0) {
    Log(kModule, 2, "parse ios9 note fail: %d", rc);
    return;
  }
  store.unlockWithPasswords(m_passwords);
  QSet<qint64> locked;
  for (const IosNote::CryptedNote* c : store.getCryptedNote())
    if (c && !c->unlocked)
      locked.insert(c->key);
  store.buildNote();
  for (unsigned i = 0; i < store.noteCount(); ++i) {
    const IosNote::Note* note = store.getNote(i);
    if (!note)
      continue;
    m_modernIds.insert(note->identifier.toLower());
    if (note->deleted)
      continue; // deleted notes of the modern store are never listed
    OxNoteItem* item = OxNoteItem::createItem();
    if (!item)
      continue;
    item->setValue(note->title, OxNoteItem::ColTitle);
    // A note without a named account lives on the device itself.
    if (note->account.isEmpty())
      item->updateLocationByDeviceType(m_deviceType);
    else
      item->setValue(note->account, OxNoteItem::ColLocation);
    item->setValue(note->folder, OxNoteItem::ColFolder);
    const QDateTime date = CCommonUtils::buildDateTimeBase2001(double(note->modified));
    item->setValue(CCommonUtils::datetimeToMinute(date, true), OxNoteItem::ColDate);
    item->setSortValue(date, OxNoteItem::ColDate);
    item->setValue(note->text, OxNoteItem::ColNotes);
    if (locked.contains(note->key))
      item->setFlag(true, OxAbstractItem::ItemNoteLocked);
    QList<OxNoteItem::NotePiece*> pieces;
    for (const IosNote::Piece& p : note->pieces) {
      if (p.typeId == QLatin1String("plain.text")) {
        auto* piece = new OxNoteItem::NotePiece;
        piece->kind = OxNoteItem::NotePiece::Text;
        piece->content = p.text;
        piece->typeId = p.typeId;
        piece->text = p.text;
        pieces << piece;
      } else {
        pieces << modernAttachment(store, p);
        item->addAttachment(p.typeId);
      }
    }
    item->setNotePieces(pieces);
    item->setSize(0);
    m_list->append(item);
  }
}

OxNoteItem::NotePiece* CNoteCollection::modernAttachment(IosNote& store, const IosNote::Piece& p) {
  auto* piece = new OxNoteItem::NotePiece;
  piece->kind = OxNoteItem::NotePiece::Attachment;
  piece->typeId = p.typeId;
  piece->text = p.text;
  piece->pieceName = p.name;
  piece->previewId = p.previewId;
  piece->mediaId = p.mediaId;
  piece->name = !p.name.isEmpty() ? p.name : QFileInfo(p.mediaId).fileName();

  bool oriented = false;
  // A found file of a locked note is replaced by its decrypted copy; a plain
  // one (or one that does not decrypt) is used as found.
  auto decrypted = [&](const QString& found, qint64 keyId) {
    const QString dest = CCommonUtils::uniqFileName(m_tempFolder, QFileInfo(found).fileName());
    return store.decryptAttach(keyId, found, dest) == IosNote::AttachDecrypted ? dest : found;
  };
  QString mediaPath;
  if (!p.mediaId.isEmpty()) {
    const QString found = findAttachment(p.mediaId, false, &oriented);
    if (!found.isEmpty())
      mediaPath = decrypted(found, p.mediaKeyId);
  }
  QString previewPath;
  if (!p.previewId.isEmpty()) {
    const QString found = findAttachment(p.previewId, true, &oriented);
    if (!found.isEmpty())
      previewPath = decrypted(found, p.previewKeyId);
  }
  if (previewPath.isEmpty())
    previewPath = mediaPath;
  if (!previewPath.isEmpty()) {
    const bool drawing = p.typeId == QLatin1String("com.apple.notes.sketch") ||
                         p.typeId == QLatin1String("com.apple.drawing") ||
                         p.typeId == QLatin1String("com.apple.drawing.2");
    if (!oriented && drawing && p.orientation != -1)
      previewPath = NoteThumbnail::rotate(previewPath, p.orientation, p.number, m_tempFolder);
    piece->content = previewPath;
  }
  if (p.typeId.contains(QLatin1String("com.apple.quicktime-movie")))
    piece->moviePath = mediaPath;
  piece->thumbnail = NoteThumbnail::load(piece->content);
  return piece;
}

QString CNoteCollection::findAttachment(const QString& identifier, bool previews, bool* oriented) {
  // The file taken is the last upright one (its path says "oriented") that
  // can be copied, else the first one that can: later files only replace the
  // first one when they are already upright. Tried in that order, so that
  // only the file taken is copied.
  QVector<int> upright;
  QVector<int> others;
  for (int index : m_index.find(kNotesDomain, identifier)) {
    const BackupFileRecord r = m_backup->fileAt(index);
    if (r.relativePath.contains(QLatin1String("/Previews/")) != previews)
      continue;
    (r.relativePath.contains(QLatin1String("oriented")) ? upright : others).append(index);
  }
  for (auto it = upright.crbegin(); it != upright.crend(); ++it) {
    const QString local = m_copies.copy(*it);
    if (!local.isEmpty()) {
      *oriented = true;
      return local;
    }
  }
  for (int index : qAsConst(others)) {
    const QString local = m_copies.copy(index);
    if (!local.isEmpty()) {
      *oriented = false;
      return local;
    }
  }
  return QString();
}
