#include "apps/viewer/chattranscriptview.h"

#include "apps/viewer/mediaopener.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"

#include <QFileInfo>
#include <QImageReader>
#include <QKeyEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QWheelEvent>

namespace {
const int kMargin = 10;      // around the transcript
const int kGap = 6;          // between two bubbles
const int kPad = 8;          // inside a bubble
const int kThumbMax = 220;   // a thumbnail's longest side
const int kDayLine = 28;     // height of a day's line
const QColor kBackground(0xec, 0xe5, 0xdd);
const QColor kMine(0xdc, 0xf8, 0xc6);
const QColor kTheirs(0xff, 0xff, 0xff);
const QColor kNotice(0xe1, 0xf3, 0xfb);
const QColor kMeta(0x66, 0x66, 0x66);

bool isMedia(const OxWhatsappMsg* m) {
  switch (m->type()) {
  case OxWhatsappMsg::MsgImage:
  case OxWhatsappMsg::MsgVideo:
  case OxWhatsappMsg::MsgAudio:
  case OxWhatsappMsg::MsgDocument: return true;
  default: return false;
  }
}

bool hasPicture(const OxWhatsappMsg* m) {
  return (m->type() == OxWhatsappMsg::MsgImage || m->type() == OxWhatsappMsg::MsgVideo ||
          m->type() == OxWhatsappMsg::MsgLocation) &&
         !m->media().isEmpty();
}

// The line a media message shows besides its picture or instead of it.
QString mediaLabel(const OxWhatsappMsg* m) {
  switch (m->type()) {
  case OxWhatsappMsg::MsgImage: return QObject::tr("Photo");
  case OxWhatsappMsg::MsgVideo: return QObject::tr("\u25B6 Video");
  case OxWhatsappMsg::MsgAudio: return QObject::tr("\u25B6 Voice message");
  case OxWhatsappMsg::MsgDocument: return QObject::tr("Document");
  case OxWhatsappMsg::MsgContact: return QObject::tr("Contact card");
  case OxWhatsappMsg::MsgLocation: return QObject::tr("Location");
  default: return QString();
  }
}

bool isNotice(const OxWhatsappMsg* m) { return m->type() == OxWhatsappMsg::MsgGroupEvent; }

QString dayText(const QDateTime& date) {
  return date.isValid() ? QLocale().toString(date.toLocalTime().date(), QLocale::LongFormat) : QString();
}
} // namespace

struct ChatTranscriptView::Block {
  int height = 0;
  bool dayLine = false;
  QString day;
  bool notice = false; // a group event, centred
  bool mine = false;
  QRect bubble;        // relative to the block's top-left
  QRect name;
  QRect label;         // the media line
  QRect picture;
  QRect text;
  QRect time;
  QString nameText, labelText, bodyText, timeText;
};

ChatTranscriptView::ChatTranscriptView(QWidget* parent) : QAbstractScrollArea(parent), m_thumbs(400) {
  setFocusPolicy(Qt::StrongFocus);
  verticalScrollBar()->setSingleStep(1);
  viewport()->setAutoFillBackground(true);
  QPalette pal = viewport()->palette();
  pal.setColor(QPalette::Window, kBackground);
  viewport()->setPalette(pal);
  viewport()->setBackgroundRole(QPalette::Window);
}

void ChatTranscriptView::setChat(const OxWhatsappChat* chat) {
  m_chat = chat;
  m_count = chat ? chat->messages().size() : 0;
  m_heights.clear();
  m_thumbSizes.clear();
  m_mediaHits.clear();
  m_top = 0;
  m_topOffset = 0;
  m_reversed = false;
  m_group = false;
  if (m_count > 1) {
    const OxWhatsappMsg* first = chat->messages().first();
    const OxWhatsappMsg* last = chat->messages().last();
    m_reversed = first && last && first->msgDate() > last->msgDate();
  }
  // A chat whose other side has names per message is a group.
  for (int i = 0; i < m_count && i < 500 && !m_group; ++i) {
    const OxWhatsappMsg* m = chat->messages().at(i);
    m_group = m && !m->isFromMe() && !m->member().isEmpty();
  }
  scrollToBottom();
}

const OxWhatsappMsg* ChatTranscriptView::messageAt(int i) const {
  if (!m_chat || i < 0 || i >= m_count)
    return nullptr;
  return m_chat->messages().at(m_reversed ? m_count - 1 - i : i);
}

