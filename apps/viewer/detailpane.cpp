#include "apps/viewer/detailpane.h"

#include "apps/viewer/chattranscriptview.h"
#include "apps/viewer/datatypes.h"
#include "apps/viewer/mediaopener.h"
#include "model/oxbackup.h"
#include "model/oxcalendaritem.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxfileitem.h"
#include "model/oxnoteitem.h"
#include "model/oxsafaribookmarkitem.h"
#include "model/oxwhatsappitem.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace {
QString esc(const QString& text) { return text.toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>")); }

// A table of the item's non-empty columns, under their header names.
QString fieldTable(const OxAbstractItem* item, const QList<int>& columns) {
  QString html = QStringLiteral("<table cellspacing='0' cellpadding='3'>");
  for (int c : columns) {
    const QString value = item->value(c);
    if (value.isEmpty())
      continue;
    html += QStringLiteral("<tr><td style='color:#666; padding-right:12px' valign='top'>%1</td><td>%2</td></tr>")
                .arg(esc(item->columnName(c)), esc(value));
  }
  return html + QStringLiteral("</table>");
}

QList<int> allColumns(const OxAbstractItem* item) {
  QList<int> columns;
  for (int c = 0; c < item->dataColumn(); ++c)
    columns << c;
  return columns;
}

QString deletedMark(const OxAbstractItem* item) {
  return item->flag(OxAbstractItem::ItemDeleted)
             ? QStringLiteral("<p style='color:#b02020'><b>%1</b></p>").arg(DetailPane::tr("Recovered from deleted data"))
             : QString();
}

QString noteHtml(const OxNoteItem* note) {
  QString html = QStringLiteral("<h2>%1</h2>").arg(esc(note->value(OxNoteItem::ColTitle)));
  QStringList meta;
  for (int c : {OxNoteItem::ColDate, OxNoteItem::ColLocation, OxNoteItem::ColFolder})
    if (!note->value(c).isEmpty())
      meta << esc(note->value(c));
  html += QStringLiteral("<p style='color:#666'>%1</p>").arg(meta.join(QStringLiteral(" &middot; ")));
  html += deletedMark(note);
  if (note->flag(OxAbstractItem::ItemNoteLocked))
    return html + QStringLiteral("<p><i>%1</i></p>").arg(DetailPane::tr("This note is locked with a password."));
  const QList<OxNoteItem::NotePiece*>& pieces = note->notePieces();
  if (pieces.isEmpty())
    return html + QStringLiteral("<p>%1</p>").arg(esc(note->value(OxNoteItem::ColNotes)));
  html += QStringLiteral("<p>");
  for (int i = 0; i < pieces.size(); ++i) {
    const OxNoteItem::NotePiece* piece = pieces.at(i);
    if (piece->kind == OxNoteItem::NotePiece::Text) {
      html += esc(piece->content);
      continue;
    }
    const QString file = !piece->moviePath.isEmpty() ? piece->moviePath : piece->content;
    const QString name = piece->name.isEmpty() ? DetailPane::tr("attachment") : piece->name;
    const QString link = QStringLiteral("open:%1").arg(QString::fromLatin1(QUrl::toPercentEncoding(file)));
    html += QStringLiteral("<br>");
    if (!piece->thumbnail.isNull())
      html += QStringLiteral("<a href='%1'><img src='thumb:%2'></a><br>").arg(link).arg(i);
    html += file.isEmpty() ? QStringLiteral("[%1]").arg(esc(name))
                           : QStringLiteral("<a href='%1'>%2</a>").arg(link, esc(name));
    html += QStringLiteral("<br>");
  }
  return html + QStringLiteral("</p>");
}

QString callHtml(const OxAbstractItem* call) {
  const QString name = call->value(OxCallHistoryItem::ColName);
  const QString phone = call->value(OxCallHistoryItem::ColPhone);
  QString html = QStringLiteral("<h2>%1</h2>").arg(esc(name.isEmpty() ? phone : name));
  html += deletedMark(call) + fieldTable(call, allColumns(call));
  if (!call->filePath().isEmpty())
    html += QStringLiteral("<p><a href='open:%1'>%2</a></p>")
                .arg(QString::fromLatin1(QUrl::toPercentEncoding(call->filePath())), DetailPane::tr("\u25B6 Play the recording"));
  return html;
}

QString eventHtml(const OxAbstractItem* event) {
  QString html = QStringLiteral("<h2>%1</h2>").arg(esc(event->value(OxCalendarItem::ColTitle)));
  QList<int> rest = allColumns(event);
  rest.removeAll(OxCalendarItem::ColTitle);
  return html + deletedMark(event) + fieldTable(event, rest);
}

QString bookmarkHtml(const OxAbstractItem* b) {
  const QString url = b->value(OxSafariBookmarkItem::ColUrl);
  QString html = QStringLiteral("<h2>%1</h2>").arg(esc(b->value(OxSafariBookmarkItem::ColTitle)));
  html += QStringLiteral("<p style='color:#666'>%1</p>").arg(esc(b->getTreeFirstLayerName()));
  if (!url.isEmpty())
    html += QStringLiteral("<p><a href='%1'>%2</a></p>").arg(url.toHtmlEscaped(), esc(url));
  return html + deletedMark(b) + fieldTable(b, {OxSafariBookmarkItem::ColDate});
}
} // namespace

