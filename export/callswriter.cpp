// Call history: the calls as a CSV table, the phone's address book as a vCard
// file, and each voicemail recording named by its caller and date.
#include "export/csvtable.h"

#include "model/oxcallhistoryitem.h"
#include "model/oxfileitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/utils.h"
#include "readers/ios/callhistory/addressbook.h"

#include <KContacts/Addressee>
#include <KContacts/VCardConverter>

#include <QFileInfo>

namespace exporting {
namespace {
bool isCall(const OxAbstractItem& item) { return dynamic_cast<const OxCallHistoryItem*>(&item) != nullptr; }

// The address book's people with their numbers and addresses, in book order.
KContacts::Addressee::List readAddressBook(MobileBackup* backup) {
  KContacts::Addressee::List people;
  if (!backup)
    return people;
  QString copy;
  for (const char* path : {"Library/AddressBook/AddressBook.sqlitedb", "Library/AddressBook/AddressBook.db"}) {
    copy = backup->generalSqlDbFile(Utils::tempPath() + QStringLiteral("ExportAddressBook"), QStringLiteral("HomeDomain"),
                                    QString::fromLatin1(path));
    if (!copy.isEmpty())
      break;
  }
  if (copy.isEmpty())
    return people;
  CABPersonQuery persons;
  persons.query({copy}, nullptr);
  CABMultiValueQuery values;
  values.query({copy}, nullptr);
  QHash<qint64, int> byId;
  for (const ABPersonRecord* p : persons.persons()) {
    KContacts::Addressee a;
    a.setGivenName(p->first);
    a.setAdditionalName(p->middle);
    a.setFamilyName(p->last);
    a.setFormattedName(CAddressBook::composeName(*p));
    if (!p->organization.isEmpty())
      a.setOrganization(p->organization);
    if (!p->nickname.isEmpty())
      a.setNickName(p->nickname);
    byId.insert(p->rowId, people.size());
    people.append(a);
  }
  for (const ABValueRecord* v : values.values()) {
    const auto at = byId.constFind(v->personId);
    if (at == byId.constEnd() || v->value.trimmed().isEmpty())
      continue;
    KContacts::Addressee& a = people[*at];
    if (v->property == CAddressBook::EmailProperty)
      a.addEmail(KContacts::Email(v->value.trimmed()));
    else if (v->property == CAddressBook::PhoneProperty)
      a.insertPhoneNumber(KContacts::PhoneNumber(v->value.trimmed()));
  }
  return people;
}

void writeContacts(ExportContext& ctx) {
  const KContacts::Addressee::List people = readAddressBook(ctx.backup());
  if (people.isEmpty())
    return;
  const QString relative = ctx.reserveDocument(QStringLiteral("contacts.vcf"));
  TextFile out;
  KContacts::VCardConverter converter;
  if (!out.open(ctx.out().absolute(relative)) ||
      !(out << converter.exportVCards(people, KContacts::VCardConverter::v3_0)).close()) {
    ctx.skip(relative, QStringLiteral("cannot write: ") + out.errorString());
    return;
  }
  ctx.documents().documents.append(
      {QStringLiteral("Contacts"), relative, QStringLiteral("%1 people, import into any address book").arg(people.size())});
}

// "<caller> <yyyy-MM-dd HH-mm>.<extension>"
QString recordingName(const OxFileItem& item) {
  QString caller = item.value(OxFileItem::ColPhone);
  if (caller.isEmpty())
    caller = QStringLiteral("Unknown caller");
  const QVariant key = item.sortValue(OxFileItem::ColDate);
  const QDateTime date = key.userType() == QMetaType::QDateTime ? key.toDateTime() : QDateTime();
  QString name = caller;
  if (date.isValid())
    name += QLatin1Char(' ') + date.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH-mm"));
  const QString suffix = QFileInfo(item.value(OxFileItem::ColName)).suffix();
  return safeFileName(suffix.isEmpty() ? name : name + QLatin1Char('.') + suffix, QStringLiteral("Voicemail"));
}
} // namespace

void writeCalls(ExportContext& ctx, const ItemList& items, Walk& walk) {
  if (ctx.wants(ExportOptions::FormatCsv)) {
    const QString relative = ctx.reserveDocument(QStringLiteral("calls.csv"));
    const int rows = writeCsvTable(ctx, relative, items, OxCallHistoryItem::ColDate, isCall);
    if (rows > 0)
      ctx.documents().documents.append({QStringLiteral("Calls"), relative, QStringLiteral("%1 calls").arg(rows)});
    else
      QFile::remove(ctx.out().absolute(relative));
  }
  if (ctx.wants(ExportOptions::FormatVCard))
    writeContacts(ctx);
  for (OxAbstractItem* item : items) {
    const auto* file = dynamic_cast<const OxFileItem*>(item);
    if (file && ctx.wants(ExportOptions::FormatMedia)) {
      const QString name = recordingName(*file);
      const QString copy = ctx.copyFile(file->filePath(), QStringLiteral("voicemail"), name, name);
      if (!copy.isEmpty())
        ctx.documents().documents.append({QStringLiteral("Voicemail: ") + QFileInfo(name).completeBaseName(), copy,
                                          QString()});
    }
    if (!walk.itemDone())
      return;
  }
}
} // namespace exporting
