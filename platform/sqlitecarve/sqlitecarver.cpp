#include "platform/sqlitecarve/sqlitecarver.h"

#include "platform/sqlitecarve/sqliteimage.h"

#include <QHash>
#include <QSet>
#include <QTextCodec>

#include <sqlite3.h>

#include <algorithm>
#include <climits>

namespace sqlitecarve {

Affinity affinityOf(const QString& declaredType) {
  const QString t = declaredType.toUpper();
  if (t.contains(QLatin1String("INT")))
    return Affinity::Integer;
  if (t.contains(QLatin1String("CHAR")) || t.contains(QLatin1String("CLOB")) || t.contains(QLatin1String("TEXT")))
    return Affinity::Text;
  if (t.isEmpty() || t.contains(QLatin1String("BLOB")))
    return Affinity::Blob;
  if (t.contains(QLatin1String("REAL")) || t.contains(QLatin1String("FLOA")) || t.contains(QLatin1String("DOUB")))
    return Affinity::Real;
  return Affinity::Numeric;
}

int TableLayout::columnIndex(const QString& name) const {
  // Callers mostly spell a column as the schema does: that costs a length
  // compare per column; any other spelling takes the case-blind search.
  for (int i = 0; i < columns.size(); ++i) {
    if (columns.at(i).name == name)
      return i;
  }
  for (int i = 0; i < columns.size(); ++i) {
    if (columns.at(i).name.compare(name, Qt::CaseInsensitive) == 0)
      return i;
  }
  return -1;
}

ColumnLayout* TableLayout::column(const QString& name) {
  const int i = columnIndex(name);
  return i < 0 ? nullptr : &columns[i];
}

void TableLayout::require(const QString& name, qint64 min, qint64 max) {
  if (ColumnLayout* c = column(name)) {
    c->notNull = true;
    c->hasRange = true;
    c->min = min;
    c->max = max;
  }
}

QVariant CarvedRow::value(const QString& column) const {
  const int i = m_table.columnIndex(column);
  return i < 0 || i >= m_record.values.size() ? QVariant() : m_record.values.at(i);
}

qint64 CarvedRow::integer(const QString& column) const {
  const QVariant v = value(column);
  return v.type() == QVariant::Double ? qint64(v.toDouble()) : v.toLongLong();
}

double CarvedRow::real(const QString& column) const { return value(column).toDouble(); }

QString CarvedRow::text(const QString& column) const {
  const QVariant v = value(column);
  if (v.type() == QVariant::ByteArray)
    return QString::fromUtf8(v.toByteArray());
  return v.isNull() ? QString() : v.toString();
}

QVector<const CarvedRecord*> deletedRowsKeyedFirst(const QVector<CarvedRecord>& records) {
  QVector<const CarvedRecord*> order;
  for (const CarvedRecord& r : records) {
    if (!r.rowidLive)
      order.append(&r);
  }
  std::stable_sort(order.begin(), order.end(),
                   [](const CarvedRecord* a, const CarvedRecord* b) { return a->hasRowid && !b->hasRowid; });
  return order;
}

void tuneForCoreData(TableLayout& layout, const QString& path) {
  qint64 maxEntity = 1 << 16;
  qint64 maxKey = 0;
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "select max(z_ent), max(z_max) from z_primarykey", -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW && sqlite3_column_type(stmt, 0) != SQLITE_NULL) {
      maxEntity = sqlite3_column_int64(stmt, 0);
      maxKey = sqlite3_column_int64(stmt, 1);
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  layout.require(QStringLiteral("Z_ENT"), 1, maxEntity);
  layout.require(QStringLiteral("Z_OPT"), 1, INT_MAX);
  if (maxKey > 0)
    layout.maxRowid = maxKey;
}

QVector<CarvedRecord> carveTable(const QString& path, const QString& table,
                                 const std::function<void(TableLayout&)>& tune, QString* error, CarveStats* stats) {
  TableLayout layout = describeTable(path, table, error);
  if (!layout.isValid())
    return {};
  if (tune)
    tune(layout);
  SqliteCarver carver;
  if (!carver.open(path, error))
    return {};
  return carver.carve(layout, stats);
}

TableLayout describeTable(const QString& path, const QString& table, QString* error) {
  TableLayout layout;
  auto fail = [&](const QString& why) {
    if (error)
      *error = QStringLiteral("%1: %2").arg(path, why);
    return TableLayout();
  };
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
    sqlite3_close(db);
    return fail(QStringLiteral("cannot be opened"));
  }
  const QByteArray name = table.toUtf8();
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_prepare_v2(db, "select name, rootpage, sql from sqlite_master where type = 'table' and lower(name) = lower(?1)",
                         -1, &stmt, nullptr) == SQLITE_OK) {
    sqlite3_bind_text(stmt, 1, name.constData(), name.size(), SQLITE_TRANSIENT);
    if (sqlite3_step(stmt) == SQLITE_ROW) {
      layout.name = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
      layout.rootPage = quint32(sqlite3_column_int64(stmt, 1));
      const QString sql = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 2)));
      if (sql.contains(QLatin1String("WITHOUT ROWID"), Qt::CaseInsensitive))
        layout.rootPage = 0;
    }
  }
  sqlite3_finalize(stmt);
  stmt = nullptr;
  int keyColumns = 0;
  int integerKey = -1;
  if (layout.rootPage > 0 &&
      sqlite3_prepare_v2(db, "select name, type, \"notnull\", pk from pragma_table_info(?1)", -1, &stmt, nullptr) ==
          SQLITE_OK) {
    const QByteArray real = layout.name.toUtf8();
    sqlite3_bind_text(stmt, 1, real.constData(), real.size(), SQLITE_TRANSIENT);
    while (sqlite3_step(stmt) == SQLITE_ROW) {
      ColumnLayout c;
      c.name = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
      const QString type = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1)));
      c.affinity = affinityOf(type);
      c.notNull = sqlite3_column_int(stmt, 2) != 0;
      if (sqlite3_column_int(stmt, 3) > 0) {
        ++keyColumns;
        if (type.trimmed().compare(QLatin1String("INTEGER"), Qt::CaseInsensitive) == 0)
          integerKey = layout.columns.size();
      }
      layout.columns.append(c);
    }
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  if (keyColumns == 1 && integerKey >= 0)
    layout.columns[integerKey].rowidAlias = true;
  if (!layout.isValid())
    return fail(QStringLiteral("no rowid table %1").arg(table));
  return layout;
}

