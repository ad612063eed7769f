#include "readers/ios/callhistory/phonenumber.h"

#include <QHash>
#include <QSet>

namespace {
// ITU-T E.164 country calling codes. Countries of the North American numbering
// plan all share +1 (their area codes tell them apart), so does Kazakhstan
// with Russia (+7), the Crown dependencies with the United Kingdom (+44) and
// the Vatican with Italy (+39).
const CountryCallingCode kCountries[] = {
    {"ad", "+376", "Andorra"},
    {"ae", "+971", "United Arab Emirates"},
    {"af", "+93", "Afghanistan"},
    {"ag", "+1", "Antigua and Barbuda"},
    {"ai", "+1", "Anguilla"},
    {"al", "+355", "Albania"},
    {"am", "+374", "Armenia"},
    {"ao", "+244", "Angola"},
    {"ar", "+54", "Argentina"},
    {"as", "+1", "American Samoa"},
    {"at", "+43", "Austria"},
    {"au", "+61", "Australia"},
    {"aw", "+297", "Aruba"},
    {"az", "+994", "Azerbaijan"},
    {"ba", "+387", "Bosnia and Herzegovina"},
    {"bb", "+1", "Barbados"},
    {"bd", "+880", "Bangladesh"},
    {"be", "+32", "Belgium"},
    {"bf", "+226", "Burkina Faso"},
    {"bg", "+359", "Bulgaria"},
    {"bh", "+973", "Bahrain"},
    {"bi", "+257", "Burundi"},
    {"bj", "+229", "Benin"},
    {"bm", "+1", "Bermuda"},
    {"bn", "+673", "Brunei"},
    {"bo", "+591", "Bolivia"},
    {"br", "+55", "Brazil"},
    {"bs", "+1", "Bahamas"},
    {"bt", "+975", "Bhutan"},
    {"bw", "+267", "Botswana"},
    {"by", "+375", "Belarus"},
    {"bz", "+501", "Belize"},
    {"ca", "+1", "Canada"},
    {"cd", "+243", "Congo (DRC)"},
    {"cf", "+236", "Central African Republic"},
    {"cg", "+242", "Congo"},
    {"ch", "+41", "Switzerland"},
    {"ci", "+225", "Côte d'Ivoire"},
    {"ck", "+682", "Cook Islands"},
    {"cl", "+56", "Chile"},
    {"cm", "+237", "Cameroon"},
    {"cn", "+86", "China"},
    {"co", "+57", "Colombia"},
    {"cr", "+506", "Costa Rica"},
    {"cu", "+53", "Cuba"},
    {"cv", "+238", "Cape Verde"},
    {"cw", "+599", "Curaçao"},
    {"cy", "+357", "Cyprus"},
    {"cz", "+420", "Czechia"},
    {"de", "+49", "Germany"},
    {"dj", "+253", "Djibouti"},
    {"dk", "+45", "Denmark"},
    {"dm", "+1", "Dominica"},
    {"do", "+1", "Dominican Republic"},
    {"dz", "+213", "Algeria"},
    {"ec", "+593", "Ecuador"},
    {"ee", "+372", "Estonia"},
    {"eg", "+20", "Egypt"},
    {"er", "+291", "Eritrea"},
    {"es", "+34", "Spain"},
    {"et", "+251", "Ethiopia"},
    {"fi", "+358", "Finland"},
    {"fj", "+679", "Fiji"},
    {"fk", "+500", "Falkland Islands"},
    {"fm", "+691", "Micronesia"},
    {"fo", "+298", "Faroe Islands"},
    {"fr", "+33", "France"},
    {"ga", "+241", "Gabon"},
    {"gb", "+44", "United Kingdom"},
    {"gd", "+1", "Grenada"},
    {"ge", "+995", "Georgia"},
    {"gf", "+594", "French Guiana"},
    {"gg", "+44", "Guernsey"},
    {"gh", "+233", "Ghana"},
    {"gi", "+350", "Gibraltar"},
    {"gl", "+299", "Greenland"},
    {"gm", "+220", "Gambia"},
    {"gn", "+224", "Guinea"},
    {"gp", "+590", "Guadeloupe"},
    {"gq", "+240", "Equatorial Guinea"},
    {"gr", "+30", "Greece"},
    {"gt", "+502", "Guatemala"},
    {"gu", "+1", "Guam"},
    {"gw", "+245", "Guinea-Bissau"},
    {"gy", "+592", "Guyana"},
    {"hk", "+852", "Hong Kong"},
    {"hn", "+504", "Honduras"},
    {"hr", "+385", "Croatia"},
    {"ht", "+509", "Haiti"},
    {"hu", "+36", "Hungary"},
    {"id", "+62", "Indonesia"},
    {"ie", "+353", "Ireland"},
    {"il", "+972", "Israel"},
    {"im", "+44", "Isle of Man"},
    {"in", "+91", "India"},
    {"iq", "+964", "Iraq"},
    {"ir", "+98", "Iran"},
    {"is", "+354", "Iceland"},
    {"it", "+39", "Italy"},
    {"je", "+44", "Jersey"},
    {"jm", "+1", "Jamaica"},
    {"jo", "+962", "Jordan"},
    {"jp", "+81", "Japan"},
    {"ke", "+254", "Kenya"},
    {"kg", "+996", "Kyrgyzstan"},
    {"kh", "+855", "Cambodia"},
    {"ki", "+686", "Kiribati"},
    {"km", "+269", "Comoros"},
    {"kn", "+1", "Saint Kitts and Nevis"},
    {"kp", "+850", "North Korea"},
    {"kr", "+82", "South Korea"},
    {"kw", "+965", "Kuwait"},
    {"ky", "+1", "Cayman Islands"},
    {"kz", "+7", "Kazakhstan"},
    {"la", "+856", "Laos"},
    {"lb", "+961", "Lebanon"},
    {"lc", "+1", "Saint Lucia"},
    {"li", "+423", "Liechtenstein"},
    {"lk", "+94", "Sri Lanka"},
    {"lr", "+231", "Liberia"},
    {"ls", "+266", "Lesotho"},
    {"lt", "+370", "Lithuania"},
    {"lu", "+352", "Luxembourg"},
    {"lv", "+371", "Latvia"},
    {"ly", "+218", "Libya"},
    {"ma", "+212", "Morocco"},
    {"mc", "+377", "Monaco"},
    {"md", "+373", "Moldova"},
    {"me", "+382", "Montenegro"},
    {"mg", "+261", "Madagascar"},
    {"mh", "+692", "Marshall Islands"},
    {"mk", "+389", "North Macedonia"},
    {"ml", "+223", "Mali"},
    {"mm", "+95", "Myanmar"},
    {"mn", "+976", "Mongolia"},
    {"mo", "+853", "Macao"},
    {"mp", "+1", "Northern Mariana Islands"},
    {"mq", "+596", "Martinique"},
    {"mr", "+222", "Mauritania"},
    {"ms", "+1", "Montserrat"},
    {"mt", "+356", "Malta"},
    {"mu", "+230", "Mauritius"},
    {"mv", "+960", "Maldives"},
    {"mw", "+265", "Malawi"},
    {"mx", "+52", "Mexico"},
    {"my", "+60", "Malaysia"},
    {"mz", "+258", "Mozambique"},
    {"na", "+264", "Namibia"},
    {"nc", "+687", "New Caledonia"},
    {"ne", "+227", "Niger"},
    {"ng", "+234", "Nigeria"},
    {"ni", "+505", "Nicaragua"},
    {"nl", "+31", "Netherlands"},
    {"no", "+47", "Norway"},
    {"np", "+977", "Nepal"},
    {"nr", "+674", "Nauru"},
    {"nu", "+683", "Niue"},
    {"nz", "+64", "New Zealand"},
    {"om", "+968", "Oman"},
    {"pa", "+507", "Panama"},
    {"pe", "+51", "Peru"},
    {"pf", "+689", "French Polynesia"},
    {"pg", "+675", "Papua New Guinea"},
    {"ph", "+63", "Philippines"},
    {"pk", "+92", "Pakistan"},
    {"pl", "+48", "Poland"},
    {"pm", "+508", "Saint Pierre and Miquelon"},
    {"pr", "+1", "Puerto Rico"},
    {"ps", "+970", "Palestine"},
    {"pt", "+351", "Portugal"},
    {"pw", "+680", "Palau"},
    {"py", "+595", "Paraguay"},
    {"qa", "+974", "Qatar"},
    {"re", "+262", "Réunion"},
    {"ro", "+40", "Romania"},
    {"rs", "+381", "Serbia"},
    {"ru", "+7", "Russia"},
    {"rw", "+250", "Rwanda"},
    {"sa", "+966", "Saudi Arabia"},
    {"sb", "+677", "Solomon Islands"},
    {"sc", "+248", "Seychelles"},
    {"sd", "+249", "Sudan"},
    {"se", "+46", "Sweden"},
    {"sg", "+65", "Singapore"},
    {"sh", "+290", "Saint Helena"},
    {"si", "+386", "Slovenia"},
    {"sk", "+421", "Slovakia"},
    {"sl", "+232", "Sierra Leone"},
    {"sm", "+378", "San Marino"},
    {"sn", "+221", "Senegal"},
    {"so", "+252", "Somalia"},
    {"sr", "+597", "Suriname"},
    {"ss", "+211", "South Sudan"},
    {"st", "+239", "São Tomé and Príncipe"},
    {"sv", "+503", "El Salvador"},
    {"sx", "+1", "Sint Maarten"},
    {"sy", "+963", "Syria"},
    {"sz", "+268", "Eswatini"},
    {"tc", "+1", "Turks and Caicos Islands"},
    {"td", "+235", "Chad"},
    {"tg", "+228", "Togo"},
    {"th", "+66", "Thailand"},
    {"tj", "+992", "Tajikistan"},
    {"tk", "+690", "Tokelau"},
    {"tl", "+670", "Timor-Leste"},
    {"tm", "+993", "Turkmenistan"},
    {"tn", "+216", "Tunisia"},
    {"to", "+676", "Tonga"},
    {"tr", "+90", "Turkey"},
    {"tt", "+1", "Trinidad and Tobago"},
    {"tv", "+688", "Tuvalu"},
    {"tw", "+886", "Taiwan"},
    {"tz", "+255", "Tanzania"},
    {"ua", "+380", "Ukraine"},
    {"ug", "+256", "Uganda"},
    {"us", "+1", "United States"},
    {"uy", "+598", "Uruguay"},
    {"uz", "+998", "Uzbekistan"},
    {"va", "+39", "Vatican City"},
    {"vc", "+1", "Saint Vincent and the Grenadines"},
    {"ve", "+58", "Venezuela"},
    {"vg", "+1", "British Virgin Islands"},
    {"vi", "+1", "U.S. Virgin Islands"},
    {"vn", "+84", "Vietnam"},
    {"vu", "+678", "Vanuatu"},
    {"wf", "+681", "Wallis and Futuna"},
    {"ws", "+685", "Samoa"},
    {"xk", "+383", "Kosovo"},
    {"ye", "+967", "Yemen"},
    {"yt", "+262", "Mayotte"},
    {"za", "+27", "South Africa"},
    {"zm", "+260", "Zambia"},
    {"zw", "+263", "Zimbabwe"},
};

struct Tables {
  QVector<CountryCallingCode> countries;
  QHash<QString, QString> codeOfCountry; // "us" -> "1"
  QHash<QString, int> countriesOfCode;   // "1" -> how many countries use it
  QHash<QString, QString> nameOfCode;    // "49" -> "Germany" (last one wins; only read when unique)
};

const Tables& tables() {
  static const Tables t = [] {
    Tables t;
    for (const CountryCallingCode& c : kCountries) {
      t.countries.append(c);
      const QString code = QString::fromLatin1(c.code + 1);
      t.codeOfCountry.insert(QString::fromLatin1(c.iso), code);
      t.countriesOfCode[code] += 1;
      t.nameOfCode.insert(code, QString::fromUtf8(c.name));
    }
    return t;
  }();
  return t;
}

// The keypad digit of a vanity number's letter (ITU E.161).
QChar keypadDigit(QChar letter) {
  static const char kKeys[] = "22233344455566677778889999";
  const ushort u = letter.toUpper().unicode();
  if (u >= 'A' && u <= 'Z')
    return QLatin1Char(kKeys[u - 'A']);
  return QChar();
}
} // namespace

