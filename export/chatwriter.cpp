// Chat transcripts: one HTML and one plain-text file per chat, oldest message
// first, media copied under the type's media/ folder. A chat longer than a
// page is split into pages linked to each other; the text transcript stays
// one file.
#include "export/exportcontext.h"

#include "model/oxwhatsappitem.h"

#include <QFileInfo>

#include <algorithm>
#include <vector>

namespace exporting {
namespace {
bool systemLine(const OxWhatsappMsg& m) {
  return m.type() == OxWhatsappMsg::MsgGroupEvent || m.type() == OxWhatsappMsg::MsgSystem;
}

QString sender(const OxWhatsappMsg& m, const QString& chatName) {
  if (m.isFromMe())
    return QStringLiteral("Me");
  return m.member().isEmpty() ? chatName : m.member();
}

// The media element of a copied file, by what the file is.
QString mediaHtml(const QString& relativeToPage, const QString& fileName) {
  const QString href = QString::fromLatin1(hrefOf(relativeToPage));
  const QString kind = mediaKind(fileName);
  if (kind == QLatin1String("image"))
    return QStringLiteral("<a href=\"%1\"><img src=\"%1\" alt=\"%2\" loading=\"lazy\"></a>").arg(href, html(fileName));
  if (kind == QLatin1String("video"))
    return QStringLiteral("<video controls preload=\"metadata\" src=\"%1\"></video>").arg(href);
  if (kind == QLatin1String("audio"))
    return QStringLiteral("<audio controls preload=\"none\" src=\"%1\"></audio>").arg(href);
  return QStringLiteral("<a href=\"%1\">%2</a>").arg(href, html(fileName));
}

QString pageName(const QString& base, int page) {
  return page == 0 ? base + QStringLiteral(".html") : QStringLiteral("%1 - page %2.html").arg(base).arg(page + 1);
}

QString pageNav(const QString& base, int page, int pages) {
  if (pages < 2)
    return QString();
  QString nav = QStringLiteral("<div class=\"nav\">");
  if (page > 0)
    nav += QStringLiteral("<a href=\"%1\">&larr; earlier</a>").arg(QString::fromLatin1(hrefOf(pageName(base, page - 1))));
  nav += QStringLiteral("page %1 of %2").arg(page + 1).arg(pages);
  if (page + 1 < pages)
    nav += QStringLiteral(" <a href=\"%1\">later &rarr;</a>").arg(QString::fromLatin1(hrefOf(pageName(base, page + 1))));
  return nav + QStringLiteral("</div>\n");
}

class ChatWriter {
public:
  ChatWriter(ExportContext& ctx, const OxWhatsappItem& item, int perPage)
      : m_ctx(ctx), m_item(item), m_perPage(std::max(1, perPage)) {}

  void write() {
    const OxWhatsappChat* chat = m_item.detailContent();
    if (chat)
      m_messages.assign(chat->messages().begin(), chat->messages().end());
    m_messages.erase(std::remove(m_messages.begin(), m_messages.end(), nullptr), m_messages.end());
    // Readers keep their own order; a transcript reads oldest first.
    std::stable_sort(m_messages.begin(), m_messages.end(), [](const OxWhatsappMsg* a, const OxWhatsappMsg* b) {
      return a->msgDate() < b->msgDate();
    });
    m_name = m_item.value(OxWhatsappItem::ColName).isEmpty() ? m_item.value(OxWhatsappItem::ColTitle) : m_item.value(OxWhatsappItem::ColName);
    if (m_name.isEmpty())
      m_name = QStringLiteral("Chat");
    const int pages = std::max<int>(1, int((m_messages.size() + size_t(m_perPage) - 1) / size_t(m_perPage)));
    QStringList suffixes;
    if (m_ctx.wants(ExportOptions::FormatText))
      suffixes << QStringLiteral(".txt");
    if (m_ctx.wants(ExportOptions::FormatHtml))
      for (int p = 0; p < pages; ++p)
        suffixes << pageName(QString(), p);
    if (suffixes.isEmpty() && !m_ctx.wants(ExportOptions::FormatMedia))
      return;
    m_base = m_ctx.out().reserveBase(m_ctx.typeFolder(), safeFileName(m_name, QStringLiteral("Chat"), 80), suffixes);
    copyMedia();
    if (m_ctx.wants(ExportOptions::FormatHtml))
      for (int p = 0; p < pages; ++p)
        writePage(p, pages);
    if (m_ctx.wants(ExportOptions::FormatText))
      writeText();
    DocumentLink link;
    link.title = m_name;
    link.relativePath = m_ctx.typeFolder() + QLatin1Char('/') +
                        (m_ctx.wants(ExportOptions::FormatHtml) ? pageName(m_base, 0) : m_base + QStringLiteral(".txt"));
    link.note = m_messages.empty()       ? QStringLiteral("no messages")
                : m_messages.size() == 1 ? QStringLiteral("1 message")
                                         : QStringLiteral("%1 messages").arg(m_messages.size());
    if (pages > 1 && m_ctx.wants(ExportOptions::FormatHtml))
      link.note += QStringLiteral(", %1 pages").arg(pages);
    if (!suffixes.isEmpty())
      m_ctx.documents().documents.append(link);
  }

private:
  void copyMedia() {
    if (!m_ctx.wants(ExportOptions::FormatMedia))
      return;
    m_media.reserve(m_messages.size());
    for (const OxWhatsappMsg* m : m_messages)
      m_media.push_back(m->media().isEmpty() ? QString()
                                             : m_ctx.copyFile(m->media(), QStringLiteral("media"), m_name));
  }