QString Provenance::text() const {
  static const char* const names[] = {"free block", "unallocated space", "freelist page", "older page version"};
  QString s = QStringLiteral("%1, page %2 offset %3").arg(QLatin1String(names[int(origin)])).arg(page).arg(offset);
  if (frame >= 0)
    s += QStringLiteral(", log frame %1").arg(frame);
  if (rebuilt)
    s += QStringLiteral(", header rebuilt");
  return s;
}

namespace {
const int kNewest = INT_MAX;

struct Candidate {
  CarvedRecord record;
  quint64 payloadKey = 0;
};

quint64 hashBytes(const uchar* p, qint64 n, qint64 total) {
  const uint a = qHashBits(p, size_t(n), 0x9e3779b9u);
  const uint b = qHashBits(p, size_t(n), uint(total) ^ 0x85ebca6bu);
  return (quint64(a) << 32) ^ b ^ quint64(total) * 0x100000001b3ull;
}

// Where a page image comes from, for the records found in it.
struct ImageContext {
  quint32 page = 0;
  int frame = -1;    // log frame of the image, -1 for the file
  int asOfFrame = -1; // the state that overflow pages are read from
  Origin origin = Origin::FreeBlock;
  int age = 0;
};
} // namespace

struct SqliteCarver::Impl {
  SqliteImage image;
};

SqliteCarver::SqliteCarver() : d(new Impl) {}
SqliteCarver::~SqliteCarver() { delete d; }

bool SqliteCarver::open(const QString& path, QString* error) { return d->image.load(path, error); }

namespace {
class TableCarver {
public:
  TableCarver(const SqliteImage& image, const TableLayout& table,
              const std::function<bool(const CarvedRecord&)>& accept)
      : m_img(image), m_t(table), m_accept(accept), m_n(table.columns.size()),
        m_min(table.minColumns > 0 ? qMin(table.minColumns, table.columns.size()) : table.columns.size()),
        m_u(image.usableSize()) {
    for (int i = 0; i < m_n; ++i) {
      if (table.columns.at(i).rowidAlias)
        m_rowidColumn = i;
    }
    const char* codec = image.textEncoding() == 2 ? "UTF-16LE" : image.textEncoding() == 3 ? "UTF-16BE" : "UTF-8";
    m_codec = QTextCodec::codecForName(codec);
  }

  QVector<Candidate> candidates;
  int freeBlocks = 0;

