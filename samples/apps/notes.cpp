#include "samples/apps/notes.h"

#include "platform/backup/backupcrypto.h"

#include "samples/sqlitefile.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QHash>
#include <QImage>
#include <QUrl>
#include <openssl/evp.h>
#include <zlib.h>

namespace fixture {
namespace notes {

namespace {

// --- protocol-buffer writing ------------------------------------------------

void varint(QByteArray& out, quint64 v) {
  while (v >= 0x80) {
    out += char((v & 0x7f) | 0x80);
    v >>= 7;
  }
  out += char(v);
}

void field(QByteArray& out, int number, quint64 v) {
  varint(out, quint64(number) << 3);
  varint(out, v);
}

void bytesField(QByteArray& out, int number, const QByteArray& bytes) {
  varint(out, (quint64(number) << 3) | 2);
  varint(out, quint64(bytes.size()));
  out += bytes;
}

QByteArray gzip(const QByteArray& raw) {
  z_stream zs{};
  deflateInit2(&zs, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  QByteArray out(int(deflateBound(&zs, uLong(raw.size()))) + 64, '\0');
  zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(raw.constData()));
  zs.avail_in = uInt(raw.size());
  zs.next_out = reinterpret_cast<Bytef*>(out.data());
  zs.avail_out = uInt(out.size());
  deflate(&zs, Z_FINISH);
  out.resize(int(zs.total_out));
  deflateEnd(&zs);
  return out;
}

// A text document message: the text and its runs (text runs, and one run of
// length 1 for each U+FFFC, naming the next attachment).
QByteArray textDocument(const QString& text, const QList<ModernAttachment>& attachments) {
  QByteArray doc;
  bytesField(doc, 2, text.toUtf8());
  int next = 0;
  int runStart = 0;
  auto textRun = [&](int end) {
    if (end > runStart) {
      QByteArray run;
      field(run, 1, quint64(end - runStart));
      bytesField(doc, 5, run);
    }
  };
  for (int i = 0; i < text.size(); ++i) {
    if (text.at(i) != QChar(0xFFFC))
      continue;
    textRun(i);
    QByteArray run;
    field(run, 1, 1);
    if (next < attachments.size()) {
      QByteArray info;
      bytesField(info, 1, attachments.at(next).identifier.toUtf8());
      bytesField(info, 2, attachments.at(next).uti.toUtf8());
      bytesField(run, 12, info);
      ++next;
    }
    bytesField(doc, 5, run);
    runStart = i + 1;
  }
  textRun(text.size());
  return doc;
}

// --- encryption -------------------------------------------------------------

QByteArray derived(const QByteArray& seed, int length) {
  return QCryptographicHash::hash(seed, QCryptographicHash::Sha256).left(length);
}

void gcm(const QByteArray& key, const QByteArray& iv, const QByteArray& plain, QByteArray* cipher, QByteArray* tag) {
  EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
  EVP_EncryptInit_ex(ctx, EVP_aes_128_gcm(), nullptr, nullptr, nullptr);
  EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_SET_IVLEN, iv.size(), nullptr);
  EVP_EncryptInit_ex(ctx, nullptr, nullptr, reinterpret_cast<const unsigned char*>(key.constData()),
                     reinterpret_cast<const unsigned char*>(iv.constData()));
  QByteArray out(plain.size() + 16, '\0');
  int len = 0, fin = 0;
  EVP_EncryptUpdate(ctx, reinterpret_cast<unsigned char*>(out.data()), &len,
                    reinterpret_cast<const unsigned char*>(plain.constData()), plain.size());
  EVP_EncryptFinal_ex(ctx, reinterpret_cast<unsigned char*>(out.data()) + len, &fin);
  out.resize(len + fin);
  QByteArray t(16, '\0');
  EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_GET_TAG, 16, t.data());
  EVP_CIPHER_CTX_free(ctx);
  *cipher = out;
  *tag = t;
}

// What one locked thing stores: its salt, count, wrapped key, nonce, tag and
// the encrypted bytes.
struct Sealed {
  QByteArray salt, wrapped, iv, tag, data;
  int iterations = 0;
};

const int kIterations = 20000;

Sealed seal(const QString& password, const QByteArray& salt, const QByteArray& seed, const QByteArray& plain) {
  Sealed s;
  s.salt = salt;
  s.iterations = kIterations;
  static QHash<QByteArray, QByteArray> kekCache;
  const QByteArray cacheKey = password.toUtf8() + '\0' + salt;
  if (!kekCache.contains(cacheKey)) {
    QByteArray kek;
    BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha256, password.toUtf8(), salt, kIterations, 16, &kek);
    kekCache.insert(cacheKey, kek);
  }
  const QByteArray key = derived(seed + "key", 16);
  BackupCrypto::aesWrap(kekCache.value(cacheKey), key, &s.wrapped);
  s.iv = derived(seed + "iv", 16);
  gcm(key, s.iv, plain, &s.data, &s.tag);
  return s;
}

// --- SQL writing ------------------------------------------------------------

