#include "platform/sqlitecarve/sqliteimage.h"

#include <QSet>

#include <cstring>
#include <utility>

namespace sqlitecarve {

int readVarint(const uchar* p, const uchar* end, qint64* value) {
  quint64 v = 0;
  for (int i = 0; i < 9; ++i) {
    if (p + i >= end)
      return 0;
    if (i == 8) {
      v = (v << 8) | p[i];
      *value = qint64(v);
      return 9;
    }
    v = (v << 7) | (p[i] & 0x7f);
    if (!(p[i] & 0x80)) {
      *value = qint64(v);
      return i + 1;
    }
  }
  return 0;
}

int varintLength(quint64 value) {
  if (value > (quint64(1) << 56) - 1)
    return 9;
  int n = 1;
  while (value >= 0x80) {
    value >>= 7;
    ++n;
  }
  return n;
}

qint64 serialTypeSize(qint64 type) {
  static const int sizes[12] = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0, -1, -1};
  if (type < 0)
    return -1;
  if (type < 12)
    return sizes[type];
  return (type - 12) / 2;
}

SqliteImage::~SqliteImage() = default;

const uchar* SqliteImage::mapFile(QFile& file, QByteArray& copy, qint64* size) {
  *size = file.size();
  if (*size <= 0)
    return nullptr;
  if (uchar* mapped = file.map(0, *size))
    return mapped;
  copy = file.readAll();
  *size = copy.size();
  return reinterpret_cast<const uchar*>(copy.constData());
}

bool SqliteImage::load(const QString& path, QString* error) {
  auto fail = [&](const QString& why) {
    if (error)
      *error = QStringLiteral("%1: %2").arg(path, why);
    return false;
  };
  m_dbFile.setFileName(path);
  if (!m_dbFile.open(QIODevice::ReadOnly))
    return fail(QStringLiteral("cannot be opened"));
  m_db = mapFile(m_dbFile, m_dbCopy, &m_dbSize);
  if (!m_db || m_dbSize < 100 || std::memcmp(m_db, "SQLite format 3", 16) != 0)
    return fail(QStringLiteral("not an SQLite database"));
  m_pageSize = int(be16(m_db + 16));
  if (m_pageSize == 1)
    m_pageSize = 65536;
  if (m_pageSize < 512 || m_pageSize > 65536 || (m_pageSize & (m_pageSize - 1)))
    return fail(QStringLiteral("page size %1 is not valid").arg(m_pageSize));
  m_usable = m_pageSize - m_db[20];
  if (m_usable < 480)
    return fail(QStringLiteral("usable page size %1 is too small").arg(m_usable));
  const quint32 encoding = be32(m_db + 56);
  m_encoding = (encoding >= 1 && encoding <= 3) ? int(encoding) : 1;
  // The size in the header holds only while the change counter matches the
  // version it was written at; otherwise the file's length tells.
  quint32 count = be32(m_db + 28);
  if (count == 0 || be32(m_db + 24) != be32(m_db + 92))
    count = quint32(m_dbSize / m_pageSize);
  m_pageCount = qMin<quint32>(count, quint32(m_dbSize / m_pageSize));

  m_walFile.setFileName(path + QStringLiteral("-wal"));
  if (m_walFile.exists() && m_walFile.open(QIODevice::ReadOnly)) {
    qint64 walSize = 0;
    if (const uchar* wal = mapFile(m_walFile, m_walCopy, &walSize))
      readLog(wal, walSize);
  }

  // Older images: file pages that a committed frame replaced or that lie
  // beyond the committed size, and every frame that is not current.
  const quint32 filePages = quint32(m_dbSize / m_pageSize);
  for (quint32 p = 1; p <= filePages; ++p) {
    const uchar* data = m_db + qint64(p - 1) * m_pageSize;
    if (p > m_pageCount)
      m_older.append({p, -1, OlderImage::BeyondEnd, data});
    else if (m_current.contains(p))
      m_older.append({p, -1, OlderImage::ReplacedFilePage, data});
  }
  for (int i = 0; i < m_frames.size(); ++i) {
    const Frame& f = m_frames.at(i);
    if (m_current.value(f.page, -2) == i && f.page <= m_pageCount)
      continue;
    if (!f.intact)
      continue; // damaged: its bytes cannot be believed
    OlderImage::Kind kind = OlderImage::ReplacedFrame;
    if (!f.valid)
      kind = OlderImage::StaleFrame;
    else if (i > m_lastCommit)
      kind = OlderImage::UncommittedFrame;
    else if (f.page > m_pageCount)
      kind = OlderImage::BeyondEnd;
    m_older.append({f.page, i, kind, f.data});
  }
  return true;
}