  qint64 localSize(qint64 payload) const {
    const qint64 x = m_u - 35;
    if (payload <= x)
      return payload;
    const qint64 m = ((qint64(m_u) - 12) * 32 / 255) - 23;
    const qint64 k = m + (payload - m) % (m_u - 4);
    return k <= x ? k : m;
  }

  quint64 payloadKey(const uchar* p, qint64 payload) const {
    return hashBytes(p, qMin(payload, localSize(payload)), payload);
  }

  bool typeAllowed(int column, qint64 type) const {
    const ColumnLayout& c = m_t.columns.at(column);
    if (type == 10 || type == 11 || type < 0)
      return false;
    if (c.rowidAlias)
      return type == 0;
    if (type == 0)
      return !c.notNull;
    switch (c.affinity) {
    case Affinity::Integer:
      return type <= 6 || type == 8 || type == 9;
    case Affinity::Real:
    case Affinity::Numeric:
      return type <= 9;
    case Affinity::Text:
      return type >= 12;
    case Affinity::Blob:
      return true;
    }
    return false;
  }

  // Checks the serial types of a header (without its length varint) and sums
  // their content sizes. Returns the column count, -1 when the header does
  // not fit the table.
  int readTypes(const uchar* p, const uchar* end, int firstColumn, qint64* body, qint64* types) const {
    int col = firstColumn;
    while (p < end) {
      if (col >= m_n)
        return -1;
      qint64 type = 0;
      const int n = readVarint(p, end, &type);
      if (n == 0 || !typeAllowed(col, type))
        return -1;
      types[col] = type;
      *body += serialTypeSize(type);
      p += n;
      ++col;
    }
    return col;
  }

  // Decodes a whole payload; false when it is not a record of the table.
  bool decode(const uchar* p, qint64 payload, QVector<QVariant>* values) const {
    qint64 headerLength = 0;
    const int n = readVarint(p, p + payload, &headerLength);
    if (n == 0 || headerLength < n + m_min || headerLength > payload)
      return false;
    qint64 types[64];
    QVector<qint64> bigTypes;
    qint64* t = types;
    if (m_n > 64) {
      bigTypes.resize(m_n);
      t = bigTypes.data();
    }
    qint64 body = 0;
    const int count = readTypes(p + n, p + headerLength, 0, &body, t);
    if (count < m_min || headerLength + body != payload)
      return false;
    values->resize(m_n);
    const uchar* v = p + headerLength;
    for (int c = 0; c < m_n; ++c) {
      QVariant& out = (*values)[c];
      out = QVariant();
      if (c >= count)
        continue;
      const qint64 type = t[c];
      const qint64 size = serialTypeSize(type);
      if (type >= 1 && type <= 6) {
        qint64 x = (v[0] & 0x80) ? -1 : 0;
        for (qint64 i = 0; i < size; ++i)
          x = qint64((quint64(x) << 8) | v[i]);
        const ColumnLayout& col = m_t.columns.at(c);
        if (col.hasRange && (x < col.min || x > col.max))
          return false;
        out = x;
      } else if (type == 8 || type == 9) {
        const ColumnLayout& col = m_t.columns.at(c);
        const qint64 x = type - 8;
        if (col.hasRange && (x < col.min || x > col.max))
          return false;
        out = x;
      } else if (type == 7) {
        quint64 bits = 0;
        for (int i = 0; i < 8; ++i)
          bits = (bits << 8) | v[i];
        double d;
        memcpy(&d, &bits, 8);
        if (d != d)
          return false;
        out = d;
      } else if (type >= 12 && (type & 1) == 0) {
        out = QByteArray(reinterpret_cast<const char*>(v), int(size));
      } else if (type >= 13) {
        if (!validText(v, size))
          return false;
        QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
        out = m_codec->toUnicode(reinterpret_cast<const char*>(v), int(size), &state);
      }
      v += size;
    }
    return true;
  }

