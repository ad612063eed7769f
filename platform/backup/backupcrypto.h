#pragma once
// The cryptographic steps of encrypted backups, each a thin call into OpenSSL's
// libcrypto: password-based key derivation, AES key wrapping (RFC 3394) and
// AES-256-CBC over whole files. Private to the backup library and its test
// fixtures; no OpenSSL type appears here.
#include <QByteArray>
#include <QString>

namespace BackupCrypto {
enum class Digest { Sha1, Sha256 };

// PBKDF2-HMAC of the password with the salt; false on a library failure.
bool pbkdf2(Digest digest, const QByteArray& password, const QByteArray& salt, int iterations, int keyLength,
            QByteArray* key);

// RFC 3394 key unwrap with the default IV. False when the integrity check fails
// (a wrong key-encryption key) or the lengths are not valid.
bool aesUnwrap(const QByteArray& kek, const QByteArray& wrapped, QByteArray* key);
// The inverse, for the fixtures that write encrypted backups.
bool aesWrap(const QByteArray& kek, const QByteArray& key, QByteArray* wrapped);

// AES-256-CBC with a zero IV and PKCS#7 padding over a whole buffer.
bool encryptCbc(const QByteArray& key, const QByteArray& plain, QByteArray* cipher);
bool decryptCbc(const QByteArray& key, const QByteArray& cipher, QByteArray* plain);

// What decryptFile does with the PKCS#7 padding of the last block.
enum class Padding {
  Strip, // required: removed, and a file without valid padding fails
  Keep,  // every decrypted byte is written; the caller decides
};

// The length of the PKCS#7 padding that ends the block (1 to 16), or 0 when
// the block does not end in valid padding.
int paddingLength(const QByteArray& lastBlock);

// Decrypts the file src into dst (created or replaced) in chunks, so that memory
// stays bounded whatever the file's size. *plainLength receives the length
// written. An empty source gives an empty file. False, with *error set, when a
// file cannot be read or written, the source is not whole AES blocks, or (with
// Padding::Strip) the padding is not valid (a wrong key or a damaged file); dst
// is then removed.
bool decryptFile(const QString& src, const QString& dst, const QByteArray& key, Padding padding, qint64* plainLength,
                 QString* error);
} // namespace BackupCrypto