QSize ChatTranscriptView::thumbnailSize(const OxWhatsappMsg* msg) const {
  const QString path = msg->media();
  auto it = m_thumbSizes.constFind(path);
  if (it != m_thumbSizes.constEnd())
    return it.value();
  QImageReader reader(path);
  reader.setAutoTransform(true);
  QSize size = reader.size();
  if (size.isValid() && (reader.transformation() & QImageIOHandler::TransformationRotate90))
    size.transpose();
  if (!size.isValid() || size.isEmpty())
    size = QSize(kThumbMax, kThumbMax * 3 / 4); // drawn as an empty frame
  size.scale(QSize(kThumbMax, kThumbMax), size.width() > kThumbMax || size.height() > kThumbMax
                                               ? Qt::KeepAspectRatio
                                               : Qt::IgnoreAspectRatio);
  if (size.width() < 60)
    size = QSize(60, qMax(60, size.height()));
  m_thumbSizes.insert(path, size);
  return size;
}

QPixmap ChatTranscriptView::thumbnail(const OxWhatsappMsg* msg) const {
  const QString path = msg->media();
  if (QPixmap* cached = m_thumbs.object(path))
    return *cached;
  QImageReader reader(path);
  reader.setAutoTransform(true);
  const QSize size = thumbnailSize(msg);
  reader.setScaledSize(size);
  QPixmap pixmap = QPixmap::fromImage(reader.read());
  m_thumbs.insert(path, new QPixmap(pixmap));
  return pixmap;
}

ChatTranscriptView::Block ChatTranscriptView::layoutBlock(int i) const {
  Block b;
  const OxWhatsappMsg* m = messageAt(i);
  if (!m)
    return b;
  const int width = viewport()->width() - 2 * kMargin;
  const int maxBubble = qMax(120, width * 3 / 4);
  const QFontMetrics fm(font());
  QFont small = font();
  small.setPointSizeF(small.pointSizeF() * 0.85);
  const QFontMetrics sm(small);

  int y = 0;
  const OxWhatsappMsg* previous = messageAt(i - 1);
  const QDate day = m->msgDate().toLocalTime().date();
  if (!previous || previous->msgDate().toLocalTime().date() != day) {
    b.dayLine = true;
    b.day = dayText(m->msgDate());
    y += kDayLine;
  }
  b.mine = m->isFromMe();
  b.notice = isNotice(m);
  b.timeText = m->msgDate().isValid() ? m->msgDate().toLocalTime().time().toString(QStringLiteral("HH:mm"))
                                      : QString();
  b.bodyText = m->content();
  if (isMedia(m) || m->type() == OxWhatsappMsg::MsgContact || m->type() == OxWhatsappMsg::MsgLocation)
    b.labelText = mediaLabel(m);
  if (m_group && !b.mine && !b.notice && !m->member().isEmpty())
    b.nameText = m->member();

  const int inner = maxBubble - 2 * kPad;
  int w = 0;
  int h = kPad;
  if (!b.nameText.isEmpty()) {
    QFont bold = font();
    bold.setBold(true);
    b.name = QRect(kPad, h, qMin(QFontMetrics(bold).horizontalAdvance(b.nameText) + 2, inner), fm.height());
    w = qMax(w, b.name.width());
    h += fm.height() + 2;
  }
  if (hasPicture(m)) {
    const QSize s = thumbnailSize(m);
    b.picture = QRect(QPoint(kPad, h), s);
    w = qMax(w, s.width());
    h += s.height() + 4;
  }
  if (!b.labelText.isEmpty()) {
    b.label = QRect(kPad, h, fm.horizontalAdvance(b.labelText), fm.height());
    w = qMax(w, b.label.width());
    h += fm.height() + 2;
  }
  if (!b.bodyText.isEmpty()) {
    const QRect r = fm.boundingRect(QRect(0, 0, inner, 1 << 20), Qt::TextWordWrap, b.bodyText);
    b.text = QRect(kPad, h, qMin(r.width(), inner), r.height());
    w = qMax(w, b.text.width());
    h += r.height();
  }
  const int timeW = sm.horizontalAdvance(b.timeText);
  w = qMax(w, timeW);
  h += 2;
  b.time = QRect(kPad + w - timeW, h, timeW, sm.height());
  h += sm.height() + kPad;
  const int bubbleW = w + 2 * kPad;
  int x = kMargin;
  if (b.notice)
    x = kMargin + (width - bubbleW) / 2;
  else if (b.mine)
    x = kMargin + width - bubbleW;
  b.bubble = QRect(x, y, bubbleW, h);
  for (QRect* r : {&b.name, &b.label, &b.picture, &b.text, &b.time})
    if (!r->isNull())
      r->translate(x, y);
  b.height = y + h + kGap;
  return b;
}