  bool validText(const uchar* v, qint64 size) const {
    if (m_img.textEncoding() != 1) {
      if (size & 1)
        return false;
      for (qint64 i = 0; i + 1 < size; i += 2) {
        if (v[i] == 0 && v[i + 1] == 0)
          return false;
      }
      return true;
    }
    // Strict UTF-8, no NUL.
    for (qint64 i = 0; i < size;) {
      const uchar c = v[i];
      int extra = 0;
      if (c == 0)
        return false;
      if (c < 0x80)
        extra = 0;
      else if (c >= 0xc2 && c <= 0xdf)
        extra = 1;
      else if (c >= 0xe0 && c <= 0xef)
        extra = 2;
      else if (c >= 0xf0 && c <= 0xf4)
        extra = 3;
      else
        return false;
      for (int k = 1; k <= extra; ++k) {
        if (i + k >= size || (v[i + k] & 0xc0) != 0x80)
          return false;
      }
      if (extra == 2 && ((c == 0xe0 && v[i + 1] < 0xa0) || (c == 0xed && v[i + 1] > 0x9f)))
        return false;
      if (extra == 3 && ((c == 0xf0 && v[i + 1] < 0x90) || (c == 0xf4 && v[i + 1] > 0x8f)))
        return false;
      i += extra + 1;
    }
    return true;
  }

  // Appends the overflow part of a payload, following the chain as of a frame.
  bool readOverflow(quint32 first, qint64 remaining, int asOfFrame, QByteArray* out) const {
    quint32 next = first;
    const qint64 perPage = m_u - 4;
    qint64 pages = (remaining + perPage - 1) / perPage;
    while (remaining > 0) {
      if (next < 2 || pages-- <= 0)
        return false;
      const uchar* pg = m_img.pageAsOf(next, asOfFrame);
      if (!pg)
        return false;
      const qint64 take = qMin(remaining, perPage);
      out->append(reinterpret_cast<const char*>(pg + 4), int(take));
      remaining -= take;
      next = be32(pg);
    }
    return true;
  }

  void keep(const ImageContext& ctx, int offset, bool hasRowid, qint64 rowid, QVector<QVariant>&& values,
            quint64 key, bool rebuilt, quint64 guessed) {
    Candidate c;
    CarvedRecord& r = c.record;
    r.hasRowid = hasRowid;
    r.rowid = rowid;
    r.values = std::move(values);
    if (m_rowidColumn >= 0)
      r.values[m_rowidColumn] = hasRowid ? QVariant(rowid) : QVariant();
    r.guessedColumns = guessed;
    r.from = {ctx.origin, ctx.page, offset, ctx.frame, rebuilt};
    r.age = ctx.age;
    c.payloadKey = key;
    // A record of (nearly) nothing but NULLs and zeros tells nothing and is
    // what zeroed or damaged bytes decode to most easily: two values that say
    // something are asked for (one in a table of fewer than three columns).
    int telling = 0;
    for (int i = 0; i < r.values.size(); ++i) {
      const QVariant& v = r.values.at(i);
      if (i != m_rowidColumn && !v.isNull() && !(v.type() == QVariant::LongLong && v.toLongLong() == 0))
        ++telling;
    }
    if (telling < qMin(2, m_n - (m_rowidColumn >= 0 ? 2 : 1)) || telling == 0 || (m_accept && !m_accept(r)))
      return;
    candidates.append(std::move(c));
  }

  // A whole cell at off that must end by limit. Returns the cell's end, 0
  // when there is no record of the table there.
  int intactCell(const uchar* page, int off, int limit, const ImageContext& ctx, bool keepIt = true) {
    const uchar* end = page + limit;
    qint64 payload = 0;
    const int n1 = readVarint(page + off, end, &payload);
    if (n1 == 0 || payload < 1 + m_min || payload > (qint64(1) << 30))
      return 0;
    qint64 rowid = 0;
    const int n2 = readVarint(page + off + n1, end, &rowid);
    if (n2 == 0 || rowid <= 0 || (m_t.maxRowid > 0 && rowid > m_t.maxRowid))
      return 0;
    const qint64 local = localSize(payload);
    const bool overflow = local < payload;
    const qint64 cellEnd = off + n1 + n2 + local + (overflow ? 4 : 0);
    if (cellEnd > limit)
      return 0;
    const uchar* start = page + off + n1 + n2;
    // Cheap look at the header before anything is copied.
    qint64 headerLength = 0;
    const int h = readVarint(start, start + local, &headerLength);
    if (h == 0 || headerLength < h + m_min || headerLength > payload)
      return 0;
    QVector<QVariant> values;
    if (!overflow) {
      if (!decode(start, payload, &values))
        return 0;
      if (keepIt)
        keep(ctx, off, true, rowid, std::move(values), payloadKey(start, payload), false, 0);
      return int(cellEnd);
    }
    QByteArray whole(reinterpret_cast<const char*>(start), int(local));
    if (!readOverflow(be32(page + cellEnd - 4), payload - local, ctx.asOfFrame, &whole))
      return 0;
    const uchar* p = reinterpret_cast<const uchar*>(whole.constData());
    if (!decode(p, payload, &values))
      return 0;
    if (keepIt)
      keep(ctx, off, true, rowid, std::move(values), payloadKey(p, payload), false, 0);
    return int(cellEnd);
  }

