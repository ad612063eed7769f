#include "export/exportcontext.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"

#include <QFileInfo>
#include <QMimeDatabase>

namespace exporting {
namespace {
// Apps store pictures and recordings under names without a usable extension
// ("...thumb", a bare identifier); a browser and a file manager need one.
QString withTypeSuffix(const QString& name, const QString& source) {
  static const QMimeDatabase mimes;
  const QMimeType type = mimes.mimeTypeForFile(source);
  const QString family = type.name().section(QLatin1Char('/'), 0, 0);
  if (family != QLatin1String("image") && family != QLatin1String("video") && family != QLatin1String("audio"))
    return name;
  const QString suffix = QFileInfo(name).suffix().toLower();
  if (type.preferredSuffix().isEmpty() || type.suffixes().contains(suffix))
    return name;
  return name + QLatin1Char('.') + type.preferredSuffix();
}
} // namespace

QString mediaKind(const QString& fileName) {
  static const QMimeDatabase mimes;
  return mimes.mimeTypeForFile(fileName, QMimeDatabase::MatchExtension).name().section(QLatin1Char('/'), 0, 0);
}

bool TextFile::open(const QString& path) {
  m_file.setFileName(path);
  m_ok = !path.isEmpty() && m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
  return m_ok;
}

TextFile& TextFile::add(const QByteArray& bytes) {
  m_buffer.append(bytes);
  if (m_buffer.size() >= 256 * 1024) {
    m_ok = m_ok && m_file.write(m_buffer) == m_buffer.size();
    m_buffer.clear();
  }
  return *this;
}

bool TextFile::close() {
  if (!m_buffer.isEmpty())
    m_ok = m_ok && m_file.write(m_buffer) == m_buffer.size();
  m_buffer.clear();
  m_file.close();
  return m_ok;
}

QString html(const QString& text) { return text.toHtmlEscaped(); }

QString htmlLines(const QString& text) {
  QString escaped = text.toHtmlEscaped();
  escaped.replace(QLatin1String("\r\n"), QLatin1String("\n"));
  escaped.replace(QLatin1Char('\n'), QLatin1String("<br>\n"));
  return escaped;
}

QString htmlHead(const QString& title) {
  return QStringLiteral(
             "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"
             "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>%1</title>\n<style>\n"
             "body{font-family:sans-serif;max-width:52em;margin:1em auto;padding:0 1em;color:#222;background:#f4f4f0}\n"
             "h1{font-size:1.4em}h2{font-size:1.15em;margin-top:1.5em}.sub{color:#666;font-size:.9em}\n"
             ".m{margin:.4em 0;padding:.4em .7em;border-radius:.6em;max-width:80%;background:#fff;"
             "box-shadow:0 1px 1px #ccc;overflow-wrap:anywhere}\n"
             ".out{margin-left:auto;background:#dcf8c6}.sys{margin:.6em auto;text-align:center;background:#e8eef4;"
             "font-size:.9em}\n.who{font-weight:bold;color:#075e54}.when{color:#888;font-size:.8em;margin-left:.5em}\n"
             ".m img,.m video,.note img,.note video{max-width:100%;max-height:20em;display:block;margin-top:.3em}\n"
             ".nav{margin:1em 0}.nav a{margin-right:1em}.missing{color:#a33;font-style:italic}\n"
             "table{border-collapse:collapse}td,th{border:1px solid #ccc;padding:.2em .5em;text-align:left}\n"
             "</style>\n</head>\n<body>\n")
      .arg(html(title));
}

QString htmlTail() { return QStringLiteral("</body>\n</html>\n"); }

QString dateText(const QDateTime& date) {
  return date.isValid() ? date.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) : QString();
}

void ExportContext::beginType(int type, ExportTypeSummary* summary, TypeDocuments* documents) {
  m_summary = summary;
  m_documents = documents;
  m_summary->type = type;
  m_summary->name = CExporter::typeFolderName(type);
  m_documents->type = type;
  m_documents->folder = m_summary->name;
}

void ExportContext::skip(const QString& what, const QString& reason) { m_summary->skipped.append({what, reason}); }

QString ExportContext::copyFile(const QString& localPath, const QString& sub, const QString& what,
                                const QString& wantedName) {
  if (localPath.isEmpty())
    return QString();
  QString source = localPath;
  QString name = wantedName.isEmpty() ? QFileInfo(localPath).fileName() : wantedName;
  QDateTime modified = QFileInfo(localPath).lastModified();
  const int index = m_backup ? m_backup->indexOfLocalPath(localPath) : -1;
  if (index >= 0) {
    const BackupFileRecord record = m_backup->fileAt(index);
    if (wantedName.isEmpty())
      name = record.fileName();
    modified = CCommonUtils::buildDateTimeBaseUnix(record.modified);
    // A decrypted copy that went away is made again from the backup.
    if (!QFileInfo::exists(source))
      source = m_backup->filePath(index);
  }
  if (!QFileInfo(source).isFile()) {
    skip(what + QStringLiteral(": ") + QFileInfo(localPath).fileName(), QStringLiteral("missing from the backup"));
    return QString();
  }
  name = withTypeSuffix(name, source);
  const QString folder = sub.isEmpty() ? typeFolder() : typeFolder() + QLatin1Char('/') + sub;
  const OutputFolder::Stored stored = m_out.storeFile(source, folder, safeFileName(name, QStringLiteral("file")),
                                                      modified);
  if (stored.relativePath.isEmpty()) {
    skip(what + QStringLiteral(": ") + QFileInfo(localPath).fileName(), stored.error);
    return QString();
  }
  if (stored.duplicate)
    ++m_summary->duplicates;
  else
    ++m_summary->files;
  m_exported.insert(localPath, stored.relativePath);
  return stored.relativePath;
}
} // namespace exporting