int ChatTranscriptView::blockHeight(int i) const {
  auto it = m_heights.constFind(i);
  if (it != m_heights.constEnd())
    return it.value();
  const int h = layoutBlock(i).height;
  m_heights.insert(i, h);
  return h;
}

void ChatTranscriptView::paintBlock(QPainter& p, const Block& b, int i, int top) {
  const OxWhatsappMsg* m = messageAt(i);
  const int width = viewport()->width();
  QFont small = font();
  small.setPointSizeF(small.pointSizeF() * 0.85);
  if (b.dayLine) {
    p.setFont(small);
    const QRect line(0, top + kMargin / 2, width, kDayLine - kMargin / 2);
    const int tw = QFontMetrics(small).horizontalAdvance(b.day) + 16;
    const QRect chip(line.center().x() - tw / 2, line.top(), tw, line.height() - 6);
    p.setPen(Qt::NoPen);
    p.setBrush(kNotice);
    p.drawRoundedRect(chip, 6, 6);
    p.setPen(kMeta);
    p.drawText(chip, Qt::AlignCenter, b.day);
  }
  const QRect bubble = b.bubble.translated(0, top);
  p.setPen(QColor(0, 0, 0, 30));
  p.setBrush(b.notice ? kNotice : b.mine ? kMine : kTheirs);
  p.drawRoundedRect(bubble, 8, 8);
  p.setFont(font());
  if (!b.nameText.isEmpty()) {
    // One colour per sender, so that a group reads like the phone shows it.
    const uint hue = qHash(b.nameText) % 360;
    p.setPen(QColor::fromHsv(int(hue), 200, 150));
    QFont bold = font();
    bold.setBold(true);
    p.setFont(bold);
    p.drawText(b.name.translated(0, top), Qt::AlignLeft | Qt::TextSingleLine,
               QFontMetrics(bold).elidedText(b.nameText, Qt::ElideRight, b.name.width()));
    p.setFont(font());
  }
  if (!b.picture.isNull()) {
    const QRect r = b.picture.translated(0, top);
    const QPixmap pix = thumbnail(m);
    if (pix.isNull()) {
      p.setPen(kMeta);
      p.setBrush(QColor(0xf0, 0xf0, 0xf0));
      p.drawRect(r);
      p.drawText(r, Qt::AlignCenter | Qt::TextWordWrap,
                 QFileInfo::exists(m->media()) ? tr("picture cannot be shown") : tr("picture not in the backup"));
    } else {
      p.drawPixmap(r, pix);
    }
    if (m->type() == OxWhatsappMsg::MsgVideo) {
      p.setPen(Qt::NoPen);
      p.setBrush(QColor(0, 0, 0, 120));
      const QPoint c = r.center();
      p.drawEllipse(c, 22, 22);
      p.setBrush(Qt::white);
      const QPointF tri[3] = {QPointF(c.x() - 7, c.y() - 11), QPointF(c.x() - 7, c.y() + 11), QPointF(c.x() + 12, c.y())};
      p.drawPolygon(tri, 3);
    }
    m_mediaHits.append({r, i});
  }
  if (!b.labelText.isEmpty()) {
    const QRect r = b.label.translated(0, top);
    const bool openable = !m->media().isEmpty();
    p.setPen(openable ? palette().color(QPalette::Link) : kMeta);
    p.drawText(r, Qt::AlignLeft | Qt::TextSingleLine, b.labelText);
    if (openable && b.picture.isNull())
      m_mediaHits.append({r, i});
  }
  if (!b.bodyText.isEmpty()) {
    p.setPen(b.notice ? kMeta : QColor(0x11, 0x11, 0x11));
    p.drawText(b.text.translated(0, top), Qt::TextWordWrap | (b.notice ? Qt::AlignHCenter : Qt::AlignLeft),
               b.bodyText);
  }
  p.setFont(small);
  p.setPen(kMeta);
  p.drawText(b.time.translated(0, top), Qt::AlignRight | Qt::TextSingleLine, b.timeText);
}