  // Free space: whole cells, and cells whose first 4 bytes a free-block
  // header overwrote. Freed neighbours merge into one block, each having had
  // its own header first, so after every record found the next one is tried
  // right at its end, rebuilt if need be. Elsewhere whole cells are looked
  // for at every byte, and so are the headers of blocks that the content
  // area's start has since swallowed (next offset, then size): such a block
  // counts only when its records fill it exactly, since old cell pointers
  // left in the gap look like block headers too.
  void carveRegion(const uchar* page, int from, int to, const ImageContext& ctx, bool blockStart) {
    bool chain = blockStart;
    for (int s = from; s + 2 + m_min < to;) {
      int end = intactCell(page, s, to, ctx);
      if (end <= s && chain) {
        end = rebuiltCell(page, s, to, ctx);
      } else if (end <= s) {
        const int next = int(be16(page + s));
        const int size = int(be16(page + s + 2));
        if (size >= 4 + m_min && s + size <= to && (next == 0 || next >= s + size)) {
          const int mark = candidates.size();
          int pos = s;
          for (int e = rebuiltCell(page, s, s + size, ctx); e > pos;) {
            pos = e;
            e = intactCell(page, pos, s + size, ctx);
            if (e <= pos)
              e = rebuiltCell(page, pos, s + size, ctx);
          }
          if (pos == s + size)
            end = pos;
          else
            candidates.resize(mark);
        }
      }
      chain = end > s;
      s = chain ? end : s + 1;
    }
  }

