#pragma once
// The phone's own address book (AddressBook.sqlitedb, on very old systems
// AddressBook.db), read to give calls the names of their contacts.
//
// ABPerson holds one row per contact; ABMultiValue one row per phone number
// (property 3) or e-mail address (property 4) of a contact. A contact's name is
// its first, middle and last names joined, else its organisation, else its
// nickname. Names in Chinese, Japanese or Korean script are written family
// name first, without spaces, as the phone shows them.
//
// contactMap() gives the book as a contact map of the host's shape (number or
// address as the card holds it -> name), for the same matching rule as the
// host's map (CContactNameIndex). nameOf compares numbers in their normal form
// (CPhoneNumber), so "(919) 888-7386" in a card names the caller
// "+19198887386", which the rule alone misses; addresses compare with case
// ignored. When several contacts carry the same number, the one that comes
// first in the book (lowest row id) gives the name, in both.
#include "backup/cisqlitequery.h"
#include "readers/ios/callhistory/phonenumber.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QVector>

struct ABPersonRecord {
  qint64 rowId = 0;
  QString first;
  QString middle;
  QString last;
  QString organization;
  QString nickname;
};

struct ABValueRecord {
  qint64 personId = 0; // ABPerson.ROWID
  int property = 0;    // 3 phone number, 4 e-mail address
  QString value;
};

// The contacts, by row id. Columns that an old schema lacks read as empty.
class CABPersonQuery : public CISQLiteQuery {
public:
  CABPersonQuery();
  ~CABPersonQuery() override;
  const QMap<qint64, ABPersonRecord*>& persons() const { return m_persons; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;
  QString customSql(sqlite3* db) override;

private:
  QList<ABPersonRecord*> m_owned;
  QMap<qint64, ABPersonRecord*> m_persons;
};

// The phone numbers and e-mail addresses of the contacts, in book order.
class CABMultiValueQuery : public CISQLiteQuery {
public:
  CABMultiValueQuery();
  ~CABMultiValueQuery() override;
  const QList<ABValueRecord*>& values() const { return m_values; }

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  QList<ABValueRecord*> m_values;
};

class CAddressBook {
public:
  enum Property { PhoneProperty = 3, EmailProperty = 4 };

  // Reads the database (a copy the caller owns). False, with a logged reason,
  // when it holds no contacts.
  bool load(const QString& path);
  // For tests and benchmarks: add one contact's number or address by hand.
  void addEntry(qint64 personId, const QString& name, int property, const QString& value);

  int personCount() const { return m_personNames.size(); }
  bool isEmpty() const { return m_personNames.isEmpty() && m_phones.isEmpty() && m_emails.isEmpty(); }
  // The name of the contact with that row id; empty when unknown.
  QString personName(qint64 rowId) const { return m_personNames.value(rowId); }
  // The name of the first contact with that number or address; empty when
  // none has it. defaultCountry is the two-letter country of the number when
  // the phone knows it.
  QString nameOf(const QString& numberOrAddress, const QString& defaultCountry = QString()) const;

  // Every number and address of the book, trimmed, as the card holds it ->
  // the name of the first contact that has it.
  const QMap<QString, QString>& contactMap() const { return m_contactMap; }

  static QString composeName(const ABPersonRecord& person);

private:
  struct Phone {
    CPhoneNumber number;
    QString name;
  };
  QHash<qint64, QString> m_personNames;
  QVector<Phone> m_phones;              // book order
  QHash<QString, QVector<int>> m_byKey; // CPhoneNumber::matchKey -> positions in m_phones
  QHash<QString, QString> m_emails;     // lower-case address -> first name
  QMap<QString, QString> m_contactMap;  // see contactMap()
};
