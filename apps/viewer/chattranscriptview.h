#pragma once
// ChatTranscriptView: one conversation drawn as a messenger shows it: bubbles
// on the right for the owner's messages and on the left for the others', the
// sender's name above a bubble in group chats, a date line where the day
// changes, pictures as thumbnails.
//
// The view is lazy: it lays out and paints only the messages in sight, so that
// opening or scrolling a chat of a hundred thousand messages costs what a
// screenful costs. The scroll bar counts messages (its value is the message at
// the top); the wheel and the keys scroll by pixels across message borders.
// A chat opens at its newest message, at the bottom.
//
// Clicking a picture opens it full size; a voice message, a video or a
// document opens with the desktop's program for it (activated() tells which
// message was clicked, after the view opened it).
#include <QAbstractScrollArea>
#include <QCache>
#include <QHash>
#include <QPixmap>
#include <QVector>

class OxWhatsappChat;
class OxWhatsappMsg;

class ChatTranscriptView : public QAbstractScrollArea {
  Q_OBJECT
public:
  explicit ChatTranscriptView(QWidget* parent = nullptr);

  // Shows a chat (null: none). The chat must outlive the view's use of it.
  void setChat(const OxWhatsappChat* chat);
  int messageCount() const { return m_count; }
  // The message shown at position i, oldest first; null out of range.
  const OxWhatsappMsg* messageAt(int i) const;
  // The first message in sight.
  int topMessage() const { return m_top; }
  void scrollToMessage(int i);
  void scrollToBottom();
  // When false, clicks do not launch other programs (tests, screenshots).
  void setOpenExternally(bool open) { m_openExternally = open; }

Q_SIGNALS:
  void activated(int message);

protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;

private:
  struct Block; // the layout of one message, relative to its top
  Block layoutBlock(int i) const;
  int blockHeight(int i) const;
  void paintBlock(QPainter& p, const Block& b, int i, int top);
  QPixmap thumbnail(const OxWhatsappMsg* msg) const;
  QSize thumbnailSize(const OxWhatsappMsg* msg) const;
  void scrollByPixels(int dy);
  void clampToBottom();
  void updateScrollBar();
  void open(int i);

  const OxWhatsappChat* m_chat = nullptr;
  bool m_reversed = false; // the chat holds its messages newest first
  bool m_group = false;
  int m_count = 0;
  int m_top = 0;       // first message in sight
  int m_topOffset = 0; // pixels of it above the viewport
  mutable QHash<int, int> m_heights;
  mutable QCache<QString, QPixmap> m_thumbs;
  mutable QHash<QString, QSize> m_thumbSizes;
  QVector<QPair<QRect, int>> m_mediaHits; // in viewport coordinates, from the last paint
  bool m_openExternally = true;
  bool m_syncingBar = false;
};