  QString mediaOf(size_t index) const { return index < m_media.size() ? m_media[index] : QString(); }

  // A path relative to the root, as seen from a transcript in the type folder.
  QString fromTypeFolder(const QString& relative) const { return relative.mid(m_ctx.typeFolder().size() + 1); }

  void writePage(int page, int pages) {
    const QString relative = m_ctx.typeFolder() + QLatin1Char('/') + pageName(m_base, page);
    TextFile out;
    if (!out.open(m_ctx.out().absolute(relative))) {
      m_ctx.skip(m_name, QStringLiteral("cannot write ") + relative + QStringLiteral(": ") + out.errorString());
      return;
    }
    out << htmlHead(m_name) << QStringLiteral("<p class=\"nav\"><a href=\"../index.html\">All data</a></p>\n<h1>")
        << html(m_name) << "</h1>\n";
    if (!m_item.value(OxWhatsappItem::ColTitle).isEmpty() && m_item.value(OxWhatsappItem::ColTitle) != m_name)
      out << QStringLiteral("<p class=\"sub\">") << html(m_item.value(OxWhatsappItem::ColTitle)) << "</p>\n";
    if (!m_item.value(OxWhatsappItem::ColNumbers).isEmpty())
      out << QStringLiteral("<p class=\"sub\">") << html(m_item.value(OxWhatsappItem::ColNumbers)) << "</p>\n";
    out << pageNav(m_base, page, pages);
    const size_t first = size_t(page) * size_t(m_perPage);
    const size_t last = std::min(m_messages.size(), first + size_t(m_perPage));
    for (size_t i = first; i < last; ++i)
      writeMessage(out, *m_messages[i], i);
    if (m_messages.empty())
      out << "<p class=\"sub\">The backup holds no messages of this chat.</p>\n";
    out << pageNav(m_base, page, pages) << htmlTail();
    if (!out.close())
      m_ctx.skip(m_name, QStringLiteral("cannot write ") + relative + QStringLiteral(": ") + out.errorString());
  }

  void writeMessage(TextFile& out, const OxWhatsappMsg& m, size_t index) {
    const QString when = dateText(m.msgDate());
    if (systemLine(m)) {
      out << QStringLiteral("<div class=\"m sys\">") << htmlLines(m.content())
          << QStringLiteral("<span class=\"when\">") << when << "</span></div>\n";
      return;
    }
    out << (m.isFromMe() ? "<div class=\"m out\">" : "<div class=\"m in\">") << QStringLiteral("<span class=\"who\">")
        << html(sender(m, m_name)) << QStringLiteral("</span><span class=\"when\">") << when << "</span><br>\n";
    if (!m.content().isEmpty())
      out << htmlLines(m.content()) << "\n";
    const QString media = mediaOf(index);
    if (!media.isEmpty())
      out << mediaHtml(fromTypeFolder(media), QFileInfo(media).fileName());
    else if (!m.media().isEmpty())
      out << QStringLiteral("<div class=\"missing\">attachment missing from the backup</div>");
    out << "</div>\n";
  }

  void writeText() {
    const QString relative = m_ctx.typeFolder() + QLatin1Char('/') + m_base + QStringLiteral(".txt");
    TextFile out;
    if (!out.open(m_ctx.out().absolute(relative))) {
      m_ctx.skip(m_name, QStringLiteral("cannot write ") + relative + QStringLiteral(": ") + out.errorString());
      return;
    }
    out << m_name << "\n";
    if (!m_item.value(OxWhatsappItem::ColTitle).isEmpty() && m_item.value(OxWhatsappItem::ColTitle) != m_name)
      out << m_item.value(OxWhatsappItem::ColTitle) << "\n";
    out << "\n";
    for (size_t i = 0; i < m_messages.size(); ++i) {
      const OxWhatsappMsg& m = *m_messages[i];
      out << "[" << dateText(m.msgDate()) << "] ";
      if (systemLine(m))
        out << "*** " << m.content() << "\n";
      else
        out << sender(m, m_name) << ": " << QString(m.content()).replace(QLatin1Char('\n'), QLatin1String("\n    "))
            << "\n";
      const QString media = mediaOf(i);
      if (!media.isEmpty())
        out << "    <attached: " << fromTypeFolder(media) << ">\n";
      else if (!m.media().isEmpty())
        out << "    <attachment missing from the backup>\n";
    }
    if (!out.close())
      m_ctx.skip(m_name, QStringLiteral("cannot write ") + relative + QStringLiteral(": ") + out.errorString());
  }

  ExportContext& m_ctx;
  const OxWhatsappItem& m_item;
  int m_perPage;
  std::vector<const OxWhatsappMsg*> m_messages;
  std::vector<QString> m_media;
  QString m_name;
  QString m_base;
};
} // namespace

void writeChats(ExportContext& ctx, const ItemList& items, int messagesPerPage, Walk& walk) {
  for (OxAbstractItem* item : items) {
    if (const auto* chat = dynamic_cast<const OxWhatsappItem*>(item))
      ChatWriter(ctx, *chat, messagesPerPage).write();
    if (!walk.itemDone())
      return;
  }
}
} // namespace exporting