CPhoneNumber::CPhoneNumber(const QString& text, const QString& defaultCountry) {
  const QString t = text.trimmed();
  if (t.isEmpty() || isAddress(t))
    return;
  // Letters are keypad letters only in a number that starts like one; a name
  // such as "Unknown" is not a number.
  const QChar first = t.at(0);
  const bool lettersAreDigits = first.isDigit() || first == QLatin1Char('+') || first == QLatin1Char('(');
  bool plus = false;
  QString digits;
  digits.reserve(t.size());
  for (int i = 0; i < t.size(); ++i) {
    const QChar c = t.at(i);
    if (c.isDigit()) {
      digits.append(QChar(ushort('0' + c.digitValue())));
    } else if (c == QLatin1Char('+') && digits.isEmpty()) {
      plus = true;
    } else if (c == QLatin1Char(',') || c == QLatin1Char(';')) {
      break; // pauses and waits: what follows is dialled after the call connects
    } else if (c.isLetter()) {
      int end = i;
      while (end < t.size() && t.at(end).isLetter())
        ++end;
      const QString word = t.mid(i, end - i).toLower();
      if (!lettersAreDigits || word == QLatin1String("x") || word == QLatin1String("ext") ||
          word == QLatin1String("extension"))
        break; // an extension follows, or this is no number at all
      bool keypad = true;
      QString keys;
      for (const QChar letter : word) {
        const QChar key = keypadDigit(letter);
        keypad = keypad && !key.isNull();
        keys.append(key);
      }
      if (!keypad)
        break;
      digits.append(keys);
      i = end - 1;
    }
  }
  if (!plus && digits.startsWith(QLatin1String("00"))) {
    plus = true;
    digits.remove(0, 2);
  }
  if (plus) {
    for (int len = 3; len >= 1; --len) {
      if (digits.size() > len && isCallingCode(digits.left(len))) {
        m_callingCode = digits.left(len);
        digits.remove(0, len);
        break;
      }
    }
  } else {
    m_callingCode = callingCodeOfCountry(defaultCountry);
    // The trunk prefix of the North American plan is 1 (1-919-888-7386).
    if (m_callingCode == QLatin1String("1") && digits.size() == 11 && digits.startsWith(QLatin1Char('1')))
      digits.remove(0, 1);
  }
  // Trunk prefix 0 of national numbers; Italy keeps it after +39, so it is
  // dropped on both sides alike.
  int zeros = 0;
  while (zeros < digits.size() && digits.at(zeros) == QLatin1Char('0'))
    ++zeros;
  m_national = digits.mid(zeros);
}

