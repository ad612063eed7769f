#pragma once
// The bytes of one SQLite database as the file and its write-ahead log hold
// them: the current version of every page, and every other version of a page
// that is still somewhere in the two files. Private to the carver.
//
// Read-only: both files are mapped (or read) once and never written. A
// damaged file gives fewer pages, never a crash: every offset taken from the
// bytes is checked against the page before use.
//
// The log: a frame is valid while its salts equal the log header's and the
// running checksum holds; the first frame that fails ends the valid chain (as
// a database reader would see it). The current state is the database file
// overlaid with the valid frames up to the last commit frame. Everything else
// is an "older image": a database-file page that a committed frame replaced, a
// frame that a later committed frame replaced, a frame after the last commit
// (never committed), a frame of an earlier log generation (salts differ), and
// a page beyond the committed database size.
#include <QByteArray>
#include <QFile>
#include <QHash>
#include <QString>
#include <QVector>

namespace sqlitecarve {

// Varint of the file format: 1 to 9 bytes, big-endian groups of 7 bits, the
// ninth byte contributing all 8. Returns its length, 0 when it does not end
// before `end`.
int readVarint(const uchar* p, const uchar* end, qint64* value);
int varintLength(quint64 value);
// Bytes of the content of a serial type; -1 for the reserved types 10 and 11.
qint64 serialTypeSize(qint64 type);

inline quint32 be16(const uchar* p) { return (quint32(p[0]) << 8) | p[1]; }
inline quint32 be32(const uchar* p) {
  return (quint32(p[0]) << 24) | (quint32(p[1]) << 16) | (quint32(p[2]) << 8) | p[3];
}

// A version of a page that the current state does not show.
struct OlderImage {
  enum Kind { ReplacedFilePage, ReplacedFrame, UncommittedFrame, StaleFrame, BeyondEnd };
  quint32 page = 0;
  int frame = -1; // index of the log frame, -1 for the database file
  Kind kind = ReplacedFilePage;
  const uchar* data = nullptr;
};

class SqliteImage {
public:
  SqliteImage() = default;
  ~SqliteImage();
  SqliteImage(const SqliteImage&) = delete;
  SqliteImage& operator=(const SqliteImage&) = delete;

  // Reads path and, when present, path + "-wal". False with a reason when the
  // file is not a database.
  bool load(const QString& path, QString* error);

  int pageSize() const { return m_pageSize; }
  int usableSize() const { return m_usable; }
  int textEncoding() const { return m_encoding; } // 1 UTF-8, 2 UTF-16le, 3 UTF-16be
  quint32 pageCount() const { return m_pageCount; }
  int frameCount() const { return m_frames.size(); }
  int validFrameCount() const { return m_validFrames; }
  int commitCount() const { return m_commits; }
  int lastCommitFrame() const { return m_lastCommit; }

  // The current page, null when out of range.
  const uchar* page(quint32 number) const;
  // The page as of a log frame: the newest frame of that page at or before
  // `frame`, else the database file's page; -1 asks for the file's page.
  const uchar* pageAsOf(quint32 number, int frame) const;
  const QVector<OlderImage>& olderImages() const { return m_older; }
  // Pages of the freelist (trunks and leaves) in the current state, bounded by
  // the page count and free of cycles.
  QVector<quint32> freelistPages() const;

private:
  struct Frame {
    quint32 page;
    quint32 dbSize;
    const uchar* data;
    bool valid;  // part of the valid chain
    bool intact; // its own checksum holds
  };
  const uchar* mapFile(QFile& file, QByteArray& copy, qint64* size);
  void readLog(const uchar* wal, qint64 size);

  QFile m_dbFile;
  QFile m_walFile;
  QByteArray m_dbCopy;
  QByteArray m_walCopy;
  const uchar* m_db = nullptr;
  qint64 m_dbSize = 0;
  int m_pageSize = 0;
  int m_usable = 0;
  int m_encoding = 1;
  quint32 m_pageCount = 0;
  QVector<Frame> m_frames;
  int m_validFrames = 0;
  int m_commits = 0;
  int m_lastCommit = -1;
  QHash<quint32, int> m_current;              // page -> frame of its current version
  QHash<quint32, QVector<int>> m_framesOfPage; // page -> its frames, ascending
  QVector<OlderImage> m_older;
};

} // namespace sqlitecarve
