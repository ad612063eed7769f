#include "model/oxwhatsappitem.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>
#include <new>

// ---- OxWhatsappMsg ---------------------------------------------------------

OxWhatsappMsg::OxWhatsappMsg() = default;

void OxWhatsappMsg::setType(int type) {
  m_type = (type >= 0 && type <= MsgSystem) ? static_cast<MsgType>(type) : MsgText;
}

void OxWhatsappMsg::setMedia(const QString& path) {
  if (!m_media.isEmpty())
    m_refreshThumb = true;
  m_media = path;
}

void OxWhatsappMsg::setDrawLike(int likeType, int likeCount) {
  m_drawLike = true;
  m_likeType = likeType;
  m_likeCount = likeCount;
}

bool OxWhatsappMsg::isRefreshThumb() {
  const bool refresh = m_refreshThumb;
  m_refreshThumb = false;
  return refresh;
}

namespace {
// The size of the text's UTF-8 form as QString::toUtf8 writes it (a lone
// surrogate becomes one '?'), counted without writing it: a chat's size adds
// up every message's texts.
qint64 utf8Size(const QString& text) {
  const ushort* u = reinterpret_cast<const ushort*>(text.constData());
  const int n = text.size();
  qint64 bytes = 0;
  for (int i = 0; i < n; ++i) {
    const ushort c = u[i];
    if (c < 0x80) {
      bytes += 1;
    } else if (c < 0x800) {
      bytes += 2;
    } else if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(u[i + 1])) {
      bytes += 4;
      ++i;
    } else if (QChar::isSurrogate(c)) {
      bytes += 1;
    } else {
      bytes += 3;
    }
  }
  return bytes;
}
} // namespace

qint64 OxWhatsappMsg::msgSize() const {
  qint64 bytes = utf8Size(m_content) + utf8Size(m_member);
  if (!m_media.isEmpty()) {
    const QFileInfo info(m_media);
    if (info.exists())
      bytes += info.size();
  }
  return bytes;
}

// ---- OxWhatsappChat --------------------------------------------------------

OxWhatsappChat::OxWhatsappChat() = default;
OxWhatsappChat::OxWhatsappChat(const OxWhatsappChat& other) = default;
OxWhatsappChat& OxWhatsappChat::operator=(const OxWhatsappChat& other) = default;
OxWhatsappChat::~OxWhatsappChat() { clearMsgs(); }

void OxWhatsappChat::addMessage(OxWhatsappMsg* msg) { m_messages.append(msg); }

qint64 OxWhatsappChat::chatSize() {
  qint64 total = 0;
  for (const OxWhatsappMsg* m : qAsConst(m_messages))
    if (m)
      total += m->msgSize();
  return total;
}

void OxWhatsappChat::sortMsg(bool ascending) {
  // A null pointer "comes first" in both directions, as the comparator answers
  // true for it; std::stable_sort keeps equal dates in their arrival order.
  if (ascending) {
    std::stable_sort(m_messages.begin(), m_messages.end(), [](const OxWhatsappMsg* a, const OxWhatsappMsg* b) {
      if (!a || !b)
        return !a && b;
      return a->msgDate() < b->msgDate();
    });
  } else {
    std::stable_sort(m_messages.begin(), m_messages.end(), [](const OxWhatsappMsg* a, const OxWhatsappMsg* b) {
      if (!a || !b)
        return !a && b;
      return b->msgDate() < a->msgDate();
    });
  }
}

void OxWhatsappChat::clearMsgs() {
  qDeleteAll(m_messages);
  m_messages.clear();
}

// ---- OxWhatsappItem --------------------------------------------------------

OxWhatsappItem::OxWhatsappItem() : OxAbstractItem(8) { setColumn(2); }
OxWhatsappItem::OxWhatsappItem(const OxWhatsappItem& other) = default;
OxWhatsappItem& OxWhatsappItem::operator=(const OxWhatsappItem& other) = default;
OxWhatsappItem::~OxWhatsappItem() { delete m_detailContent; }

OxWhatsappItem* OxWhatsappItem::createItem() { return new (std::nothrow) OxWhatsappItem(); }

QString OxWhatsappItem::columnName(int column) const {
  switch (column) {
  case 0: return QCoreApplication::translate("WHATSAPP_COLUMN", "Content");
  case 1: return QCoreApplication::translate("WHATSAPP_COLUMN", "Date");
  default: return QString(QLatin1String(""));
  }
}

quint64 OxWhatsappItem::calcSize() const { return quint64(m_detailContent->chatSize()); }