QString q(const QString& s) {
  return s.isNull() ? QStringLiteral("NULL") : QStringLiteral("'%1'").arg(QString(s).replace('\'', "''"));
}
QString blob(const QByteArray& b) {
  return b.isNull() ? QStringLiteral("NULL") : QStringLiteral("X'%1'").arg(QString::fromLatin1(b.toHex()));
}
QString num(double v) { return QString::number(v, 'f', 6); }

struct Layout {
  QHash<QString, int> ent;
  QString noteAccount, folderAccount, created;
  bool joinTable = false;   // notes to folders through Z_<n>NOTES
  bool bodyBackLink = true; // ZICNOTEDATA.ZNOTE present
};

Layout layoutOf(ModernLayout l) {
  Layout out;
  switch (l) {
  case ModernLayout::Ios11:
    out.ent = {{"ICAttachment", 2}, {"ICAttachmentPreviewImage", 3}, {"ICInlineAttachment", 4}, {"ICMedia", 5},
               {"ICNote", 8},       {"ICNoteContainer", 9},          {"ICAccount", 10},         {"ICFolder", 11},
               {"ICNoteData", 14}};
    out.noteAccount = QStringLiteral("ZACCOUNT2");
    out.folderAccount = QStringLiteral("ZACCOUNT3");
    out.created = QStringLiteral("ZCREATIONDATE1");
    out.joinTable = true;
    out.bodyBackLink = false;
    break;
  case ModernLayout::Ios15:
    out.ent = {{"ICAttachment", 4}, {"ICAttachmentPreviewImage", 5}, {"ICInlineAttachment", 8}, {"ICMedia", 10},
               {"ICNote", 11},      {"ICNoteContainer", 12},         {"ICAccount", 13},         {"ICFolder", 14},
               {"ICNoteData", 17}};
    out.noteAccount = QStringLiteral("ZACCOUNT4");
    out.folderAccount = QStringLiteral("ZACCOUNT5");
    out.created = QStringLiteral("ZCREATIONDATE3");
    break;
  case ModernLayout::Ios17:
    out.ent = {{"ICAttachment", 4},
               {"ICAttachmentPreviewImage", 5},
               {"ICInlineAttachment", 8},
               {"ICMedia", 10},
               {"ICNote", 11},
               {"ICNoteContainer", 12},
               {"ICAccount", 13},
               {"ICFolder", 14},
               {"ICInvitation", 15},
               {"ICNoteData", 18}};
    out.noteAccount = QStringLiteral("ZACCOUNT7");
    out.folderAccount = QStringLiteral("ZACCOUNT8");
    out.created = QStringLiteral("ZCREATIONDATE3");
    break;
  }
  return out;
}

QString accountIdOf(const QString& name) {
  return name.isEmpty() ? QStringLiteral("LocalAccount")
                        : QString::fromLatin1(derived(name.toUtf8(), 16).toHex())
                              .toUpper()
                              .insert(8, '-')
                              .insert(13, '-')
                              .insert(18, '-')
                              .insert(23, '-');
}

QByteArray accountSalt(const QString& account) { return derived("salt" + account.toUtf8(), 16); }

QString mediaFilePath(const ModernNote& n, const ModernAttachment& a) {
  const QString name = n.password.isEmpty() ? a.fileName : a.mediaId;
  return QStringLiteral("Accounts/%1/Media/%2/%3").arg(accountIdOf(n.account), a.mediaId, name);
}

QString previewFilePath(const ModernNote& n, const ModernAttachment& a) {
  QString name = a.previewId + (a.orientedPreview ? QStringLiteral("-oriented.png") : QStringLiteral(".png"));
  if (!n.password.isEmpty())
    name += QStringLiteral(".encrypted");
  return QStringLiteral("Accounts/%1/Previews/%2").arg(accountIdOf(n.account), name);
}

} // namespace

QByteArray bodyBlob(const QString& text, const QList<ModernAttachment>& attachments, bool compress) {
  QByteArray document;
  field(document, 2, 0);
  bytesField(document, 3, textDocument(text, attachments));
  QByteArray top;
  field(top, 1, 0);
  bytesField(top, 2, document);
  return compress ? gzip(top) : top;
}

