#pragma once
// Readers of the two manifest generations: Manifest.db (an SQLite table of
// records whose metadata is a keyed-archive property list) and Manifest.mbdb
// (a binary list of records). Private to the backup library.
#include <QByteArray>
#include <QString>

#include <functional>

struct ManifestEntry {
  enum Kind { File, Directory, Link, Other };
  Kind kind = Other;
  // UTF-8 bytes as the manifest stores them; valid during the sink's call only.
  const char* domain = "";
  int domainLength = 0;
  const char* relativePath = "";
  int relativePathLength = 0;
  unsigned char fileId[20] = {}; // SHA-1 of "domain-relativePath": the stored file's name
  bool hasFileId = false;        // false when the manifest's ID is not 40 hex digits
  qint64 size = 0;
  quint32 modified = 0;
  quint32 mode = 0;
  quint32 protectionClass = 0;
  QByteArray encryptionKey; // 44 bytes in encrypted backups
};

using ManifestSink = std::function<void(ManifestEntry&)>;

namespace Manifest {
// Decodes the MBFile keyed archive of a Manifest.db record into *entry (size,
// times, mode, class, key). False when the blob is not such an archive.
bool decodeMbFile(const char* blob, int length, ManifestEntry* entry);
// The two ways decodeMbFile tries: reading the usual shape in place, then
// libplist's full parser for anything else.
bool decodeMbFileDirect(const char* blob, int length, ManifestEntry* entry);
bool decodeMbFileWithLibplist(const char* blob, int length, ManifestEntry* entry);

// Reads every record of Files, in table order. False, with *error set, when the
// file cannot be opened as a database with that table; a read error part-way
// keeps the records already handed over, sets *error and returns true with
// *truncated set. *sizeHint (when given) receives an upper bound of the record
// count before the first record is handed over.
bool readManifestDb(const QString& path, bool immutable, const ManifestSink& sink, QString* error, bool* truncated,
                    qint64* sizeHint = nullptr);

// Decrypts an encrypted Manifest.db into dst. Most writers end it with PKCS#7
// padding, some store it without (its length is already whole AES blocks), so
// the padding decides nothing: the decrypted SQLite header tells a right key
// from a wrong key or a damaged file. Valid padding is stripped, unless the
// file is already whole database pages (an unpadded file whose last bytes only
// look like padding). False, with *error set and dst removed, when it does not
// decrypt to a database.
bool decryptManifestDb(const QString& src, const QString& dst, const QByteArray& key, QString* error);

// Reads Manifest.mbdb bytes. False when the header is wrong; a record cut
// short ends the list (earlier records are kept) and sets *truncated.
bool readMbdb(const QByteArray& data, const ManifestSink& sink, QString* error, bool* truncated);

// Parses 40 hex digits into 20 bytes; false when the text is anything else.
bool parseFileId(const char* text, int length, unsigned char out[20]);
// 40 lower-case hex digits.
QString fileIdText(const unsigned char id[20]);
} // namespace Manifest
