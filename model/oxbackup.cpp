#include "model/oxbackup.h"

#include "model/oxabstractitem.h"
#include "model/oxdata.h"

#include <QCoreApplication>

OxBackup::OxBackup() {
  for (int i = 0; i < PropertyCount; ++i)
    m_properties.append(QString(QLatin1String("")));
  for (int type = 0; type < DataTypeCount; ++type)
    m_lists.append(new OxData(type));
}

OxBackup::~OxBackup() { qDeleteAll(m_lists); }

OxData* OxBackup::getOxData(int type) const {
  if (unsigned(type) > 10u || !listsOk())
    return nullptr;
  return m_lists.at(type);
}

QString OxBackup::dataTypeName(int type) {
  switch (type) {
  case WhatsApp: return QCoreApplication::translate("DATA_LIST_NAME", "WhatsApp");
  case Kik: return QCoreApplication::translate("DATA_LIST_NAME", "Kik");
  case Line: return QCoreApplication::translate("DATA_LIST_NAME", "Line");
  case Viber: return QCoreApplication::translate("DATA_LIST_NAME", "Viber");
  case Messenger: return QCoreApplication::translate("DATA_LIST_NAME", "Messenger");
  case WeChat: return QCoreApplication::translate("DATA_LIST_NAME", "WeChat");
  case QQ: return QCoreApplication::translate("DATA_LIST_NAME", "QQ");
  default: return QString(QLatin1String(""));
  }
}

QString OxBackup::listName(int type) const {
  QString name = dataTypeName(type);
  if (const OxData* list = getOxData(type))
    name += QStringLiteral(" (%1)").arg(list->count(OxData::CountRaw));
  return name;
}

int OxBackup::listCount(int type, bool filtered) const {
  const OxData* list = getOxData(type);
  if (!list)
    return 0;
  return filtered ? list->count(OxData::CountFilteredChecked | OxData::CountFiltered) : list->count(OxData::CountRaw);
}

quint64 OxBackup::listSize(int type, bool filtered) const {
  const OxData* list = getOxData(type);
  if (!list)
    return 0;
  return filtered ? list->size(OxData::CountFilteredChecked | OxData::CountFiltered) : list->size(OxData::CountRaw);
}

bool OxBackup::displayDetail(int type) { return unsigned(type) <= 9u; }
bool OxBackup::displaySimple(int type) { return unsigned(type) <= 7u; }

QString OxBackup::backupProperty(int index) {
  if (index < 0 || index >= PropertyCount || m_properties.size() != PropertyCount)
    return QString(QLatin1String(""));
  const QString& stored = m_properties.at(index);
  if (!stored.isEmpty())
    return stored;
  if (index == 0)
    return QCoreApplication::translate("BACKUP_PROPERTY", "Unknown");
  return QStringLiteral("N/A");
}

QString OxBackup::backupPropertyOriginal(int index) {
  if (index < 0 || index >= m_properties.size())
    return QString(QLatin1String(""));
  return m_properties.at(index);
}

void OxBackup::setBackupProperty(const QString& text, int index) {
  if (unsigned(index) < unsigned(PropertyCount) && m_properties.size() == PropertyCount)
    m_properties[index] = text.trimmed();
}

void OxBackup::increaseRecoverStat(int recovered, int duplicated) {
  m_recoveredCount += recovered;
  m_duplicatedCount += duplicated;
}

void OxBackup::resetRecoverStat() {
  m_recoveredCount = 0;
  m_duplicatedCount = 0;
}

void OxBackup::clearAllData() {
  for (OxData* list : qAsConst(m_lists))
    list->clear();
}

void OxBackup::initRecoverCount() {
  resetRecoverStat();
  for (OxData* list : qAsConst(m_lists)) {
    list->resetRecover(false);
    const int n = list->count(OxData::CountFiltered);
    for (int row = 0; row < n; ++row) {
      OxAbstractItem* item = list->at(row, true);
      list->setRecover(item, list->checked(item));
    }
  }
}

quint64 OxBackup::recoverItemSize() {
  quint64 total = 0;
  for (OxData* list : qAsConst(m_lists))
    for (const OxAbstractItem* item : list->recoverFileList())
      total += item->size();
  return total;
}

unsigned OxBackup::getMsgSessionCount() {
  unsigned n = 0;
  for (int type = WhatsApp; type <= QQ; ++type)
    if (const OxData* list = getOxData(type))
      n += unsigned(list->count(OxData::CountRaw));
  return n;
}

unsigned OxBackup::getOtherSessionCount() {
  unsigned n = 0;
  for (int type = Notes; type <= CallHistory; ++type)
    if (const OxData* list = getOxData(type))
      n += unsigned(list->count(OxData::CountRaw));
  return n;
}

void OxBackup::updatePhotoLocation(const QString& path, const QString& location) {
  m_photoLocations.insert(path, location);
}

QString OxBackup::getPhotoLocation(const QString& path) const {
  return m_photoLocations.value(path, QString(QLatin1String("")));
}

void OxBackup::updatePhotoRotate(const QString& path, int angle) { m_photoRotations.insert(path, angle); }

int OxBackup::getPhotoRotateAngle(const QString& path) const { return m_photoRotations.value(path, 0); }
