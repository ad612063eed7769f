#include "readers/ios/callhistory/addressbook.h"

#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "platform/common/sqlutils.h"

#include <QStringList>

namespace {
const char kModule[] = "iTunesBackup";

// Scripts whose names are written family name first and without spaces.
bool isCjk(const QString& text) {
  for (const QChar c : text) {
    switch (c.script()) {
    case QChar::Script_Han:
    case QChar::Script_Hiragana:
    case QChar::Script_Katakana:
    case QChar::Script_Hangul:
      return true;
    default:
      break;
    }
  }
  return false;
}
} // namespace

// ---- contacts ----

CABPersonQuery::CABPersonQuery() {
  m_sqls << QStringLiteral("select ROWID, First, Middle, Last, Organization, Nickname from ABPerson");
  m_countSqls << QStringLiteral("select count(*) from ABPerson");
}

CABPersonQuery::~CABPersonQuery() { qDeleteAll(m_owned); }

QString CABPersonQuery::customSql(sqlite3* db) {
  // The oldest books lack some name columns; those read as NULL.
  static const char* const kColumns[] = {"First", "Middle", "Last", "Organization", "Nickname"};
  QStringList select{QStringLiteral("ROWID")};
  bool missing = false;
  for (const char* column : kColumns) {
    const QString name = QString::fromLatin1(column);
    if (SqlUtils::hasColumn(db, QStringLiteral("ABPerson"), name)) {
      select << name;
    } else {
      select << QStringLiteral("NULL");
      missing = true;
    }
  }
  if (!missing)
    return QString();
  return QStringLiteral("select %1 from ABPerson").arg(select.join(QStringLiteral(", ")));
}

bool CABPersonQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  auto* p = new ABPersonRecord;
  p->rowId = r.int64();
  p->first = r.text();
  p->middle = r.text();
  p->last = r.text();
  p->organization = r.text();
  p->nickname = r.text();
  m_owned.append(p);
  m_persons.insert(p->rowId, p);
  return true;
}

// ---- numbers and addresses ----

CABMultiValueQuery::CABMultiValueQuery() {
  m_sqls << QStringLiteral("select record_id, property, value from ABMultiValue where property in (3, 4) "
                           "order by record_id, UID");
  m_countSqls << QStringLiteral("select count(*) from ABMultiValue where property in (3, 4)");
}

CABMultiValueQuery::~CABMultiValueQuery() { qDeleteAll(m_values); }

bool CABMultiValueQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  auto* v = new ABValueRecord;
  v->personId = r.int64();
  v->property = r.integer();
  v->value = r.text();
  m_values.append(v);
  return true;
}

// ---- the book ----

QString CAddressBook::composeName(const ABPersonRecord& p) {
  const QString first = p.first.trimmed();
  const QString middle = p.middle.trimmed();
  const QString last = p.last.trimmed();
  QString name;
  if (isCjk(first + middle + last)) {
    name = last + middle + first;
  } else {
    QStringList parts;
    for (const QString& part : {first, middle, last})
      if (!part.isEmpty())
        parts << part;
    name = parts.join(QLatin1Char(' '));
  }
  if (name.isEmpty())
    name = p.organization.trimmed();
  if (name.isEmpty())
    name = p.nickname.trimmed();
  return name;
}

bool CAddressBook::load(const QString& path) {
  CABPersonQuery persons;
  persons.query({path}, nullptr);
  CABMultiValueQuery values;
  values.query({path}, nullptr);
  for (const ABPersonRecord* p : persons.persons())
    m_personNames.insert(p->rowId, composeName(*p));
  for (const ABValueRecord* v : values.values()) {
    const QString name = m_personNames.value(v->personId);
    if (!name.isEmpty())
      addEntry(v->personId, name, v->property, v->value);
  }
  if (m_personNames.isEmpty()) {
    Log(kModule, 0, "No contacts in the address book %s", path.toUtf8().constData());
    return false;
  }
  Log(kModule, 1, "Address book %s: %d contacts, %d numbers, %d addresses", path.toUtf8().constData(),
      int(m_personNames.size()), int(m_phones.size()), int(m_emails.size()));
  return true;
}

void CAddressBook::addEntry(qint64 personId, const QString& name, int property, const QString& value) {
  if (!m_personNames.contains(personId))
    m_personNames.insert(personId, name);
  const QString written = value.trimmed();
  if (!written.isEmpty() && (property == EmailProperty || property == PhoneProperty) &&
      !m_contactMap.contains(written))
    m_contactMap.insert(written, name);
  if (property == EmailProperty || CPhoneNumber::isAddress(value)) {
    const QString key = value.trimmed().toLower();
    if (!key.isEmpty() && !m_emails.contains(key))
      m_emails.insert(key, name);
    return;
  }
  if (property != PhoneProperty)
    return;
  const CPhoneNumber number(value);
  if (!number.isValid())
    return;
  m_byKey[number.matchKey()].append(m_phones.size());
  m_phones.append(Phone{number, name});
}

QString CAddressBook::nameOf(const QString& numberOrAddress, const QString& defaultCountry) const {
  const QString text = numberOrAddress.trimmed();
  if (text.isEmpty())
    return QString();
  if (CPhoneNumber::isAddress(text))
    return m_emails.value(text.toLower());
  const CPhoneNumber number(text, defaultCountry);
  if (!number.isValid())
    return QString();
  const auto it = m_byKey.constFind(number.matchKey());
  if (it == m_byKey.constEnd())
    return QString();
  for (int pos : it.value())
    if (m_phones.at(pos).number.sameLine(number))
      return m_phones.at(pos).name;
  return QString();
}
