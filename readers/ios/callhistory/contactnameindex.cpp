#include "readers/ios/callhistory/contactnameindex.h"

CContactNameIndex::CContactNameIndex(const QMap<QString, QString>& contactToName) {
  m_names.reserve(contactToName.size());
  for (auto it = contactToName.constBegin(); it != contactToName.constEnd(); ++it) {
    const int name = m_names.size();
    m_names.append(it.value());
    m_numbers.add(prepare(it.key(), false), name);
    if (it.key().contains(QLatin1Char('@')))
      m_addresses.add(it.key(), name);
  }
}

QString CContactNameIndex::prepare(const QString& text, bool address) {
  if (address)
    return text;
  QString out = text;
  out.remove(QLatin1Char('-'));
  out.remove(QLatin1Char(' '));
  return out;
}

QString CContactNameIndex::find(const QString& numberOrAddress) const {
  const QString trimmed = numberOrAddress.trimmed();
  if (trimmed.isEmpty() || m_names.isEmpty())
    return QString();
  const bool address = trimmed.contains(QLatin1Char('@'));
  const Bucketed& index = address ? m_addresses : m_numbers;
  const int pos = index.first(prepare(trimmed, address));
  return pos < 0 ? QString() : m_names.at(index.names.at(pos));
}

void CContactNameIndex::Bucketed::add(const QString& key, int name) {
  if (key.size() < KeyChars)
    return; // five characters or fewer never match
  buckets[endingHash(key)].append(keys.size());
  keys.append(key);
  names.append(name);
}

int CContactNameIndex::Bucketed::first(const QString& prepared) const {
  if (prepared.size() < KeyChars)
    return -1;
  const auto it = buckets.constFind(endingHash(prepared));
  if (it == buckets.constEnd())
    return -1;
  for (int pos : it.value()) {
    const QString& key = keys.at(pos);
    if (key.endsWith(prepared) || prepared.endsWith(key))
      return pos;
  }
  return -1;
}