QString DetailPane::itemHtml(int type, const OxAbstractItem* item) {
  if (!item)
    return QString();
  if (const auto* note = dynamic_cast<const OxNoteItem*>(item))
    return noteHtml(note);
  if (type == OxBackup::CallHistory)
    return callHtml(item);
  if (type == OxBackup::Calendar)
    return eventHtml(item);
  if (type == OxBackup::Safari)
    return bookmarkHtml(item);
  return QStringLiteral("<h2>%1</h2>").arg(esc(item->value(0))) + deletedMark(item) + fieldTable(item, allColumns(item));
}

DetailPane::DetailPane(QWidget* parent) : QStackedWidget(parent) {
  auto* empty = new QLabel(tr("Select an item to see it here."));
  empty->setAlignment(Qt::AlignCenter);
  empty->setStyleSheet(QStringLiteral("color: #888"));
  m_empty = empty;
  addWidget(m_empty);

  m_chatPage = new QWidget;
  auto* chatLayout = new QVBoxLayout(m_chatPage);
  chatLayout->setContentsMargins(0, 0, 0, 0);
  chatLayout->setSpacing(0);
  m_chatTitle = new QLabel;
  m_chatTitle->setContentsMargins(10, 6, 10, 6);
  QFont title = m_chatTitle->font();
  title.setBold(true);
  title.setPointSizeF(title.pointSizeF() * 1.15);
  m_chatTitle->setFont(title);
  m_transcript = new ChatTranscriptView;
  chatLayout->addWidget(m_chatTitle);
  chatLayout->addWidget(m_transcript, 1);
  addWidget(m_chatPage);

  m_documentPage = new QWidget;
  auto* docLayout = new QVBoxLayout(m_documentPage);
  docLayout->setContentsMargins(0, 0, 0, 0);
  m_lockBar = new QWidget;
  auto* lockLayout = new QHBoxLayout(m_lockBar);
  lockLayout->addWidget(new QLabel(tr("Note password:")));
  m_password = new QLineEdit;
  m_password->setEchoMode(QLineEdit::Password);
  lockLayout->addWidget(m_password, 1);
  auto* unlock = new QPushButton(tr("Unlock"));
  lockLayout->addWidget(unlock);
  auto request = [this] {
    if (!m_password->text().isEmpty())
      Q_EMIT unlockRequested(m_password->text());
  };
  connect(unlock, &QPushButton::clicked, this, request);
  connect(m_password, &QLineEdit::returnPressed, this, request);
  m_document = new QTextBrowser;
  m_document->setOpenLinks(false);
  connect(m_document, &QTextBrowser::anchorClicked, this, &DetailPane::onAnchor);
  docLayout->addWidget(m_lockBar);
  docLayout->addWidget(m_document, 1);
  addWidget(m_documentPage);
}

void DetailPane::showItem(int type, OxAbstractItem* item) {
  m_item = item;
  if (!item) {
    m_transcript->setChat(nullptr);
    setCurrentWidget(m_empty);
    return;
  }
  if (auto* chat = dynamic_cast<OxWhatsappItem*>(item)) {
    m_chatTitle->setText(chat->value(OxWhatsappItem::ColName));
    m_transcript->setChat(chat->detailContent());
    setCurrentWidget(m_chatPage);
    return;
  }
  m_transcript->setChat(nullptr);
  m_lockBar->setVisible(item->flag(OxAbstractItem::ItemNoteLocked));
  m_password->clear();
  QTextDocument* doc = m_document->document();
  doc->clear();
  if (const auto* note = dynamic_cast<const OxNoteItem*>(item)) {
    const auto& pieces = note->notePieces();
    for (int i = 0; i < pieces.size(); ++i)
      if (!pieces.at(i)->thumbnail.isNull())
        doc->addResource(QTextDocument::ImageResource, QUrl(QStringLiteral("thumb:%1").arg(i)),
                         pieces.at(i)->thumbnail.scaled(240, 240, Qt::KeepAspectRatio, Qt::SmoothTransformation));
  }
  m_document->setHtml(itemHtml(type, item));
  setCurrentWidget(m_documentPage);
}

void DetailPane::onAnchor(const QUrl& url) {
  const QString link = url.toString(QUrl::FullyEncoded);
  if (link.startsWith(QLatin1String("open:"))) {
    const QString path = QUrl::fromPercentEncoding(link.mid(5).toLatin1());
    if (!showPicture(this, path, QFileInfo(path).fileName()))
      openWithDesktop(path);
    return;
  }
  // Web addresses of bookmarks open in the browser.
  if (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"))
    QDesktopServices::openUrl(url);
}
