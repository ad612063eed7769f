#include "model/filefilterconfiguration.h"

#include <QFileInfo>
#include <QSettings>

FileFilterConfiguration::FileFilterConfiguration()
    : m_photo({QStringLiteral("JPG"), QStringLiteral("PNG"), QStringLiteral("TIFF"), QStringLiteral("TIF"),
               QStringLiteral("BMP"), QStringLiteral("GIF"), QStringLiteral("ICO"), QStringLiteral("HEIC"),
               QStringLiteral("THM"), QStringLiteral("AVIF")}),
      m_video({QStringLiteral("MOV"), QStringLiteral("AVI"), QStringLiteral("MP4"), QStringLiteral("M4V"),
               QStringLiteral("3GP"), QStringLiteral("3G2"), QStringLiteral("MPG"), QStringLiteral("WMV")}),
      m_document({QStringLiteral("DOC"), QStringLiteral("TXT"), QStringLiteral("XLSX"), QStringLiteral("PDF"),
                  QStringLiteral("ZIP"), QStringLiteral("DOCX"), QStringLiteral("XLX"), QStringLiteral("PPTX"),
                  QStringLiteral("PPT")}),
      m_audio({QStringLiteral("M4A"), QStringLiteral("AAC"), QStringLiteral("AUD"), QStringLiteral("MP3"),
               QStringLiteral("OPUS")}) {
  rebuildJoined();
}

FileFilterConfiguration::FileFilterConfiguration(const FileFilterConfiguration& other) = default;
FileFilterConfiguration& FileFilterConfiguration::operator=(const FileFilterConfiguration& other) = default;
FileFilterConfiguration::~FileFilterConfiguration() = default;

FileFilterConfiguration* FileFilterConfiguration::instance() {
  // Never destroyed: hosts may ask for file types while the process ends.
  static FileFilterConfiguration* const single = new FileFilterConfiguration();
  return single;
}

void FileFilterConfiguration::rebuildJoined() {
  m_iPhoneAll = m_photo + m_video + m_document + m_audio;
  m_appAll = m_iPhoneAll;
}

void FileFilterConfiguration::init(const QString& path) {
  if (!QFileInfo(path).isFile())
    return;
  QSettings settings(path, QSettings::IniFormat);
  const struct {
    const char* group;
    QStringList* list;
  } groups[] = {{"Photo", &m_photo}, {"Video", &m_video}, {"Document", &m_document}, {"Audio", &m_audio}};
  for (const auto& g : groups) {
    settings.beginGroup(QString::fromLatin1(g.group));
    const QStringList keys = settings.childKeys();
    if (!keys.isEmpty()) {
      g.list->clear();
      for (const QString& key : keys) {
        const QString extension = settings.value(key).toString();
        if (!extension.isEmpty())
          g.list->append(extension);
      }
    }
    settings.endGroup();
  }
  rebuildJoined();
}

int FileFilterConfiguration::getFileType(const QString& path) const {
  const FileFilterConfiguration* lists = instance();
  const QString fileName = QFileInfo(path).fileName();
  const int dot = fileName.lastIndexOf(QLatin1Char('.'));
  const QString extension = dot < 0 ? QString() : fileName.mid(dot + 1).toUpper();
  if (lists->m_photo.contains(extension))
    return Photo;
  if (lists->m_audio.contains(extension))
    return Audio;
  if (lists->m_video.contains(extension))
    return Video;
  if (extension == QLatin1String("VCF"))
    return ContactCard;
  return Other;
}
