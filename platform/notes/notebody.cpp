#include "platform/notes/notebody.h"

#include "notestore.pb.h"

#include <QHash>
#include <QMap>
#include <QVector>
#include <zlib.h>

namespace NoteBody {

namespace ns = sherd::notestore;

namespace {

const QChar kObject(0xFFFC);

enum ParagraphKind {
  Body = -1,
  Title = 0,
  Heading = 1,
  Subheading = 2,
  Monospaced = 4,
  Bulleted = 100,
  Dashed = 101,
  Numbered = 102,
  Checklist = 103,
};

QString fromBytes(const std::string& s) { return QString::fromUtf8(s.data(), int(s.size())); }

bool isList(int style) { return style >= Bulleted && style <= Checklist; }

// Builds readable text from the runs of one text document: list markers and
// indentation at the start of each paragraph, link targets after their text.
class TextBuilder {
public:
  explicit TextBuilder(QList<Segment>* segments) : m_segments(segments) {}

  void add(const ns::TextDocument& doc) {
    const QString text = fromBytes(doc.text());
    int pos = 0;
    for (const ns::AttributeRun& run : doc.run()) {
      if (pos >= text.size())
        break;
      const int len = qBound(0, run.length(), text.size() - pos);
      const QString slice = text.mid(pos, len);
      pos += len;
      // A link may span several runs (parts of it bold, say): its target
      // follows the last of them.
      const QString url = run.has_link() ? fromBytes(run.link()) : QString();
      if (url != m_link)
        endLink();
      m_link = url;
      bool attachmentTaken = false;
      for (const QChar c : slice) {
        if (c == kObject) {
          // Only the first placeholder of a run carries the run's attachment;
          // a placeholder without one stands for nothing readable.
          if (run.has_attachment() && !attachmentTaken) {
            attachmentTaken = true;
            startParagraph(run);
            flush();
            Segment seg;
            seg.attachment = true;
            seg.identifier = fromBytes(run.attachment().identifier());
            seg.typeUti = fromBytes(run.attachment().type_uti());
            m_segments->append(seg);
          }
          continue;
        }
        startParagraph(run);
        m_current.append(c);
        if (c == QLatin1Char('\n'))
          m_lineStart = true;
      }
      m_linkText += slice;
    }
    endLink();
    // Text that no run covers is kept as it is.
    for (int i = pos; i < text.size(); ++i) {
      if (text.at(i) == kObject)
        continue;
      m_current.append(text.at(i));
    }
  }

  void flush() {
    if (!m_current.isEmpty()) {
      Segment seg;
      seg.text = m_current;
      m_segments->append(seg);
      m_current.clear();
    }
  }

private:
  void endLink() {
    if (!m_link.isEmpty() && m_link != m_linkText.trimmed())
      m_current.append(QStringLiteral(" <%1>").arg(m_link));
    m_link.clear();
    m_linkText.clear();
  }

  void startParagraph(const ns::AttributeRun& run) {
    if (!m_lineStart)
      return;
    m_lineStart = false;
    const int style = run.has_paragraph() ? run.paragraph().style() : Body;
    const int indent = run.has_paragraph() ? qBound(0, run.paragraph().indent(), 16) : 0;
    if (!isList(style)) {
      m_numbers.clear();
      return;
    }
    m_current.append(QString(indent, QLatin1Char('\t')));
    // A numbered item continues the count of its own level; deeper levels
    // start again below it.
    for (auto it = m_numbers.begin(); it != m_numbers.end();) {
      if (it.key() > indent)
        it = m_numbers.erase(it);
      else
        ++it;
    }
    switch (style) {
    case Bulleted:
      m_current.append(QStringLiteral("\u2022 "));
      m_numbers.remove(indent);
      break;
    case Dashed:
      m_current.append(QStringLiteral("- "));
      m_numbers.remove(indent);
      break;
    case Numbered:
      m_current.append(QStringLiteral("%1. ").arg(++m_numbers[indent]));
      break;
    case Checklist:
      m_current.append(run.paragraph().checklist().done() ? QStringLiteral("[x] ") : QStringLiteral("[ ] "));
      m_numbers.remove(indent);
      break;
    default:
      break;
    }
  }

