#pragma once
// The cryptographic steps of password-protected notes, each a thin call into
// OpenSSL's libcrypto: the password's key-encryption key, the unwrapping of a
// note's (or a file's) own key, and AES-GCM with the store's 16-byte nonces.
// Private to the notes library; no OpenSSL type appears here.
#include <QByteArray>
#include <QString>

namespace NoteCrypto {

// PBKDF2-HMAC-SHA256 of the password (UTF-8) with the salt; 16 bytes by default.
bool deriveKek(const QString& password, const QByteArray& salt, int iterations, QByteArray* kek, int length = 16);
// RFC 3394 key unwrap with the default IV. False when the integrity check
// fails (the wrong password) or the lengths are not valid.
bool unwrapKey(const QByteArray& kek, const QByteArray& wrapped, QByteArray* key);
// The inverse, for test fixtures that write locked notes.
bool wrapKey(const QByteArray& kek, const QByteArray& key, QByteArray* wrapped);
// AES-GCM (128 or 256 by the key's length) with a nonce of any length and a
// 16-byte tag, no additional data. False when the tag does not match.
bool gcmDecrypt(const QByteArray& key, const QByteArray& nonce, const QByteArray& tag, const QByteArray& cipher,
                QByteArray* plain);
bool gcmEncrypt(const QByteArray& key, const QByteArray& nonce, const QByteArray& plain, QByteArray* cipher,
                QByteArray* tag);
// Decrypts the file src into dst in chunks; dst is removed again when the tag
// does not match or a file cannot be read or written.
bool gcmDecryptFile(const QByteArray& key, const QByteArray& nonce, const QByteArray& tag, const QString& src,
                    const QString& dst, QString* error);

} // namespace NoteCrypto