QByteArray tableBlob(const QList<QStringList>& rows) {
  // Objects: 0 the table map, 1 rows ordered set, 2 columns ordered set,
  // 3 cellColumns dictionary, then one identity map per row and column, one
  // row dictionary per column, one note per cell.
  const int nRows = rows.size();
  int nCols = 0;
  for (const QStringList& r : rows)
    nCols = qMax(nCols, r.size());
  QByteArray data;
  QList<QByteArray> entries;
  QList<QByteArray> uuids;
  for (int i = 0; i < nRows + nCols; ++i)
    uuids << derived("uuid" + QByteArray::number(i), 16);
  auto objectRef = [](int index) {
    QByteArray ref;
    field(ref, 6, quint64(index));
    return ref;
  };
  auto identityMap = [&](int uuidIndex) {
    QByteArray ref;
    field(ref, 2, quint64(uuidIndex));
    QByteArray entry;
    field(entry, 1, 0);
    bytesField(entry, 2, ref);
    QByteArray map;
    field(map, 1, 1); // type: NSUUID
    bytesField(map, 3, entry);
    QByteArray e;
    bytesField(e, 13, map);
    return e;
  };
  const int firstIdentity = 4;
  const int firstRowDict = firstIdentity + nRows + nCols;
  const int firstCell = firstRowDict + nCols;
  auto orderedSet = [&](int first, int count) {
    QByteArray array;
    for (int i = 0; i < count; ++i) {
      QByteArray item;
      field(item, 1, quint64(i));
      bytesField(item, 2, uuids.at(first + i));
      bytesField(array, 2, item);
    }
    QByteArray dict;
    for (int i = 0; i < count; ++i) {
      QByteArray el;
      bytesField(el, 1, objectRef(firstIdentity + first + i));
      bytesField(el, 2, objectRef(firstIdentity + first + i));
      bytesField(dict, 1, el);
    }
    QByteArray ordering;
    bytesField(ordering, 1, array);
    bytesField(ordering, 2, dict);
    QByteArray set;
    bytesField(set, 1, ordering);
    QByteArray e;
    bytesField(e, 16, set);
    return e;
  };
  // 0: the table
  {
    QByteArray map;
    field(map, 1, 0); // com.apple.notes.ICTable
    const QList<QPair<int, int>> parts = {{0, 1}, {1, 2}, {2, 3}};
    for (const auto& p : parts) {
      QByteArray me;
      field(me, 1, quint64(p.first));
      bytesField(me, 2, objectRef(p.second));
      bytesField(map, 3, me);
    }
    QByteArray e;
    bytesField(e, 13, map);
    entries << e;
  }
  entries << orderedSet(0, nRows) << orderedSet(nRows, nCols);
  {
    QByteArray dict;
    for (int c = 0; c < nCols; ++c) {
      QByteArray el;
      bytesField(el, 1, objectRef(firstIdentity + nRows + c));
      bytesField(el, 2, objectRef(firstRowDict + c));
      bytesField(dict, 1, el);
    }
    QByteArray e;
    bytesField(e, 6, dict);
    entries << e;
  }
  for (int i = 0; i < nRows + nCols; ++i)
    entries << identityMap(i);
  QList<QByteArray> cells;
  for (int c = 0; c < nCols; ++c) {
    QByteArray dict;
    for (int r = 0; r < nRows; ++r) {
      QByteArray el;
      bytesField(el, 1, objectRef(firstIdentity + r));
      bytesField(el, 2, objectRef(firstCell + cells.size()));
      bytesField(dict, 1, el);
      QByteArray cell;
      bytesField(cell, 10, textDocument(rows.at(r).value(c), {}));
      cells << cell;
    }
    QByteArray e;
    bytesField(e, 6, dict);
    entries << e;
  }
  entries << cells;
  // Keys in the order the table map uses them: 0 crRows, 1 crColumns, 2 cellColumns.
  for (const QByteArray& e : entries)
    bytesField(data, 3, e);
  bytesField(data, 4, "crRows");
  bytesField(data, 4, "crColumns");
  bytesField(data, 4, "cellColumns");
  bytesField(data, 5, "com.apple.notes.ICTable");
  bytesField(data, 5, "com.apple.CRDT.NSUUID");
  for (const QByteArray& u : uuids)
    bytesField(data, 6, u);
  QByteArray object;
  bytesField(object, 3, data);
  QByteArray top;
  bytesField(top, 2, object);
  return gzip(top);
}

QByteArray jpegWithOrientation(const QImage& image, int orientation) {
  QByteArray jpeg;
  QBuffer buffer(&jpeg);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "JPEG", 100);
  static const char tiff[] = "MM\x00\x2a\x00\x00\x00\x08"       // big-endian header, IFD at 8
                             "\x00\x01"                         // one entry
                             "\x01\x12\x00\x03\x00\x00\x00\x01" // Orientation, SHORT, count 1
                             "\x00";                            // value, high byte
  QByteArray exif = QByteArray("Exif\0\0", 6) + QByteArray(tiff, sizeof tiff - 1);
  exif.append(char(orientation)).append(QByteArray(2, '\0')); // low byte, padding
  exif.append(QByteArray(4, '\0'));                           // no next IFD
  const int length = exif.size() + 2;
  QByteArray segment("\xff\xe1", 2);
  segment.append(char(length >> 8)).append(char(length & 0xff)).append(exif);
  return jpeg.left(2) + segment + jpeg.mid(2);
}

QByteArray pngImage(int width, int height, unsigned rgb) {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(rgb);
  // A marked corner shows which way up the picture is.
  for (int y = 0; y < qMin(4, height); ++y)
    for (int x = 0; x < qMin(4, width); ++x)
      image.setPixel(x, y, 0xff0000);
  QByteArray out;
  QBuffer buffer(&out);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return out;
}