  QList<Segment>* m_segments;
  QString m_current;
  bool m_lineStart = true;
  QMap<int, int> m_numbers; // indent level -> last number given
  QString m_link;           // target of the link being read
  QString m_linkText;       // its visible text so far
};

// The readable text of a table cell: one line.
QString cellText(const ns::TextDocument& doc) {
  QList<Segment> segs;
  TextBuilder b(&segs);
  b.add(doc);
  b.flush();
  QString out;
  for (const Segment& s : segs)
    if (!s.attachment)
      out += s.text;
  out.replace(QLatin1Char('\n'), QLatin1Char(' '));
  out.replace(QLatin1Char('\t'), QLatin1Char(' '));
  return out.trimmed();
}

} // namespace

QString Decoded::readableText() const {
  QString out;
  for (const Segment& s : segments)
    if (!s.attachment)
      out += s.text;
  return out;
}

bool inflate(const QByteArray& blob, QByteArray* out, QString* error, qint64 maxOutput) {
  const auto* data = reinterpret_cast<const unsigned char*>(blob.constData());
  const bool gzip = blob.size() >= 2 && data[0] == 0x1f && data[1] == 0x8b;
  const bool zlibHeader = blob.size() >= 2 && (data[0] & 0x0f) == 8 && ((data[0] << 8) | data[1]) % 31 == 0;
  if (!gzip && !zlibHeader) {
    *out = blob;
    return true;
  }
  z_stream zs{};
  if (inflateInit2(&zs, 15 + 32) != Z_OK) {
    *error = QStringLiteral("zlib cannot start");
    return false;
  }
  zs.next_in = const_cast<Bytef*>(data);
  zs.avail_in = uInt(blob.size());
  QByteArray result;
  char chunk[16384];
  int rc = Z_OK;
  while (rc == Z_OK) {
    zs.next_out = reinterpret_cast<Bytef*>(chunk);
    zs.avail_out = sizeof chunk;
    rc = ::inflate(&zs, Z_NO_FLUSH);
    if (rc != Z_OK && rc != Z_STREAM_END)
      break;
    result.append(chunk, int(sizeof chunk - zs.avail_out));
    if (result.size() > maxOutput) {
      inflateEnd(&zs);
      *error = QStringLiteral("inflated body larger than %1 bytes").arg(maxOutput);
      return false;
    }
    if (rc == Z_OK && zs.avail_in == 0 && zs.avail_out != 0) {
      rc = Z_BUF_ERROR; // input ended before the stream did
      break;
    }
  }
  inflateEnd(&zs);
  if (rc != Z_STREAM_END) {
    *error = rc == Z_BUF_ERROR ? QStringLiteral("compressed body is truncated")
                               : QStringLiteral("compressed body is damaged (zlib %1)").arg(rc);
    return false;
  }
  *out = result;
  return true;
}

bool decodeBody(const QByteArray& blob, Decoded* out, QString* error) {
  *out = Decoded();
  if (blob.isEmpty())
    return true; // an empty body is a note without text
  QByteArray raw;
  if (!inflate(blob, &raw, error))
    return false;
  ns::StoredBody body;
  if (!body.ParseFromArray(raw.constData(), raw.size())) {
    *error = QStringLiteral("body is not a note document");
    return false;
  }
  if (!body.has_document() || !body.document().has_note()) {
    *error = QStringLiteral("body holds no note text");
    return false;
  }
  const ns::TextDocument& note = body.document().note();
  out->plainText = fromBytes(note.text());
  TextBuilder builder(&out->segments);
  builder.add(note);
  builder.flush();
  return true;
}

bool decodeTable(const QByteArray& blob, QString* text, QString* error) {
  text->clear();
  QByteArray raw;
  if (!inflate(blob, &raw, error))
    return false;
  ns::MergeableTop top;
  if (!top.ParseFromArray(raw.constData(), raw.size()) || !top.object().has_data()) {
    *error = QStringLiteral("table data is not mergeable data");
    return false;
  }
  const ns::MergeableData& data = top.object().data();
  const int entryCount = data.entry_size();
  auto entryAt = [&](int index) -> const ns::MergeEntry* {
    return index >= 0 && index < entryCount ? &data.entry(index) : nullptr;
  };
  auto itemText = [](const google::protobuf::RepeatedPtrField<std::string>& items, int i) {
    return i >= 0 && i < items.size() ? fromBytes(items.Get(i)) : QString();
  };
  QHash<QByteArray, int> uuidIndex;
  for (int i = 0; i < data.uuid_item_size(); ++i)
    uuidIndex.insert(QByteArray::fromStdString(data.uuid_item(i)), i);
  // The identity of an object: the UUID index held by the first value of its map.
  auto uuidOf = [&](const ns::ObjectRef& ref) -> qint64 {
    const ns::MergeEntry* e = entryAt(ref.object_index());
    if (!e || !e->has_map() || e->map().entry_size() == 0)
      return -1;
    return qint64(e->map().entry(0).value().unsigned_value());
  };

  int tableEntry = -1;
  for (int i = 0; i < entryCount && tableEntry < 0; ++i) {
    const ns::MergeEntry& e = data.entry(i);
    if (e.has_map() && itemText(data.type_item(), e.map().type()) == QLatin1String("com.apple.notes.ICTable"))
      tableEntry = i;
  }
  if (tableEntry < 0) {
    *error = QStringLiteral("mergeable data holds no table");
    return false;
  }
  QHash<QString, int> parts;
  for (const ns::TypedMapEntry& me : data.entry(tableEntry).map().entry())
    parts.insert(itemText(data.key_item(), me.key()), me.value().object_index());

  // Positions of rows or columns: the ordered array gives the order of
  // identities; the ordering's dictionary ties further identities to them.
  auto positions = [&](const QString& name, int* count) {
    QHash<qint64, int> pos;
    *count = 0;
    const ns::MergeEntry* e = entryAt(parts.value(name, -1));
    if (!e || !e->has_ordered_set())
      return pos;
    const ns::Ordering& ordering = e->ordered_set().ordering();
    for (const ns::OrderedArrayItem& item : ordering.array().item()) {
      const int u = uuidIndex.value(QByteArray::fromStdString(item.uuid()), -1);
      if (u >= 0 && !pos.contains(u))
        pos.insert(u, *count);
      ++*count;
    }
    for (const ns::DictionaryElement& el : ordering.contents().element()) {
      const qint64 k = uuidOf(el.key());
      const qint64 v = uuidOf(el.value());
      if (pos.contains(v) && !pos.contains(k))
        pos.insert(k, pos.value(v));
      else if (pos.contains(k) && !pos.contains(v))
        pos.insert(v, pos.value(k));
    }
    return pos;
  };
  int rowCount = 0;
  int columnCount = 0;
  const QHash<qint64, int> rowPos = positions(QStringLiteral("crRows"), &rowCount);
  const QHash<qint64, int> columnPos = positions(QStringLiteral("crColumns"), &columnCount);
  if (rowCount == 0 || columnCount == 0 || qint64(rowCount) * columnCount > 1000000) {
    *error = QStringLiteral("table has no rows or columns");
    return false;
  }
  QVector<QVector<QString>> cells(rowCount, QVector<QString>(columnCount));
  const ns::MergeEntry* cellColumns = entryAt(parts.value(QStringLiteral("cellColumns"), -1));
  if (cellColumns && cellColumns->has_dictionary()) {
    for (const ns::DictionaryElement& col : cellColumns->dictionary().element()) {
      const int c = columnPos.value(uuidOf(col.key()), -1);
      const ns::MergeEntry* rows = entryAt(col.value().object_index());
      if (c < 0 || !rows || !rows->has_dictionary())
        continue;
      for (const ns::DictionaryElement& row : rows->dictionary().element()) {
        const int r = rowPos.value(uuidOf(row.key()), -1);
        const ns::MergeEntry* cell = entryAt(row.value().object_index());
        if (r >= 0 && cell && cell->has_note())
          cells[r][c] = cellText(cell->note());
      }
    }
  }
  bool rightToLeft = false;
  if (const ns::MergeEntry* dir = entryAt(parts.value(QStringLiteral("crTableColumnDirection"), -1))) {
    QString value;
    if (dir->has_map())
      for (const ns::TypedMapEntry& me : dir->map().entry())
        value += fromBytes(me.value().string_value());
    if (dir->has_register_())
      value += fromBytes(dir->register_().contents().string_value());
    rightToLeft = value.contains(QLatin1String("RightToLeft"));
  }
  QStringList lines;
  for (QVector<QString>& row : cells) {
    if (rightToLeft)
      std::reverse(row.begin(), row.end());
    lines << QStringList(row.toList()).join(QLatin1Char('\t'));
  }
  *text = lines.join(QLatin1Char('\n'));
  return true;
}

} // namespace NoteBody
