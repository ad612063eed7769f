#pragma once
// OxBackup: the model of one loaded backup. It owns one OxData list per data
// type, seven backup properties for a host's summary panel, and the statistics
// of a recovery run.
//
// Data-type numbers (the index of a list): 0 WhatsApp, 1 Kik, 2 Line, 3 Viber,
// 4 Messenger, 5 WeChat, 6 QQ, 7 Notes, 8 Calendar, 9 Safari, 10 Call history
// (voicemail shares list 10).
//
// Traps worth knowing:
//  - Type tests are unsigned: a negative type is "above 10" and gives null, 0
//    or false.
//  - dataTypeName() names only the messengers; 7 to 10 have an empty name (the
//    host names them), so listName(7) is " (n)".
//  - backupProperty() never returns an empty text for a valid index: an unset
//    property 0 reads "Unknown", any other "N/A". backupPropertyOriginal()
//    returns what was stored.
#include "platform/common/sherdglobal.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

class OxData;

class SHERD_EXPORT OxBackup {
public:
  enum DataType {
    WhatsApp = 0,
    Kik = 1,
    Line = 2,
    Viber = 3,
    Messenger = 4,
    WeChat = 5,
    QQ = 6,
    Notes = 7,
    Calendar = 8,
    Safari = 9,
    CallHistory = 10,
    DataTypeCount = 11
  };
  // The backup properties a host shows in its summary panel, by index. The
  // notes reader names the local account after ProductType.
  enum Property {
    DeviceName = 0,
    ProductVersion = 1,
    SerialNumber = 2,
    PhoneNumber = 3,
    ProductType = 4,
    Imei = 5,
    LastBackupDate = 6,
    PropertyCount = 7
  };

  OxBackup();
  ~OxBackup();
  OxBackup(const OxBackup&) = delete;
  OxBackup& operator=(const OxBackup&) = delete;

  OxData* getOxData(int type) const;
  OxData* getWhatsappMsg() const { return getOxData(WhatsApp); }
  OxData* getKikMsg() const { return getOxData(Kik); }
  OxData* getLineMsg() const { return getOxData(Line); }
  OxData* getViberMsg() const { return getOxData(Viber); }
  OxData* getMessengerMsg() const { return getOxData(Messenger); }
  OxData* getWeChart() const { return getOxData(WeChat); }
  OxData* getQQMsg() const { return getOxData(QQ); }
  OxData* getNote() const { return getOxData(Notes); }
  OxData* getCalendar() const { return getOxData(Calendar); }
  OxData* getSafari() const { return getOxData(Safari); }
  OxData* getCallHistory() const { return getOxData(CallHistory); }

  static QString dataTypeName(int type);
  // dataTypeName(type) followed by " (n)", n the list's raw item count.
  QString listName(int type) const;
  // Filtered-and-checked (filtered true) or raw count and size of a list.
  int listCount(int type, bool filtered) const;
  quint64 listSize(int type, bool filtered) const;
  static bool displayDetail(int type); // 0 to 9
  static bool displaySimple(int type); // 0 to 7

  QString backupProperty(int index);
  QString backupPropertyOriginal(int index);
  void setBackupProperty(const QString& text, int index);

  void increaseRecoverStat(int recovered, int duplicated);
  void resetRecoverStat();
  int recoveredCount() const { return m_recoveredCount; }
  int dupplicatedCount() const { return m_duplicatedCount; }

  // Empties every list; the lists stay.
  void clearAllData();

  // Prepares a recovery run: the statistics go to 0, and in every list exactly
  // the items of the filtered view that are checked get the recover mark.
  void initRecoverCount();
  // Total size of the items marked for recovery in the lists' views.
  quint64 recoverItemSize();
  // Raw item counts: conversations of the messenger lists (0 to 6) and items of
  // the other lists (7 to 10).
  unsigned getMsgSessionCount();
  unsigned getOtherSessionCount();
  void setRestore(bool restore) { m_restore = restore; }
  bool isRestore() const { return m_restore; }

  // Locations and rotations of photos, keyed by file path. Lookups of an
  // unknown path give "" and 0.
  void updatePhotoLocation(const QString& path, const QString& location);
  QString getPhotoLocation(const QString& path) const;
  void updatePhotoRotate(const QString& path, int angle);
  int getPhotoRotateAngle(const QString& path) const;

private:
  bool listsOk() const { return m_lists.size() == DataTypeCount; }

  QStringList m_properties;
  QList<OxData*> m_lists;
  int m_recoveredCount = 0;
  int m_duplicatedCount = 0;
  QMap<QString, QString> m_photoLocations;
  QMap<QString, int> m_photoRotations;
  bool m_restore = false;
};