  // The cell at the start of a free block, whose first 4 bytes the block's
  // header replaced. Returns the cell's end, 0 when nothing fits.
  int rebuiltCell(const uchar* page, int f, int end, const ImageContext& ctx) {
    struct Best {
      int score = -1;
      QByteArray payload;
      int cellEnd = 0;
      quint64 guessed = 0;
    } best;
    qint64 typesBuf[64];
    QVector<qint64> bigTypes;
    qint64* types = typesBuf;
    if (m_n > 64) {
      bigTypes.resize(m_n);
      types = bigTypes.data();
    }
    const int known = f + 4; // first byte that the block header did not overwrite
    for (int hs = f + 2; hs <= f + 13 && hs < end; ++hs) {
      for (int hl = 1; hl <= 2; ++hl) {
        const int ss = hs + hl; // first serial type
        const int lost = qMax(0, known - ss);
        if (lost > 1 || ss >= end)
          continue;
        qint64 readLength = -1;
        if (hs >= known) {
          if (readVarint(page + hs, page + end, &readLength) != hl)
            continue;
        } else if (ss - 1 >= known && (page[ss - 1] & 0x80)) {
          continue; // the surviving last byte of the length must end a varint
        }
        const int typesFrom = ss + lost;
        qint64 body = 0;
        int count = 0;
        int typesEnd = 0;
        if (readLength >= 0) {
          typesEnd = int(hs + readLength);
          if (typesEnd > end || typesEnd < typesFrom)
            continue;
          count = readTypes(page + typesFrom, page + typesEnd, lost, &body, types);
        } else {
          // The length is lost: the table's column count ends the header.
          const uchar* p = page + typesFrom;
          count = lost;
          while (count < m_n && p < page + end) {
            qint64 type = 0;
            const int n = readVarint(p, page + end, &type);
            if (n == 0 || !typeAllowed(count, type)) {
              count = -1;
              break;
            }
            types[count++] = type;
            body += serialTypeSize(type);
            p += n;
          }
          typesEnd = int(p - page);
          if (count != m_n)
            continue;
        }
        if (count < m_min || count < 0)
          continue;
        const qint64 headerLength = typesEnd - hs;
        if (varintLength(quint64(headerLength)) != hl)
          continue;
        if (hs < known && ss - 1 >= known && page[ss - 1] != uchar(headerLength & 0x7f))
          continue;
        // Options for a lost first serial type: (type, guessed).
        QVector<std::pair<qint64, bool>> firstTypes;
        if (lost == 0) {
          firstTypes.append({-1, false});
        } else if (m_t.columns.at(0).rowidAlias) {
          firstTypes.append({0, false});
        } else {
          // The type whose content fills the block exactly.
          const qint64 rest = qint64(end) - (hs + headerLength) - body;
          for (qint64 t = 0; t < 128; ++t) {
            if (t == 10 || t == 11 || !typeAllowed(0, t) || serialTypeSize(t) != rest)
              continue;
            firstTypes.append({t, false});
          }
          // Inside merged blocks a record ends where the header its
          // neighbour got when it was freed begins (its next offset lies
          // beyond it or is 0, its size within the block): the fixed-size
          // types whose end meets such a header.
          QVector<std::pair<qint64, bool>> meetingHeaders;
          for (qint64 t = 0; firstTypes.isEmpty() && t <= 9; ++t) {
            const qint64 payloadSize = headerLength + body + serialTypeSize(t);
            const qint64 cellEnd = hs + payloadSize;
            if (!typeAllowed(0, t) || cellEnd + 4 + m_min > end || localSize(payloadSize) < payloadSize)
              continue;
            const int next = int(be16(page + cellEnd));
            const int size = int(be16(page + cellEnd + 2));
            if ((next == 0 || next >= cellEnd + size) && size >= 4 + m_min && cellEnd + size <= end)
              meetingHeaders.append({t, false});
          }
          if (firstTypes.isEmpty())
            firstTypes = meetingHeaders;
          if (firstTypes.size() > 1) {
            // Same size, several types: NULL, 0 or 1; integer or real; text
            // or blob. NULL, then real in a non-integer column, then text win;
            // only text over blob is no guess (the bytes are the same).
            const bool integerColumn = m_t.columns.at(0).affinity == Affinity::Integer;
            auto rank = [integerColumn](qint64 t) {
              if (t == 0)
                return 0;
              if (t == 7)
                return integerColumn ? 3 : 1;
              if (t >= 13 && (t & 1))
                return 1;
              if (t >= 1 && t <= 6)
                return 2;
              return t == 8 ? 4 : t == 9 ? 5 : 6;
            };
            std::sort(firstTypes.begin(), firstTypes.end(),
                      [&](const auto& a, const auto& b) { return rank(a.first) < rank(b.first); });
            // Text over blob, and real over integer in a REAL column, are no
            // guess: the value is the same, or the integer form never occurs.
            const qint64 chosen = firstTypes.first().first;
            const bool realColumn = m_t.columns.at(0).affinity == Affinity::Real;
            bool sure = true;
            for (int i = 1; i < firstTypes.size(); ++i) {
              const qint64 other = firstTypes.at(i).first;
              const bool blobBehindText = chosen >= 13 && other >= 12 && !(other & 1);
              const bool intBehindReal = realColumn && chosen == 7 && other == 6;
              sure = sure && (blobBehindText || intBehindReal);
            }
            for (auto& t : firstTypes)
              t.second = !sure;
          }
        }
        for (const auto& first : firstTypes) {
          const qint64 bodyAll = body + (first.first >= 0 ? serialTypeSize(first.first) : 0);
          const qint64 payload = headerLength + bodyAll;
          const int p = varintLength(quint64(payload));
          const int r = hs - f - p;
          if (r < 1 || r > 9)
            continue;
          // The rowid's surviving bytes must look like the end of a varint.
          bool rowidFits = true;
          for (int i = qMax(f + p, known); i < hs; ++i) {
            const bool last = i == hs - 1;
            if (r < 9 && bool(page[i] & 0x80) == last)
              rowidFits = false;
          }
          if (!rowidFits)
            continue;
          const qint64 local = localSize(payload);
          const bool overflow = local < payload;
          const qint64 cellEnd = hs + (local - 0) + (overflow ? 4 : 0);
          if (cellEnd > end)
            continue;
          QByteArray whole;
          whole.reserve(int(local));
          uchar lenBytes[9];
          int lb = 0;
          for (int i = hl - 1; i >= 0; --i)
            lenBytes[lb++] = uchar(((quint64(headerLength) >> (7 * i)) & 0x7f) | (i > 0 ? 0x80 : 0));
          whole.append(reinterpret_cast<const char*>(lenBytes), hl);
          if (first.first >= 0)
            whole.append(char(first.first));
          whole.append(reinterpret_cast<const char*>(page + typesFrom), int(hs + local - typesFrom));
          if (whole.size() != local)
            continue;
          if (overflow && !readOverflow(be32(page + cellEnd - 4), payload - local, ctx.asOfFrame, &whole))
            continue;
          QVector<QVariant> values;
          if (!decode(reinterpret_cast<const uchar*>(whole.constData()), payload, &values))
            continue;
          const int score = (cellEnd == end ? 4 : 0) + (readLength >= 0 ? 2 : 0) + (first.second ? 0 : 1);
          if (score > best.score) {
            best.score = score;
            best.payload = whole;
            best.cellEnd = int(cellEnd);
            best.guessed = first.second ? 1 : 0;
          }
          break;
        }
      }
    }
    if (best.score < 0)
      return 0;
    QVector<QVariant> values;
    const uchar* p = reinterpret_cast<const uchar*>(best.payload.constData());
    decode(p, best.payload.size(), &values);
    keep(ctx, f, false, 0, std::move(values), payloadKey(p, best.payload.size()), true, best.guessed);
    return best.cellEnd;
  }