bool makeModernStore(const QList<ModernNote>& notes, ModernLayout which, bool wal, QByteArray* db, QByteArray* walBytes,
                     QString* error) {
  const Layout L = layoutOf(which);
  // The columns of every entity in one table, as Core Data stores them; the
  // layouts differ in a few suffixes.
  const QString columns =
      QStringLiteral(
          "ZIDENTIFIER VARCHAR, ZTITLE VARCHAR, ZTITLE1 VARCHAR, ZTITLE2 VARCHAR, ZUSERTITLE VARCHAR, ZSUMMARY "
          "VARCHAR, ZSNIPPET VARCHAR, ZNOTEDATA INTEGER, ZMODIFICATIONDATE TIMESTAMP, ZMODIFICATIONDATE1 "
          "TIMESTAMP, %1 TIMESTAMP, ZMARKEDFORDELETION INTEGER, ZISPASSWORDPROTECTED INTEGER, ZCRYPTOSALT BLOB, "
          "ZCRYPTOITERATIONCOUNT INTEGER, ZCRYPTOWRAPPEDKEY BLOB, ZCRYPTOINITIALIZATIONVECTOR BLOB, ZCRYPTOTAG "
          "BLOB, ZASSETCRYPTOINITIALIZATIONVECTOR BLOB, ZASSETCRYPTOTAG BLOB, "
          "ZFALLBACKIMAGECRYPTOINITIALIZATIONVECTOR BLOB, ZFALLBACKIMAGECRYPTOTAG BLOB, ZACCOUNT INTEGER, "
          "ZACCOUNT1 INTEGER, %2 INTEGER, %3 INTEGER, ZOWNER INTEGER, ZFOLDERTYPE INTEGER, ZNAME VARCHAR, "
          "ZACCOUNTTYPE INTEGER, ZTYPEUTI VARCHAR, ZTYPEUTI1 VARCHAR, ZALTTEXT VARCHAR, ZNOTE INTEGER, ZMEDIA "
          "INTEGER, ZPARENTATTACHMENT INTEGER, ZORIENTATION INTEGER, ZURLSTRING VARCHAR, ZMERGEABLEDATA1 BLOB, "
          "ZFILENAME VARCHAR, ZATTACHMENT INTEGER, ZWIDTH INTEGER, ZHEIGHT INTEGER%4")
          .arg(L.created, L.noteAccount, L.folderAccount,
               L.joinTable ? QString() : QStringLiteral(", ZFOLDER INTEGER"));
  QStringList sql;
  sql << QStringLiteral(
             "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, Z_MAX INTEGER)")
      << QStringLiteral(
             "CREATE TABLE ZICCLOUDSYNCINGOBJECT (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, %1)")
             .arg(columns)
      << QStringLiteral(
             "CREATE TABLE ZICNOTEDATA (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, %1ZDATA BLOB, "
             "ZCRYPTOINITIALIZATIONVECTOR BLOB, ZCRYPTOTAG BLOB)")
             .arg(L.bodyBackLink ? QStringLiteral("ZNOTE INTEGER, ") : QString());
  if (L.joinTable)
    sql << QStringLiteral(
        "CREATE TABLE Z_11NOTES (Z_11FOLDERS INTEGER, Z_8NOTES INTEGER, PRIMARY KEY (Z_11FOLDERS, Z_8NOTES))");
  sql << QStringLiteral("BEGIN");
  for (auto it = L.ent.constBegin(); it != L.ent.constEnd(); ++it)
    sql << sqlf("INSERT INTO Z_PRIMARYKEY VALUES (%1, %2, 0, 0)", it.value(), q(it.key()));
  auto ent = [&](const char* name) { return L.ent.value(QLatin1String(name)); };

  qint64 pk = 0;
  QHash<QString, qint64> accountPk;
  QHash<QString, qint64> folderPk; // account + '\n' + folder (+ trash)
  auto accountOf = [&](const QString& name) {
    if (!accountPk.contains(name)) {
      const qint64 k = ++pk;
      accountPk.insert(name, k);
      sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZNAME, ZIDENTIFIER, ZACCOUNTTYPE, ZCRYPTOSALT, "
                  "ZCRYPTOITERATIONCOUNT) VALUES (%1, %2, %3, %4, %5, %6, %7)",
                  k, ent("ICAccount"), name.isEmpty() ? QStringLiteral("NULL") : q(name), q(accountIdOf(name)),
                  name == QLatin1String("iCloud") ? 1 : 0, blob(accountSalt(name)), kIterations);
    }
    return accountPk.value(name);
  };
  auto folderOf = [&](const ModernNote& n) {
    const QString key = n.account + '\n' + n.folder + (n.inTrash ? QStringLiteral("\ntrash") : QString());
    if (!folderPk.contains(key)) {
      const qint64 acc = accountOf(n.account);
      const qint64 k = ++pk;
      folderPk.insert(key, k);
      sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZTITLE2, ZIDENTIFIER, ZOWNER, %1, ZFOLDERTYPE) "
                  "VALUES (%2, %3, %4, %5, %6, %6, %7)",
                  L.folderAccount, k, ent("ICFolder"), q(n.inTrash ? QStringLiteral("Recently Deleted") : n.folder),
                  q(n.inTrash ? QStringLiteral("TrashFolder-CloudKit") : QStringLiteral("Folder-%1").arg(k)), acc,
                  n.inTrash ? 1 : 0);
    }
    return folderPk.value(key);
  };

  qint64 bodyPk = 0;
  for (const ModernNote& n : notes) {
    const qint64 acc = accountOf(n.account);
    const qint64 folder = n.folderRowMissing ? 999999 : folderOf(n);
    const qint64 notePk = ++pk;
    const qint64 dataPk = ++bodyPk;
    QByteArray body = n.rawBodySet ? n.rawBody : bodyBlob(n.text, n.attachments);
    Sealed sealed;
    const bool locked = !n.password.isEmpty() || n.passcodeLocked;
    if (!n.password.isEmpty()) {
      sealed = seal(n.password, accountSalt(n.account), n.identifier.toUtf8(), body);
      body = sealed.data;
    } else if (n.passcodeLocked) {
      sealed.salt = derived(n.identifier.toUtf8() + "pc", 16);
      sealed.wrapped = derived(n.identifier.toUtf8() + "wk", 16);
      sealed.iv = derived(n.identifier.toUtf8() + "iv", 16);
      sealed.tag = derived(n.identifier.toUtf8() + "tag", 16);
      body = QByteArray("bplist00") + derived(n.identifier.toUtf8(), 32);
    }
    // An open note stores nothing in the crypto columns (the default Sealed is all null).
    const Sealed& c = locked ? sealed : Sealed();
    sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZIDENTIFIER, ZTITLE1, ZSNIPPET, %1, %2, ZNOTEDATA, "
                "ZMODIFICATIONDATE1, %3, ZMARKEDFORDELETION, ZISPASSWORDPROTECTED, ZCRYPTOSALT, "
                "ZCRYPTOITERATIONCOUNT, ZCRYPTOWRAPPEDKEY, ZCRYPTOINITIALIZATIONVECTOR, ZCRYPTOTAG) VALUES "
                "(%4, %5, %6, %7, %8, %9, %10, %11, %12, %13, %14, %15, %16, %17, %18, %19, %20)",
                L.joinTable ? QStringLiteral("ZACCOUNT1") : QStringLiteral("ZFOLDER"), L.noteAccount, L.created, notePk,
                ent("ICNote"), q(n.identifier), n.title.isEmpty() ? QStringLiteral("NULL") : q(n.title),
                locked ? QStringLiteral("NULL") : q(n.text.left(40)),
                L.joinTable ? QStringLiteral("NULL") : QString::number(folder), acc, dataPk, num(n.modified),
                num(n.modified - 1000), n.markedForDeletion ? 1 : 0, locked ? 1 : 0, blob(c.salt),
                !n.password.isEmpty() ? kIterations : 0, blob(c.wrapped), blob(c.iv), blob(c.tag));
    if (L.joinTable)
      sql << sqlf("INSERT INTO Z_11NOTES VALUES (%1, %2)", folder, notePk);
    sql << sqlf("INSERT INTO ZICNOTEDATA (Z_PK, Z_ENT, %1ZDATA, ZCRYPTOINITIALIZATIONVECTOR, ZCRYPTOTAG) "
                "VALUES (%2, %3, %4%5, %6, %7)",
                L.bodyBackLink ? QStringLiteral("ZNOTE, ") : QString(), dataPk, ent("ICNoteData"),
                L.bodyBackLink ? QStringLiteral("%1, ").arg(notePk) : QString(), blob(body), blob(c.iv), blob(c.tag));

    for (const ModernAttachment& a : n.attachments) {
      if (a.rowMissing)
        continue;
      if (a.inlineText) {
        sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZIDENTIFIER, ZTYPEUTI1, ZALTTEXT, ZNOTE) "
                    "VALUES (%1, %2, %3, %4, %5, %6)",
                    ++pk, ent("ICInlineAttachment"), q(a.identifier), q(a.uti), q(a.title), notePk);
        continue;
      }
      const qint64 attPk = ++pk;
      qint64 mediaPk = 0;
      if (!a.mediaId.isEmpty()) {
        mediaPk = ++pk;
        Sealed m;
        if (!n.password.isEmpty())
          m = seal(n.password, accountSalt(n.account), a.mediaId.toUtf8(), a.mediaData);
        sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZIDENTIFIER, ZFILENAME, ZCRYPTOSALT, "
                    "ZCRYPTOITERATIONCOUNT, ZCRYPTOWRAPPEDKEY, ZASSETCRYPTOINITIALIZATIONVECTOR, ZASSETCRYPTOTAG) "
                    "VALUES (%1, %2, %3, %4, %5, %6, %7, %8, %9)",
                    mediaPk, ent("ICMedia"), q(a.mediaId), q(n.password.isEmpty() ? a.fileName : a.mediaId),
                    blob(m.salt), m.iterations, blob(m.wrapped), blob(m.iv), blob(m.tag));
      }
      sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZIDENTIFIER, ZTYPEUTI, ZNOTE, ZMEDIA, ZORIENTATION, "
                  "ZTITLE, ZURLSTRING, ZMERGEABLEDATA1) VALUES (%1, %2, %3, %4, %5, %6, %7, %8, %9, %10)",
                  attPk, ent("ICAttachment"), q(a.identifier), q(a.uti), notePk,
                  mediaPk ? QString::number(mediaPk) : QStringLiteral("NULL"),
                  a.orientation < 0 ? QStringLiteral("NULL") : QString::number(a.orientation),
                  a.title.isEmpty() ? QStringLiteral("NULL") : q(a.title),
                  a.url.isEmpty() ? QStringLiteral("NULL") : q(a.url), blob(a.mergeable));
      if (!a.previewId.isEmpty()) {
        Sealed p;
        if (!n.password.isEmpty())
          p = seal(n.password, accountSalt(n.account), a.previewId.toUtf8(), a.previewData);
        // A smaller preview first: the largest one is the one to show.
        sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZIDENTIFIER, ZATTACHMENT, ZWIDTH, ZHEIGHT) "
                    "VALUES (%1, %2, %3, %4, 16, 16)",
                    ++pk, ent("ICAttachmentPreviewImage"), q(a.previewId + QStringLiteral("-small")), attPk);
        sql << sqlf("INSERT INTO ZICCLOUDSYNCINGOBJECT (Z_PK, Z_ENT, ZIDENTIFIER, ZATTACHMENT, ZWIDTH, ZHEIGHT, "
                    "ZCRYPTOSALT, ZCRYPTOITERATIONCOUNT, ZCRYPTOWRAPPEDKEY, ZCRYPTOINITIALIZATIONVECTOR, ZCRYPTOTAG) "
                    "VALUES (%1, %2, %3, %4, 640, 480, %5, %6, %7, %8, %9)",
                    ++pk, ent("ICAttachmentPreviewImage"), q(a.previewId), attPk, blob(p.salt), p.iterations,
                    blob(p.wrapped), blob(p.iv), blob(p.tag));
      }
    }
  }
  sql << QStringLiteral("COMMIT");
  return makeSqliteDb(sql, wal, db, walBytes, error);
}

