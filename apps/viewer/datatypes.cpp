#include "apps/viewer/datatypes.h"

#include "model/oxbackup.h"

#include <QCoreApplication>

QString dataTypeTitle(int type) {
  switch (type) {
  case OxBackup::Notes: return QCoreApplication::translate("DATA_LIST_NAME", "Notes");
  case OxBackup::Calendar: return QCoreApplication::translate("DATA_LIST_NAME", "Calendar");
  case OxBackup::Safari: return QCoreApplication::translate("DATA_LIST_NAME", "Safari");
  case OxBackup::CallHistory: return QCoreApplication::translate("DATA_LIST_NAME", "Call history");
  default: return OxBackup::dataTypeName(type);
  }
}

const QStringList& dataTypeKeys() {
  static const QStringList keys = {
      QStringLiteral("whatsapp"), QStringLiteral("kik"),    QStringLiteral("line"),     QStringLiteral("viber"),
      QStringLiteral("messenger"), QStringLiteral("wechat"), QStringLiteral("qq"),      QStringLiteral("notes"),
      QStringLiteral("calendar"),  QStringLiteral("safari"), QStringLiteral("calls")};
  return keys;
}

int dataTypeFromKey(const QString& key) { return dataTypeKeys().indexOf(key.trimmed().toLower()); }

bool isChatType(int type) { return type >= OxBackup::WhatsApp && type <= OxBackup::QQ; }

QString itemCount(int n) {
  return n == 1 ? QCoreApplication::translate("DATA_LIST_NAME", "1 item")
                : QCoreApplication::translate("DATA_LIST_NAME", "%1 items").arg(n);
}