void SqliteImage::readLog(const uchar* wal, qint64 size) {
  if (size < 32)
    return;
  const quint32 magic = be32(wal);
  if (magic != 0x377f0682 && magic != 0x377f0683)
    return;
  if (int(be32(wal + 8)) != m_pageSize)
    return;
  const bool bigEndian = magic & 1;
  auto word = [bigEndian](const uchar* p) {
    return bigEndian ? be32(p) : (quint32(p[3]) << 24) | (quint32(p[2]) << 16) | (quint32(p[1]) << 8) | p[0];
  };
  quint32 s0 = 0;
  quint32 s1 = 0;
  auto sum = [&](const uchar* p, int n) {
    for (int i = 0; i + 8 <= n; i += 8) {
      s0 += word(p + i) + s1;
      s1 += word(p + i + 4) + s0;
    }
  };
  sum(wal, 24);
  bool chainHolds = s0 == be32(wal + 24) && s1 == be32(wal + 28);
  const quint32 salt1 = be32(wal + 16);
  const quint32 salt2 = be32(wal + 20);

  const qint64 frameSize = 24 + qint64(m_pageSize);
  for (qint64 off = 32; off + frameSize <= size; off += frameSize) {
    const uchar* h = wal + off;
    Frame f{be32(h), be32(h + 4), h + 24, false, false};
    // A frame's own checksum continues from the one stored before it; it
    // tells a damaged frame from one that only follows a broken chain.
    const uchar* before = off == 32 ? wal + 24 : h - frameSize + 16;
    quint32 c0 = be32(before);
    quint32 c1 = be32(before + 4);
    std::swap(c0, s0);
    std::swap(c1, s1);
    sum(h, 8);
    sum(f.data, m_pageSize);
    f.intact = s0 == be32(h + 16) && s1 == be32(h + 20);
    std::swap(c0, s0);
    std::swap(c1, s1);
    if (f.page == 0)
      continue;
    if (chainHolds && be32(h + 8) == salt1 && be32(h + 12) == salt2) {
      sum(h, 8);
      sum(f.data, m_pageSize);
      chainHolds = s0 == be32(h + 16) && s1 == be32(h + 20);
    } else {
      chainHolds = false;
    }
    f.valid = chainHolds;
    const int index = m_frames.size();
    m_frames.append(f);
    m_framesOfPage[f.page].append(index);
    if (f.valid) {
      ++m_validFrames;
      if (f.dbSize != 0) {
        ++m_commits;
        m_lastCommit = index;
      }
    }
  }
  for (int i = 0; i <= m_lastCommit; ++i)
    m_current.insert(m_frames.at(i).page, i);
  if (m_lastCommit >= 0)
    m_pageCount = m_frames.at(m_lastCommit).dbSize;
}

const uchar* SqliteImage::page(quint32 number) const {
  if (number == 0 || number > m_pageCount)
    return nullptr;
  const auto it = m_current.constFind(number);
  if (it != m_current.constEnd())
    return m_frames.at(it.value()).data;
  if (qint64(number) * m_pageSize > m_dbSize)
    return nullptr;
  return m_db + qint64(number - 1) * m_pageSize;
}

const uchar* SqliteImage::pageAsOf(quint32 number, int frame) const {
  if (number == 0)
    return nullptr;
  const auto it = m_framesOfPage.constFind(number);
  if (it != m_framesOfPage.constEnd()) {
    for (int i = it->size() - 1; i >= 0; --i) {
      const Frame& f = m_frames.at(it->at(i));
      if (it->at(i) <= frame && f.intact)
        return f.data;
    }
  }
  if (qint64(number) * m_pageSize > m_dbSize)
    return nullptr;
  return m_db + qint64(number - 1) * m_pageSize;
}

QVector<quint32> SqliteImage::freelistPages() const {
  QVector<quint32> pages;
  const uchar* first = page(1);
  if (!first)
    return pages;
  QSet<quint32> seen;
  quint32 trunk = be32(first + 32);
  const quint32 maxLeaves = quint32(m_usable / 4 - 2);
  while (trunk != 0 && trunk <= m_pageCount && !seen.contains(trunk)) {
    seen.insert(trunk);
    pages.append(trunk);
    const uchar* t = page(trunk);
    if (!t)
      break;
    const quint32 leaves = qMin(be32(t + 4), maxLeaves);
    for (quint32 i = 0; i < leaves; ++i) {
      const quint32 leaf = be32(t + 8 + 4 * i);
      if (leaf != 0 && leaf <= m_pageCount && !seen.contains(leaf)) {
        seen.insert(leaf);
        pages.append(leaf);
      }
    }
    trunk = be32(t);
  }
  return pages;
}

} // namespace sqlitecarve
