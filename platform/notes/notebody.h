#pragma once
// The body of a note in the modern store: a compressed protocol-buffer
// document of text plus attribute runs. Decoding turns it into readable text
// split around the note's attachments; tables, kept apart as "mergeable data"
// on their attachment rows, decode into rows of tab-separated cells.
//
// Private to the notes library (and its tests and fuzz target). Nothing here
// throws or crashes on a damaged blob: the functions return false with a reason.
#include <QByteArray>
#include <QList>
#include <QString>

namespace NoteBody {

// One stretch of a body: readable text, or one attachment in its place.
struct Segment {
  bool attachment = false;
  QString text;       // readable text (text segments only)
  QString identifier; // the attachment's identifier (attachment segments only)
  QString typeUti;    // its type as the body names it
};

struct Decoded {
  QString plainText;       // the stored text as is, attachments as U+FFFC
  QList<Segment> segments; // in body order; no empty text segment
  // The readable text of all text segments, attachments left out.
  QString readableText() const;
};

// Inflates a gzip or zlib stream; a blob without either header is returned as
// is (some stores keep bodies uncompressed). Output beyond maxOutput bytes, a
// truncated or damaged stream are errors.
bool inflate(const QByteArray& blob, QByteArray* out, QString* error, qint64 maxOutput = 64 << 20);

// Decodes a ZDATA blob (compressed or not) into segments.
bool decodeBody(const QByteArray& blob, Decoded* out, QString* error);

// Decodes a table attachment's mergeable data (compressed or not) into its
// rows, each row's cells separated by tabs; right-to-left tables are given in
// reading order (the rightmost column first).
bool decodeTable(const QByteArray& blob, QString* text, QString* error);

} // namespace NoteBody
