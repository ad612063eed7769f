#pragma once
// A small streaming JSON writer: values go out as they are written, so that a
// dump of millions of messages needs no document in memory (Qt's JSON classes
// build the whole document first). It writes what it is told, in order; the
// caller keeps the nesting right.
#include "platform/common/sherdglobal.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <cstdio>
#include <functional>
#include <vector>

class SHERD_EXPORT JsonWriter {
public:
  explicit JsonWriter(FILE* out) : m_out(out) {}
  ~JsonWriter() { flush(); }

  void beginObject() { open('{'); }
  void endObject() { close('}'); }
  void beginArray() { open('['); }
  void endArray() { close(']'); }
  // An object member's name; the next value written is its value.
  void key(const char* name);

  void value(const QString& text);
  // A string that names a file: an absolute path goes out through the path
  // namer, when one is set. Only fields that hold paths are written so; any
  // other text (a message that happens to start with "/") goes out as it is.
  void pathValue(const QString& path);
  void value(const char* text) { value(QString::fromUtf8(text)); }
  void value(qint64 number);
  void value(int number) { value(qint64(number)); }
  void value(quint64 number);
  void value(bool flag);
  void null();
  // null, a number, a string, or a date as ISO 8601 UTC with milliseconds.
  void variant(const QVariant& v);

  // Rewrites the absolute paths written with pathValue (for example, to name a
  // file by what it is rather than by where a run happened to copy it).
  // Empty: paths go out as they are.
  void setPathNamer(std::function<QString(const QString&)> namer) { m_pathNamer = std::move(namer); }

  // Writes out what is buffered (also done every few kilobytes).
  void flush();

  static QByteArray quote(const QString& text);

private:
  void separator();
  void open(char c);
  void close(char c);
  void raw(const QByteArray& bytes);
  // Writes the buffer out once it has grown past a few dozen kilobytes.
  void spill();

  FILE* m_out;
  QByteArray m_buffer;
  std::vector<bool> m_first; // per open container: no member written yet
  bool m_afterKey = false;
  std::function<QString(const QString&)> m_pathNamer;
};