QList<StoredFile> modernFiles(const QList<ModernNote>& notes, ModernLayout layout, bool wal) {
  QList<StoredFile> files;
  QByteArray db, log;
  QString error;
  if (!makeModernStore(notes, layout, wal, &db, &log, &error))
    qWarning("modern notes store: %s", qPrintable(error));
  files << file(kNotesDomain, QStringLiteral("NoteStore.sqlite"), db);
  if (wal)
    files << file(kNotesDomain, QStringLiteral("NoteStore.sqlite-wal"), log);
  for (const ModernNote& n : notes) {
    for (const ModernAttachment& a : n.attachments) {
      if (!a.mediaData.isEmpty()) {
        QByteArray content = a.mediaData;
        if (!n.password.isEmpty())
          content = seal(n.password, accountSalt(n.account), a.mediaId.toUtf8(), a.mediaData).data;
        files << file(kNotesDomain, mediaFilePath(n, a), content);
      }
      if (!a.previewData.isEmpty()) {
        QByteArray content = a.previewData;
        if (!n.password.isEmpty())
          content = seal(n.password, accountSalt(n.account), a.previewId.toUtf8(), a.previewData).data;
        files << file(kNotesDomain, previewFilePath(n, a), content);
      }
    }
  }
  return files;
}

namespace {

// Attachment keys of notes.sqlite: numbered in note order, from 1.
QList<QPair<const LegacyNote*, const LegacyAttachment*>> legacyAttachmentRows(const QList<LegacyNote>& notes) {
  QList<QPair<const LegacyNote*, const LegacyAttachment*>> rows;
  for (const LegacyNote& n : notes)
    for (const LegacyAttachment& a : n.attachments)
      if (!a.rowMissing)
        rows << qMakePair(&n, &a);
  return rows;
}

bool makeLegacySqlite(const QList<LegacyNote>& notes, QByteArray* db, QString* error) {
  return makeSqliteDb(legacySqliteStatements(notes), false, db, nullptr, error);
}

bool makeLegacyDb(const QList<LegacyNote>& notes, QByteArray* db, QString* error) {
  return makeSqliteDb(legacyDbStatements(notes), false, db, nullptr, error);
}

} // namespace

