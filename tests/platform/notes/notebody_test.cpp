// The body decoder against the real body blobs (golden files of their text
// and segments) and against damaged input.
#include "platform/notes/notebody.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <zlib.h>

namespace {

QString bodiesDir() { return QStringLiteral(SHERD_REALDATA_DIR "/note-bodies"); }

QByteArray readAll(const QString& path) {
  QFile f(path);
  return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QString escaped(QString s) {
  s.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
  s.replace(QLatin1Char('\n'), QLatin1String("\\n"));
  s.replace(QLatin1Char('\t'), QLatin1String("\\t"));
  return s;
}

// One line per segment: "T <text>" or "A <identifier> <type>".
QString describe(const NoteBody::Decoded& d) {
  QString out;
  for (const NoteBody::Segment& s : d.segments)
    out += s.attachment ? QStringLiteral("A %1 %2\n").arg(s.identifier, s.typeUti)
                        : QStringLiteral("T %1\n").arg(escaped(s.text));
  return out;
}

QByteArray gzip(const QByteArray& raw) {
  z_stream zs{};
  deflateInit2(&zs, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  QByteArray out(int(deflateBound(&zs, uLong(raw.size()))) + 32, '\0');
  zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(raw.constData()));
  zs.avail_in = uInt(raw.size());
  zs.next_out = reinterpret_cast<Bytef*>(out.data());
  zs.avail_out = uInt(out.size());
  deflate(&zs, Z_FINISH);
  out.resize(int(zs.total_out));
  deflateEnd(&zs);
  return out;
}

void checkGolden(const QString& name, const QString& actual) {
  const QString path = QStringLiteral(SHERD_NOTES_GOLDEN_DIR "/%1.txt").arg(name);
  const QByteArray expected = readAll(path);
  ASSERT_FALSE(expected.isEmpty()) << "no golden file " << path.toStdString();
  EXPECT_EQ(QString::fromUtf8(expected).toStdString(), actual.toStdString()) << name.toStdString();
}

TEST(NoteBody, RealBodiesMatchTheirGoldenFiles) {
  if (!QFileInfo::exists(bodiesDir()))
    GTEST_SKIP() << "real data absent";
  const QStringList names = QDir(bodiesDir()).entryList({QStringLiteral("*.bin")}, QDir::Files, QDir::Name);
  int decoded = 0;
  for (const QString& file : names) {
    if (file.startsWith(QLatin1String("ZSERVER")))
      continue; // keyed archives, not bodies
    const QByteArray blob = readAll(bodiesDir() + QLatin1Char('/') + file);
    const QString name = QFileInfo(file).completeBaseName();
    QString text, error;
    if (name.contains(QLatin1String("table"))) {
      ASSERT_TRUE(NoteBody::decodeTable(blob, &text, &error)) << file.toStdString() << ": " << error.toStdString();
      checkGolden(name, escaped(text) + QLatin1Char('\n'));
    } else {
      NoteBody::Decoded d;
      ASSERT_TRUE(NoteBody::decodeBody(blob, &d, &error)) << file.toStdString() << ": " << error.toStdString();
      checkGolden(name, describe(d));
      // Every character of this emoji-rich text reaches the readable text: runs
      // sliced by code points or bytes instead of UTF-16 units lose the tail.
      if (name == QLatin1String("emoji_formatting_1_gzipped")) {
        EXPECT_EQ(d.readableText(), QString(d.plainText).remove(QChar(0xFFFC))) << file.toStdString();
      }
    }
    ++decoded;
  }
  EXPECT_EQ(decoded, 15);
}

TEST(NoteBody, DamagedBlobsFailWithAReason) {
  QByteArray good;
  if (QFileInfo::exists(bodiesDir()))
    good = readAll(bodiesDir() + "/html_gzipped.bin");
  else
    good = gzip(QByteArray("\x12\x07\x1a\x05\x12\x03"
                           "abc",
                           9));
  QByteArray inflated;
  QString error;
  ASSERT_TRUE(NoteBody::inflate(good, &inflated, &error));
  const struct {
    const char* name;
    QByteArray blob;
  } cases[] = {
      {"not a protobuf", QByteArray("\xff\xff\xff\xff\xff\xff\xff", 7)},
      {"gzip of garbage", gzip(QByteArray("\x0a\xff\xff\xff\xff\x0f", 6))},
      {"truncated protobuf", inflated.left(inflated.size() - 3)},
      {"zip bomb", gzip(QByteArray(80 << 20, '\0'))},
  };
  for (const auto& c : cases) {
    NoteBody::Decoded d;
    error.clear();
    EXPECT_FALSE(NoteBody::decodeBody(c.blob, &d, &error)) << c.name;
    EXPECT_FALSE(error.isEmpty()) << c.name;
  }
}

// One length-delimited protobuf field with a one-byte length.
QByteArray field(char tag, const QByteArray& value) { return QByteArray(1, tag) + char(value.size()) + value; }

TEST(NoteBody, RunsLongerThanTheTextAreClamped) {
  // text "ab\uFFFCc" with runs 2, 1 (attachment), 99: the last run overshoots.
  const QByteArray attachment = field(0x0a, "id") + field(0x12, "public.jpeg");
  const QByteArray note = field(0x12, QStringLiteral("ab\uFFFCc").toUtf8()) + field(0x2a, "\x08\x02") +
                          field(0x2a, "\x08\x01" + field(0x62, attachment)) + field(0x2a, "\x08\x63");
  NoteBody::Decoded d;
  QString error;
  ASSERT_TRUE(NoteBody::decodeBody(gzip(field(0x12, field(0x1a, note))), &d, &error)) << error.toStdString();
  EXPECT_EQ(describe(d), QStringLiteral("T ab\nA id public.jpeg\nT c\n"));
}

} // namespace