void ChatTranscriptView::paintEvent(QPaintEvent*) {
  QPainter p(viewport());
  p.setRenderHint(QPainter::Antialiasing);
  m_mediaHits.clear();
  if (m_count == 0) {
    p.setPen(kMeta);
    p.drawText(viewport()->rect(), Qt::AlignCenter, m_chat ? tr("This chat has no messages.") : QString());
    return;
  }
  int y = kMargin - m_topOffset;
  const int bottom = viewport()->height();
  for (int i = m_top; i < m_count && y < bottom; ++i) {
    const Block b = layoutBlock(i);
    m_heights.insert(i, b.height);
    paintBlock(p, b, i, y);
    y += b.height;
  }
}

void ChatTranscriptView::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  m_heights.clear();
  clampToBottom();
  updateScrollBar();
}

void ChatTranscriptView::scrollByPixels(int dy) {
  if (m_count == 0)
    return;
  m_topOffset += dy;
  while (m_topOffset < 0 && m_top > 0)
    m_topOffset += blockHeight(--m_top);
  if (m_topOffset < 0)
    m_topOffset = 0;
  while (m_top < m_count - 1 && m_topOffset >= blockHeight(m_top))
    m_topOffset -= blockHeight(m_top++);
  clampToBottom();
  updateScrollBar();
  viewport()->update();
}

// Keeps the last message from rising above the bottom of the viewport.
void ChatTranscriptView::clampToBottom() {
  if (m_count == 0)
    return;
  const int room = viewport()->height() - 2 * kMargin;
  int rest = 0;
  int i = m_count - 1;
  for (; i >= 0; --i) {
    rest += blockHeight(i);
    if (rest >= room)
      break;
  }
  if (i < 0) { // everything fits
    m_top = 0;
    m_topOffset = 0;
    return;
  }
  const int lastTopOffset = rest - room;
  if (m_top > i || (m_top == i && m_topOffset > lastTopOffset)) {
    m_top = i;
    m_topOffset = lastTopOffset;
  }
}

void ChatTranscriptView::updateScrollBar() {
  m_syncingBar = true;
  QScrollBar* bar = verticalScrollBar();
  bar->setRange(0, qMax(0, m_count - 1));
  bar->setPageStep(qMax(1, viewport()->height() / 60));
  bar->setValue(m_top);
  m_syncingBar = false;
}

void ChatTranscriptView::scrollContentsBy(int, int) {
  if (m_syncingBar)
    return;
  // The user moved the bar: its value is the message at the top.
  m_top = qBound(0, verticalScrollBar()->value(), qMax(0, m_count - 1));
  m_topOffset = 0;
  clampToBottom();
  viewport()->update();
}

void ChatTranscriptView::scrollToMessage(int i) {
  m_top = qBound(0, i, qMax(0, m_count - 1));
  m_topOffset = 0;
  clampToBottom();
  updateScrollBar();
  viewport()->update();
}

void ChatTranscriptView::scrollToBottom() { scrollToMessage(m_count - 1); }

void ChatTranscriptView::wheelEvent(QWheelEvent* event) {
  int dy = event->pixelDelta().y();
  if (dy == 0)
    dy = event->angleDelta().y() / 120 * 3 * QFontMetrics(font()).height();
  scrollByPixels(-dy);
  event->accept();
}

void ChatTranscriptView::keyPressEvent(QKeyEvent* event) {
  const int line = QFontMetrics(font()).height();
  const int page = qMax(line, viewport()->height() - 2 * line);
  switch (event->key()) {
  case Qt::Key_Up: scrollByPixels(-line); break;
  case Qt::Key_Down: scrollByPixels(line); break;
  case Qt::Key_PageUp: scrollByPixels(-page); break;
  case Qt::Key_PageDown: scrollByPixels(page); break;
  case Qt::Key_Home: scrollToMessage(0); break;
  case Qt::Key_End: scrollToBottom(); break;
  default: QAbstractScrollArea::keyPressEvent(event); return;
  }
  event->accept();
}

void ChatTranscriptView::mouseReleaseEvent(QMouseEvent* event) {
  for (const auto& hit : qAsConst(m_mediaHits)) {
    if (hit.first.contains(event->pos())) {
      open(hit.second);
      Q_EMIT activated(hit.second);
      return;
    }
  }
  QAbstractScrollArea::mouseReleaseEvent(event);
}

void ChatTranscriptView::open(int i) {
  const OxWhatsappMsg* m = messageAt(i);
  if (!m || m->media().isEmpty() || !m_openExternally)
    return;
  const QString title = CCommonUtils::datetimeToMinute(m->msgDate(), true);
  if (m->type() == OxWhatsappMsg::MsgImage && showPicture(this, m->media(), title))
    return;
  openWithDesktop(m->media());
}
