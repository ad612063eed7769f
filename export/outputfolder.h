#pragma once
// OutputFolder: the one door through which an export writes. Every path it
// hands out lies inside the root; every name made from backup text goes
// through safeFileName; names are unique in their folder (case ignored, so
// that the folder survives a copy to a case-insensitive disk). Files copied
// into it are stored once: a second copy of the same source, or of the same
// bytes, gives the first copy's path and counts as a duplicate.
#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace exporting {
// A file or folder name made from any text: no separators or characters that
// common file systems refuse (replaced by "_"), no control, format or
// direction-override characters (dropped), white space collapsed, no leading
// or trailing dots and blanks, not "." or "..", not a reserved device name,
// at most maxChars characters (the extension, when short, is kept). An empty
// result becomes fallback.
QString safeFileName(const QString& text, const QString& fallback = QStringLiteral("unnamed"), int maxChars = 100);

// A relative path as an href: each byte that is not safe in a URL is
// percent-encoded, the separators stay.
QByteArray hrefOf(const QString& relativePath);

class OutputFolder {
public:
  explicit OutputFolder(const QString& root);

  QString root() const { return m_root; }
  // The absolute path of a relative one, or empty when it would leave the root.
  QString absolute(const QString& relativePath) const;
  // Creates a folder (relative to the root, made of safe names) when missing.
  bool makeFolder(const QString& relativeFolder);

  // Takes a free name in the folder: wanted, else "base (2).ext", "base
  // (3).ext"... Returns the relative path. wanted must already be safe.
  QString reserve(const QString& relativeFolder, const QString& wanted);
  // Takes a base name for which base + every suffix is free, and takes all of
  // them. Returns the base (without the folder).
  QString reserveBase(const QString& relativeFolder, const QString& base, const QStringList& suffixes);

  struct Stored {
    QString relativePath; // empty when nothing could be stored
    bool duplicate = false;
    QString error;        // why nothing was stored
  };
  // Copies the local file source into the folder under the wanted (safe)
  // name, with the given modification time when valid. The same source, or a
  // file of the same bytes stored before, gives the earlier copy.
  Stored storeFile(const QString& source, const QString& relativeFolder, const QString& wanted,
                   const QDateTime& modified);

  // Copies source to the reserved relative path as it is (no test for
  // duplicates), with the modification time when valid. Empty on success,
  // else why not; a partial copy is removed.
  QString copyInto(const QString& source, const QString& relativePath, const QDateTime& modified,
                   QByteArray* digest = nullptr);

private:
  bool taken(const QString& relativeFolder, const QString& name) const;

  QString m_root;
  QHash<QString, QSet<QString>> m_taken;     // folder -> lower-case names taken
  QHash<QString, QString> m_bySource;        // source path -> relative path
  QHash<QByteArray, QString> m_byDigest;     // size + SHA-1 of the bytes -> relative path
};
} // namespace exporting
