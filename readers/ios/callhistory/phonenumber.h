#pragma once
// Phone numbers in a form that can be compared however they were typed.
//
// The phone stores a number as it was dialled, received or typed into a
// contact card: "+1 (919) 888-7386", "919-888-7386", "0049 176 1234567",
// "1-800-MY-APPLE". Normalising keeps the digits (any script's digits, and the
// keypad letters of a vanity number), splits off the country calling code of
// an international number with the table of calling codes, and drops the trunk
// prefix of a national one, so that a number stored with and without its
// country code gives the same national part.
//
// Two normal forms name the same line when their national parts are equal and
// their calling codes do not contradict each other, or when one national part
// is the other preceded by a calling code that was written without "+" or "00"
// ("19198887386" and "9198887386"). National parts shorter than six digits
// (service numbers, short codes) never match anything.
#include <QString>
#include <QVector>

// One country of the table: two-letter country code (lower case), calling code
// with its "+", English name. Several countries share a calling code (+1, +7,
// +44, ...).
struct CountryCallingCode {
  const char* iso;
  const char* code;
  const char* name;
};

class CPhoneNumber {
public:
  enum { MinNationalDigits = 6 };

  CPhoneNumber() = default;
  // Normalises text; defaultCountry (a two-letter code such as "us", any case)
  // gives the calling code of a number written without one.
  explicit CPhoneNumber(const QString& text, const QString& defaultCountry = QString());

  // True when the text is a phone number with enough digits to be compared.
  bool isValid() const { return m_national.size() >= MinNationalDigits; }
  // Digits of the calling code without "+", empty when unknown.
  const QString& callingCode() const { return m_callingCode; }
  // The number inside its country, without trunk prefix.
  const QString& national() const { return m_national; }
  // The last MinNationalDigits digits: equal for any two numbers that match.
  QString matchKey() const { return m_national.right(MinNationalDigits); }

  bool sameLine(const CPhoneNumber& other) const;

  // The whole table, ordered by country code.
  static const QVector<CountryCallingCode>& countries();
  // "us" -> "1"; empty when the country is unknown.
  static QString callingCodeOfCountry(const QString& iso);
  // Whether the digits (without "+") are a calling code of the table.
  static bool isCallingCode(const QString& digits);
  // The country of an international number's calling code when exactly one
  // country uses it; empty otherwise (also for numbers without a code).
  static QString countryNameOfCallingCode(const QString& digits);
  // Whether the text is an address (e-mail, FaceTime handle) rather than a number.
  static bool isAddress(const QString& text) { return text.contains(QLatin1Char('@')); }

private:
  QString m_callingCode;
  QString m_national;
};