bool CPhoneNumber::sameLine(const CPhoneNumber& other) const {
  if (!isValid() || !other.isValid())
    return false;
  if (m_national == other.m_national)
    return m_callingCode.isEmpty() || other.m_callingCode.isEmpty() || m_callingCode == other.m_callingCode;
  const CPhoneNumber& longer = m_national.size() > other.m_national.size() ? *this : other;
  const CPhoneNumber& shorter = &longer == this ? other : *this;
  // The longer one may carry a calling code typed without "+" or "00".
  if (!longer.m_callingCode.isEmpty() || !longer.m_national.endsWith(shorter.m_national))
    return false;
  const QString prefix = longer.m_national.left(longer.m_national.size() - shorter.m_national.size());
  return isCallingCode(prefix) && (shorter.m_callingCode.isEmpty() || shorter.m_callingCode == prefix);
}

const QVector<CountryCallingCode>& CPhoneNumber::countries() { return tables().countries; }

QString CPhoneNumber::callingCodeOfCountry(const QString& iso) {
  return iso.isEmpty() ? QString() : tables().codeOfCountry.value(iso.trimmed().toLower());
}

bool CPhoneNumber::isCallingCode(const QString& digits) { return tables().countriesOfCode.contains(digits); }

QString CPhoneNumber::countryNameOfCallingCode(const QString& digits) {
  const Tables& t = tables();
  return t.countriesOfCode.value(digits) == 1 ? t.nameOfCode.value(digits) : QString();
}