  struct LeafHeader {
    int hdr = 0;
    int cells = 0;
    int pointers = 0; // first byte after the cell pointer array
    int content = 0;
    int firstFree = 0;
  };

  bool leafHeader(const uchar* page, quint32 number, LeafHeader* h) const {
    h->hdr = number == 1 ? 100 : 0;
    if (page[h->hdr] != 0x0d)
      return false;
    h->firstFree = int(be16(page + h->hdr + 1));
    h->cells = int(be16(page + h->hdr + 3));
    h->content = int(be16(page + h->hdr + 5));
    if (h->content == 0)
      h->content = 65536;
    h->pointers = h->hdr + 8 + 2 * h->cells;
    return h->pointers <= m_u && h->content <= m_u && h->content >= h->pointers;
  }

  // Free blocks and the unallocated gap of a leaf page.
  void carveFreeSpace(const uchar* page, const LeafHeader& h, ImageContext ctx, Origin blockOrigin,
                      Origin gapOrigin) {
    ctx.origin = gapOrigin;
    carveRegion(page, h.pointers, h.content, ctx, false);
    ctx.origin = blockOrigin;
    int block = h.firstFree;
    int guard = m_u / 4;
    while (block != 0 && guard-- > 0) {
      if (block < h.pointers || block + 4 > m_u)
        break;
      const int next = int(be16(page + block));
      const int size = int(be16(page + block + 2));
      const int end = qMin(block + size, m_u);
      if (size >= 4) {
        ++freeBlocks;
        carveRegion(page, block, end, ctx, true);
      }
      if (next != 0 && next <= block)
        break;
      block = next;
    }
  }

  // A page that the current state does not use for the table.
  void carveDeadPage(const uchar* page, quint32 number, const ImageContext& ctx, Origin blockOrigin) {
    LeafHeader h;
    const int hdr = number == 1 ? 100 : 0;
    if (leafHeader(page, number, &h)) {
      for (int i = 0; i < h.cells; ++i) {
        const int off = int(be16(page + h.hdr + 8 + 2 * i));
        if (off >= h.pointers && off < m_u)
          intactCell(page, off, m_u, ctx);
      }
      carveFreeSpace(page, h, ctx, blockOrigin, blockOrigin);
      return;
    }
    const uchar kind = page[hdr];
    if (kind == 0x05 || kind == 0x0a || kind == 0x02)
      return; // interior and index pages hold no table rows
    carveRegion(page, hdr + 8, m_u, ctx, false);
  }