QStringList legacySqliteStatements(const QList<LegacyNote>& notes) {
  // Deleted rows keep their bytes, as on the phone.
  QStringList sql{QStringLiteral("PRAGMA secure_delete=off"), QStringLiteral(
      "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, Z_MAX INTEGER);"
      "CREATE TABLE ZACCOUNT (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZTYPE INTEGER, "
      "ZDEFAULTSTORE INTEGER, ZNAME VARCHAR, ZACCOUNTIDENTIFIER VARCHAR);"
      "CREATE TABLE ZSTORE (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZACCOUNT INTEGER, ZNAME VARCHAR);"
      "CREATE TABLE ZNOTE (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZDELETEDFLAG INTEGER, "
      "ZINTEGERID INTEGER, ZBODY INTEGER, ZSTORE INTEGER, ZCREATIONDATE TIMESTAMP, "
      "ZMODIFICATIONDATE TIMESTAMP, ZTITLE VARCHAR, ZSUMMARY VARCHAR, ZGUID VARCHAR);"
      "CREATE TABLE ZNOTEBODY (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZOWNER INTEGER, "
      "ZCONTENT VARCHAR);"
      "CREATE TABLE ZNOTEATTACHMENT (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, "
      "ZNOTE INTEGER, ZCONTENTID VARCHAR, ZFILENAME VARCHAR, ZMIMETYPE VARCHAR);"
      "BEGIN;"
      "INSERT INTO Z_PRIMARYKEY VALUES (1, 'Account', 0, 2), (3, 'Note', 0, 0), (4, 'NoteBody', 0, 0), "
      "(7, 'Store', 0, 2);"
      "INSERT INTO ZACCOUNT VALUES (1, 1, 1, 1, 1, 'iCloud', 'icloud-account'), "
      "(2, 1, 1, 0, 2, 'On My iPhone', 'local-account');"
      "INSERT INTO ZSTORE VALUES (1, 7, 1, 1, 'Notes'), (2, 7, 1, 2, 'Notes')")};
  int pk = 0;
  for (const LegacyNote& n : notes) {
    ++pk;
    sql << sqlf("INSERT INTO ZNOTE VALUES (%1, 3, 1, %2, %1, %1, %3, %4, %5, %6, %7, %8)", pk, n.deleted ? 1 : 0,
                n.icloud ? 1 : 2, num(n.modified - 500), num(n.modified), q(n.title), q(n.title.left(20)), q(n.guid));
    sql << sqlf("INSERT INTO ZNOTEBODY VALUES (%1, 4, 1, %1, %2)", pk, q(n.html));
  }
  int attPk = 0;
  QHash<const LegacyNote*, int> notePk;
  for (int i = 0; i < notes.size(); ++i)
    notePk.insert(&notes.at(i), i + 1);
  for (const auto& row : legacyAttachmentRows(notes))
    sql << sqlf("INSERT INTO ZNOTEATTACHMENT VALUES (%1, 2, 1, %2, %3, %4, %5)", ++attPk, notePk.value(row.first),
                q(row.second->contentId), q(row.second->fileName), q(row.second->mimeType));
  // The largest key handed out, as Core Data keeps it.
  sql << sqlf("UPDATE Z_PRIMARYKEY SET Z_MAX = %1 WHERE Z_ENT IN (3, 4)", pk);
  sql << QStringLiteral("COMMIT");
  // The purged notes go last, each in a transaction of its own.
  for (int i = 0; i < notes.size(); ++i) {
    if (notes.at(i).purged)
      sql << sqlf("DELETE FROM ZNOTEBODY WHERE Z_PK = %1; DELETE FROM ZNOTE WHERE Z_PK = %1", i + 1);
  }
  return sql;
}

