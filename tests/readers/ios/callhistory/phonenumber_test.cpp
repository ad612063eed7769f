#include "readers/ios/callhistory/contactnameindex.h"
#include "readers/ios/callhistory/phonenumber.h"

#include <QRandomGenerator>
#include <QSet>

#include <gtest/gtest.h>

namespace {
struct SameLineCase {
  const char* what;
  const char* a;
  const char* b;
  const char* defaultCountry; // of b
  bool same;
};

const SameLineCase kSameLine[] = {
    {"card format against international", "(919) 888-7386", "+19198887386", "", true},
    {"national with the call's country", "+1 919 888 7386", "9198887386", "us", true},
    {"national without any country", "+1 919 888 7386", "9198887386", "", true},
    {"calling code typed without plus", "19198887386", "9198887386", "", true},
    {"trunk 1 of the North American plan", "1-919-888-7386", "+19198887386", "us", true},
    {"00 instead of plus", "0049 176 12345678", "+49 176 12345678", "", true},
    {"trunk 0 against calling code", "0176 1234 5678", "+4917612345678", "", true},
    {"Italy keeps its 0 after +39", "06 1234 5678", "+39 06 1234 5678", "", true},
    {"vanity letters", "1-800-MY-APPLE", "+1 800 692 7753", "", true},
    {"extension after the number", "+1 919 888 7386 ext. 12", "9198887386", "", true},
    {"pause after the number", "+19198887386,,123", "(919) 888-7386", "", true},
    {"Arabic-Indic digits",
     "\xd9\xa0\xd9\xa1\xd9\xa7\xd9\xa6\xd9\xa1\xd9\xa2\xd9\xa3\xd9\xa4\xd9\xa5\xd9\xa6\xd9\xa7\xd9\xa8",
     "+4917612345678", "", true},
    {"two calling codes", "+4917612345678", "+4317612345678", "", false},
    {"calling code against the call's other country", "+4917612345678", "17612345678", "us", false},
    {"area code is not a calling code", "5551234", "9195551234", "", false},
    {"different numbers", "+19198887386", "+19198887385", "", false},
    {"five digits never match", "12345", "12345", "", false},
    {"empty", "", "", "", false},
    {"only blanks", "   ", "   ", "", false},
    {"an address is no number", "anna@example.com", "anna@example.com", "", false},
    {"a word is no number", "Unknown", "Unknown", "", false},
};

TEST(PhoneNumber, SameLine) {
  for (const SameLineCase& c : kSameLine) {
    const CPhoneNumber a(QString::fromUtf8(c.a));
    const CPhoneNumber b(QString::fromUtf8(c.b), QString::fromLatin1(c.defaultCountry));
    EXPECT_EQ(a.sameLine(b), c.same) << c.what;
    EXPECT_EQ(b.sameLine(a), c.same) << c.what << " (swapped)";
    if (c.same) {
      EXPECT_EQ(a.matchKey(), b.matchKey()) << c.what;
    }
  }
}

// A number's calling code is found by its longest known prefix, which is only
// sound when no code begins another one.
TEST(PhoneNumber, NoCallingCodeBeginsAnother) {
  QSet<QString> codes;
  for (const CountryCallingCode& c : CPhoneNumber::countries()) {
    const QString code = QString::fromLatin1(c.code);
    EXPECT_TRUE(code.startsWith(QLatin1Char('+')) && code.size() <= 4) << c.iso;
    codes.insert(code.mid(1));
  }
  for (const QString& a : codes)
    for (const QString& b : codes)
      EXPECT_FALSE(a != b && b.startsWith(a)) << a.toStdString() << " begins " << b.toStdString();
}

// ---- the host's contact map ----

// The name lookup as a walk over every key, to hold the index against.
QString walkLookup(const QMap<QString, QString>& map, const QString& text) {
  const QString trimmed = text.trimmed();
  if (trimmed.isEmpty())
    return QString();
  const bool address = trimmed.contains(QLatin1Char('@'));
  const QString number = CContactNameIndex::prepare(trimmed, address);
  for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
    if (address && !it.key().contains(QLatin1Char('@')))
      continue;
    const QString key = CContactNameIndex::prepare(it.key(), address);
    if (key.size() > 5 && number.size() > 5 && (key.endsWith(number) || number.endsWith(key)))
      return it.value();
  }
  return QString();
}

TEST(ContactNameIndex, FirstMatchInKeyOrder) {
  const QMap<QString, QString> map{
      {QStringLiteral("+1 919-888-7386"), QStringLiteral("Bea")},
      {QStringLiteral("9198887386"), QStringLiteral("Cleo")}, // after "+1 ..." in key order
      {QStringLiteral("020 7183 8750"), QStringLiteral("Museum")},
      {QStringLiteral("12345"), QStringLiteral("Short")},
      {QStringLiteral("anna@example.com"), QStringLiteral("Anna")},
      {QStringLiteral("x@example.com"), QStringLiteral("Ex")},
  };
  struct Case {
    const char* what;
    const char* number;
    const char* name; // empty: no match
  } cases[] = {
      {"spaces and hyphens removed on both sides", "919 888-7386", "Bea"},
      {"local number ends the key", "8887386", "Bea"},
      {"key ends the number", "+44 20 7183 8750", ""}, // "+442071838750" does not end with "02071838750"
      {"key ends the number, same spelling", "0044 020 7183 8750", "Museum"},
      {"five characters never match", "12345", ""},
      {"short number ending a long key", "7386", ""},
      {"address only against addresses", "anna@example.com", "Anna"},
      {"address suffix", "na@example.com", "Anna"},
      {"address is case-sensitive", "ANNA@example.com", ""},
      {"empty", "", ""},
      {"blank", "   ", ""},
  };
  const CContactNameIndex index(map);
  for (const Case& c : cases) {
    const QString number = QString::fromUtf8(c.number);
    EXPECT_EQ(index.find(number), QString::fromUtf8(c.name)) << c.what;
    EXPECT_EQ(walkLookup(map, number), QString::fromUtf8(c.name)) << c.what << " (walk)";
  }
}

TEST(ContactNameIndex, SameAnswerAsAWalkOverTheMap) {
  // Short random digit strings, so that suffixes of each other are frequent.
  QRandomGenerator rng(7);
  auto digits = [&](int n) {
    QString s;
    for (int i = 0; i < n; ++i) {
      s += QChar(ushort('0' + rng.bounded(3)));
      if (rng.bounded(6) == 0)
        s += QLatin1Char(rng.bounded(2) ? '-' : ' ');
    }
    return s;
  };
  QMap<QString, QString> map;
  for (int i = 0; i < 400; ++i) {
    QString key = digits(3 + rng.bounded(9));
    if (rng.bounded(10) == 0)
      key += QStringLiteral("@x.io");
    map.insert(key, QStringLiteral("n%1").arg(i));
  }
  const CContactNameIndex index(map);
  for (int i = 0; i < 3000; ++i) {
    QString number = digits(3 + rng.bounded(11));
    if (rng.bounded(10) == 0)
      number += QStringLiteral("@x.io");
    ASSERT_EQ(index.find(number), walkLookup(map, number)) << number.toStdString();
  }
}
} // namespace