  void liveLeaves(QVector<quint32>* leaves, QHash<qint64, quint64>* live, QSet<quint64>* liveKeys) {
    QVector<quint32> stack{m_t.rootPage};
    QSet<quint32> seen;
    while (!stack.isEmpty()) {
      const quint32 number = stack.takeLast();
      if (seen.contains(number))
        continue;
      seen.insert(number);
      const uchar* page = m_img.page(number);
      if (!page)
        continue;
      const int hdr = number == 1 ? 100 : 0;
      const uchar kind = page[hdr];
      const int cells = int(be16(page + hdr + 3));
      if (kind == 0x05) {
        if (hdr + 12 + 2 * cells > m_u)
          continue;
        stack.append(be32(page + hdr + 8));
        for (int i = 0; i < cells; ++i) {
          const int off = int(be16(page + hdr + 12 + 2 * i));
          if (off + 4 <= m_u)
            stack.append(be32(page + off));
        }
        continue;
      }
      LeafHeader h;
      if (!leafHeader(page, number, &h))
        continue;
      leaves->append(number);
      const uchar* end = page + m_u;
      for (int i = 0; i < h.cells; ++i) {
        const int off = int(be16(page + h.hdr + 8 + 2 * i));
        if (off >= m_u)
          continue;
        qint64 payload = 0;
        qint64 rowid = 0;
        const int n1 = readVarint(page + off, end, &payload);
        const int n2 = n1 ? readVarint(page + off + n1, end, &rowid) : 0;
        if (n2 == 0 || payload < 0)
          continue;
        const qint64 local = qMin(localSize(payload), qint64(end - (page + off + n1 + n2)));
        const quint64 key = hashBytes(page + off + n1 + n2, local, payload);
        live->insert(rowid, key);
        liveKeys->insert(key);
      }
    }
  }

private:
  const SqliteImage& m_img;
  const TableLayout& m_t;
  const std::function<bool(const CarvedRecord&)>& m_accept;
  const int m_n;
  const int m_min;
  const int m_u;
  int m_rowidColumn = -1;
  QTextCodec* m_codec = nullptr;
};

int ageOf(const OlderImage& image) {
  switch (image.kind) {
  case OlderImage::ReplacedFilePage:
    return -1;
  case OlderImage::StaleFrame:
    return -1000000000 + image.frame;
  case OlderImage::BeyondEnd:
    return image.frame >= 0 ? image.frame : -1;
  case OlderImage::ReplacedFrame:
  case OlderImage::UncommittedFrame:
    return image.frame;
  }
  return 0;
}
} // namespace

QVector<CarvedRecord> SqliteCarver::carve(const TableLayout& table, CarveStats* stats,
                                          const std::function<bool(const CarvedRecord&)>& accept) const {
  QVector<CarvedRecord> out;
  const SqliteImage& img = d->image;
  if (!table.isValid() || img.pageSize() == 0 || table.columns.size() > 2000)
    return out;
  TableCarver carver(img, table, accept);

  QVector<quint32> leaves;
  QHash<qint64, quint64> live;
  QSet<quint64> liveKeys;
  carver.liveLeaves(&leaves, &live, &liveKeys);

  const int current = img.lastCommitFrame();
  for (quint32 number : leaves) {
    const uchar* page = img.page(number);
    TableCarver::LeafHeader h;
    if (!page || !carver.leafHeader(page, number, &h))
      continue;
    ImageContext ctx{number, -1, current, Origin::FreeBlock, kNewest};
    carver.carveFreeSpace(page, h, ctx, Origin::FreeBlock, Origin::Unallocated);
  }
  const QVector<quint32> freelist = img.freelistPages();
  for (quint32 number : freelist) {
    if (const uchar* page = img.page(number))
      carver.carveDeadPage(page, number, {number, -1, current, Origin::FreelistPage, kNewest - 1},
                           Origin::FreelistPage);
  }
  for (const OlderImage& older : img.olderImages()) {
    const int asOf = older.frame >= 0 ? older.frame : -1;
    carver.carveDeadPage(older.data, older.page,
                         {older.page, older.frame, asOf, Origin::OlderPageVersion, ageOf(older)},
                         Origin::OlderPageVersion);
  }

  // Deduplicate: drop copies of live rows, keep the newest version of a rowid,
  // list equal payloads once.
  QVector<Candidate>& all = carver.candidates;
  std::stable_sort(all.begin(), all.end(), [](const Candidate& a, const Candidate& b) {
    if (a.record.hasRowid != b.record.hasRowid)
      return a.record.hasRowid;
    return a.record.age > b.record.age;
  });
  QSet<qint64> rowids;
  QSet<quint64> payloads;
  for (Candidate& c : all) {
    CarvedRecord& r = c.record;
    if (liveKeys.contains(c.payloadKey) && (!r.hasRowid || live.value(r.rowid, 0) == c.payloadKey))
      continue;
    if (payloads.contains(c.payloadKey))
      continue;
    if (r.hasRowid) {
      if (rowids.contains(r.rowid))
        continue;
      rowids.insert(r.rowid);
      r.rowidLive = live.contains(r.rowid);
    }
    payloads.insert(c.payloadKey);
    out.append(r);
  }
  std::stable_sort(out.begin(), out.end(),
                   [](const CarvedRecord& a, const CarvedRecord& b) { return a.age > b.age; });
  if (stats) {
    stats->frames = img.frameCount();
    stats->commits = img.commitCount();
    stats->olderImages = img.olderImages().size();
    stats->freelistPages = freelist.size();
    stats->freeBlocks = carver.freeBlocks;
    stats->candidates = all.size();
    stats->kept = out.size();
  }
  return out;
}

} // namespace sqlitecarve