QStringList legacyDbStatements(const QList<LegacyNote>& notes) {
  QStringList sql{QStringLiteral("PRAGMA secure_delete=off"), QStringLiteral("CREATE TABLE Note (creation_date INTEGER, modification_date INTEGER, title TEXT, "
                                 "summary TEXT, contains_cjk INTEGER);"
                                 "CREATE TABLE note_bodies (note_id INTEGER, data, UNIQUE (note_id));BEGIN")};
  int rowid = 0;
  for (const LegacyNote& n : notes) {
    ++rowid;
    sql << sqlf("INSERT INTO Note (ROWID, creation_date, modification_date, title, summary, contains_cjk) "
                "VALUES (%1, %2, %3, %4, %5, 0)",
                rowid, qint64(n.modified) - 500, qint64(n.modified), q(n.title), q(n.title.left(20)));
    sql << sqlf("INSERT INTO note_bodies VALUES (%1, %2)", rowid, q(n.html));
  }
  sql << QStringLiteral("COMMIT");
  for (int i = 0; i < notes.size(); ++i) {
    if (notes.at(i).purged)
      sql << sqlf("DELETE FROM note_bodies WHERE note_id = %1; DELETE FROM Note WHERE ROWID = %1", i + 1);
  }
  return sql;
}

QList<StoredFile> legacyFiles(const QList<LegacyNote>& sqliteNotes, const QList<LegacyNote>& dbNotes) {
  QList<StoredFile> files;
  QString error;
  QByteArray db;
  if (!sqliteNotes.isEmpty()) {
    if (!makeLegacySqlite(sqliteNotes, &db, &error))
      qWarning("notes.sqlite: %s", qPrintable(error));
    files << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Notes/notes.sqlite"), db);
    int attPk = 0;
    for (const auto& row : legacyAttachmentRows(sqliteNotes)) {
      ++attPk;
      if (row.second->data.isEmpty())
        continue;
      const QString name = QString::fromLatin1(QUrl::toPercentEncoding(row.second->fileName));
      files << file(QStringLiteral("HomeDomain"),
                    QStringLiteral("Library/Notes/attachments/p%1/%2").arg(attPk).arg(name), row.second->data);
    }
  }
  if (!dbNotes.isEmpty()) {
    if (!makeLegacyDb(dbNotes, &db, &error))
      qWarning("notes.db: %s", qPrintable(error));
    files << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Notes/notes.db"), db);
  }
  return files;
}

QList<StoredFile> sampleNoteFiles() {
  auto note = [](const char* id, const char* title, const char* text, double modified) {
    ModernNote n;
    n.identifier = QLatin1String(id);
    n.title = QString::fromUtf8(title);
    n.text = QString::fromUtf8(text);
    n.modified = modified;
    return n;
  };
  ModernNote shopping = note("5B1D3F0E-7C2A-4E55-9A10-2F6E8D3C4B01", "Shopping list",
                             "Shopping list\nBread, milk, apples\n\uFFFC\nAnd the receipt above.", 720000000);
  ModernAttachment photo;
  photo.identifier = QStringLiteral("0C6A7E1B-55D2-4A0B-8F0E-6D2A9C1B7E11");
  photo.mediaId = QStringLiteral("A1B2C3D4-0000-4000-8000-00000000A001");
  photo.fileName = QStringLiteral("receipt.jpeg");
  photo.mediaData = photo.previewData = pngImage(400, 300, 0x3366cc);
  photo.previewId = photo.identifier + QStringLiteral("-1-400x300-0");
  shopping.attachments << photo;
  ModernNote budget =
      note("7D0F3A2C-1E4B-4C6D-8E9F-0A1B2C3D4E02", "Trip budget", "Trip budget\n\uFFFC\nBook before May.", 721000000);
  budget.folder = QStringLiteral("Travel");
  ModernAttachment table;
  table.identifier = QStringLiteral("9E8D7C6B-5A49-4382-9170-6F5E4D3C2B03");
  table.uti = QStringLiteral("com.apple.notes.table");
  table.mergeable =
      tableBlob({{QStringLiteral("Hotel"), QStringLiteral("420")}, {QStringLiteral("Train"), QStringLiteral("95")}});
  budget.attachments << table;
  ModernNote safe =
      note("2F4E6A8C-0B1D-4F3E-9A5C-7E9B1D3F5A04", "Safe combination", "Safe combination\n12-34-56\n\uFFFC", 722000000);
  safe.password = kSamplePassword;
  ModernAttachment sketch;
  sketch.identifier = QStringLiteral("4A6C8E0F-2B3D-4E5F-8A9B-0C1D2E3F4A05");
  sketch.uti = QStringLiteral("com.apple.drawing.2");
  sketch.previewId = sketch.identifier + QStringLiteral("-1-200x100-0");
  sketch.previewData = pngImage(200, 100, 0x22aa44);
  sketch.orientation = 1;
  safe.attachments << sketch;
  ModernNote diary = note("6B8D0F2A-4C5E-4A7B-9C1D-3E5F7A9B1C06", "Diary", "", 723000000);
  diary.text = QString();
  diary.passcodeLocked = true;
  ModernNote old = note("8C0E2A4B-6D7F-4B9C-8D2E-4F6A8B0C2D07", "Old idea", "Old idea\nThrown away.", 700000000.0);
  old.inTrash = true;

  LegacyNote again; // also in the modern store
  again.guid = shopping.identifier;
  again.title = shopping.title;
  again.html = QStringLiteral("<div>Shopping list</div><div>Bread</div>");
  LegacyNote garden;
  garden.guid = QStringLiteral("legacy-0001");
  garden.title = QStringLiteral("Garden");
  garden.html =
      QStringLiteral("<div>Garden</div><div>Tomatoes by the wall</div>"
                     "<object type=\"image/jpeg\" data=\"cid:GardenPhoto@local\"></object><div>Water daily</div>");
  garden.icloud = true;
  // As a camera stores a portrait photo: sideways, with a tag that says to
  // turn it a quarter clockwise.
  QImage sideways(400, 300, QImage::Format_RGB32);
  sideways.fill(0x88aa22);
  garden.attachments << LegacyAttachment{QStringLiteral("GardenPhoto@local"), QStringLiteral("garden photo.jpeg"),
                                         QStringLiteral("public.jpeg"), jpegWithOrientation(sideways, 6), false};
  LegacyNote first;
  first.title = QStringLiteral("First phone note");
  first.html = QStringLiteral("First phone note<br>Written on the first iPhone.");
  first.modified = 250000000;
  // Written on an old system and deleted there; its bytes stay in the file.
  LegacyNote purged;
  purged.guid = QStringLiteral("legacy-0002");
  purged.title = QStringLiteral("Surprise party guests");
  purged.html = QStringLiteral("<div>Surprise party guests</div><div>Anna, Ben, Carl</div>");
  purged.modified = 380000000;
  purged.purged = true;
  return modernFiles({shopping, budget, safe, diary, old}, ModernLayout::Ios15) +
         legacyFiles({again, garden, purged}, {first});
}

} // namespace notes
} // namespace fixture
